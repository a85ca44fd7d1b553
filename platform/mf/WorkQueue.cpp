#include "platform/mf/WorkQueue.h"

#include "platform/mf/AsyncResult.h"

#include <algorithm>

namespace winmedia
{

void WorkItem::run() const
{
    callbackOf(result.get())->Invoke(result.get());
}

void WaitingItems::push(WorkItem &&item)
{
    m_heap.push_back({std::move(item), m_count++});
    std::push_heap(m_heap.begin(), m_heap.end(), runsLater);
}

WorkItem WaitingItems::pop()
{
    std::pop_heap(m_heap.begin(), m_heap.end(), runsLater);
    WorkItem item = std::move(m_heap.back().item);
    m_heap.pop_back();
    return item;
}

bool WaitingItems::runsLater(const Entry &left, const Entry &right)
{
    if (left.item.priority != right.item.priority)
        return left.item.priority < right.item.priority;
    return left.number > right.number;
}

} // namespace winmedia
