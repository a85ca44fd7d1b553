#include "ndi/tools/ndi-recv/GapCounter.h"

#include "pattern/FrameRate.h"

#include <algorithm>

namespace ndirecv
{

namespace
{
constexpr std::int64_t LargestGap = 10 * pattern::HnsPerSecond;
} // namespace

Step stepOfNumbers(std::uint64_t before, std::uint64_t now)
{
    Step step;
    step.isRepeated = now == before;
    step.isRestart = now < before;
    if (now > before)
        step.lost = static_cast<std::int64_t>(now - before - 1);
    return step;
}

Step stepOfTimes(std::int64_t before, std::int64_t now, std::int64_t duration)
{
    Step step;
    step.isRepeated = now == before;
    // Far apart as two numbers may be, their difference in unsigned arithmetic is right.
    const std::uint64_t distance = static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(before);
    step.isRestart = now < before || distance > static_cast<std::uint64_t>(LargestGap);
    if (step.isRestart || duration <= 0)
        return step;
    const std::int64_t late = static_cast<std::int64_t>(distance) - duration;
    if (late > duration / 2) {
        step.lost = std::max<std::int64_t>((late + duration / 2) / duration, 1);
        step.lostTime = late;
    }
    return step;
}

} // namespace ndirecv
