#include "tests/ndi/RuntimeFixture.h"

using namespace ndi_test;

TEST(Metadata, ArrivesWithItsLengthAndNoTimecodeWhenNoneWasGiven)
{
    const Pair pair;
    sendMetadata(pair.sender, "<ptz zoom=\"1\"/>");
    const auto metadata = captureMetadata(pair.receiver);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->text, "<ptz zoom=\"1\"/>");
    EXPECT_EQ(metadata->length, 16);
    EXPECT_EQ(metadata->timecode, 0);
}

TEST(Metadata, AnExplicitLengthAndTimecodeArrive)
{
    const Pair pair;
    char text[] = "not XML & more";
    NDIlib_metadata_frame_t frame;
    frame.p_data = text;
    frame.length = sizeof text;
    frame.timecode = 4711;
    NDIlib_send_send_metadata(pair.sender.get(), &frame);
    const auto metadata = captureMetadata(pair.receiver);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->text, "not XML & more");
    EXPECT_EQ(metadata->length, static_cast<int>(sizeof text));
    EXPECT_EQ(metadata->timecode, 4711);
}

TEST(Metadata, ATextWithoutItsTerminatingZeroIsReadNoFurtherThanItsLength)
{
    const Pair pair;
    const std::unique_ptr<char[]> text(new char[3]{'a', 'b', 'c'});
    NDIlib_metadata_frame_t frame;
    frame.p_data = text.get();
    frame.length = 3;
    NDIlib_send_send_metadata(pair.sender.get(), &frame);
    const auto metadata = captureMetadata(pair.receiver);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->text, "abc");
}

TEST(Metadata, AnEmptyTextIsNotDelivered)
{
    const Pair pair;
    sendMetadata(pair.sender, "");
    sendMetadata(pair.sender, "next");
    const auto metadata = captureMetadata(pair.receiver);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->text, "next");
}

TEST(Metadata, AMebibyteOfTextArrives)
{
    const Pair pair;
    std::string text(1 << 20, 'x');
    text.replace(text.size() - 5, 5, "end/>");
    sendMetadata(pair.sender, text);
    const auto metadata = captureMetadata(pair.receiver);
    ASSERT_TRUE(metadata);
    EXPECT_EQ(metadata->text, text);
}

TEST(Metadata, AMebibyteOfTextArrivesOnItsVideoFrame)
{
    const Pair pair;
    const std::string text(1 << 20, 'y');
    auto picture = uyvyPicture();
    picture.frame.p_metadata = text.c_str();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    EXPECT_EQ(text, video->p_metadata);
}

TEST(Metadata, TextOnAVideoFrameDoesNotStayOnTheNext)
{
    const Pair pair;
    auto picture = uyvyPicture();
    picture.frame.p_metadata = "<one/>";
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    picture.frame.p_metadata = nullptr;
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video first(pair.receiver);
    ASSERT_TRUE(first);
    EXPECT_STREQ(first->p_metadata, "<one/>");
    const Video second(pair.receiver);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->p_metadata, nullptr);
}

TEST(Metadata, ManyTextsThatNobodyTakesLeaveTheNewest)
{
    const Pair pair;
    auto picture = uyvyPicture();
    for (int i = 1; i <= 2000; ++i)
        sendMetadata(pair.sender, std::to_string(i));
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    ASSERT_TRUE(Video(pair.receiver));
    int count = 0;
    std::string last;
    while (const auto metadata = captureMetadata(pair.receiver, 0)) {
        last = metadata->text;
        ++count;
    }
    EXPECT_EQ(last, "2000");
    EXPECT_LE(count, 256);
}
