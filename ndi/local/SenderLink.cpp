#include "ndi/local/SenderLink.h"

#include <utility>

namespace localndi
{
namespace
{

constexpr std::chrono::milliseconds handshakeTime{1000};
constexpr std::size_t bodyLimit = maximumMetadata + sizeof(MetadataHeader);

} // namespace

SenderLink::SenderLink(boost::asio::io_context &context, Listener &listener, SenderRecord record, Role role,
                       std::uint32_t kinds)
    : m_listener(listener), m_record(std::move(record)), m_hello{protocolMagic, role, kinds, m_record.password},
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
    m_stream->clearDeadline();
    m_open = true;
    m_listener.onOpen(*this);
}

void SenderLink::onEnd(MessageStream::End end)
{
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
        m_listener.onEnd(*this, End::TimedOut);
        break;
    }
}

} // namespace localndi
