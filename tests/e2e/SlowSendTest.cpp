// A host whose sends take longer than a picture lasts, as a codec's do that cannot keep up.

#include "tests/e2e/Arrivals.h"
#include "tests/e2e/ChildProcess.h"
#include "tests/e2e/TestSender.h"
#include "tests/host/EventLoop.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>

#include <cmath>
#include <memory>
#include <vector>

namespace
{

constexpr int MostHeld = 10; // samples: 150 ms of them, and the one that is being sent

// Sends of 30 ms let 33 pictures a second through. One that has just missed its turn to a sound waits for the next of
// the sender's: 30 a second then, and one less or more in the window.
bool keepsUp(const Arrivals &arrivals)
{
    return arrivals.latencyMs < 120 && arrivals.pictures >= 29.5 && std::abs(arrivals.avOffsetMs) <= 40;
}

// Of ndi-send's pictures and sound through a host whose sends of pictures take 30 ms.
class SlowSend : public testing::Test
{
protected:
    void start(const QStringList &options)
    {
        const QString in = uniqueName("slow in");
        const QString out = uniqueName("slow out");
        m_sender = std::make_unique<Child>(
            TAVRIN_SEND_PROGRAM, QStringList{"--quiet", "--name", in, "--size", "320x180", "--rate", "60"} + options);
        qputenv("NDI_LOCAL_SEND_MS", "30");
        m_host = std::make_unique<Child>(
            TAVRIN_HOST_PROGRAM, QStringList{"--quiet", "--json", m_json, TAVRIN_EXAMPLES "/bridge.qml", in, out});
        qunsetenv("NDI_LOCAL_SEND_MS");
        m_receiver = std::make_unique<TestReceiver>(out, 200);
        ASSERT_TRUE(waitUntil([this] { return m_receiver->pictureCount() > 0; }, Patience));
    }

    // What the sink of each link holds in the end.
    std::vector<int> held()
    {
        EXPECT_TRUE(endsWhenAsked(*m_host));
        QFile file(m_json);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        std::vector<int> held;
        for (const QJsonValue link : QJsonDocument::fromJson(file.readAll()).object()["links"].toArray())
            held.push_back(link.toObject()["held"].toInt(-1));
        return held;
    }

    std::unique_ptr<TestReceiver> m_receiver;

private:
    const QTemporaryDir m_folder;
    const QString m_json = m_folder.filePath("host.json");
    std::unique_ptr<Child> m_sender;
    std::unique_ptr<Child> m_host;
};

TEST_F(SlowSend, KeepsPicturesAndSoundOnTime)
{
    ASSERT_NO_FATAL_FAILURE(start({}));
    EXPECT_TRUE(arrives(*m_receiver, secondsFromNow(1), 2, keepsUp));
    EXPECT_GT(m_receiver->soundCount(), 0U);
    EXPECT_THAT(held(), testing::ElementsAre(testing::AllOf(testing::Ge(0), testing::Le(MostHeld)),
                                             testing::AllOf(testing::Ge(0), testing::Le(MostHeld))));
}

TEST_F(SlowSend, KeepsPicturesAloneOnTime)
{
    ASSERT_NO_FATAL_FAILURE(start({"--no-audio"}));
    EXPECT_TRUE(arrives(*m_receiver, secondsFromNow(1), 2, keepsUp));
    EXPECT_THAT(held(), testing::Each(testing::AllOf(testing::Ge(0), testing::Le(MostHeld))));
}

} // namespace
