#include "host/pipeline/StreamPace.h"

#include <algorithm>

namespace host
{

namespace
{

// Lateness that may stay: half of what leaving a sample out takes back, and little enough for the other streams, whose
// samples wait meanwhile.
const HnsTime MostTolerated = HnsTime::milliseconds(20);
// How long a sample that is to be left out waits for the one in whose place it is left out.
const HnsTime LongestWaitForNext = HnsTime::milliseconds(100);
// A sink that is kept longer by one sample of another stream does not do so sample after sample.
const HnsTime LongestBlock = HnsTime::milliseconds(100);
// A stream that has been late may burst again when it has done well for so long.
const HnsTime Probation = HnsTime::seconds(1);

HnsTime later(HnsTime left, HnsTime right)
{
    return left < right ? right : left;
}

HnsTime sooner(HnsTime left, HnsTime right)
{
    return left < right ? left : right;
}

} // namespace

const HnsTime StreamPace::mostHeld = HnsTime::milliseconds(150);
const HnsTime StreamPace::patience = HnsTime::milliseconds(200);

bool StreamPace::arrive(HnsTime now, HnsTime duration)
{
    m_duration = later(duration, 0);
    m_arrival = now;
    const bool inTime = !(tolerance() < lateness(now));
    if (inTime)
        m_lateSince.reset();
    else if (!m_lateSince)
        m_lateSince = now;
    if (m_lateSince && !(now - *m_lateSince < patience)) {
        m_takingBack = true;
        m_leftOut = false;
    }
    if (m_begins) {
        m_strictUntil = now + patience;
        m_leftOut = false;
        m_begins = false;
    }
    if (!inTime)
        m_lastLoss = now;
    if (Probation < now - m_lastLoss)
        m_takingBack = false;
    return mayGo(now);
}

bool StreamPace::mayGo(HnsTime now) const
{
    const HnsTime ahead = held() * m_duration;
    const bool hasRoom = m_held.empty() || (m_held.size() < mostSamples && ahead < mostHeld);
    if (!hasRoom || now < recheckTime())
        return false;
    // While lateness is taken back the sink holds nothing of the stream but what waits for other streams.
    return !isTakingBack() || !(m_blocked < ahead);
}

HnsTime StreamPace::recheckTime() const
{
    const HnsTime turn = m_turn.value_or(m_arrival);
    if (!isTakingBack())
        return turn - mostHeld;
    const HnsTime inTime = turn - tolerance();
    const HnsTime wait = sooner(m_duration + m_duration / 2, LongestWaitForNext);
    return m_leftOut || !m_lateSince ? inTime : later(inTime, m_arrival + wait);
}

void StreamPace::handOver(HnsTime now)
{
    m_turn = nextTurn(m_turn, now, m_duration);
    m_held.reserve(mostSamples);
    m_held.push_back({now, m_duration});
}

void StreamPace::leaveOut(HnsTime now)
{
    m_leftOut = true;
    m_lastLoss = now;
    if (m_takingBack && m_lateSince)
        m_lateSince = now;
}

void StreamPace::comeBack(HnsTime now, HnsTime handedOver, HnsTime idleSince)
{
    const auto found =
        std::find_if(m_held.begin(), m_held.end(), [&](const Held &sample) { return sample.handedOver == handedOver; });
    if (found == m_held.end())
        return;
    const Held sample = *found;
    m_held.erase(found);
    const HnsTime call = later(idleSince, handedOver);
    const HnsTime work = now - call;
    const HnsTime blocked = sooner(call - later(handedOver, m_lastReturn), LongestBlock);
    m_blocked = later(m_blocked * 15 / 16, blocked); // half of it is forgotten after eleven samples
    m_lastReturn = now;
    m_turnAfter = nextTurn(m_turnAfter, call, sample.duration);
    m_turn = m_turnAfter;
    for (const Held &other : m_held)
        m_turn = nextTurn(m_turn, now, other.duration);
    // Work that took next to no time says that the sink was busy with another stream.
    if (HnsTime(sample.duration / 4) < work)
        m_turn = later(*m_turn, now + held() * later(sample.duration, work));
}

HnsTime StreamPace::lateness(HnsTime now) const
{
    return m_turn ? later(*m_turn - now, 0) : HnsTime(0);
}

HnsTime StreamPace::tolerance() const
{
    return later(sooner(m_duration / 2, MostTolerated), m_blocked - m_duration);
}

// The turn behind a sample that is brought at `call`. The first has its turn at once.
HnsTime StreamPace::nextTurn(const std::optional<HnsTime> &turn, HnsTime call, HnsTime duration)
{
    return turn ? later(*turn, call - duration) + duration : call + duration;
}

} // namespace host
