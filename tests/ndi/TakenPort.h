#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cstdint>

namespace ndi_test
{

// A port on which somebody listens and says nothing, so that no finder of the machine takes a record of it for stale.
class TakenPort
{
public:
    std::uint16_t number() const { return m_acceptor.local_endpoint().port(); }

private:
    boost::asio::io_context m_context;
    boost::asio::ip::tcp::acceptor m_acceptor{m_context, {boost::asio::ip::address_v4::loopback(), 0}};
};

} // namespace ndi_test
