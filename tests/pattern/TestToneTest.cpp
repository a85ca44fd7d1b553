#include "pattern/TestTone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using pattern::TestTone;

namespace
{

std::vector<float> render(const TestTone &tone, int channel, std::int64_t first, int count, bool beep = false)
{
    std::vector<float> samples(static_cast<std::size_t>(count), 9.0F);
    tone.render(channel, first, count, beep, samples.data());
    return samples;
}

int risingZeroCrossings(const std::vector<float> &samples)
{
    int count = 0;
    for (std::size_t i = 1; i < samples.size(); ++i)
        count += samples[i - 1] < 0 && samples[i] >= 0 ? 1 : 0;
    return count;
}

TEST(TestTone, PiecesOfAnyLengthJoinWithoutABreak)
{
    const TestTone tone(48000);
    const std::vector<float> whole = render(tone, 1, 0, 100000);
    std::vector<float> pieces;
    for (int length = 1601; pieces.size() < whole.size(); length = length == 1601 ? 1602 : 1601) {
        const auto piece = render(tone, 1, static_cast<std::int64_t>(pieces.size()), length);
        pieces.insert(pieces.end(), piece.begin(), piece.end());
    }
    pieces.resize(whole.size());
    EXPECT_EQ(pieces, whole);
}

TEST(TestTone, EachChannelHasItsOwnFrequency)
{
    const TestTone tone(48000);
    for (const int channel : {0, 1, 7, 15})
        EXPECT_NEAR(risingZeroCrossings(render(tone, channel, 0, 48000)), 440 + 110 * channel, 1);
}

TEST(TestTone, TheBeepIsLouderThanTheTone)
{
    const TestTone tone(48000);
    const auto peak = [](const std::vector<float> &samples) {
        return *std::max_element(samples.begin(), samples.end());
    };
    EXPECT_NEAR(peak(render(tone, 0, 0, 4800)), 0.1, 0.001);
    EXPECT_NEAR(peak(render(tone, 0, 0, 4800, true)), 0.5, 0.001);
    EXPECT_NEAR(risingZeroCrossings(render(tone, 3, 0, 48000, true)), 1000, 1);
}

TEST(TestTone, IsTheSameSineAfterADay)
{
    const TestTone tone(44100);
    const std::int64_t day = 86400LL * 44100;
    EXPECT_EQ(render(tone, 0, day, 1000), render(tone, 0, 0, 1000));
}

TEST(TestTone, AToneAboveTheRangeIsSilent)
{
    const TestTone tone(8000);
    for (const float sample : render(tone, 40, 0, 100))
        ASSERT_EQ(sample, 0.0F);
}

} // namespace
