#pragma once

// A test tone of which every sample follows from its place in time alone: its phase never breaks, whatever the lengths
// of the pieces. Channel c carries a sine of 440 + 110 c Hz at -20 dBFS; while the pattern flashes, every channel
// carries 1 kHz at -6 dBFS instead. A tone above the range of the sample rate is left out.

#include <cstdint>
#include <vector>

namespace pattern
{

class TestTone
{
public:
    explicit TestTone(int sampleRate); // Hz, at least 1

    // Samples first .. first + count - 1 of one channel.
    void render(int channel, std::int64_t first, int count, bool beep, float *out) const;

    static constexpr int BeepHz = 1000;
    static constexpr int toneHz(int channel) { return 440 + 110 * channel; }

private:
    std::vector<float> m_sine; // one period in as many steps as a second has samples
};

} // namespace pattern
