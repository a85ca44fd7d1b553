#include "source/SourceCreation.h"

#include "hostfw/ComException.h"
#include "hostfw/Topology.h"
#include "plugin/AsyncOperationInterrupted.h"
#include "source/SourceChecks.h"

#include <mfapi.h>

namespace
{

void createNodes(IMFMediaSource *source, const SourceParameters &params, NDISource::AsyncSourceCreationResult &result)
{
    const CComPtr<IMFPresentationDescriptor> descriptor = getCleanPresentationDescriptor(source);

    DWORD descriptorIndexVideo = 0;
    const CComPtr<IMFTopologyNode> videoNode =
        createMediaSourceNode(source, descriptor, MFMediaType_Video, &descriptorIndexVideo);
    if (videoNode && params.hasVideo) {
        THROW_HR(descriptor->SelectStream(descriptorIndexVideo));
        result.videoNode = videoNode;
    }
    DWORD descriptorIndexAudio = 0;
    const CComPtr<IMFTopologyNode> audioNode =
        createMediaSourceNode(source, descriptor, MFMediaType_Audio, &descriptorIndexAudio);
    if (audioNode && params.hasAudio) {
        THROW_HR(descriptor->SelectStream(descriptorIndexAudio));
        result.audioNode = audioNode;
    }
}

} // namespace

NDISource::AsyncSourceCreationResult createSourceJob(const SourceParameters &params)
{
    NDISource::AsyncSourceCreationResult result;
    try {
        const CComPtr<NDISourceMF> source(new NDISourceMF(result.status, params));
        THROW_HR(result.status);
        createNodes(source, params, result);
        result.source = source;
    } catch (const ComException &exception) {
        result.status = exception.getErrorCode();
        result.message = exception.getMessage();
    } catch (const AsyncOperationInterrupted &) {
        result.status = HRESULT_FROM_WIN32(ERROR_CANCELLED);
    }
    return result;
}
