#include "tests/tools/RecvProcess.h"

#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>

#include <gmock/gmock.h>

namespace
{

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

} // namespace
