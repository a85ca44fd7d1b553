#include "discovery/NDIInputEnumerator.h"

#include "discovery/NDIEnumeratorWorker.h"
#include "hostfw/ComException.h"
#include "tests/support/EventLoop.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QMetaMethod>
#include <QtCore/QMetaProperty>

#include <gtest/gtest.h>

namespace
{

class NDIInputEnumeratorTest : public testing::Test
{
protected:
    void SetUp() override { ndi.reset(); }
    void TearDown() override { EXPECT_TRUE(ndi.reset()); }

    ScriptedNdi &ndi = ScriptedNdi::instance();
};

NDIInput at(const NDIInputEnumerator &enumerator, int index)
{
    return enumerator.inputs().at(index).value<NDIInput>();
}

} // namespace

TEST_F(NDIInputEnumeratorTest, AnEmptyNetworkIsAnEmptyListWithoutASignal)
{
    NDIInputEnumerator enumerator;
    int changes = 0;
    QObject::connect(&enumerator, &NDIInputEnumerator::inputsChanged, [&] { ++changes; });
    // Three passes without a change.
    EXPECT_TRUE(spinUntil([&] { return ndi.calls().waits >= 3; }));
    EXPECT_EQ(0, changes);
    EXPECT_TRUE(enumerator.inputs().isEmpty());
}

TEST_F(NDIInputEnumeratorTest, AskForLocalSendersOfTheDefaultGroupsInPassesOf200Ms)
{
    NDIInputEnumerator enumerator;
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 2; }));
    const auto calls = ndi.calls();
    ASSERT_EQ(1u, calls.findSettings.size());
    EXPECT_TRUE(calls.findSettings[0].show_local_sources);
    EXPECT_EQ(nullptr, calls.findSettings[0].p_groups);
    EXPECT_EQ(nullptr, calls.findSettings[0].p_extra_ips);
    for (const uint32_t timeout : calls.waitTimeouts)
        EXPECT_EQ(200u, timeout);
}

TEST_F(NDIInputEnumeratorTest, ASenderThatComesAndGoesIsListedAndUnlisted)
{
    NDIInputEnumerator enumerator;
    int changes = 0;
    QObject::connect(&enumerator, &NDIInputEnumerator::inputsChanged, [&] { ++changes; });
    ndi.setSources({{"B (2)", "10.0.0.2:5961"}, {"A (1)", "10.0.0.1:5961"}});
    ASSERT_TRUE(spinUntil([&] { return changes == 1; }));
    ASSERT_EQ(2, enumerator.inputs().size());
    EXPECT_TRUE(at(enumerator, 0) == NDIInput("B (2)", "10.0.0.2:5961"));
    EXPECT_TRUE(at(enumerator, 1) == NDIInput("A (1)", "10.0.0.1:5961"));
    ndi.setSources({});
    ASSERT_TRUE(spinUntil([&] { return changes == 2; }));
    EXPECT_TRUE(enumerator.inputs().isEmpty());
    // Passes without a change are no news.
    const int passes = ndi.calls().waits;
    ASSERT_TRUE(spinUntil([&] { return ndi.calls().waits >= passes + 2; }));
    EXPECT_EQ(2, changes);
}

TEST_F(NDIInputEnumeratorTest, CreateInputIsEmptyWhateverIsListed)
{
    NDIInputEnumerator enumerator;
    ndi.setSources({{"A", "1"}});
    ASSERT_TRUE(spinUntil([&] { return !enumerator.inputs().isEmpty(); }));
    EXPECT_TRUE(enumerator.createInput().name().isNull());
    EXPECT_TRUE(enumerator.createInput().address().isNull());
}

TEST_F(NDIInputEnumeratorTest, GoingWhileTheWorkerWaitsEndsWithThePassAndDestroysTheFinderOnce)
{
    auto enumerator = std::make_unique<NDIInputEnumerator>();
    ASSERT_TRUE(ndi.waitFor([](const auto &calls) { return calls.waits >= 1; }));
    QElapsedTimer clock;
    clock.start();
    enumerator.reset();
    EXPECT_LT(clock.elapsed(), 2000);
    EXPECT_EQ(1, ndi.calls().findersDestroyed);
}

TEST_F(NDIInputEnumeratorTest, TheWorkerThrowsWhenThereIsNoFinder)
{
    LogCapture log;
    ndi.refuseFinders(true);
    NDIEnumeratorWorker worker;
    try {
        worker.init();
        FAIL() << "nothing was thrown";
    } catch (const ComException &exception) {
        EXPECT_EQ(E_POINTER, exception.getErrorCode());
        EXPECT_EQ(QStringLiteral("Null pointer"), exception.getMessage());
    }
    EXPECT_EQ(1, log.count(QtCriticalMsg, defaultLog, " [m_finder is null]"));
    EXPECT_EQ(0, ndi.calls().waits);
}

TEST_F(NDIInputEnumeratorTest, MetaObjectsHaveTheirMembersInOrder)
{
    const QMetaObject &meta = NDIInputEnumerator::staticMetaObject;
    ASSERT_EQ(3, meta.methodCount() - meta.methodOffset());
    const QMetaMethod changed = meta.method(meta.methodOffset());
    EXPECT_EQ(QByteArray("inputsChanged()"), changed.methodSignature());
    EXPECT_EQ(QMetaMethod::Signal, changed.methodType());
    const QMetaMethod slot = meta.method(meta.methodOffset() + 1);
    EXPECT_EQ(QByteArray("onInputsChanged(QList<NDIInput>)"), slot.methodSignature());
    EXPECT_EQ(QMetaMethod::Slot, slot.methodType());
    EXPECT_EQ(QMetaMethod::Private, slot.access());
    const QMetaMethod create = meta.method(meta.methodOffset() + 2);
    EXPECT_EQ(QByteArray("createInput()"), create.methodSignature());
    EXPECT_STREQ("NDIInput", create.typeName());
    ASSERT_EQ(1, meta.propertyCount() - meta.propertyOffset());
    const QMetaProperty inputs = meta.property(meta.propertyOffset());
    EXPECT_STREQ("inputs", inputs.name());
    EXPECT_STREQ("QVariantList", inputs.typeName());
    EXPECT_FALSE(inputs.isWritable());
    EXPECT_EQ(QByteArray("inputsChanged()"), inputs.notifySignal().methodSignature());

    const QMetaObject &worker = NDIEnumeratorWorker::staticMetaObject;
    const QByteArray expected[] = {"inputsChanged(QList<NDIInput>)", "init()", "update()"};
    ASSERT_EQ(3, worker.methodCount() - worker.methodOffset());
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(expected[index], worker.method(worker.methodOffset() + index).methodSignature());
        EXPECT_EQ(QMetaMethod::Public, worker.method(worker.methodOffset() + index).access());
    }
}
