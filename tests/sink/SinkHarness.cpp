#include "tests/sink/SinkHarness.h"

#include <cstring>
#include <future>

SinkTest::SinkTest()
{
    ndi.reset();
}

void SinkTest::TearDown()
{
    if (sink)
        drain(sink);
    sink.Release();
    // Sinks may end on the threads of their queues.
    ndi.waitFor([](const auto &calls) { return calls.sendersMade == calls.sendersDestroyed; });
    EXPECT_TRUE(ndi.reset()) << "a sender was not given back, or not used one call at a time while it was there";
}

NDISinkParams SinkTest::parameters(bool video, bool audio)
{
    return {QStringLiteral("Studio"), video, audio};
}

CComPtr<NDISinkMF> SinkTest::makeSink(const NDISinkParams &params)
{
    return {new NDISinkMF(params)};
}

void SinkTest::makeStartedSink()
{
    sink = makeSink();
    setType(sink, streamOf(sink, 0), pictureType());
    setType(sink, streamOf(sink, 1), soundType());
    ASSERT_EQ(S_OK, sink->OnClockStart(0, 0));
}

CComPtr<IMFStreamSink> SinkTest::streamOf(IMFMediaSink *sink, DWORD index)
{
    CComPtr<IMFStreamSink> stream;
    EXPECT_EQ(S_OK, sink->GetStreamSinkByIndex(index, &stream));
    return stream;
}

CComPtr<IMFMediaTypeHandler> SinkTest::handlerOf(IMFStreamSink *stream)
{
    CComPtr<IMFMediaTypeHandler> handler;
    EXPECT_EQ(S_OK, stream->GetMediaTypeHandler(&handler));
    return handler;
}

void SinkTest::drain(const CComPtr<NDISinkMF> &sink)
{
    const auto reached = std::make_shared<std::promise<void>>();
    ASSERT_EQ(S_OK, sink->push([reached] {
        reached->set_value();
        return S_OK;
    }));
    ASSERT_EQ(std::future_status::ready, reached->get_future().wait_for(std::chrono::seconds(20)));
}

void SinkTest::setType(const CComPtr<NDISinkMF> &sink, IMFStreamSink *stream, IMFMediaType *type)
{
    ASSERT_EQ(S_OK, handlerOf(stream)->SetCurrentMediaType(type));
    drain(sink);
}

std::vector<CComPtr<IMFMediaEvent>> SinkTest::takeEvents(IMFMediaEventGenerator *generator)
{
    std::vector<CComPtr<IMFMediaEvent>> events;
    CComPtr<IMFMediaEvent> event;
    while (generator->GetEvent(MF_EVENT_FLAG_NO_WAIT, &event) == S_OK) {
        events.push_back(event);
        event.Release();
    }
    return events;
}

std::vector<MediaEventType> SinkTest::takeEventTypes(IMFMediaEventGenerator *generator)
{
    std::vector<MediaEventType> types;
    for (const auto &event : takeEvents(generator)) {
        MediaEventType type = MEUnknown;
        event->GetType(&type);
        types.push_back(type);
    }
    return types;
}

std::vector<CComPtr<IMFSample>> RecordingStream::samples()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_samples;
}

std::vector<CComPtr<IMFMediaType>> RecordingStream::types()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_types;
}

HRESULT RecordingStream::sendSample(IMFSample *sample)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_samples.emplace_back(sample);
    return S_OK;
}

HRESULT RecordingStream::onMediaTypeChanged(IMFMediaType *type)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_types.emplace_back(type);
    return typeResult;
}

void RecordingStreamTest::makeTyped()
{
    ASSERT_EQ(S_OK, stream.MediaTypeResolved(pictureType()));
    drain(sink);
}

void RecordingStreamTest::makeStarted()
{
    makeTyped();
    ASSERT_EQ(S_OK, stream.Start(0, 0));
    ASSERT_EQ((std::vector<MediaEventType>{MEStreamSinkStarted, MEStreamSinkRequestSample}), takeEventTypes(&stream));
}

