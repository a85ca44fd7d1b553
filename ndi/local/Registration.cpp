#include "ndi/local/Registration.h"

#include "ndi/local/SenderLink.h"
#include "ndi/local/System.h"

#include <boost/asio/ip/host_name.hpp>

#include <algorithm>
#include <stdexcept>

namespace localndi
{
namespace
{

using boost::asio::ip::tcp;
using Error = boost::system::error_code;

constexpr std::uint16_t firstPort = 5961;
constexpr std::uint16_t portCount = 2000;
constexpr std::chrono::milliseconds lockTime{3000};
constexpr std::chrono::milliseconds probeTime{250};

// Asks whoever listens on a record's port.
class Probe : private SenderLink::Listener
{
public:
    // A sender that listens and does not answer in time counts as alive while its process is: it may only be stopped.
    bool isAlive(const SenderRecord &record)
    {
        const SenderLink link(m_context, *this, record, Role::Finder, 0);
        m_context.run_for(probeTime);
        return m_answers || (m_alive && system::isRunning(record.processId));
    }

private:
    void onOpen(SenderLink &) override
    {
        m_answers = true;
        m_context.stop();
    }
    void onMessage(SenderLink &, MessageType, std::string_view) override {}
    void onEnd(SenderLink &, SenderLink::End end) override
    {
        m_alive = end == SenderLink::End::TimedOut || end == SenderLink::End::Failed;
    }

    boost::asio::io_context m_context;
    bool m_answers = false;
    bool m_alive = true;
};

std::string listedName(const std::string &name, int count)
{
    Error error;
    auto host = boost::asio::ip::host_name(error);
    if (error || host.empty())
        host = "localhost";
    return host + " (" + name + (count > 1 ? " " + std::to_string(count) : "") + ")";
}

bool isTaken(const std::string &name, const std::vector<SenderRecord> &records)
{
    return std::any_of(records.begin(), records.end(),
                       [&name](const SenderRecord &record) { return record.name == name && Probe().isAlive(record); });
}

std::string freeName(const std::string &name, const std::vector<SenderRecord> &records)
{
    int count = 1;
    while (isTaken(listedName(name, count), records))
        ++count;
    return listedName(name, count);
}

} // namespace

Registration::Registration(boost::asio::io_context &context, const std::string &name, const std::string &groups)
    : m_acceptor(context)
{
    const Registry::Lock lock(m_registry, lockTime);
    if (!lock)
        throw std::runtime_error("no access to the folder of local senders");
    listen();
    auto records = m_registry.records();
    // A record of the port that is now ours is stale.
    const auto ours = [this](const SenderRecord &record) { return record.port == m_record.port; };
    records.erase(std::remove_if(records.begin(), records.end(), ours), records.end());
    m_record.name = freeName(name, records);
    m_record.groups = groups;
    m_record.processId = system::processId();
    m_record.identity = makeSecret();
    m_record.password = makeSecret();
    m_record.signature = makeSecret();
    if (m_record.name.size() > SenderRecord::maximumText || !m_registry.publish(lock, m_record))
        throw std::runtime_error("cannot publish a sender");
    m_registry.removeOrphans(lock);
}

void Registration::withdraw()
{
    // In this order: the record of a port may be changed only while the port is ours.
    if (!m_acceptor.is_open())
        return;
    m_registry.withdraw(m_record);
    Error ignored;
    m_acceptor.close(ignored);
}

void Registration::listen()
{
    for (int port = firstPort; port < firstPort + portCount; ++port) {
        const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), static_cast<std::uint16_t>(port));
        Error error;
        m_acceptor.open(endpoint.protocol());
        system::keepFromChildren(m_acceptor);
        system::allowPortReuse(m_acceptor);
        m_acceptor.bind(endpoint, error);
        if (!error)
            m_acceptor.listen(tcp::acceptor::max_listen_connections, error);
        if (!error) {
            m_record.port = endpoint.port();
            return;
        }
        m_acceptor.close();
    }
    throw std::runtime_error("no free port for a sender");
}

} // namespace localndi
