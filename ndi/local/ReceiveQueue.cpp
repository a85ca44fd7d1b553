#include "ndi/local/ReceiveQueue.h"

#include "ndi/local/Outbox.h"

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
    const auto dropped = makeRoom(type);
    lock.unlock(); // who waits takes it first thing; and the dropped frames give their slots back without it
    m_arrived.notify_all();
}

void ReceiveQueue::pushFields(QueuedFrame frame)
{
    std::unique_lock lock(m_lock);
    frame.part = QueuedFrame::Part::Field0;
    m_frames.push_back(frame);
    frame.part = QueuedFrame::Part::Field1;
    m_frames.push_back(std::move(frame));
    const auto dropped = makeRoom(MessageType::Video);
    lock.unlock();
    m_arrived.notify_all();
}

std::optional<QueuedFrame> ReceiveQueue::pop(std::uint32_t kinds, std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_lock);
    std::optional<QueuedFrame> frame = take(kinds);
    if (!frame && timeout.count() > 0)
        m_arrived.wait_for(lock, timeout, [&] { return (frame = take(kinds)).has_value(); });
    return frame;
}

// A second field goes with its first; one whose first was captured goes alone.
std::vector<QueuedFrame> ReceiveQueue::makeRoom(MessageType type)
{
    std::vector<QueuedFrame> dropped;
    const auto isOfType = [type](const QueuedFrame &frame) { return frame.type == type; };
    const auto countsAlone = [&](const QueuedFrame &frame) {
        return isOfType(frame) && frame.part != QueuedFrame::Part::Field1;
    };
    auto count = static_cast<std::size_t>(std::count_if(m_frames.begin(), m_frames.end(), countsAlone));
    const auto isTooMuch = [&] {
        return count > queueLimit(type) || (type == MessageType::Metadata && m_textBytes > maximumTextBytes);
    };
    const auto dropOne = [&](const std::deque<QueuedFrame>::iterator &frame) {
        count -= countsAlone(*frame) ? 1 : 0;
        m_textBytes -= frame->text.size();
        dropped.push_back(std::move(*frame));
        return m_frames.erase(frame);
    };
    while (isTooMuch()) {
        auto next = dropOne(std::find_if(m_frames.begin(), m_frames.end(), isOfType));
        next = std::find_if(next, m_frames.end(), isOfType);
        if (next != m_frames.end() && next->slot != nullptr && next->slot == dropped.back().slot)
            dropOne(next);
    }
    return dropped;
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
