#pragma once

#include "ndi/local/Registry.h"
#include "ndi/local/SenderRecord.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <string>

namespace localndi
{

// A sender's entry in the registry: a port of its own, a name of its own, and the record that says so, from
// construction to withdraw().
//
// Threads: constructed anywhere; the acceptor is then the context's.
class Registration
{
public:
    // Takes the lowest free port and, if `name` is taken on this machine, the first of `name 2`, `name 3`...
    // Throws std::runtime_error or std::system_error when there is no registry, port or lock to be had.
    Registration(boost::asio::io_context &context, const std::string &name, const std::string &groups);
    Registration(const Registration &) = delete;
    Registration &operator=(const Registration &) = delete;

    const Registry &registry() const { return m_registry; }
    const SenderRecord &record() const { return m_record; }
    boost::asio::ip::tcp::acceptor &acceptor() { return m_acceptor; }
    // Leaves the registry and stops listening; connections stay.
    void withdraw();

private:
    void listen();

    const Registry m_registry;
    boost::asio::ip::tcp::acceptor m_acceptor;
    SenderRecord m_record;
};

} // namespace localndi
