#include "tests/ndi/RuntimeFixture.h"

#include <thread>

using namespace ndi_test;

namespace
{

constexpr NDIlib_tally_t off{false, false};
constexpr NDIlib_tally_t program{true, false};
constexpr NDIlib_tally_t preview{false, true};

bool shows(const Sender &sender, bool onProgram, bool onPreview)
{
    NDIlib_tally_t tally;
    NDIlib_send_get_tally(sender.get(), &tally, 0);
    return tally.on_program == onProgram && tally.on_preview == onPreview;
}

} // namespace

TEST(Tally, ReachesTheSenderWhichTellsTheChangeOnce)
{
    const Pair pair;
    NDIlib_tally_t tally;
    EXPECT_FALSE(NDIlib_send_get_tally(pair.sender.get(), &tally, 0));
    NDIlib_recv_set_tally(pair.receiver.get(), &program);
    EXPECT_TRUE(NDIlib_send_get_tally(pair.sender.get(), &tally, patienceMs));
    EXPECT_TRUE(tally.on_program);
    EXPECT_FALSE(tally.on_preview);
    EXPECT_FALSE(NDIlib_send_get_tally(pair.sender.get(), &tally, 0));
    EXPECT_TRUE(tally.on_program);
}

TEST(Tally, IsEchoedToTheReceiversAsMetadata)
{
    const Pair pair;
    NDIlib_recv_set_tally(pair.receiver.get(), &program);
    const auto echo = captureMetadata(pair.receiver);
    ASSERT_TRUE(echo);
    EXPECT_EQ(echo->text, "<ndi_tally_echo on_program=\"true\" on_preview=\"false\"/>");
    EXPECT_EQ(echo->timecode, 0);
}

TEST(Tally, IsThatOfAnyReceiver)
{
    const Pair pair;
    auto other = makeReceiver(pair.source);
    ASSERT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(pair.sender.get(), 0) == 2; }));
    NDIlib_recv_set_tally(pair.receiver.get(), &program);
    NDIlib_recv_set_tally(other.get(), &preview);
    EXPECT_TRUE(waitUntil([&] { return shows(pair.sender, true, true); }));
    NDIlib_recv_set_tally(pair.receiver.get(), &off);
    EXPECT_TRUE(waitUntil([&] { return shows(pair.sender, false, true); }));
    other.reset();
    EXPECT_TRUE(waitUntil([&] { return shows(pair.sender, false, false); }));
}

TEST(Tally, SetBeforeTheConnectionReachesTheSenderWithIt)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    const auto source = findSource(name);
    const auto receiver = makeReceiver(source);
    NDIlib_recv_set_tally(receiver.get(), &preview);
    NDIlib_tally_t tally;
    EXPECT_TRUE(NDIlib_send_get_tally(sender.get(), &tally, patienceMs));
    EXPECT_TRUE(tally.on_preview);
}

TEST(Tally, SettingItWithoutAConnectionSaysSo)
{
    const auto receiver = makeReceiver({"nobody (nothing)", ""});
    EXPECT_FALSE(NDIlib_recv_set_tally(receiver.get(), &program));
}
