#pragma once

#include <QtCore/QObject>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace host
{

// Runs functions on the thread it was made on, from any thread and for as long as its owner wants it. Whoever calls
// holds the caller by shared pointer; the owner closes it, on that thread, before it goes.
class ObjectCaller
{
public:
    ObjectCaller();
    ObjectCaller(const ObjectCaller &) = delete;
    ObjectCaller &operator=(const ObjectCaller &) = delete;
    ~ObjectCaller();

    // In the order of the calls; what is waiting when the caller is closed is dropped.
    void call(std::function<void()> function);
    void close();

private:
    class Bell;

    void runAll();

    std::mutex m_lock;
    std::unique_ptr<Bell> m_bell;                   // guarded by m_lock; null once closed
    std::vector<std::function<void()>> m_functions; // guarded by m_lock
};

} // namespace host
