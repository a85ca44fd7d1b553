#pragma once

#include <QtCore/QProcess>

#include <cstdint>
#include <string>

namespace ndi_test
{

// ndi_test_peer in a process of its own, killed without warning at the latest when the object goes.
class PeerProcess
{
public:
    // Publishes `name` and sends small frames, sound and text until it is killed.
    static PeerProcess sender(const std::string &name) { return PeerProcess("send", name, ""); }
    // Connects to a sender, and captures without ever giving a frame back.
    static PeerProcess hoarder(const std::string &name, const std::string &address)
    {
        return PeerProcess("hoard", name, address);
    }
    // Makes a sender, a finder and a receiver, and ends without destroying them.
    static PeerProcess leaver(const std::string &name) { return PeerProcess("leave", name, ""); }

    ~PeerProcess();
    PeerProcess(const PeerProcess &) = delete;
    PeerProcess &operator=(const PeerProcess &) = delete;

    std::uint32_t id() const { return static_cast<std::uint32_t>(m_process.processId()); }
    // Fails the test when it had ended by itself.
    void kill();
    // The exit code, or -1 when it crashed or did not end in time.
    int waitForEnd();

private:
    PeerProcess(const std::string &role, const std::string &name, const std::string &address);

    QProcess m_process;
};

} // namespace ndi_test
