#pragma once

// What happened in a run.

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstdint>

namespace ndisend
{

// One of the two lights of a tally.
struct TallyLight {
    bool on = false;
    bool seenOn = false;
    bool seenOffAgain = false;

    void set(bool nowOn)
    {
        seenOffAgain = seenOffAgain || (on && !nowOn);
        seenOn = seenOn || nowOn;
        on = nowOn;
    }
};

struct ReceiverRecord {
    TallyLight program;
    TallyLight preview;
    std::int64_t tallyChanges = 0;
    int connections = 0;
    int mostConnections = 0;
};

struct Summary {
    QString name;
    QString ended; // "limit", "input" or "interrupt"
    std::int64_t videoFrames = 0;
    std::int64_t audioFrames = 0;
    std::int64_t audioSamples = 0; // per channel
    std::int64_t metadataFrames = 0;
    std::int64_t lateFrames = 0; // sent more than a frame after their time
    double seconds = 0;
    ReceiverRecord receivers;

    QByteArray toJson() const;
};

} // namespace ndisend
