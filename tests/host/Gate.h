#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

// Holds threads up until a test lets them pass. Thread-safe.
class Gate
{
public:
    void shut()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_shut = true;
    }
    void open()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_shut = false;
        m_changed.notify_all();
    }
    // Waits while the gate is shut, but not for ever: a test whose own thread is held up is to fail, not to hang.
    void pass()
    {
        std::unique_lock<std::mutex> guard(m_lock);
        ++m_waiting;
        if (!m_changed.wait_for(guard, std::chrono::seconds(20), [this] { return !m_shut; }))
            m_brokeDown = true;
        --m_waiting;
    }
    int waiting() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_waiting;
    }
    // Somebody has waited for too long.
    bool hasBrokenDown() const
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_brokeDown;
    }

private:
    mutable std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    bool m_shut = false;
    int m_waiting = 0;
    bool m_brokeDown = false;
};
