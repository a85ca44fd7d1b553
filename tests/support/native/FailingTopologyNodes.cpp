// The function below takes the place of the platform library's, since the loader looks into the program first.

#include "tests/support/native/FailingTopologyNodes.h"

#include "tests/support/native/RealFunction.h"

#include <mfidl.h>

#include <atomic>

namespace
{

std::atomic<HRESULT> failureOfNodes{S_OK};
std::atomic<int> nodesLeft{0};

} // namespace

FailingTopologyNodes::FailingTopologyNodes(int made, HRESULT failure)
{
    nodesLeft = made;
    failureOfNodes = failure;
}

FailingTopologyNodes::~FailingTopologyNodes()
{
    failureOfNodes = S_OK;
}

extern "C" __attribute__((visibility("default"))) HRESULT WINAPI MFCreateTopologyNode(MF_TOPOLOGY_TYPE type,
                                                                                      IMFTopologyNode **node)
{
    const HRESULT failure = failureOfNodes;
    if (FAILED(failure) && nodesLeft-- <= 0)
        return failure;
    static auto *const real = realFunction<decltype(MFCreateTopologyNode)>("MFCreateTopologyNode");
    return real(type, node);
}
