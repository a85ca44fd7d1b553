#pragma once

// A file, or standard input under the name "-", as a stream of bytes. It ends when the program is interrupted.

#include "ndi/tools/ndi-send/ByteFile.h"

#include <QtCore/QString>

#include <istream>
#include <streambuf>
#include <vector>

namespace ndisend
{

class Input
{
public:
    // Throws a Failure that names the option when the file cannot be opened.
    Input(const QString &option, const QString &path);

    std::istream &stream() { return m_stream; }

private:
    class Buffer : public std::streambuf
    {
    public:
        explicit Buffer(const QString &path);

        bool isOpen() const { return m_file.isOpen(); }

    protected:
        int_type underflow() override;
        std::streamsize xsgetn(char *to, std::streamsize count) override;
        pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode) override;
        pos_type seekpos(pos_type place, std::ios_base::openmode) override;

    private:
        void forget();

        ByteFile m_file;
        std::vector<char> m_bytes;
    };

    Buffer m_buffer;
    std::istream m_stream;
};

} // namespace ndisend
