#include "ndi/tools/ndi-send/Input.h"

#include "ndi/tools/ndi-send/Failure.h"

#include <QtCore/QFileInfo>

#include <filesystem>
#include <iostream>

namespace ndisend
{

Input::Input(const QString &option, const QString &path) : m_stream(&std::cin)
{
    if (path == QLatin1String("-"))
        return;

    // A folder can be opened as a stream on some systems, and fails only when it is read.
    if (!QFileInfo(path).isDir())
        m_file.open(std::filesystem::path(path.toStdU16String()), std::ios::binary);
    if (!m_file.is_open())
        throw Failure(ExitCode::NoInput, QStringLiteral("--%1: %2: cannot be opened").arg(option, path).toStdString());
    m_stream = &m_file;
}

} // namespace ndisend
