#pragma once

#include "tests/ndi/RuntimeFixture.h"

#include <QtCore/QProcess>

#include <string>

namespace ndi_test
{

// ndi_test_peer in a process of its own, killed without warning at the latest when the object goes.
class PeerProcess
{
public:
    // Publishes `name` and sends small frames, sound and text until it is killed.
    static PeerProcess sender(const std::string &name) { return PeerProcess("send", name, ""); }
    // Connects to `source`, and captures without ever giving a frame back.
    static PeerProcess hoarder(const Source &source) { return PeerProcess("hoard", source.name, source.address); }
    // Makes a sender, a finder and a receiver, and ends without destroying them.
    static PeerProcess leaver(const std::string &name) { return PeerProcess("leave", name, ""); }

    ~PeerProcess();
    PeerProcess(const PeerProcess &) = delete;
    PeerProcess &operator=(const PeerProcess &) = delete;

    void kill();
    // The exit code, or -1 when it crashed or did not end in time.
    int waitForEnd();

private:
    PeerProcess(const std::string &role, const std::string &name, const std::string &address);

    QProcess m_process;
};

} // namespace ndi_test
