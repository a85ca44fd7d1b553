// The meters of ndi-recv, on frames that are made here.

#include "ndi/tools/ndi-recv/AudioMeter.h"
#include "ndi/tools/ndi-recv/VideoMeter.h"
#include "pattern/FrameRate.h"
#include "pattern/TestPicture.h"
#include "pattern/TestTone.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace ndirecv;
using pattern::HnsPerSecond;

namespace
{

constexpr pattern::FrameRate Rate{50, 1};
constexpr std::int64_t FrameTime = HnsPerSecond / 50;
constexpr std::int64_t Latency = 20'000;              // 2 ms
constexpr std::int64_t Start = std::int64_t{1} << 40; // of the clock

NDIlib_video_frame_v2_t frameOf(pattern::TestPicture &picture, std::int64_t number)
{
    NDIlib_video_frame_v2_t frame;
    frame.xres = picture.picture().width;
    frame.yres = picture.picture().height;
    frame.frame_rate_N = Rate.numerator;
    frame.frame_rate_D = Rate.denominator;
    frame.timecode = number * FrameTime;
    frame.p_data = picture.picture().topLine;
    frame.line_stride_in_bytes = static_cast<int>(picture.picture().stride);
    return frame;
}

class NdiRecvVideoMeter : public testing::Test
{
protected:
    // Frames with the code of that number, or without one.
    VideoNews addCoded(std::int64_t number, std::int64_t latency = Latency)
    {
        const std::int64_t sent = Start + number * FrameTime;
        m_picture.draw(static_cast<std::uint64_t>(number), pattern::isFlashFrame(number, Rate));
        m_picture.stamp({static_cast<std::uint64_t>(number), static_cast<std::uint64_t>(sent)});
        return m_meter.add(frameOf(m_picture, number), sent + latency);
    }
    VideoNews addPlain(std::int64_t number)
    {
        return m_meter.add(frameOf(m_small, number), Start + number * FrameTime);
    }
    VideoNews addField(NDIlib_frame_format_type_e type, std::int64_t number)
    {
        NDIlib_video_frame_v2_t frame = frameOf(m_small, number);
        frame.frame_format_type = type;
        return m_meter.add(frame, Start + number * FrameTime);
    }

