#pragma once

// A receiver of one sender, for tests: finds it by name, then hands out copies of its frames.

#include "pattern/Picture.h"

#include <Processing.NDI.Interface.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

struct ReceivedVideo {
    NDIlib_video_frame_v2_t header; // p_data is no longer valid
    std::string metadata;
    std::vector<std::uint8_t> pixels;

    pattern::ConstPicture picture() const;
};

struct ReceivedAudio {
    NDIlib_audio_frame_v2_t header; // p_data is no longer valid
    std::string metadata;
    std::vector<float> samples; // channel after channel

    float peak() const;
};

struct ReceivedMetadata {
    std::string text;
};

using Received = std::variant<ReceivedVideo, ReceivedAudio, ReceivedMetadata>;

class Receiver
{
public:
    // Waits until a sender of this name is listed; see found().
    explicit Receiver(const std::string &name,
                      NDIlib_recv_color_format_e colorFormat = NDIlib_recv_color_format_UYVY_BGRA);

    bool found() const { return m_receiver != nullptr; }
    bool setTally(bool onProgram, bool onPreview);

    // The next frame; nothing when none came in time.
    std::optional<Received> next();

    template <class Frame>
    std::optional<Frame> nextOf()
    {
        const auto deadline = std::chrono::steady_clock::now() + Patience;
        while (std::chrono::steady_clock::now() < deadline) {
            auto received = next();
            if (!received)
                return std::nullopt;
            if (auto *frame = std::get_if<Frame>(&*received))
                return std::move(*frame);
        }
        return std::nullopt;
    }

    static constexpr std::chrono::seconds Patience{20};

private:
    struct Destroy {
        void operator()(NDIlib_recv_instance_t receiver) const { NDIlib_recv_destroy(receiver); }
    };
    std::unique_ptr<NDIlib_recv_instance_type, Destroy> m_receiver;
};
