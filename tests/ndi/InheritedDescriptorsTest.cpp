#include "tests/ndi/RuntimeFixture.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <fcntl.h>

using namespace ndi_test;

namespace
{

struct Descriptors {
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
Descriptors descriptorsNamed(const std::string &part)
{
    Descriptors descriptors;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone).string().find(part) == std::string::npos)
            continue;
        ++descriptors.all;
        descriptors.inherited += isClosedOnExec(entry.path().filename().string()) ? 0 : 1;
    }
    return descriptors;
}

} // namespace

TEST(InheritedDescriptors, AreNotTheRuntimesSockets)
{
    const auto before = descriptorsNamed("socket:");
    const Pair pair;
    ASSERT_TRUE(waitUntil([&] { return NDIlib_recv_get_no_connections(pair.receiver.get()) == 1; }));
    const auto now = descriptorsNamed("socket:");
    EXPECT_GE(now.all, before.all + 3); // one that listens and both ends of a connection
    EXPECT_EQ(now.inherited, before.inherited);
}

TEST(InheritedDescriptors, AreNotTheMemoryOfItsFrames)
{
    const Pair pair;
    const auto picture = uyvyPicture();
    NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
    const Video video(pair.receiver);
    ASSERT_TRUE(video);
    const auto frames = descriptorsNamed(".frame");
    EXPECT_GE(frames.all, 2); // the sender's and the receiver's
    EXPECT_EQ(frames.inherited, 0);
}
