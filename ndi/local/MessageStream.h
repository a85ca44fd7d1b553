#pragma once

#include "ndi/local/Protocol.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <memory>
#include <string_view>
#include <vector>

namespace localndi
{

// Whole messages over one loopback connection, in both directions.
//
// Threads: the context's only. Ownership: shared between its owner and its pending operations; the owner calls close()
// before it goes, after which the listener is not called again.
class MessageStream : public std::enable_shared_from_this<MessageStream>
{
public:
    enum class End {
        Refused, // nobody listens on the port
        Failed,  // to connect, for a reason that says nothing about the peer
        Closed,  // by the peer, or because it broke the protocol
        TimedOut,
    };

    class Listener
    {
    public:
        virtual void onConnected() {}
        virtual void onMessage(MessageType type, std::string_view body) = 0;
        // The time of setDeadline() is over. True: that ends the connection, with TimedOut.
        virtual bool onDeadline() { return true; }
        // The stream is closed. The listener may let go of it here.
        virtual void onEnd(End end) = 0;

    protected:
        ~Listener() = default;
    };

    // Messages with a longer body than `bodyLimit` end the connection.
    static std::shared_ptr<MessageStream> make(boost::asio::ip::tcp::socket socket, Listener &listener,
                                               std::size_t bodyLimit);
    MessageStream(boost::asio::ip::tcp::socket socket, Listener &listener, std::size_t bodyLimit);
    MessageStream(const MessageStream &) = delete;
    MessageStream &operator=(const MessageStream &) = delete;

    void connect(std::uint16_t port);
    void startReading();
    // Asks the listener unless the deadline is moved or cleared in time.
    void setDeadline(std::chrono::milliseconds delay);
    void clearDeadline();

    // False when the message is lost: the stream has ended, or the peer lets too much pile up.
    bool send(MessageType type, std::string_view head, std::string_view tail = {});
    // Sends what is left, then says that no more comes; ends when the peer has closed its side.
    void finish();
    void close();

private:
    void readMore();
    void received(std::size_t count);
    bool deliver();
    void write();
    void end(End end);
    void shrinkInput();

    boost::asio::ip::tcp::socket m_socket;
    boost::asio::steady_timer m_deadline;
    Listener *m_listener; // null once closed
    const std::size_t m_bodyLimit;
    std::vector<char> m_input;
    std::size_t m_inputSize = 0;
    std::vector<char> m_waiting; // goes out after m_writing
    std::vector<char> m_writing;
    bool m_finishing = false;
};

} // namespace localndi
