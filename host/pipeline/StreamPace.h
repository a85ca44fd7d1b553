#pragma once

#include "hostfw/HnsTime.h"

#include <optional>
#include <vector>

namespace host
{

// Decides which samples of a live stream go to a sink that sends each in its turn, one declared duration after the one
// before, and never catches up: what such a sink is given too much or too late makes everything behind it late for
// good. The only remedy is to leave samples out before they are handed over.
//
// Lateness is how long a sample handed over now would wait for its turn. The pace reckons it the way such a sink does:
// a turn comes one duration after the last, and who comes late for it by up to one duration may catch up. When a sample
// comes back it is known when that one's turn was; samples that wait behind one that took long show that the sink is
// further behind.
//
// A burst passes whole as long as the sink holds no more than `mostHeld`. Lateness that stays for `patience` is taken
// back: samples are left out, at least one, until the sink holds none of the stream's and the next would go at once.
// Whoever asks keeps the newest sample at hand meanwhile and offers it when recheckTime() has come or a sample has come
// back. Lateness that other streams of the sink cause is not taken back: it would come again. A stream's beginning is
// treated as lateness that has stayed: what is left out before anybody watches is missed by nobody.
//
// Times are those of one steady clock, given by the caller. Threads: one at a time.
class StreamPace
{
public:
    // A sink holds that much at most, in time and in samples; one sample in any case.
    static const HnsTime mostHeld;
    static constexpr unsigned mostSamples = 32;
    static const HnsTime patience;

    // The sample that comes next is the first of another stream, and its times have nothing to do with those before.
    void begin() { m_begins = true; }
    // A new sample that lasts so long, 0 if that is not known. Whether it may go at once.
    bool arrive(HnsTime now, HnsTime duration);
    // The same for the sample that came last and has waited since.
    bool mayGo(HnsTime now) const;
    // When mayGo() may turn true though nothing comes back.
    HnsTime recheckTime() const;

    // What became of it.
    void handOver(HnsTime now);
    void leaveOut(HnsTime now);
    // The one that was handed over then has come back. The sink was busy with others until `idleSince`.
    void comeBack(HnsTime now, HnsTime handedOver, HnsTime idleSince);

    unsigned held() const { return static_cast<unsigned>(m_held.size()); }
    HnsTime lateness(HnsTime now) const;
    // Lateness is being taken back; otherwise samples are left out because the sink is full.
    bool isTakingBack() const { return m_takingBack || isBeginning(); }
    // The stream has only just begun.
    bool isBeginning() const { return m_arrival < m_strictUntil; }

private:
    // A sample that the sink holds.
    struct Held {
        HnsTime handedOver;
        HnsTime duration;
    };

    HnsTime tolerance() const;
    static HnsTime nextTurn(const std::optional<HnsTime> &turn, HnsTime call, HnsTime duration);

    HnsTime m_duration;                 // of the sample that came last
    HnsTime m_arrival;                  // of that sample
    std::vector<Held> m_held;           // the oldest first
    std::optional<HnsTime> m_turnAfter; // the turn behind the sample that came back last
    std::optional<HnsTime> m_turn;      // of a sample handed over now; none before the first
    HnsTime m_lastReturn;
    HnsTime m_blocked;     // how long other streams have kept the sink from this one's samples lately, at most
    HnsTime m_strictUntil; // after the stream's beginning
    bool m_begins = true;
    std::optional<HnsTime> m_lateSince; // none while samples come in time
    bool m_takingBack = false;
    bool m_leftOut = false; // one sample at least, of the lateness that is being taken back
    HnsTime m_lastLoss;     // when a sample was left out or came late
};

} // namespace host
