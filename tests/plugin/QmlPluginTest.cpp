#include "plugin/QmlPlugin.h"

#include "discovery/NDIInputEnumerator.h"
#include "sink/NDISink.h"
#include "source/NDISource.h"
#include "tests/support/EventLoop.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedNdi.h"

#include <QtCore/QJsonObject>
#include <QtCore/QPluginLoader>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>

#include <gtest/gtest.h>

namespace
{

std::unique_ptr<QObject> create(QQmlEngine &engine, const char *document)
{
    QQmlComponent component(&engine);
    component.setData(document, QUrl());
    return std::unique_ptr<QObject>(component.create());
}

} // namespace

// Registration lasts as long as the process, so each of these runs in a process of its own.

TEST(QmlPlugin, RegistersNothingWhenTheRuntimeDoesNotStart)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            ScriptedNdi::instance().refuseInitialize(true);
            LogCapture log;
            int failures = 0;
            {
                int count = 0;
                // The application of the test program stands aside: the one made here goes with its scope.
                QCoreApplication::instance()->~QCoreApplication();
                QCoreApplication application(count, nullptr);
                QmlPlugin plugin;
                plugin.registerTypes("Test.Refused");
                failures += log.count(QtCriticalMsg, generalLog, "Failed to initialize NDI library") != 1;
                failures += log.lines().size() != 1;
                QQmlEngine engine;
                for (const char *document :
                     {"import Test.Refused 1.0\nNDISource {}", "import Test.Refused 1.0\nNDISink {}",
                      "import QtQml 2.15\nimport Test.Refused 1.0\nQtObject { property var i: NDI.inputs }"})
                    failures += create(engine, document) != nullptr;
            }
            failures += log.count(QtDebugMsg, generalLog, "NDI library uninitialized") != 0;
            failures += ScriptedNdi::instance().calls().destroyed != 0;
            std::_Exit(failures);
        },
        testing::ExitedWithCode(0), "");
}

TEST(QmlPlugin, StartsTheRuntimeOncePerCallAndStopsItAsOftenWhenTheApplicationGoes)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            LogCapture log;
            int failures = 0;
            {
                int count = 0;
                // The application of the test program stands aside: the one made here goes with its scope.
                QCoreApplication::instance()->~QCoreApplication();
                QCoreApplication application(count, nullptr);
                QmlPlugin plugin;
                plugin.registerTypes("Test.Twice");
                plugin.registerTypes("Test.Twice");
                failures += log.count(QtDebugMsg, generalLog, "NDI library initialized") != 2;
                failures += log.lines().size() != 2;
                failures += ScriptedNdi::instance().calls().destroyed != 0;
            }
            failures += log.count(QtDebugMsg, generalLog, "NDI library uninitialized") != 2;
            failures += ScriptedNdi::instance().calls().destroyed != 2;
            std::_Exit(failures);
        },
        testing::ExitedWithCode(0), "");
}

TEST(QmlPlugin, StopsTheRuntimeWhenNothingOfItIsInUseAnyMore)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            ScriptedNdi &ndi = ScriptedNdi::instance();
            int failures = 0;
            {
                int count = 0;
                // The application of the test program stands aside: the one made here goes with its scope.
                QCoreApplication::instance()->~QCoreApplication();
                QCoreApplication application(count, nullptr);
                QmlPlugin plugin;
                plugin.registerTypes("Test.Lifetime");
                QQmlEngine engine;
                const auto object = create(engine, "import QtQml 2.15\nimport Test.Lifetime 1.0\n"
                                                   "QtObject { property var inputs: NDI.inputs }");
                failures += !ndi.waitFor([](const auto &calls) { return calls.waits >= 1; });
                failures += ndi.calls().findersDestroyed != 0;
            }
            failures += ndi.calls().destroyed != 1;
            failures += ndi.calls().findersDestroyed != 1;
            failures += ndi.calls().aliveWhenDestroyed != 0;
            std::_Exit(failures);
        },
        testing::ExitedWithCode(0), "");
}

