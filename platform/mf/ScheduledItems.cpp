#include "platform/mf/ScheduledItems.h"

#include "platform/mf/AsyncResult.h"
#include "platform/mf/Platform.h"
#include "platform/mf/WorkerThreads.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>

namespace winmedia
{

namespace
{

using Clock = std::chrono::steady_clock;

// Beyond this a delay is as good as endless, and adding it to the time of day must not overflow.
constexpr std::chrono::hours longestDelay{24 * 365};

struct Item {
    MFWORKITEM_KEY key;
    Ref<IMFAsyncResult> result;
};

MFWORKITEM_KEY nextKey()
{
    static std::atomic<MFWORKITEM_KEY> last{0};
    return ++last;
}

} // namespace

struct ScheduledItems::State {
    std::mutex mutex;
    std::condition_variable wake;
    // Guarded by mutex. Items of the same time keep their order.
    std::multimap<Clock::time_point, Item> items;
    bool closed = false;
};

std::shared_ptr<ScheduledItems> ScheduledItems::create()
{
    try {
        auto state = std::make_shared<State>();
        if (FAILED(WorkerThreads::instance().spawn("mf-schedule", [state] { wait(*state); })))
            return nullptr;
        return std::shared_ptr<ScheduledItems>(new ScheduledItems(std::move(state)));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

ScheduledItems::ScheduledItems(std::shared_ptr<State> state) : m_state(std::move(state)) {}

ScheduledItems::~ScheduledItems()
{
    decltype(State::items) dropped; // released without the lock
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->closed = true;
        dropped.swap(m_state->items);
    }
    m_state->wake.notify_one();
}

HRESULT ScheduledItems::add(Ref<IMFAsyncResult> result, std::chrono::milliseconds delay, MFWORKITEM_KEY *key)
{
    const MFWORKITEM_KEY itemKey = nextKey();
    if (key)
        *key = itemKey;
    const auto due = Clock::now() + std::min<std::chrono::milliseconds>(delay, longestDelay);
    {
        const std::lock_guard lock(m_state->mutex);
        try {
            m_state->items.insert({due, {itemKey, std::move(result)}});
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
    }
    m_state->wake.notify_one();
    return S_OK;
}

bool ScheduledItems::cancel(MFWORKITEM_KEY key)
{
    Ref<IMFAsyncResult> cancelled; // released without the lock
    const std::lock_guard lock(m_state->mutex);
    const auto found = std::find_if(m_state->items.begin(), m_state->items.end(),
                                    [key](const auto &entry) { return entry.second.key == key; });
    if (found == m_state->items.end())
        return false;
    cancelled = std::move(found->second.result);
    m_state->items.erase(found);
    return true;
}

void ScheduledItems::wait(State &state)
{
    std::unique_lock lock(state.mutex);
    while (!state.closed) {
        if (state.items.empty()) {
            state.wake.wait(lock);
            continue;
        }
        const auto first = state.items.begin();
        const Clock::time_point due = first->first;
        if (Clock::now() < due) {
            state.wake.wait_until(lock, due);
            continue;
        }
        Ref<IMFAsyncResult> result = std::move(first->second.result);
        state.items.erase(first);
        lock.unlock();
        const DWORD queue = queueOf(callbackOf(result.get()), MFASYNC_CALLBACK_QUEUE_TIMER);
        Platform::instance().queues().put(queue, {std::move(result), 0});
        lock.lock();
    }
}

} // namespace winmedia
