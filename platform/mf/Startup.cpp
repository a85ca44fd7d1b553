// The start and stop functions of mfapi.h.

#include "platform/mf/Platform.h"

#include <mfapi.h>
#include <mferror.h>

using winmedia::Platform;

namespace
{

// The version is the interface's in the low word and the header's generation in the high one.
bool isKnownVersion(ULONG version)
{
    const ULONG generation = version >> 16;
    return (version & 0xffff) == MF_API_VERSION && (generation == 1 || generation == 2);
}

} // namespace

HRESULT WINAPI MFStartup(ULONG version, DWORD /*flags*/)
{
    return isKnownVersion(version) ? Platform::instance().startup() : MF_E_BAD_STARTUP_VERSION;
}

HRESULT WINAPI MFShutdown()
{
    return Platform::instance().shutdown();
}

HRESULT WINAPI MFLockPlatform()
{
    Platform::instance().lock();
    return S_OK;
}

HRESULT WINAPI MFUnlockPlatform()
{
    Platform::instance().unlock();
    return S_OK;
}
