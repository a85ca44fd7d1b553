#pragma once

#include <windows.h>

#include <cstdlib>
#include <memory>

namespace winmedia
{

struct FreeMemory {
    void operator()(BYTE *block) const { std::free(block); }
};
using AlignedMemory = std::unique_ptr<BYTE, FreeMemory>;

constexpr size_t roundUp(size_t value, size_t step)
{
    return (value + step - 1) / step * step;
}

// Null when memory is out. `alignment` is a power of two.
inline AlignedMemory allocateAligned(size_t size, size_t alignment)
{
    return AlignedMemory(static_cast<BYTE *>(std::aligned_alloc(alignment, roundUp(size ? size : 1, alignment))));
}

} // namespace winmedia
