#pragma once

// By how much the picture of the test pattern comes later than its sound: from the flashes and the beeps that begin on
// the same frame where they are made. Used by one thread.

#include <cstdint>
#include <deque>
#include <optional>

namespace pattern
{

// When a flash or a beep begins: by the stream's own time, and by the clock of who receives it; 100 ns units.
struct SyncMark {
    std::int64_t time = 0;
    std::int64_t arrival = 0;
};

class SyncMeter
{
public:
    void addFlash(const SyncMark &flash);
    void addBeep(const SyncMark &beep);
    // What has no counterpart yet will have none.
    void forget();

    // Pairs of a flash and a beep that came within half a second.
    std::uint64_t pairs() const { return m_pairs; }
    // The medians of the last pairs in 100 ns units, positive when the picture is late; nothing before the first pair.
    std::optional<std::int64_t> timeOffset() const;
    std::optional<std::int64_t> arrivalOffset() const;

private:
    void match();

    std::optional<SyncMark> m_flash;
    std::optional<SyncMark> m_beep;
    std::deque<SyncMark> m_offsets;
    std::uint64_t m_pairs = 0;
};

} // namespace pattern
