#include "ndi/local/FrameMemory.h"
#include "tests/ndi/RawPeer.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

using namespace localndi;
using namespace ndi_test;

namespace
{

class Farewell : public SenderAndRawPeer
{
protected:
    void sendVideo(std::int64_t timecode)
    {
        NDIlib_video_frame_v2_t frame;
        frame.xres = 64;
        frame.yres = 36;
        frame.line_stride_in_bytes = 128;
        frame.p_data = m_pixels.data();
        frame.timecode = timecode;
        NDIlib_send_send_video_v2(m_sender, &frame);
    }

    std::future<void> destroySoon()
    {
        return std::async(std::launch::async, [this] { destroySender(); });
    }

    bool isListed() const
    {
        const auto records = Registry().records();
        return std::any_of(records.begin(), records.end(),
                           [this](const SenderRecord &record) { return record.identity == m_record.identity; });
    }

    // From then on the sender waits for its receivers only.
    bool waitUntilUnlisted() const
    {
        const auto deadline = std::chrono::steady_clock::now() + peerPatience;
        while (isListed()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    std::vector<std::uint8_t> m_pixels = std::vector<std::uint8_t>(64 * 36 * 2, 77);
};

} // namespace

TEST_F(Farewell, TheLastFrameWaitsForAReceiverThatIsSlowToTakeIt)
{
    auto receiver = connectAsReceiver();
    sendVideo(1);
    auto destroyed = destroySoon();
    ASSERT_TRUE(waitUntilUnlisted());
    ASSERT_EQ(destroyed.wait_for(std::chrono::milliseconds(400)), std::future_status::timeout);
    const auto announced = readMessage(receiver);
    ASSERT_EQ(announced.type, MessageType::Video);
    const auto video = readRecord<VideoAnnouncement>(announced.body);
    ASSERT_TRUE(video);
    const Registry registry;
    const auto memory = FrameMemory::open(
        registry.frameFile(m_record.fileStem(), SlotKind::Video, video->place.index, video->place.generation));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(memory->data()[0], 77);
    receiver.close();
    EXPECT_EQ(destroyed.wait_for(peerPatience), std::future_status::ready);
}

TEST_F(Farewell, AllThatWaitsForAReceiverIsSentBeforeTheEnd)
{
    auto receiver = connectAsReceiver();
    constexpr int most = announcedLimit(MessageType::Video);
    for (int i = 1; i <= most; ++i) {
        sendVideo(i);
        ASSERT_EQ(readMessage(receiver).type, MessageType::Video);
    }
    sendVideo(most + 1);
    auto destroyed = destroySoon();
    const auto announced = readMessage(receiver);
    ASSERT_EQ(announced.type, MessageType::Video);
    EXPECT_EQ(most + 1, readRecord<VideoAnnouncement>(announced.body)->timecode);
    EXPECT_TRUE(isClosedByPeer(receiver));
    receiver.close();
    EXPECT_EQ(destroyed.wait_for(peerPatience), std::future_status::ready);
}

TEST_F(Farewell, AReceiverThatHangsDoesNotKeepItsSender)
{
    const auto receiver = connectAsReceiver();
    sendVideo(1);
    auto destroyed = destroySoon();
    EXPECT_EQ(destroyed.wait_for(peerPatience), std::future_status::ready);
    EXPECT_TRUE(receiver.is_open());
}

TEST_F(Farewell, NobodyIsWaitedForButReceivers)
{
    auto stranger = connect();
    auto finder = connect();
    auto asFinder = hello();
    asFinder.role = Role::Finder;
    write(finder, message(MessageType::Hello, bytesOf(asFinder)));
    EXPECT_EQ(readMessage(finder).type, MessageType::Welcome);
    const auto begin = std::chrono::steady_clock::now();
    destroySender();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500));
    EXPECT_TRUE(isClosedByPeer(finder));
    EXPECT_TRUE(isClosedByPeer(stranger));
}
