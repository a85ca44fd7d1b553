#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

// What happened on other threads, in order. Thread-safe.
template <typename T>
class Recorded
{
public:
    void add(T value)
    {
        // Notified under the lock: whoever waits may destroy the record as soon as it has seen enough.
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_values.push_back(std::move(value));
        m_changed.notify_all();
    }
    std::vector<T> values() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_values;
    }
    size_t count() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_values.size();
    }
    // Whether there were that many before the deadline.
    bool waitForCount(size_t count, std::chrono::milliseconds deadline = std::chrono::seconds(20)) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, deadline, [&] { return m_values.size() >= count; });
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::vector<T> m_values; // guarded by m_mutex
};

// Opens once, for all who wait for it. Thread-safe.
class Gate
{
public:
    void open()
    {
        // Notified under the lock, as above.
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    // Whether it was open before the deadline.
    bool wait(std::chrono::milliseconds deadline = std::chrono::seconds(20))
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, deadline, [this] { return m_open; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false; // guarded by m_mutex
};
