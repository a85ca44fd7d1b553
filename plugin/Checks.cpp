#include "plugin/Checks.h"

bool checkFailed(CheckCategory &category, const char *text, HRESULT hr)
{
    if (SUCCEEDED(hr))
        return false;
    qCCritical(category, " [%s] (HR=0x%X)", text, static_cast<unsigned>(hr));
    return true;
}

bool checkFailed(CheckCategory &category, const char *text, const void *pointer)
{
    if (pointer)
        return false;
    qCCritical(category, " [%s is null]", text);
    return true;
}

void checkOrThrow(CheckCategory &category, const char *text, HRESULT hr)
{
    if (checkFailed(category, text, hr))
        throw ComException(hr, QStringLiteral("Error"));
}

void checkOrThrow(CheckCategory &category, const char *text, const void *pointer)
{
    if (checkFailed(category, text, pointer))
        throw ComException(E_POINTER, QStringLiteral("Null pointer"));
}
