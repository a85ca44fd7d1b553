#include "tests/ndi/PeerProcess.h"
#include "tests/ndi/RuntimeFixture.h"

#include <algorithm>

using namespace ndi_test;

namespace
{

constexpr std::chrono::milliseconds staleLimit{2000}; // a killed sender may be listed no longer

bool isFilledWithItsNumber(const Video &video)
{
    const auto number = static_cast<std::uint8_t>(video->timecode);
    return std::all_of(video->p_data, video->p_data + 640 * 180,
                       [number](std::uint8_t byte) { return byte == number; });
}

} // namespace

TEST(Processes, FramesCrossWhole)
{
    const auto name = uniqueName();
    const auto peer = PeerProcess::sender(name);
    const auto receiver = makeReceiver(findSource(name));
    std::int64_t last = -1;
    for (int i = 0; i < 30; ++i) {
        const Video video(receiver);
        ASSERT_TRUE(video);
        EXPECT_GT(video->timecode, last);
        EXPECT_TRUE(isFilledWithItsNumber(video));
        last = video->timecode;
    }
}

TEST(Processes, AKilledSenderLeavesTheListInTime)
{
    const auto name = uniqueName();
    auto peer = PeerProcess::sender(name);
    const auto watching = makeFinder();
    ASSERT_FALSE(waitForSource(watching, name).name.empty());
    peer.kill();
    EXPECT_TRUE(waitUntilGone(watching, name, staleLimit));
}

TEST(Processes, ASenderThatWasKilledUnwatchedIsNeverListed)
{
    const auto name = uniqueName();
    auto peer = PeerProcess::sender(name);
    ASSERT_FALSE(findSource(name).name.empty());
    peer.kill();
    const auto sentinel = uniqueName();
    const auto sender = makeSender(sentinel);
    ASSERT_NE(sender, nullptr);
    const auto finder = makeFinder();
    ASSERT_FALSE(waitForSource(finder, sentinel).name.empty());
    EXPECT_TRUE(waitUntilGone(finder, name, std::chrono::milliseconds(0)));
}

TEST(Processes, AReceiverGetsFramesAgainWhenItsKilledSenderComesBack)
{
    const auto name = uniqueName();
    auto first = PeerProcess::sender(name);
    const auto source = findSource(name);
    const auto receiver = makeReceiver({source.name, ""}); // another sender may take the port in between
    ASSERT_TRUE(Video(receiver));
    first.kill();
    ASSERT_TRUE(waitUntil([&] { return NDIlib_recv_get_no_connections(receiver.get()) == 0; }));
    while (Video(receiver, 0)) {
    }
    const auto second = PeerProcess::sender(name);
    EXPECT_TRUE(Video(receiver));
}

TEST(Processes, AKilledReceiverIsNoLongerCounted)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    const auto source = findSource(name);
    auto peer = PeerProcess::hoarder(source.name, source.address);
    ASSERT_EQ(NDIlib_send_get_no_connections(sender.get(), patienceMs), 1);
    peer.kill();
    EXPECT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(sender.get(), 0) == 0; }));
}

TEST(Processes, ReceiversThatNeverFreeAndAreKilledTakeNothingFromOthers)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    const auto source = findSource(name);
    const auto receiver = makeReceiver(source);
    auto picture = uyvyPicture();
    for (int round = 0; round < 6; ++round) {
        ASSERT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(sender.get(), 0) == 1; }));
        auto peer = PeerProcess::hoarder(source.name, source.address);
        ASSERT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(sender.get(), 0) == 2; }));
        for (int i = 0; i < 40; ++i) {
            NDIlib_send_send_video_v2(sender.get(), &picture.frame);
            ASSERT_TRUE(Video(receiver)) << "round " << round << " frame " << i;
        }
        peer.kill();
    }
}

TEST(Processes, AProcessMayEndWithoutDestroyingAnything)
{
    const auto name = uniqueName();
    const auto finder = makeFinder();
    auto peer = PeerProcess::leaver(name);
    EXPECT_EQ(peer.waitForEnd(), 0);
    EXPECT_TRUE(waitUntilGone(finder, name, staleLimit));
}
