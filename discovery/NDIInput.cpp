#include "discovery/NDIInput.h"

NDIInput::NDIInput(const QString &name, const QString &address) : m_name(name), m_address(address) {}

NDIInput::NDIInput(const NDIlib_source_t &source)
    : m_name(QString::fromUtf8(source.p_ndi_name)), m_address(QString::fromUtf8(source.p_url_address))
{
}

void NDIInput::registerMetaType()
{
    // Qt warns of a comparator or a converter that it has already.
    static const bool registered = [] {
        qRegisterMetaType<NDIInput>("NDIInput");
        QMetaType::registerEqualsComparator<NDIInput>();
        QMetaType::registerConverter<NDIInput, QString>(&NDIInput::displayText);
        qRegisterMetaTypeStreamOperators<NDIInput>("NDIInput");
        return true;
    }();
    Q_UNUSED(registered)
}

QString NDIInput::displayText() const
{
    return QStringLiteral("%1 (%2)").arg(m_name, m_address);
}

bool operator==(const NDIInput &left, const NDIInput &right)
{
    return left.name() == right.name() && left.address() == right.address();
}

bool operator!=(const NDIInput &left, const NDIInput &right)
{
    return !(left == right);
}

QDataStream &operator<<(QDataStream &stream, const NDIInput &input)
{
    return stream << input.name() << input.address();
}

QDataStream &operator>>(QDataStream &stream, NDIInput &input)
{
    return stream >> input.m_name >> input.m_address;
}
