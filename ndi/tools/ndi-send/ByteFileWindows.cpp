#include "ndi/tools/ndi-send/ByteFile.h"

#include "ndi/tools/common/Interrupt.h"

#include <algorithm>
#include <climits>
#include <cstdio>

#include <fcntl.h>
#include <io.h>

namespace ndisend
{

ByteFile::ByteFile(const QString &path) : m_owned(path != QLatin1String("-"))
{
    if (m_owned) {
        m_descriptor = _wopen(path.toStdWString().c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    } else {
        m_descriptor = _fileno(stdin);
        _setmode(m_descriptor, _O_BINARY);
    }
}

ByteFile::~ByteFile()
{
    if (m_owned && m_descriptor >= 0)
        _close(m_descriptor);
}

std::size_t ByteFile::read(char *to, std::size_t count)
{
    if (!nditools::waitUntilReadable(m_descriptor))
        return 0;
    const int taken = _read(m_descriptor, to, static_cast<unsigned>(std::min<std::size_t>(count, INT_MAX)));
    return taken > 0 ? static_cast<std::size_t>(taken) : 0;
}

std::int64_t ByteFile::seek(std::int64_t offset, From from)
{
    return _lseeki64(m_descriptor, offset, from == From::Start ? SEEK_SET : SEEK_CUR);
}

} // namespace ndisend
