#include "ndi/local/SenderConnection.h"

#include "ndi/local/System.h"

#include <algorithm>
#include <utility>

namespace localndi
{
namespace
{

constexpr std::chrono::milliseconds helloTime{2000};
constexpr std::chrono::milliseconds processLookPeriod{1000};
constexpr std::size_t longestRequest = sizeof(Hello); // of a receiver to a sender

std::uint32_t kindOf(MessageType type)
{
    switch (type) {
    case MessageType::Video:
        return kindVideo;
    case MessageType::Audio:
        return kindAudio;
    default:
        return kindMetadata;
    }
}

} // namespace

SenderConnection::SenderConnection(boost::asio::ip::tcp::socket socket, Owner &owner, const SenderRecord &record)
    : m_owner(owner), m_record(record), m_stream(MessageStream::make(std::move(socket), *this, longestRequest))
{
    m_stream->setDeadline(helloTime);
    m_stream->startReading();
}

SenderConnection::~SenderConnection()
{
    m_stream->close();
}

bool SenderConnection::wants(MessageType type) const
{
    return isReceiver() && (m_kinds & kindOf(type)) != 0;
}

void SenderConnection::deliver(const OutgoingFrame &frame)
{
    if (!wants(frame.type))
        return;
    if (frame.type == MessageType::Metadata) {
        m_stream->send(frame.type, frame.body);
        return;
    }
    auto &window = windowOf(frame.type);
    if (window.announced.size() < announcedLimit(frame.type)) {
        announce(window, frame);
        return;
    }
    window.waiting.push_back(frame);
    if (window.waiting.size() > queueLimit(frame.type))
        window.waiting.pop_front();
}

void SenderConnection::announce(Window &window, const OutgoingFrame &frame)
{
    window.announced.push_back({frame.hold, std::chrono::steady_clock::now()});
    // Nobody releases what was never announced.
    if (!m_stream->send(frame.type, frame.body))
        window.announced.pop_back();
}

void SenderConnection::finish()
{
    for (auto *window : {&m_video, &m_audio}) {
        for (const auto &frame : window->waiting)
            announce(*window, frame);
        window->waiting.clear();
    }
    m_stream->finish();
}

SenderConnection::Burden SenderConnection::burden(MessageType type) const
{
    const auto &announced = (type == MessageType::Video ? m_video : m_audio).announced;
    if (announced.empty())
        return {};
    return {announced.size() >= keptLimit(type), announced.front().at};
}

bool SenderConnection::dropWaiting(MessageType type)
{
    auto &waiting = windowOf(type).waiting;
    const bool any = !waiting.empty();
    waiting.clear();
    return any;
}

void SenderConnection::onMessage(MessageType type, std::string_view body)
{
    if (handle(type, body))
        return;
    m_stream->close();
    m_owner.onEnd(*this);
}

bool SenderConnection::onDeadline()
{
    if (!m_known || !system::isRunning(m_processId))
        return true;
    m_stream->setDeadline(processLookPeriod);
    return false;
}

void SenderConnection::onEnd(MessageStream::End)
{
    m_owner.onEnd(*this);
}

// False for what a peer of this version does not say.
bool SenderConnection::handle(MessageType type, std::string_view body)
{
    if (!m_known) {
        const auto hello = readRecord<Hello>(body);
        return type == MessageType::Hello && hello && greet(*hello);
    }
    if (type == MessageType::Release) {
        const auto released = readRecord<Release>(body);
        return released && release(*released);
    }
    const auto tally = readRecord<TallyState>(body);
    if (type != MessageType::Tally || !tally)
        return false;
    m_tally = {tally->onProgram != 0 ? 1U : 0U, tally->onPreview != 0 ? 1U : 0U};
    m_owner.onReceiversChanged();
    return true;
}

bool SenderConnection::greet(const Hello &hello)
{
    if (hello.magic != protocolMagic || !sameSecret(hello.password, m_record.password))
        return false;
    m_known = true;
    m_role = hello.role;
    m_kinds = hello.kinds;
    watch(hello.processId);
    m_stream->send(MessageType::Welcome, bytesOf(Welcome{m_record.signature}));
    m_owner.onReceiversChanged();
    return true;
}

// A process that cannot be seen, as that of another container, tells nothing.
void SenderConnection::watch(std::uint32_t processId)
{
    m_processId = processId;
    if (system::isRunning(processId))
        m_stream->setDeadline(processLookPeriod);
    else
        m_stream->clearDeadline();
}

bool SenderConnection::release(const Release &release)
{
    auto &window = release.kind == SlotKind::Video ? m_video : m_audio;
    const auto held = std::find_if(window.announced.begin(), window.announced.end(),
                                   [&](const Announced &one) { return one.hold.index() == release.index; });
    if (held == window.announced.end())
        return false;
    window.announced.erase(held);
    if (!window.waiting.empty()) {
        const auto next = std::move(window.waiting.front());
        window.waiting.pop_front();
        announce(window, next);
    }
    return true;
}

} // namespace localndi
