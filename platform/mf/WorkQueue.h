#pragma once

#include "platform/mf/AsyncResult.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace winmedia
{

struct WorkItem {
    Ref<AsyncResult> result;
    LONG priority = 0;
};

// Items run by priority, equal ones in the order they were put.
class WorkItems
{
public:
    void put(WorkItem item);
    WorkItem take();
    bool empty() const { return m_items.empty(); }

private:
    std::deque<WorkItem> m_items;
};

class WorkQueue
{
public:
    virtual ~WorkQueue() = default;
    virtual void put(WorkItem item) = 0;
    // No item is put after this; those waiting are still run. May be called on the queue's own thread.
    virtual void close() = 0;
};

// Items run on threads of the queue's own: at most as many at a time as it has threads. Threads start with the first
// item and end when the queue is closed and empty.
class ThreadedWorkQueue : public WorkQueue
{
public:
    explicit ThreadedWorkQueue(unsigned threads);
    ~ThreadedWorkQueue() override;

    void put(WorkItem item) override;
    void close() override;

private:
    struct State {
        std::mutex mutex;
        std::condition_variable wake;
        WorkItems items;      // guarded by mutex
        unsigned idle = 0;    // threads that wait for an item; guarded by mutex
        unsigned started = 0; // guarded by mutex
        bool closed = false;  // guarded by mutex
    };

    static void work(const std::shared_ptr<State> &state);

    const unsigned m_limit;
    const std::shared_ptr<State> m_state;
    std::vector<std::thread> m_threads; // guarded by the state's mutex
};

// Items run one at a time on another queue.
class SerialWorkQueue : public WorkQueue, public std::enable_shared_from_this<SerialWorkQueue>
{
public:
    explicit SerialWorkQueue(std::shared_ptr<WorkQueue> target) : m_target(std::move(target)) {}

    void put(WorkItem item) override;
    void close() override {}

private:
    class Step;

    void scheduleStep();
    void runStep();

    const std::shared_ptr<WorkQueue> m_target;
    std::mutex m_mutex;
    WorkItems m_items;        // guarded by m_mutex
    bool m_scheduled = false; // guarded by m_mutex
};

} // namespace winmedia
