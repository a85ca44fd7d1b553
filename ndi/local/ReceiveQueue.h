#pragma once

#include "ndi/local/Protocol.h"
#include "ndi/local/ReceivedSlot.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace localndi
{

// A frame that has arrived and was not captured yet.
struct QueuedFrame {
    enum class Part { Whole, Field0, Field1 };

    MessageType type = MessageType::Metadata;
    std::shared_ptr<ReceivedSlot> slot; // video and audio
    VideoAnnouncement video{};
    Part part = Part::Whole; // of the video frame
    AudioAnnouncement audio{};
    std::string text; // of metadata
    std::int64_t timecode = 0;
};

// The frames of one receiver in the order of arrival, the newest few of each kind: when nobody captures them, the
// oldest go.
//
// Threads: any.
class ReceiveQueue
{
public:
    // A first field brings its second along; each counts.
    void push(QueuedFrame frame);
    // False when there is none of the type.
    bool dropOldest(MessageType type);
    // The oldest frame of the wanted kinds (bits of Kinds); waits for one at most `timeout`.
    std::optional<QueuedFrame> pop(std::uint32_t kinds, std::chrono::milliseconds timeout);

private:
    // Returns what had to go.
    std::vector<QueuedFrame> makeRoom(MessageType type);
    void dropOldest(MessageType type, std::vector<QueuedFrame> &dropped);
    std::optional<QueuedFrame> take(std::uint32_t kinds);

    std::mutex m_lock; // guards what follows
    std::condition_variable m_arrived;
    std::deque<QueuedFrame> m_frames;
    std::size_t m_textBytes = 0;
};

} // namespace localndi
