#include "tests/host/SimulatedSink.h"

#include <algorithm>

namespace
{

HnsTime hns(double milliseconds)
{
    return static_cast<long long>(milliseconds * 1e4);
}

} // namespace

SimulatedSink::SimulatedSink(const std::vector<Stream> &streams)
{
    for (const Stream &stream : streams) {
        m_ports.emplace_back();
        m_ports.back().stream = stream;
    }
}

void SimulatedSink::block(double from, double until)
{
    m_blockedFrom = from;
    m_blockedUntil = until;
}

void SimulatedSink::arrive(std::size_t stream, double time)
{
    runUntil(time);
    m_now = time;
    Port &port = m_ports[stream];
    if (port.waiting) {
        ++port.leftOut;
        port.pace.leaveOut(hns(time));
    }
    port.waiting = time;
    port.pace.arrive(hns(time), hns(port.stream.duration));
    passOn(stream);
}

void SimulatedSink::runUntil(double time)
{
    while (!m_events.empty() && m_events.begin()->first <= time) {
        const auto event = m_events.begin();
        m_now = event->first;
        const std::function<void()> function = std::move(event->second);
        m_events.erase(event);
        function();
    }
}

void SimulatedSink::passOn(std::size_t stream)
{
    Port &port = m_ports[stream];
    if (!port.waiting)
        return;
    if (!port.pace.mayGo(hns(m_now))) {
        const double recheck = static_cast<double>(static_cast<long long>(port.pace.recheckTime())) / 1e4;
        if (recheck > m_now)
            m_events.emplace(recheck, [this, stream] { passOn(stream); });
        return;
    }
    port.pace.handOver(hns(m_now));
    port.mostHeld = std::max(port.mostHeld, port.pace.held());
    m_queue.push_back({stream, {*port.waiting, m_now, 0.0}});
    port.waiting.reset();
    if (!m_sending) {
        m_sending = true;
        send();
    }
}

void SimulatedSink::send()
{
    Port &port = m_ports[m_queue.front().stream];
    const double duration = port.stream.duration;
    const double turn = port.due ? std::max(*port.due, m_now - duration) : m_now;
    port.due = turn + duration;
    double end = std::max(m_now, turn) + port.stream.work;
    if (m_now >= m_blockedFrom && m_now < m_blockedUntil)
        end = std::max(end, m_blockedUntil);
    m_events.emplace(end, [this] {
        Job done = m_queue.front();
        m_queue.pop_front();
        done.sample.returned = m_now;
        Port &from = m_ports[done.stream];
        from.sent.push_back(done.sample);
        from.pace.comeBack(hns(m_now), hns(done.sample.handedOver), hns(m_lastReturn));
        m_lastReturn = m_now;
        m_sending = !m_queue.empty();
        if (m_sending)
            send();
        passOn(done.stream);
    });
}
