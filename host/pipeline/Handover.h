#pragma once

#include "host/pipeline/DeclaredRate.h"
#include "host/pipeline/SampleLoans.h"
#include "host/pipeline/StreamPace.h"

#include <QtCore/QString>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace host
{

// What goes through one port, for people and programs. Times in milliseconds.
struct PortFigures {
    QString name;                        // of the sink and the kind of its samples
    unsigned long long samples = 0;      // handed to the sink
    unsigned held = 0;                   // of them, those that it has not given back
    double heldMs = 0.0;                 // since the oldest of those arrived
    double latencyMedianMs = 0.0;        // from a sample's arrival until the sink gave it back, over the last 64
    double latencyMaxMs = 0.0;           // of these 64
    unsigned long long leftOutFirst = 0; // samples left out in the first moments of a stream
    unsigned long long leftOutLate = 0;  // samples left out to take back lateness that stayed
    unsigned long long leftOutFull = 0;  // samples left out because the sink held as much as it may
};

// Shared by the ports of one media sink, which does its work on one thread: when it last gave a sample back.
struct SinkActivity {
    std::atomic<long long> lastReturn{0};
};

// The samples between one stream and its sink: those that the sink holds, and the newest of a live stream as long as it
// may not go. Counts all of them.
//
// Threads: any.
class Handover
{
public:
    // The name is for the figures.
    Handover(QString name, std::shared_ptr<SinkActivity> activity);
    Handover(const Handover &) = delete;
    Handover &operator=(const Handover &) = delete;
    ~Handover();

    // `returned` is called for each sample that the sink has given back, until close(), and has to pass it to
    // comeBack().
    void open(SampleLoans::ReturnFunction returned);
    void close();
    void setRate(const DeclaredRate &rate);

    // What comes next is another stream's. Leaves out the sample that waits.
    void begin();
    // What to hand to the sink in place of that sample.
    CComPtr<IMFSample> lend(IMFSample *sample);
    // A live stream's next sample. It waits from now on; one that has waited is left out.
    void arrive(IMFSample *sample);
    bool hasWaiting() const;
    // Milliseconds until the sample that waits may go: 0 when it may now, none when no sample waits, or nothing helps
    // but one that comes back.
    std::optional<unsigned> delay() const;
    // What to hand to the sink for the sample that waits; null when none does.
    CComPtr<IMFSample> takeWaiting();
    // Leaves out the sample that waits.
    void dropWaiting();
    // How many samples a stream that can wait may hand over now.
    unsigned room() const;
    // The sink has given that sample back. Whether one waits.
    bool comeBack(const SampleLoans::Term &term);

    PortFigures figures() const;

private:
    CComPtr<IMFSample> lendAt(IMFSample *sample, HnsTime arrival, HnsTime now);
    void leaveOut(HnsTime now);

    const std::shared_ptr<SinkActivity> m_activity;
    CComPtr<SampleLoans> m_loans; // fixed from open() on
    mutable std::mutex m_lock;    // guards what follows; no sink or stream is called with it held
    DeclaredRate m_rate;
    StreamPace m_pace;
    CComPtr<IMFSample> m_waiting;
    HnsTime m_waitingSince;
    std::vector<HnsTime> m_out; // when those arrived that the sink holds
    std::array<long long, 64> m_latencies{};
    unsigned long long m_returned = 0;
    PortFigures m_counts; // its name and counters alone
};

} // namespace host
