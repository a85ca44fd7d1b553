// Interleaving and separating the samples of one frame of sound, by the runtime's own functions.

#include "bench/AllocationCount.h"

#include <Processing.NDI.Interface.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace
{

constexpr int Samples = 1602; // per channel: a frame of 29.97 at 48 kHz

struct Sound {
    explicit Sound(const benchmark::State &state)
        : channels(static_cast<int>(state.range(0))),
          planarSamples(static_cast<std::size_t>(channels) * Samples, 0.25F), interleavedSamples(planarSamples)
    {
        planar.no_channels = channels;
        planar.no_samples = Samples;
        planar.channel_stride_in_bytes = Samples * static_cast<int>(sizeof(float));
        planar.p_data = planarSamples.data();
        interleaved.no_channels = channels;
        interleaved.no_samples = Samples;
        interleaved.p_data = interleavedSamples.data();
    }

    int channels;
    std::vector<float> planarSamples;
    std::vector<float> interleavedSamples;
    NDIlib_audio_frame_v2_t planar;
    NDIlib_audio_frame_interleaved_32f_t interleaved;
};

template <class Convert>
void run(benchmark::State &state, Convert convert)
{
    Sound sound(state);
    {
        const bench::AllocationReport allocations(state);
        for (auto unused : state) {
            static_cast<void>(unused);
            convert(sound);
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(sound.planarSamples.size() * sizeof(float)));
}

void memcpySound(benchmark::State &state)
{
    run(state, [](Sound &s) {
        std::memcpy(s.interleavedSamples.data(), s.planarSamples.data(), s.planarSamples.size() * sizeof(float));
    });
}
BENCHMARK(memcpySound)->ArgName("channels")->Arg(2)->Arg(8)->Arg(16);

void toInterleaved(benchmark::State &state)
{
    run(state, [](Sound &s) { NDIlib_util_audio_to_interleaved_32f_v2(&s.planar, &s.interleaved); });
}
BENCHMARK(toInterleaved)->ArgName("channels")->Arg(2)->Arg(8)->Arg(16);

void fromInterleaved(benchmark::State &state)
{
    run(state, [](Sound &s) { NDIlib_util_audio_from_interleaved_32f_v2(&s.interleaved, &s.planar); });
}
BENCHMARK(fromInterleaved)->ArgName("channels")->Arg(2)->Arg(8)->Arg(16);

} // namespace
