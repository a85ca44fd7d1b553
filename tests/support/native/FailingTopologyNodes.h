#pragma once

#include <windows.h>

// While it exists, the system makes `made` more topology nodes and then fails. One at a time, for calls on any thread.
class FailingTopologyNodes
{
public:
    FailingTopologyNodes(int made, HRESULT failure);
    FailingTopologyNodes(const FailingTopologyNodes &) = delete;
    FailingTopologyNodes &operator=(const FailingTopologyNodes &) = delete;
    ~FailingTopologyNodes();
};
