#include "ndi/local/FrameMemory.h"
#include "ndi/local/FrameShape.h"
#include "ndi/local/Registration.h"
#include "tests/ndi/RawPeer.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

using namespace localndi;
using namespace ndi_test;
using boost::asio::ip::tcp;

namespace
{

// A real receiver that met a sender which lies.
class ReceiverUnderAttack : public testing::Test
{
protected:
    ReceiverUnderAttack()
    {
        NDIlib_recv_create_t settings;
        settings.source_to_connect_to.p_ndi_name = m_registration.record().name.c_str();
        settings.color_format = NDIlib_recv_color_format_fastest;
        m_receiver = NDIlib_recv_create_v2(&settings);
        m_memory = FrameMemory::create(m_file, 65536);
        m_socket = meet(Role::Receiver);
    }
    ~ReceiverUnderAttack() override
    {
        NDIlib_recv_destroy(m_receiver);
        m_registration.withdraw();
        std::filesystem::remove(m_file);
    }

    // Waits for one of that role. Finders of the machine may look at every sender: hung up on, they would take this one
    // for dead and remove its files.
    tcp::socket meet(Role role)
    {
        for (;;) {
            tcp::socket socket = m_registration.acceptor().accept();
            char bytes[sizeof(MessageHeader) + sizeof(Hello)] = {};
            boost::system::error_code error;
            boost::asio::read(socket, boost::asio::buffer(bytes), error);
            const auto hello = readRecord<Hello>({bytes + sizeof(MessageHeader), sizeof(Hello)});
            if (!error && hello->role == role)
                return socket;
            m_strangers.push_back(std::move(socket));
        }
    }

    void welcome() { welcome(m_socket); }
    void welcome(tcp::socket &socket)
    {
        write(socket, message(MessageType::Welcome, bytesOf(Welcome{m_registration.record().signature})));
    }

    static VideoAnnouncement honestVideo()
    {
        VideoAnnouncement video{};
        video.place = {SlotKind::Video, 0, 1, 0, 64 * 36 * 2};
        video.width = 64;
        video.height = 36;
        video.fourCC = NDIlib_FourCC_video_type_UYVY;
        video.rateN = 25;
        video.rateD = 1;
        video.format = NDIlib_frame_format_type_progressive;
        video.timecode = 1;
        return video;
    }

    // Waits for what is announced last, which is honest.
    bool gets(std::int64_t timecode)
    {
        NDIlib_video_frame_v2_t video;
        if (NDIlib_recv_capture_v2(m_receiver, &video, nullptr, nullptr, peerPatienceMs) != NDIlib_frame_type_video)
            return false;
        NDIlib_recv_free_video_v2(m_receiver, &video);
        return video.timecode == timecode;
    }

    boost::asio::io_context m_context;
    Registration m_registration{m_context, uniquePeerName(), ""};
    std::filesystem::path m_file =
        m_registration.registry().frameFile(m_registration.record().fileStem(), SlotKind::Video, 0, 1);
    std::shared_ptr<FrameMemory> m_memory;
    tcp::socket m_socket{m_context};
    std::vector<tcp::socket> m_strangers;
    NDIlib_recv_instance_t m_receiver = nullptr;
};

} // namespace

TEST_F(ReceiverUnderAttack, TakesHonestFrames)
{
    welcome();
    write(m_socket, message(MessageType::Video, bytesOf(honestVideo())));
    EXPECT_TRUE(gets(1));
}

TEST_F(ReceiverUnderAttack, LeavesAnImpostor)
{
    auto wrong = m_registration.record().signature;
    wrong[0] ^= 1;
    write(m_socket, message(MessageType::Welcome, bytesOf(Welcome{wrong})));
    EXPECT_TRUE(isClosedByPeer(m_socket));
    EXPECT_EQ(NDIlib_recv_get_no_connections(m_receiver), 0);
}

