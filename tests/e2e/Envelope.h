#pragma once

// How a value travels in a sender's metadata.

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QVariant>

#include <string>

inline QByteArray serialised(const QVariant &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << value;
    return bytes;
}

// The text in which such bytes travel.
inline std::string envelope(const QByteArray &payload)
{
    return "<tvx><![CDATA[" + payload.toBase64().toStdString() + "]]></tvx>";
}
