#pragma once

#include "ndi/local/Protocol.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace localndi
{

// A sender's tally: what any of its receivers shows. Threads: any.
class TallyBoard
{
public:
    struct Reading {
        TallyState state;
        bool changed; // since the last reading
    };

    // True when that is a change.
    bool show(TallyState state);
    // Waits for a change at most `timeout`.
    Reading read(std::chrono::milliseconds timeout);

private:
    std::mutex m_lock; // guards what follows
    std::condition_variable m_changed;
    TallyState m_state{};
    bool m_unread = false;
};

} // namespace localndi
