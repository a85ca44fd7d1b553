#pragma once

#include "platform/mf/WorkQueue.h"

#include <array>
#include <memory>
#include <mutex>
#include <vector>

namespace winmedia
{

// The work queues of the process by their identifiers: the standard ones, made when first used, and those that
// applications allocate, counted by their locks. Any thread; while the table is closed everything is MF_E_SHUTDOWN.
class WorkQueueTable
{
public:
    void open();
    // Hands the queues out, so that the caller lets them go without any lock held.
    std::vector<std::shared_ptr<WorkQueue>> close();

    HRESULT put(DWORD id, WorkItem item);
    // MF_E_INVALID_WORKQUEUE for an identifier that no queue has.
    HRESULT find(DWORD id, std::shared_ptr<WorkQueue> *queue);
    HRESULT add(std::shared_ptr<WorkQueue> queue, DWORD *id);
    // Standard queues need no lock and take any number.
    HRESULT lock(DWORD id);
    HRESULT unlock(DWORD id);

private:
    // A place for an application's queue. An identifier is the slot's number from 1 in the high word and its
    // generation, so that those of queues gone by stay invalid, in the low word.
    struct Slot {
        std::shared_ptr<WorkQueue> queue;
        unsigned locks = 0;
        WORD generation = 0;
    };

    Slot *slotOf(DWORD id);
    HRESULT findStandard(DWORD id, std::shared_ptr<WorkQueue> *queue);

    std::mutex m_mutex;
    // Guarded by m_mutex.
    bool m_open = false;
    std::array<std::shared_ptr<WorkQueue>, MFASYNC_CALLBACK_QUEUE_LONG_FUNCTION + 1> m_standard;
    std::vector<Slot> m_slots;
};

} // namespace winmedia
