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

// What a sink may hold: samples of 150 ms, and the one that is being sent.
auto isBounded()
{
    return testing::AllOf(testing::Ge(0), testing::Le(10));
}

// Sends of 30 ms let 30 to 33 pictures a second through on a machine that is free, 25 on one that is busy: whoever ends
// a wait gets a processor late there.
bool keepsUp(const Arrivals &arrivals)
{
    return arrivals.latencyMs < 120 && arrivals.pictures >= 20 && std::abs(arrivals.avOffsetMs) <= 40;
}

// Sound goes between the pictures, at two pieces each.
bool keepsUpWithSound(const Arrivals &arrivals)
{
    return keepsUp(arrivals) && arrivals.pieces >= 40;
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
    EXPECT_TRUE(arrives(*m_receiver, secondsFromNow(1), 2, keepsUpWithSound));
    EXPECT_THAT(held(), testing::ElementsAre(isBounded(), isBounded()));
}

TEST_F(SlowSend, KeepsPicturesAloneOnTime)
{
    ASSERT_NO_FATAL_FAILURE(start({"--no-audio"}));
    EXPECT_TRUE(arrives(*m_receiver, secondsFromNow(1), 2, keepsUp));
    EXPECT_THAT(held(), testing::ElementsAre(isBounded(), 0));
}

} // namespace
