#include "tests/ndi/RuntimeFixture.h"

#include <thread>

using namespace ndi_test;

TEST(Discovery, ANewFindersListIsEmptyAndNotNull)
{
    const auto sender = makeSender(uniqueName());
    // It may list senders after a tenth of a second: a test that was not let run that soon saw nothing.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto begin = std::chrono::steady_clock::now();
        const auto finder = makeFinder();
        std::uint32_t count = 7;
        const auto *sources = NDIlib_find_get_current_sources(finder.get(), &count);
        if (std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(90))
            continue;
        EXPECT_NE(sources, nullptr);
        EXPECT_EQ(count, 0U);
        return;
    }
    FAIL() << "this machine is too busy";
}

TEST(Discovery, ASenderIsListedWithItsHostAndAddress)
{
    const auto name = uniqueName("Studio");
    const auto sender = makeSender(name);
    const auto source = findSource(name);
    ASSERT_TRUE(isListedAs(source, name));
    ASSERT_EQ(source.address.rfind("127.0.0.1:", 0), 0U);
    EXPECT_GE(std::stoi(source.address.substr(10)), 5961);
}

TEST(Discovery, ANameOutsideAsciiArrivesIntact)
{
    const auto name = uniqueName("Größe 演播室 🎥");
    const auto sender = makeSender(name);
    EXPECT_TRUE(isListedAs(findSource(name), name));
}

TEST(Discovery, ASecondSenderOfTheSameNameIsNumbered)
{
    const auto name = uniqueName();
    const auto first = makeSender(name);
    const auto second = makeSender(name);
    const auto third = makeSender(name);
    const auto finder = makeFinder();
    EXPECT_FALSE(waitForSource(finder, name).name.empty());
    EXPECT_FALSE(waitForSource(finder, name + " 2").name.empty());
    EXPECT_FALSE(waitForSource(finder, name + " 3").name.empty());
}

TEST(Discovery, ANameIsFreeAgainWhenItsSenderIsGone)
{
    const auto name = uniqueName();
    auto sender = makeSender(name);
    sender.reset();
    sender = makeSender(name);
    EXPECT_FALSE(findSource(name).name.empty());
}

TEST(Discovery, SendersMadeAtTheSameTimeGetNamesOfTheirOwn)
{
    constexpr int count = 8;
    const auto name = uniqueName();
    std::vector<Sender> senders(count);
    std::vector<std::thread> threads;
    for (auto &sender : senders)
        threads.emplace_back([&sender, &name] { sender = makeSender(name); });
    for (auto &thread : threads)
        thread.join();
    const auto finder = makeFinder();
    EXPECT_FALSE(waitForSource(finder, name).name.empty());
    for (int i = 2; i <= count; ++i)
        EXPECT_FALSE(waitForSource(finder, name + " " + std::to_string(i)).name.empty()) << i;
}

TEST(Discovery, ADestroyedSenderLeavesTheListAtOnce)
{
    const auto name = uniqueName();
    auto sender = makeSender(name);
    const auto finder = makeFinder();
    ASSERT_FALSE(waitForSource(finder, name).name.empty());
    sender.reset();
    EXPECT_TRUE(waitUntilGone(finder, name, patience));
}

TEST(Discovery, WaitingTellsEachChangeOnce)
{
    const auto group = uniqueName("Group");
    const auto finder = makeFinder(group.c_str());
    EXPECT_FALSE(NDIlib_find_wait_for_sources(finder.get(), moment));
    auto sender = makeSender(uniqueName(), false, false, group.c_str());
    EXPECT_TRUE(NDIlib_find_wait_for_sources(finder.get(), patienceMs));
    EXPECT_FALSE(NDIlib_find_wait_for_sources(finder.get(), moment));
    sender.reset();
    EXPECT_TRUE(NDIlib_find_wait_for_sources(finder.get(), patienceMs));
    EXPECT_TRUE(currentSources(finder).empty());
}

TEST(Discovery, OnlySendersOfACommonGroupAreListed)
{
    const auto grouped = uniqueName();
    const auto other = uniqueName();
    const auto groupedSender = makeSender(grouped, false, false, "red, test group");
    const auto otherSender = makeSender(other, false, false, "red,blue");
    const auto finder = makeFinder("green,test group");
    EXPECT_FALSE(waitForSource(finder, grouped).name.empty());
    EXPECT_TRUE(waitUntilGone(finder, other, std::chrono::milliseconds(0)));
}

TEST(Discovery, AFinderThatDoesNotWantLocalSourcesListsNone)
{
    const auto sender = makeSender(uniqueName());
    NDIlib_find_create_t settings;
    settings.show_local_sources = false;
    const Finder finder(NDIlib_find_create_v2(&settings));
    EXPECT_FALSE(NDIlib_find_wait_for_sources(finder.get(), 2 * moment));
    EXPECT_TRUE(currentSources(finder).empty());
}

TEST(Discovery, ManySendersAreAllListedAndConnectable)
{
    constexpr int count = 20;
    std::vector<std::string> names;
    std::vector<Sender> senders;
    std::vector<Receiver> receivers;
    for (int i = 0; i < count; ++i) {
        names.push_back(uniqueName("Many"));
        senders.push_back(makeSender(names.back()));
    }
    const auto finder = makeFinder();
    for (const auto &name : names)
        receivers.push_back(makeReceiver(waitForSource(finder, name)));
    for (const auto &sender : senders)
        EXPECT_EQ(NDIlib_send_get_no_connections(sender.get(), patienceMs), 1);
}

TEST(Discovery, ManyReceiversOfOneSenderAllGetItsFrames)
{
    constexpr int count = 20;
    const auto name = uniqueName();
    const auto sender = makeSender(name);
    const auto source = findSource(name);
    std::vector<Receiver> receivers;
    for (int i = 0; i < count; ++i)
        receivers.push_back(makeReceiver(source));
    ASSERT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(sender.get(), 0) == count; }));
    auto picture = uyvyPicture();
    for (int i = 0; i < 30; ++i) {
        picture.frame.timecode = i;
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
        for (const auto &receiver : receivers) {
            const Video video(receiver);
            ASSERT_TRUE(video);
            EXPECT_EQ(video->timecode, i);
        }
    }
}

TEST(Discovery, DestroyingBusyObjectsTakesNoTime)
{
    const auto name = uniqueName();
    auto finder = makeFinder();
    auto sender = makeSender(name);
    const auto source = waitForSource(finder, name);
    auto capturing = makeReceiver(source);
    const auto idle = makeReceiver(source);
    ASSERT_TRUE(waitUntil([&] { return NDIlib_send_get_no_connections(sender.get(), 0) == 2; }));
    auto picture = uyvyPicture(1920, 1080);
    for (int i = 0; i < 50; ++i)
        NDIlib_send_send_video_v2(sender.get(), &picture.frame);
    const auto timed = [](auto &object) {
        const auto begin = std::chrono::steady_clock::now();
        object.reset();
        return std::chrono::steady_clock::now() - begin;
    };
    // Well below the time that a sender gives receivers which do not answer.
    EXPECT_LT(timed(capturing), std::chrono::milliseconds(1500));
    EXPECT_LT(timed(sender), std::chrono::milliseconds(1500));
    EXPECT_LT(timed(finder), std::chrono::milliseconds(1500));
}

TEST(Runtime, NamesItselfALocalOne)
{
    EXPECT_TRUE(NDIlib_initialize());
    EXPECT_NE(std::string(NDIlib_version()).find("Local"), std::string::npos);
    NDIlib_destroy();
}
