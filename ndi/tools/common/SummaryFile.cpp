#include "ndi/tools/common/SummaryFile.h"

#include "ndi/tools/common/Failure.h"

namespace nditools
{

SummaryFile::SummaryFile(const QString &path) : m_file(path)
{
    if (!m_file.open(QIODevice::WriteOnly))
        refuse();
}

void SummaryFile::write(const QByteArray &json)
{
    m_file.write(json);
    if (!m_file.commit())
        refuse();
}

void SummaryFile::refuse() const
{
    throw Failure(ExitCode::CannotCreate,
                  QStringLiteral("--json: %1: %2").arg(m_file.fileName(), m_file.errorString()));
}

} // namespace nditools