CComPtr<IMFMediaType> partialType(const GUID &majorType, const GUID &subtype)
{
    CComPtr<IMFMediaType> type;
    EXPECT_EQ(S_OK, MFCreateMediaType(&type));
    type->SetGUID(MF_MT_MAJOR_TYPE, majorType);
    type->SetGUID(MF_MT_SUBTYPE, subtype);
    return type;
}

CComPtr<IMFMediaType> pictureType(UINT32 width, UINT32 height, const GUID &subtype)
{
    const auto type = partialType(MFMediaType_Video, subtype);
    MFSetAttributeSize(type, MF_MT_FRAME_SIZE, width, height);
    MFSetAttributeRatio(type, MF_MT_FRAME_RATE, 25, 1);
    MFSetAttributeRatio(type, MF_MT_PIXEL_ASPECT_RATIO, 1, 1);
    type->SetUINT32(MF_MT_INTERLACE_MODE, MFVideoInterlace_Progressive);
    type->SetUINT32(MF_MT_ALL_SAMPLES_INDEPENDENT, TRUE);
    return type;
}

CComPtr<IMFMediaType> soundType(UINT32 sampleRate, UINT32 channels)
{
    const auto type = partialType(MFMediaType_Audio, MFAudioFormat_Float);
    type->SetUINT32(MF_MT_AUDIO_BITS_PER_SAMPLE, 32);
    type->SetUINT32(MF_MT_AUDIO_NUM_CHANNELS, channels);
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, sampleRate);
    return type;
}

CComPtr<IMFSample> emptySample()
{
    CComPtr<IMFSample> sample;
    EXPECT_EQ(S_OK, MFCreateSample(&sample));
    return sample;
}

CComPtr<IMFSample> sampleWith(IMFMediaBuffer *buffer)
{
    const auto sample = emptySample();
    EXPECT_EQ(S_OK, sample->AddBuffer(buffer));
    return sample;
}

CComPtr<IMFSample> pictureSample(const std::vector<uint8_t> &picture, DWORD width, DWORD height, DWORD format,
                                 bool bottomUp)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(S_OK, MFCreate2DMediaBuffer(width, height, format, bottomUp, &buffer));
    CComPtr<IMF2DBuffer> lines;
    EXPECT_EQ(S_OK, buffer->QueryInterface(__uuidof(IMF2DBuffer), reinterpret_cast<void **>(&lines)));
    BYTE *top = nullptr;
    LONG pitch = 0;
    EXPECT_EQ(S_OK, lines->Lock2D(&top, &pitch));
    const size_t lineBytes = picture.size() / height;
    for (DWORD line = 0; line < height; ++line)
        std::memcpy(top + static_cast<ptrdiff_t>(pitch) * static_cast<ptrdiff_t>(line),
                    picture.data() + lineBytes * line, lineBytes);
    lines->Unlock2D();
    buffer->SetCurrentLength(static_cast<DWORD>(picture.size()));
    return sampleWith(buffer);
}

CComPtr<IMFSample> bytesSample(const std::vector<uint8_t> &bytes)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(S_OK, MFCreateMemoryBuffer(static_cast<DWORD>(bytes.size()), &buffer));
    BYTE *start = nullptr;
    EXPECT_EQ(S_OK, buffer->Lock(&start, nullptr, nullptr));
    std::memcpy(start, bytes.data(), bytes.size());
    buffer->Unlock();
    buffer->SetCurrentLength(static_cast<DWORD>(bytes.size()));
    return sampleWith(buffer);
}

CComPtr<IMFSample> soundSample(const std::vector<float> &interleaved)
{
    std::vector<uint8_t> bytes(interleaved.size() * sizeof(float));
    std::memcpy(bytes.data(), interleaved.data(), bytes.size());
    return bytesSample(bytes);
}
