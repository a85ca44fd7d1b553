#pragma once

#include <QtCore/QString>

#include <windows.h>

namespace host
{

// "0x80004005"
inline QString resultText(HRESULT hr)
{
    return QStringLiteral("0x%1").arg(static_cast<quint32>(hr), 8, 16, QLatin1Char('0'));
}

} // namespace host
