#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/EvenSteps.h"
#include "ndi/local/FrameSlots.h"
#include "ndi/local/IoThread.h"
#include "ndi/local/Pacer.h"
#include "ndi/local/PixelLayout.h"
#include "ndi/local/ReceivedSlot.h"
#include "tests/ndi/TakenPort.h"

#include <boost/asio/post.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>

using namespace localndi;

TEST(EvenSteps, AddUpWithoutRounding)
{
    EvenSteps steps(10'000'000);
    steps.restart(7);
    for (int i = 0; i < 30000 * 100; ++i)
        steps.advance(1001, 30000);
    EXPECT_EQ(steps.position(), 7 + 100LL * 1001 * 10'000'000);
}

TEST(EvenSteps, ContinueAcrossAChangeOfRate)
{
    EvenSteps steps(1000);
    steps.advance(1, 4);
    steps.advance(1, 10);
    steps.advance(3, 2);
    EXPECT_EQ(steps.position(), 250 + 100 + 1500);
}

TEST(EvenSteps, IgnoreWhatIsNotPositive)
{
    EvenSteps steps(1000);
    steps.advance(0, 1);
    steps.advance(1, 0);
    steps.advance(-1, -1);
    EXPECT_EQ(steps.position(), 0);
}

namespace
{

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

// Somebody who sends frames of one rate through a pacer, one after the other.
class PacedCaller
{
public:
    explicit PacedCaller(std::int64_t rate) : m_rate(rate) {}

    // A frame that is there at that time; returns how long it is held up by the pacer and by the frames before it.
    nanoseconds send(nanoseconds ready)
    {
        m_now = std::max(m_now, ready);
        m_now += m_pacer.turn(m_now, 1, m_rate);
        return m_now - ready;
    }
    // One that is there as soon as the frame before it is gone.
    void sendNext() { send(m_now); }
    nanoseconds now() const { return m_now; }
    nanoseconds frameStart(std::int64_t frame) const { return start + nanoseconds(seconds(1)) * frame / m_rate; }

    static constexpr nanoseconds start = seconds(1000);

private:
    const std::int64_t m_rate;
    nanoseconds m_now = start;
    Pacer m_pacer;
};

} // namespace

TEST(Pacer, LetsTheFirstFrameThroughAtOnceAndTheOthersAtTheirRate)
{
    PacedCaller caller(25);
    caller.sendNext();
    EXPECT_EQ(caller.now(), PacedCaller::start);
    for (int frame = 1; frame < 26; ++frame) {
        caller.sendNext();
        EXPECT_EQ(caller.now(), caller.frameStart(frame));
    }
}

TEST(Pacer, LetsUpToHalfASecondOfWhatPiledUpBehindAStallThrough)
{
    PacedCaller caller(10);
    caller.sendNext();
    const nanoseconds end = caller.frameStart(9); // of the stall
    for (int frame = 1; frame < 10; ++frame)
        caller.send(end);
    EXPECT_EQ(caller.now() - end, milliseconds(300)); // 8 frames of 100 ms less 500 ms
}

TEST(Pacer, HoldsALiveCallerUpNoLongerWhoseFirstFrameCameLate)
{
    PacedCaller caller(60);
    EXPECT_EQ(caller.send(caller.frameStart(0) + milliseconds(48)), nanoseconds(0));
    EXPECT_GT(caller.send(caller.frameStart(1)), milliseconds(40));
    int frame = 2;
    for (; frame < 60 * 4; ++frame)
        caller.send(caller.frameStart(frame));
    for (; frame < 60 * 60; ++frame)
        ASSERT_EQ(caller.send(caller.frameStart(frame)), nanoseconds(0)) << frame;
}

TEST(Pacer, WorksOffABacklogThatALiveCallerBeginsWith)
{
    PacedCaller caller(60);
    int frame = 0;
    for (; frame < 18; ++frame)
        caller.send(caller.frameStart(17)); // the oldest is 283 ms old
    for (; frame < 60 * 20; ++frame)
        caller.send(caller.frameStart(frame));
    for (; frame < 60 * 60; ++frame)
        ASSERT_EQ(caller.send(caller.frameStart(frame)), nanoseconds(0)) << frame;
}

