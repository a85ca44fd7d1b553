// Metadata from a sender to a scene: with a frame, and beside the frames.

#include "host/monitor/FrameMetadata.h"
#include "tests/e2e/Envelope.h"
#include "tests/e2e/Scene.h"
#include "tests/e2e/TestSender.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>

namespace
{

const QVariantMap &camera()
{
    static const QVariantMap value = {{"name", "Camera 1"}, {"iris", 2.8}, {"live", true}};
    return value;
}

QByteArray lastFrameMetadata(Scene &scene)
{
    const std::deque<CollectedSample> samples = scene.sink().video().samples();
    return samples.empty() ? QByteArray() : samples.back().metadata;
}

TEST(Metadata, OfAFrameRidesOnItsSample)
{
    const QString name = uniqueName("frame metadata");
    TestSender sender(name, SenderFormat());
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(scene.receives(2, 2));
    EXPECT_EQ(lastFrameMetadata(scene), QByteArray());

    sender.setFrameMetadata(envelope(serialised(camera())));
    ASSERT_TRUE(waitUntil([&] { return !lastFrameMetadata(scene).isEmpty(); }));
    EXPECT_EQ(host::metadataValue(lastFrameMetadata(scene)), QVariant(camera()));

    sender.setFrameMetadata({});
    EXPECT_TRUE(waitUntil([&] { return lastFrameMetadata(scene).isEmpty(); }));
}

TEST(Metadata, OfASenderBecomesTheSourcesProperty)
{
    const QString name = uniqueName("metadata");
    TestSender sender(name, SenderFormat());
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(scene.receives(2, 2));
    EXPECT_FALSE(scene.source().property("metadata").isValid());

    sender.sendMetadata(envelope(serialised(camera())));
    EXPECT_TRUE(waitUntil([&] { return scene.source().property("metadata") == QVariant(camera()); }));
    sender.sendMetadata(envelope(serialised("two")));
    EXPECT_TRUE(waitUntil([&] { return scene.source().property("metadata") == QVariant("two"); }));
}

TEST(Metadata, OfOthersOrHostileLeavesTheSceneRunning)
{
    const QString name = uniqueName("hostile metadata");
    TestSender sender(name, SenderFormat());
    Scene scene(name);
    ASSERT_TRUE(scene.isLoaded());
    ASSERT_TRUE(scene.receives(2, 2));
    QByteArray nested;
    QDataStream out(&nested, QIODevice::WriteOnly);
    for (int level = 0; level < 50000; ++level)
        out << static_cast<quint32>(QMetaType::QVariantList) << qint8{0} << quint32{1};
    for (const std::string &text : {std::string("<ndi_tally/>"), std::string("no element"), envelope(nested)}) {
        sender.setFrameMetadata(text);
        sender.sendMetadata(text);
        EXPECT_TRUE(scene.receives(5, 5));
    }
    EXPECT_FALSE(scene.source().property("metadata").isValid());
    // In order behind all of the above.
    sender.sendMetadata(envelope(serialised("well")));
    EXPECT_TRUE(waitUntil([&] { return scene.source().property("metadata") == QVariant("well"); }));
    EXPECT_EQ(scene.graph().restarts(), 0);
}

} // namespace
