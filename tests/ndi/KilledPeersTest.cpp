#include "tests/ndi/PeerProcess.h"
#include "tests/ndi/RawPeer.h"

using namespace localndi;
using namespace ndi_test;

namespace
{

class KilledPeers : public SenderAndRawPeer
{
protected:
    // Of a program that was killed; this end of its connection is still open. See connectWith() for the tally.
    boost::asio::ip::tcp::socket connectionOfAKilledReceiver(TallyState tally)
    {
        const auto name = uniquePeerName();
        auto process = PeerProcess::sender(name);
        EXPECT_TRUE(areListed(name));
        auto receiver = hello();
        receiver.processId = process.id();
        auto connection = connectWith(receiver, tally);
        process.kill();
        return connection;
    }
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
    auto connection = connectionOfAKilledReceiver({1, 0});
    EXPECT_TRUE(isClosedByPeer(connection));
    EXPECT_EQ(receivers(), 0);
}

// Containers with one network need not see each other's processes.
TEST_F(KilledPeers, AReceiverWhoseProcessWasNeverSeenStays)
{
    auto unseen = hello();
    unseen.processId = noProcess;
    const auto stays = connectWith(unseen, {1, 0});
    auto goes = connectionOfAKilledReceiver({0, 1}); // whose process would be looked at later
    EXPECT_TRUE(isClosedByPeer(goes));
    EXPECT_EQ(receivers(), 1);
}
