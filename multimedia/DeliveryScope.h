#pragma once

#include "hostfw/ISource.h"

#include <atomic>

// What a request manager delivers to a stream on the calling thread, for the object's lifetime. A delivery is made
// without a lock, so a stop or a seek may come in between; by this the stream knows, under its own lock, that what it
// is given belongs to the time before.
class DeliveryScope
{
public:
    // `flushes` counts the flushes of the stream's request manager; `taken` is what it was when the delivery was taken
    // out.
    DeliveryScope(const tvx::ISourceStream *stream, const std::atomic<unsigned> &flushes, unsigned taken);
    DeliveryScope(const DeliveryScope &) = delete;
    DeliveryScope &operator=(const DeliveryScope &) = delete;
    ~DeliveryScope();

    // Whether the delivery that is being made to the stream on this thread was flushed meanwhile. False when there is
    // none.
    static bool isFlushed(const tvx::ISourceStream *stream);

private:
    static const DeliveryScope *&innermost();

    const DeliveryScope *const m_outer;
    const tvx::ISourceStream *const m_stream;
    const std::atomic<unsigned> &m_flushes;
    const unsigned m_taken;
};
