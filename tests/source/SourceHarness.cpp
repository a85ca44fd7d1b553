#include "tests/source/SourceHarness.h"

#include "hostfw/MediaBuffers.h"
#include "tests/source/EventReader.h"

namespace
{

const QString senderName = QStringLiteral("HOST (Camera)");
const QString senderAddress = QStringLiteral("10.0.0.1:5961");

} // namespace

void SourceTest::SetUp()
{
    ndi.reset();
    ndi.setSources({{senderName.toStdString(), senderAddress.toStdString()}});
}

void SourceTest::TearDown()
{
    streams.clear();
    // Work on their queues may keep sources, and log, longer than the test; it would log into the next one.
    EXPECT_TRUE(m_alive->waitForNone()) << "a source was never destroyed";
    // Sources end on the threads of their queues.
    ndi.waitFor([](const auto &calls) {
        return calls.receiversMade == calls.receiversDestroyed && calls.findersMade == calls.findersDestroyed;
    });
    EXPECT_TRUE(ndi.reset()) << "finders, receivers or frames were not given back";
}

SourceParameters SourceTest::parameters(bool video, bool audio)
{
    SourceParameters params;
    params.input = NDIInput(senderName, senderAddress);
    params.cancellationToken = std::make_shared<CancellationToken>();
    params.hasVideo = video;
    params.hasAudio = audio;
    return params;
}

CComPtr<NDISourceMF> SourceTest::makeSource(const SourceParameters &params)
{
    HRESULT hr = E_UNEXPECTED;
    CComPtr<NDISourceMF> source(new NDISourceMF(hr, params));
    EXPECT_EQ(S_OK, hr);
    watch(source);
    return source;
}

CComPtr<IMFPresentationDescriptor> SourceTest::beginStart(NDISourceMF *source)
{
    CComPtr<IMFPresentationDescriptor> descriptor;
    EXPECT_EQ(S_OK, source->CreatePresentationDescriptor(&descriptor));
    PROPVARIANT position;
    PropVariantInit(&position);
    EXPECT_EQ(S_OK, source->Start(descriptor, nullptr, &position));
    return descriptor;
}

void SourceTest::watch(NDISourceMF *source)
{
    m_alive->add(1);
    QObject::connect(source, &QObject::destroyed, [alive = m_alive] { alive->add(-1); });
}

void SourceTest::LiveSources::add(int change)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_count += change;
    m_changed.notify_all();
}

bool SourceTest::LiveSources::waitForNone()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), [this] { return m_count == 0; });
}

void SourceTest::start(NDISourceMF *source)
{
    const CComPtr<IMFPresentationDescriptor> descriptor = beginStart(source);
    ASSERT_TRUE(descriptor);
    DWORD count = 0;
    descriptor->GetStreamDescriptorCount(&count);
    while (streams.size() < count) {
        const auto event = waitForEvent(source, MENewStream);
        ASSERT_TRUE(event);
        PROPVARIANT value;
        PropVariantInit(&value);
        event->GetValue(&value);
        CComPtr<IMFMediaStream> stream;
        value.punkVal->QueryInterface(__uuidof(IMFMediaStream), reinterpret_cast<void **>(&stream));
        PropVariantClear(&value);
        streams.push_back(stream);
    }
    ASSERT_TRUE(waitForEvent(source, MESourceStarted));
}

CComPtr<IMFMediaEvent> SourceTest::waitForEvent(IMFMediaEventGenerator *generator, MediaEventType type)
{
    while (CComPtr<IMFMediaEvent> event = nextEvent(generator)) {
        MediaEventType found = MEUnknown;
        event->GetType(&found);
        if (found == type)
            return event;
    }
    ADD_FAILURE() << "no event of type " << type;
    return {};
}

std::vector<MediaEventType> SourceTest::eventsUpTo(IMFMediaEventGenerator *generator, MediaEventType last)
{
    std::vector<MediaEventType> types;
    while (types.empty() || types.back() != last) {
        const CComPtr<IMFMediaEvent> event = nextEvent(generator);
        if (!event)
            break;
        MediaEventType type = MEUnknown;
        event->GetType(&type);
        types.push_back(type);
    }
    return types;
}

CComPtr<IMFSample> SourceTest::nextSample(IMFMediaStream *stream)
{
    CComPtr<IMFSample> sample;
    const auto event = waitForEvent(stream, MEMediaSample);
    if (!event)
        return sample;
    PROPVARIANT value;
    PropVariantInit(&value);
    event->GetValue(&value);
    value.punkVal->QueryInterface(__uuidof(IMFSample), reinterpret_cast<void **>(&sample));
    PropVariantClear(&value);
    return sample;
}

CComPtr<IMFSample> SourceTest::requestSample(IMFMediaStream *stream)
{
    EXPECT_EQ(S_OK, stream->RequestSample(nullptr));
    return nextSample(stream);
}

NDIlib_video_frame_v2_t videoFrame(int width, int height, int64_t timecode, NDIlib_FourCC_video_type_e fourCC,
                                   int stride)
{
    NDIlib_video_frame_v2_t frame;
    frame.xres = width;
    frame.yres = height;
    frame.FourCC = fourCC;
    frame.frame_rate_N = 25;
    frame.frame_rate_D = 1;
    frame.timecode = timecode;
    frame.line_stride_in_bytes = stride ? stride : width * (fourCC == NDIlib_FourCC_video_type_UYVY ? 2 : 4);
    return frame;
}

std::vector<uint8_t> noise(size_t size, unsigned seed)
{
    std::vector<uint8_t> bytes(size);
    unsigned state = seed;
    for (uint8_t &value : bytes) {
        state = state * 1664525U + 1013904223U;
        value = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

NDIlib_audio_frame_v2_t audioFrame(int sampleRate, int channels, int samples, int64_t timecode)
{
    NDIlib_audio_frame_v2_t frame;
    frame.sample_rate = sampleRate;
    frame.no_channels = channels;
    frame.no_samples = samples;
    frame.timecode = timecode;
    frame.channel_stride_in_bytes = samples * 4;
    return frame;
}

std::vector<float> tone(int channels, int samples)
{
    std::vector<float> values(static_cast<size_t>(channels) * static_cast<size_t>(samples));
    for (size_t index = 0; index < values.size(); ++index)
        values[index] = static_cast<float>(index) / 1000.0F;
    return values;
}

LONGLONG timeOf(IMFSample *sample)
{
    LONGLONG time = -1;
    EXPECT_EQ(S_OK, sample->GetSampleTime(&time));
    return time;
}

LONGLONG durationOf(IMFSample *sample)
{
    LONGLONG duration = -1;
    EXPECT_EQ(S_OK, sample->GetSampleDuration(&duration));
    return duration;
}

std::vector<uint8_t> pictureOf(IMFSample *sample, size_t lineBytes, int lines)
{
    std::vector<uint8_t> picture;
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(S_OK, sample->ConvertToContiguousBuffer(&buffer));
    const MediaBufferMapping2D mapping(buffer, MF2DBuffer_LockFlags_Read);
    EXPECT_NE(nullptr, mapping.buffer());
    for (int line = 0; line < lines; ++line) {
        const unsigned char *const start = mapping.buffer() + static_cast<ptrdiff_t>(line) * mapping.pitch();
        picture.insert(picture.end(), start, start + lineBytes);
    }
    return picture;
}
