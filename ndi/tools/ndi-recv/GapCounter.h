#pragma once

// What is missing between two things that follow one another: by their numbers, or by their times.

#include <cstdint>

namespace ndirecv
{

struct Step {
    std::int64_t lost = 0;
    std::int64_t lostTime = 0; // 100 ns units; of times only
    bool isRepeated = false;   // the same once more
    bool isRestart = false;    // the sender began anew
};

// From one frame number to the next.
Step stepOfNumbers(std::uint64_t before, std::uint64_t now);

// From one timecode to the next, in 100 ns units. What came before lasts `duration` (0: unknown, then nothing is
// missed). More than half of that too much is a loss; more than ten seconds, or a step backwards, a restart.
Step stepOfTimes(std::int64_t before, std::int64_t now, std::int64_t duration);

} // namespace ndirecv
