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
    return m_slots->m_slots[m_index].memory->mapping->data();
}

FrameSlots::Memory::Memory(std::filesystem::path path, std::uint64_t size)
    : file(std::move(path)), mapping(FrameMemory::create(file, size))
{
}

FrameSlots::Memory::~Memory()
{
    mapping.reset();
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

FrameSlots::FrameSlots(const Registry &registry, std::string stem, SlotKind kind, Limits limits)
    : m_registry(registry), m_stem(std::move(stem)), m_kind(kind), m_limits(limits), m_slots(limits.slots)
{
}

FrameSlots::Hold FrameSlots::acquire(std::uint64_t size)
{
    const std::lock_guard lock(m_lock);
    Slot *slot = freeSlot(size);
    if (slot == nullptr)
        return {};
    if (slot->size() < size && !allocate(*slot, size))
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
        bytes += slot.size();
    }
    const auto rounded = roundedUp(size);
    return rounded <= m_limits.bytes && (held == m_slots.size() || bytes + rounded > m_limits.bytes);
}

void FrameSlots::freeIdle(Clock::time_point since)
{
    // Given back with the lock released: the system takes its time.
    std::vector<std::unique_ptr<Memory>> idle;
    const std::lock_guard lock(m_lock);
    for (auto &slot : m_slots)
        if (slot.holds == 0 && slot.memory != nullptr && slot.freeSince <= since)
            idle.push_back(takeMemory(slot));
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
        else if (slot.size() >= size)
            return &slot;
        else
            small = small != nullptr ? small : &slot;
    }
    return small != nullptr ? small : unused;
}

bool FrameSlots::allocate(Slot &slot, std::uint64_t size)
{
    takeMemory(slot);
    const auto rounded = roundedUp(size);
    if (rounded > m_limits.bytes)
        return false;
    // Free slots of a size that is no longer wanted make room.
    for (auto &other : m_slots)
        if (m_bytes + rounded > m_limits.bytes && other.holds == 0)
            takeMemory(other);
    if (m_bytes + rounded > m_limits.bytes)
        return false;
    ++slot.generation;
    const auto index = static_cast<std::uint32_t>(&slot - m_slots.data());
    auto memory = std::make_unique<Memory>(m_registry.frameFile(m_stem, m_kind, index, slot.generation), rounded);
    if (memory->mapping == nullptr)
        return false;
    slot.memory = std::move(memory);
    m_bytes += slot.size();
    return true;
}

std::unique_ptr<FrameSlots::Memory> FrameSlots::takeMemory(Slot &slot)
{
    m_bytes -= slot.size();
    return std::move(slot.memory);
}

void FrameSlots::hold(std::uint32_t index)
{
    const std::lock_guard lock(m_lock);
    ++m_slots[index].holds;
}

void FrameSlots::release(std::uint32_t index)
{
    const std::lock_guard lock(m_lock);
    auto &slot = m_slots[index];
    if (--slot.holds == 0)
        slot.freeSince = Clock::now();
}

} // namespace localndi
