#include "bench/Rounds.h"

#include "bench/PictureSizes.h"

#include <algorithm>
#include <thread>

namespace bench
{

namespace
{

constexpr std::int64_t PacedSeconds = 3;

benchmark::internal::Benchmark *withPictures(benchmark::internal::Benchmark *benchmark, std::int64_t pace)
{
    benchmark->ArgNames({"w", "h", "fps"});
    for (const PictureSize &size : PictureSizes)
        benchmark->Args({size.width, size.height, pace});
    return benchmark;
}

} // namespace

Rounds::Rounds(benchmark::State &state, std::int64_t pace) : m_state(state), m_pace(pace)
{
    m_microseconds.reserve(static_cast<std::size_t>(state.max_iterations));
}

Rounds::~Rounds()
{
    if (m_microseconds.empty())
        return;
    const auto middle = m_microseconds.begin() + static_cast<std::ptrdiff_t>(m_microseconds.size() / 2);
    std::nth_element(m_microseconds.begin(), middle, m_microseconds.end());
    m_state.counters["median_us"] = *middle;
}

void Rounds::wait()
{
    if (m_pace == AtOnce)
        return;
    m_due += std::chrono::nanoseconds(std::chrono::seconds(1)) / m_pace;
    std::this_thread::sleep_until(m_due);
}

void Rounds::add(Clock::duration taken)
{
    const std::chrono::duration<double> seconds = taken;
    m_state.SetIterationTime(seconds.count());
    m_microseconds.push_back(1e6 * seconds.count());
}

void picturesAtOnce(benchmark::internal::Benchmark *benchmark)
{
    withPictures(benchmark, AtOnce);
}

void picturesLive(benchmark::internal::Benchmark *benchmark)
{
    withPictures(benchmark, Live)->UseManualTime()->Iterations(PacedSeconds * Live);
}

void atOnce(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgName("fps")->Arg(AtOnce);
}

void live(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgName("fps")->Arg(Live)->UseManualTime()->Iterations(PacedSeconds * Live);
}

void busy(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgName("fps")->Arg(Busy)->UseManualTime()->Iterations(PacedSeconds * Busy);
}

} // namespace bench
