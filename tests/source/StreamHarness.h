#pragma once

#include "hostfw/MessageQueue.h"
#include "source/NDISourceStreamAudio.h"
#include "source/NDISourceStreamVideo.h"
#include "tests/source/SourceHarness.h"

#include <memory>

// The streams with their insides at hand.
class VideoStream : public NDISourceStreamVideo
{
public:
    using NDISourceStreamVideo::calculateFrameDuration;
    using NDISourceStreamVideo::createSample;
    using NDISourceStreamVideo::m_frameDuration;
    using NDISourceStreamVideo::m_mediaType;
    using NDISourceStreamVideo::NDISourceStreamVideo;
    using NDISourceStreamVideo::OnSeek;
    using NDISourceStreamVideo::stampSample;
    using NDISourceStreamVideo::updateFrameConverter;
};

class AudioStream : public NDISourceStreamAudio
{
public:
    using NDISourceStreamAudio::m_mediaType;
    using NDISourceStreamAudio::NDISourceStreamAudio;
};

// A source with both streams, and beside them streams that belong to no presentation: what those push is dropped.
class StreamsTest : public SourceTest
{
protected:
    void SetUp() override;
    void TearDown() override;

    // Another source in place of the first, for hardware samples.
    void useHardware();
    static CComPtr<IUnknown> deviceManager();

    VideoStream &videoStream();
    AudioStream &audioStream();

    CComPtr<NDISourceMF> source;

private:
    const tvx::MFMessageQueue m_queue{tvx::MFMessageQueue::Type::Serial, 0};
    std::unique_ptr<VideoStream> m_video;
    std::unique_ptr<AudioStream> m_audio;
};

CComPtr<IMFSample> plainSample();
CComPtr<IMFMediaType> videoType(const GUID &subtype, UINT32 rateNumerator = 25, UINT32 rateDenominator = 1);
GUID subtypeOf(IMFMediaType *type);
// The sample's value, or `absent`.
UINT32 flagOf(IMFSample *sample, const GUID &key, UINT32 absent = 99);
