#include "tests/ndi/RawPeer.h"

#include "ndi/local/System.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <random>
#include <thread>
#include <utility>

using namespace localndi;
using boost::asio::ip::tcp;

namespace ndi_test
{

std::string uniquePeerName()
{
    return "Peer " + std::to_string(std::random_device()());
}

bool areListed(const std::string &name, int count)
{
    const auto deadline = std::chrono::steady_clock::now() + peerPatience;
    const auto hasName = [&name](const SenderRecord &record) { return record.name.find(name) != std::string::npos; };
    const Registry registry;
    while (std::chrono::steady_clock::now() < deadline) {
        const auto records = registry.records();
        if (std::count_if(records.begin(), records.end(), hasName) >= count)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

std::string message(MessageType type, std::string_view body)
{
    const MessageHeader header{type, static_cast<std::uint32_t>(body.size())};
    return std::string(bytesOf(header)) + std::string(body);
}

void write(tcp::socket &socket, const std::string &bytes)
{
    boost::asio::write(socket, boost::asio::buffer(bytes));
}

bool isClosedByPeer(tcp::socket &socket)
{
    auto &context = static_cast<boost::asio::io_context &>(
        boost::asio::query(socket.get_executor(), boost::asio::execution::context));
    const auto deadline = std::chrono::steady_clock::now() + peerPatience;
    char sink[4096];
    boost::system::error_code error;
    while (!error) {
        bool isRead = false;
        socket.async_read_some(boost::asio::buffer(sink), [&](const boost::system::error_code &result, std::size_t) {
            error = result;
            isRead = true;
        });
        context.restart();
        while (!isRead && context.run_one_until(deadline) != 0)
            continue;
        if (!isRead)
            socket.cancel();
        while (!isRead)
            context.run_one();
    }
    return error == boost::asio::error::eof || error == boost::asio::error::connection_reset;
}

RawMessage readMessage(tcp::socket &socket)
{
    MessageHeader header{};
    boost::asio::read(socket, boost::asio::buffer(&header, sizeof header));
    std::string body(header.bodySize, '\0');
    boost::asio::read(socket, boost::asio::buffer(body));
    return {header.type, std::move(body)};
}

SenderAndRawPeer::SenderAndRawPeer()
{
    const auto name = uniquePeerName();
    NDIlib_send_create_t settings;
    settings.p_ndi_name = name.c_str();
    m_sender = NDIlib_send_create(&settings);
    for (const auto &record : Registry().records())
        if (record.name.find(name) != std::string::npos)
            m_record = record;
    EXPECT_NE(m_record.port, 0);
}

void SenderAndRawPeer::destroySender()
{
    if (m_sender != nullptr)
        NDIlib_send_destroy(std::exchange(m_sender, nullptr));
}

tcp::socket SenderAndRawPeer::connect()
{
    tcp::socket socket(m_context);
    socket.connect({boost::asio::ip::address_v4::loopback(), m_record.port});
    return socket;
}

tcp::socket SenderAndRawPeer::connectAsReceiver()
{
    return connectWith(hello(), {1, 0});
}

tcp::socket SenderAndRawPeer::connectWith(const Hello &receiver, TallyState tally)
{
    const int before = NDIlib_send_get_no_connections(m_sender, 0);
    auto socket = connect();
    write(socket, message(MessageType::Hello, bytesOf(receiver)));
    // The sender welcomes before it counts, in one go: what it is told next comes after both.
    EXPECT_EQ(readMessage(socket).type, MessageType::Welcome);
    write(socket, message(MessageType::Tally, bytesOf(tally)));
    EXPECT_EQ(readMessage(socket).type, MessageType::Metadata);
    EXPECT_EQ(NDIlib_send_get_no_connections(m_sender, 0), before + 1);
    return socket;
}

Hello SenderAndRawPeer::hello() const
{
    return {protocolMagic, Role::Receiver, kindVideo | kindMetadata, system::processId(), m_record.password};
}

} // namespace ndi_test
