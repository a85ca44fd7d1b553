#include "ndi/local/Sender.h"

#include "ndi/local/Faults.h"
#include "ndi/local/SlotContents.h"
#include "ndi/local/System.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <thread>
#include <utility>

namespace localndi
{
namespace
{

using boost::asio::ip::tcp;

constexpr FrameSlots::Limits videoLimits{64, 2ULL << 30};
constexpr FrameSlots::Limits audioLimits{256, 512 << 20};
constexpr std::size_t maximumConnections = 512;
constexpr std::chrono::milliseconds acceptPause{100};
constexpr std::chrono::milliseconds slotLookPeriod{500};
// Receivers have let go by then. Where a mapped file cannot be removed, one that is still mapped stays until the
// sender's record is gone.
constexpr std::chrono::seconds slotIdleTime{5};
constexpr std::chrono::milliseconds farewellTime{2000}; // for receivers to take what was sent last

} // namespace

Sender::Sender(const Settings &settings)
    : m_registration(m_io.context(), settings.name, settings.groups), m_clockVideo(settings.clockVideo),
      m_clockAudio(settings.clockAudio),
      m_videoSlots(m_registration.registry(), m_registration.record().fileStem(), SlotKind::Video, videoLimits),
      m_audioSlots(m_registration.registry(), m_registration.record().fileStem(), SlotKind::Audio, audioLimits),
      m_acceptTimer(m_io.context()), m_idleTimer(m_io.context())
{
    m_io.invoke([this] {
        accept();
        freeIdleLater();
    });
}

Sender::~Sender()
{
    try {
        m_io.invoke([this] {
            announceAll();
            m_registration.withdraw();
            for (const auto &connection : m_connections)
                connection->finish();
        });
        std::unique_lock lock(m_countLock);
        m_countChanged.wait_for(lock, farewellTime, [this] { return m_receiverCount == 0; });
    } catch (const std::exception &) {
        // There was no memory for a farewell: the ends of the connections say the same.
    }
    m_io.stop();
    m_connections.clear();
}

void Sender::sendVideo(const NDIlib_video_frame_v2_t &frame)
{
    const auto shape = shapeOf(frame);
    if (!shape)
        return;
    const std::lock_guard lock(m_videoLock);
    if (m_clockVideo)
        m_videoPacer.wait(frame.frame_rate_D, picturesPerUnits(frame));
    const auto timestamp = wallClockHns();
    const auto timecode =
        m_timecodes.next(TimecodeClock::Video, frame.timecode, frame.frame_rate_D, picturesPerUnits(frame));
    std::this_thread::sleep_for(faults().sendTime);
    if (m_videoReceivers == 0)
        return;
    const auto text = attachedText(frame.p_metadata);
    auto place = placeOf(SlotKind::Video, {}, shape->packedSize(), text);
    auto hold = acquire(m_videoSlots, MessageType::Video, slotSize(place));
    if (!hold)
        return;
    writePixels(hold.data(), *shape, frame.p_data);
    writeText(hold.data(), place, text);
    place = placeOf(SlotKind::Video, hold, shape->packedSize(), text);
    VideoAnnouncement announcement{};
    announcement.place = place;
    announcement.timecode = timecode;
    announcement.timestamp = timestamp;
    announcement.width = shape->width;
    announcement.height = shape->height;
    announcement.fourCC = frame.FourCC;
    announcement.rateN = frame.frame_rate_N;
    announcement.rateD = frame.frame_rate_D;
    announcement.format = frame.frame_format_type;
    announcement.aspect = aspectOf(frame);
    post({MessageType::Video, std::string(bytesOf(announcement)), std::move(hold)});
}

void Sender::sendAudio(const NDIlib_audio_frame_v2_t &frame)
{
    const auto shape = shapeOf(frame);
    if (!shape)
        return;
    const std::lock_guard lock(m_audioLock);
    if (m_clockAudio)
        m_audioPacer.wait(frame.no_samples, frame.sample_rate);
    const auto timecode = m_timecodes.next(TimecodeClock::Audio, frame.timecode, frame.no_samples, frame.sample_rate);
    if (m_audioReceivers == 0)
        return;
    const auto text = attachedText(frame.p_metadata);
    auto place = placeOf(SlotKind::Audio, {}, shape->packedSize(), text);
    auto hold = acquire(m_audioSlots, MessageType::Audio, slotSize(place));
    if (!hold)
        return;
    writeSamples(hold.data(), *shape, frame.p_data);
    writeText(hold.data(), place, text);
    place = placeOf(SlotKind::Audio, hold, shape->packedSize(), text);
    AudioAnnouncement announcement{};
    announcement.place = place;
    announcement.timecode = timecode;
    announcement.timestamp = wallClockHns();
    announcement.sampleRate = frame.sample_rate;
    announcement.channels = shape->channels;
    announcement.samples = shape->samples;
    post({MessageType::Audio, std::string(bytesOf(announcement)), std::move(hold)});
}

void Sender::sendMetadata(const NDIlib_metadata_frame_t &frame)
{
    const auto text = textOf(frame);
    if (text.empty())
        return;
    const MetadataHeader header{frame.timecode == NDIlib_send_timecode_synthesize ? 0 : frame.timecode};
    std::string body(bytesOf(header));
    body += text;
    post({MessageType::Metadata, std::move(body), {}});
}

int Sender::connectionCount(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_countLock);
    m_countChanged.wait_for(lock, timeout, [this] { return m_receiverCount > 0; });
    return m_receiverCount;
}