TEST(Pacer, DoesNotHoldALiveCallerUpThatIsNowAndThenLate)
{
    PacedCaller caller(60);
    const auto lateness = [](int frame) { return milliseconds(frame % 10 == 0 ? 5 : 0); };
    int frame = 0;
    for (; frame < 60 * 3; ++frame)
        caller.send(caller.frameStart(frame) + lateness(frame));
    for (; frame < 60 * 60; ++frame)
        ASSERT_EQ(caller.send(caller.frameStart(frame) + lateness(frame)), nanoseconds(0)) << frame;
}

TEST(Pacer, HoldsNobodyUpWhoseClockIsALittleTheFasterOne)
{
    PacedCaller caller(60);
    for (int frame = 0; frame < 60 * 3600 * 6; ++frame) {
        const nanoseconds sinceStart = caller.frameStart(frame) - PacedCaller::start;
        ASSERT_LT(caller.send(caller.frameStart(frame) - sinceStart / 10000), milliseconds(1)) << frame;
    }
}

TEST(Pacer, LetsACallerThatWaitsForNothingElseGainHalfASecondAtTwoPercentAtMost)
{
    PacedCaller caller(25);
    std::int64_t frame = 0;
    for (; frame < 25 * 3600; ++frame) {
        caller.sendNext();
        const nanoseconds schedule = caller.frameStart(frame) - PacedCaller::start;
        ASSERT_GE(caller.now() - PacedCaller::start, schedule - schedule / 50) << frame;
        ASSERT_GE(caller.now() - PacedCaller::start, schedule - milliseconds(500) - schedule / 5000) << frame;
        ASSERT_LE(caller.now() - PacedCaller::start, schedule) << frame;
    }
}

