#include "hostfw/ComException.h"

ComException::ComException(HRESULT errorCode, const QString &message)
    : m_errorCode(errorCode), m_message(message),
      m_what(QStringLiteral("%1 (HR=0x%2)").arg(message).arg(static_cast<quint32>(errorCode), 0, 16).toUtf8())
{
}

ComException::ComException(const ComException &other) = default;
ComException &ComException::operator=(const ComException &other) = default;
ComException::~ComException() = default;

HRESULT ComException::getErrorCode() const
{
    return m_errorCode;
}

QString ComException::getMessage() const
{
    return m_message;
}

const char *ComException::what() const noexcept
{
    return m_what.constData();
}
