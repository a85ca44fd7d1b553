#pragma once

#include "source/NDISourceMF.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <gtest/gtest.h>

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

constexpr LONGLONG oneSecond = 10'000'000; // in 100 ns

// A media source on the scripted runtime, driven as a media session would.
class SourceTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    static SourceParameters parameters(bool video = true, bool audio = true);
    // A source for those parameters; the sender is on the network. The test does not end before it does.
    CComPtr<NDISourceMF> makeSource(const SourceParameters &params = parameters());
    // The test does not end before that source does.
    void watch(NDISourceMF *source);
    // Starts every stream without waiting. A failed start is told by events that come in no fixed order.
    static CComPtr<IMFPresentationDescriptor> beginStart(NDISourceMF *source);
    // Starts every stream and keeps the streams by their order in the descriptor.
    void start(NDISourceMF *source);
    // The next event of that kind; others before it are dropped. Fails the test after a deadline.
    static CComPtr<IMFMediaEvent> waitForEvent(IMFMediaEventGenerator *generator, MediaEventType type);
    // The types of the events up to and including the first of `last`.
    static std::vector<MediaEventType> eventsUpTo(IMFMediaEventGenerator *generator, MediaEventType last);
    static CComPtr<IMFSample> nextSample(IMFMediaStream *stream);
    static CComPtr<IMFSample> requestSample(IMFMediaStream *stream);

    ScriptedNdi &ndi = ScriptedNdi::instance();
    LogCapture log;
    std::vector<CComPtr<IMFMediaStream>> streams;

private:
    class LiveSources
    {
    public:
        void add(int change);
        bool waitForNone();

    private:
        std::mutex m_mutex;
        std::condition_variable m_changed;
        int m_count = 0;
    };

    const std::shared_ptr<LiveSources> m_alive = std::make_shared<LiveSources>();
};

NDIlib_video_frame_v2_t videoFrame(int width, int height, int64_t timecode,
                                   NDIlib_FourCC_video_type_e fourCC = NDIlib_FourCC_video_type_UYVY, int stride = 0);
// Bytes that differ from place to place.
std::vector<uint8_t> noise(size_t size, unsigned seed = 1);
NDIlib_audio_frame_v2_t audioFrame(int sampleRate, int channels, int samples, int64_t timecode);
std::vector<float> tone(int channels, int samples);

LONGLONG timeOf(IMFSample *sample);
LONGLONG durationOf(IMFSample *sample);
// The picture's lines, packed, top line first.
std::vector<uint8_t> pictureOf(IMFSample *sample, size_t lineBytes, int lines);
