#include "pattern/TestTone.h"

#include <algorithm>
#include <cmath>

namespace pattern
{

namespace
{

constexpr double Pi = 3.14159265358979323846;
constexpr float ToneLevel = 0.1F;
constexpr float BeepLevel = 0.5F;

} // namespace

TestTone::TestTone(int sampleRate) : m_sine(static_cast<std::size_t>(sampleRate))
{
    for (int i = 0; i < sampleRate; ++i)
        m_sine[static_cast<std::size_t>(i)] = static_cast<float>(std::sin(2.0 * Pi * i / sampleRate));
}

void TestTone::render(int channel, std::int64_t first, int count, bool beep, float *out) const
{
    const auto rate = static_cast<std::int64_t>(m_sine.size());
    const std::int64_t hertz = beep ? BeepHz : toneHz(channel);
    if (hertz * 2 >= rate) {
        std::fill_n(out, count, 0.0F);
        return;
    }

    const float level = beep ? BeepLevel : ToneLevel;
    std::int64_t phase = first % rate * hertz % rate;
    for (int i = 0; i < count; ++i) {
        out[i] = level * m_sine[static_cast<std::size_t>(phase)];
        phase += hertz;
        if (phase >= rate)
            phase -= rate;
    }
}

} // namespace pattern
