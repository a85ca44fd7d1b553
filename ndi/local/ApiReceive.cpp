#include "ndi/local/Handles.h"

using namespace localndi;

namespace
{

std::uint32_t kindsOf(NDIlib_recv_bandwidth_e bandwidth)
{
    switch (bandwidth) {
    case NDIlib_recv_bandwidth_metadata_only:
        return kindMetadata;
    case NDIlib_recv_bandwidth_audio_only:
        return kindMetadata | kindAudio;
    default:
        return kindMetadata | kindAudio | kindVideo;
    }
}

template <typename Frame>
void freeFrame(NDIlib_recv_instance_t receiver, const Frame *frame)
{
    if (receiver != nullptr && frame != nullptr)
        receiver->receiver.free(frame->p_data);
}

} // namespace

NDIlib_recv_instance_t NDIlib_recv_create_v2(const NDIlib_recv_create_t *settings)
{
    const NDIlib_recv_create_t defaults;
    const auto &wanted = settings != nullptr ? *settings : defaults;
    return makeHandle<NDIlib_recv_instance_type>(Receiver::Settings{
        textOrEmpty(wanted.source_to_connect_to.p_ndi_name), textOrEmpty(wanted.source_to_connect_to.p_url_address),
        wanted.color_format, kindsOf(wanted.bandwidth), wanted.allow_video_fields});
}

void NDIlib_recv_destroy(NDIlib_recv_instance_t receiver)
{
    destroyHandle(receiver);
}

NDIlib_frame_type_e NDIlib_recv_capture_v2(NDIlib_recv_instance_t receiver, NDIlib_video_frame_v2_t *video,
                                           NDIlib_audio_frame_v2_t *audio, NDIlib_metadata_frame_t *metadata,
                                           uint32_t timeout_ms)
{
    if (receiver == nullptr)
        return NDIlib_frame_type_none;
    try {
        return receiver->receiver.capture(video, audio, metadata, waitTime(timeout_ms));
    } catch (const std::exception &) { // no memory for a conversion: the frame is lost
        return NDIlib_frame_type_none;
    }
}

void NDIlib_recv_free_video_v2(NDIlib_recv_instance_t receiver, const NDIlib_video_frame_v2_t *frame)
{
    freeFrame(receiver, frame);
}

void NDIlib_recv_free_audio_v2(NDIlib_recv_instance_t receiver, const NDIlib_audio_frame_v2_t *frame)
{
    freeFrame(receiver, frame);
}

void NDIlib_recv_free_metadata(NDIlib_recv_instance_t receiver, const NDIlib_metadata_frame_t *frame)
{
    freeFrame(receiver, frame);
}

bool NDIlib_recv_set_tally(NDIlib_recv_instance_t receiver, const NDIlib_tally_t *tally)
{
    if (receiver == nullptr || tally == nullptr)
        return false;
    return receiver->receiver.setTally({tally->on_program ? 1U : 0U, tally->on_preview ? 1U : 0U});
}

int NDIlib_recv_get_no_connections(NDIlib_recv_instance_t receiver)
{
    return receiver != nullptr ? receiver->receiver.connectionCount() : 0;
}
