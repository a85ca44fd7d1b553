#pragma once

// The file of --json. It is opened before the run, so that a wrong name does not cost one, and takes its place only
// when it is complete.

#include <QtCore/QByteArray>
#include <QtCore/QSaveFile>
#include <QtCore/QString>

namespace nditools
{

class SummaryFile
{
public:
    // Throws a Failure when the file cannot be written.
    explicit SummaryFile(const QString &path);
    void write(const QByteArray &json);

private:
    [[noreturn]] void refuse() const;

    QSaveFile m_file;
};

} // namespace nditools
