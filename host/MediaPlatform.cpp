#include "host/MediaPlatform.h"

#include <mfapi.h>
#include <objbase.h>

namespace host
{

MediaPlatform::MediaPlatform()
    : m_comResult(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), m_result(MFStartup(MF_VERSION, MFSTARTUP_FULL))
{
}

MediaPlatform::~MediaPlatform()
{
    if (SUCCEEDED(m_result))
        MFShutdown();
    if (SUCCEEDED(m_comResult))
        CoUninitialize();
}

} // namespace host
