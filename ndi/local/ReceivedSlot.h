#pragma once

#include "ndi/local/FrameMemory.h"
#include "ndi/local/Protocol.h"
#include "ndi/local/Registry.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace localndi
{

// A receiver's hold on one slot of its sender. When the last owner lets go, the slot is the sender's again.
//
// Threads: any. The release function is called on the thread that lets go.
class ReceivedSlot
{
public:
    using ReleaseFunction = std::function<void(const Release &)>;

    ReceivedSlot(std::shared_ptr<FrameMemory> memory, SlotPlace place, ReleaseFunction release);
    ~ReceivedSlot();
    ReceivedSlot(const ReceivedSlot &) = delete;
    ReceivedSlot &operator=(const ReceivedSlot &) = delete;

    std::uint8_t *data() const { return m_memory->data(); }
    const char *metadata() const; // null for none
    // The application is given the memory and may write to it.
    void lend() { m_lent = true; }

private:
    const std::shared_ptr<FrameMemory> m_memory;
    const SlotPlace m_place;
    const ReleaseFunction m_release;
    std::atomic<bool> m_lent{false};
};

// The mappings of one sender's slots, each made once and kept while it is in use.
//
// Threads: one at a time.
class SlotMappings
{
public:
    using Clock = std::chrono::steady_clock;

    SlotMappings(const Registry &registry, std::string stem) : m_registry(registry), m_stem(std::move(stem)) {}

    // The memory an announcement speaks of; null when it is gone or smaller than announced.
    std::shared_ptr<FrameMemory> find(const SlotPlace &place);
    // Lets go of the mappings that no announcement has spoken of since then; who holds a slot keeps its mapping.
    void dropIdle(Clock::time_point since);

private:
    struct Mapping {
        Clock::time_point used;
        std::uint32_t generation = 0;
        std::shared_ptr<FrameMemory> memory;
    };

    const Registry &m_registry;
    const std::string m_stem;
    std::map<std::pair<SlotKind, std::uint32_t>, Mapping> m_mappings;
};

} // namespace localndi
