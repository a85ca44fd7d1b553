#pragma once

// Sends the frames of the sources at their time. Frame n has the timecode n x frame duration; the sound that belongs
// to it is cut at the frame boundaries and has the timecode of its first sample. By one clock it is sent just before
// its frame; by clocks that differ each is sent at its own time.

#include "ndi/tools/common/StatusLines.h"
#include "ndi/tools/ndi-send/Options.h"
#include "ndi/tools/ndi-send/Sources.h"
#include "ndi/tools/ndi-send/Summary.h"

#include <memory>
#include <optional>
#include <vector>

namespace ndisend
{

class Pace;
class TallyWatcher;

class Publisher
{
public:
    // Either source may be missing, not both.
    Publisher(const Options &options, std::unique_ptr<VideoSource> video, std::unique_ptr<AudioSource> audio,
              nditools::StatusLines &lines);
    ~Publisher();

    Publisher(const Publisher &) = delete;
    Publisher &operator=(const Publisher &) = delete;

    // Publishes until a limit, the end of the input or an interrupt. Throws a Failure when the input is damaged or
    // there is no runtime.
    Summary run();

private:
    struct DestroySender {
        void operator()(NDIlib_send_instance_t sender) const { NDIlib_send_destroy(sender); }
    };
    using Sender = std::unique_ptr<NDIlib_send_instance_type, DestroySender>;

    // The next frame of picture or of sound.
    struct Turn {
        std::int64_t frame = 0;
        bool prepared = false;
    };

    void publishFrames(const TallyWatcher &watcher);
    bool publishNext(Pace &pace, const TallyWatcher &watcher);
    bool prepare();
    bool prepareAudio(std::int64_t frame);
    // The one that counts frames for limits and metadata.
    const Turn &leading() const { return m_video ? m_videoTurn : m_audioTurn; }
    void sendVideo();
    void sendAudio();
    void sendMetadata(std::int64_t frame, int connections);
    std::int64_t audioStart(std::int64_t frame) const;
    std::string description() const;

    const Options m_options;
    const std::unique_ptr<VideoSource> m_video;
    const std::unique_ptr<AudioSource> m_audio;
    nditools::StatusLines &m_lines;
    const pattern::FrameRate m_rate;
    const std::optional<std::int64_t> m_limit; // frames
    Sender m_sender;
    Turn m_videoTurn;
    Turn m_audioTurn;
    std::vector<float> m_samples; // of the prepared frame
    int m_knownConnections = 0;
    Summary m_summary;
};

} // namespace ndisend
