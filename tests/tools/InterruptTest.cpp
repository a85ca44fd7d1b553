#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/ndi-send/Input.h"
#include "tests/tools/RecvProcess.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr unsigned Patience = 20; // seconds

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
        alarm(Patience);
        nditools::catchInterrupts();
        std::raise(signal);
        ndisend::Input input(QStringLiteral("video"), m_path);
        std::_Exit(input.stream().get() == EOF && nditools::interrupted() ? 0 : 1);
    }

    const QTemporaryDir m_folder;
    QString m_path;
};

TEST_F(NdiSend, AnInterruptEndsItCleanly)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 320x240 --json") << path);
    const Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    sender.interrupt();
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_EQ(readJson(path)[QStringLiteral("ended")].toString(), QStringLiteral("interrupt"));
}

TEST_F(NdiSend, TellsConnectionsAndTallyAsTheyChangeAndInTheSummary)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    Sender sender(words("--size 160x64 --rate 50 --json") << path);
    {
        Receiver receiver(sender.name());
        ASSERT_TRUE(receiver.found());
        ASSERT_TRUE(sender.waitForLine("connections: 1"));
        receiver.setTally(true, false);
        EXPECT_TRUE(sender.waitForLine("tally: program on, preview off"));
        receiver.setTally(false, true);
        EXPECT_TRUE(sender.waitForLine("tally: program off, preview on"));
    }
    EXPECT_TRUE(sender.waitForLine("connections: 0"));
    sender.interrupt();
    ASSERT_EQ(sender.wait(), 0);

    const QJsonObject json = readJson(path);
    EXPECT_EQ(json[QStringLiteral("connections")][QStringLiteral("most")].toInt(), 1);
    EXPECT_EQ(json[QStringLiteral("connections")][QStringLiteral("now")].toInt(-1), 0);
    const QJsonValue program = json[QStringLiteral("tally")][QStringLiteral("program")];
    EXPECT_TRUE(program[QStringLiteral("seenOn")].toBool());
    EXPECT_TRUE(program[QStringLiteral("seenOffAgain")].toBool());
}

TEST_F(NdiSend, AnInterruptEndsItWhileItWaitsForAPipe)
{
    Sender sender(words("--video -"));
    sender.write(greyFilm(1));
    Receiver receiver(sender.name());
    ASSERT_TRUE(receiver.found());
    sender.interrupt();
    EXPECT_EQ(sender.wait(), 0);
    EXPECT_EQ(sender.errors(), "");
}

TEST_F(NdiRecv, AnInterruptEndsItCleanlyWithItsFilesComplete)
{
    const Sender sender(words("--size 320x240 --rate 50"));
    Recv recv(sender.name(), QStringList{"--record-audio", path("a.wav")}, jsonFile());
    ASSERT_TRUE(recv.waitForOutput("\naudio: "));
    recv.interrupt();
    EXPECT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["ended"].toString(), "interrupt");
    EXPECT_THAT(recv.output(), testing::HasSubstr("\nreceived "));
    const int bytes = recv["audioSamples"].toInt() * 2 * 4;
    ASSERT_EQ(content("a.wav").size(), 58 + bytes);
    EXPECT_EQ(qFromLittleEndian<quint32>(content("a.wav").constData() + 54), static_cast<quint32>(bytes));
}

TEST_F(NdiRecv, CountsThatASenderWasBackButNoGapForTheTimeItWasAway)
{
    const std::string name = uniqueName();
    Sender first(words("--size 320x240 --rate 50"), name);
    Recv recv(name, {}, jsonFile());
    ASSERT_TRUE(recv.waitForOutput("\nvideo: "));
    first.kill();
    ASSERT_TRUE(recv.waitForOutput("\nlost '"));
    const Sender second(words("--size 160x120 --rate 50"), name);
    ASSERT_TRUE(recv.waitForOutput("\nvideo: UYVY 160x120"));
    recv.interrupt();
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["reconnects"].toInt(), 1);
    EXPECT_EQ(recv["formatChanges"].toInt(), 1);
    EXPECT_EQ(recv["restarts"].toInt(), 0);
    EXPECT_EQ(recv["width"].toInt(), 160);
}

TEST_F(NdiRecv, AnInterruptEndsItWhileItWaitsForASender)
{
    Recv recv("no such sender", words("--wait 1000"), jsonFile());
    ASSERT_TRUE(recv.waitForLine("waiting for 'no such sender'"));
    recv.interrupt();
    EXPECT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv.errors(), "");
}

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
