// How often, and of which streams, the end of data is told.

#include "tests/multimedia/SmallSource.h"

#include <gmock/gmock.h>

#include <mferror.h>

#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class EndOfStream : public BaseSource
{
protected:
    EndOfStream() { start(); }

    void stop()
    {
        m_source->Stop();
        eventsUntil(m_source, MESourceStopped);
        eventsThere(&video());
        eventsThere(&audio());
    }
};

} // namespace

TEST_F(EndOfStream, IsToldOnceHoweverOftenItIsPushed)
{
    EXPECT_EQ(video().manager().PushEndOfData(), S_OK);
    EXPECT_EQ(video().manager().PushEndOfData(), S_OK);
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEEndOfStream));
}

TEST_F(EndOfStream, IsToldOnceHoweverOftenItWaits)
{
    video().manager().PushSample(makeSampleAt(1));
    EXPECT_EQ(video().manager().PushEndOfData(), S_OK);
    EXPECT_EQ(video().manager().PushEndOfData(), S_OK);
    video().RequestSample(nullptr);
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEMediaSample, MEEndOfStream));
}

TEST_F(EndOfStream, IsNotToldAgainByAnEndedStreamThatWasFlushed)
{
    video().manager().PushEndOfData();
    video().manager().Flush();
    video().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEEndOfStream));
}

TEST_F(EndOfStream, EndsThePresentationOnce)
{
    video().manager().PushEndOfData();
    audio().manager().PushEndOfData();
    audio().manager().PushEndOfData();
    m_source->NotifyEndOfStream(&video());
    EXPECT_THAT(eventsThere(m_source), ElementsAre(MEEndOfPresentation));
}

TEST_F(EndOfStream, EndsThePresentationOnceWhenBothStreamsEndSideBySide)
{
    for (int turn = 0; turn < 50; ++turn) {
        std::thread other([this] { audio().manager().PushEndOfData(); });
        video().manager().PushEndOfData();
        other.join();
        ASSERT_THAT(eventsThere(m_source), ElementsAre(MEEndOfPresentation));
        stop();
        start();
    }
}

TEST_F(EndOfStream, ComesAgainAfterARestart)
{
    video().manager().PushEndOfData();
    audio().manager().PushEndOfData();
    stop();
    start();
    video().manager().PushEndOfData();
    audio().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(&video()), ElementsAre(MEEndOfStream));
    EXPECT_THAT(eventsThere(m_source), ElementsAre(MEEndOfPresentation));
}

TEST_F(EndOfStream, ComesAgainAfterASeek)
{
    video().manager().PushEndOfData();
    audio().manager().PushEndOfData();
    eventsThere(m_source);
    const PROPVARIANT position = at(50);
    m_source->Start(m_descriptor, nullptr, &position);
    eventsUntil(m_source, MESourceSeeked);
    video().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(m_source), IsEmpty());
    audio().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(m_source), ElementsAre(MEEndOfPresentation));
}

TEST_F(EndOfStream, IsNotToldOfADeselectedStream)
{
    m_descriptor->DeselectStream(1);
    start();
    EXPECT_EQ(audio().manager().PushEndOfData(), S_OK);
    EXPECT_THAT(eventsThere(&audio()), IsEmpty());
    video().manager().PushEndOfData();
    EXPECT_THAT(eventsThere(m_source), ElementsAre(MEEndOfPresentation));
    m_source->NotifyEndOfStream(&audio());
    EXPECT_THAT(eventsThere(m_source), IsEmpty());
}

TEST_F(EndOfStream, DoesNotEndThePresentationOnceItIsStopped)
{
    video().manager().PushEndOfData();
    audio().manager().PushEndOfData();
    stop();
    eventsThere(m_source);
    m_source->NotifyEndOfStream(&video());
    EXPECT_THAT(eventsThere(m_source), IsEmpty());
}

TEST_F(EndOfStream, OfADeselectedStreamDoesNotEndThePresentationOfNone)
{
    m_descriptor->DeselectStream(0);
    m_descriptor->DeselectStream(1);
    start();
    m_source->NotifyEndOfStream(&audio());
    EXPECT_THAT(eventsThere(m_source), IsEmpty());
}

TEST_F(EndOfStream, IsNotToldOfAStoppedStream)
{
    stop();
    EXPECT_EQ(video().manager().PushEndOfData(), S_OK);
    EXPECT_EQ(video().manager().PushGap(5), S_OK);
    EXPECT_THAT(eventsThere(&video()), IsEmpty());
    start();
    EXPECT_FALSE(video().IsEnded());
    EXPECT_EQ(video().RequestSample(nullptr), S_OK);
}
