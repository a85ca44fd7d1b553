#pragma once

// A file, or standard input under the name "-", as a stream of bytes.

#include <QtCore/QString>

#include <fstream>
#include <istream>

namespace ndisend
{

class Input
{
public:
    // Throws a Failure that names the option when the file cannot be opened.
    Input(const QString &option, const QString &path);

    std::istream &stream() { return *m_stream; }

private:
    std::ifstream m_file;
    std::istream *m_stream;
};

} // namespace ndisend
