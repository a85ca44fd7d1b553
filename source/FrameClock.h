#pragma once

#include "hostfw/HnsTime.h"

#include <cstdint>

// How frame times are counted since the receiver was made. Touched only where frames are captured.
struct FrameClock {
    int64_t origin = 0; // the timecode that counts as the receiver's start, 100 ns units; 0: no frame seen yet
    HnsTime startTime;  // system time at which the receiver was made
    HnsTime videoTime;
    HnsTime audioTime;
};

// Timecodes come from the network: sums and differences of them wrap around instead of overflowing.
inline int64_t wrappingSum(int64_t left, int64_t right)
{
    return static_cast<int64_t>(static_cast<uint64_t>(left) + static_cast<uint64_t>(right));
}

inline int64_t wrappingDifference(int64_t left, int64_t right)
{
    return static_cast<int64_t>(static_cast<uint64_t>(left) - static_cast<uint64_t>(right));
}
