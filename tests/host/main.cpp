#include "host/Console.h"
#include "host/HostTypes.h"
#include "host/MediaPlatform.h"

#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

namespace
{

// The exit code.
int runTests(int argc, char **argv, const host::MediaPlatform &platform)
{
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    if (FAILED(platform.result()))
        return 1;
    host::registerHostTypes({QStringLiteral("first"), QStringLiteral("second")});
    return RUN_ALL_TESTS();
}

} // namespace

int main(int argc, char **argv)
{
    const host::MediaPlatform platform;
    return host::endProcess(runTests(argc, argv, platform));
}
