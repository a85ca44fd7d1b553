#include "ndi/local/ReceiveQueue.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace localndi
{
namespace
{

constexpr std::size_t maximumTextBytes = 16 << 20; // of all queued metadata frames

std::uint32_t kindOf(const QueuedFrame &frame)
{
    switch (frame.type) {
    case MessageType::Video:
        return kindVideo;
    case MessageType::Audio:
        return kindAudio;
    default:
        return kindMetadata;
    }
}

} // namespace

void ReceiveQueue::push(QueuedFrame frame)
{
    std::unique_lock lock(m_lock);
    const auto type = frame.type;
    m_textBytes += frame.text.size();
    m_frames.push_back(std::move(frame));
    if (m_frames.back().part == QueuedFrame::Part::Field0) {
        m_frames.push_back(m_frames.back());
        m_frames.back().part = QueuedFrame::Part::Field1;
    }
    const auto dropped = makeRoom(type);
    lock.unlock(); // who waits takes it first thing; and the dropped frames give their slots back without it
    m_arrived.notify_all();
}

bool ReceiveQueue::dropOldest(MessageType type)
{
    std::vector<QueuedFrame> dropped; // outlives the lock
    const std::lock_guard lock(m_lock);
    dropOldest(type, dropped);
    return !dropped.empty();
}

std::optional<QueuedFrame> ReceiveQueue::pop(std::uint32_t kinds, std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_lock);
    std::optional<QueuedFrame> frame = take(kinds);
    if (!frame && timeout.count() > 0)
        m_arrived.wait_for(lock, timeout, [&] { return (frame = take(kinds)).has_value(); });
    return frame;
}

std::vector<QueuedFrame> ReceiveQueue::makeRoom(MessageType type)
{
    std::vector<QueuedFrame> dropped;
    const auto isTooMuch = [&] {
        const auto count = std::count_if(m_frames.begin(), m_frames.end(),
                                         [type](const QueuedFrame &frame) { return frame.type == type; });
        return static_cast<std::size_t>(count) > queueLimit(type) ||
               (type == MessageType::Metadata && m_textBytes > maximumTextBytes);
    };
    while (isTooMuch())
        dropOldest(type, dropped);
    return dropped;
}

// A second field goes with its first; one whose first was captured goes alone.
void ReceiveQueue::dropOldest(MessageType type, std::vector<QueuedFrame> &dropped)
{
    const auto isOfType = [type](const QueuedFrame &frame) { return frame.type == type; };
    auto oldest = std::find_if(m_frames.begin(), m_frames.end(), isOfType);
    if (oldest == m_frames.end())
        return;
    const bool hasSecond = oldest->part == QueuedFrame::Part::Field0;
    m_textBytes -= oldest->text.size();
    dropped.push_back(std::move(*oldest));
    oldest = m_frames.erase(oldest);
    if (hasSecond)
        m_frames.erase(std::find_if(oldest, m_frames.end(), isOfType));
}

std::optional<QueuedFrame> ReceiveQueue::take(std::uint32_t kinds)
{
    const auto wanted = std::find_if(m_frames.begin(), m_frames.end(),
                                     [kinds](const QueuedFrame &frame) { return (kindOf(frame) & kinds) != 0; });
    if (wanted == m_frames.end())
        return std::nullopt;
    QueuedFrame frame = std::move(*wanted);
    m_frames.erase(wanted);
    m_textBytes -= frame.text.size();
    return frame;
}

} // namespace localndi
