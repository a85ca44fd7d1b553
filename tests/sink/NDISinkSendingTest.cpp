// What the media sink sends, and what waits for it.

#include "sink/NDISinkMF.h"

#include "tests/sink/SinkHarness.h"
#include "tests/source/SourceHarness.h"

#include <future>

using NDISinkSendingTest = SinkTest;

TEST_F(NDISinkSendingTest, MetadataGoesOutOnTheQueueAsItIsWithATimecodeOfTheSendersMaking)
{
    sink = makeSink();
    QByteArray text("<tvx>\xC3\xA4</tvx>");
    sink->sendMetadata(text);
    text.fill('x');
    sink->sendMetadata(QByteArray());
    drain(sink);
    const auto sent = ndi.calls().sentMetadata;
    ASSERT_EQ(2u, sent.size());
    EXPECT_EQ(std::string("<tvx>\xC3\xA4</tvx>"), sent[0].text);
    EXPECT_EQ(0, sent[0].length);
    EXPECT_EQ(INT64_MAX, sent[0].timecode);
    EXPECT_EQ(std::string(), sent[1].text);
}

TEST_F(NDISinkSendingTest, MetadataIsCopiedAlsoOutOfMemoryThatIsNotTheArrays)
{
    sink = makeSink();
    std::string memory = "<a/>and what is behind it";
    ndi.holdSends(true);
    sink->sendMetadata(QByteArray::fromRawData(memory.data(), 4));
    memory.assign(memory.size(), 'x');
    ndi.holdSends(false);
    drain(sink);
    EXPECT_EQ(std::string("<a/>"), ndi.calls().sentMetadata.at(0).text);
}

TEST_F(NDISinkSendingTest, MetadataWithoutASenderIsDroppedInSilence)
{
    sink = makeSink();
    sink->destroySender();
    sink->sendMetadata("<a/>");
    drain(sink);
    EXPECT_TRUE(ndi.calls().sentMetadata.empty());
    EXPECT_EQ(0, ndi.calls().straySendCalls);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NDISinkSendingTest, FramesOfBothStreamsAndMetadataGoOutInTheOrderInWhichTheyCame)
{
    makeStartedSink();
    const auto video = streamOf(sink, 0);
    const auto audio = streamOf(sink, 1);
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
        ASSERT_EQ(S_OK, audio->ProcessSample(soundSample(std::vector<float>(960))));
        sink->sendMetadata("<a/>");
    }
    drain(sink);
    std::vector<SendCall> expected{SendCall::Create};
    for (int round = 0; round < 3; ++round)
        expected.insert(expected.end(), {SendCall::Video, SendCall::Audio, SendCall::Metadata});
    EXPECT_EQ(expected, ndi.calls().sendCalls);
}

TEST_F(NDISinkSendingTest, AFlushWaitsForTheFrameThatIsBeingSent)
{
    makeStartedSink();
    const auto video = streamOf(sink, 0);
    ndi.holdSends(true);
    ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendsEntered == 1; }));
    auto flushed = std::async(std::launch::async, [&] { return video->Flush(); });
    EXPECT_EQ(std::future_status::timeout, flushed.wait_for(std::chrono::milliseconds(20)));
    // More samples are taken meanwhile: the stream's lock is not the sink's.
    ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
    ndi.holdSends(false);
    EXPECT_EQ(S_OK, flushed.get());
    drain(sink);
    EXPECT_EQ(2u, ndi.calls().sentVideo.size());
    EXPECT_EQ(0, ndi.calls().overlappingSendCalls);
}

TEST_F(NDISinkSendingTest, ADestructionOfTheSenderWaitsForTheFrameThatIsBeingSent)
{
    makeStartedSink();
    const auto video = streamOf(sink, 0);
    ndi.holdSends(true);
    ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendsEntered == 1; }));
    auto destroyed = std::async(std::launch::async, [this] { return sink->destroySender(); });
    EXPECT_EQ(std::future_status::timeout, destroyed.wait_for(std::chrono::milliseconds(20)));
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
    ndi.holdSends(false);
    EXPECT_EQ(S_OK, destroyed.get());
    EXPECT_EQ((std::vector<SendCall>{SendCall::Create, SendCall::Video, SendCall::Flush, SendCall::Destroy}),
              ndi.calls().sendCalls);
    EXPECT_EQ(0, ndi.calls().overlappingSendCalls);
    // What comes later finds no sender.
    ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
    drain(sink);
    EXPECT_EQ(1u, ndi.calls().sentVideo.size());
    EXPECT_EQ(0, ndi.calls().straySendCalls);
}

TEST_F(NDISinkSendingTest, LetGoWithAFullQueueItSendsWhatItWasGivenAndThenNothing)
{
    makeStartedSink();
    ndi.holdSends(true);
    {
        const auto video = streamOf(sink, 0);
        const auto audio = streamOf(sink, 1);
        for (int round = 0; round < 25; ++round) {
            ASSERT_EQ(S_OK, video->ProcessSample(bytesSample(noise(64 * 2 * 36))));
            ASSERT_EQ(S_OK, audio->ProcessSample(soundSample(std::vector<float>(960))));
        }
        sink->sendMetadata("<last/>");
    }
    sink.Release();
    EXPECT_EQ(0, ndi.calls().sendersDestroyed);
    ndi.holdSends(false);
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.sendersDestroyed == 1; }));
    const auto calls = ndi.calls();
    EXPECT_EQ(25u, calls.sentVideo.size());
    EXPECT_EQ(25u, calls.sentAudio.size());
    ASSERT_EQ(54u, calls.sendCalls.size());
    EXPECT_EQ((std::vector<SendCall>{SendCall::Metadata, SendCall::Flush, SendCall::Destroy}),
              std::vector<SendCall>(calls.sendCalls.end() - 3, calls.sendCalls.end()));
}
