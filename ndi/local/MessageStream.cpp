#include "ndi/local/MessageStream.h"

#include "ndi/local/System.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/write.hpp>

#include <cstring>
#include <exception>
#include <new>
#include <utility>

namespace localndi
{
namespace
{

using boost::asio::ip::tcp;
using Error = boost::system::error_code;

constexpr std::size_t initialInput = 4096;       // bytes
constexpr std::size_t backlogLimit = 16U << 20U; // bytes

} // namespace

std::shared_ptr<MessageStream> MessageStream::make(tcp::socket socket, Listener &listener, std::size_t bodyLimit)
{
    return std::make_shared<MessageStream>(std::move(socket), listener, bodyLimit);
}

MessageStream::MessageStream(tcp::socket socket, Listener &listener, std::size_t bodyLimit)
    : m_socket(std::move(socket)), m_deadline(m_socket.get_executor()), m_listener(&listener), m_bodyLimit(bodyLimit),
      m_input(initialInput)
{
}

void MessageStream::connect(std::uint16_t port)
{
    const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), port);
    Error failed; // then connecting fails the same way
    m_socket.open(endpoint.protocol(), failed);
    if (!failed)
        system::keepFromChildren(m_socket);
    m_socket.async_connect(endpoint, [self = shared_from_this()](const Error &error) {
        if (self->m_listener == nullptr)
            return;
        if (error) {
            self->end(error == boost::asio::error::connection_refused ? End::Refused : End::Failed);
            return;
        }
        self->startReading();
        self->m_listener->onConnected();
    });
}

void MessageStream::startReading()
{
    Error ignored;
    m_socket.set_option(tcp::no_delay(true), ignored);
    readMore();
}

void MessageStream::setDeadline(std::chrono::milliseconds delay)
{
    m_deadline.expires_after(delay);
    m_deadline.async_wait([self = shared_from_this()](const Error &error) {
        // A deadline that was moved while this call was already on its way has not passed.
        if (error || self->m_deadline.expiry() > std::chrono::steady_clock::now() || self->m_listener == nullptr)
            return;
        if (self->m_listener->onDeadline())
            self->end(End::TimedOut);
    });
}

void MessageStream::clearDeadline()
{
    m_deadline.expires_at(std::chrono::steady_clock::time_point::max());
}

bool MessageStream::send(MessageType type, std::string_view head, std::string_view tail)
{
    if (m_listener == nullptr || m_finishing || m_waiting.size() > backlogLimit)
        return false;
    const MessageHeader header{type, static_cast<std::uint32_t>(head.size() + tail.size())};
    const auto before = m_waiting.size();
    try {
        for (const auto part : {bytesOf(header), head, tail})
            m_waiting.insert(m_waiting.end(), part.begin(), part.end());
    } catch (const std::bad_alloc &) {
        m_waiting.resize(before); // half a message would garble the rest
        return false;
    }
    if (m_writing.empty())
        write();
    return true;
}

void MessageStream::finish()
{
    m_finishing = true;
    if (m_writing.empty())
        write();
}

void MessageStream::close()
{
    m_listener = nullptr;
    Error ignored;
    // Ends the connection even where a child process has inherited the socket.
    m_socket.shutdown(tcp::socket::shutdown_both, ignored);
    m_socket.close(ignored);
    m_deadline.cancel();
}

void MessageStream::write()
{
    Error ignored;
    if (m_waiting.empty()) {
        if (m_finishing)
            m_socket.shutdown(tcp::socket::shutdown_send, ignored);
        return;
    }
    std::swap(m_waiting, m_writing);
    boost::asio::async_write(m_socket, boost::asio::buffer(m_writing),
                             [self = shared_from_this()](const Error &error, std::size_t) {
                                 self->m_writing.clear();
                                 if (self->m_listener == nullptr)
                                     return;
                                 if (!error)
                                     self->write();
                             });
}

void MessageStream::readMore()
{
    m_socket.async_read_some(boost::asio::buffer(m_input.data() + m_inputSize, m_input.size() - m_inputSize),
                             [self = shared_from_this()](const Error &error, std::size_t count) {
                                 if (self->m_listener == nullptr)
                                     return;
                                 if (error)
                                     self->end(End::Closed);
                                 else
                                     self->received(count);
                             });
}

void MessageStream::received(std::size_t count)
{
    m_inputSize += count;
    bool isSound = false;
    try {
        isSound = deliver();
    } catch (const std::exception &) {
        isSound = false; // what a message asked for is lost, and with it what the peer takes for granted
    }
    if (!isSound)
        end(End::Closed);
    else if (m_listener != nullptr)
        readMore();
}

// Hands the complete messages on and makes room for the rest of the last one. False when the peer broke the protocol.
bool MessageStream::deliver()
{
    std::size_t position = 0;
    std::size_t wanted = sizeof(MessageHeader);
    while (m_inputSize - position >= sizeof(MessageHeader)) {
        MessageHeader header{};
        std::memcpy(&header, m_input.data() + position, sizeof header);
        if (header.bodySize > m_bodyLimit)
            return false;
        wanted = sizeof header + header.bodySize;
        if (m_inputSize - position < wanted)
            break;
        m_listener->onMessage(header.type, {m_input.data() + position + sizeof header, header.bodySize});
        if (m_listener == nullptr)
            return true;
        position += wanted;
        wanted = sizeof header;
    }
    m_inputSize -= position;
    std::memmove(m_input.data(), m_input.data() + position, m_inputSize);
    if (wanted > m_input.size())
        m_input.resize(wanted);
    else if (m_inputSize == 0)
        shrinkInput();
    return true;
}

// One long text should not keep megabytes for the life of a connection.
void MessageStream::shrinkInput()
{
    if (m_input.size() > 16 * initialInput)
        m_input = std::vector<char>(initialInput);
}

void MessageStream::end(End end)
{
    Listener *listener = std::exchange(m_listener, nullptr);
    close();
    if (listener != nullptr)
        listener->onEnd(end);
}

} // namespace localndi
