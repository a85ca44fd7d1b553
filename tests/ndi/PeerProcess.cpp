#include "tests/ndi/PeerProcess.h"

#include "tests/support/StartedProcess.h"

#include <gtest/gtest.h>

namespace ndi_test
{
namespace
{

constexpr int endTimeMs = 30000;

} // namespace

PeerProcess::PeerProcess(const std::string &role, const std::string &name, const std::string &address)
{
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    startProcess(m_process, QStringLiteral(NDI_TEST_PEER),
                 {QString::fromStdString(role), QString::fromStdString(name), QString::fromStdString(address)});
}

PeerProcess::~PeerProcess()
{
    if (m_process.state() != QProcess::NotRunning)
        kill();
}

void PeerProcess::kill()
{
    m_process.waitForFinished(0); // to hear of an end
    EXPECT_EQ(m_process.state(), QProcess::Running) << "it has ended by itself, with code " << m_process.exitCode();
    m_process.kill();
    m_process.waitForFinished();
}

int PeerProcess::waitForEnd()
{
    if (!m_process.waitForFinished(endTimeMs) || m_process.exitStatus() != QProcess::NormalExit)
        return -1;
    return m_process.exitCode();
}

} // namespace ndi_test
