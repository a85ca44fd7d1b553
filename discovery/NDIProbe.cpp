#include "discovery/NDIProbe.h"

#include "format/MediaTypes.h"
#include "hostfw/ComException.h"
#include "hostfw/MediaTypeText.h"
#include "plugin/Logging.h"
#include "plugin/NdiGuards.h"

#include <optional>

// {4D594D6E-4978-4665-B3F0-1CEE0775A89D}
const GUID NDI_MT_HAS_FRAME_METADATA = {0x4d594d6e, 0x4978, 0x4665, {0xb3, 0xf0, 0x1c, 0xee, 0x07, 0x75, 0xa8, 0x9d}};

namespace
{

constexpr uint32_t captureMilliseconds = 10'000;

// A frame of a format that is not mapped has no type to mark.
void markFrameMetadata(IMFMediaType *type, const char *metadata)
{
    if (type && metadata)
        type->SetUINT32(NDI_MT_HAS_FRAME_METADATA, TRUE);
}

// Whole milliseconds, as a number with decimals.
double toMilliseconds(int64_t timecodeHns)
{
    return static_cast<double>(HnsTime(timecodeHns).toMilliseconds());
}

} // namespace

NDIProbe::NDIProbe(NDIlib_recv_instance_t receiver) : m_receiver(receiver)
{
    qRegisterMetaType<HRESULT>("HRESULT");
    qRegisterMetaType<HnsTime>("HnsTime");
}

void NDIProbe::reprobe(HnsTime howLong)
{
    m_status = S_FALSE;
    m_videoType.Release();
    m_audioType.Release();
    doProbe(howLong);
}

void NDIProbe::doProbe(HnsTime howLong)
{
    try {
        captureUntilFound(howLong);
    } catch (const ComException &exception) {
        qCCritical(sourceCategory) << "NDI probing error:" << exception.getMessage();
        m_status = exception.getErrorCode();
        return;
    }
    m_status = S_OK;
    Q_EMIT finished(S_OK);
}

void NDIProbe::captureUntilFound(const HnsTime &howLong)
{
    qCDebug(sourceCategory, "NDI probe: start...");
    std::optional<HnsTime> start; // of the first frame: until then there is no limit
    for (;;) {
        if (start && !(HnsTime::systemTime() - *start < howLong))
            return;
        if (m_videoType && m_audioType)
            return;
        if (captureOnce() && !start)
            start = HnsTime::systemTime();
    }
}

bool NDIProbe::captureOnce()
{
    NDIlib_video_frame_v2_t video;
    NDIlib_audio_frame_v2_t audio;
    NDIlib_metadata_frame_t metadata;
    switch (NDIlib_recv_capture_v2(m_receiver, &video, &audio, &metadata, captureMilliseconds)) {
    case NDIlib_frame_type_video:
        meetVideo(video);
        return true;
    case NDIlib_frame_type_audio:
        meetAudio(audio);
        return true;
    case NDIlib_frame_type_metadata:
        meetMetadata(metadata);
        return false;
    case NDIlib_frame_type_error:
        throw ComException(E_FAIL, QStringLiteral("Connection lost"));
    case NDIlib_frame_type_status_change:
        qCDebug(sourceCategory, "NDI probe: source status changed");
        return false;
    default:
        return false;
    }
}

void NDIProbe::meetVideo(const NDIlib_video_frame_v2_t &frame)
{
    const NdiFrameGuard<NDIlib_video_frame_v2_t> guard(m_receiver, frame, NDIlib_recv_free_video_v2);
    if (!m_videoType) {
        m_videoType = createVideoMediaType(frame, false);
        qCDebug(sourceCategory) << "NDI probe found video:" << to_qstring(m_videoType);
    }
    markFrameMetadata(m_videoType, frame.p_metadata);
    qCDebug(sourceCategory, "NDI probe: video frame recvd: %.3f ms", toMilliseconds(frame.timecode));
}

void NDIProbe::meetAudio(const NDIlib_audio_frame_v2_t &frame)
{
    const NdiFrameGuard<NDIlib_audio_frame_v2_t> guard(m_receiver, frame, NDIlib_recv_free_audio_v2);
    if (!m_audioType) {
        m_audioType = createAudioMediaType(frame);
        qCDebug(sourceCategory) << "NDI probe found audio:" << to_qstring(m_audioType);
    }
    markFrameMetadata(m_audioType, frame.p_metadata);
    qCDebug(sourceCategory, "NDI probe: audio frame recvd: %.3f ms", toMilliseconds(frame.timecode));
}

void NDIProbe::meetMetadata(const NDIlib_metadata_frame_t &frame)
{
    const NdiFrameGuard<NDIlib_metadata_frame_t> guard(m_receiver, frame, NDIlib_recv_free_metadata);
    qCDebug(sourceCategory) << "NDI probe: metadata:" << QString::fromUtf8(frame.p_data);
}
