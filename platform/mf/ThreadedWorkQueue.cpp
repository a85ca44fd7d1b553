#include "platform/mf/ThreadedWorkQueue.h"

#include "platform/mf/WorkerThreads.h"

#include <condition_variable>
#include <mutex>

namespace winmedia
{

struct ThreadedWorkQueue::State {
    State(std::string threadName, unsigned threadLimit) : name(std::move(threadName)), maxThreads(threadLimit) {}

    const std::string name;
    const unsigned maxThreads;
    std::mutex mutex;
    std::condition_variable wake;
    // Guarded by mutex.
    WaitingItems items;
    unsigned threads = 0;
    unsigned idle = 0;
    bool closed = false;
};

ThreadedWorkQueue::ThreadedWorkQueue(std::string name, unsigned maxThreads)
    : m_state(std::make_shared<State>(std::move(name), maxThreads))
{
}

ThreadedWorkQueue::~ThreadedWorkQueue()
{
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->closed = true;
    }
    m_state->wake.notify_all();
}

HRESULT ThreadedWorkQueue::put(WorkItem item)
{
    State &state = *m_state;
    {
        const std::lock_guard lock(state.mutex);
        if (state.items.size() >= state.idle && state.threads < state.maxThreads) {
            const HRESULT hr = WorkerThreads::instance().spawn(state.name, [keep = m_state] { work(*keep); });
            if (SUCCEEDED(hr))
                ++state.threads;
            else if (state.threads == 0)
                return hr;
        }
        try {
            state.items.push(std::move(item));
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
    }
    state.wake.notify_one();
    return S_OK;
}

void ThreadedWorkQueue::work(State &state)
{
    std::unique_lock lock(state.mutex);
    for (;;) {
        ++state.idle;
        state.wake.wait(lock, [&state] { return state.closed || !state.items.empty(); });
        --state.idle;
        if (state.items.empty())
            return;
        {
            const WorkItem item = state.items.pop();
            lock.unlock();
            item.run();
        } // the result may be the last reference to much; it goes without the lock
        lock.lock();
    }
}

} // namespace winmedia
