#include "ndi/local/ReceivedSlot.h"

#include <iterator>

namespace localndi
{
namespace
{

constexpr std::uint32_t maximumIndex = 1024; // a peer cannot make the mappings grow past this

bool fits(const FrameMemory &memory, const SlotPlace &place)
{
    const std::uint64_t size = memory.size();
    if (place.dataSize > size || place.metadataSize > maximumMetadata)
        return false;
    if (place.metadataSize == 0)
        return true;
    const auto offset = metadataOffset(place.dataSize);
    return offset <= size && place.metadataSize <= size - offset && memory.data()[offset + place.metadataSize - 1] == 0;
}

} // namespace

ReceivedSlot::ReceivedSlot(std::shared_ptr<FrameMemory> memory, SlotPlace place, ReleaseFunction release)
    : m_memory(std::move(memory)), m_place(place), m_release(std::move(release))
{
}

ReceivedSlot::~ReceivedSlot()
{
    if (m_lent)
        m_memory->discardWrites();
    m_release({m_place.kind, m_place.index});
}

const char *ReceivedSlot::metadata() const
{
    if (m_place.metadataSize == 0)
        return nullptr;
    return reinterpret_cast<const char *>(m_memory->data() + metadataOffset(m_place.dataSize));
}

std::shared_ptr<FrameMemory> SlotMappings::find(const SlotPlace &place)
{
    if (place.index >= maximumIndex)
        return nullptr;
    auto &mapping = m_mappings[{place.kind, place.index}];
    if (mapping.memory == nullptr || mapping.memory->isSpoilt() || mapping.generation != place.generation) {
        mapping.memory = FrameMemory::open(m_registry.frameFile(m_stem, place.kind, place.index, place.generation));
        mapping.generation = place.generation;
    }
    mapping.used = Clock::now();
    return mapping.memory != nullptr && fits(*mapping.memory, place) ? mapping.memory : nullptr;
}

void SlotMappings::dropIdle(Clock::time_point since)
{
    for (auto mapping = m_mappings.begin(); mapping != m_mappings.end();)
        mapping = mapping->second.used <= since ? m_mappings.erase(mapping) : std::next(mapping);
}

} // namespace localndi
