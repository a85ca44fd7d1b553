#include "sink/SinkCreation.h"

#include "hostfw/ComException.h"
#include "sink/SinkChecks.h"

#include <mfapi.h>

#include <new>

namespace
{

CComPtr<IMFStreamSink> findStreamSink(IMFMediaSink *sink, const GUID &majorType)
{
    DWORD count = 0;
    THROW_HR(sink->GetStreamSinkCount(&count));
    for (DWORD index = 0; index < count; ++index) {
        CComPtr<IMFStreamSink> stream;
        THROW_HR(sink->GetStreamSinkByIndex(index, &stream));
        CComPtr<IMFMediaTypeHandler> handler;
        THROW_HR(stream->GetMediaTypeHandler(&handler));
        GUID type = GUID_NULL;
        THROW_HR(handler->GetMajorType(&type));
        if (IsEqualGUID(type, majorType))
            return stream;
    }
    throw ComException(E_FAIL, QStringLiteral("Can't create Sink node"));
}

NDISink::AsyncCreationResult createSink(const NDISinkParams &params)
{
    const CComPtr<NDISinkMF> sink(new (std::nothrow) NDISinkMF(params));
    if (!sink)
        throw ComException(E_POINTER, QStringLiteral("Null pointer"));
    NDISink::AsyncCreationResult result;
    result.sink = sink;
    if (params.hasVideo) {
        result.videoNode = createStreamSinkNode(sink, MFMediaType_Video);
        if (!result.videoNode)
            throw ComException(E_POINTER, QStringLiteral("Video stream creation failed."));
    }
    if (params.hasAudio) {
        result.audioNode = createStreamSinkNode(sink, MFMediaType_Audio);
        if (!result.audioNode)
            throw ComException(E_POINTER, QStringLiteral("Audio stream creation failed."));
    }
    return result;
}

} // namespace

NDISink::AsyncCreationResult createSinkJob(const NDISinkParams &params)
{
    try {
        return createSink(params);
    } catch (const ComException &exception) {
        NDISink::AsyncCreationResult failure;
        failure.hr = exception.getErrorCode();
        failure.error = exception.getMessage();
        return failure;
    }
}

CComPtr<IMFTopologyNode> createStreamSinkNode(IMFMediaSink *sink, const GUID &majorType)
{
    const CComPtr<IMFStreamSink> stream = findStreamSink(sink, majorType);
    CComPtr<IMFTopologyNode> node;
    THROW_HR(MFCreateTopologyNode(MF_TOPOLOGY_OUTPUT_NODE, &node));
    THROW_HR(node->SetObject(stream));
    return node;
}
