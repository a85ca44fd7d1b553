#pragma once

// A receiver of the runtime on one sender, and what it captures. Used by one thread.

#include "ndi/tools/common/SenderList.h"
#include "ndi/tools/ndi-recv/Options.h"

#include <Processing.NDI.Interface.h>

#include <chrono>
#include <memory>
#include <optional>

namespace ndirecv
{

// What the next capture brings, given back with the object.
class CapturedFrame
{
public:
    CapturedFrame(NDIlib_recv_instance_t receiver, std::chrono::milliseconds patience);
    ~CapturedFrame();

    CapturedFrame(const CapturedFrame &) = delete;
    CapturedFrame &operator=(const CapturedFrame &) = delete;

    NDIlib_frame_type_e type() const { return m_type; }
    bool hasContent() const
    {
        return m_type == NDIlib_frame_type_video || m_type == NDIlib_frame_type_audio ||
               m_type == NDIlib_frame_type_metadata;
    }
    const NDIlib_video_frame_v2_t &video() const { return m_video; }
    const NDIlib_audio_frame_v2_t &audio() const { return m_audio; }
    const NDIlib_metadata_frame_t &metadata() const { return m_metadata; }

private:
    const NDIlib_recv_instance_t m_receiver;
    NDIlib_video_frame_v2_t m_video;
    NDIlib_audio_frame_v2_t m_audio;
    NDIlib_metadata_frame_t m_metadata;
    NDIlib_frame_type_e m_type;
};

class Connection
{
public:
    // Throws a Failure when the runtime makes no receiver.
    Connection(const nditools::FoundSender &sender, const Options &options);

    const nditools::FoundSender &sender() const { return m_sender; }
    NDIlib_recv_instance_t receiver() const { return m_receiver.get(); }
    bool isOpen() const { return NDIlib_recv_get_no_connections(m_receiver.get()) > 0; }
    void sendTally() const;

    // While the sender is away: goes after it when it is back at another address, where the runtime does not look.
    // Looking ends with found().
    void lookForSender();
    void found() { m_list.reset(); }

private:
    struct DestroyReceiver {
        void operator()(NDIlib_recv_instance_t receiver) const { NDIlib_recv_destroy(receiver); }
    };

    void connect();

    const Options &m_options;
    nditools::FoundSender m_sender;
    std::unique_ptr<NDIlib_recv_instance_type, DestroyReceiver> m_receiver;
    std::optional<nditools::SenderList> m_list; // while the sender is away
};

} // namespace ndirecv
