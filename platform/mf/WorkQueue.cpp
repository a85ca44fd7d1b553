#include "platform/mf/WorkQueue.h"

#include <algorithm>

namespace winmedia
{

void WorkItems::put(WorkItem item)
{
    const auto place = std::find_if(m_items.rbegin(), m_items.rend(), [&](const WorkItem &waiting) {
                           return waiting.priority >= item.priority;
                       }).base();
    m_items.insert(place, std::move(item));
}

WorkItem WorkItems::take()
{
    WorkItem item = std::move(m_items.front());
    m_items.pop_front();
    return item;
}

ThreadedWorkQueue::ThreadedWorkQueue(unsigned threads) : m_limit(threads), m_state(std::make_shared<State>()) {}

ThreadedWorkQueue::~ThreadedWorkQueue()
{
    close();
    // Not joined: the last reference may go on one of these threads, and whoever lets go of a queue does not wait for
    // the items that are left. The threads hold the state and end by themselves.
    for (std::thread &thread : m_threads)
        thread.detach();
}

void ThreadedWorkQueue::put(WorkItem item)
{
    const std::lock_guard lock(m_state->mutex);
    m_state->items.put(std::move(item));
    if (m_state->idle > 0) {
        m_state->wake.notify_one();
    } else if (m_state->started < m_limit) {
        ++m_state->started;
        m_threads.emplace_back([state = m_state] { work(state); });
    }
}

void ThreadedWorkQueue::close()
{
    const std::lock_guard lock(m_state->mutex);
    m_state->closed = true;
    m_state->wake.notify_all();
}

void ThreadedWorkQueue::work(const std::shared_ptr<State> &state)
{
    std::unique_lock lock(state->mutex);
    for (;;) {
        while (!state->items.empty()) {
            WorkItem item = state->items.take();
            lock.unlock();
            item.result->run();
            item.result.reset();
            lock.lock();
        }
        if (state->closed)
            return;
        ++state->idle;
        state->wake.wait(lock);
        --state->idle;
    }
}

// One item of the serial queue, on its way through the target queue.
class SerialWorkQueue::Step : public ComObject<IMFAsyncCallback>
{
public:
    explicit Step(std::shared_ptr<SerialWorkQueue> queue) : m_queue(std::move(queue)) {}

    STDMETHODIMP GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(IMFAsyncResult *) override
    {
        m_queue->runStep();
        return S_OK;
    }

private:
    const std::shared_ptr<SerialWorkQueue> m_queue;
};

void SerialWorkQueue::put(WorkItem item)
{
    const std::lock_guard lock(m_mutex);
    m_items.put(std::move(item));
    if (!m_scheduled)
        scheduleStep();
}

void SerialWorkQueue::scheduleStep()
{
    m_scheduled = true;
    const auto step = createObject<Step>(shared_from_this());
    m_target->put({createObject<AsyncResult>(nullptr, step.get(), nullptr), 0});
}

void SerialWorkQueue::runStep()
{
    std::unique_lock lock(m_mutex);
    WorkItem item = m_items.take();
    lock.unlock();
    item.result->run();
    item.result.reset();
    lock.lock();
    m_scheduled = false;
    if (!m_items.empty())
        scheduleStep();
}

} // namespace winmedia
