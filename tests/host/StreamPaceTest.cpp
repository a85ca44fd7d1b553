#include "host/pipeline/StreamPace.h"

#include "tests/host/SimulatedSink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

namespace
{

constexpr std::size_t Picture = 0;
constexpr std::size_t Sound = 1;
constexpr double SecondMs = 1000.0;
constexpr double SoundMs = 20.0;

// When samples of each stream arrive: at even times, but those of a hold-up at its end, of which a receiver keeps the
// newest nine.
struct Flow {
    double pictureMs = SecondMs / 60.0; // 0: no pictures
    double soundMs = SoundMs;           // 0: no sound
    double holdUp = 0.0;
    double burst = 0.0; // samples come together so often; 0: one by one
    double end = 10 * SecondMs;
    static constexpr double holdUpAt = 2 * SecondMs;
    static constexpr std::size_t kept = 9;
};

struct Arrival {
    double time = 0.0;
    double taken = 0.0; // when it was taken, in whose order those come that come together
    std::size_t stream = 0;

    bool operator<(const Arrival &other) const { return std::tie(time, taken) < std::tie(other.time, other.taken); }
};

void addArrivals(std::vector<Arrival> &arrivals, const Flow &flow, std::size_t stream, double interval)
{
    std::vector<Arrival> held;
    for (int sample = 0; interval > 0.0 && sample * interval < flow.end; ++sample) {
        double time = sample * interval;
        if (flow.burst > 0.0)
            time = (std::floor((time + 0.001) / flow.burst) + 1) * flow.burst;
        const double end = Flow::holdUpAt + flow.holdUp;
        if (time >= Flow::holdUpAt && time < end)
            held.push_back({end, sample * interval, stream});
        else
            arrivals.push_back({time, sample * interval, stream});
    }
    held.erase(held.begin(), held.end() - static_cast<std::ptrdiff_t>(std::min(held.size(), Flow::kept)));
    arrivals.insert(arrivals.end(), held.begin(), held.end());
}

void run(SimulatedSink &sink, const Flow &flow)
{
    std::vector<Arrival> arrivals;
    addArrivals(arrivals, flow, Picture, flow.pictureMs);
    addArrivals(arrivals, flow, Sound, flow.soundMs);
    std::sort(arrivals.begin(), arrivals.end());
    for (const Arrival &arrival : arrivals)
        sink.arrive(arrival.stream, arrival.time);
    sink.finish();
}

std::vector<SimulatedSink::Sent> sentFrom(const SimulatedSink &sink, std::size_t stream, double from)
{
    std::vector<SimulatedSink::Sent> sent = sink.sent(stream);
    const auto isEarlier = [from](const SimulatedSink::Sent &sample) { return sample.arrival < from; };
    sent.erase(sent.begin(), std::find_if_not(sent.begin(), sent.end(), isEarlier));
    return sent;
}

double worstLatency(const SimulatedSink &sink, std::size_t stream, double from)
{
    double worst = 0.0;
    for (const SimulatedSink::Sent &sample : sentFrom(sink, stream, from))
        worst = std::max(worst, sample.returned - sample.arrival);
    return worst;
}

// By how much a picture and the sound of its time leave apart, at most.
double worstOffset(const SimulatedSink &sink, double from)
{
    const std::vector<SimulatedSink::Sent> sound = sentFrom(sink, Sound, from);
    double worst = 0.0;
    std::size_t next = 0;
    for (const SimulatedSink::Sent &picture : sentFrom(sink, Picture, from)) {
        while (next + 1 < sound.size() && sound[next].arrival < picture.arrival)
            ++next;
        const double ahead = (picture.returned - picture.arrival) - (sound[next].returned - sound[next].arrival);
        worst = std::max(worst, std::abs(ahead));
    }
    return worst;
}

double rate(const SimulatedSink &sink, std::size_t stream, double from, double to)
{
    return static_cast<double>(sentFrom(sink, stream, from).size()) / (to - from) * SecondMs;
}

struct Streams {
    bool pictures = true;
    bool sound = true;
};

class StreamPaceHoldUp : public testing::TestWithParam<std::tuple<double, double, Streams>>
{
protected:
    double holdUp() const { return std::get<0>(GetParam()); }
    double pictureMs() const { return SecondMs / std::get<1>(GetParam()); }
    Streams streams() const { return std::get<2>(GetParam()); }
    double again() const { return Flow::holdUpAt + holdUp() + SecondMs; } // when all is as before

