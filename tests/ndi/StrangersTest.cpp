#include "ndi/local/System.h"
#include "tests/ndi/RawPeer.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/read.hpp>

#include <algorithm>
#include <chrono>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

using namespace localndi;
using namespace ndi_test;
using boost::asio::ip::tcp;

namespace
{

bool isListed(const SenderRecord &wanted)
{
    const auto records = Registry().records();
    return std::any_of(records.begin(), records.end(),
                       [&](const SenderRecord &record) { return record.identity == wanted.identity; });
}

struct DestroyFinder {
    void operator()(NDIlib_find_instance_t finder) const { NDIlib_find_destroy(finder); }
};
struct DestroyReceiver {
    void operator()(NDIlib_recv_instance_t receiver) const { NDIlib_recv_destroy(receiver); }
};
using Finder = std::unique_ptr<std::remove_pointer_t<NDIlib_find_instance_t>, DestroyFinder>;
using Receiver = std::unique_ptr<std::remove_pointer_t<NDIlib_recv_instance_t>, DestroyReceiver>;

Receiver receiverOf(const std::string &name)
{
    NDIlib_recv_create_t settings;
    settings.source_to_connect_to.p_ndi_name = name.c_str();
    return Receiver(NDIlib_recv_create_v2(&settings));
}

// A port with a record, where who listens either hangs up on everybody or says nothing.
class Port
{
public:
    Port(boost::asio::io_context &context, const std::string &name, bool hangsUp,
         std::uint32_t processId = system::processId())
        : m_acceptor(context, {boost::asio::ip::address_v4::loopback(), 0}), m_hangsUp(hangsUp)
    {
        m_record.name = name;
        m_record.processId = processId;
        m_record.port = m_acceptor.local_endpoint().port();
        m_record.identity = makeSecret();
        m_record.password = makeSecret();
        m_record.signature = makeSecret();
        const Registry registry;
        const Registry::Lock lock(registry, peerPatience);
        EXPECT_TRUE(registry.publish(lock, m_record));
        accept();
    }
    ~Port() { Registry().withdraw(m_record); }
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    const SenderRecord &record() const { return m_record; }
    bool metAReceiver() const { return m_metAReceiver; }

private:
    void accept()
    {
        m_acceptor.async_accept([this](const boost::system::error_code &error, tcp::socket socket) {
            if (error)
                return;
            if (!m_hangsUp)
                listenTo(std::move(socket));
            accept();
        });
    }

    void listenTo(tcp::socket socket)
    {
        struct Guest {
            tcp::socket socket;
            char bytes[sizeof(MessageHeader) + sizeof(Hello)];
        };
        m_guests.push_back(std::make_shared<Guest>(Guest{std::move(socket), {}}));
        auto guest = std::static_pointer_cast<Guest>(m_guests.back());
        boost::asio::async_read(
            guest->socket, boost::asio::buffer(guest->bytes),
            [this, guest](const boost::system::error_code &error, std::size_t) {
                const auto hello = readRecord<Hello>({guest->bytes + sizeof(MessageHeader), sizeof(Hello)});
                m_metAReceiver = m_metAReceiver || (!error && hello->role == Role::Receiver);
            });
    }

    tcp::acceptor m_acceptor;
    const bool m_hangsUp;
    SenderRecord m_record;
    std::vector<std::shared_ptr<void>> m_guests;
    bool m_metAReceiver = false;
};

class Strangers : public testing::Test
{
protected:
    template <typename Condition>
    bool runUntil(Condition condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + peerPatience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            m_context.run_for(std::chrono::milliseconds(20));
        }
        return true;
    }

    boost::asio::io_context m_context;
    const std::string m_name = "HOST (" + uniquePeerName() + ")";
};

} // namespace

TEST_F(Strangers, OnAPortEndItsRecordWhenAFinderLooks)
{
    const Port port(m_context, m_name, true);
    const NDIlib_find_create_t settings;
    const Finder finder(NDIlib_find_create_v2(&settings));
    EXPECT_TRUE(runUntil([&] { return !isListed(port.record()); }));
}

TEST_F(Strangers, OnAPortEndItsRecordWhenAReceiverLooks)
{
    const Port port(m_context, m_name, true);
    const auto receiver = receiverOf(m_name);
    EXPECT_TRUE(runUntil([&] { return !isListed(port.record()); }));
}

TEST_F(Strangers, ThatSayNothingEndTheRecordOfAProcessThatIsGone)
{
    const Port port(m_context, m_name, false, noProcess);
    const NDIlib_find_create_t settings;
    const Finder finder(NDIlib_find_create_v2(&settings));
    EXPECT_TRUE(runUntil([&] { return !isListed(port.record()); }));
}

TEST_F(Strangers, ThatSayNothingDoNotKeepAReceiverFromTheNextOfTheName)
{
    const Port one(m_context, m_name, false);
    const Port other(m_context, m_name, false);
    const auto receiver = receiverOf(m_name);
    EXPECT_TRUE(runUntil([&] { return one.metAReceiver() && other.metAReceiver(); }));
    // They may be senders that were stopped.
    EXPECT_TRUE(isListed(one.record()));
    EXPECT_TRUE(isListed(other.record()));
}
