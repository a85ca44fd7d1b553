#pragma once

#include <QtCore/QObject>

#include <functional>
#include <memory>
#include <mutex>

namespace host
{

// Runs functions on the thread of one QObject, from any thread and for as long as the object wants it. Whoever calls
// holds the caller by shared pointer; the object closes it before it goes.
class ObjectCaller
{
public:
    explicit ObjectCaller(QObject *target) : m_target(target) {}

    void call(std::function<void()> function)
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_target)
            QMetaObject::invokeMethod(m_target, std::move(function), Qt::QueuedConnection);
    }
    void close()
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_target = nullptr;
    }

private:
    std::mutex m_lock;
    QObject *m_target; // guarded by m_lock; null once closed
};

} // namespace host
