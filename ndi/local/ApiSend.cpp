#include "ndi/local/Handles.h"

using namespace localndi;

namespace
{

constexpr char defaultName[] = "NDI sender";

// A frame that there is no memory for is lost.
template <typename Send>
void guarded(Send send)
{
    try {
        send();
    } catch (const std::exception &) {
    }
}

} // namespace

NDIlib_send_instance_t NDIlib_send_create(const NDIlib_send_create_t *settings)
{
    const NDIlib_send_create_t defaults;
    const auto &wanted = settings != nullptr ? *settings : defaults;
    auto name = textOrEmpty(wanted.p_ndi_name);
    if (name.empty())
        name = defaultName;
    return makeHandle<NDIlib_send_instance_type>(
        Sender::Settings{std::move(name), textOrEmpty(wanted.p_groups), wanted.clock_video, wanted.clock_audio});
}

void NDIlib_send_destroy(NDIlib_send_instance_t sender)
{
    destroyHandle(sender);
}

void NDIlib_send_send_video_v2(NDIlib_send_instance_t sender, const NDIlib_video_frame_v2_t *frame)
{
    if (sender != nullptr && frame != nullptr)
        guarded([&] { sender->sender.sendVideo(*frame); });
}

// The frame is copied before the call returns, so none is ever held.
void NDIlib_send_send_video_async_v2(NDIlib_send_instance_t sender, const NDIlib_video_frame_v2_t *frame)
{
    NDIlib_send_send_video_v2(sender, frame);
}

void NDIlib_send_send_audio_v2(NDIlib_send_instance_t sender, const NDIlib_audio_frame_v2_t *frame)
{
    if (sender != nullptr && frame != nullptr)
        guarded([&] { sender->sender.sendAudio(*frame); });
}

void NDIlib_send_send_metadata(NDIlib_send_instance_t sender, const NDIlib_metadata_frame_t *frame)
{
    if (sender != nullptr && frame != nullptr)
        guarded([&] { sender->sender.sendMetadata(*frame); });
}

bool NDIlib_send_get_tally(NDIlib_send_instance_t sender, NDIlib_tally_t *tally, uint32_t timeout_ms)
{
    if (sender == nullptr || tally == nullptr)
        return false;
    const auto reading = sender->sender.readTally(waitTime(timeout_ms));
    tally->on_program = reading.state.onProgram != 0;
    tally->on_preview = reading.state.onPreview != 0;
    return reading.changed;
}

int NDIlib_send_get_no_connections(NDIlib_send_instance_t sender, uint32_t timeout_ms)
{
    return sender != nullptr ? sender->sender.connectionCount(waitTime(timeout_ms)) : 0;
}
