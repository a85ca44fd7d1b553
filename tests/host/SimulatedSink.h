#pragma once

#include "host/pipeline/StreamPace.h"

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

// A sink that sends picture and sound on one thread, each in its turn, one duration after the one before: who is late
// by up to one duration catches up, what is beyond that is kept for good. It runs in a time of its own, with a pace in
// front of each stream, as a port has it. Times in milliseconds.
class SimulatedSink
{
public:
    struct Stream {
        double duration = 0.0; // as declared
        double work = 0.0;     // that sending a sample takes beyond its turn
    };
    struct Sent {
        double arrival = 0.0;
        double handedOver = 0.0;
        double returned = 0.0;
    };

    explicit SimulatedSink(const std::vector<Stream> &streams);

    // One more sample of a stream, not before those of any stream until now.
    void arrive(std::size_t stream, double time);
    // What arrives next is another stream's.
    void cut(std::size_t stream) { m_ports[stream].pace.begin(); }
    // Until all has come to an end.
    void finish() { runUntil(1e12); }
    // A sample that the sink begins to send within that time it has not sent before its end. Before the first arrival.
    void block(double from, double until);

    // In the order in which they were sent.
    const std::vector<Sent> &sent(std::size_t stream) const { return m_ports[stream].sent; }
    unsigned mostHeld(std::size_t stream) const { return m_ports[stream].mostHeld; }
    unsigned leftOut(std::size_t stream) const { return m_ports[stream].leftOut; }

private:
    struct Port {
        Stream stream;
        host::StreamPace pace;
        std::optional<double> waiting; // its arrival
        std::optional<double> due;     // the sender's next turn
        std::vector<Sent> sent;
        unsigned mostHeld = 0;
        unsigned leftOut = 0;
    };
    struct Job {
        std::size_t stream = 0;
        Sent sample;
    };

    void runUntil(double time);
    void send(); // the first of the queue
    void passOn(std::size_t stream);

    std::vector<Port> m_ports;
    std::deque<Job> m_queue;
    std::multimap<double, std::function<void()>> m_events;
    double m_now = 0.0;
    double m_blockedFrom = 0.0;
    double m_blockedUntil = 0.0;
    double m_lastReturn = 0.0;
    bool m_sending = false;
};
