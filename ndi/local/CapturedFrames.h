#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/PixelLayout.h"
#include "ndi/local/ReceiveQueue.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace localndi
{

// The frames an application holds, by the address of their data. Pixels that arrive in the layout the receiver asked
// for are handed out where they lie; others are converted into a buffer that is used again.
//
// Threads: any.
class CapturedFrames
{
public:
    explicit CapturedFrames(std::int32_t colorFormat) : m_colorFormat(colorFormat) {}

    NDIlib_video_frame_v2_t addVideo(const QueuedFrame &frame);
    NDIlib_audio_frame_v2_t addAudio(QueuedFrame frame);
    NDIlib_metadata_frame_t addMetadata(QueuedFrame frame);
    // Nothing happens for an address that is not held.
    void free(const void *data);

private:
    struct alignas(64) Block {
        std::uint8_t bytes[64];
    };
    using Buffer = std::vector<Block>;

    // What has to live as long as the application holds the frame.
    struct Held {
        std::shared_ptr<ReceivedSlot> slot;
        Buffer buffer;
        std::unique_ptr<std::string> text;
    };

    Buffer takeBuffer(std::int64_t size);
    void giveBack(Buffer buffer);
    void hold(const void *data, Held held);

    const std::int32_t m_colorFormat;
    std::mutex m_lock; // guards what follows
    std::unordered_map<const void *, Held> m_held;
    std::vector<Buffer> m_spare;
};

} // namespace localndi
