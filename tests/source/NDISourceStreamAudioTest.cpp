#include "format/MetadataEnvelope.h"
#include "hostfw/MediaBuffers.h"
#include "tests/source/StreamHarness.h"

namespace
{

class NDISourceStreamAudioTest : public StreamsTest
{
};

std::vector<float> soundOf(IMFSample *sample)
{
    CComPtr<IMFMediaBuffer> buffer;
    EXPECT_EQ(S_OK, sample->ConvertToContiguousBuffer(&buffer));
    const MediaBufferMapping mapping(buffer);
    const auto *const values = reinterpret_cast<const float *>(mapping.buffer());
    return {values, values + mapping.currentLength() / sizeof(float)};
}

} // namespace

TEST_F(NDISourceStreamAudioTest, AStereoFrameOf1600SamplesIs12800BytesWithoutATypeChange)
{
    start(source);
    const auto values = tone(2, 1600);
    ndi.pushAudio(audioFrame(48000, 2, 1600, oneSecond), values);
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamStarted, MEMediaSample}), eventsUpTo(streams[1], MEMediaSample));

    ndi.pushAudio(audioFrame(48000, 2, 1600, 2 * oneSecond), values);
    const auto sample = requestSample(streams[1]);
    EXPECT_EQ(333'333, durationOf(sample));
    CComPtr<IMFMediaBuffer> buffer;
    sample->ConvertToContiguousBuffer(&buffer);
    const MediaBufferMapping mapping(buffer);
    ASSERT_EQ(12800u, mapping.currentLength());
    const auto *const interleaved = reinterpret_cast<const float *>(mapping.buffer());
    for (size_t index = 0; index < 1600; ++index) {
        ASSERT_EQ(values[index], interleaved[index * 2]);
        ASSERT_EQ(values[1600 + index], interleaved[index * 2 + 1]);
    }
}

TEST_F(NDISourceStreamAudioTest, OneToEightChannelsArriveBitExact)
{
    start(source);
    for (int channels = 1; channels <= 8; ++channels) {
        const auto values = tone(channels, 441);
        ndi.pushAudio(audioFrame(44100, channels, 441, channels * oneSecond), values);
        const auto sample = requestSample(streams[1]);
        EXPECT_EQ(100'000, durationOf(sample));
        CComPtr<IMFMediaBuffer> buffer;
        sample->ConvertToContiguousBuffer(&buffer);
        const MediaBufferMapping mapping(buffer);
        ASSERT_EQ(441u * 4 * static_cast<DWORD>(channels), mapping.currentLength());
        const auto *const interleaved = reinterpret_cast<const float *>(mapping.buffer());
        for (int channel = 0; channel < channels; ++channel)
            for (int index = 0; index < 441; ++index)
                ASSERT_EQ(values[static_cast<size_t>(channel * 441 + index)], interleaved[index * channels + channel]);
    }
}

TEST_F(NDISourceStreamAudioTest, AnotherSampleRateIsAnnouncedBeforeItsSample)
{
    start(source);
    ndi.pushAudio(audioFrame(44100, 2, 441, oneSecond), tone(2, 441));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamStarted, MEStreamFormatChanged, MEMediaSample}),
              eventsUpTo(streams[1], MEMediaSample));
}

TEST_F(NDISourceStreamAudioTest, TwoAudioFramesWithOneTimecodeLieOneDurationApart)
{
    start(source);
    for (int index = 0; index < 2; ++index)
        ndi.pushAudio(audioFrame(48000, 2, 480, oneSecond), tone(2, 480));
    const LONGLONG first = timeOf(requestSample(streams[1]));
    EXPECT_EQ(first + 100'000, timeOf(requestSample(streams[1])));
}

TEST_F(NDISourceStreamAudioTest, HostileAudioFramesAreRefusedWithoutALine)
{
    AudioStream &stream = audioStream();
    auto values = tone(2, 480);
    const auto refused = [&](auto &&change) {
        auto frame = audioFrame(48000, 2, 480, oneSecond);
        frame.p_data = values.data();
        change(frame);
        return stream.processFrame(frame, nullptr) == E_INVALIDARG;
    };
    EXPECT_TRUE(refused([](auto &f) { f.sample_rate = 0; }));
    EXPECT_TRUE(refused([](auto &f) { f.sample_rate = -48000; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_channels = 0; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_channels = -1; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_channels = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_samples = -1; }));
    EXPECT_TRUE(refused([](auto &f) { f.no_samples = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.channel_stride_in_bytes = 4; }));
    EXPECT_TRUE(refused([](auto &f) { f.channel_stride_in_bytes = INT_MAX; }));
    EXPECT_TRUE(refused([](auto &f) { f.p_data = nullptr; }));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISourceStreamAudioTest, AnnouncesStereoFloatAt48KhzBeforeAnyFrame)
{
    const auto type = audioStream().createDefaultMediaType();
    EXPECT_EQ(MFAudioFormat_Float, subtypeOf(type));
    EXPECT_EQ(48000U, MFGetAttributeUINT32(type, MF_MT_AUDIO_SAMPLES_PER_SECOND, 0));
    EXPECT_EQ(2U, MFGetAttributeUINT32(type, MF_MT_AUDIO_NUM_CHANNELS, 0));
    EXPECT_EQ(32U, MFGetAttributeUINT32(type, MF_MT_AUDIO_BITS_PER_SAMPLE, 0));
    EXPECT_EQ(8U, MFGetAttributeUINT32(type, MF_MT_AUDIO_BLOCK_ALIGNMENT, 0));
    EXPECT_EQ(384000U, MFGetAttributeUINT32(type, MF_MT_AUDIO_AVG_BYTES_PER_SECOND, 0));
    EXPECT_EQ(3U, MFGetAttributeUINT32(type, MF_MT_AUDIO_CHANNEL_MASK, 0));
}

TEST_F(NDISourceStreamAudioTest, AFrameWithoutASampleRateIsRefusedAndNothingElseHappens)
{
    start(source);
    ndi.pushAudio(audioFrame(0, 2, 480, oneSecond), tone(2, 480));
    ndi.pushAudio(audioFrame(48000, 2, 96, 2 * oneSecond), tone(2, 96));
    ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamStarted, MEMediaSample}), eventsUpTo(streams[1], MEMediaSample));
    EXPECT_EQ(2, ndi.calls().capturedFrames);
    EXPECT_EQ(0, log.countContaining(" ["));
}

