#include "sink/NDISinkAudioStream.h"

#include "format/MetadataEnvelope.h"
#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"
#include "tests/support/RefusingSample.h"

namespace
{

// Every value says which channel and which sample it is.
float valueAt(int channel, int sample)
{
    return static_cast<float>(channel * 10'000 + sample);
}

std::vector<float> interleaved(int channels, int samples)
{
    std::vector<float> values;
    for (int sample = 0; sample < samples; ++sample)
        for (int channel = 0; channel < channels; ++channel)
            values.push_back(valueAt(channel, sample));
    return values;
}

std::vector<std::vector<float>> planes(int channels, int samples)
{
    std::vector<std::vector<float>> result(static_cast<size_t>(channels));
    for (int channel = 0; channel < channels; ++channel)
        for (int sample = 0; sample < samples; ++sample)
            result[static_cast<size_t>(channel)].push_back(valueAt(channel, sample));
    return result;
}

class NDISinkAudioStreamTest : public MadeSinkTest
{
protected:
    // Sends the sample on this thread and returns what arrived.
    ScriptedNdi::SentAudio send(IMFSample *sample)
    {
        EXPECT_EQ(S_OK, stream.sendSample(sample));
        const auto sent = ndi.calls().sentAudio;
        EXPECT_FALSE(sent.empty());
        return sent.empty() ? ScriptedNdi::SentAudio() : sent.back();
    }

    LooseAudioStream stream{5, sink};
};

} // namespace

TEST_F(NDISinkAudioStreamTest, ThreeThousandEightHundredAndFortyBytesInStereoAre480SamplesAndAPlanarBufferOf3840Floats)
{
    stream.onMediaTypeChanged(soundType());
    const auto sent = send(bytesSample(std::vector<uint8_t>(3840)));
    EXPECT_EQ(480, sent.frame.no_samples);
    EXPECT_EQ(1920, sent.frame.channel_stride_in_bytes);
    EXPECT_EQ(3840u, stream.m_planarCapacity);
}

TEST_F(NDISinkAudioStreamTest, ThePlanarBufferGrowsByTheByteCountAndNeverShrinks)
{
    stream.onMediaTypeChanged(soundType());
    const auto *const first = send(bytesSample(std::vector<uint8_t>(3840))).frame.p_data;
    EXPECT_EQ(first, send(bytesSample(std::vector<uint8_t>(1920))).frame.p_data);
    // It would have found room, being counted in floats.
    const auto *const second = send(bytesSample(std::vector<uint8_t>(3848))).frame.p_data;
    EXPECT_NE(first, second);
    EXPECT_EQ(3848u, stream.m_planarCapacity);
    EXPECT_EQ(second, send(bytesSample(std::vector<uint8_t>(8))).frame.p_data);
    EXPECT_EQ(3848u, stream.m_planarCapacity);
}

TEST_F(NDISinkAudioStreamTest, AnEmptyBufferBeforeAnyOtherIsAFrameOfNoSamples)
{
    stream.onMediaTypeChanged(soundType());
    const auto sample = bytesSample(std::vector<uint8_t>(8));
    CComPtr<IMFMediaBuffer> buffer;
    ASSERT_EQ(S_OK, sample->GetBufferByIndex(0, &buffer));
    ASSERT_EQ(S_OK, buffer->SetCurrentLength(0));
    const auto sent = send(sample);
    EXPECT_EQ(0, sent.frame.no_samples);
    EXPECT_EQ(0, sent.frame.channel_stride_in_bytes);
    EXPECT_EQ(0u, stream.m_planarCapacity);
    EXPECT_EQ(planes(2, 480), send(soundSample(interleaved(2, 480))).channels);
}

TEST_F(NDISinkAudioStreamTest, BytesThatDoNotMakeAWholeSampleAreDropped)
{
    stream.onMediaTypeChanged(soundType());
    auto values = interleaved(2, 100);
    values.push_back(99'999.0F);
    const auto sent = send(soundSample(values));
    EXPECT_EQ(100, sent.frame.no_samples);
    EXPECT_EQ(400, sent.frame.channel_stride_in_bytes);
    EXPECT_EQ(planes(2, 100), sent.channels);
}

TEST_F(NDISinkAudioStreamTest, SampleCountsThatChangeFromSampleToSampleKeepTheirChannelsApart)
{
    stream.onMediaTypeChanged(soundType());
    for (const int samples : {1601, 1602, 1602, 1601, 1, 1602, 1601}) {
        const auto sent = send(soundSample(interleaved(2, samples)));
        EXPECT_EQ(samples, sent.frame.no_samples);
        EXPECT_EQ(samples * 4, sent.frame.channel_stride_in_bytes);
        EXPECT_EQ(planes(2, samples), sent.channels) << samples;
    }
}

TEST_F(NDISinkAudioStreamTest, OneToSixteenChannelsArriveBitExact)
{
    for (int channels = 1; channels <= 16; ++channels) {
        stream.onMediaTypeChanged(soundType(44100, static_cast<UINT32>(channels)));
        const auto sent = send(soundSample(interleaved(channels, 441)));
        EXPECT_EQ(44100, sent.frame.sample_rate);
        EXPECT_EQ(channels, sent.frame.no_channels);
        EXPECT_EQ(441, sent.frame.no_samples);
        EXPECT_EQ(planes(channels, 441), sent.channels) << channels;
    }
}

TEST_F(NDISinkAudioStreamTest, TheTimecodeIsTheSamplesTimeAndZeroForASampleWithoutOne)
{
    const auto sample = soundSample(interleaved(2, 480));
    stream.onMediaTypeChanged(soundType());
    EXPECT_EQ(0, send(sample).frame.timecode);
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Audio frame sent: 0ms"));
    sample->SetSampleTime(12'345'678);
    EXPECT_EQ(12'345'678, send(sample).frame.timecode);
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Audio frame sent: 1234ms"));
}

TEST_F(NDISinkAudioStreamTest, ASampleWithoutMetadataOrWithNoneInItIsSentWithout)
{
    const auto sample = soundSample(interleaved(2, 480));
    stream.onMediaTypeChanged(soundType());
    EXPECT_FALSE(send(sample).metadata);
    EXPECT_EQ(nullptr, ndi.calls().sentAudio.back().frame.p_metadata);
    sample->SetBlob(SampleMetadataAttribute, nullptr, 0);
    EXPECT_FALSE(send(sample).metadata);
}

TEST_F(NDISinkAudioStreamTest, MetadataOfASampleGoesOutWithItsFrameAndWithNoOther)
{
    const auto sample = soundSample(interleaved(2, 480));
    stream.onMediaTypeChanged(soundType());
    const QByteArray payload(1024 * 1024, '\xA5');
    sample->SetBlob(SampleMetadataAttribute, reinterpret_cast<const UINT8 *>(payload.constData()),
                    static_cast<UINT32>(payload.size()));
    const auto sent = send(sample);
    ASSERT_TRUE(sent.metadata);
    EXPECT_EQ(payload, metadataPayload(QByteArray::fromStdString(*sent.metadata)));
    EXPECT_FALSE(send(soundSample(interleaved(2, 480))).metadata);
}

TEST_F(NDISinkAudioStreamTest, MetadataThatCannotBeReadIsNotSent)
{
    stream.onMediaTypeChanged(soundType());
    UnreadableMetadataSample sample(soundSample(interleaved(2, 480)));
    const auto sent = send(&sample);
    EXPECT_EQ(nullptr, sent.frame.p_metadata);
    EXPECT_EQ(planes(2, 480), sent.channels);
    EXPECT_EQ(1, sample.metadataReads);
}

TEST_F(NDISinkAudioStreamTest, WithoutASenderAFrameIsDroppedAndLoggedAsSent)
{
    stream.onMediaTypeChanged(soundType());
    sink->destroySender();
    EXPECT_EQ(S_OK, stream.sendSample(soundSample(interleaved(2, 480))));
    EXPECT_TRUE(ndi.calls().sentAudio.empty());
    EXPECT_EQ(0, ndi.calls().straySendCalls);
    EXPECT_EQ(1, log.count(QtDebugMsg, sinkLog, "Audio frame sent: 0ms"));
}

TEST_F(NDISinkAudioStreamTest, ANullSampleIsRefused)
{
    EXPECT_EQ(E_INVALIDARG, stream.sendSample(nullptr));
    EXPECT_EQ(1, criticals(" [sample is null]"));
}

TEST_F(NDISinkAudioStreamTest, ASampleWithoutABufferReportsTheFailure)
{
    RefusingSample refusing;
    EXPECT_EQ(E_NOTIMPL, stream.sendSample(&refusing));
    EXPECT_EQ(1, criticals(" [sample->ConvertToContiguousBuffer(&buffer)] (HR=0x80004001)"));
}

TEST_F(NDISinkAudioStreamTest, ABufferThatCannotBeMappedIsReported)
{
    EXPECT_EQ(E_POINTER, stream.sendSample(sampleWith(CComPtr<IMFMediaBuffer>(new UnreadableBuffer))));
    EXPECT_EQ(1, criticals(" [bufferLock.buffer() is null]"));
    EXPECT_TRUE(ndi.calls().sentAudio.empty());
}

TEST_F(NDISinkAudioStreamTest, ATypeThatCannotBeReadLeavesTheFormatAndIsAdoptedAllTheSame)
{
    stream.onMediaTypeChanged(soundType(44100, 1));
    EXPECT_EQ(S_OK, stream.onMediaTypeChanged(partialType(MFMediaType_Audio, MFAudioFormat_Float)));
    const auto sent = send(soundSample(interleaved(1, 441)));
    EXPECT_EQ(44100, sent.frame.sample_rate);
    EXPECT_EQ(1, sent.frame.no_channels);
}

TEST_F(NDISinkAudioStreamTest, BeforeAnyTypeTheFormatIsStereoAt48Khz)
{
    const auto sent = send(soundSample(interleaved(2, 480)));
    EXPECT_EQ(48000, sent.frame.sample_rate);
    EXPECT_EQ(planes(2, 480), sent.channels);
}

TEST_F(NDISinkAudioStreamTest, ChannelCountsOfWhichNoSampleCanBeMadeSendNone)
{
    for (const UINT32 channels : {0u, 0x40000000u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(S_OK, stream.onMediaTypeChanged(soundType(48000, channels)));
        EXPECT_EQ(S_OK, stream.sendSample(soundSample(interleaved(2, 480))));
    }
    for (const auto &sent : ndi.calls().sentAudio)
        EXPECT_EQ(0, sent.frame.no_samples);
}
