#pragma once

#include "platform/mf/WorkQueue.h"

#include <memory>

namespace winmedia
{

// A work queue without a thread: one item at a time, in the order they came, on top of another queue, to which each
// item lends its priority. The other queue lasts until the items that wait have run.
class SerialWorkQueue final : public WorkQueue
{
public:
    explicit SerialWorkQueue(std::shared_ptr<WorkQueue> target); // throws std::bad_alloc
    ~SerialWorkQueue() override;

    HRESULT put(WorkItem item) override;

private:
    class Runner;
    const Ref<Runner> m_runner;
};

} // namespace winmedia
