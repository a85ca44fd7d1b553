#include "ndi/local/FrameSlots.h"

#include <system_error>
#include <utility>

namespace localndi
{
namespace
{

constexpr std::uint64_t granularity = 64 << 10; // bytes; a text that varies in length does not make slots grow

std::uint64_t roundedUp(std::uint64_t size)
{
    return (size + granularity - 1) / granularity * granularity;
}

} // namespace

FrameSlots::Hold::Hold(const Hold &other) : m_slots(other.m_slots), m_index(other.m_index)
{
    if (m_slots != nullptr)
        m_slots->hold(m_index);
}

FrameSlots::Hold::Hold(Hold &&other) noexcept : m_slots(std::exchange(other.m_slots, nullptr)), m_index(other.m_index)
{
}

FrameSlots::Hold &FrameSlots::Hold::operator=(Hold other) noexcept
{
    std::swap(m_slots, other.m_slots);
    std::swap(m_index, other.m_index);
    return *this;
}

FrameSlots::Hold::~Hold()
{
    if (m_slots != nullptr)
        m_slots->release(m_index);
}

std::uint32_t FrameSlots::Hold::generation() const
{
    return m_slots->m_slots[m_index].generation;
}

std::uint8_t *FrameSlots::Hold::data() const
{
    return m_slots->m_slots[m_index].memory->data();
}

FrameSlots::FrameSlots(const Registry &registry, std::string stem, SlotKind kind, Limits limits)
    : m_registry(registry), m_stem(std::move(stem)), m_kind(kind), m_limits(limits), m_slots(limits.slots)
{
}

FrameSlots::~FrameSlots()
{
    for (auto &slot : m_slots)
        empty(slot);
}

FrameSlots::Hold FrameSlots::acquire(std::uint64_t size)
{
    const std::lock_guard lock(m_lock);
    Slot *slot = freeSlot(size);
    if (slot == nullptr)
        return {};
    if ((slot->memory == nullptr || slot->memory->size() < size) && !allocate(*slot, size))
        return {};
    slot->holds = 1;
    return {*this, static_cast<std::uint32_t>(slot - m_slots.data())};
}

bool FrameSlots::areHeldUp(std::uint64_t size)
{
    const std::lock_guard lock(m_lock);
    std::size_t held = 0;
    std::uint64_t bytes = 0;
    for (const auto &slot : m_slots) {
        if (slot.holds == 0)
            continue;
        ++held;
        bytes += slot.memory->size();
    }
    const auto rounded = roundedUp(size);
    return rounded <= m_limits.bytes && (held == m_slots.size() || bytes + rounded > m_limits.bytes);
}

// The first free slot that is large enough, else the first without memory, else any free one. Low numbers first: the
// memory in use stays small and warm.
FrameSlots::Slot *FrameSlots::freeSlot(std::uint64_t size)
{
    Slot *unused = nullptr;
    Slot *small = nullptr;
    for (auto &slot : m_slots) {
        if (slot.holds != 0)
            continue;
        if (slot.memory == nullptr)
            unused = unused != nullptr ? unused : &slot;
        else if (slot.memory->size() >= size)
            return &slot;
        else
            small = small != nullptr ? small : &slot;
    }
    return small != nullptr ? small : unused;
}

bool FrameSlots::allocate(Slot &slot, std::uint64_t size)
{
    empty(slot);
    const auto rounded = roundedUp(size);
    if (rounded > m_limits.bytes)
        return false;
    // Free slots of a size that is no longer wanted make room.
    for (auto &other : m_slots)
        if (m_bytes + rounded > m_limits.bytes && other.holds == 0)
            empty(other);
    if (m_bytes + rounded > m_limits.bytes)
        return false;
    ++slot.generation;
    slot.file =
        m_registry.frameFile(m_stem, m_kind, static_cast<std::uint32_t>(&slot - m_slots.data()), slot.generation);
    slot.memory = FrameMemory::create(slot.file, rounded);
    if (slot.memory == nullptr)
        return false;
    m_bytes += slot.memory->size();
    return true;
}

void FrameSlots::empty(Slot &slot)
{
    if (slot.memory == nullptr)
        return;
    m_bytes -= slot.memory->size();
    slot.memory.reset();
    std::error_code ignored;
    std::filesystem::remove(slot.file, ignored);
}

void FrameSlots::hold(std::uint32_t index)
{
    const std::lock_guard lock(m_lock);
    ++m_slots[index].holds;
}

void FrameSlots::release(std::uint32_t index)
{
    const std::lock_guard lock(m_lock);
    --m_slots[index].holds;
}

} // namespace localndi
