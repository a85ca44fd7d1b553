// What signals and named pipes do to the programs.

#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/ndi-send/Input.h"
#include "tests/tools/RecvProcess.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <csignal>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr unsigned AlarmAfter = 20; // seconds

class SilentPipe : public testing::Test
{
protected:
    void SetUp() override
    {
        m_path = m_folder.filePath(QStringLiteral("pipe"));
        ASSERT_EQ(mkfifo(QFile::encodeName(m_path).constData(), 0600), 0);
    }

    // Ends this process: 0 when reading came to an end.
    [[noreturn]] void readAfterTheSignal(int signal) const
    {
        alarm(AlarmAfter);
        nditools::catchInterrupts();
        std::raise(signal);
        ndisend::Input input(QStringLiteral("video"), m_path);
        std::_Exit(input.stream().get() == EOF && nditools::interrupted() ? 0 : 1);
    }

    const QTemporaryDir m_folder;
    QString m_path;
};

TEST_F(NdiRecv, ASecondInterruptEndsItAtOnceWhenAFileHoldsItUp)
{
    // To open a pipe for writing takes until somebody reads it.
    ASSERT_EQ(mkfifo(QFile::encodeName(path("pipe")).constData(), 0600), 0);
    Sender sender(words("--size 320x240 --rate 50"));
    Recv recv(sender.name(), QStringList{"--record-video", path("pipe")}, jsonFile());
    ASSERT_TRUE(recv.waitForOutput("\nvideo: "));
    recv.interrupt();
    ASSERT_TRUE(recv.waitForOutput("\nreceived "));
    recv.interrupt();
    EXPECT_EQ(recv.wait(), -1);
}

} // namespace

TEST_F(SilentPipe, EndsWhenTheSignalCameBeforeTheRead)
{
    EXPECT_EXIT(readAfterTheSignal(SIGINT), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(readAfterTheSignal(SIGTERM), testing::ExitedWithCode(0), "");
}

TEST_F(SilentPipe, EndsTheProgramWithTheSecondSignal)
{
    const auto twice = [] {
        nditools::catchInterrupts();
        std::raise(SIGINT);
        std::raise(SIGTERM);
        std::_Exit(0);
    };
    EXPECT_EXIT(twice(), testing::KilledBySignal(SIGTERM), "");
}

TEST_F(SilentPipe, UnderAFileNameIsLeftWhenTheProgramIsInterrupted)
{
    Sender sender({QStringLiteral("--video"), m_path});
    // Comes back when the program has opened the other end, which it does after it has learnt to be interrupted.
    QFile writer(m_path);
    ASSERT_TRUE(writer.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    sender.interrupt();
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_EQ(sender.errors(), "");
}

TEST_F(SilentPipe, UnderAFileNameIsPublishedAsItComes)
{
    Sender sender(QStringList{QStringLiteral("--video"), m_path});
    QFile writer(m_path);
    ASSERT_TRUE(writer.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    ASSERT_GT(writer.write(greyFilm(5)), 0);
    writer.close();
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_NE(sender.output().find("sent 5 video frames"), std::string::npos) << sender.output();
}
