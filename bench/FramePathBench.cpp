// A captured frame's way to the sample that its consumer holds: capture, time, conversion into a pooled sample, request
// manager, MEMediaSample. Beside it the same pictures copied into as many destinations as the pool has samples.

#include "bench/AllocationCount.h"
#include "bench/EndlessRuntime.h"
#include "bench/MediaPlatform.h"
#include "bench/PictureSizes.h"
#include "bench/Rounds.h"
#include "source/NDISourceMF.h"

#include <mferror.h>

#include <benchmark/benchmark.h>

#include <cstring>

namespace
{

using bench::require;

constexpr int PoolSamples = 5;
constexpr int WarmUpFrames = 50;

// A started source with its video stream, asked for one sample after the other.
class VideoDelivery
{
public:
    explicit VideoDelivery(bool hardwareSamples)
    {
        SourceParameters parameters;
        parameters.input = NDIInput(QString::fromUtf8(bench::EndlessName), QString::fromUtf8(bench::EndlessAddress));
        parameters.hasVideo = true;
        parameters.hardwareSamples = hardwareSamples;
        HRESULT result = S_OK;
        m_source = new NDISourceMF(result, parameters);
        require(result, "NDISourceMF");
        start();
    }

    ~VideoDelivery() { m_source->Shutdown(); }

    VideoDelivery(const VideoDelivery &) = delete;
    VideoDelivery &operator=(const VideoDelivery &) = delete;

    void nextSample()
    {
        require(m_stream->RequestSample(nullptr), "RequestSample");
        for (;;) {
            CComPtr<IMFMediaEvent> event;
            require(m_stream->GetEvent(0, &event), "GetEvent");
            MediaEventType type = MEUnknown;
            require(event->GetType(&type), "GetType");
            if (type == MEMediaSample)
                return;
        }
    }

private:
    void start()
    {
        CComPtr<IMFPresentationDescriptor> descriptor;
        require(m_source->CreatePresentationDescriptor(&descriptor), "CreatePresentationDescriptor");
        PROPVARIANT position;
        PropVariantInit(&position);
        require(m_source->Start(descriptor, nullptr, &position), "Start");
        for (MediaEventType type = MEUnknown; type != MESourceStarted;) {
            CComPtr<IMFMediaEvent> event;
            require(m_source->GetEvent(0, &event), "GetEvent");
            require(event->GetType(&type), "GetType");
            if (type == MENewStream)
                takeStream(event);
        }
    }

    void takeStream(IMFMediaEvent *event)
    {
        PROPVARIANT value;
        PropVariantInit(&value);
        require(event->GetValue(&value), "GetValue");
        const HRESULT result = value.punkVal->QueryInterface(IID_IMFMediaStream, reinterpret_cast<void **>(&m_stream));
        PropVariantClear(&value);
        require(result, "IMFMediaStream");
    }

    CComPtr<IMFMediaSource> m_source;
    CComPtr<IMFMediaStream> m_stream;
};

void deliver(benchmark::State &state, NDIlib_FourCC_video_type_e fourCC, bool hardwareSamples, int pixelBytes)
{
    const bench::MediaPlatform platform;
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    bench::setEndlessVideo(fourCC, width, height, state.range(2));
    VideoDelivery delivery(hardwareSamples);
    for (int i = 0; i < WarmUpFrames; ++i)
        delivery.nextSample();
    {
        bench::Rounds rounds(state, bench::AtOnce); // the pace is the runtime's
        const bench::AllocationReport allocations(state);
        for (auto unused : state) {
            static_cast<void>(unused);
            delivery.nextSample();
            rounds.add(bench::Clock::now() - bench::lastCapture());
        }
    }
    state.SetBytesProcessed(state.iterations() * pixelBytes * width * height);
}

void copy(benchmark::State &state, NDIlib_FourCC_video_type_e fourCC, int pixelBytes)
{
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    bench::setEndlessVideo(fourCC, width, height, bench::AtOnce);
    const auto bytes = static_cast<std::size_t>(pixelBytes * width * height);
    std::vector<std::vector<std::uint8_t>> destinations(PoolSamples, bench::noise(bytes));
    std::int64_t count = 0;
    bench::Rounds rounds(state, state.range(2));
    for (auto unused : state) {
        static_cast<void>(unused);
        auto &destination = destinations[static_cast<std::size_t>(count % PoolSamples)];
        rounds.wait();
        const bench::Clock::time_point begin = bench::Clock::now();
        std::memcpy(destination.data(), bench::endlessPicture(count), bytes);
        benchmark::ClobberMemory();
        rounds.add(bench::Clock::now() - begin);
        ++count;
    }
    state.SetBytesProcessed(state.iterations() * pixelBytes * width * height);
}

void memcpyUyvy(benchmark::State &state)
{
    copy(state, NDIlib_FourCC_video_type_UYVY, 2);
}

void framePathUyvy(benchmark::State &state)
{
    deliver(state, NDIlib_FourCC_video_type_UYVY, false, 2);
}

void memcpyBgra(benchmark::State &state)
{
    copy(state, NDIlib_FourCC_video_type_BGRA, 4);
}

void framePathBgra(benchmark::State &state)
{
    deliver(state, NDIlib_FourCC_video_type_BGRA, false, 4);
}

BENCHMARK(memcpyUyvy)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(framePathUyvy)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(memcpyBgra)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(framePathBgra)->Apply(bench::picturesAtOnce)->UseManualTime();
BENCHMARK(memcpyUyvy)->Apply(bench::picturesLive);
BENCHMARK(framePathUyvy)->Apply(bench::picturesLive);
BENCHMARK(memcpyBgra)->Apply(bench::picturesLive);
BENCHMARK(framePathBgra)->Apply(bench::picturesLive);

} // namespace
