// The host framework's converters beside the library they are built on and beside copying the same picture.

#include "bench/AllocationCount.h"
#include "bench/PictureSizes.h"
#include "hostfw/VideoFormats.h"

#include <libyuv.h>

#include <benchmark/benchmark.h>

#include <cstring>

namespace
{

struct Pictures {
    explicit Pictures(const benchmark::State &state)
        : width(static_cast<int>(state.range(0))), height(static_cast<int>(state.range(1))),
          source(bench::noise(static_cast<std::size_t>(width * height) * 2)),
          destination(bench::noise(static_cast<std::size_t>(width * height) * 2))
    {
    }

    int width;
    int height;
    std::vector<std::uint8_t> source; // UYVY
    std::vector<std::uint8_t> destination;
};

template <class Convert>
void run(benchmark::State &state, Convert convert)
{
    Pictures pictures(state);
    convert(pictures);
    {
        const bench::AllocationReport allocations(state);
        for (auto unused : state) {
            static_cast<void>(unused);
            convert(pictures);
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(pictures.source.size()));
}

void memcpyPicture(benchmark::State &state)
{
    run(state, [](Pictures &p) { std::memcpy(p.destination.data(), p.source.data(), p.source.size()); });
}
BENCHMARK(memcpyPicture)->Apply(bench::pictureSizes);

void uyvyToNv12(benchmark::State &state)
{
    run(state, [](Pictures &p) {
        ConvertBufferFromUYVYtoNV12(p.width, p.height, p.source.data(), p.width * 2, p.destination.data(), p.width);
    });
}
BENCHMARK(uyvyToNv12)->Apply(bench::pictureSizes);

void uyvyToNv12Libyuv(benchmark::State &state)
{
    run(state, [](Pictures &p) {
        libyuv::UYVYToNV12(p.source.data(), p.width * 2, p.destination.data(), p.width,
                           p.destination.data() + std::ptrdiff_t{p.width} * p.height, p.width, p.width, p.height);
    });
}
BENCHMARK(uyvyToNv12Libyuv)->Apply(bench::pictureSizes);

void uyvyToYuy2(benchmark::State &state)
{
    run(state, [](Pictures &p) {
        ConvertBufferFromUYVYtoYUY2(p.width, p.height, p.source.data(), p.width * 2, p.destination.data(), p.width * 2);
    });
}
BENCHMARK(uyvyToYuy2)->Apply(bench::pictureSizes);

} // namespace