    pattern::SyncMeter m_sync;
    VideoMeter m_meter{m_sync};
    pattern::TestPicture m_picture{pattern::PixelLayout::UYVY, 320, 240};
    pattern::TestPicture m_small{pattern::PixelLayout::UYVY, 64, 48};
};

TEST_F(NdiRecvVideoMeter, CountsWhatIsMissingAndWhatComesTwiceByFrameNumber)
{
    std::vector<std::int64_t> lost;
    for (const std::int64_t number : {5, 6, 9, 10, 10, 12})
        lost.push_back(addCoded(number).lost);
    EXPECT_EQ(lost, (std::vector<std::int64_t>{0, 0, 2, 0, 0, 1}));
    const VideoFigures figures = m_meter.figures();
    EXPECT_EQ(figures.frames, 6);
    EXPECT_EQ(figures.coded, 6);
    EXPECT_EQ(figures.gaps, 2);
    EXPECT_EQ(figures.lost, 3);
    EXPECT_EQ(figures.repeated, 1);
    EXPECT_EQ(figures.restarts, 0);
    EXPECT_EQ(figures.firstFrame, 5U);
    EXPECT_EQ(figures.lastFrame, 12U);
}

TEST_F(NdiRecvVideoMeter, BelievesTheNumberRatherThanTheTimecode)
{
    addCoded(5);
    NDIlib_video_frame_v2_t frame = frameOf(m_picture, 9);
    m_picture.stamp({6, Start});
    EXPECT_EQ(m_meter.add(frame, Start).lost, 0);
}

TEST_F(NdiRecvVideoMeter, CountsByTimecodeWithoutAPattern)
{
    std::vector<std::int64_t> lost;
    for (const std::int64_t number : {0, 1, 5, 6, 6, 7})
        lost.push_back(addPlain(number).lost);
    EXPECT_EQ(lost, (std::vector<std::int64_t>{0, 0, 3, 0, 0, 0}));
    const VideoFigures figures = m_meter.figures();
    EXPECT_EQ(figures.coded, 0);
    EXPECT_EQ(figures.gaps, 1);
    EXPECT_EQ(figures.lost, 3);
    EXPECT_EQ(figures.repeated, 1);
    EXPECT_FALSE(figures.firstFrame);
}

TEST_F(NdiRecvVideoMeter, TakesASmallerNumberOrAnEarlierTimecodeForANewBeginning)
{
    addCoded(100);
    EXPECT_TRUE(addCoded(3).isRestart);
    addPlain(200);
    EXPECT_TRUE(addPlain(100).isRestart);
    EXPECT_TRUE(addPlain(100 + 11 * 50).isRestart);
    EXPECT_EQ(m_meter.figures().restarts, 3);
    EXPECT_EQ(m_meter.figures().lost, 196); // from the third coded frame to the first plain one, by timecode
}

TEST_F(NdiRecvVideoMeter, CountsNothingAcrossALostConnection)
{
    addCoded(1);
    m_meter.connectionLost();
    const VideoNews news = addCoded(50);
    EXPECT_EQ(news.lost, 0);
    EXPECT_FALSE(news.isRestart);
    EXPECT_EQ(m_meter.figures().gaps, 0);
    EXPECT_EQ(m_meter.figures().rate, 0);
}

TEST_F(NdiRecvVideoMeter, TellsTheRateByArrival)
{
    for (int number = 0; number < 20; ++number)
        addCoded(number);
    m_meter.connectionLost();
    for (int number = 500; number < 520; ++number)
        addCoded(number);
    EXPECT_NEAR(m_meter.figures().rate, 50, 1e-9);
}

TEST_F(NdiRecvVideoMeter, TellsTheLatencyByTheCode)
{
    for (int number = 0; number < 20; ++number)
        addCoded(number);
    EXPECT_EQ(m_meter.figures().latency.count(), 20U);
    EXPECT_NEAR(m_meter.figures().latency.quantile(0.5), 2, 0.1);
    EXPECT_NEAR(m_meter.figures().latency.maximum(), 2, 1e-9);
}

TEST_F(NdiRecvVideoMeter, TellsTheLatencyOfTheLastTwoSeconds)
{
    EXPECT_FALSE(m_meter.figures().recentLatency);
    for (int number = 0; number < 300; ++number)
        addCoded(number);
    EXPECT_NEAR(m_meter.figures().recentLatency.value_or(0), 2, 1e-9);
    for (int number = 300; number < 400; ++number)
        addCoded(number, 30 * Latency);
    EXPECT_NEAR(m_meter.figures().latency.quantile(0.5), 2, 0.1);
    EXPECT_NEAR(m_meter.figures().recentLatency.value_or(0), 60, 1e-9);
    for (int number = 400; number < 440; ++number)
        addCoded(number);
    EXPECT_NEAR(m_meter.figures().recentLatency.value_or(0), 60, 1e-9);
    for (int number = 440; number < 460; ++number)
        addCoded(number);
    EXPECT_NEAR(m_meter.figures().recentLatency.value_or(0), 2, 1e-9);
}

TEST_F(NdiRecvVideoMeter, TellsNoLatencyByTheClockOfAnotherMachine)
{
    for (const std::int64_t sent : {Start + 1, Start - 61 * HnsPerSecond}) {
        m_picture.stamp({1, static_cast<std::uint64_t>(sent)});
        m_meter.add(frameOf(m_picture, 1), Start);
    }
    EXPECT_EQ(m_meter.figures().coded, 2);
    EXPECT_EQ(m_meter.figures().latency.count(), 0U);
}

TEST_F(NdiRecvVideoMeter, CountsTwoFieldsAsOneFrame)
{
    for (int number = 0; number < 3; ++number) {
        addField(NDIlib_frame_format_type_field_0, number);
        EXPECT_FALSE(m_meter.isFrameComplete());
        addField(NDIlib_frame_format_type_field_1, number);
        EXPECT_TRUE(m_meter.isFrameComplete());
    }
    EXPECT_EQ(m_meter.frames(), 3);
    EXPECT_EQ(m_meter.figures().formatChanges, 0);
    EXPECT_EQ(m_meter.figures().format->fields, Fields::Separate);
}

TEST_F(NdiRecvVideoMeter, CountsALowerFieldWithoutItsUpperOne)
{
    addField(NDIlib_frame_format_type_field_1, 0);
    addField(NDIlib_frame_format_type_field_1, 1);
    EXPECT_EQ(m_meter.frames(), 2);
}

TEST_F(NdiRecvVideoMeter, CountsChangesOfFormatAfterTheFirst)
{
    EXPECT_TRUE(addPlain(0).isNewFormat);
    EXPECT_FALSE(addPlain(1).isNewFormat);
    EXPECT_TRUE(addCoded(2).isNewFormat);
    EXPECT_TRUE(addPlain(3).isNewFormat);
    EXPECT_EQ(m_meter.figures().formatChanges, 2);
}

TEST_F(NdiRecvVideoMeter, SeesAFlashBeginButNotOneThatIsUnderWay)
{
    m_sync.addBeep({0, Start});
    for (int number = 1; number < 50; ++number)
        addCoded(number);
    EXPECT_EQ(m_sync.pairs(), 0U);
    m_sync.addBeep({49 * FrameTime, Start + 49 * FrameTime});
    addCoded(50);
    EXPECT_EQ(m_sync.timeOffset(), FrameTime);
    EXPECT_EQ(m_sync.arrivalOffset(), FrameTime + Latency);
}

constexpr int SampleRate = 48000;

class NdiRecvAudioMeter : public testing::Test
{
protected:
    // The test tone of two channels, as many samples from there on, with the timecode that belongs there.
    AudioNews add(std::int64_t first, int count, bool beep = false)
    {
        std::vector<float> samples(2 * static_cast<std::size_t>(count));
        for (int channel = 0; channel < 2; ++channel)
            m_tone.render(channel, first, count, beep, samples.data() + std::ptrdiff_t{channel} * count);
        NDIlib_audio_frame_v2_t frame;
        frame.no_samples = count;
        frame.timecode = pattern::FrameRate{SampleRate, 1}.frameStart(first, HnsPerSecond);
        frame.p_data = samples.data();
        frame.channel_stride_in_bytes = count * 4;
        return m_meter.add(frame, Start + frame.timecode);
    }