void Sender::post(OutgoingFrame frame)
{
    if (m_outbox.push(std::move(frame)))
        boost::asio::post(m_io.context(), [this] { announceAll(); });
}

void Sender::announceAll()
{
    for (const auto &frame : m_outbox.takeAll())
        broadcast(frame);
}

void Sender::broadcast(const OutgoingFrame &frame)
{
    for (const auto &connection : m_connections)
        connection->deliver(frame);
}

void Sender::accept()
{
    if (m_connections.size() >= maximumConnections) {
        acceptLater();
        return;
    }
    m_registration.acceptor().async_accept([this](const boost::system::error_code &error, tcp::socket socket) {
        if (!m_registration.acceptor().is_open())
            return;
        if (error) {
            acceptLater();
            return;
        }
        accept();
        add(std::move(socket));
    });
}

void Sender::add(tcp::socket socket)
{
    system::keepFromChildren(socket);
    SenderConnection::Owner &owner = *this;
    m_connections.push_back(std::make_unique<SenderConnection>(std::move(socket), owner, m_registration.record()));
    onReceiversChanged();
}

// The process may be out of file handles for a while, or the sender out of connections.
void Sender::acceptLater()
{
    m_acceptTimer.expires_after(acceptPause);
    m_acceptTimer.async_wait([this](const boost::system::error_code &error) {
        if (!error && m_registration.acceptor().is_open())
            accept();
    });
}

// What a stall has made the sender take, it does not keep.
void Sender::freeIdleLater()
{
    m_idleTimer.expires_after(slotLookPeriod);
    m_idleTimer.async_wait([this](const boost::system::error_code &error) {
        if (error)
            return;
        freeIdleLater();
        const auto since = FrameSlots::Clock::now() - slotIdleTime;
        m_videoSlots.freeIdle(since);
        m_audioSlots.freeIdle(since);
    });
}

// Receivers that hold frames for good must not leave the others without: see SenderConnection.
FrameSlots::Hold Sender::acquire(FrameSlots &slots, MessageType type, std::uint64_t size)
{
    auto hold = slots.acquire(size);
    if (!hold && slots.areHeldUp(size))
        m_io.invoke([&] {
            while (!hold && slots.areHeldUp(size) && makeRoom(type))
                hold = slots.acquire(size);
        });
    return hold;
}

// Takes slots of a kind back from those who are most in the way: first frames that wait for a receiver which has as
// many as it may, then all frames of one receiver, with its connection. False when there is nothing to take.
bool Sender::makeRoom(MessageType type)
{
    bool any = false;
    for (const auto &connection : m_connections)
        any = connection->dropWaiting(type) || any;
    if (any)
        return true;
    const auto worst =
        std::max_element(m_connections.begin(), m_connections.end(),
                         [type](const auto &a, const auto &b) { return a->burden(type) < b->burden(type); });
    if (worst == m_connections.end() || !(*worst)->burden(type).isAny())
        return false;
    onEnd(**worst);
    return true;
}

void Sender::onReceiversChanged()
{
    int receivers = 0;
    int video = 0;
    int audio = 0;
    TallyState tally{};
    for (const auto &connection : m_connections) {
        receivers += connection->isReceiver() ? 1 : 0;
        video += connection->wants(MessageType::Video) ? 1 : 0;
        audio += connection->wants(MessageType::Audio) ? 1 : 0;
        tally.onProgram |= connection->tally().onProgram;
        tally.onPreview |= connection->tally().onPreview;
    }
    m_videoReceivers = video;
    m_audioReceivers = audio;
    {
        const std::lock_guard lock(m_countLock);
        m_receiverCount = receivers;
        m_countChanged.notify_all();
    }
    if (m_tally.show(tally))
        echo(tally);
}

void Sender::echo(TallyState tally)
{
    const auto word = [](std::uint32_t on) { return on != 0 ? "true" : "false"; };
    std::string body(bytesOf(MetadataHeader{0}));
    body = body + "<ndi_tally_echo on_program=\"" + word(tally.onProgram) + "\" on_preview=\"" + word(tally.onPreview) +
           "\"/>";
    broadcast({MessageType::Metadata, std::move(body), {}});
}

void Sender::onEnd(SenderConnection &connection)
{
    const auto ended = std::find_if(m_connections.begin(), m_connections.end(),
                                    [&](const auto &candidate) { return candidate.get() == &connection; });
    // Gone from the list first: what follows walks it.
    const auto keep = std::move(*ended);
    m_connections.erase(ended);
    onReceiversChanged();
}

} // namespace localndi
