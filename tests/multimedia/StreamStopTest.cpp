// What is on its way to the consumer, or to the producer, while a stream stops or seeks.

#include "tests/multimedia/SmallSource.h"

#include <gmock/gmock.h>

#include <mferror.h>

#include <thread>

using testing::ElementsAre;

namespace
{

class StreamStop : public BaseSource
{
protected:
    StreamStop() { start(); }

    // As another thread would, in the middle of what this one does.
    void stopVideo()
    {
        std::thread([this] { video().Stop(); }).join();
    }
    void restartVideo()
    {
        std::thread([this] {
            video().Stop();
            video().Start(m_here);
        }).join();
    }
};

} // namespace

TEST_F(StreamStop, DropsASampleOnItsWay)
{
    video().RequestSample(nullptr);
    video().beforeDelivery = [this] { stopVideo(); };
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped));
}

TEST_F(StreamStop, DropsASampleOnItsWayThoughTheStreamRunsAgain)
{
    video().RequestSample(nullptr);
    video().beforeDelivery = [this] { restartVideo(); };
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped, MEStreamStarted));
}

TEST_F(StreamStop, DropsAGapOnItsWay)
{
    video().beforeDelivery = [this] { restartVideo(); };
    video().manager().PushGap(1);
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped, MEStreamStarted));
}

TEST_F(StreamStop, DropsAnEndOnItsWay)
{
    video().beforeDelivery = [this] { restartVideo(); };
    video().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped, MEStreamStarted));
    EXPECT_FALSE(video().IsEnded());
    EXPECT_EQ(video().RequestSample(nullptr), S_OK);
}

TEST_F(StreamStop, DeliversWhatIsPushedAfterTheRestart)
{
    video().RequestSample(nullptr);
    video().beforeDelivery = [this] { restartVideo(); };
    video().manager().PushSample(makeSampleAt(1));
    eventsThere(&video());
    video().RequestSample(nullptr);
    video().manager().PushSample(makeSampleAt(2));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEMediaSample));
}

TEST_F(StreamStop, OfOneStreamLeavesTheOthersDeliveriesAlone)
{
    video().RequestSample(nullptr);
    audio().RequestSample(nullptr);
    video().beforeDelivery = [this] {
        restartVideo();
        audio().DeliverSample(makeSampleAt(1), nullptr);
        audio().manager().PushSample(makeSampleAt(2));
    };
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&audio()), ElementsAre(MEMediaSample, MEMediaSample));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped, MEStreamStarted));
}

TEST_F(StreamStop, StoppedStreamTakesNoSample)
{
    video().Stop();
    EXPECT_EQ(video().DeliverSample(makeSampleAt(1), nullptr), S_FALSE);
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped));
}

TEST_F(StreamStop, RefusesARequestThatItOvertakes)
{
    video().beforeRequest = [this] { stopVideo(); };
    EXPECT_EQ(video().RequestSample(nullptr), MF_E_MEDIA_SOURCE_WRONGSTATE);
    video().Start(m_here);
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamStopped, MEStreamStarted));
}

TEST_F(StreamStop, RefusesARequestThatADeselectionOvertakes)
{
    video().beforeRequest = [this] { video().SetSelected(false); };
    EXPECT_EQ(video().RequestSample(nullptr), MF_E_INVALIDREQUEST);
}

TEST_F(StreamStop, SeekDropsASampleOnItsWay)
{
    video().RequestSample(nullptr);
    video().beforeDelivery = [this] { std::thread([this] { video().Seek(at(50)); }).join(); };
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamSeeked));
}

TEST_F(StreamStop, SeekForgetsWhatWaits)
{
    video().manager().PushSample(makeSampleAt(1));
    video().Seek(at(50));
    video().RequestSample(nullptr);
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEStreamSeeked));
}

TEST_F(StreamStop, SeekOfAnEndedStreamTakesRequestsAgain)
{
    video().manager().PushEndOfData();
    ASSERT_EQ(video().Seek(at(50)), S_OK);
    EXPECT_FALSE(video().IsEnded());
    EXPECT_EQ(video().RequestSample(nullptr), S_OK);
    video().manager().PushSample(makeSampleAt(51));
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEEndOfStream, MEStreamSeeked, MEMediaSample));
}

TEST_F(StreamStop, NeverComesBeforeASampleOfItsRun)
{
    for (int turn = 0; turn < 200; ++turn) {
        std::thread producer([this] {
            for (LONGLONG time = 0; time < 10; ++time)
                video().manager().PushSample(makeSampleAt(time));
        });
        for (int request = 0; request < 5; ++request)
            video().RequestSample(nullptr);
        video().Stop();
        producer.join();
        const Events events = eventsThere(&video());
        ASSERT_FALSE(events.empty());
        ASSERT_EQ(events.back(), static_cast<MediaEventType>(MEStreamStopped));
        video().Start(m_here);
        eventsThere(&video());
    }
}
