#include "platform/mf/WorkerThreads.h"

#include <pthread.h>

#include <new>
#include <system_error>

namespace winmedia
{

namespace
{

thread_local bool isWorker = false;

struct ProcessEnd {
    ~ProcessEnd() { WorkerThreads::instance().endOfProcess(); }
};
const ProcessEnd processEnd;

} // namespace

WorkerThreads &WorkerThreads::instance()
{
    alignas(WorkerThreads) static unsigned char storage[sizeof(WorkerThreads)];
    static WorkerThreads *const threads = new (storage) WorkerThreads;
    return *threads;
}

bool WorkerThreads::isCurrentThread()
{
    return isWorker;
}

HRESULT WorkerThreads::spawn(const std::string &name, std::function<void()> body)
{
    const std::lock_guard lock(m_mutex);
    try {
        const auto self = m_running.emplace(m_running.end());
        try {
            *self = std::thread([this, self, name, run = std::move(body)]() mutable {
                isWorker = true;
                pthread_setname_np(pthread_self(), name.c_str());
                run();
                run = nullptr;
                finish(self);
            });
        } catch (...) {
            m_running.erase(self);
            throw;
        }
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    } catch (const std::system_error &) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

void WorkerThreads::joinFinished()
{
    Threads finished;
    {
        const std::lock_guard lock(m_mutex);
        finished.swap(m_finished);
    }
    for (std::thread &thread : finished)
        thread.join();
}

bool WorkerThreads::joinAll(std::chrono::milliseconds limit)
{
    bool done = false;
    {
        std::unique_lock lock(m_mutex);
        done = m_changed.wait_for(lock, limit, [this] { return m_running.empty(); });
    }
    joinFinished();
    return done;
}

void WorkerThreads::endOfProcess()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ending = true;
    }
    joinFinished();
}

void WorkerThreads::finish(Threads::iterator self)
{
    const std::lock_guard lock(m_mutex);
    if (m_ending) {
        self->detach();
        m_running.erase(self);
    } else {
        m_finished.splice(m_finished.end(), m_running, self);
    }
    m_changed.notify_all();
}

} // namespace winmedia
