#include "host/graph/NodeDriver.h"
#include "tests/host/EventLoop.h"
#include "tests/host/FakeNodes.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace
{

constexpr int Patience = 20; // milliseconds
constexpr int Never = 1000000;

// A driver of a source that searches, and a network that says what the test has it say.
class NodeDriverTest : public testing::Test
{
protected:
    NodeDriverTest()
    {
        m_source.setInput({QStringLiteral("Studio")});
        m_driver.setActive(true);
    }

    // What is listed at the look of that number, counted from 1.
    std::function<bool(int)> m_isListed = [](int) { return true; };
    int m_looks = 0;
    LogCapture m_log;
    SearchingSource m_source;
    host::NodeDriver m_driver{
        &m_source,
        [] { return true; },
        {[this] { return m_isListed(++m_looks) ? QStringLiteral("Studio") : QString(); }, Patience}};
};

TEST_F(NodeDriverTest, MakesANodeAnewUntilItHearsTheSenderThatIsListed)
{
    m_source.deafCreations = 3;
    ASSERT_TRUE(waitUntil([this] { return m_driver.state() == host::NodeDriver::State::Ready; }));
    EXPECT_EQ(4, m_source.created);
    EXPECT_EQ(3, m_source.destroyed);
    EXPECT_EQ(0, m_driver.failures());
}

TEST_F(NodeDriverTest, SaysOnceInAWaitThatASenderIsNotHeard)
{
    const QString words = QStringLiteral("does not hear Studio though it is listed");
    m_source.deafCreations = 3;
    ASSERT_TRUE(waitUntil([this] { return m_driver.state() == host::NodeDriver::State::Ready; }));
    EXPECT_EQ(1, m_log.countContaining(words));

    m_source.deafCreations = 2;
    m_driver.request();
    ASSERT_TRUE(waitUntil([this] { return m_source.created == 7; }));
    EXPECT_EQ(2, m_log.countContaining(words));
}

TEST_F(NodeDriverTest, LooksTenTimesBeforeItMakesANodeAnew)
{
    m_source.deafCreations = 1;
    ASSERT_TRUE(waitUntil([this] { return m_source.created == 2; }));
    EXPECT_EQ(10, m_looks);
}

TEST_F(NodeDriverTest, LeavesANodeAloneWhoseSenderIsNotListed)
{
    m_isListed = [](int) { return false; };
    m_source.deafCreations = Never;
    ASSERT_TRUE(waitUntil([this] { return m_looks >= 50; }));
    EXPECT_EQ(1, m_source.created);
    EXPECT_EQ(0, m_source.destroyed);
}

TEST_F(NodeDriverTest, LeavesANodeAloneWhoseSenderComesAndGoes)
{
    m_isListed = [](int look) { return look % 10 != 0; };
    m_source.deafCreations = Never;
    ASSERT_TRUE(waitUntil([this] { return m_looks >= 50; }));
    EXPECT_EQ(1, m_source.created);
}

TEST_F(NodeDriverTest, LooksNoMoreWhenTheNodeIsCreatedOrTheDriverStops)
{
    ASSERT_TRUE(waitUntil([this] { return m_driver.state() == host::NodeDriver::State::Ready; }));
    m_looks = 0;
    SearchingSource waiting;
    waiting.setInput({QStringLiteral("Gallery")});
    waiting.deafCreations = Never;
    int looks = 0;
    host::NodeDriver other(&waiting, [] { return true; },
                           {[&looks] {
                                ++looks;
                                return QString();
                            },
                            Patience});
    other.setActive(true);
    ASSERT_TRUE(waitUntil([&] { return looks >= 20; })); // the time of ten looks and more
    EXPECT_EQ(0, m_looks);

    other.setActive(false);
    looks = 0;
    m_source.deafCreations = Never;
    m_driver.request();
    ASSERT_TRUE(waitUntil([this] { return m_looks >= 20; }));
    EXPECT_EQ(0, looks);
    EXPECT_EQ(1, waiting.created);
    EXPECT_EQ(1, waiting.destroyed);
}

} // namespace
