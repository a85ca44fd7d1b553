#pragma once

#include "Processing.NDI.Interface.h"

#include <QtCore/QDataStream>
#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QString>

// Names one sender on the network. A plain value; one with an empty name names nothing.
class NDIInput
{
    Q_GADGET
    Q_PROPERTY(QString name MEMBER m_name)
    Q_PROPERTY(QString address MEMBER m_address)

public:
    NDIInput() = default;
    NDIInput(const QString &name, const QString &address);
    // Copies both strings out of the runtime's memory.
    explicit NDIInput(const NDIlib_source_t &source);

    // Registers the value type with Qt: name, equality, conversion to its display text, stream operators. More calls
    // change nothing.
    static void registerMetaType();

    const QString &name() const { return m_name; }
    const QString &address() const { return m_address; }
    // "name (address)".
    QString displayText() const;

private:
    friend QDataStream &operator>>(QDataStream &stream, NDIInput &input);

    QString m_name;
    QString m_address;
};

bool operator==(const NDIInput &left, const NDIInput &right);
bool operator!=(const NDIInput &left, const NDIInput &right);
// The name, then the address.
QDataStream &operator<<(QDataStream &stream, const NDIInput &input);
QDataStream &operator>>(QDataStream &stream, NDIInput &input);

Q_DECLARE_METATYPE(NDIInput)
