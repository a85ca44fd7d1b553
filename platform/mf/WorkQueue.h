#pragma once

#include "platform/com/ComObject.h"

#include <mfapi.h>

#include <cstdint>
#include <vector>

namespace winmedia
{

// A callback to be invoked, in the form of its asynchronous result.
struct WorkItem {
    Ref<IMFAsyncResult> result;
    LONG priority = 0;

    void run() const;
};

// A place where work items run. Any thread may put items. When the queue goes, the items that wait still run.
class WorkQueue
{
public:
    WorkQueue() = default;
    WorkQueue(const WorkQueue &) = delete;
    WorkQueue &operator=(const WorkQueue &) = delete;
    virtual ~WorkQueue() = default;

    // Fails only when memory or threads are out; the item is not kept then.
    virtual HRESULT put(WorkItem item) = 0;
};

// Items that wait: higher priorities first, equal ones in the order they came.
class WaitingItems
{
public:
    bool empty() const { return m_heap.empty(); }
    size_t size() const { return m_heap.size(); }
    void push(WorkItem &&item); // throws std::bad_alloc
    WorkItem pop();

private:
    struct Entry {
        WorkItem item;
        std::uint64_t number;
    };
    static bool runsLater(const Entry &left, const Entry &right);

    std::vector<Entry> m_heap;
    std::uint64_t m_count = 0;
};

} // namespace winmedia
