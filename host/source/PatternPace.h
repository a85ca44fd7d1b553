#pragma once

#include "hostfw/HnsTime.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace host
{

// The time of a test pattern, shared by its streams, and the wait for the next frame. Thread-safe.
class PatternPace
{
public:
    // Frames further behind than this are left out, as a live source does.
    static constexpr long long Patience = 2000000; // 100 ns units

    explicit PatternPace(bool paced) : m_paced(paced) {}

    // Frame 0 is due now.
    void start();
    // Ends all waits.
    void stop();

    // Waits until the time `due`, counted from the start. False when the pattern is stopped meanwhile.
    bool waitFor(HnsTime due);
    // How far the pattern is past that time; never positive when it is not paced.
    HnsTime lateness(HnsTime due) const;

private:
    const bool m_paced;
    mutable std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    bool m_running = false;
    std::uint64_t m_run = 0;
    long long m_start = 0; // steady clock
};

} // namespace host
