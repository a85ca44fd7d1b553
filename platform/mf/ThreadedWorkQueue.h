#pragma once

#include "platform/mf/WorkQueue.h"

#include <memory>
#include <string>

namespace winmedia
{

// Threads of a pool at most. Items of a pool may block, so there are more than processors.
constexpr unsigned poolThreads = 16;

// A work queue with threads of its own, which are made when items wait for one, up to a limit, and last until the queue
// goes. The destructor returns at once, on the queue's own threads too: they run what waits, then end.
class ThreadedWorkQueue final : public WorkQueue
{
public:
    ThreadedWorkQueue(std::string name, unsigned maxThreads);
    ~ThreadedWorkQueue() override;

    HRESULT put(WorkItem item) override;

private:
    struct State;
    static void work(State &state);

    // Shared with the threads.
    const std::shared_ptr<State> m_state;
};

} // namespace winmedia