    Flow flow() const
    {
        Flow flow;
        flow.pictureMs = streams().pictures ? pictureMs() : 0.0;
        flow.soundMs = streams().sound ? SoundMs : 0.0;
        flow.end = again() + 3 * SecondMs;
        return flow;
    }
    void expectTimely(const SimulatedSink &sink)
    {
        EXPECT_LT(worstLatency(sink, Picture, again()), 2 * pictureMs());
        EXPECT_LT(worstLatency(sink, Sound, again()), 2 * SoundMs);
        if (streams().pictures && streams().sound) {
            EXPECT_LT(worstOffset(sink, again()), 40.0);
        }
        const double pictures = streams().pictures ? SecondMs / pictureMs() : 0.0;
        const double sound = streams().sound ? SecondMs / SoundMs : 0.0;
        EXPECT_GE(rate(sink, Picture, again(), flow().end), 0.98 * pictures);
        EXPECT_GE(rate(sink, Sound, again(), flow().end), 0.98 * sound);
    }

    SimulatedSink m_sink{{{pictureMs(), 3.0}, {SoundMs, 0.3}}};
};

} // namespace

TEST_P(StreamPaceHoldUp, OfTheStreamsIsOverWithinASecond)
{
    Flow held = flow();
    held.holdUp = holdUp();
    run(m_sink, held);
    expectTimely(m_sink);
}

TEST_P(StreamPaceHoldUp, OfTheSinkIsOverWithinASecond)
{
    m_sink.block(Flow::holdUpAt, Flow::holdUpAt + holdUp());
    run(m_sink, flow());
    expectTimely(m_sink);
    // The last one makes it more.
    EXPECT_LT((m_sink.mostHeld(Picture) - 1.5) * pictureMs(), 150.0);
    EXPECT_LT((m_sink.mostHeld(Sound) - 1.5) * SoundMs, 150.0);
}

INSTANTIATE_TEST_SUITE_P(
    OfEveryLength, StreamPaceHoldUp,
    testing::Combine(testing::Values(10.0, 30.0, 60.0, 100.0, 200.0, 400.0, 1000.0, 2000.0, 5000.0, 10000.0),
                     testing::Values(24.0, 25.0, 30.0, 50.0, 60.0),
                     testing::Values(Streams{true, true}, Streams{true, false}, Streams{false, true})));

TEST(StreamPace, LeavesNothingOutOfABurstOfATenthOfASecond)
{
    SimulatedSink sink({{20.0, 3.0}, {SoundMs, 0.3}});
    Flow flow;
    flow.pictureMs = 20.0;
    flow.burst = 100.0;
    run(sink, flow);
    EXPECT_EQ((flow.end - SecondMs + flow.burst) / 20.0, sentFrom(sink, Picture, SecondMs).size());
    EXPECT_EQ((flow.end - SecondMs + flow.burst) / SoundMs, sentFrom(sink, Sound, SecondMs).size());
}

TEST(StreamPace, LeavesWhatComesTogetherAtTheBeginningOut)
{
    SimulatedSink sink({{SecondMs / 60.0, 3.0}});
    for (int picture = 0; picture < 9; ++picture)
        sink.arrive(Picture, 0.0);
    for (int picture = 1; picture < 60; ++picture)
        sink.arrive(Picture, picture * SecondMs / 60.0);
    sink.finish();
    EXPECT_LE(sink.leftOut(Picture), 9U);
    EXPECT_LT(worstLatency(sink, Picture, 100.0), 1.5 * SecondMs / 60.0);
}

TEST(StreamPace, LeavesHalfOfThePicturesOutThatComeAtTwiceTheDeclaredRate)
{
    SimulatedSink sink({{SecondMs / 30.0, 3.0}, {SoundMs, 0.3}});
    const Flow flow;
    run(sink, flow);
    EXPECT_NEAR(30.0, rate(sink, Picture, SecondMs, flow.end), 0.5);
    EXPECT_LT(worstLatency(sink, Picture, SecondMs), 2 * SecondMs / 30.0);
    EXPECT_NEAR(50.0, rate(sink, Sound, SecondMs, flow.end), 0.5);
    EXPECT_LT(worstLatency(sink, Sound, SecondMs), 40.0);
}

TEST(StreamPace, KeepsSoundInTimeBesidePicturesDeclaredAsOneInTenSeconds)
{
    constexpr double TenSeconds = 10 * SecondMs;
    SimulatedSink sink({{TenSeconds, 3.0}, {SoundMs, 0.3}});
    Flow flow;
    flow.end = 60 * SecondMs;
    run(sink, flow);
    EXPECT_NEAR(0.1, rate(sink, Picture, SecondMs, flow.end), 0.03);
    for (const SimulatedSink::Sent &picture : sink.sent(Picture))
        EXPECT_LT(picture.returned - picture.handedOver, 40.0);
    EXPECT_EQ(0U, sink.leftOut(Sound));
    EXPECT_LT(worstLatency(sink, Sound, 0.0), 40.0);
}

