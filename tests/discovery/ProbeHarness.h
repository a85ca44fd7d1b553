#pragma once

#include "discovery/NDIProbe.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <QtCore/QMetaObject>

#include <gtest/gtest.h>

#include <limits>
#include <vector>

// A probe on a receiver of the scripted runtime.
class NDIProbeTest : public testing::Test
{
protected:
    NDIProbeTest()
    {
        QObject::connect(&probe, &NDIProbe::finished, [this](HRESULT status) { outcomes.push_back(status); });
    }
    ~NDIProbeTest() override
    {
        NDIlib_recv_destroy(receiver);
        EXPECT_TRUE(ndi.reset());
    }

    // One run on this thread.
    void doProbe(HnsTime howLong)
    {
        EXPECT_TRUE(QMetaObject::invokeMethod(&probe, "doProbe", Qt::DirectConnection, Q_ARG(HnsTime, howLong)));
    }

    static NDIlib_video_frame_v2_t videoFrame(NDIlib_FourCC_video_type_e fourCC = NDIlib_FourCC_video_type_UYVY)
    {
        NDIlib_video_frame_v2_t frame;
        frame.xres = 640;
        frame.yres = 360;
        frame.FourCC = fourCC;
        frame.frame_rate_N = 50;
        frame.frame_rate_D = 1;
        frame.timecode = 12'349'999; // 100 ns units: 1234 whole milliseconds
        return frame;
    }
    static NDIlib_audio_frame_v2_t audioFrame()
    {
        NDIlib_audio_frame_v2_t frame;
        frame.sample_rate = 44100;
        frame.no_channels = 2;
        frame.timecode = 56'780'000;
        return frame;
    }
    void pushVideo(const char *metadata = nullptr) { ndi.pushVideo(videoFrame(), {}, metadata); }
    void pushAudio(const char *metadata = nullptr) { ndi.pushAudio(audioFrame(), {}, metadata); }

    const HnsTime forever = std::numeric_limits<long long>::max();
    ScriptedNdi &ndi = ScriptedNdi::instance();
    LogCapture log;
    const NDIlib_recv_instance_t receiver = makeReceiver();
    NDIProbe probe{receiver};
    std::vector<HRESULT> outcomes; // with which `finished` came

private:
    static NDIlib_recv_instance_t makeReceiver()
    {
        ScriptedNdi::instance().reset();
        const NDIlib_recv_create_t settings;
        return NDIlib_recv_create_v2(&settings);
    }
};
