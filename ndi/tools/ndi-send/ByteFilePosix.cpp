#include "ndi/tools/ndi-send/ByteFile.h"

#include "ndi/tools/common/Interrupt.h"

#include <QtCore/QFile>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace ndisend
{

ByteFile::ByteFile(const QString &path) : m_owned(path != QLatin1String("-"))
{
    // Without waiting for the first writer of a pipe, which reading does.
    m_descriptor =
        m_owned ? open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK) : STDIN_FILENO;
}

ByteFile::~ByteFile()
{
    if (m_owned && m_descriptor >= 0)
        close(m_descriptor);
}

std::size_t ByteFile::read(char *to, std::size_t count)
{
    while (nditools::waitUntilReadable(m_descriptor)) {
        const ssize_t taken = ::read(m_descriptor, to, count);
        if (taken >= 0)
            return static_cast<std::size_t>(taken);
        if (errno != EINTR && errno != EAGAIN)
            break;
    }
    return 0;
}

std::int64_t ByteFile::seek(std::int64_t offset, From from)
{
    return lseek(m_descriptor, static_cast<off_t>(offset), from == From::Start ? SEEK_SET : SEEK_CUR);
}

} // namespace ndisend
