#include "hostfw/ComException.h"

#include <gtest/gtest.h>

TEST(ComException, KeepsCodeAndMessage)
{
    const ComException exception(E_NOINTERFACE, QStringLiteral("No such face"));
    EXPECT_EQ(exception.getErrorCode(), E_NOINTERFACE);
    EXPECT_EQ(exception.getMessage(), QStringLiteral("No such face"));
}

TEST(ComException, SaysBothInOneLine)
{
    const ComException exception(E_FAIL, QStringLiteral("It broke"));
    EXPECT_STREQ(exception.what(), "It broke (HR=0x80004005)");
}

TEST(ComException, IsCaughtAsAStandardException)
{
    try {
        throw ComException(E_ABORT, QStringLiteral("Given up"));
    } catch (const std::exception &exception) {
        EXPECT_STREQ(exception.what(), "Given up (HR=0x80004004)");
    }
}

TEST(ComException, CopiesAreIndependent)
{
    ComException copy(S_OK, QString());
    {
        const ComException original(E_FAIL, QStringLiteral("It broke"));
        copy = original;
    }
    EXPECT_EQ(copy.getErrorCode(), E_FAIL);
    EXPECT_STREQ(copy.what(), "It broke (HR=0x80004005)");
}
