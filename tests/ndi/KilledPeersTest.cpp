#include "tests/ndi/PeerProcess.h"
#include "tests/ndi/RawPeer.h"

using namespace localndi;
using namespace ndi_test;

namespace
{

constexpr std::uint32_t unseenProcess = 0x7ffffffc; // beyond what systems number

class KilledPeers : public SenderAndRawPeer
{
protected:
    // After all the sender has noticed: it does one thing at a time.
    int receivers()
    {
        auto inquirer = connect();
        auto inquiry = hello();
        inquiry.role = Role::Inquirer;
        write(inquirer, message(MessageType::Hello, bytesOf(inquiry)));
        EXPECT_EQ(readMessage(inquirer).type, MessageType::Welcome);
        return NDIlib_send_get_no_connections(m_sender, 0);
    }
};

} // namespace

// A connection has been seen to outlive its killed receiver (under Wine).
TEST_F(KilledPeers, AReceiverIsNoLongerCountedThoughItsConnectionStaysOpen)
{
    const auto name = uniquePeerName();
    auto process = PeerProcess::sender(name);
    ASSERT_TRUE(areListed(name));
    auto receiver = hello();
    receiver.processId = process.id();
    auto connection = connectWith(receiver, {1, 0});
    process.kill();
    EXPECT_TRUE(isClosedByPeer(connection));
    EXPECT_EQ(receivers(), 0);
}

// Containers with one network need not see each other's processes.
TEST_F(KilledPeers, AReceiverWhoseProcessWasNeverSeenStays)
{
    auto unseen = hello();
    unseen.processId = unseenProcess;
    const auto stays = connectWith(unseen, {1, 0});
    const auto name = uniquePeerName();
    auto process = PeerProcess::sender(name);
    ASSERT_TRUE(areListed(name));
    auto receiver = hello();
    receiver.processId = process.id();
    auto goes = connectWith(receiver, {0, 1});
    process.kill();
    EXPECT_TRUE(isClosedByPeer(goes));
    EXPECT_EQ(receivers(), 1);
    EXPECT_TRUE(stays.is_open());
}
