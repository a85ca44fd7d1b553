// The function below takes the place of the platform library's, since the loader looks into the program first.

#include "tests/support/native/FailingTopologyNodes.h"

#include <mfidl.h>

#include <atomic>

#include <dlfcn.h>

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
    static const auto real =
        reinterpret_cast<decltype(&MFCreateTopologyNode)>(dlsym(RTLD_NEXT, "MFCreateTopologyNode"));
    return real(type, node);
}
