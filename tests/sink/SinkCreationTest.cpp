#include "sink/SinkCreation.h"

#include "hostfw/ComException.h"
#include "sink/NDIMediaTypeHandlerAudio.h"
#include "sink/NDIMediaTypeHandlerVideo.h"
#include "tests/sink/SinkFakes.h"
#include "tests/sink/SinkHarness.h"

namespace
{

class SinkCreationTest : public SinkTest
{
protected:
    // What the search for a video stream of that sink ends with.
    static ComException failureOf(IMFMediaSink *sink)
    {
        try {
            createStreamSinkNode(sink, MFMediaType_Video);
        } catch (const ComException &exception) {
            return exception;
        }
        ADD_FAILURE() << "no failure";
        return ComException(S_OK, QString());
    }
};

} // namespace

TEST_F(SinkCreationTest, AJobsResultHoldsTheSinkAndNodesForWantedStreamsOnly)
{
    const auto both = createSinkJob(parameters(true, true));
    EXPECT_EQ(S_OK, both.hr);
    EXPECT_TRUE(both.sink);
    EXPECT_TRUE(both.videoNode);
    EXPECT_TRUE(both.audioNode);
    EXPECT_TRUE(both.error.isEmpty());
    const auto sound = createSinkJob(parameters(false, true));
    EXPECT_FALSE(sound.videoNode);
    EXPECT_TRUE(sound.audioNode);
    const auto pictures = createSinkJob(parameters(true, false));
    EXPECT_TRUE(pictures.videoNode);
    EXPECT_FALSE(pictures.audioNode);
}

TEST_F(SinkCreationTest, AFailedJobsResultHoldsTheCodeAndTheMessageAlone)
{
    ndi.refuseSenders(true);
    const auto result = createSinkJob(parameters());
    EXPECT_EQ(E_FAIL, result.hr);
    EXPECT_EQ(QStringLiteral("Failed to create NDI sender"), result.error);
    EXPECT_FALSE(result.sink);
    EXPECT_FALSE(result.videoNode);
    EXPECT_FALSE(result.audioNode);
}

TEST_F(SinkCreationTest, ASinkWithoutAStreamOfThatMajorTypeHasNoNode)
{
    sink = makeSink(parameters(false, true));
    const ComException failure = failureOf(sink);
    EXPECT_EQ(E_FAIL, failure.getErrorCode());
    EXPECT_EQ(QStringLiteral("Can't create Sink node"), failure.getMessage());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SinkCreationTest, TheNodeIsThatOfTheFirstStreamOfThatMajorType)
{
    sink = makeSink();
    RecordingStream sound(7, sink);
    RecordingStream first(8, sink);
    RecordingStream second(9, sink);
    sound.m_mediaTypeHandler = NDIMediaTypeHandlerAudio::create(&sound);
    first.m_mediaTypeHandler = NDIMediaTypeHandlerVideo::create(&first);
    second.m_mediaTypeHandler = NDIMediaTypeHandlerVideo::create(&second);
    const CComPtr<FakeSink> fake(new FakeSink);
    fake->streams = {&sound, &first, &second};
    const auto node = createStreamSinkNode(fake, MFMediaType_Video);
    CComPtr<IUnknown> object;
    ASSERT_EQ(S_OK, node->GetObject(&object));
    EXPECT_EQ(static_cast<IMFStreamSink *>(&first), object.p);
}

TEST_F(SinkCreationTest, AStreamWithoutATypeHandlerEndsTheSearch)
{
    sink = makeSink();
    RecordingStream stream(7, sink);
    const CComPtr<FakeSink> fake(new FakeSink);
    fake->streams = {&stream};
    const ComException failure = failureOf(fake);
    EXPECT_EQ(E_POINTER, failure.getErrorCode());
    EXPECT_EQ(QStringLiteral("Error"), failure.getMessage());
    EXPECT_EQ(1, criticals(" [m_mediaTypeHandler is null]"));
}

TEST_F(SinkCreationTest, AFailingCallEndsTheSearchWithItsCode)
{
    sink = makeSink();
    RecordingStream stream(7, sink);
    const CComPtr<FakeSink> fake(new FakeSink);
    fake->streams = {&stream};
    fake->indexResult = MF_E_INVALIDINDEX;
    EXPECT_EQ(MF_E_INVALIDINDEX, failureOf(fake).getErrorCode());
    fake->countResult = MF_E_SHUTDOWN;
    const ComException failure = failureOf(fake);
    EXPECT_EQ(MF_E_SHUTDOWN, failure.getErrorCode());
    EXPECT_EQ(QStringLiteral("Error"), failure.getMessage());
}
