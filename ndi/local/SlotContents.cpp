#include "ndi/local/SlotContents.h"

#include <cstring>

namespace localndi
{
namespace
{

// The text behind the data, with its terminating zero.
std::uint32_t metadataSize(std::string_view text)
{
    return text.empty() ? 0 : static_cast<std::uint32_t>(text.size() + 1);
}

} // namespace

std::uint64_t slotSize(const SlotPlace &place)
{
    return metadataOffset(place.dataSize) + place.metadataSize;
}

SlotPlace placeOf(SlotKind kind, const FrameSlots::Hold &hold, std::int64_t dataSize, std::string_view text)
{
    return {kind, hold ? hold.index() : 0, hold ? hold.generation() : 0, metadataSize(text),
            static_cast<std::uint64_t>(dataSize)};
}

void writeText(std::uint8_t *slot, const SlotPlace &place, std::string_view text)
{
    if (text.empty())
        return;
    auto *target = slot + metadataOffset(place.dataSize);
    std::memcpy(target, text.data(), text.size());
    target[text.size()] = 0;
}

void writePixels(std::uint8_t *slot, const VideoShape &shape, std::uint8_t *pixels)
{
    const auto frame = pictureAt(*shape.layout, pixels, shape.stride, shape.width, shape.height);
    if (!shape.isFieldPair) {
        copyPicture(frame, packedPictureAt(*shape.layout, slot, shape.width, shape.height));
        return;
    }
    const int height = shape.height / 2;
    for (int field = 0; field < 2; ++field)
        copyPicture(fieldOf(frame, field),
                    packedPictureAt(*shape.layout, slot + field * shape.packedSize() / 2, shape.width, height));
}

void writeSamples(std::uint8_t *slot, const AudioShape &shape, const float *samples)
{
    const auto *source = reinterpret_cast<const std::uint8_t *>(samples);
    const auto bytes = shape.channelBytes();
    for (int channel = 0; channel < shape.channels; ++channel)
        std::memcpy(slot + channel * bytes, source + channel * shape.stride, static_cast<std::size_t>(bytes));
}

} // namespace localndi
