#include "ndi/local/Faults.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>

using namespace localndi;

namespace
{

Faults faultsOf(const std::map<std::string, std::string> &environment)
{
    return readFaults([&](const char *name) {
        const auto variable = environment.find(name);
        return variable != environment.end() ? variable->second : std::string();
    });
}

} // namespace

TEST(FaultSettings, AreOffUnlessTheyAreAskedFor)
{
    const auto faults = faultsOf({{"NDI_LOCAL_OTHER", "1"}});
    EXPECT_EQ(0, faults.sendTime.count());
    EXPECT_EQ(0, faults.deafTime.count());
    EXPECT_EQ(0, faults.jitter.count());
    EXPECT_EQ(0, faults.lossPeriod);
    EXPECT_EQ("", faults.description);
}

TEST(FaultSettings, AreReadFromTheEnvironment)
{
    const auto faults = faultsOf({{"NDI_LOCAL_SEND_MS", "30"},
                                  {"NDI_LOCAL_DEAF_FINDER_S", "5"},
                                  {"NDI_LOCAL_JITTER_MS", "1000000"},
                                  {"NDI_LOCAL_LOSS", "1"}});
    EXPECT_EQ(std::chrono::milliseconds(30), faults.sendTime);
    EXPECT_EQ(std::chrono::seconds(5), faults.deafTime);
    EXPECT_EQ(std::chrono::seconds(1000), faults.jitter);
    EXPECT_EQ(1, faults.lossPeriod);
    EXPECT_EQ("NDI_LOCAL_SEND_MS=30 NDI_LOCAL_DEAF_FINDER_S=5 NDI_LOCAL_JITTER_MS=1000000 NDI_LOCAL_LOSS=1",
              faults.description);
}

TEST(FaultSettings, IgnoreWhatIsNoNumberInItsLimits)
{
    for (const char *wrong : {"", "0", "-1", "1000001", "99999999999999999999", "ten", "10 ", " 10", "10ms", "1.5"}) {
        const auto faults = faultsOf({{"NDI_LOCAL_SEND_MS", wrong}, {"NDI_LOCAL_LOSS", "7"}});
        EXPECT_EQ(0, faults.sendTime.count()) << wrong;
        EXPECT_EQ("NDI_LOCAL_LOSS=7", faults.description) << wrong;
    }
}
