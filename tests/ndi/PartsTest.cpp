#include "ndi/include/Processing.NDI.Interface.h"
#include "ndi/local/EvenSteps.h"
#include "ndi/local/FrameSlots.h"
#include "ndi/local/IoThread.h"
#include "ndi/local/PixelLayout.h"
#include "ndi/local/ReceivedSlot.h"
#include "tests/ndi/TakenPort.h"

#include <boost/asio/post.hpp>

#include <gtest/gtest.h>

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
