#pragma once

#include "ndi/local/FrameMemory.h"
#include "ndi/local/Registry.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace localndi
{

// The shared memory of one sender for one kind of frames: a bounded number of slots that are written, announced and
// written again once nobody holds them.
//
// Threads: any. Ownership: the slots' files go with the object, which outlives every Hold.
class FrameSlots
{
public:
    // Keeps a slot from being written again. Movable and copyable; each one counts.
    class Hold
    {
    public:
        Hold() = default;
        Hold(FrameSlots &slots, std::uint32_t index) : m_slots(&slots), m_index(index) {}
        Hold(const Hold &other);
        Hold(Hold &&other) noexcept;
        Hold &operator=(Hold other) noexcept;
        ~Hold();

        explicit operator bool() const { return m_slots != nullptr; }
        std::uint32_t index() const { return m_index; }
        std::uint32_t generation() const;
        std::uint8_t *data() const; // written by the one who acquired it, before anybody else hears of it

    private:
        FrameSlots *m_slots = nullptr;
        std::uint32_t m_index = 0;
    };

    using Clock = std::chrono::steady_clock;

    struct Limits {
        std::size_t slots;
        std::uint64_t bytes; // of all slots
    };

    FrameSlots(const Registry &registry, std::string stem, SlotKind kind, Limits limits);
    ~FrameSlots() = default;
    FrameSlots(const FrameSlots &) = delete;
    FrameSlots &operator=(const FrameSlots &) = delete;

    // A free slot of at least `size` bytes; none when the limits are reached or the machine's memory is.
    Hold acquire(std::uint64_t size);
    // Whether there would be a slot of that size if nobody held one.
    bool areHeldUp(std::uint64_t size);
    // Frees the memory of slots that nobody has held since then. Receivers that still map it keep it until they let go.
    void freeIdle(Clock::time_point since);

private:
    // Its file goes with it.
    struct Memory {
        Memory(std::filesystem::path path, std::uint64_t size);
        ~Memory();
        Memory(const Memory &) = delete;
        Memory &operator=(const Memory &) = delete;

        const std::filesystem::path file;
        std::shared_ptr<FrameMemory> mapping; // null when there is no room for it
    };
    struct Slot {
        std::unique_ptr<Memory> memory;
        std::uint32_t generation = 0;
        std::uint32_t holds = 0;
        Clock::time_point freeSince; // once it was held
        std::uint64_t size() const { return memory != nullptr ? memory->mapping->size() : 0; }
    };

    Slot *freeSlot(std::uint64_t size);
    bool allocate(Slot &slot, std::uint64_t size);
    std::unique_ptr<Memory> takeMemory(Slot &slot);
    void hold(std::uint32_t index);
    void release(std::uint32_t index);

    const Registry &m_registry;
    const std::string m_stem;
    const SlotKind m_kind;
    const Limits m_limits;
    std::mutex m_lock; // guards what follows; the slots' places never move
    std::vector<Slot> m_slots;
    std::uint64_t m_bytes = 0;
};

} // namespace localndi
