// The middle of a sample's way out by itself: the function that turns it into a frame and hands that to the runtime,
// called directly, with no queue and no other thread. Beside it, in SendPathBench.cpp, are the whole way and the copied
// pictures.

#include "bench/AllocationCount.h"
#include "bench/MediaPlatform.h"
#include "bench/PictureSizes.h"
#include "bench/Rounds.h"
#include "bench/SinkSamples.h"
#include "format/MetadataEnvelope.h"
#include "sink/NDISinkAudioStream.h"
#include "sink/NDISinkMF.h"
#include "sink/NDISinkVideoStream.h"

#include <mfapi.h>

#include <benchmark/benchmark.h>

namespace
{

using bench::require;

constexpr std::size_t PoolSamples = 5;
constexpr std::size_t MetadataBytes = 1024; // as they are on a sample, before they are text

// A stream sink whose insides are at hand, beside those of the sink.
template <class Stream>
class OpenStream : public Stream
{
public:
    OpenStream(NDISinkMF *sink, IMFMediaType *type) : Stream(7, sink)
    {
        require(Stream::onMediaTypeChanged(type), "onMediaTypeChanged");
    }
    using Stream::sendSample;
};

template <class Stream>
void send(benchmark::State &state, IMFMediaType *type, const std::vector<std::uint8_t> &contents, bool hasMetadata)
{
    const CComPtr<NDISinkMF> sink(new NDISinkMF({QStringLiteral("Bench"), false, false}));
    OpenStream<Stream> stream(sink, type);
    std::vector<CComPtr<IMFSample>> samples;
    for (std::size_t index = 0; index < PoolSamples; ++index) {
        samples.push_back(bench::sampleOf(contents));
        if (hasMetadata)
            require(samples.back()->SetBlob(SampleMetadataAttribute, contents.data(), MetadataBytes), "SetBlob");
        require(stream.sendSample(samples.back()), "sendSample");
    }
    {
        std::size_t count = 0;
        const bench::AllocationReport allocations(state);
        for (auto unused : state) {
            static_cast<void>(unused);
            stream.sendSample(samples[count++ % PoolSamples]);
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(contents.size()));
    sink->Shutdown();
}

void sendPicture(benchmark::State &state, const bench::Format &format, bool hasMetadata)
{
    const bench::MediaPlatform platform;
    const auto width = static_cast<UINT32>(state.range(0));
    const auto height = static_cast<UINT32>(state.range(1));
    const auto contents = bench::noise(static_cast<std::size_t>(format.pixelBytes) * width * height);
    send<NDISinkVideoStream>(state, bench::pictureType(format, width, height), contents, hasMetadata);
}

void sendSampleUyvy(benchmark::State &state)
{
    sendPicture(state, {MFVideoFormat_UYVY, 2}, false);
}

void sendSampleUyvyMetadata(benchmark::State &state)
{
    sendPicture(state, {MFVideoFormat_UYVY, 2}, true);
}

void sendSampleBgra(benchmark::State &state)
{
    sendPicture(state, {MFVideoFormat_ARGB32, 4}, false);
}

void sendSound(benchmark::State &state, bool hasMetadata)
{
    const bench::MediaPlatform platform;
    send<NDISinkAudioStream>(state, bench::soundType(), bench::noise(bench::SoundBytes), hasMetadata);
}

void sendSampleSound(benchmark::State &state)
{
    sendSound(state, false);
}

void sendSampleSoundMetadata(benchmark::State &state)
{
    sendSound(state, true);
}

BENCHMARK(sendSampleUyvy)->Apply(bench::picturesAtOnce);
BENCHMARK(sendSampleUyvyMetadata)->Apply(bench::picturesAtOnce);
BENCHMARK(sendSampleBgra)->Apply(bench::picturesAtOnce);
BENCHMARK(sendSampleSound);
BENCHMARK(sendSampleSoundMetadata);

} // namespace
