#pragma once

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace bench
{

using Clock = std::chrono::steady_clock;

// The paces of a benchmark's rounds. At once: one straight after the other, whether or not the threads behind it sleep
// already. The others are rounds a second: those of one live stream, before each of which threads and processors sleep
// and the caches have gone cold, and those of a host with many streams, whose caches are warm.
constexpr std::int64_t AtOnce = 0;
constexpr std::int64_t Live = 60;
constexpr std::int64_t Busy = 1000;

// The rounds of a benchmark that takes the time of each by itself, and tells the median beside the mean: a few rounds
// in which another process had the processor must not count.
class Rounds
{
public:
    Rounds(benchmark::State &state, std::int64_t pace);
    Rounds(const Rounds &) = delete;
    Rounds &operator=(const Rounds &) = delete;
    ~Rounds();

    // Until the next round is due.
    void wait();
    // What the round took.
    void add(Clock::duration taken);

private:
    benchmark::State &m_state;
    const std::int64_t m_pace;
    Clock::time_point m_due = Clock::now();
    std::vector<double> m_microseconds;
};

// The arguments: those of pictureSizes(), or none, and the pace. Whoever is paced takes the time of each round.
void picturesAtOnce(benchmark::internal::Benchmark *benchmark);
void picturesLive(benchmark::internal::Benchmark *benchmark);
void atOnce(benchmark::internal::Benchmark *benchmark);
void live(benchmark::internal::Benchmark *benchmark);
void busy(benchmark::internal::Benchmark *benchmark);

} // namespace bench
