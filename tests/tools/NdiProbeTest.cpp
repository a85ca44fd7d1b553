// ndi-probe as a process, on senders over the local runtime.

#include "tests/tools/SenderProcess.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>

#include <gmock/gmock.h>

namespace
{

struct Outcome {
    int code;
    std::string output;
    std::string errors;

    QJsonObject json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(output)).object(); }
};

Outcome outcomeOf(Tool &probe)
{
    const int code = probe.wait();
    return {code, probe.output(), probe.errors()};
}

QStringList argumentsFor(const Sender &sender, const char *options = "")
{
    return QStringList{QString::fromStdString(sender.name())} + words(options);
}

Outcome probe(const QStringList &arguments)
{
    Tool probe(NDI_PROBE_PROGRAM, arguments);
    return outcomeOf(probe);
}

Outcome probe(const Sender &sender, const char *options = "")
{
    return probe(argumentsFor(sender, options));
}

class NdiProbe : public NdiSend
{
};

TEST_F(NdiProbe, PrintsWhatASenderCarries)
{
    const Sender sender(words("--size 640x360 --rate 60000/1001 --channels 4 --sample-rate 44100"));
    const Outcome outcome = probe(sender);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(outcome.output, testing::HasSubstr("(" + sender.name() + ") at "));
    EXPECT_THAT(outcome.output, testing::EndsWith("\nvideo: UYVY 640x360 at 60000/1001, progressive\n"
                                                  "audio: 4 channels at 44100 Hz\n"));
}

TEST_F(NdiProbe, PrintsJsonAndTellsFrameMetadata)
{
    const Sender sender(words("--size 320x240 --rate 50 --format BGRA --frame-metadata <m/>"));
    const Outcome outcome = probe(sender, "--json");
    EXPECT_EQ(outcome.code, 0);
    const QJsonObject json = outcome.json();
    EXPECT_TRUE(json["name"].toString().endsWith(QString::fromStdString("(" + sender.name() + ")")));
    EXPECT_FALSE(json["address"].toString().isEmpty());
    const QJsonObject video{{"format", "BGRA"},     {"width", 320},         {"height", 240},
                            {"rateNumerator", 50},  {"rateDenominator", 1}, {"fields", "progressive"},
                            {"frameMetadata", true}};
    const QJsonObject audio{{"channels", 2}, {"sampleRate", 48000}, {"frameMetadata", true}};
    EXPECT_EQ(json["video"].toObject(), video) << outcome.output;
    EXPECT_EQ(json["audio"].toObject(), audio) << outcome.output;
}

TEST_F(NdiProbe, TakesTheFullName)
{
    const Sender sender(words("--size 320x240 --rate 50"));
    const QString name = probe(sender, "--json").json()["name"].toString();
    const Outcome outcome = probe({name, "--json"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.json()["name"].toString(), name);
}

TEST_F(NdiProbe, TellsWhichKindASenderDoesNotCarry)
{
    const Sender silent(words("--size 320x240 --rate 50 --no-audio"));
    const Sender blind(words("--channels 1 --no-video"));
    Tool silentProbe(NDI_PROBE_PROGRAM, argumentsFor(silent));
    Tool blindProbe(NDI_PROBE_PROGRAM, argumentsFor(blind, "--json"));
    const Outcome video = outcomeOf(silentProbe);
    EXPECT_EQ(video.code, 0);
    EXPECT_THAT(video.output, testing::EndsWith("\nvideo: UYVY 320x240 at 50/1, progressive\naudio: none\n"));
    const Outcome audio = outcomeOf(blindProbe);
    EXPECT_EQ(audio.code, 0);
    EXPECT_TRUE(audio.json()["video"].isNull());
    EXPECT_EQ(audio.json()["audio"].toObject()["channels"].toInt(), 1);
}

TEST_F(NdiProbe, ASenderThatIsNotThereEndsWith3AfterTheSeconds)
{
    QElapsedTimer elapsed;
    elapsed.start();
    const Outcome outcome = probe({"no such sender", "--seconds", "1.2", "--json"});
    EXPECT_GE(elapsed.elapsed(), 1200);
    EXPECT_LT(elapsed.elapsed(), 15000);
    EXPECT_EQ(outcome.code, 3);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, testing::StartsWith("ndi-probe: no sender 'no such sender' within 1.2 s; "));
}

TEST_F(NdiProbe, ASenderThatDeliversNothingEndsWith69)
{
    const std::string name = "silent " + std::to_string(QCoreApplication::applicationPid());
    NDIlib_send_create_t settings;
    settings.p_ndi_name = name.c_str();
    const NDIlib_send_instance_t sender = NDIlib_send_create(&settings);
    const Outcome outcome = probe({QString::fromStdString(name), "--seconds", "1"});
    NDIlib_send_destroy(sender);
    EXPECT_EQ(outcome.code, 69);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, testing::EndsWith("(" + name + ")' is on the network, but delivers nothing\n"));
}

TEST_F(NdiProbe, HelpSucceedsAndWrongUseEndsWith64)
{
    const Outcome help = probe({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.output, testing::HasSubstr("--seconds"));
    for (const QStringList &arguments : {QStringList{}, QStringList{"a", "b"}, QStringList{"a", "--seconds", "soon"}}) {
        const Outcome outcome = probe(arguments);
        EXPECT_EQ(outcome.code, 64);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors, testing::StartsWith("ndi-probe: "));
    }
}

} // namespace
