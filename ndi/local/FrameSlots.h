#pragma once

#include "ndi/local/FrameMemory.h"
#include "ndi/local/Registry.h"

#include <cstdint>
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

    struct Limits {
        std::size_t slots;
        std::uint64_t bytes; // of all slots
    };

    FrameSlots(const Registry &registry, std::string stem, SlotKind kind, Limits limits);
    ~FrameSlots();
    FrameSlots(const FrameSlots &) = delete;
    FrameSlots &operator=(const FrameSlots &) = delete;

    // A free slot of at least `size` bytes; none when the limits are reached or the machine's memory is.
    Hold acquire(std::uint64_t size);
    // Whether there would be a slot of that size if nobody held one.
    bool areHeldUp(std::uint64_t size);

private:
    struct Slot {
        std::shared_ptr<FrameMemory> memory;
        std::filesystem::path file;
        std::uint32_t generation = 0;
        std::uint32_t holds = 0;
    };

    Slot *freeSlot(std::uint64_t size);
    bool allocate(Slot &slot, std::uint64_t size);
    void empty(Slot &slot);
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