TEST(QmlPlugin, CarriesTheInterfaceAndItsClassNameAsMetadata)
{
    const QPluginLoader loader(QStringLiteral(TAVRIN_PLUGIN_FILE));
    const QJsonObject metadata = loader.metaData();
    EXPECT_EQ(QStringLiteral("org.qt-project.Qt.QQmlExtensionInterface"), metadata.value("IID").toString());
    EXPECT_EQ(QStringLiteral("QmlPlugin"), metadata.value("className").toString());
    EXPECT_TRUE(metadata.value("MetaData").toObject().isEmpty());
}

TEST(QmlPlugin, MakesTheModulesTypesKnownToQml)
{
    LogCapture log;
    QmlPlugin plugin;
    plugin.registerTypes("Test.Types");
    EXPECT_EQ(1, log.count(QtDebugMsg, generalLog, "NDI library initialized"));
    QQmlEngine engine;
    const auto object = create(engine, "import QtQml 2.15\nimport Test.Types 1.0\n"
                                       "QtObject {\n"
                                       "  property var source: NDISource { input: NDI.createInput() }\n"
                                       "  property var sink: NDISink { name: \"Studio\"; metadata: 7 }\n"
                                       "  property var list: NDI.inputs\n"
                                       "  property string text: NDI.createInput()\n"
                                       "}");
    ASSERT_TRUE(object);
    EXPECT_TRUE(qobject_cast<NDISource *>(object->property("source").value<QObject *>()));
    const auto *const sink = qobject_cast<NDISink *>(object->property("sink").value<QObject *>());
    ASSERT_TRUE(sink);
    EXPECT_EQ(QStringLiteral("Studio"), sink->name());
    EXPECT_EQ(QVariant(7), sink->metadata());
    EXPECT_TRUE(object->property("list").toList().isEmpty());
    EXPECT_EQ(QStringLiteral(" ()"), object->property("text").toString());
    EXPECT_NE(int(QMetaType::UnknownType), QMetaType::type("NDIInput"));
    EXPECT_NE(int(QMetaType::UnknownType), QMetaType::type("QList<NDIInput>"));
    EXPECT_NE(int(QMetaType::UnknownType), QMetaType::type("NDISource*"));
    EXPECT_NE(int(QMetaType::UnknownType), QMetaType::type("NDISink*"));
}

TEST(QmlPlugin, HasTheTypesInVersion10Only)
{
    LogCapture log;
    QmlPlugin plugin;
    plugin.registerTypes("Test.Versions");
    QQmlEngine engine;
    EXPECT_TRUE(create(engine, "import Test.Versions 1.0\nNDISource {}"));
    for (const char *document :
         {"import Test.Versions 1.1\nNDISource {}", "import Test.Versions 2.0\nNDISource {}",
          "import Test.Versions 0.9\nNDISource {}", "import QtQml 2.15\nimport Test.Versions 2.0\nQtObject {}"})
        EXPECT_FALSE(create(engine, document)) << document;
}

TEST(QmlPlugin, TheSingletonIsOneEnumeratorWithOneFinder)
{
    ScriptedNdi::instance().reset();
    QmlPlugin plugin;
    plugin.registerTypes("Test.Singleton");
    {
        QQmlEngine engine;
        const auto object = create(engine, "import QtQml 2.15\nimport Test.Singleton 1.0\n"
                                           "QtObject { property var a: NDI.inputs; property var b: NDI.inputs;"
                                           " property QtObject ndi: NDI }");
        ASSERT_TRUE(object);
        EXPECT_TRUE(qobject_cast<NDIInputEnumerator *>(object->property("ndi").value<QObject *>()));
        EXPECT_TRUE(ScriptedNdi::instance().waitFor([](const auto &calls) { return calls.waits >= 1; }));
        EXPECT_EQ(1, ScriptedNdi::instance().calls().findersMade);
    }
    EXPECT_EQ(1, ScriptedNdi::instance().calls().findersDestroyed);
}
