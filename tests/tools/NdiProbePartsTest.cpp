#include "ndi/tools/common/SenderChoice.h"
#include "tools/ndi-probe/Failure.h"
#include "tools/ndi-probe/Findings.h"
#include "tools/ndi-probe/Options.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <gmock/gmock.h>

#include <functional>

using namespace ndiprobe;
using nditools::chooseSender;

namespace
{

Options parse(const QStringList &arguments)
{
    return parseOptions(QStringList(QStringLiteral("ndi-probe")) + arguments).options;
}

void expectWrongUse(const char *word, const std::function<void()> &action)
{
    try {
        action();
        ADD_FAILURE() << "no failure";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code(), ExitCode::Usage);
        EXPECT_THAT(failure.what(), testing::HasSubstr(word));
    }
}

const QStringList Names{"A (Cam)", "A (Cam 2)", "B (Desk)", "B (Talk)", "C (Talk)", "Cam"};

TEST(NdiProbeOptions, NeedANameAndWaitTenSecondsForIt)
{
    const Options options = parse({"Camera 1"});
    EXPECT_EQ(options.name, "Camera 1");
    EXPECT_EQ(options.patience, std::chrono::seconds(10));
    EXPECT_FALSE(options.json);
}

TEST(NdiProbeOptions, TakeFractionsOfASecond)
{
    const Options options = parse({"--json", "--seconds", "0.25", "x"});
    EXPECT_EQ(options.patience, std::chrono::milliseconds(250));
    EXPECT_TRUE(options.json);
}

TEST(NdiProbeOptions, RefuseWrongUse)
{
    expectWrongUse("name", [] { parse({}); });
    expectWrongUse("name", [] { parse({""}); });
    expectWrongUse("name", [] { parse({"a", "b"}); });
    expectWrongUse("nonsense", [] { parse({"a", "--nonsense"}); });
    for (const char *seconds : {"soon", "0", "-1", "nan", "1e9"})
        expectWrongUse(seconds, [&] { parse({"a", "--seconds", seconds}); });
}

TEST(NdiProbeOptions, AnswerHelpAndVersionWithoutAName)
{
    const auto textFor = [](const char *option) { return *parseOptions({"ndi-probe", option}).text; };
    for (const char *expected : {"--seconds", "--json", "--help", "--version", "name"})
        EXPECT_TRUE(textFor("--help").contains(expected)) << expected;
    EXPECT_TRUE(textFor("--version").startsWith("ndi-probe "));
}

TEST(SenderChoice, PrefersTheFullNameToThePartInBracketsToAnyPart)
{
    EXPECT_EQ(chooseSender(Names, "Cam"), 5);
    EXPECT_EQ(chooseSender(Names.mid(0, 5), "Cam"), 0);
    EXPECT_EQ(chooseSender(Names, "A (Cam 2)"), 1);
    EXPECT_EQ(chooseSender(Names, "am 2"), 1);
    EXPECT_EQ(chooseSender(Names, "Desk"), 2);
}

TEST(SenderChoice, FindsNothingWhereNothingFits)
{
    EXPECT_EQ(chooseSender(Names, "cam"), std::nullopt);
    EXPECT_EQ(chooseSender({}, "Cam"), std::nullopt);
}

TEST(SenderChoice, RefusesANameThatFitsSeveral)
{
    expectWrongUse("'Talk' fits more than one sender: 'B (Talk)', 'C (Talk)'", [] { chooseSender(Names, "Talk"); });
    expectWrongUse("'A (' fits more than one sender: 'A (Cam)', 'A (Cam 2)'", [] { chooseSender(Names, "A ("); });
}

Findings everything()
{
    FoundVideo video;
    video.format.xres = 1920;
    video.format.yres = 540;
    video.format.FourCC = NDIlib_FourCC_video_type_BGRA;
    video.format.frame_rate_N = 30000;
    video.format.frame_rate_D = 1001;
    video.format.frame_format_type = NDIlib_frame_format_type_field_1;
    video.hasFrameMetadata = true;
    return {QString::fromUtf8("HOST (K\xc3\xa4se)"), "10.0.0.5:5961", video, FoundAudio{4, 44100, false}};
}

TEST(NdiProbeFindings, AreTextWithALineForEachKind)
{
    EXPECT_EQ(everything().toText().toStdString(),
              "HOST (K\xc3\xa4se) at 10.0.0.5:5961\n"
              "video: BGRA 1920x540 at 30000/1001, separate fields, with frame metadata\n"
              "audio: 4 channels at 44100 Hz\n");
    EXPECT_EQ(Findings({"H (N)", "1", {}, {}}).toText().toStdString(), "H (N) at 1\nvideo: none\naudio: none\n");
}

TEST(NdiProbeFindings, AreJsonWithNullForWhatIsNotThere)
{
    Findings findings = everything();
    const QJsonObject json = QJsonDocument::fromJson(findings.toJson()).object();
    const QJsonObject video{{"format", "BGRA"},       {"width", 1920},           {"height", 540},
                            {"rateNumerator", 30000}, {"rateDenominator", 1001}, {"fields", "separate fields"},
                            {"frameMetadata", true}};
    const QJsonObject audio{{"channels", 4}, {"sampleRate", 44100}, {"frameMetadata", false}};
    EXPECT_EQ(json, QJsonObject(
                        {{"name", findings.name}, {"address", findings.address}, {"video", video}, {"audio", audio}}));

    findings.video.reset();
    findings.audio.reset();
    const QJsonObject empty = QJsonDocument::fromJson(findings.toJson()).object();
    EXPECT_TRUE(empty["video"].isNull());
    EXPECT_TRUE(empty["audio"].isNull());
}

} // namespace
