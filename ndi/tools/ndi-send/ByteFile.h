#pragma once

// A file, pipe or standard input, read in pieces. One source file for each kind of system.

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>

namespace ndisend
{

class ByteFile
{
public:
    enum class From { Start, Here };

    // "-" is standard input. Opens a pipe that nobody writes to yet without waiting.
    explicit ByteFile(const QString &path);
    ~ByteFile();

    ByteFile(const ByteFile &) = delete;
    ByteFile &operator=(const ByteFile &) = delete;

    bool isOpen() const { return m_descriptor >= 0; }

    // Waits for bytes and takes at most `count`; 0 at the end, after an error, and once the program is interrupted.
    std::size_t read(char *to, std::size_t count);

    // The new place; -1 when there are no places, as in a pipe.
    std::int64_t seek(std::int64_t offset, From from);

private:
    bool m_owned = false;
    int m_descriptor = -1;
};

} // namespace ndisend
