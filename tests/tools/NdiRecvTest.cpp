// ndi-recv as a process: what it tells about senders over the local runtime.

#include "tests/tools/RecvProcess.h"

#include <QtCore/QElapsedTimer>

#include <gmock/gmock.h>

namespace
{

TEST_F(NdiRecv, TellsWhatComesAndSumsItUp)
{
    const Sender sender(words("--size 640x360 --rate 50 --channels 4"));
    Recv recv(sender.name(), words("--seconds 0.6"), jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv.errors(), "");
    EXPECT_THAT(recv.output(), testing::StartsWith("waiting for '" + sender.name() + "'\nconnected to '"));
    for (const char *part :
         {"\nreceived ", " fps, 640x360 UYVY), ", " audio frames (48000 Hz, 4 ch), ", ", latency ", " ms median"})
        EXPECT_THAT(recv.output(), testing::HasSubstr(part));
    EXPECT_THAT(recv.output(), testing::HasSubstr("\nvideo: UYVY 640x360 at 50/1, progressive\n"));
    EXPECT_THAT(recv.output(), testing::HasSubstr("\naudio: 4 channels at 48000 Hz\n"));
    EXPECT_THAT(recv["name"].toString().toStdString(), testing::EndsWith("(" + sender.name() + ")"));
    EXPECT_EQ(recv["subtype"].toString(), "UYVY");
    EXPECT_EQ(recv["width"].toInt(), 640);
    EXPECT_EQ(recv["height"].toInt(), 360);
    EXPECT_EQ(recv["sampleRate"].toInt(), 48000);
    EXPECT_EQ(recv["channels"].toInt(), 4);
    EXPECT_EQ(recv["ended"].toString(), "limit");
    EXPECT_GE(recv["seconds"].toDouble(), 0.6);
    EXPECT_EQ(recv["reconnects"].toInt(), 0);
}

TEST_F(NdiRecv, MeasuresByThePattern)
{
    const Sender sender(words("--size 320x240 --rate 50"));
    Recv recv(sender.name(), words("--seconds 1.2 --quiet"), jsonFile());
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv.output(), "");
    const int frames = recv["videoFrames"].toInt();
    EXPECT_GT(frames, 0);
    EXPECT_EQ(recv["codedFrames"].toInt(), frames);
    // Every number from the first to the last came or is missed.
    EXPECT_EQ(recv["lastFrame"].toInt() - recv["firstFrame"].toInt() + 1, frames + recv["lostFrames"].toInt());
    EXPECT_EQ(recv["repeatedFrames"].toInt(), 0);
    const QJsonObject latency = recv["latencyMs"].toObject();
    EXPECT_GT(latency["median"].toDouble(), 0);
    EXPECT_LE(latency["median"].toDouble(), latency["p95"].toDouble());
    EXPECT_LE(latency["p95"].toDouble(), latency["max"].toDouble());
    EXPECT_LT(latency["median"].toDouble(), 500);
    EXPECT_GT(latency["recent"].toDouble(), 0);
    EXPECT_LE(latency["recent"].toDouble(), latency["max"].toDouble());
    ASSERT_TRUE(recv["avOffsetMs"].isDouble());
    EXPECT_NEAR(recv["avOffsetMs"].toDouble(), 0, 0.2);
}

TEST_F(NdiRecv, CountsGapsAndRepetitionsByFrameNumber)
{
    ScriptedSender sender;
    Recv recv(sender.name(), words("--frames 7"), jsonFile());
    ASSERT_TRUE(sender.waitForReceiver());
    for (const std::int64_t number : {3, 4, 5, 9, 9, 10, 12})
        sender.sendPattern(number);
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["videoFrames"].toInt(), 7);
    EXPECT_EQ(recv["gaps"].toInt(), 2);
    EXPECT_EQ(recv["lostFrames"].toInt(), 4);
    EXPECT_EQ(recv["repeatedFrames"].toInt(), 1);
    EXPECT_EQ(recv["firstFrame"].toInt(), 3);
    EXPECT_EQ(recv["lastFrame"].toInt(), 12);
    EXPECT_THAT(recv.output(), testing::HasSubstr("\ngap: 3 frames lost before frame 9\n"));
    EXPECT_THAT(recv.output(), testing::HasSubstr("\ngap: 1 frames lost before frame 12\n"));
    EXPECT_THAT(recv.output(), testing::HasSubstr(", 2 gaps (4 frames lost)"));
}

TEST_F(NdiRecv, CountsGapsByTimecodeWithoutAPattern)
{
    ScriptedSender sender;
    Recv recv(sender.name(), words("--frames 5"), jsonFile());
    ASSERT_TRUE(sender.waitForReceiver());
    for (const std::int64_t number : {0, 1, 4, 5, 6}) {
        sender.sendSilence(number, 1);
        sender.sendPlain(number);
    }
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["gaps"].toInt(), 1);
    EXPECT_EQ(recv["lostFrames"].toInt(), 2);
    EXPECT_EQ(recv["audioGaps"].toInt(), 1);
    EXPECT_EQ(recv["lostSamples"].toInt(), 2 * 4800);
    EXPECT_TRUE(recv["firstFrame"].isNull());
    EXPECT_TRUE(recv["latencyMs"].isNull());
    EXPECT_TRUE(recv["avOffsetMs"].isNull());
}