TEST_F(NDISourceStreamAudioTest, ChannelsThatLieFurtherApartThanTheirSamplesLeaveSilenceBehind)
{
    start(source);
    constexpr int samples = 100;
    constexpr int stride = 128; // floats
    // Fills the pool's buffer with something to be heard.
    ndi.pushAudio(audioFrame(48000, 2, stride, oneSecond), std::vector<float>(2 * stride, 0.5F));
    ASSERT_TRUE(requestSample(streams[1]));
    auto frame = audioFrame(48000, 2, samples, 2 * oneSecond);
    frame.channel_stride_in_bytes = stride * 4;
    const auto planes = tone(2, stride);
    ndi.pushAudio(frame, planes);
    const auto sample = requestSample(streams[1]);
    const auto values = soundOf(sample);
    ASSERT_EQ(size_t(2 * stride), values.size());
    for (size_t index = 0; index < samples; ++index) {
        ASSERT_EQ(planes[index], values[index * 2]);
        ASSERT_EQ(planes[stride + index], values[index * 2 + 1]);
    }
    for (size_t index = 2 * samples; index < values.size(); ++index)
        ASSERT_EQ(0.0F, values[index]) << index;
    EXPECT_EQ(20'833, durationOf(sample));
}

TEST_F(NDISourceStreamAudioTest, PerFrameMetadataRidesOnTheSampleAsItsPayload)
{
    start(source);
    const QByteArray payload("\x01\0sound", 7);
    ndi.pushAudio(audioFrame(48000, 2, 48, oneSecond), tone(2, 48), wrapMetadataPayload(payload).constData());
    ndi.pushAudio(audioFrame(48000, 2, 48, 2 * oneSecond), tone(2, 48), "<foreign/>");
    UINT8 *blob = nullptr;
    UINT32 size = 99;
    const auto first = requestSample(streams[1]);
    ASSERT_EQ(S_OK, first->GetAllocatedBlob(SampleMetadataAttribute, &blob, &size));
    EXPECT_EQ(payload, QByteArray(reinterpret_cast<const char *>(blob), static_cast<int>(size)));
    CoTaskMemFree(blob);
    EXPECT_EQ(1U, flagOf(first, MFSampleExtension_CleanPoint));
    EXPECT_EQ(S_OK, requestSample(streams[1])->GetBlobSize(SampleMetadataAttribute, &size));
    EXPECT_EQ(0U, size);
}

TEST_F(NDISourceStreamAudioTest, ATypeOfTheHostCountsAsTheFormatOfTheLastFrame)
{
    AudioStream &stream = audioStream();
    auto values = tone(2, 441);
    auto frame = audioFrame(44100, 2, 441, oneSecond);
    frame.p_data = values.data();
    const auto type = stream.createDefaultMediaType();
    type->SetUINT32(MF_MT_AUDIO_SAMPLES_PER_SECOND, 44100);
    ASSERT_EQ(S_OK, stream.setMediaType(type));
    ASSERT_EQ(S_OK, stream.processFrame(frame, nullptr));
    EXPECT_EQ(type.p, stream.m_mediaType.p);
    frame.no_channels = 1;
    ASSERT_EQ(S_OK, stream.processFrame(frame, nullptr));
    EXPECT_NE(type.p, stream.m_mediaType.p);
}

TEST_F(NDISourceStreamAudioTest, ATypeWithoutASampleRateIsTakenAllTheSame)
{
    AudioStream &stream = audioStream();
    const auto type = stream.createDefaultMediaType();
    type->DeleteItem(MF_MT_AUDIO_SAMPLES_PER_SECOND);
    EXPECT_EQ(S_OK, stream.setMediaType(type));
    EXPECT_EQ(type.p, stream.m_mediaType.p);
}

TEST_F(NDISourceStreamAudioTest, AFrameWithoutSamplesDoesNoHarm)
{
    AudioStream &stream = audioStream();
    auto values = tone(2, 1);
    auto frame = audioFrame(48000, 2, 0, oneSecond);
    frame.p_data = values.data();
    EXPECT_EQ(S_OK, stream.processFrame(frame, nullptr));
}

TEST_F(NDISourceStreamAudioTest, TheNumberOfSamplesMayChangeWithoutATypeChange)
{
    start(source);
    for (const int samples : {48, 4800, 96})
        ndi.pushAudio(audioFrame(48000, 2, samples, oneSecond), tone(2, samples));
    for (int request = 0; request < 3; ++request)
        ASSERT_EQ(S_OK, streams[1]->RequestSample(nullptr));
    std::vector<MediaEventType> events;
    for (int sample = 0; sample < 3; ++sample)
        for (const MediaEventType type : eventsUpTo(streams[1], MEMediaSample))
            events.push_back(type);
    EXPECT_EQ((std::vector<MediaEventType>{MEStreamStarted, MEMediaSample, MEMediaSample, MEMediaSample}), events);
}
