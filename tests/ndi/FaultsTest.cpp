#include "tests/ndi/RuntimeFixture.h"

#include <QtCore/QByteArray>

#include <algorithm>

using namespace ndi_test;

namespace
{

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int sendMs = 40;
constexpr int deafSeconds = 3;
constexpr int jitterMs = 200;
constexpr int lossPeriod = 5;

std::int64_t wallClockMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

Milliseconds timeOfSends(const Sender &sender, int count, int framesPerSecond)
{
    auto picture = uyvyPicture();
    picture.frame.frame_rate_N = framesPerSecond;
    picture.frame.frame_rate_D = 1;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i)
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
    return std::chrono::steady_clock::now() - begin;
}

std::int64_t latenessMs(std::int64_t timestamp)
{
    return wallClockMs() - timestamp / 10'000;
}

} // namespace

TEST(Faults, AreNamedByTheVersion)
{
    EXPECT_EQ("Local NDI runtime 1.0 (this machine only) with NDI_LOCAL_SEND_MS=40 NDI_LOCAL_DEAF_FINDER_S=3 "
              "NDI_LOCAL_JITTER_MS=200 NDI_LOCAL_LOSS=5",
              std::string(NDIlib_version()));
}

TEST(Faults, KeepTheCallerThatSendsVideo)
{
    const auto sender = makeSender(uniqueName());
    EXPECT_GE(timeOfSends(sender, 10, 1000).count(), 10.0 * sendMs);
}

TEST(Faults, KeepACallerThatIsPacedByWhatItIsNotPacedForOnly)
{
    const auto sender = makeSender(uniqueName(), true);
    const auto taken = timeOfSends(sender, 26, 20).count();
    EXPECT_GE(taken, 25 * 50.0 + sendMs - 1.0);
    EXPECT_LT(taken, 25 * (50.0 + sendMs)); // each on top of its wait
}

TEST(Faults, LoseOneVideoFrameInSoMany)
{
    const Pair pair;
    auto picture = uyvyPicture();
    for (int i = 1; i <= 4 * lossPeriod; ++i) {
        picture.frame.timecode = i;
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        if (i % lossPeriod == 0)
            continue;
        const Video video(pair.receiver);
        ASSERT_TRUE(video) << i;
        EXPECT_EQ(i, video->timecode);
    }
}

TEST(Faults, LetVideoArriveLate)
{
    const Pair pair;
    auto picture = uyvyPicture();
    std::int64_t latest = 0;
    for (int i = 1; i <= 12; ++i) {
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        if (i % lossPeriod == 0)
            continue;
        const Video video(pair.receiver);
        ASSERT_TRUE(video) << i;
        latest = std::max(latest, latenessMs(video->timestamp) - sendMs);
    }
    EXPECT_GE(latest, jitterMs / 4); // less in one run of a million
}

TEST(Faults, KeepVideoInItsOrder)
{
    const Pair pair;
    auto picture = uyvyPicture();
    for (int round = 0; round < 4; ++round) {
        for (int i = 1; i <= lossPeriod; ++i) {
            picture.frame.timecode = i;
            NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        }
        for (int i = 1; i < lossPeriod; ++i) {
            const Video video(pair.receiver);
            ASSERT_TRUE(video) << i;
            EXPECT_EQ(i, video->timecode);
        }
    }
}

TEST(Faults, LetAudioArriveLateAndInItsOrder)
{
    const Pair pair;
    Sound sound(2, 160);
    for (int i = 1; i <= 9; ++i) {
        sound.frame.timecode = i;
        NDIlib_send_send_audio_v2(pair.sender.get(), &sound.frame);
    }
    std::int64_t latest = 0;
    for (int i = 1; i <= 9; ++i) {
        const Audio audio(pair.receiver);
        ASSERT_TRUE(audio) << i;
        EXPECT_EQ(i, audio->timecode);
        latest = std::max(latest, latenessMs(audio->timestamp));
    }
    EXPECT_GE(latest, jitterMs / 4); // less in one run of a quarter of a million
}

TEST(Faults, MakeAFinderDeafThatFollowsAnotherTooSoon)
{
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    ASSERT_NE("", findSource(name).name); // the process's first finder
    const auto before = makeFinder();
    const auto deaf = makeFinder();
    EXPECT_FALSE(NDIlib_find_wait_for_sources(deaf.get(), deafSeconds * 1000 + 100));
    EXPECT_NE("", waitForSource(makeFinder(), name).name);
    EXPECT_TRUE(currentSources(deaf).empty());
}

int main(int argc, char **argv)
{
    qputenv("NDI_LOCAL_SEND_MS", QByteArray::number(sendMs));
    qputenv("NDI_LOCAL_DEAF_FINDER_S", QByteArray::number(deafSeconds));
    qputenv("NDI_LOCAL_JITTER_MS", QByteArray::number(jitterMs));
    qputenv("NDI_LOCAL_LOSS", QByteArray::number(lossPeriod));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
