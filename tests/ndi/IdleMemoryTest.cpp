#include "tests/ndi/RuntimeFixture.h"

#include <fstream>
#include <string>

using namespace ndi_test;

namespace
{

// How many mappings of frames this process has, as a sender and as a receiver.
int frameMappings()
{
    int count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        count += line.find(".frame") != std::string::npos ? 1 : 0;
    return count;
}

} // namespace

TEST(IdleMemory, GoesBackToTheSystemAtBothEndsAndIsTakenAgainWhenItIsNeeded)
{
    const Pair pair;
    Picture picture = uyvyPicture();
    const auto passes = [&] {
        NDIlib_send_send_video_v2(pair.sender.get(), &picture.frame);
        return bool(Video(pair.receiver));
    };
    ASSERT_TRUE(passes());
    EXPECT_EQ(frameMappings(), 2);
    EXPECT_TRUE(waitUntil([] { return frameMappings() == 0; }));
    EXPECT_TRUE(passes());
}
