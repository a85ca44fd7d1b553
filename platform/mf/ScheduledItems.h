#pragma once

#include "platform/com/ComObject.h"

#include <mfapi.h>

#include <chrono>
#include <memory>

namespace winmedia
{

// Work items that wait for their time on one thread, and then go to the work queue that their callback asks for, else
// to that for timers. Any thread. When it goes, the items that still wait are dropped.
class ScheduledItems
{
public:
    // Starts the thread; null when there is none to be had.
    static std::shared_ptr<ScheduledItems> create();
    ScheduledItems(const ScheduledItems &) = delete;
    ScheduledItems &operator=(const ScheduledItems &) = delete;
    ~ScheduledItems();

    // `key` may be null; keys are not used twice in a process.
    HRESULT add(Ref<IMFAsyncResult> result, std::chrono::milliseconds delay, MFWORKITEM_KEY *key);
    // False when the item is not waiting.
    bool cancel(MFWORKITEM_KEY key);

private:
    struct State;
    explicit ScheduledItems(std::shared_ptr<State> state);

    static void wait(State &state);

    // Shared with the thread.
    const std::shared_ptr<State> m_state;
};

} // namespace winmedia
