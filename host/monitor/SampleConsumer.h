#pragma once

#include "hostfw/HnsTime.h"

#include <mfobjects.h>

namespace host
{

// What looks at the samples of one stream of the monitor. Called by one thread at a time, in stream order.
class SampleConsumer
{
public:
    virtual ~SampleConsumer() = default;

    virtual const GUID &majorType() const = 0;
    virtual bool takes(IMFMediaType *type) const = 0;
    virtual void typeChanged(IMFMediaType *type) = 0;
    // `arrival`: when the stream sink was given the sample, on the machine's steady clock.
    virtual void sample(IMFSample *sample, HnsTime arrival) = 0;
};

// The machine's steady clock, on which the pattern's send times are given too.
HnsTime steadyNow();

} // namespace host
