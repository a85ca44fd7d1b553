#include "ndi/local/Receiver.h"

#include "ndi/local/Faults.h"
#include "ndi/local/FrameShape.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>

namespace localndi
{
namespace
{

constexpr std::chrono::milliseconds searchPeriod{50};
constexpr std::chrono::milliseconds mappingLookPeriod{500};
constexpr std::chrono::seconds mappingIdleTime{3}; // before the sender gives the slot back: see Sender

} // namespace

Receiver::Receiver(Settings settings)
    : m_settings(std::move(settings)), m_captured(m_settings.colorFormat), m_timer(m_io.context()),
      m_idleTimer(m_io.context()),
      m_jitter(m_io.context(), faults().jitter, [this](QueuedFrame frame) { queue(std::move(frame)); })
{
    boost::asio::post(m_io.context(), [this] {
        look();
        dropIdleLater();
    });
}

Receiver::~Receiver()
{
    m_io.stop();
    m_link.reset();
}

NDIlib_frame_type_e Receiver::capture(NDIlib_video_frame_v2_t *video, NDIlib_audio_frame_v2_t *audio,
                                      NDIlib_metadata_frame_t *metadata, std::chrono::milliseconds timeout)
{
    const auto kinds = (video != nullptr ? kindVideo : 0U) | (audio != nullptr ? kindAudio : 0U) |
                       (metadata != nullptr ? kindMetadata : 0U);
    auto frame = m_queue.pop(kinds, timeout);
    if (frame && video && frame->type == MessageType::Video) {
        *video = m_captured.addVideo(*frame);
        return NDIlib_frame_type_video;
    }
    if (frame && audio && frame->type == MessageType::Audio) {
        *audio = m_captured.addAudio(std::move(*frame));
        return NDIlib_frame_type_audio;
    }
    if (frame && metadata && frame->type == MessageType::Metadata) {
        *metadata = m_captured.addMetadata(std::move(*frame));
        return NDIlib_frame_type_metadata;
    }
    return NDIlib_frame_type_none;
}

bool Receiver::setTally(TallyState tally)
{
    {
        const std::lock_guard lock(m_tallyLock);
        m_tally = tally;
    }
    boost::asio::post(m_io.context(), [this, tally] {
        if (m_link != nullptr && m_link->isOpen())
            m_link->send(MessageType::Tally, bytesOf(tally));
    });
    return m_connected;
}

void Receiver::lookLater()
{
    m_timer.expires_after(searchPeriod);
    m_timer.async_wait([this](const boost::system::error_code &error) {
        if (!error)
            look();
    });
}

void Receiver::look()
{
    if (m_link != nullptr)
        return;
    lookLater();
    auto records = m_registry.records();
    const auto unwanted = [this](const SenderRecord &record) { return !isWanted(record); };
    records.erase(std::remove_if(records.begin(), records.end(), unwanted), records.end());
    if (records.empty())
        return;
    SenderLink::Listener &listener = *this;
    m_link = std::make_unique<SenderLink>(m_io.context(), listener, std::move(records[m_failures % records.size()]),
                                          Role::Receiver, m_settings.kinds);
}

void Receiver::dropIdleLater()
{
    m_idleTimer.expires_after(mappingLookPeriod);
    m_idleTimer.async_wait([this](const boost::system::error_code &error) {
        if (error)
            return;
        dropIdleLater();
        if (m_mappings != nullptr)
            m_mappings->dropIdle(SlotMappings::Clock::now() - mappingIdleTime);
    });
}

bool Receiver::isWanted(const SenderRecord &record) const
{
    if (m_settings.name.empty() && m_settings.address.empty())
        return false;
    return (m_settings.name.empty() || m_settings.name == record.name) &&
           (m_settings.address.empty() || m_settings.address == record.address());
}

void Receiver::onOpen(SenderLink &link)
{
    ++m_connection;
    m_mappings = std::make_unique<SlotMappings>(m_registry, link.record().fileStem());
    m_kept = std::make_shared<KeptSlots>();
    m_connected = true;
    const std::lock_guard lock(m_tallyLock);
    if (m_tally)
        link.send(MessageType::Tally, bytesOf(*m_tally));
}

void Receiver::onEnd(SenderLink &link, SenderLink::End end)
{
    m_connected = false;
    m_mappings.reset();
    const auto ended = std::move(m_link);
    if (!link.isOpen())
        ++m_failures;
    lookLater();
    if (end == SenderLink::End::Refused || end == SenderLink::End::Impostor)
        m_registry.dropStale(link.record());
}

void Receiver::onMessage(SenderLink &, MessageType type, std::string_view body)
{
    if (type == MessageType::Metadata) {
        metadataArrived(body);
    } else if (type == MessageType::Video) {
        if (const auto announcement = readRecord<VideoAnnouncement>(body))
            videoArrived(*announcement);
    } else if (type == MessageType::Audio) {
        if (const auto announcement = readRecord<AudioAnnouncement>(body))
            audioArrived(*announcement);
    }
}

void Receiver::videoArrived(const VideoAnnouncement &announcement)
{
    const auto shape = shapeOf(announcement);
    auto slot = receive(announcement.place);
    if (!shape || slot == nullptr || isLost())
        return;
    QueuedFrame frame;
    frame.type = MessageType::Video;
    frame.slot = std::move(slot);
    frame.video = announcement;
    if (shape->isFieldPair && m_settings.allowFields)
        frame.part = QueuedFrame::Part::Field0;
    m_jitter.add(std::move(frame));
}

bool Receiver::isLost()
{
    const auto period = faults().lossPeriod;
    return period != 0 && ++m_videoCount % period == 0;
}

void Receiver::audioArrived(const AudioAnnouncement &announcement)
{
    auto slot = receive(announcement.place);
    if (!shapeOf(announcement) || slot == nullptr)
        return;
    QueuedFrame frame;
    frame.type = MessageType::Audio;
    frame.slot = std::move(slot);
    frame.audio = announcement;
    m_jitter.add(std::move(frame));
}

void Receiver::metadataArrived(std::string_view body)
{
    if (body.size() <= sizeof(MetadataHeader))
        return;
    const auto header = readRecord<MetadataHeader>(body.substr(0, sizeof(MetadataHeader)));
    QueuedFrame frame;
    frame.timecode = header->timecode;
    frame.text = body.substr(sizeof(MetadataHeader));
    m_queue.push(std::move(frame));
}

// An application that holds many frames has a shorter queue: what waited at the sender instead would come on top of it.
void Receiver::queue(QueuedFrame frame)
{
    const auto type = frame.type;
    const auto &kept = m_kept->of(type == MessageType::Video ? SlotKind::Video : SlotKind::Audio);
    m_queue.push(std::move(frame));
    while (kept > keptLimit(type) && m_queue.dropOldest(type)) {
    }
}

// The slot is given back however this ends, so that the sender does not wait for it. Null when it cannot be used.
std::shared_ptr<ReceivedSlot> Receiver::receive(const SlotPlace &place)
{
    auto memory = m_mappings->find(place);
    if (memory == nullptr) {
        m_link->send(MessageType::Release, bytesOf(Release{place.kind, place.index}));
        return nullptr;
    }
    ++m_kept->of(place.kind);
    return std::make_shared<ReceivedSlot>(std::move(memory), place,
                                          [this, connection = m_connection, kept = m_kept](const Release &slot) {
                                              --kept->of(slot.kind);
                                              release(connection, slot);
                                          });
}

void Receiver::release(std::uint64_t connection, const Release &release)
{
    boost::asio::post(m_io.context(), [this, connection, release] {
        if (m_link != nullptr && m_link->isOpen() && connection == m_connection)
            m_link->send(MessageType::Release, bytesOf(release));
    });
}

} // namespace localndi
