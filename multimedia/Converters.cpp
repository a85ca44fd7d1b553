#include "hostfw/VideoFormats.h"

#include <libyuv.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{

// One line of byte pairs with the bytes of each pair changed over.
void swapPairs(const uint8_t *source, uint8_t *destination, size_t bytes)
{
    size_t at = 0;
    for (; at + sizeof(uint64_t) <= bytes; at += sizeof(uint64_t)) {
        constexpr uint64_t evenBytes = 0x00ff00ff00ff00ffULL;
        uint64_t group = 0;
        std::memcpy(&group, source + at, sizeof group);
        group = (group & evenBytes) << 8 | (group >> 8 & evenBytes);
        std::memcpy(destination + at, &group, sizeof group);
    }
    for (; at + 1 < bytes; at += 2) {
        const uint8_t first = source[at];
        destination[at] = source[at + 1];
        destination[at + 1] = first;
    }
}

} // namespace

void ConvertBufferFromUYVYtoNV12(int width, int height, unsigned char *source, int sourceStride,
                                 unsigned char *destination, int destinationStride)
{
    if (width < 1 || height < 1 || !source || !destination)
        return;
    unsigned char *const chroma = destination + static_cast<ptrdiff_t>(height) * destinationStride;
    libyuv::UYVYToNV12(source, sourceStride, destination, destinationStride, chroma, destinationStride, width, height);
}

void ConvertBufferFromUYVYtoYUY2(int width, int height, unsigned char *source, int sourceStride,
                                 unsigned char *destination, int destinationStride)
{
    if (width < 1 || height < 1 || !source || !destination)
        return;
    const size_t bytes = static_cast<size_t>(width + 1) / 2 * 4;
    for (int line = 0; line < height; ++line) {
        swapPairs(source, destination, bytes);
        source += sourceStride;
        destination += destinationStride;
    }
}
