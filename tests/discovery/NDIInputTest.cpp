#include "discovery/NDIInput.h"

#include <QtCore/QMetaProperty>
#include <QtCore/QVariant>

#include <gtest/gtest.h>

TEST(NDIInput, ADefaultInputHasNullFieldsAndEqualsOneWithEmptyFields)
{
    EXPECT_TRUE(NDIInput().name().isNull());
    EXPECT_TRUE(NDIInput().address().isNull());
    EXPECT_TRUE(NDIInput() == NDIInput("", ""));
}

TEST(NDIInput, InputsWithTheSameNameAndDifferentAddressesDiffer)
{
    EXPECT_TRUE(NDIInput("a", "1") != NDIInput("a", "2"));
    EXPECT_TRUE(NDIInput("a", "1") != NDIInput("A", "1"));
    EXPECT_TRUE(NDIInput("a", "1") == NDIInput("a", "1"));
}

TEST(NDIInput, IsBuiltFromTheRuntimesUtf8)
{
    NDIlib_source_t source;
    source.p_ndi_name = "HOST (K\xc3\xa4se)";
    source.p_url_address = "10.0.0.5:5961";
    const NDIInput input(source);
    EXPECT_EQ(QString::fromUtf8("HOST (Käse)"), input.name());
    EXPECT_EQ(QStringLiteral("10.0.0.5:5961"), input.address());
}

TEST(NDIInput, ShowsItsDisplayTextAsAString)
{
    NDIInput::registerMetaType();
    EXPECT_EQ(QStringLiteral("STUDIO (Camera 1) (10.0.0.5:5961)"),
              QVariant::fromValue(NDIInput("STUDIO (Camera 1)", "10.0.0.5:5961")).toString());
    EXPECT_EQ(QStringLiteral(" ()"), QVariant::fromValue(NDIInput()).toString());
    EXPECT_EQ(QStringLiteral("%2 (x)"), NDIInput("%2", "x").displayText());
}

TEST(NDIInput, StreamsExactlyTwoStrings)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << NDIInput("name", "address");
    QByteArray expected;
    QDataStream strings(&expected, QIODevice::WriteOnly);
    strings << QStringLiteral("name") << QStringLiteral("address");
    EXPECT_EQ(expected, bytes);

    NDIInput input("old", "old");
    QDataStream in(bytes);
    in >> input;
    EXPECT_TRUE(input == NDIInput("name", "address"));
}

TEST(NDIInput, HasTwoWritablePropertiesInOrder)
{
    const QMetaObject &meta = NDIInput::staticMetaObject;
    ASSERT_EQ(2, meta.propertyCount());
    const char *const names[] = {"name", "address"};
    for (int index = 0; index < 2; ++index) {
        const QMetaProperty property = meta.property(index);
        EXPECT_STREQ(names[index], property.name());
        EXPECT_STREQ("QString", property.typeName());
        EXPECT_TRUE(property.isReadable());
        EXPECT_TRUE(property.isWritable());
        EXPECT_FALSE(property.hasNotifySignal());
    }
    NDIInput input;
    EXPECT_TRUE(meta.property(0).writeOnGadget(&input, "n"));
    EXPECT_EQ(QStringLiteral("n"), meta.property(0).readOnGadget(&input).toString());
}

TEST(NDIInput, ComparesAsAVariant)
{
    NDIInput::registerMetaType();
    EXPECT_EQ(QVariant::fromValue(NDIInput("a", "b")), QVariant::fromValue(NDIInput("a", "b")));
    EXPECT_NE(QVariant::fromValue(NDIInput("a", "b")), QVariant::fromValue(NDIInput("a", "c")));
}
