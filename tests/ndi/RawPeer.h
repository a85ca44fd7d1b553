#pragma once

#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/Protocol.h"
#include "ndi/local/Registry.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

// For tests that speak with the runtime below its C interface.
namespace ndi_test
{

constexpr std::uint32_t peerPatienceMs = 10000;
constexpr std::chrono::milliseconds peerPatience{peerPatienceMs};
constexpr std::uint32_t noProcess = 0x7ffffffc; // beyond what systems number

std::string uniquePeerName();
// Waits until so many senders of that name are listed. A program that is killed sooner may leave something of the
// system's own behind (under Wine: its console, with the test's output).
bool areListed(const std::string &name, int count = 1);
std::string message(localndi::MessageType type, std::string_view body);
void write(boost::asio::ip::tcp::socket &socket, const std::string &bytes);
// True when the peer closes the connection in time; what it says before does not count. Runs the socket's context.
bool isClosedByPeer(boost::asio::ip::tcp::socket &socket);

struct RawMessage {
    localndi::MessageType type;
    std::string body;
};
// Waits for it. Throws std::exception at the end of the connection.
RawMessage readMessage(boost::asio::ip::tcp::socket &socket);

// A real sender, and the means to speak to it as anybody.
class SenderAndRawPeer : public testing::Test
{
protected:
    SenderAndRawPeer();
    ~SenderAndRawPeer() override { destroySender(); }

    void destroySender();
    boost::asio::ip::tcp::socket connect();
    // Connects as a receiver and waits until the sender counts it.
    boost::asio::ip::tcp::socket connectAsReceiver();
    // The same; nobody else may have shown `tally` yet.
    boost::asio::ip::tcp::socket connectWith(const localndi::Hello &receiver, localndi::TallyState tally);
    localndi::Hello hello() const;

    boost::asio::io_context m_context;
    NDIlib_send_instance_t m_sender = nullptr;
    localndi::SenderRecord m_record;
};

} // namespace ndi_test
