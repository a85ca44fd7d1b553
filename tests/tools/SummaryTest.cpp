#include "ndi/tools/ndi-send/Summary.h"

#include "ndi/tools/common/SummaryFile.h"

#include "tests/tools/FailureMatcher.h"

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

using namespace ndisend;
using nditools::ExitCode;
using nditools::SummaryFile;

namespace
{

TEST(TallyLight, RemembersThatItWasOnAndWentOffAgain)
{
    TallyLight light;
    light.set(false);
    EXPECT_FALSE(light.seenOn);
    EXPECT_FALSE(light.seenOffAgain);
    light.set(true);
    EXPECT_TRUE(light.seenOn);
    EXPECT_FALSE(light.seenOffAgain);
    light.set(false);
    EXPECT_FALSE(light.on);
    EXPECT_TRUE(light.seenOn);
    EXPECT_TRUE(light.seenOffAgain);
}

TEST(Summary, SaysEverythingInJson)
{
    Summary summary;
    summary.name = QString::fromUtf8("Bühne");
    summary.ended = QStringLiteral("limit");
    summary.videoFrames = 3;
    summary.audioSamples = 4804;
    summary.receivers.program.set(true);
    summary.receivers.mostConnections = 2;

    const QJsonObject json = QJsonDocument::fromJson(summary.toJson()).object();
    EXPECT_EQ(json[QStringLiteral("name")].toString(), summary.name);
    EXPECT_EQ(json[QStringLiteral("ended")].toString(), QStringLiteral("limit"));
    EXPECT_EQ(json[QStringLiteral("videoFrames")].toInt(), 3);
    EXPECT_EQ(json[QStringLiteral("audioSamples")].toInt(), 4804);
    EXPECT_TRUE(json[QStringLiteral("tally")][QStringLiteral("program")][QStringLiteral("seenOn")].toBool());
    EXPECT_FALSE(json[QStringLiteral("tally")][QStringLiteral("preview")][QStringLiteral("seenOn")].toBool(true));
    EXPECT_EQ(json[QStringLiteral("connections")][QStringLiteral("most")].toInt(), 2);
}

TEST(SummaryFile, IsThereOnlyWhenItIsComplete)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("summary.json"));
    {
        SummaryFile file(path);
        EXPECT_FALSE(QFile::exists(path));
    }
    EXPECT_FALSE(QFile::exists(path));
    SummaryFile(path).write(Summary().toJson());
    EXPECT_TRUE(QFile::exists(path));
}

TEST(SummaryFile, APlaceThatCannotBeWrittenIsNamed)
{
    expectFailure(ExitCode::CannotCreate, {"--json", "/no/such/folder"},
                  [] { SummaryFile(QStringLiteral("/no/such/folder/summary.json")); });
}

} // namespace
