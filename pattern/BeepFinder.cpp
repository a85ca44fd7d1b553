#include "pattern/BeepFinder.h"

#include "pattern/TestTone.h"

#include <cmath>
#include <cstdlib>

namespace pattern
{

namespace
{

constexpr float LoudLevel = 0.2F; // between the tone's level and the beep's
constexpr int WindowCrossings = 2 * TestTone::BeepHz / 100;

} // namespace

BeepFinder::BeepFinder(int sampleRate) : m_quietBefore(sampleRate / 50), m_window(sampleRate / 100) {}

std::optional<std::int64_t> BeepFinder::add(const float *samples, int count)
{
    std::optional<std::int64_t> found;
    for (int i = 0; i < count; ++i) {
        if (const auto begin = add(samples[i]))
            found = begin;
    }
    return found;
}

std::optional<std::int64_t> BeepFinder::add(float sample)
{
    std::optional<std::int64_t> found;
    const bool isLoud = std::abs(sample) >= LoudLevel;
    if (m_begin) {
        if ((sample > 0) != m_positive) {
            m_positive = !m_positive;
            ++m_crossings;
        }
        if (m_place - *m_begin >= m_window) {
            if (std::abs(m_crossings - WindowCrossings) <= 1)
                found = m_begin;
            m_begin.reset();
        }
    } else if (isLoud && m_quiet >= m_quietBefore) {
        m_begin = m_place;
        m_positive = sample > 0;
        m_crossings = 0;
    }
    m_quiet = isLoud ? 0 : m_quiet + 1;
    ++m_place;
    return found;
}

} // namespace pattern
