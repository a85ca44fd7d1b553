// The main of tests that need Media Foundation and an application object.

#include <QtCore/QCoreApplication>

#include <gtest/gtest.h>

#include <windows.h>

#include <mfapi.h>
#include <objbase.h>

int main(int argumentCount, char **arguments)
{
    testing::InitGoogleTest(&argumentCount, arguments);
    const QCoreApplication application(argumentCount, arguments);
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) || FAILED(MFStartup(MF_VERSION, MFSTARTUP_FULL)))
        return 70;
    const int result = RUN_ALL_TESTS();
    MFShutdown();
    CoUninitialize();
    return result;
}
