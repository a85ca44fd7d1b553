#pragma once

// Finds the beginnings of the test tone's beeps in one channel: 10 ms of 1 kHz that begin at a level of 0.2 or more,
// after 20 ms of less. Levels may be lowered by up to 7 dB on the way. Used by one thread.

#include <cstdint>
#include <optional>

namespace pattern
{

class BeepFinder
{
public:
    explicit BeepFinder(int sampleRate); // Hz

    // The next samples. Where a beep begins that they made certain, as the number of samples that came before it.
    std::optional<std::int64_t> add(const float *samples, int count);

private:
    std::optional<std::int64_t> add(float sample);

    const std::int64_t m_quietBefore; // samples
    const std::int64_t m_window;      // samples
    std::int64_t m_place = 0;
    std::int64_t m_quiet = 0; // samples since a loud one
    std::optional<std::int64_t> m_begin;
    bool m_positive = false;
    int m_crossings = 0; // of zero since m_begin
};

} // namespace pattern
