#pragma once

#include "sink/NDISinkAudioStream.h"
#include "sink/NDISinkMF.h"
#include "sink/NDISinkVideoStream.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <mutex>
#include <vector>

constexpr HRESULT notValidState = static_cast<HRESULT>(0x8007139FL);
constexpr DWORD fourCCUYVY = NDIlib_FourCC_video_type_UYVY;
constexpr DWORD rgb32Format = 22;  // D3DFMT_X8R8G8B8
constexpr DWORD argb32Format = 21; // D3DFMT_A8R8G8B8

// A media sink on the scripted runtime, driven as a media session would.
class SinkTest : public testing::Test
{
protected:
    using SendCall = ScriptedNdi::SendCall;

    SinkTest();
    // Lets go of the sink when its queue is empty: streams of the test's own must not go while jobs are queued.
    void TearDown() override;

    static NDISinkParams parameters(bool video = true, bool audio = true);
    static CComPtr<NDISinkMF> makeSink(const NDISinkParams &params = parameters());
    // The test's sink, its streams typed and started.
    void makeStartedSink();
    static CComPtr<IMFStreamSink> streamOf(IMFMediaSink *sink, DWORD index);
    static CComPtr<IMFMediaTypeHandler> handlerOf(IMFStreamSink *stream);
    // Waits until the queue has run what it was given before.
    static void drain(const CComPtr<NDISinkMF> &sink);
    // Sets the type and waits until it is adopted.
    static void setType(const CComPtr<NDISinkMF> &sink, IMFStreamSink *stream, IMFMediaType *type);
    // What the stream has queued and nobody has taken yet.
    static std::vector<CComPtr<IMFMediaEvent>> takeEvents(IMFMediaEventGenerator *generator);
    static std::vector<MediaEventType> takeEventTypes(IMFMediaEventGenerator *generator);
    int criticals(const QString &text) { return log.count(QtCriticalMsg, sinkLog, text); }

    ScriptedNdi &ndi = ScriptedNdi::instance();
    LogCapture log;
    CComPtr<NDISinkMF> sink; // made by the test
};

// A sink with both streams is there from the start.
class MadeSinkTest : public SinkTest
{
protected:
    MadeSinkTest() { sink = makeSink(); }
};

// A stream that writes down what it is given.
class RecordingStream : public NDISinkStream
{
public:
    using NDISinkStream::m_mediaTypeHandler;
    using NDISinkStream::NDISinkStream;

    std::vector<CComPtr<IMFSample>> samples();
    std::vector<CComPtr<IMFMediaType>> types();
    HRESULT typeResult = S_OK;

protected:
    HRESULT sendSample(IMFSample *sample) override;
    HRESULT onMediaTypeChanged(IMFMediaType *type) override;

private:
    std::mutex m_mutex;
    std::vector<CComPtr<IMFSample>> m_samples; // guarded by m_mutex, like the next
    std::vector<CComPtr<IMFMediaType>> m_types;
};

// One of these, of a sink with streams of its own.
class RecordingStreamTest : public MadeSinkTest
{
protected:
    void makeTyped();
    // Without the events of the start.
    void makeStarted();

    RecordingStream stream{5, sink};
};

// The stream sinks with their insides at hand. They belong to no sink's list.
class LooseVideoStream : public NDISinkVideoStream
{
public:
    using NDISinkVideoStream::NDISinkVideoStream;
    using NDISinkVideoStream::onMediaTypeChanged;
    using NDISinkVideoStream::sendSample;
};

class LooseAudioStream : public NDISinkAudioStream
{
public:
    using NDISinkAudioStream::m_planarCapacity;
    using NDISinkAudioStream::NDISinkAudioStream;
    using NDISinkAudioStream::onMediaTypeChanged;
    using NDISinkAudioStream::sendSample;
};

CComPtr<IMFMediaType> partialType(const GUID &majorType, const GUID &subtype);
// 25 progressive frames a second with square pixels.
CComPtr<IMFMediaType> pictureType(UINT32 width = 64, UINT32 height = 36, const GUID &subtype = MFVideoFormat_UYVY);
CComPtr<IMFMediaType> soundType(UINT32 sampleRate = 48000, UINT32 channels = 2);

// Samples with one buffer. `picture` holds packed lines, the top one first.
CComPtr<IMFSample> sampleWith(IMFMediaBuffer *buffer);
CComPtr<IMFSample> pictureSample(const std::vector<uint8_t> &picture, DWORD width, DWORD height,
                                 DWORD format = fourCCUYVY, bool bottomUp = false);
CComPtr<IMFSample> bytesSample(const std::vector<uint8_t> &bytes);
CComPtr<IMFSample> soundSample(const std::vector<float> &interleaved);
CComPtr<IMFSample> emptySample();

// The references that are held, seen by taking and giving back one.
template <typename Object>
ULONG referencesOf(Object *object)
{
    object->AddRef();
    return object->Release();
}
template <typename Object>
ULONG referencesOf(const CComPtr<Object> &object)
{
    return referencesOf(object.p);
}
