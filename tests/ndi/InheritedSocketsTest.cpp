#include "tests/ndi/RuntimeFixture.h"

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

using namespace ndi_test;

namespace
{

struct Sockets {
    int all = 0;
    int inherited = 0; // by a program that this process would start
};

Sockets socketsOfThisProcess()
{
    Sockets sockets;
    for (const auto &entry : std::filesystem::directory_iterator("/dev/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        struct stat status {
        };
        if (fstat(descriptor, &status) != 0 || !S_ISSOCK(status.st_mode))
            continue;
        ++sockets.all;
        sockets.inherited += (fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0 ? 1 : 0;
    }
    return sockets;
}

} // namespace

TEST(InheritedSockets, AreNoneOfTheRuntimes)
{
    const auto before = socketsOfThisProcess();
    const Pair pair;
    ASSERT_TRUE(waitUntil([&] { return NDIlib_recv_get_no_connections(pair.receiver.get()) == 1; }));
    const auto now = socketsOfThisProcess();
    EXPECT_GE(now.all, before.all + 3); // one that listens and both ends of a connection
    EXPECT_EQ(now.inherited, before.inherited);
}
