#pragma once

#include "ndi/local/MessageStream.h"
#include "ndi/local/SenderRecord.h"

#include <boost/asio/io_context.hpp>

#include <memory>

namespace localndi
{

// The connection of a finder or receiver to one sender. While it is open, the sender lives: when nothing comes for a
// while, the sender's port is asked, since a connection has been seen to outlive its killed sender (under Wine).
//
// Threads: the context's only. Ownership: its owner's, who is also its listener; destroying it closes the connection.
class SenderLink final : private MessageStream::Listener
{
public:
    enum class End {
        Refused,  // nobody listens on the sender's port, or nobody answers and its process is gone: its record is stale
        Impostor, // whoever listens there is not that sender
        Failed,   // no connection, for a reason that says nothing about the sender
        Closed,
        TimedOut, // somebody listens and says nothing: perhaps a stopped process
    };

    class Listener
    {
    public:
        // The sender has proved to be the one of the record.
        virtual void onOpen(SenderLink &link) = 0;
        virtual void onMessage(SenderLink &link, MessageType type, std::string_view body) = 0;
        // The listener may destroy the link here.
        virtual void onEnd(SenderLink &link, End end) = 0;

    protected:
        ~Listener() = default;
    };

    SenderLink(boost::asio::io_context &context, Listener &listener, SenderRecord record, Role role,
               std::uint32_t kinds);
    ~SenderLink();
    SenderLink(const SenderLink &) = delete;
    SenderLink &operator=(const SenderLink &) = delete;

    const SenderRecord &record() const { return m_record; }
    bool isOpen() const { return m_open; }
    void send(MessageType type, std::string_view body) { m_stream->send(type, body); }

private:
    class Inquiry;

    void onConnected() override;
    void onMessage(MessageType type, std::string_view body) override;
    bool onDeadline() override;
    void onEnd(MessageStream::End end) override;
    void listen();
    void inquired(End end);
    void welcomed(MessageType type, std::string_view body);

    boost::asio::io_context &m_context;
    Listener &m_listener;
    const SenderRecord m_record;
    const Hello m_hello;
    const std::shared_ptr<MessageStream> m_stream;
    bool m_open = false;
    bool m_isSilent = false; // since the deadline was set
    std::unique_ptr<Inquiry> m_inquiry;
};

} // namespace localndi
