#include "platform/mf/WorkQueueTable.h"

#include "platform/mf/ThreadedWorkQueue.h"

#include <mferror.h>

#include <algorithm>

namespace winmedia
{

namespace
{

struct StandardQueue {
    DWORD id;
    const char *name;
    unsigned maxThreads;
};

constexpr StandardQueue standardQueues[] = {
    {MFASYNC_CALLBACK_QUEUE_STANDARD, "mf-standard", 1},
    {MFASYNC_CALLBACK_QUEUE_RT, "mf-rt", 1},
    {MFASYNC_CALLBACK_QUEUE_IO, "mf-io", 1},
    {MFASYNC_CALLBACK_QUEUE_TIMER, "mf-timer", 1},
    {MFASYNC_CALLBACK_QUEUE_MULTITHREADED, "mf-pool", poolThreads},
    {MFASYNC_CALLBACK_QUEUE_LONG_FUNCTION, "mf-long", poolThreads},
};

const StandardQueue *standardQueue(DWORD id)
{
    const auto found = std::find_if(std::begin(standardQueues), std::end(standardQueues),
                                    [id](const StandardQueue &queue) { return queue.id == id; });
    return found == std::end(standardQueues) ? nullptr : found;
}

} // namespace

void WorkQueueTable::open()
{
    const std::lock_guard lock(m_mutex);
    m_open = true;
}

std::vector<std::shared_ptr<WorkQueue>> WorkQueueTable::close()
{
    std::vector<std::shared_ptr<WorkQueue>> queues;
    const std::lock_guard lock(m_mutex);
    m_open = false;
    for (std::shared_ptr<WorkQueue> &queue : m_standard)
        queues.push_back(std::move(queue));
    for (Slot &slot : m_slots) {
        if (slot.queue)
            ++slot.generation;
        queues.push_back(std::move(slot.queue));
    }
    return queues;
}

HRESULT WorkQueueTable::put(DWORD id, WorkItem item)
{
    std::shared_ptr<WorkQueue> queue;
    const HRESULT hr = find(id, &queue);
    return SUCCEEDED(hr) ? queue->put(std::move(item)) : hr;
}

HRESULT WorkQueueTable::find(DWORD id, std::shared_ptr<WorkQueue> *queue)
{
    const std::lock_guard lock(m_mutex);
    if (!m_open)
        return MF_E_SHUTDOWN;
    if (!(id & MFASYNC_CALLBACK_QUEUE_PRIVATE_MASK))
        return findStandard(id, queue);
    const Slot *const slot = slotOf(id);
    if (!slot)
        return MF_E_INVALID_WORKQUEUE;
    *queue = slot->queue;
    return S_OK;
}

HRESULT WorkQueueTable::findStandard(DWORD id, std::shared_ptr<WorkQueue> *queue)
{
    const StandardQueue *const standard = standardQueue(id);
    if (!standard)
        return MF_E_INVALID_WORKQUEUE;
    std::shared_ptr<WorkQueue> &place = m_standard[id];
    try {
        if (!place)
            place = std::make_shared<ThreadedWorkQueue>(standard->name, standard->maxThreads);
    } catch (const std::bad_alloc &) {
        return E_OUTOFMEMORY;
    }
    *queue = place;
    return S_OK;
}

HRESULT WorkQueueTable::add(std::shared_ptr<WorkQueue> queue, DWORD *id)
{
    const std::lock_guard lock(m_mutex);
    if (!m_open)
        return MF_E_SHUTDOWN;
    auto slot = std::find_if(m_slots.begin(), m_slots.end(), [](const Slot &any) { return !any.queue; });
    if (slot == m_slots.end()) {
        if (m_slots.size() >= 0xfffe) // the number 0xffff belongs to MFASYNC_CALLBACK_QUEUE_ALL
            return E_OUTOFMEMORY;
        try {
            slot = m_slots.emplace(slot);
        } catch (const std::bad_alloc &) {
            return E_OUTOFMEMORY;
        }
    }
    slot->queue = std::move(queue);
    slot->locks = 1;
    *id = static_cast<DWORD>(slot - m_slots.begin() + 1) << 16 | slot->generation;
    return S_OK;
}

HRESULT WorkQueueTable::lock(DWORD id)
{
    const std::lock_guard lock(m_mutex);
    if (!m_open)
        return MF_E_SHUTDOWN;
    if (standardQueue(id))
        return S_OK;
    Slot *const slot = slotOf(id);
    if (!slot)
        return MF_E_INVALID_WORKQUEUE;
    ++slot->locks;
    return S_OK;
}

HRESULT WorkQueueTable::unlock(DWORD id)
{
    std::shared_ptr<WorkQueue> unlocked; // goes without the lock
    const std::lock_guard lock(m_mutex);
    if (!m_open)
        return MF_E_SHUTDOWN;
    if (standardQueue(id))
        return S_OK;
    Slot *const slot = slotOf(id);
    if (!slot)
        return MF_E_INVALID_WORKQUEUE;
    if (--slot->locks == 0) {
        unlocked = std::move(slot->queue);
        ++slot->generation;
    }
    return S_OK;
}

WorkQueueTable::Slot *WorkQueueTable::slotOf(DWORD id)
{
    const size_t number = id >> 16;
    if (number == 0 || number > m_slots.size())
        return nullptr;
    Slot &slot = m_slots[number - 1];
    return slot.queue && slot.generation == static_cast<WORD>(id) ? &slot : nullptr;
}

} // namespace winmedia
