#include "tests/ndi/RuntimeFixture.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <fcntl.h>

using namespace ndi_test;

namespace
{

struct Sockets {
    int all = 0;
    int inherited = 0; // by a program that this process would start
};

bool isClosedOnExec(const std::string &descriptor)
{
    std::ifstream info("/proc/self/fdinfo/" + descriptor);
    std::string key;
    while (info >> key && key != "flags:")
        continue;
    int flags = 0;
    info >> std::oct >> flags;
    return (flags & O_CLOEXEC) != 0;
}

// By name, not through the descriptors: those are the runtime's threads' to use.
Sockets socketsOfThisProcess()
{
    Sockets sockets;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone).string().rfind("socket:", 0) != 0)
            continue;
        ++sockets.all;
        sockets.inherited += isClosedOnExec(entry.path().filename().string()) ? 0 : 1;
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
