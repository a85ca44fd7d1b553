#include "platform/mf/SerialWorkQueue.h"

#include "platform/mf/AsyncResult.h"

#include <deque>
#include <mutex>

namespace winmedia
{

// The one work item that a serial queue has on its target while items wait; each time it runs the first of them.
class SerialWorkQueue::Runner final : public ComObject<IMFAsyncCallback>
{
public:
    explicit Runner(std::shared_ptr<WorkQueue> target) : m_target(std::move(target)) {}

    HRESULT put(WorkItem &&item);

    // IMFAsyncCallback
    STDMETHODIMP GetParameters(DWORD *, DWORD *) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(IMFAsyncResult *turn) override;

private:
    WorkItem takeFirst();
    // Whether another turn is needed and could not be had from the target.
    bool runsOnAfter(IMFAsyncResult *turn);

    const std::shared_ptr<WorkQueue> m_target;
    std::mutex m_mutex;
    // Guarded by m_mutex, under which the target's lock may be taken.
    std::deque<WorkItem> m_items;
    bool m_active = false;
};

HRESULT SerialWorkQueue::Runner::put(WorkItem &&item)
{
    const std::lock_guard lock(m_mutex);
    const LONG priority = item.priority;
    try {
        m_items.push_back(std::move(item));
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    if (m_active)
        return S_OK;

    const Ref<AsyncResult> turn = createObject<AsyncResult>(nullptr, this, nullptr);
    const HRESULT hr = turn ? m_target->put({turn.get(), priority}) : E_OUTOFMEMORY;
    if (FAILED(hr)) {
        item = std::move(m_items.back()); // to be released by the caller, without the lock
        m_items.pop_back();
        return hr;
    }
    m_active = true;
    return S_OK;
}

STDMETHODIMP SerialWorkQueue::Runner::Invoke(IMFAsyncResult *turn)
{
    do {
        takeFirst().run();
    } while (runsOnAfter(turn));
    return S_OK;
}

WorkItem SerialWorkQueue::Runner::takeFirst()
{
    const std::lock_guard lock(m_mutex);
    WorkItem item = std::move(m_items.front());
    m_items.pop_front();
    return item;
}

bool SerialWorkQueue::Runner::runsOnAfter(IMFAsyncResult *turn)
{
    const std::lock_guard lock(m_mutex);
    m_active = !m_items.empty();
    return m_active && FAILED(m_target->put({turn, m_items.front().priority}));
}

SerialWorkQueue::SerialWorkQueue(std::shared_ptr<WorkQueue> target) : m_runner(createObject<Runner>(std::move(target)))
{
    if (!m_runner)
        throw std::bad_alloc();
}

SerialWorkQueue::~SerialWorkQueue() = default;

HRESULT SerialWorkQueue::put(WorkItem item)
{
    return m_runner->put(std::move(item));
}

} // namespace winmedia
