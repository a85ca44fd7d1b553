#pragma once

#include "hostfw/Export.h"

#include <QtCore/QString>

#include <windows.h>

#include <exception>

// A failed COM call on its way to whoever started the work. Thrown by value, caught by reference.
class MULTIMEDIA_EXPORT ComException : public std::exception
{
public:
    ComException(HRESULT errorCode, const QString &message);
    ComException(const ComException &other);
    ComException &operator=(const ComException &other);
    ~ComException() override;

    HRESULT getErrorCode() const;
    QString getMessage() const;
    const char *what() const noexcept override;

private:
    HRESULT m_errorCode;
    QString m_message;
    QByteArray m_what;
};
