#include "bench/MediaPlatform.h"

#include <QtCore/QLoggingCategory>

#include <mfapi.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace bench
{

void require(HRESULT result, const char *what)
{
    if (SUCCEEDED(result))
        return;
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned>(result));
    throw std::runtime_error(std::string(what) + ": " + text);
}

MediaPlatform::MediaPlatform()
{
    QLoggingCategory::setFilterRules(QStringLiteral("Multimedia.Tavrin.*.debug=false\n"
                                                    "Multimedia.Tavrin.*.info=false"));
    require(MFStartup(MF_VERSION, MFSTARTUP_FULL), "MFStartup");
}

MediaPlatform::~MediaPlatform()
{
    MFShutdown();
}

} // namespace bench
