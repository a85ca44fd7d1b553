#pragma once

#include <windows.h>

// Makes the functions of Media Foundation that create event queues and work queues, and that which puts work items with
// a priority, fail while it exists. One at a time, for calls on any thread.
class FailingQueues
{
public:
    explicit FailingQueues(HRESULT failure);
    FailingQueues(const FailingQueues &) = delete;
    FailingQueues &operator=(const FailingQueues &) = delete;
    ~FailingQueues();
};
