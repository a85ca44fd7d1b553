#pragma once

// Counts what the whole process takes from the heap, all threads and all libraries, by standing in front of malloc and
// its kin; operator new ends there too.

#include <benchmark/benchmark.h>

#include <cstdint>

namespace bench
{

std::uint64_t allocationCount();

// Reports the allocations of each iteration that were made during the object's lifetime, as "allocs/frame".
class AllocationReport
{
public:
    explicit AllocationReport(benchmark::State &state) : m_state(state), m_before(allocationCount()) {}
    ~AllocationReport()
    {
        m_state.counters["allocs/frame"] =
            benchmark::Counter(static_cast<double>(allocationCount() - m_before), benchmark::Counter::kAvgIterations);
    }

    AllocationReport(const AllocationReport &) = delete;
    AllocationReport &operator=(const AllocationReport &) = delete;

private:
    benchmark::State &m_state;
    const std::uint64_t m_before;
};

} // namespace bench
