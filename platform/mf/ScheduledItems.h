#pragma once

#include "platform/com/ComObject.h"

#include <mfapi.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace winmedia
{

// Work items that wait for their time, on a thread that runs while there are any, and then go to the queue they ask
// for.
class ScheduledItems
{
public:
    static ScheduledItems &instance();

    // `key` may be null.
    void add(Ref<IMFAsyncResult> result, INT64 milliseconds, MFWORKITEM_KEY *key);
    // False when the item has run or was never there.
    bool cancel(MFWORKITEM_KEY key);
    // Drops what waits and ends the thread.
    void clear();

private:
    using Clock = std::chrono::steady_clock;
    struct Item {
        MFWORKITEM_KEY key;
        Ref<IMFAsyncResult> result;
    };

    void wait();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::multimap<Clock::time_point, Item> m_items; // guarded by m_mutex
    MFWORKITEM_KEY m_nextKey = 1;                   // guarded by m_mutex
    bool m_stopping = false;                        // guarded by m_mutex
    std::thread m_thread;                           // guarded by m_mutex
};

} // namespace winmedia
