#pragma once

#include "ndi/local/FrameSlots.h"
#include "ndi/local/Protocol.h"

#include <array>
#include <deque>
#include <mutex>
#include <string>

namespace localndi
{

// A frame on its way to the receivers: what is said to them, and the memory it speaks of.
struct OutgoingFrame {
    MessageType type;
    std::string body;
    FrameSlots::Hold hold; // none for metadata
};

// Frames that were sent and not announced yet. When the announcing thread falls behind, the oldest of a kind go, so
// that a sender never waits and its newest frame arrives.
//
// Threads: any.
class Outbox
{
public:
    // True when the outbox was empty: somebody has to be told.
    bool push(OutgoingFrame frame);
    std::deque<OutgoingFrame> takeAll();

private:
    std::mutex m_lock; // guards what follows
    std::deque<OutgoingFrame> m_frames;
};

// Removes the oldest frames of `type` beyond its limit. `typeOf` says what an element is.
template <typename Queue, typename TypeOf>
void dropOldest(Queue &queue, MessageType type, TypeOf typeOf)
{
    std::size_t count = 0;
    for (const auto &element : queue)
        count += typeOf(element) == type ? 1 : 0;
    for (auto element = queue.begin(); count > queueLimit(type); --count) {
        while (typeOf(*element) != type)
            ++element;
        element = queue.erase(element);
    }
}

} // namespace localndi
