// The function below takes the place of the host library's, since the loader looks into the program first.

#include "tests/source/native/MadeUpSourceNodes.h"

#include "hostfw/Topology.h"
#include "tests/support/native/RealFunction.h"

#include <mfapi.h>

#include <mutex>
#include <optional>

namespace
{

struct Lie {
    MadeUpSourceNodes::Kind kind;
    GUID majorType;
};
std::mutex lieMutex;
std::optional<Lie> lie; // guarded by lieMutex

bool isToldOf(MadeUpSourceNodes::Kind kind, const GUID &majorType)
{
    const std::lock_guard<std::mutex> lock(lieMutex);
    return lie && lie->kind == kind && IsEqualGUID(lie->majorType, majorType);
}

} // namespace

MadeUpSourceNodes::MadeUpSourceNodes(Kind kind, const GUID &majorType)
{
    const std::lock_guard<std::mutex> lock(lieMutex);
    lie = Lie{kind, majorType};
}

MadeUpSourceNodes::~MadeUpSourceNodes()
{
    const std::lock_guard<std::mutex> lock(lieMutex);
    lie.reset();
}

CComPtr<IMFTopologyNode> createMediaSourceNode(IMFMediaSource *source, IMFPresentationDescriptor *descriptor,
                                               const GUID &majorType, DWORD *streamIndex)
{
    // The library's own function, by the name that a C++ compiler gives it here.
    static auto *const real = realFunction<decltype(createMediaSourceNode)>(
        "_Z21createMediaSourceNodeP14IMFMediaSourceP25IMFPresentationDescriptorRK5_GUIDPj");
    CComPtr<IMFTopologyNode> node = real(source, descriptor, majorType, streamIndex);
    if (!node && isToldOf(MadeUpSourceNodes::Kind::NodeOfAbsentStream, majorType))
        MFCreateTopologyNode(MF_TOPOLOGY_SOURCESTREAM_NODE, &node);
    if (node && isToldOf(MadeUpSourceNodes::Kind::IndexBeyondTheLast, majorType))
        descriptor->GetStreamDescriptorCount(streamIndex);
    return node;
}