TEST(IoThread, GoesOnAfterAHandlerThatThrows)
{
    IoThread thread;
    boost::asio::post(thread.context(), [] { throw std::runtime_error("no memory"); });
    bool ran = false;
    thread.invoke([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(IoThread, HandsTheErrorOfWhatItWasAskedToDoBack)
{
    IoThread thread;
    EXPECT_THROW(thread.invoke([] { throw std::runtime_error("no memory"); }), std::runtime_error);
    bool ran = false;
    thread.invoke([&ran] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST(PixelLayout, SizesOfPlanarFrames)
{
    EXPECT_EQ(findPixelLayout(NDIlib_FourCC_video_type_UYVY)->packedSize(3, 2), 16);
    EXPECT_EQ(findPixelLayout(NDIlib_FourCC_video_type_UYVA)->packedSize(4, 2), 24);
    EXPECT_EQ(findPixelLayout(NDIlib_FourCC_video_type_NV12)->packedSize(4, 3), 4 * (3 + 2));
    EXPECT_EQ(findPixelLayout(NDIlib_FourCC_video_type_I420)->packedSize(4, 4), 24);
    EXPECT_EQ(findPixelLayout(NDIlib_FourCC_video_type_PA16)->packedSize(4, 2), 48);
    EXPECT_EQ(findPixelLayout(NDIlib_FourCC_video_type_BGRA)->packedSize(3, 2), 24);
    EXPECT_EQ(findPixelLayout(0), nullptr);
}

namespace
{

// The slots of a sender that has a record, so that nobody takes its files for orphans.
class FrameSlotsTest : public testing::Test
{
protected:
    FrameSlotsTest()
    {
        const Registry::Lock lock(m_registry, std::chrono::seconds(5));
        EXPECT_TRUE(m_registry.publish(lock, m_record));
    }
    ~FrameSlotsTest() override { m_registry.dropStale(m_record); }

    static SenderRecord recordOn(std::uint16_t port)
    {
        SenderRecord record;
        record.name = "HOST (slots)";
        record.port = port;
        record.identity = makeSecret();
        return record;
    }

    const Registry m_registry;
    const ndi_test::TakenPort m_port;
    const SenderRecord m_record = recordOn(m_port.number());
    FrameSlots m_slots{m_registry, m_record.fileStem(), SlotKind::Video, {3, 1 << 20}};
};

} // namespace

TEST_F(FrameSlotsTest, AreUsedAgainWithoutNewMemory)
{
    auto *first = m_slots.acquire(1000).data();
    for (int i = 0; i < 10; ++i) {
        const auto hold = m_slots.acquire(static_cast<std::uint64_t>(1000 + i));
        EXPECT_EQ(hold.data(), first);
        EXPECT_EQ(hold.generation(), 1U);
    }
}

TEST_F(FrameSlotsTest, AreNotUsedAgainWhileHeld)
{
    const auto a = m_slots.acquire(1000);
    const auto copy = a;
    const auto b = m_slots.acquire(1000);
    const auto c = m_slots.acquire(1000);
    EXPECT_NE(a.index(), b.index());
    EXPECT_NE(b.index(), c.index());
    EXPECT_FALSE(m_slots.acquire(1000));
}

TEST_F(FrameSlotsTest, GrowIntoAnotherFile)
{
    EXPECT_EQ(m_slots.acquire(1000).generation(), 1U);
    const auto hold = m_slots.acquire(300'000);
    ASSERT_TRUE(hold);
    hold.data()[299'999] = 1;
    EXPECT_EQ(hold.generation(), 2U);
}

TEST_F(FrameSlotsTest, TakeNoMoreMemoryThanAllowed)
{
    EXPECT_FALSE(m_slots.acquire((1 << 20) + 1));
    const auto half = m_slots.acquire(600'000);
    EXPECT_TRUE(half);
    EXPECT_FALSE(m_slots.acquire(600'000));
}

TEST_F(FrameSlotsTest, AreHeldUpByTheirHoldersOnly)
{
    EXPECT_FALSE(m_slots.areHeldUp((1 << 20) + 1)); // too large for anybody
    auto large = m_slots.acquire(600'000);
    EXPECT_FALSE(m_slots.areHeldUp(100'000));
    EXPECT_TRUE(m_slots.areHeldUp(600'000));
    large = {};
    EXPECT_FALSE(m_slots.areHeldUp(600'000));
    const auto a = m_slots.acquire(1000);
    const auto b = m_slots.acquire(1000);
    EXPECT_FALSE(m_slots.areHeldUp(1000));
    const auto c = m_slots.acquire(1000);
    EXPECT_TRUE(m_slots.areHeldUp(1000));
}

TEST_F(FrameSlotsTest, GiveFreeMemoryUpForALargerFrame)
{
    {
        const auto a = m_slots.acquire(400'000);
        const auto b = m_slots.acquire(400'000);
    }
    EXPECT_TRUE(m_slots.acquire(900'000));
}

TEST_F(FrameSlotsTest, GiveMemoryBackThatNobodyHasHeldForAWhile)
{
    const auto file = [this](std::uint32_t index) {
        return m_registry.frameFile(m_record.fileStem(), SlotKind::Video, index, 1);
    };
    const auto held = m_slots.acquire(1000);
    m_slots.acquire(1000);
    const auto afterwards = FrameSlots::Clock::now();
    m_slots.freeIdle(afterwards - std::chrono::hours(1)); // held since then
    EXPECT_TRUE(std::filesystem::exists(file(1)));
    m_slots.freeIdle(afterwards);
    EXPECT_TRUE(std::filesystem::exists(file(0)));
    EXPECT_FALSE(std::filesystem::exists(file(1)));
    EXPECT_EQ(m_slots.acquire(1000).generation(), 2U);
}

TEST_F(FrameSlotsTest, GiveBackWhatCountsAgainstTheirLimit)
{
    m_slots.acquire(1 << 20);
    m_slots.freeIdle(FrameSlots::Clock::now());
    const auto a = m_slots.acquire(1 << 19);
    const auto b = m_slots.acquire(1 << 19);
    EXPECT_TRUE(a && b);
}

TEST_F(FrameSlotsTest, AreMappedByAReceiverWhileItUsesThem)
{
    SlotMappings mappings(m_registry, m_record.fileStem());
    const auto hold = m_slots.acquire(1000);
    hold.data()[0] = 7;
    const SlotPlace place{SlotKind::Video, hold.index(), hold.generation(), 0, 1000};
    auto memory = mappings.find(place);
    ASSERT_TRUE(memory);
    const std::weak_ptr<FrameMemory> mapping = memory;
    mappings.dropIdle(SlotMappings::Clock::now() - std::chrono::hours(1)); // used since then
    EXPECT_EQ(mappings.find(place), memory);
    mappings.dropIdle(SlotMappings::Clock::now());
    EXPECT_EQ(memory->data()[0], 7);
    memory.reset();
    EXPECT_TRUE(mapping.expired());
    EXPECT_TRUE(mappings.find(place));
}
