#include "tests/ndi/PeerProcess.h"

namespace ndi_test
{

PeerProcess::PeerProcess(const std::string &role, const std::string &name, const std::string &address)
{
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(QStringLiteral(NDI_TEST_PEER),
                    {QString::fromStdString(role), QString::fromStdString(name), QString::fromStdString(address)});
    EXPECT_TRUE(m_process.waitForStarted());
}

PeerProcess::~PeerProcess()
{
    if (m_process.state() != QProcess::NotRunning)
        kill();
}

void PeerProcess::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

int PeerProcess::waitForEnd()
{
    const auto limit = static_cast<int>(std::chrono::milliseconds(patience).count());
    if (!m_process.waitForFinished(limit) || m_process.exitStatus() != QProcess::NormalExit)
        return -1;
    return m_process.exitCode();
}

} // namespace ndi_test
