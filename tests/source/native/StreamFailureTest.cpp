// What the streams do with frames when the system or a consumer of their samples fails them. Samples come back to their
// pool at once here; not every system has them do so.

#include "source/HardwareBuffer.h"
#include "tests/source/StreamHarness.h"
#include "tests/support/RefusingSample.h"
#include "tests/support/native/FailingMediaCalls.h"

#include <stdexcept>

namespace
{

class StreamFailureTest : public StreamsTest
{
protected:
    void pushVideo() { ndi.pushVideo(videoFrame(64, 36, ++m_frames * oneSecond), noise(64 * 2 * 36)); }
    void pushAudio() { ndi.pushAudio(audioFrame(48000, 2, 480, ++m_frames * oneSecond), tone(2, 480)); }
    // Whether that line comes, and as many frames have gone back to the runtime.
    bool isDropped(int givenBack, const char *line)
    {
        return log.waitFor(QtCriticalMsg, sourceLog, line) &&
               ndi.waitFor([givenBack](const auto &calls) { return calls.freedFrames == givenBack; });
    }

private:
    int m_frames = 0;
};

class UnreadableSample : public RefusingSample
{
public:
    STDMETHODIMP AddBuffer(IMFMediaBuffer *) override { return S_OK; }
    STDMETHODIMP ConvertToContiguousBuffer(IMFMediaBuffer **) override { return E_UNEXPECTED; }
};

CComPtr<IMFMediaBuffer> bufferOf(IMFSample *sample)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(S_OK, sample->GetBufferByIndex(0, &buffer));
    return buffer;
}

} // namespace

TEST_F(StreamFailureTest, AFrameComesBesideAPictureThatItsConsumerStillHoldsLocked)
{
    start(source);
    pushVideo();
    const CComPtr<IMFMediaBuffer> buffer = bufferOf(requestSample(streams[0]));
    BYTE *bytes = nullptr;
    ASSERT_EQ(S_OK, buffer->Lock(&bytes, nullptr, nullptr));
    pushVideo();
    EXPECT_TRUE(requestSample(streams[0]));
    EXPECT_EQ(S_OK, buffer->Unlock());
}

TEST_F(StreamFailureTest, AFrameComesAfterAPictureThatItsConsumerTookOutOfItsSample)
{
    start(source);
    pushVideo();
    requestSample(streams[0])->RemoveAllBuffers();
    pushVideo();
    EXPECT_TRUE(requestSample(streams[0]));
}

TEST_F(StreamFailureTest, AFrameForAPictureThatItsConsumerForgotToUnlockIsDropped)
{
    start(source);
    pushVideo();
    IMFMediaBuffer *const buffer = bufferOf(requestSample(streams[0])); // the pool's
    BYTE *bytes = nullptr;
    ASSERT_EQ(S_OK, buffer->Lock(&bytes, nullptr, nullptr));
    pushVideo();
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    EXPECT_TRUE(isDropped(2, " [bufferLock.buffer() is null]"));
    buffer->Unlock();
    pushVideo();
    EXPECT_TRUE(nextSample(streams[0]));
}

TEST_F(StreamFailureTest, AVideoFrameForASampleThatCannotBeReadIsDropped)
{
    UnreadableSample sample;
    const MadeVideoSample samples(sample);
    start(source);
    pushVideo();
    ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
    EXPECT_TRUE(isDropped(1, " [poolSample->ConvertToContiguousBuffer(&buffer)] (HR=0x8000FFFF)"));
}

TEST_F(StreamFailureTest, AnAudioFrameWithoutASampleToTakeIsDropped)
{
    start(source);
    {
        const FailingMediaCall failing(MediaCall::CreateTrackedSample, E_OUTOFMEMORY);
        pushAudio();
        ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
        EXPECT_TRUE(isDropped(1, " [m_samplePool->Pop(&poolSample, frameSize)] (HR=0x8007000E)"));
    }
    pushAudio();
    EXPECT_TRUE(nextSample(streams[1]));
}

TEST_F(StreamFailureTest, AVideoFrameWithoutASampleToTakeIsDropped)
{
    start(source);
    {
        const FailingMediaCall failing(MediaCall::CreateVideoSampleFromSurface, E_OUTOFMEMORY);
        pushVideo();
        ASSERT_EQ(S_OK, streams[0]->RequestSample(nullptr));
        EXPECT_TRUE(isDropped(1, " [m_samplePool->Pop(&poolSample)] (HR=0x8007000E)"));
        EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                               " [MFCreateVideoSampleFromSurface(nullptr, &sample)] (HR=0x8007000E)"));
    }
    pushVideo();
    EXPECT_TRUE(nextSample(streams[0]));
}

TEST_F(StreamFailureTest, ATextureThatCannotBeABufferIsReported)
{
    const FailingMediaCall failing(MediaCall::CreateDXGISurfaceBuffer, E_OUTOFMEMORY);
    CD3D11DeviceManager manager(deviceManager());
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(E_OUTOFMEMORY, createHardwareBuffer(64, 36, MFVideoFormat_YUY2, &manager, &buffer));
    EXPECT_FALSE(buffer);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog,
                           " [MFCreateDXGISurfaceBuffer(__uuidof(ID3D11Texture2D), texture, 0, 0, &mediaBuffer)] "
                           "(HR=0x8007000E)"));
}

TEST_F(StreamFailureTest, AVideoFrameIsGivenBackWhenItsDeliveryThrows)
{
    const ThrowingPictureCopies copies;
    pushVideo();
    EXPECT_THROW(source->captureFrame(NDIlib_frame_type_video), std::runtime_error);
    EXPECT_EQ(1, ndi.calls().freedFrames);
}
