#include "ndi/local/Registry.h"
#include "ndi/local/Groups.h"
#include "ndi/local/Registration.h"
#include "ndi/local/System.h"
#include "tests/ndi/PeerProcess.h"
#include "tests/ndi/RawPeer.h"
#include "tests/ndi/TakenPort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <future>

using namespace localndi;

namespace
{

SenderRecord someRecord(std::uint16_t port = 65432)
{
    SenderRecord record;
    record.name = "HOST (Ünïcode\n演)";
    record.groups = "a,b";
    record.port = port;
    record.processId = 42;
    record.identity = makeSecret();
    record.password = makeSecret();
    record.signature = makeSecret();
    return record;
}

bool isListed(const Registry &registry, const SenderRecord &wanted)
{
    const auto records = registry.records();
    return std::any_of(records.begin(), records.end(),
                       [&](const SenderRecord &record) { return record.identity == wanted.identity; });
}

void publish(const Registry &registry, const SenderRecord &record)
{
    const Registry::Lock lock(registry, std::chrono::seconds(5));
    ASSERT_TRUE(registry.publish(lock, record));
}

std::ifstream readerOf(const SenderRecord &record)
{
    return std::ifstream(system::privateFolder() / (std::to_string(record.port) + ".sender"), std::ios::binary);
}

// Again while another process is at it.
bool drop(const Registry &registry, const SenderRecord &record)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!registry.dropStale(record))
        if (std::chrono::steady_clock::now() > deadline)
            return false;
    return true;
}

} // namespace

TEST(SenderRecord, SurvivesItsFile)
{
    const auto record = someRecord();
    const auto parsed = parseSenderRecord(serialise(record));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->name, record.name);
    EXPECT_EQ(parsed->groups, record.groups);
    EXPECT_EQ(parsed->port, record.port);
    EXPECT_EQ(parsed->processId, record.processId);
    EXPECT_EQ(parsed->identity, record.identity);
    EXPECT_EQ(parsed->password, record.password);
    EXPECT_EQ(parsed->signature, record.signature);
}

TEST(SenderRecord, IsRefusedWhenCutShortOrTooLong)
{
    const auto bytes = serialise(someRecord());
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(parseSenderRecord(bytes.substr(0, size))) << size;
    EXPECT_FALSE(parseSenderRecord(bytes + "x"));
}

TEST(SenderRecord, SecretsDifferEachTime)
{
    EXPECT_NE(makeSecret(), makeSecret());
}

#ifndef _WIN32 // where the access list of the user's profile says so
TEST(Registry, FolderAndRecordsBelongToTheirOwnerAlone)
{
    namespace fs = std::filesystem;
    const Registry registry;
    const ndi_test::TakenPort port;
    const auto record = someRecord(port.number());
    publish(registry, record);
    const auto folder = system::privateFolder();
    ASSERT_FALSE(folder.empty());
    const auto others = fs::perms::group_all | fs::perms::others_all;
    EXPECT_EQ(fs::status(folder).permissions() & others, fs::perms::none);
    EXPECT_EQ(fs::status(folder / (std::to_string(port.number()) + ".sender")).permissions() & others, fs::perms::none);
    registry.withdraw(record);
    EXPECT_FALSE(isListed(registry, record));
}
#endif

TEST(Registry, ARecordThatIsBeingReadIsReplaced)
{
    const Registry registry;
    const ndi_test::TakenPort port;
    const auto first = someRecord(port.number());
    const auto second = someRecord(port.number());
    publish(registry, first);
    auto reader = readerOf(first);
    ASSERT_TRUE(reader.is_open());
    auto published = std::async(std::launch::async, [&] { publish(registry, second); });
    // Where the file can be replaced at once it is; else when the reader is through.
    published.wait_for(std::chrono::milliseconds(50));
    reader.close();
    published.get();
    EXPECT_TRUE(isListed(registry, second));
    EXPECT_FALSE(isListed(registry, first));
    EXPECT_TRUE(drop(registry, second));
}

