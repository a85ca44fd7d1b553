#include "host/pipeline/Handover.h"

#include "host/Log.h"
#include "host/pipeline/ComFactory.h"

#include <algorithm>
#include <utility>

namespace host
{

namespace
{

// One that is sent, and one for when it is: more would only wait.
constexpr unsigned MostAhead = 2;
const HnsTime LogInterval = HnsTime::seconds(1);

double milliseconds(long long hns)
{
    return static_cast<double>(hns) / 1e4;
}

} // namespace

Handover::Handover(QString name, std::shared_ptr<SinkActivity> activity)
    : m_name(std::move(name)), m_activity(std::move(activity))
{
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

CComPtr<IMFSample> Handover::lend(IMFSample *sample)
{
    const HnsTime now = HnsTime::systemTime();
    const std::lock_guard<std::mutex> guard(m_lock);
    m_pace.arrive(now, m_rate.duration(sample));
    return lendAt(sample, now, now);
}

void Handover::arrive(IMFSample *sample)
{
    CComPtr<IMFSample> dropped; // goes after the lock
    const HnsTime now = HnsTime::systemTime();
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

bool Handover::mayGo() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_waiting && m_pace.mayGo(HnsTime::systemTime());
}

unsigned Handover::recheckDelay() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const HnsTime delay = m_pace.recheckTime() - HnsTime::systemTime();
    return HnsTime(0) < delay ? static_cast<unsigned>(delay.toMilliseconds() + 1) : 0;
}

CComPtr<IMFSample> Handover::takeWaiting()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    const CComPtr<IMFSample> sample = std::exchange(m_waiting, nullptr);
    return sample ? lendAt(sample, m_waitingSince, HnsTime::systemTime()) : nullptr;
}

void Handover::dropWaiting()
{
    CComPtr<IMFSample> dropped; // goes after the lock
    const std::lock_guard<std::mutex> guard(m_lock);
    dropped = std::exchange(m_waiting, nullptr);
    if (dropped)
        leaveOut(HnsTime::systemTime());
}

unsigned Handover::room() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return MostAhead - std::min(m_pace.held(), MostAhead);
}

bool Handover::comeBack(const SampleLoans::Term &term)
{
    const HnsTime now = HnsTime::systemTime();
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
    const HnsTime now = HnsTime::systemTime();
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
    ++(m_pace.isTakingBack() ? m_counts.leftOutLate : m_counts.leftOutFull);
    const bool isBeginning = m_pace.isBeginning();
    m_pace.leaveOut(now);
    if (isBeginning || now - m_lastLog < LogInterval)
        return;
    qCWarning(lcHost).noquote() << m_name << "left out:" << m_counts.leftOutLate - m_logged.leftOutLate << "late,"
                                << m_counts.leftOutFull - m_logged.leftOutFull << "with no room for them";
    m_logged = m_counts;
    m_lastLog = now;
}

} // namespace host
