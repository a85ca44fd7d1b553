#include "ndi/tools/ndi-send/Input.h"

#include "ndi/tools/ndi-send/Failure.h"

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cstring>

namespace ndisend
{

namespace
{

constexpr std::size_t BufferSize = 65536; // bytes

} // namespace

Input::Buffer::Buffer(const QString &path) : m_file(path), m_bytes(BufferSize)
{
    forget();
}

void Input::Buffer::forget()
{
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data());
}

Input::Buffer::int_type Input::Buffer::underflow()
{
    const std::size_t taken = m_file.read(m_bytes.data(), m_bytes.size());
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + taken);
    return taken > 0 ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

// Pictures go straight to where they are wanted.
std::streamsize Input::Buffer::xsgetn(char *to, std::streamsize count)
{
    std::streamsize done = std::min<std::streamsize>(count, egptr() - gptr());
    std::memcpy(to, gptr(), static_cast<std::size_t>(done));
    setg(eback(), gptr() + done, egptr());
    while (done < count) {
        const std::size_t taken = m_file.read(to + done, static_cast<std::size_t>(count - done));
        if (taken == 0)
            break;
        done += static_cast<std::streamsize>(taken);
    }
    return done;
}

// Tells the place; moves only from the start, which is what readers do.
Input::Buffer::pos_type Input::Buffer::seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode)
{
    if (from == std::ios_base::beg)
        return seekpos(offset, std::ios_base::in);
    const std::int64_t place = m_file.seek(0, ByteFile::From::Here);
    if (from != std::ios_base::cur || offset != 0 || place < 0)
        return off_type(-1);
    return place - (egptr() - gptr());
}

Input::Buffer::pos_type Input::Buffer::seekpos(pos_type place, std::ios_base::openmode)
{
    forget();
    return m_file.seek(place, ByteFile::From::Start);
}

Input::Input(const QString &option, const QString &path) : m_buffer(path), m_stream(&m_buffer)
{
    // A folder can be opened on some systems, and fails only when it is read.
    if (!m_buffer.isOpen() || (path != QLatin1String("-") && QFileInfo(path).isDir()))
        throw Failure(ExitCode::NoInput, QStringLiteral("--%1: %2: cannot be opened").arg(option, path).toStdString());
}

} // namespace ndisend
