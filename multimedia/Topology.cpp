#include "hostfw/Topology.h"

#include "hostfw/ComException.h"

#include <mfapi.h>

namespace
{

void check(HRESULT hr)
{
    if (FAILED(hr))
        throw ComException(hr, QStringLiteral("Error"));
}

} // namespace

CComPtr<IMFPresentationDescriptor> getCleanPresentationDescriptor(IMFMediaSource *source)
{
    CComPtr<IMFPresentationDescriptor> descriptor;
    check(source->CreatePresentationDescriptor(&descriptor));
    DWORD count = 0;
    check(descriptor->GetStreamDescriptorCount(&count));
    for (DWORD index = 0; index < count; ++index)
        check(descriptor->DeselectStream(index));
    return descriptor;
}

CComPtr<IMFTopologyNode> createMediaSourceNode(IMFMediaSource *source, IMFPresentationDescriptor *descriptor,
                                               const GUID &majorType, DWORD *streamIndex)
{
    CComPtr<IMFTopologyNode> node;
    DWORD count = 0;
    check(descriptor->GetStreamDescriptorCount(&count));
    for (DWORD index = 0; index < count; ++index) {
        BOOL selected = FALSE;
        CComPtr<IMFStreamDescriptor> streamDescriptor;
        CComPtr<IMFMediaTypeHandler> handler;
        GUID streamMajorType = GUID_NULL;
        check(descriptor->GetStreamDescriptorByIndex(index, &selected, &streamDescriptor));
        check(streamDescriptor->GetMediaTypeHandler(&handler));
        check(handler->GetMajorType(&streamMajorType));
        if (!IsEqualGUID(streamMajorType, majorType))
            continue;

        check(MFCreateTopologyNode(MF_TOPOLOGY_SOURCESTREAM_NODE, &node));
        check(node->SetUnknown(MF_TOPONODE_SOURCE, source));
        check(node->SetUnknown(MF_TOPONODE_PRESENTATION_DESCRIPTOR, descriptor));
        check(node->SetUnknown(MF_TOPONODE_STREAM_DESCRIPTOR, streamDescriptor));
        *streamIndex = index;
        break;
    }
    return node;
}