TEST_F(ReceiverUnderAttack, DropsFramesThatDoNotFitTheirSlot)
{
    welcome();
    const std::function<void(VideoAnnouncement &)> lies[] = {
        [](VideoAnnouncement &v) { v.width = 640; },
        [](VideoAnnouncement &v) { v.height = -36; },
        [](VideoAnnouncement &v) { v.width = v.height = INT32_MAX; },
        [](VideoAnnouncement &v) { v.fourCC = 0; },
        [](VideoAnnouncement &v) { v.fourCC = NDIlib_FourCC_video_type_BGRA; },
        [](VideoAnnouncement &v) { v.format = 9; },
        [](VideoAnnouncement &v) { v.place.kind = SlotKind::Audio; },
        [](VideoAnnouncement &v) { v.place.index = UINT32_MAX; },
        [](VideoAnnouncement &v) { v.place.generation = 2; },
        [](VideoAnnouncement &v) { v.place.dataSize = UINT64_MAX; },
        [](VideoAnnouncement &v) { v.place.metadataSize = 65536; },
        [](VideoAnnouncement &v) { v.place.metadataSize = UINT32_MAX; },
        [](VideoAnnouncement &v) {
            v.width = 512;
            v.height = 512;
            v.place.dataSize = 512 * 512 * 2;
        },
    };
    for (const auto &lie : lies) {
        auto video = honestVideo();
        video.timecode = 666;
        lie(video);
        write(m_socket, message(MessageType::Video, bytesOf(video)));
    }
    write(m_socket, message(MessageType::Video, bytesOf(honestVideo())));
    EXPECT_TRUE(gets(1));
}

TEST_F(ReceiverUnderAttack, DropsATextWithoutItsEnd)
{
    welcome();
    auto video = honestVideo();
    video.timecode = 666;
    video.place.metadataSize = 4;
    const auto offset = metadataOffset(video.place.dataSize);
    std::fill_n(m_memory->data() + offset, 4, std::uint8_t{'x'});
    write(m_socket, message(MessageType::Video, bytesOf(video)));
    write(m_socket, message(MessageType::Video, bytesOf(honestVideo())));
    EXPECT_TRUE(gets(1));
}

TEST_F(ReceiverUnderAttack, DropsMessagesOfTheWrongSize)
{
    welcome();
    write(m_socket, message(MessageType::Video, "short"));
    write(m_socket, message(MessageType::Audio, ""));
    write(m_socket, message(MessageType::Metadata, "short"));
    write(m_socket, message(static_cast<MessageType>(99), "what"));
    write(m_socket, message(MessageType::Video, bytesOf(honestVideo())));
    EXPECT_TRUE(gets(1));
}

TEST_F(ReceiverUnderAttack, LeavesASenderWhoseMessagesHaveNoEnd)
{
    welcome();
    const MessageHeader endless{MessageType::Metadata, UINT32_MAX};
    write(m_socket, std::string(bytesOf(endless)));
    EXPECT_TRUE(isClosedByPeer(m_socket));
}

TEST_F(ReceiverUnderAttack, LeavesASilentSenderThatHasLetGoOfItsPort)
{
    welcome();
    write(m_socket, message(MessageType::Video, bytesOf(honestVideo())));
    EXPECT_TRUE(gets(1));
    m_registration.withdraw();
    EXPECT_TRUE(isClosedByPeer(m_socket));
}

TEST_F(ReceiverUnderAttack, StaysWithASilentSenderThatAnswersAtItsPort)
{
    welcome();
    write(m_socket, message(MessageType::Video, bytesOf(honestVideo())));
    EXPECT_TRUE(gets(1));
    for (int question = 0; question < 2; ++question) {
        tcp::socket asker = meet(Role::Inquirer);
        welcome(asker);
        EXPECT_TRUE(isClosedByPeer(asker));
    }
    EXPECT_EQ(NDIlib_recv_get_no_connections(m_receiver), 1);
}
