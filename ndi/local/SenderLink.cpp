#include "ndi/local/SenderLink.h"

#include "ndi/local/System.h"

#include <utility>

namespace localndi
{
namespace
{

constexpr std::chrono::milliseconds handshakeTime{1000};
constexpr std::chrono::milliseconds silenceTime{1000};
constexpr std::size_t bodyLimit = maximumMetadata + sizeof(MetadataHeader);

} // namespace

// Whether the sender of a link still stands behind its port.
class SenderLink::Inquiry final : private SenderLink::Listener
{
public:
    explicit Inquiry(SenderLink &link) : m_asker(link), m_link(link.m_context, *this, link.m_record, Role::Inquirer, 0)
    {
    }

private:
    void onOpen(SenderLink &) override { m_asker.inquired(End::Closed); }
    void onMessage(SenderLink &, MessageType, std::string_view) override {}
    void onEnd(SenderLink &, End end) override { m_asker.inquired(end); }

    SenderLink &m_asker;
    SenderLink m_link;
};

SenderLink::SenderLink(boost::asio::io_context &context, Listener &listener, SenderRecord record, Role role,
                       std::uint32_t kinds)
    : m_context(context), m_listener(listener),
      m_record(std::move(record)), m_hello{protocolMagic, role, kinds, system::processId(), m_record.password},
      m_stream(MessageStream::make(boost::asio::ip::tcp::socket(context), *this, bodyLimit))
{
    m_stream->setDeadline(handshakeTime);
    m_stream->connect(m_record.port);
}

SenderLink::~SenderLink()
{
    m_stream->close();
}

void SenderLink::onConnected()
{
    m_stream->send(MessageType::Hello, bytesOf(m_hello));
}

void SenderLink::onMessage(MessageType type, std::string_view body)
{
    m_isSilent = false;
    if (m_open)
        m_listener.onMessage(*this, type, body);
    else
        welcomed(type, body);
}

void SenderLink::welcomed(MessageType type, std::string_view body)
{
    const auto welcome = readRecord<Welcome>(body);
    if (type != MessageType::Welcome || !welcome || !sameSecret(welcome->signature, m_record.signature)) {
        m_stream->close();
        m_listener.onEnd(*this, End::Impostor);
        return;
    }
    m_open = true;
    listen();
    m_listener.onOpen(*this);
}

void SenderLink::listen()
{
    m_isSilent = true;
    m_stream->setDeadline(silenceTime);
}

bool SenderLink::onDeadline()
{
    if (!m_open)
        return true;
    if (m_isSilent)
        m_inquiry = std::make_unique<Inquiry>(*this);
    else
        listen();
    return false;
}

// An answer that does not come, or not for the sender's sake, leaves the connection what it was.
void SenderLink::inquired(End end)
{
    m_inquiry.reset();
    if (end == End::Refused || end == End::Impostor) {
        m_stream->close();
        m_listener.onEnd(*this, End::Closed);
    } else {
        listen();
    }
}

void SenderLink::onEnd(MessageStream::End end)
{
    m_inquiry.reset();
    switch (end) {
    case MessageStream::End::Refused:
        m_listener.onEnd(*this, End::Refused);
        break;
    case MessageStream::End::Failed:
        m_listener.onEnd(*this, End::Failed);
        break;
    case MessageStream::End::Closed:
        m_listener.onEnd(*this, m_open ? End::Closed : End::Impostor);
        break;
    case MessageStream::End::TimedOut:
        m_listener.onEnd(*this, system::isRunning(m_record.processId) ? End::TimedOut : End::Refused);
        break;
    }
}

} // namespace localndi
