#include "tests/ndi/RawPeer.h"

#include <chrono>
#include <vector>

using namespace localndi;
using namespace ndi_test;
using boost::asio::ip::tcp;

namespace
{

using SenderUnderAttack = SenderAndRawPeer;

} // namespace

TEST_F(SenderUnderAttack, TurnsAWrongPasswordAway)
{
    auto stranger = hello();
    stranger.password[31] ^= 1;
    auto socket = connect();
    write(socket, message(MessageType::Hello, bytesOf(stranger)));
    EXPECT_TRUE(isClosedByPeer(socket));
    EXPECT_EQ(NDIlib_send_get_no_connections(m_sender, 0), 0);
}

TEST_F(SenderUnderAttack, TurnsOneWhoSaysNothingAway)
{
    auto socket = connect();
    EXPECT_TRUE(isClosedByPeer(socket));
}

TEST_F(SenderUnderAttack, TurnsNonsenseAway)
{
    const MessageHeader endless{MessageType::Hello, UINT32_MAX};
    const std::string nonsense[] = {
        std::string(1000, '\xff'),
        std::string(bytesOf(endless)),
        message(MessageType::Hello, "short"),
        message(MessageType::Tally, bytesOf(TallyState{1, 1})),
        message(static_cast<MessageType>(77), ""),
        "GET / HTTP/1.1\r\n\r\n",
    };
    for (const auto &bytes : nonsense) {
        auto socket = connect();
        write(socket, bytes);
        EXPECT_TRUE(isClosedByPeer(socket));
    }
}

TEST_F(SenderUnderAttack, EndsAConnectionThatReleasesWhatItDoesNotHold)
{
    for (const auto index : {0U, 63U, UINT32_MAX}) {
        auto socket = connect();
        write(socket, message(MessageType::Hello, bytesOf(hello())));
        ASSERT_EQ(NDIlib_send_get_no_connections(m_sender, peerPatienceMs), 1);
        write(socket, message(MessageType::Release, bytesOf(Release{SlotKind::Video, index})));
        EXPECT_TRUE(isClosedByPeer(socket));
    }
}

TEST_F(SenderUnderAttack, TakesAHelloThatComesByteByByte)
{
    auto socket = connect();
    socket.set_option(tcp::no_delay(true));
    for (const char byte : message(MessageType::Hello, bytesOf(hello())))
        write(socket, std::string(1, byte));
    EXPECT_EQ(NDIlib_send_get_no_connections(m_sender, peerPatienceMs), 1);
}

TEST_F(SenderUnderAttack, GoesOnWhileAReceiverReadsNothing)
{
    auto socket = connect();
    write(socket, message(MessageType::Hello, bytesOf(hello())));
    ASSERT_EQ(NDIlib_send_get_no_connections(m_sender, peerPatienceMs), 1);
    std::string text(1 << 20, 'x');
    NDIlib_metadata_frame_t frame;
    frame.p_data = text.data();
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i)
        NDIlib_send_send_metadata(m_sender, &frame);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

namespace
{

void sendText(NDIlib_send_instance_t sender, std::string text)
{
    NDIlib_metadata_frame_t frame;
    frame.p_data = text.data();
    NDIlib_send_send_metadata(sender, &frame);
}

void sendVideo(NDIlib_send_instance_t sender)
{
    std::vector<std::uint8_t> pixels(64 * 36 * 2);
    NDIlib_video_frame_v2_t frame;
    frame.xres = 64;
    frame.yres = 36;
    frame.line_stride_in_bytes = 128;
    frame.p_data = pixels.data();
    NDIlib_send_send_video_v2(sender, &frame);
}

// An honest receiver beside the attacker: what it has got, the sender has offered to both.
class Companion
{
public:
    explicit Companion(const SenderRecord &record)
    {
        NDIlib_recv_create_t settings;
        settings.source_to_connect_to.p_ndi_name = record.name.c_str();
        settings.color_format = NDIlib_recv_color_format_fastest;
        m_receiver = NDIlib_recv_create_v2(&settings);
    }
    ~Companion() { NDIlib_recv_destroy(m_receiver); }
    Companion(const Companion &) = delete;
    Companion &operator=(const Companion &) = delete;

    // Frames that are sent before are not for it.
    bool isConnected(NDIlib_send_instance_t sender)
    {
        for (int i = 0; i < 1000; ++i) {
            sendText(sender, "are you there");
            if (getsText(13, 10))
                return true;
        }
        return false;
    }

    bool getsVideo()
    {
        NDIlib_video_frame_v2_t video;
        if (NDIlib_recv_capture_v2(m_receiver, &video, nullptr, nullptr, peerPatienceMs) != NDIlib_frame_type_video)
            return false;
        NDIlib_recv_free_video_v2(m_receiver, &video);
        return true;
    }

    bool getsText(std::size_t size, std::uint32_t timeoutMs = peerPatienceMs)
    {
        NDIlib_metadata_frame_t text;
        while (NDIlib_recv_capture_v2(m_receiver, nullptr, nullptr, &text, timeoutMs) == NDIlib_frame_type_metadata) {
            const auto arrived = static_cast<std::size_t>(text.length);
            NDIlib_recv_free_metadata(m_receiver, &text);
            if (arrived == size + 1)
                return true;
        }
        return false;
    }

private:
    NDIlib_recv_instance_t m_receiver;
};

} // namespace

TEST_F(SenderUnderAttack, AnnouncesFramesAgainWhenAReceiverReadsAgain)
{
    auto socket = connectAsReceiver();
    Companion companion(m_record);
    ASSERT_TRUE(companion.isConnected(m_sender));
    const std::string large(1 << 20, 'x');
    for (int i = 0; i < 48; ++i) {
        sendText(m_sender, large);
        ASSERT_TRUE(companion.getsText(large.size())) << i;
    }
    for (int i = 0; i < 14; ++i) { // more than a receiver may hold
        sendVideo(m_sender);
        ASSERT_TRUE(companion.getsVideo()) << i;
    }
    int texts = 0; // short ones, each sent after a frame
    bool announced = false;
    while (!announced && texts < 3) {
        sendVideo(m_sender);
        ASSERT_TRUE(companion.getsVideo());
        sendText(m_sender, "short");
        const auto next = readMessage(socket);
        announced = next.type == MessageType::Video;
        texts += next.body.find("short") != std::string::npos ? 1 : 0; // behind what went to the companion at first
    }
    EXPECT_TRUE(announced);
}