TEST(Registry, ARecordThatIsBeingReadIsWithdrawn)
{
    const Registry registry;
    const ndi_test::TakenPort port;
    const auto record = someRecord(port.number());
    publish(registry, record);
    auto reader = readerOf(record);
    ASSERT_TRUE(reader.is_open());
    auto withdrawn = std::async(std::launch::async, [&] { registry.withdraw(record); });
    // Where the file can be removed at once it is; else when the reader is through.
    withdrawn.wait_for(std::chrono::milliseconds(50));
    reader.close();
    withdrawn.get();
    EXPECT_FALSE(isListed(registry, record));
}

TEST(Registry, ARecordIsNotHandedOnToProgramsThatStartWhileItIsRead)
{
    const Registry registry;
    const ndi_test::TakenPort port;
    const auto record = someRecord(port.number());
    publish(registry, record);
    std::atomic<bool> isThrough{false};
    const auto read = [&] {
        while (!isThrough)
            registry.records();
    };
    std::future<void> readers[4];
    for (auto &reader : readers)
        reader = std::async(std::launch::async, read);
    const auto name = ndi_test::uniquePeerName();
    const auto program = [&name] { return ndi_test::PeerProcess::sender(name); };
    const ndi_test::PeerProcess programs[] = {program(), program(), program(), program(),
                                              program(), program(), program(), program()};
    EXPECT_TRUE(ndi_test::areListed(name, 8));
    isThrough = true;
    for (auto &reader : readers)
        reader.get();
    registry.withdraw(record);
    EXPECT_FALSE(isListed(registry, record));
}

TEST(Registration, WithdrawnAgainLeavesTheSenderThatHasItsPortNow)
{
    boost::asio::io_context context;
    Registration first(context, "first", "");
    first.withdraw();
    Registration second(context, "second", ""); // takes the lowest port that is free, the same as a rule
    first.withdraw();
    EXPECT_TRUE(isListed(Registry(), second.record()));
    second.withdraw();
}

TEST(Registry, DropsAStaleRecordButNotItsSuccessorOnThePort)
{
    const Registry registry;
    const ndi_test::TakenPort port;
    const auto first = someRecord(port.number());
    const auto second = someRecord(port.number());
    publish(registry, first);
    publish(registry, second);
    ASSERT_TRUE(drop(registry, first));
    EXPECT_TRUE(isListed(registry, second));
    ASSERT_TRUE(drop(registry, second));
    EXPECT_FALSE(isListed(registry, second));
}

TEST(Registry, RemovesFrameFilesOfSendersThatAreGone)
{
    const Registry registry;
    const ndi_test::TakenPort port;
    const auto record = someRecord(port.number());
    publish(registry, record);
    const auto file = registry.frameFile(record.fileStem(), SlotKind::Video, 3, 1);
    ASSERT_TRUE(system::createPrivateFile(file, 100));
    {
        const Registry::Lock lock(registry, std::chrono::seconds(5));
        registry.removeOrphans(lock);
    }
    EXPECT_TRUE(std::filesystem::exists(file));
    ASSERT_TRUE(drop(registry, record));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(Registry, RemovesFrameFilesWithoutARecordOnceTheyAreOld)
{
    const Registry registry;
    const auto file = registry.frameFile(someRecord().fileStem(), SlotKind::Audio, 0, 1);
    ASSERT_TRUE(system::createPrivateFile(file, 100));
    const auto sweep = [&registry] {
        const Registry::Lock lock(registry, std::chrono::seconds(5));
        registry.removeOrphans(lock);
    };
    sweep();
    EXPECT_TRUE(std::filesystem::exists(file));
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    sweep();
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(Groups, IntersectByWholeNames)
{
    EXPECT_TRUE(groupsIntersect("", ""));
    EXPECT_TRUE(groupsIntersect("", "public"));
    EXPECT_TRUE(groupsIntersect(" , ", "public"));
    EXPECT_TRUE(groupsIntersect("a, b ,c", "x,b"));
    EXPECT_FALSE(groupsIntersect("a", ""));
    EXPECT_FALSE(groupsIntersect("ab", "a,b"));
}