    pattern::SyncMeter m_sync;
    AudioMeter m_meter{m_sync};
    pattern::TestTone m_tone{SampleRate};
};

TEST_F(NdiRecvAudioMeter, FindsNoGapInSoundOfUnevenPieces)
{
    std::int64_t first = 0;
    for (const int count : {1601, 1602, 1601, 1, 480, 1602})
        add(std::exchange(first, first + count), count);
    EXPECT_EQ(m_meter.figures().frames, 6);
    EXPECT_EQ(m_meter.figures().samples, first);
    EXPECT_EQ(m_meter.figures().gaps, 0);
    EXPECT_EQ(m_meter.figures().restarts, 0);
}

TEST_F(NdiRecvAudioMeter, CountsTheSamplesThatAreMissing)
{
    add(0, 480);
    EXPECT_EQ(add(480 + 960, 480).lostSamples, 960);
    EXPECT_EQ(add(480 + 960 + 480, 480).lostSamples, 0);
    EXPECT_EQ(m_meter.figures().gaps, 1);
    EXPECT_EQ(m_meter.figures().lostSamples, 960);
}

TEST_F(NdiRecvAudioMeter, TakesAnEarlierTimecodeForANewBeginning)
{
    add(48000, 480);
    EXPECT_EQ(add(0, 480).lostSamples, 0);
    m_meter.connectionLost();
    add(9600, 480);
    EXPECT_EQ(m_meter.figures().restarts, 1);
    EXPECT_EQ(m_meter.figures().gaps, 0);
}

TEST_F(NdiRecvAudioMeter, CountsChangesOfFormatAfterTheFirst)
{
    EXPECT_TRUE(add(0, 480).isNewFormat);
    NDIlib_audio_frame_v2_t frame;
    std::vector<float> silence(480);
    frame.no_channels = 1;
    frame.no_samples = 480;
    frame.p_data = silence.data();
    EXPECT_TRUE(m_meter.add(frame, Start).isNewFormat);
    EXPECT_EQ(m_meter.figures().formatChanges, 1);
    EXPECT_EQ(m_meter.figures().format->channels, 1);
}

// Picture and sound of the same second, the sound from earlier or later samples than belong to the picture's time.
TEST_F(NdiRecvAudioMeter, TellsTogetherWithVideoByHowMuchThePictureIsLate)
{
    for (const int shift : {0, 1920, -1920}) { // samples by which the sound comes later: 40 ms
        pattern::SyncMeter sync;
        VideoMeter video(sync);
        AudioMeter audio(sync);
        pattern::TestPicture picture(pattern::PixelLayout::UYVY, 320, 240);
        for (std::int64_t number = 30; number < 60; ++number) {
            const std::int64_t arrival = Start + number * FrameTime;
            picture.draw(static_cast<std::uint64_t>(number), pattern::isFlashFrame(number, Rate));
            picture.stamp({static_cast<std::uint64_t>(number), static_cast<std::uint64_t>(arrival)});
            video.add(frameOf(picture, number), arrival);

            std::vector<float> samples(960);
            m_tone.render(0, number * 960, 960, pattern::isFlashFrame(number, Rate), samples.data());
            NDIlib_audio_frame_v2_t frame;
            frame.no_channels = 1;
            frame.no_samples = 960;
            frame.timecode = pattern::FrameRate{SampleRate, 1}.frameStart(number * 960 + shift, HnsPerSecond);
            frame.p_data = samples.data();
            audio.add(frame, arrival);
        }
        ASSERT_EQ(sync.pairs(), 1U) << shift;
        EXPECT_NEAR(static_cast<double>(*sync.timeOffset()) / 10'000, -shift / 48.0, 0.11);
        EXPECT_EQ(*sync.arrivalOffset(), 0);
    }
}

} // namespace