TEST_F(NdiRecv, TellsChangesOfFormatAndRecordsEachToAFileOfItsOwn)
{
    ScriptedSender sender;
    Recv recv(sender.name(),
              words("--frames 4") << "--record-video" << path("a.y4m") << "--record-audio" << path("a.wav"),
              jsonFile());
    ASSERT_TRUE(sender.waitForReceiver());
    for (const std::int64_t number : {0, 1, 2, 3}) {
        sender.sendSilence(number, number < 2 ? 1 : 2);
        sender.sendPattern(number, number < 2 ? 320 : 160, 240);
    }
    ASSERT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["formatChanges"].toInt(), 2);
    EXPECT_EQ(recv["gaps"].toInt(), 0);
    EXPECT_THAT(recv.output(), testing::HasSubstr("\nvideo: UYVY 160x240 at 10/1, progressive\n"));
    EXPECT_THAT(recv.output(), testing::HasSubstr("\naudio: 2 channels at 48000 Hz\n"));
    const QByteArray first("YUV4MPEG2 W320 H240 F10:1 Ip A0:0 C422\n");
    const QByteArray second("YUV4MPEG2 W160 H240 F10:1 Ip A0:0 C422\n");
    EXPECT_TRUE(content("a.y4m").startsWith(first));
    EXPECT_EQ(content("a.y4m").size(), first.size() + 2 * (6 + 320 * 240 * 2));
    EXPECT_TRUE(content("a-2.y4m").startsWith(second));
    EXPECT_EQ(content("a-2.y4m").size(), second.size() + 2 * (6 + 160 * 240 * 2));
    EXPECT_EQ(content("a.wav").size(), 58 + 2 * 4800 * 4);
    EXPECT_EQ(content("a-2.wav").size(), 58 + 2 * 4800 * 8);
}

TEST_F(NdiRecv, GoesOnWhenASenderThatWasKilledIsBack)
{
    const std::string name = uniqueName();
    Sender first(words("--size 320x240 --rate 50"), name);
    Recv recv(name, words("--frames 1000000"), jsonFile());
    ASSERT_TRUE(recv.waitForOutput("\nvideo: "));
    first.kill();
    ASSERT_TRUE(recv.waitForOutput("\nlost '"));
    const ScriptedSender takesThePort;
    const Sender second(words("--size 160x120 --rate 50"), name);
    ASSERT_TRUE(recv.waitForOutput("\nconnected again to '"));
    ASSERT_TRUE(recv.waitForLine("video: UYVY 160x120 at 50/1, progressive"));
}

TEST_F(NdiRecv, EndsWithTheSenderWhenItIsToldTo)
{
    Sender sender(words("--size 320x240 --rate 50"));
    Recv recv(sender.name(), words("--until-lost"), jsonFile());
    ASSERT_TRUE(recv.waitForOutput("\nvideo: "));
    sender.kill();
    EXPECT_EQ(recv.wait(), 0);
    EXPECT_EQ(recv["ended"].toString(), "lost");
    EXPECT_EQ(recv["reconnects"].toInt(), 0);
}

TEST_F(NdiRecv, LightsTheSendersTally)
{
    Sender sender(words("--size 320x240 --rate 50"));
    const Recv recv(sender.name(), words("--tally program"), jsonFile());
    EXPECT_TRUE(sender.waitForLine("tally: program on, preview off"));
}

TEST_F(NdiRecv, LightsTheTallyOfASenderThatIsBack)
{
    const std::string name = uniqueName();
    Sender first(words("--size 320x240 --rate 50"), name);
    const Recv recv(name, words("--tally program,preview"), jsonFile());
    ASSERT_TRUE(first.waitForLine("tally: program on, preview on"));
    first.kill();
    const ScriptedSender takesThePort;
    Sender second(words("--size 320x240 --rate 50"), name);
    EXPECT_TRUE(second.waitForLine("tally: program on, preview on"));
}

TEST_F(NdiRecv, ASenderThatIsNotThereEndsWith3AfterTheWait)
{
    QElapsedTimer elapsed;
    elapsed.start();
    Recv recv("no such sender", words("--wait 0.7"), jsonFile());
    EXPECT_EQ(recv.wait(), 3);
    EXPECT_GE(elapsed.elapsed(), 700);
    EXPECT_EQ(recv.output(), "waiting for 'no such sender'\n");
    EXPECT_THAT(recv.errors(), testing::StartsWith("ndi-recv: no sender 'no such sender' within 0.7 s; "));
}

TEST_F(NdiRecv, ASenderThatDeliversNothingEndsWith69)
{
    const ScriptedSender sender;
    Recv recv(sender.name(), words("--wait 1"), jsonFile());
    EXPECT_EQ(recv.wait(), 69);
    EXPECT_THAT(recv.errors(), testing::EndsWith("(" + sender.name() + ")' is on the network, but delivers nothing\n"));
}

TEST_F(NdiRecv, HelpSucceedsAndWrongUseEndsWith64)
{
    Tool help(NDI_RECV_PROGRAM, words("--help"));
    EXPECT_EQ(help.wait(), 0);
    for (const char *option : {"wait", "seconds", "frames", "until-lost", "color", "whole-frames", "tally",
                               "record-video", "record-raw", "record-audio", "snapshot", "metadata", "json", "quiet"})
        EXPECT_THAT(help.output(), testing::HasSubstr(std::string("--") + option));
    Tool wrong(NDI_RECV_PROGRAM, words("Cam --color grey"));
    EXPECT_EQ(wrong.wait(), 64);
    EXPECT_THAT(wrong.errors(), testing::StartsWith("ndi-recv: --color: 'grey' is not "));
}

TEST_F(NdiRecv, ASummaryThatCannotBeWrittenEndsWith73BeforeTheRun)
{
    Recv recv("no such sender", {}, QStringLiteral("/no/such/folder/summary.json"));
    EXPECT_EQ(recv.wait(), 73);
    EXPECT_THAT(recv.errors(), testing::HasSubstr("/no/such/folder/summary.json"));
}

} // namespace
