// What a hand-over to a thread that sleeps takes on this machine, with nothing handed over: no queue, no allocation, no
// work. The ways of the samples cannot be shorter than a copy and as many of these as they change threads.

#include "bench/Rounds.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace
{

using bench::Clock;

class Sleeper
{
public:
    Sleeper() : m_thread([this] { run(); }) {}
    ~Sleeper()
    {
        wake(true);
        m_thread.join();
    }
    Sleeper(const Sleeper &) = delete;
    Sleeper &operator=(const Sleeper &) = delete;

    void wake() { wake(false); }
    // When the thread ran that was woken.
    Clock::time_point waitForRun()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_woken; });
        return m_ran;
    }

private:
    void wake(bool end)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_woken = true;
            m_ended = end;
        }
        m_wake.notify_one();
    }
    void run()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_ended) {
            m_wake.wait(lock, [this] { return m_woken; });
            m_ran = Clock::now();
            m_woken = false;
            m_changed.notify_one();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_changed;
    // Guarded by the mutex.
    bool m_woken = false;
    bool m_ended = false;
    Clock::time_point m_ran;
    std::thread m_thread;
};

enum class Measured { Caller, Woken };

void handOver(benchmark::State &state, Measured measured)
{
    Sleeper sleeper;
    bench::Rounds rounds(state, state.range(0));
    for (auto unused : state) {
        static_cast<void>(unused);
        rounds.wait();
        const Clock::time_point begin = Clock::now();
        sleeper.wake();
        const Clock::time_point back = Clock::now();
        const Clock::time_point ran = sleeper.waitForRun();
        rounds.add((measured == Measured::Caller ? back : ran) - begin);
    }
}

// How long the one that wakes is kept.
void notifyThread(benchmark::State &state)
{
    handOver(state, Measured::Caller);
}

// How long it takes until the one that is woken runs.
void wakeThread(benchmark::State &state)
{
    handOver(state, Measured::Woken);
}

BENCHMARK(notifyThread)->Apply(bench::busy);
BENCHMARK(wakeThread)->Apply(bench::busy);
BENCHMARK(notifyThread)->Apply(bench::live);
BENCHMARK(wakeThread)->Apply(bench::live);

} // namespace
