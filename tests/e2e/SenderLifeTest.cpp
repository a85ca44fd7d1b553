// When a scene's sender is on the network, and when it is not any more.

#include "tests/e2e/Network.h"
#include "tests/e2e/SendingScenes.h"
#include "tests/e2e/TestReceiver.h"
#include "tests/e2e/TestSender.h"
#include "tests/e2e/TimeLimits.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThreadPool>

namespace
{

bool receives(const TestReceiver &receiver)
{
    const std::size_t enough = receiver.pictureCount() + 5;
    return waitUntil([&] { return receiver.pictureCount() >= enough; }, Patience);
}

// Names begin so as listed: a second sender of a name has a number behind.
std::string listed(const QString &name)
{
    return "(" + name.toStdString();
}

class SenderLife : public testing::Test
{
protected:
    bool waitForSenders(const QString &name, std::size_t count)
    {
        return waitUntil([&] { return m_network.senders(listed(name)).size() == count; }, Patience);
    }
    // Of exactly that name.
    bool hasSender(const QString &name) { return m_network.senders(listed(name) + ")").size() == 1; }
    // True when a list that is newer than this call has none of that name.
    bool isGone(const QString &name)
    {
        const QString marker = uniqueName("marker");
        const TestSender sender(marker, SenderFormat());
        return waitUntil(
            [&] { return m_network.senders(listed(marker)).size() == 1 && m_network.senders(listed(name)).empty(); },
            Patience);
    }
    static void expectToClose(std::unique_ptr<PatternScene> &scene)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        scene.reset();
        EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(ClosingLimit));
        EXPECT_LT(elapsed.elapsed(), ClosingLimit);
    }

private:
    Network m_network;
};

TEST_F(SenderLife, EndsWithinASecondWithTheSceneThatSends)
{
    const QString name = uniqueName("closed");
    const TestReceiver receiver(name);
    auto scene = std::make_unique<PatternScene>(name);
    ASSERT_TRUE(scene->isLoaded());
    ASSERT_TRUE(receives(receiver));
    expectToClose(scene);
    EXPECT_TRUE(isGone(name));
    EXPECT_TRUE(waitUntil([&] { return receiver.losses() == 1; }, Patience));
}

TEST_F(SenderLife, GoesOnUnderANewNameWhenItChanges)
{
    const QString before = uniqueName("before");
    const QString after = uniqueName("after");
    const TestReceiver old(before);
    const TestReceiver renamed(after);
    PatternScene scene(before);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(receives(old));
    scene.sink().setProperty("name", after);
    EXPECT_TRUE(receives(renamed));
    EXPECT_TRUE(waitForSenders(after, 1));
    EXPECT_TRUE(isGone(before));
    scene.sink().setProperty("name", QString());
    EXPECT_TRUE(isGone(after));
    EXPECT_EQ(scene.graph().restarts(), 0);
}

TEST_F(SenderLife, EndsWithinASecondWithASceneThatGivesItANewName)
{
    const QString stem = uniqueName("names");
    const QString first = stem + " first";
    for (const int turns : {0, 1, 3}) {
        auto scene = std::make_unique<PatternScene>(first);
        ASSERT_TRUE(scene->isLoaded());
        ASSERT_TRUE(receives(TestReceiver(first)));
        scene->sink().setProperty("name", stem + " second");
        // From the request to the job that makes the sink.
        for (int turn = 0; turn < turns; ++turn)
            QCoreApplication::processEvents();
        expectToClose(scene);
        EXPECT_TRUE(isGone(stem));
    }
}

TEST_F(SenderLife, HasTheNameOfItsSceneFromTheBeginning)
{
    // A sender that was made twice would find its own name taken at times, and be listed with a number behind.
    for (int round = 0; round < 20; ++round) {
        const QString name = uniqueName("once");
        PatternScene scene(name);
        ASSERT_TRUE(scene.isLoaded());
        ASSERT_TRUE(waitForSenders(name, 1));
        ASSERT_TRUE(hasSender(name)) << round;
    }
}

TEST_F(SenderLife, BeginsOnceWithEachStartOfTheGraph)
{
    const QString name = uniqueName("starts");
    PatternScene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(waitForSenders(name, 1)) << round;
        scene.graph().stop();
        ASSERT_TRUE(waitForSenders(name, 0)) << round;
        scene.graph().start();
    }
    EXPECT_TRUE(receives(TestReceiver(name)));
    EXPECT_TRUE(waitForSenders(name, 1));
    EXPECT_EQ(scene.graph().restarts(), 0);
}

} // namespace
