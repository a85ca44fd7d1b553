#pragma once

#include "hostfw/HnsTime.h"
#include "recording/Histogram.h"

#include <array>
#include <cstdint>

namespace host
{

inline constexpr double HnsPerMs = 10000.0;

// What is known about a stream by the times of its samples. All of it is of fixed size.
struct StreamFigures {
    std::uint64_t samples = 0;
    std::uint64_t typeChanges = 0;
    // Places where the next sample's time lies more than half a sample behind the end of the one before, and the time
    // that is missing there.
    std::uint64_t gaps = 0;
    double missingMs = 0.0;
    // Times that ran backwards or jumped by more than ten seconds: a sender or a source that began anew.
    std::uint64_t restarts = 0;
    // Samples a second by arrival, over the last 64; 0 when the last one came more than two seconds ago.
    double rate = 0.0;
    // Arrival against sample time, above the best arrival so far: what the way adds to its own minimum.
    double jitterMedianMs = 0.0;
    double jitter95Ms = 0.0;
    double jitterMaxMs = 0.0;
    // Smoothed arrival minus sample time, on the machine's steady clock; only differences between streams mean
    // anything.
    double lagMs = 0.0;
};

// Computes StreamFigures. Not thread-safe.
class StreamMeter
{
public:
    // All times in 100 ns units; `arrival` on a steady clock.
    void addSample(HnsTime arrival, HnsTime time, HnsTime duration);
    void addTypeChange();
    StreamFigures figures(HnsTime now) const;

private:
    void addTime(HnsTime time, HnsTime duration);
    void addArrival(HnsTime arrival, HnsTime time);

    static constexpr std::size_t Window = 64;

    StreamFigures m_figures;
    recording::Histogram m_jitter;
    long long m_expected = 0; // end of the last sample
    long long m_minimumLag = 0;
    bool m_hasLast = false;
    std::array<long long, Window> m_arrivals{}; // a ring; the sample count tells the place
};

} // namespace host
