#include "host/Console.h"
#include "host/HostTypes.h"
#include "host/MediaPlatform.h"
#include "tests/e2e/CollectingSink.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <QtCore/QThreadPool>
#include <QtQml/qqml.h>

#include <Processing.NDI.Interface.h>

#include <gtest/gtest.h>

namespace
{

// The exit code.
int runTests(int argc, char **argv, const host::MediaPlatform &platform)
{
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("Multimedia.*.debug=false\nMultimedia.*.info=false"));
    if (FAILED(platform.result()) || !NDIlib_initialize())
        return 1;
    host::registerHostTypes({});
    qmlRegisterType<CollectingSink>("Tavrin.Test", 1, 0, "CollectingSink");
    const int result = RUN_ALL_TESTS();
    QThreadPool::globalInstance()->waitForDone();
    NDIlib_destroy();
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    const host::MediaPlatform platform;
    return host::endProcess(runTests(argc, argv, platform));
}
