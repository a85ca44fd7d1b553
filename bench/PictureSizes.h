#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace bench
{

struct PictureSize {
    std::int64_t width;
    std::int64_t height;
};

constexpr PictureSize PictureSizes[] = {{1920, 1080}, {3840, 2160}};

inline void pictureSizes(benchmark::internal::Benchmark *benchmark)
{
    benchmark->ArgNames({"w", "h"});
    for (const PictureSize &size : PictureSizes)
        benchmark->Args({size.width, size.height});
}

// Memory that has been written to, so that no page is touched for the first time while the clock runs, with contents
// that no converter can take a short cut for.
inline std::vector<std::uint8_t> noise(std::size_t bytes)
{
    std::vector<std::uint8_t> memory(bytes);
    std::uint32_t random = 1;
    for (std::uint8_t &byte : memory) {
        random = random * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(random >> 24);
    }
    return memory;
}

} // namespace bench
