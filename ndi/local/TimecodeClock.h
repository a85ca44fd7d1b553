#pragma once

#include "ndi/local/EvenSteps.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>

namespace localndi
{

constexpr std::int64_t hnsPerSecond = 10'000'000;

// The time since 1970 in 100 ns units.
std::int64_t wallClockHns();

// Gives the frames of one sender the timecodes that their sender left to the runtime. Frames of a kind continue evenly
// from the last explicit timecode of that kind; before there is one, they follow the other kind's by the time that has
// passed; before there is any, they carry the wall clock.
//
// Threads: any.
class TimecodeClock
{
public:
    enum Kind { Video, Audio };

    // `timecode` as the sender gave it; the frame lasts `units / rate` seconds.
    std::int64_t next(Kind kind, std::int64_t timecode, std::int64_t units, std::int64_t rate);

private:
    struct Anchor {
        std::int64_t timecode;
        std::chrono::steady_clock::time_point at;
    };

    std::int64_t synthesized(Kind kind) const;

    std::mutex m_lock;              // guards what follows
    std::optional<Anchor> m_anchor; // the last explicit timecode of any kind
    EvenSteps m_steps[2] = {EvenSteps(hnsPerSecond), EvenSteps(hnsPerSecond)};
    bool m_anchored[2] = {false, false}; // whether m_steps continues from an explicit timecode
};

} // namespace localndi