TEST(StreamPace, SendsThirtyPicturesASecondWhereEachTakesThirtyMilliseconds)
{
    SimulatedSink sink({{SecondMs / 60.0, 30.0}, {SecondMs / 60.0, 0.3}});
    Flow flow;
    flow.soundMs = SecondMs / 60.0;
    run(sink, flow);
    EXPECT_GE(rate(sink, Picture, SecondMs, flow.end), 29.9);
    EXPECT_LT(worstLatency(sink, Picture, SecondMs), 120.0);
    EXPECT_GE(rate(sink, Sound, SecondMs, flow.end), 57.0);
    EXPECT_LT(worstOffset(sink, SecondMs), 40.0);
}

TEST(StreamPace, LeavesNothingOutWhereAPictureTakesNearlyItsDuration)
{
    SimulatedSink sink({{SecondMs / 60.0, 15.0}});
    Flow flow;
    flow.soundMs = 0.0;
    run(sink, flow);
    EXPECT_EQ(0U, sink.leftOut(Picture));
}

TEST(StreamPace, TakesTheLeadOfAFastClockBackOnePictureAtATime)
{
    constexpr double Fast = 1.0 - 300e-6;
    constexpr double PictureMs = SecondMs / 60.0;
    SimulatedSink sink({{PictureMs, 3.0}, {SoundMs, 0.3}});
    Flow flow;
    flow.pictureMs = PictureMs * Fast;
    flow.soundMs = SoundMs * Fast;
    flow.end = 600 * SecondMs;
    run(sink, flow);
    EXPECT_LT(worstLatency(sink, Picture, 0.0), 1.5 * PictureMs);
    EXPECT_LT(worstLatency(sink, Sound, 0.0), 1.5 * SoundMs);
    // 180 ms in all.
    EXPECT_NEAR(180.0 / PictureMs, sink.leftOut(Picture), 1.0);
    EXPECT_NEAR(180.0 / SoundMs, sink.leftOut(Sound), 1.0);
    double lastPicture = 0.0;
    for (const SimulatedSink::Sent &picture : sink.sent(Picture)) {
        EXPECT_LT(picture.arrival - lastPicture, 2.5 * PictureMs);
        lastPicture = picture.arrival;
    }
}

TEST(StreamPace, LeavesNothingOutOfAStreamWithASlowClock)
{
    SimulatedSink sink({{SecondMs / 60.0, 3.0}, {SoundMs, 0.3}});
    Flow flow;
    flow.pictureMs *= 1.0 + 300e-6;
    flow.soundMs *= 1.0 + 300e-6;
    flow.end = 600 * SecondMs;
    run(sink, flow);
    EXPECT_EQ(0U, sink.leftOut(Picture));
    EXPECT_EQ(0U, sink.leftOut(Sound));
}

TEST(StreamPace, LosesNothingBehindACutToAStreamThatIsAheadOfTheOneBefore)
{
    constexpr double PictureMs = SecondMs / 60.0;
    for (const double ahead : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        SimulatedSink sink({{PictureMs, 3.0}});
        for (int picture = 0; picture < 60; ++picture)
            sink.arrive(Picture, picture * PictureMs);
        sink.cut(Picture);
        const double cut = (60 - ahead) * PictureMs;
        for (int picture = 0; picture < 60; ++picture)
            sink.arrive(Picture, cut + picture * PictureMs);
        sink.finish();
        const std::vector<SimulatedSink::Sent> after = sentFrom(sink, Picture, cut);
        ASSERT_GE(after.size(), 59U) << ahead;
        EXPECT_LE(after.front().arrival, cut + PictureMs) << ahead;
        for (std::size_t i = 1; i < after.size(); ++i)
            EXPECT_NEAR(PictureMs, after[i].arrival - after[i - 1].arrival, 0.01) << ahead;
    }
}

TEST(StreamPace, LetsTheNewestGoWhenNothingFollows)
{
    SimulatedSink sink({{SecondMs / 30.0, 3.0}});
    for (int picture = 0; picture < 100; ++picture)
        sink.arrive(Picture, picture * 2.0);
    sink.finish();
    ASSERT_FALSE(sink.sent(Picture).empty());
    EXPECT_EQ(99 * 2.0, sink.sent(Picture).back().arrival);
    EXPECT_EQ(100U, sink.sent(Picture).size() + sink.leftOut(Picture));
}

TEST(StreamPace, LetsSamplesOfUnknownDurationGoUntilTheSinkIsFull)
{
    host::StreamPace pace;
    const HnsTime begun = HnsTime::seconds(1);
    ASSERT_TRUE(pace.arrive(begun, 0));
    pace.handOver(begun);
    pace.comeBack(begun, begun, 0);
    const HnsTime now = HnsTime::seconds(2);
    for (unsigned sample = 0; sample < host::StreamPace::mostSamples; ++sample) {
        ASSERT_TRUE(pace.arrive(now, 0));
        pace.handOver(now);
    }
    EXPECT_FALSE(pace.arrive(now, 0));
    pace.comeBack(now, now, now);
    EXPECT_TRUE(pace.mayGo(now));
}
