#include "pattern/BeepFinder.h"
#include "pattern/FlashFinder.h"
#include "pattern/FrameRate.h"
#include "pattern/SyncMeter.h"
#include "pattern/TestPicture.h"
#include "pattern/TestTone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace pattern;

namespace
{

constexpr int Rate = 48000;

class FlashFinderLayouts : public testing::TestWithParam<PixelLayout>
{
};

TEST_P(FlashFinderLayouts, SeesTheBoxOfFramesAndOfFields)
{
    TestPicture picture(GetParam(), 640, 360);
    for (const bool flash : {true, false, true}) {
        picture.draw(7, flash);
        EXPECT_EQ(isFlashShown(readOnly(picture.picture())), flash);
        ConstPicture field = readOnly(picture.picture());
        field.stride *= 2;
        field.height /= 2;
        EXPECT_EQ(isFlashShown(field), flash);
    }
}

INSTANTIATE_TEST_SUITE_P(All, FlashFinderLayouts,
                         testing::Values(PixelLayout::UYVY, PixelLayout::YUY2, PixelLayout::BGRA));

TEST(FlashFinder, SeesNothingInATinyPicture)
{
    TestPicture picture(PixelLayout::UYVY, 4, 4);
    picture.draw(0, true);
    EXPECT_FALSE(isFlashShown(readOnly(picture.picture())));
}

// Half a second of tone, then a tenth of beep, then tone again.
std::vector<float> toneWithBeep(int channel, int sampleRate, float gain)
{
    const TestTone tone(sampleRate);
    const int begin = sampleRate / 2;
    const int length = sampleRate / 10;
    std::vector<float> samples(static_cast<std::size_t>(sampleRate));
    tone.render(channel, 0, begin, false, samples.data());
    tone.render(channel, begin, length, true, samples.data() + begin);
    tone.render(channel, begin + length, begin - length, false, samples.data() + begin + length);
    for (float &sample : samples)
        sample *= gain;
    return samples;
}

std::vector<std::int64_t> findIn(const std::vector<float> &samples, int sampleRate, std::size_t piece)
{
    BeepFinder finder(sampleRate);
    std::vector<std::int64_t> found;
    for (std::size_t at = 0; at < samples.size(); at += piece) {
        const std::size_t count = std::min(piece, samples.size() - at);
        if (const auto begin = finder.add(samples.data() + at, static_cast<int>(count)))
            found.push_back(*begin);
    }
    return found;
}

TEST(BeepFinder, FindsTheBeginningToATenthOfAMillisecondInPiecesOfAnyLength)
{
    for (const int sampleRate : {44100, 48000, 96000}) {
        for (const std::size_t piece : {1U, 64U, 801U, 48000U}) {
            const auto found = findIn(toneWithBeep(0, sampleRate, 1), sampleRate, piece);
            ASSERT_EQ(found.size(), 1U) << sampleRate << " " << piece;
            EXPECT_GE(found.front(), sampleRate / 2);
            EXPECT_LE(found.front(), sampleRate / 2 + sampleRate / 10000);
        }
    }
}

TEST(BeepFinder, FindsABeepOfLowerLevel)
{
    EXPECT_EQ(findIn(toneWithBeep(3, Rate, 0.5F), Rate, 480).size(), 1U);
}

TEST(BeepFinder, FindsNoBeepInAnotherLoudTone)
{
    std::vector<float> samples(Rate, 0.0F);
    for (std::size_t i = Rate / 2; i < samples.size(); ++i)
        samples[i] = 0.5F * static_cast<float>(std::sin(2 * 3.14159265 * 700 * static_cast<double>(i) / Rate));
    EXPECT_TRUE(findIn(samples, Rate, 480).empty());
}

TEST(BeepFinder, FindsNoBeginningInABeepThatIsUnderWay)
{
    const std::vector<float> samples = toneWithBeep(0, Rate, 1);
    EXPECT_TRUE(findIn({samples.begin() + Rate / 2 + 100, samples.end()}, Rate, 480).empty());
}

TEST(SyncMeter, KnowsNothingWithoutAPair)
{
    SyncMeter meter;
    meter.addFlash({0, 0});
    meter.addFlash({HnsPerSecond, HnsPerSecond});
    EXPECT_EQ(meter.pairs(), 0U);
    EXPECT_FALSE(meter.timeOffset());
    EXPECT_FALSE(meter.arrivalOffset());
}

TEST(SyncMeter, TellsByHowMuchThePictureIsLateWhicheverComesFirst)
{
    SyncMeter meter;
    meter.addFlash({1000, 50'000});
    meter.addBeep({400, 60'000});
    EXPECT_EQ(meter.timeOffset(), 600);
    EXPECT_EQ(meter.arrivalOffset(), -10'000);

    SyncMeter other;
    other.addBeep({400, 50'000});
    other.addFlash({300, 70'000});
    EXPECT_EQ(other.timeOffset(), -100);
    EXPECT_EQ(other.arrivalOffset(), 20'000);
}

TEST(SyncMeter, TakesTheMedianOfItsPairs)
{
    SyncMeter meter;
    for (const std::int64_t offset : {100, 5'000'000, 300, 200, -9'000'000}) {
        meter.addFlash({offset, 0});
        meter.addBeep({0, 0});
    }
    EXPECT_EQ(meter.pairs(), 5U);
    EXPECT_EQ(meter.timeOffset(), 200);
}

TEST(SyncMeter, DoesNotPairWhatIsOfAnotherSecondOrConnection)
{
    SyncMeter meter;
    meter.addFlash({0, 0});
    meter.addBeep({0, HnsPerSecond});
    EXPECT_EQ(meter.pairs(), 0U);
    meter.forget();
    meter.addFlash({0, HnsPerSecond});
    EXPECT_EQ(meter.pairs(), 0U);
}

} // namespace
