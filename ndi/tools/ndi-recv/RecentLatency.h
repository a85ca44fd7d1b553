#pragma once

#include <cstdint>
#include <deque>
#include <optional>

namespace ndirecv
{

// The latencies of the last two seconds of a stream, of its last thousand frames at most. Used by one thread.
class RecentLatency
{
public:
    // `arrival` in 100 ns units.
    void add(double milliseconds, std::int64_t arrival);
    // Nothing when there are none.
    std::optional<double> median() const;

private:
    struct Value {
        double milliseconds;
        std::int64_t arrival;
    };

    std::deque<Value> m_values; // the oldest first
};

} // namespace ndirecv
