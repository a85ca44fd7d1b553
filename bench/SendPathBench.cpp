// A sample's way from the stream sink that is given it to the runtime: the queue of the sink, the picture into the
// staging buffer or the sound out of its interleaving, the metadata, the runtime's call. Beside it the same pictures
// copied into one destination, as the staging buffer is one.

#include "bench/AllocationCount.h"
#include "bench/EndlessRuntime.h"
#include "bench/MediaPlatform.h"
#include "bench/PictureSizes.h"
#include "bench/Rounds.h"
#include "bench/SinkSamples.h"
#include "sink/NDISinkMF.h"

#include <mfapi.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <future>

namespace
{

using bench::Clock;
using bench::Format;
using bench::require;

constexpr std::size_t PoolSamples = 5;
constexpr std::uint64_t WarmUpSamples = 50;
constexpr std::int64_t FrameDuration = 166667; // 100 ns units

// A started sink with one stream sink, given one sample after the other as it asks for them.
class Sending
{
public:
    Sending(bool video, IMFMediaType *type, const std::vector<std::uint8_t> &contents)
        : m_sink(new NDISinkMF({QStringLiteral("Bench"), video, !video}))
    {
        require(m_sink->GetStreamSinkByIndex(0, &m_stream), "GetStreamSinkByIndex");
        CComPtr<IMFMediaTypeHandler> handler;
        require(m_stream->GetMediaTypeHandler(&handler), "GetMediaTypeHandler");
        require(handler->SetCurrentMediaType(type), "SetCurrentMediaType");
        // The type is adopted on the sink's queue, before what is pushed after it.
        std::promise<void> adopted;
        require(m_sink->push([&adopted] {
            adopted.set_value();
            return S_OK;
        }),
                "push");
        adopted.get_future().wait();
        require(m_sink->OnClockStart(0, 0), "OnClockStart");
        for (std::size_t index = 0; index < PoolSamples; ++index)
            m_samples.push_back(bench::sampleOf(contents));
    }
    ~Sending() { m_sink->Shutdown(); }

    Sending(const Sending &) = delete;
    Sending &operator=(const Sending &) = delete;

    // Waits until the stream asks for a sample, and returns the one to give it.
    IMFSample *nextSample()
    {
        for (MediaEventType type = MEUnknown; type != MEStreamSinkRequestSample;) {
            CComPtr<IMFMediaEvent> event;
            require(m_stream->GetEvent(0, &event), "GetEvent");
            require(event->GetType(&type), "GetType");
        }
        IMFSample *const sample = m_samples[m_count % PoolSamples];
        sample->SetSampleTime(static_cast<LONGLONG>(m_count++) * FrameDuration);
        return sample;
    }
    void give(IMFSample *sample) { require(m_stream->ProcessSample(sample), "ProcessSample"); }

private:
    const CComPtr<NDISinkMF> m_sink;
    CComPtr<IMFStreamSink> m_stream;
    std::vector<CComPtr<IMFSample>> m_samples;
    std::size_t m_count = 0;
};

void send(benchmark::State &state, Sending &sending, std::int64_t pace)
{
    std::uint64_t sent = bench::sentFrames();
    for (std::uint64_t i = 0; i < WarmUpSamples; ++i) {
        sending.give(sending.nextSample());
        bench::waitForSentFrames(++sent);
    }
    bench::Rounds rounds(state, pace);
    const bench::AllocationReport allocations(state);
    for (auto unused : state) {
        static_cast<void>(unused);
        IMFSample *const sample = sending.nextSample();
        rounds.wait();
        const Clock::time_point given = Clock::now();
        sending.give(sample);
        rounds.add(bench::waitForSentFrames(++sent) - given);
    }
}

void sendPictures(benchmark::State &state, const Format &format)
{
    const bench::MediaPlatform platform;
    const auto width = static_cast<UINT32>(state.range(0));
    const auto height = static_cast<UINT32>(state.range(1));
    const auto bytes = static_cast<std::size_t>(format.pixelBytes) * width * height;
    Sending sending(true, bench::pictureType(format, width, height), bench::noise(bytes));
    send(state, sending, state.range(2));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void copyPictures(benchmark::State &state, int pixelBytes)
{
    const auto bytes = static_cast<std::size_t>(pixelBytes * state.range(0) * state.range(1));
    const std::vector<std::vector<std::uint8_t>> sources(PoolSamples, bench::noise(bytes));
    std::vector<std::uint8_t> destination = bench::noise(bytes);
    std::size_t count = 0;
    bench::Rounds rounds(state, state.range(2));
    for (auto unused : state) {
        static_cast<void>(unused);
        rounds.wait();
        const Clock::time_point begin = Clock::now();
        std::memcpy(destination.data(), sources[count++ % PoolSamples].data(), bytes);
        benchmark::ClobberMemory();
        rounds.add(Clock::now() - begin);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void memcpyUyvy(benchmark::State &state)
{
    copyPictures(state, 2);
}

void sendPathUyvy(benchmark::State &state)
{
    sendPictures(state, {MFVideoFormat_UYVY, 2});
}

void memcpyBgra(benchmark::State &state)
{
    copyPictures(state, 4);
}

void sendPathBgra(benchmark::State &state)
{
    sendPictures(state, {MFVideoFormat_ARGB32, 4});
}

void sendPathSound(benchmark::State &state)
{
    const bench::MediaPlatform platform;
    Sending sending(false, bench::soundType(), bench::noise(bench::SoundBytes));
    send(state, sending, state.range(0));
}

// How long the caller of ProcessSample is kept, which is a thread of the host's pipeline.
void processSample(benchmark::State &state)
{
    const bench::MediaPlatform platform;
    Sending sending(true, bench::pictureType({MFVideoFormat_UYVY, 2}, 1920, 1080),
                    bench::noise(std::size_t{2} * 1920 * 1080));
    std::uint64_t sent = bench::sentFrames();
    bench::Rounds rounds(state, state.range(0));
    for (auto unused : state) {
        static_cast<void>(unused);
        IMFSample *const sample = sending.nextSample();
        rounds.wait();
        const Clock::time_point begin = Clock::now();
        sending.give(sample);
        rounds.add(Clock::now() - begin);
        bench::waitForSentFrames(++sent);
    }
}

BENCHMARK(memcpyUyvy)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(sendPathUyvy)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(memcpyBgra)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(sendPathBgra)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(sendPathSound)->Apply(bench::atOnce)->UseManualTime();
BENCHMARK(memcpyUyvy)->Apply(bench::picturesLive);
BENCHMARK(sendPathUyvy)->Apply(bench::picturesLive);
BENCHMARK(memcpyBgra)->Apply(bench::picturesLive);
BENCHMARK(sendPathBgra)->Apply(bench::picturesLive);
BENCHMARK(sendPathSound)->Apply(bench::live);
// Not at once: whether the sink's thread sleeps by then, and has to be woken, would be chance.
BENCHMARK(processSample)->Apply(bench::busy);
BENCHMARK(processSample)->Apply(bench::live);

} // namespace
