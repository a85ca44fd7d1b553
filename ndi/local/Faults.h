#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace localndi
{

// What a real codec, network or discovery does to callers and this runtime does not unless the environment asks for it.
struct Faults {
    std::chrono::milliseconds sendTime{0}; // that a video frame takes a sender at least
    std::chrono::seconds deafTime{0};      // after another finder, one that is made hears nothing
    std::chrono::milliseconds jitter{0};   // the most that a frame arrives late
    std::int64_t lossPeriod = 0;           // every n-th video frame is lost; 0: none
    std::string description;               // the variables that are on, as they stand
};

// What is no whole number from 1 to a million is no fault. `variable` gives the value of an environment variable, empty
// when it is not set.
Faults readFaults(const std::function<std::string(const char *name)> &variable);

// Those of this process, as they were when first asked for. Threads: any.
const Faults &faults();

} // namespace localndi
