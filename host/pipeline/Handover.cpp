#include "host/pipeline/Handover.h"

#include "host/pipeline/ComFactory.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace host
{

namespace
{

// One that is sent, and one for when it is: more would only wait.
constexpr unsigned MostAhead = 2;

// Not the system's time, which somebody may set.
HnsTime steadyTime()
{
    using Hns = std::chrono::duration<long long, std::ratio<1, 10000000>>;
    return std::chrono::duration_cast<Hns>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double milliseconds(long long hns)
{
    return static_cast<double>(hns) / 1e4;
}

} // namespace

Handover::Handover(QString name, std::shared_ptr<SinkActivity> activity) : m_activity(std::move(activity))
{
    m_counts.name = std::move(name);
    m_out.reserve(StreamPace::mostSamples);
}

Handover::~Handover()
{
    close();
}

void Handover::open(SampleLoans::ReturnFunction returned)
{
    m_loans = createObject<SampleLoans>(std::move(returned));
}

void Handover::close()
{
    if (m_loans)
        m_loans->close();
}

void Handover::setRate(const DeclaredRate &rate)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_rate = rate;
}

void Handover::begin()
{
    dropWaiting();
    const std::lock_guard<std::mutex> guard(m_lock);
    m_pace.begin();
}

CComPtr<IMFSample> Handover::lend(IMFSample *sample)
{
    const HnsTime now = steadyTime();
    const std::lock_guard<std::mutex> guard(m_lock);
    m_pace.arrive(now, m_rate.duration(sample));
    return lendAt(sample, now, now);
}

void Handover::arrive(IMFSample *sample)
{
    CComPtr<IMFSample> dropped; // goes after the lock
    const HnsTime now = steadyTime();
    const std::lock_guard<std::mutex> guard(m_lock);
    dropped = std::exchange(m_waiting, sample);
    if (dropped)
        leaveOut(now);
    m_waitingSince = now;
    m_pace.arrive(now, m_rate.duration(sample));
}

bool Handover::hasWaiting() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_waiting != nullptr;
}

std::optional<unsigned> Handover::delay() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const HnsTime now = steadyTime();
    if (!m_waiting)
        return {};
    if (m_pace.mayGo(now))
        return 0;
    const HnsTime delay = m_pace.recheckTime() - now;
    if (!(HnsTime(0) < delay))
        return {};
    return static_cast<unsigned>(delay.toMilliseconds() + 1);
}

CComPtr<IMFSample> Handover::takeWaiting()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const CComPtr<IMFSample> sample = std::exchange(m_waiting, nullptr);
    return sample ? lendAt(sample, m_waitingSince, steadyTime()) : nullptr;
}

void Handover::dropWaiting()
{
    CComPtr<IMFSample> dropped; // goes after the lock
    const std::lock_guard<std::mutex> guard(m_lock);
    dropped = std::exchange(m_waiting, nullptr);
    if (dropped)
        leaveOut(steadyTime());
}

unsigned Handover::room() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return MostAhead - std::min(m_pace.held(), MostAhead);
}

bool Handover::comeBack(const SampleLoans::Term &term)
{
    const HnsTime now = steadyTime();
    const HnsTime idleSince = m_activity->lastReturn.exchange(now);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_pace.comeBack(now, term.handOver, idleSince);
    const auto held = std::find(m_out.begin(), m_out.end(), term.arrival);
    if (held != m_out.end())
        m_out.erase(held);
    m_latencies[m_returned++ % m_latencies.size()] = now - term.arrival;
    return m_waiting != nullptr;
}

PortFigures Handover::figures() const
{
    const HnsTime now = steadyTime();
    const std::lock_guard<std::mutex> guard(m_lock);
    PortFigures figures = m_counts;
    figures.held = static_cast<unsigned>(m_out.size());
    const auto oldest = std::min_element(m_out.begin(), m_out.end());
    figures.heldMs = oldest == m_out.end() ? 0.0 : milliseconds(now - *oldest);
    std::array<long long, 64> latencies = m_latencies;
    const auto end =
        latencies.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(m_returned, latencies.size()));
    if (end != latencies.begin()) {
        std::sort(latencies.begin(), end);
        figures.latencyMedianMs = milliseconds(latencies[static_cast<std::size_t>(end - latencies.begin()) / 2]);
        figures.latencyMaxMs = milliseconds(*(end - 1));
    }
    return figures;
}

// Without memory for one of its own the sink gets the sample itself, of which nothing is heard.
CComPtr<IMFSample> Handover::lendAt(IMFSample *sample, HnsTime arrival, HnsTime now)
{
    ++m_counts.samples;
    CComPtr<IMFSample> lent = m_loans ? m_loans->lend(sample, {arrival, now}) : nullptr;
    if (!lent)
        return sample;
    m_pace.handOver(now);
    m_out.push_back(arrival);
    return lent;
}

void Handover::leaveOut(HnsTime now)
{
    if (m_pace.isBeginning())
        ++m_counts.leftOutFirst;
    else
        ++(m_pace.isTakingBack() ? m_counts.leftOutLate : m_counts.leftOutFull);
    m_pace.leaveOut(now);
}

} // namespace host
