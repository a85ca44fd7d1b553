#include "platform/mf/ThreadedWorkQueue.h"

#include "platform/mf/Semaphore.h"
#include "platform/mf/WorkerThreads.h"

#include <mutex>

namespace winmedia
{

struct ThreadedWorkQueue::State {
    State(std::string threadName, unsigned threadLimit) : name(std::move(threadName)), maxThreads(threadLimit) {}

    const std::string name;
    const unsigned maxThreads;
    Semaphore turns; // one for each item, and one more for the threads to end with
    std::mutex mutex;
    // Guarded by mutex.
    WaitingItems items;
    unsigned threads = 0;
    unsigned idle = 0;
};

ThreadedWorkQueue::ThreadedWorkQueue(std::string name, unsigned maxThreads)
    : m_state(std::make_shared<State>(std::move(name), maxThreads))
{
}

ThreadedWorkQueue::~ThreadedWorkQueue()
{
    m_state->turns.post();
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
    state.turns.post();
    return S_OK;
}

void ThreadedWorkQueue::work(State &state)
{
    for (;;) {
        {
            const std::lock_guard lock(state.mutex);
            ++state.idle;
        }
        state.turns.wait();
        std::unique_lock lock(state.mutex);
        --state.idle;
        if (state.items.empty())
            break;
        const WorkItem item = state.items.pop(); // perhaps the last reference to much: it goes without the lock
        lock.unlock();
        item.run();
    }
    state.turns.post(); // for the next thread to end
}

} // namespace winmedia
