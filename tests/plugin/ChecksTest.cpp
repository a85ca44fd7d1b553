#include "plugin/Checks.h"

#include "plugin/Logging.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace
{

constexpr auto checkCategory = sourceCategory;

HRESULT give(HRESULT hr, int *evaluations)
{
    ++*evaluations;
    return hr;
}

HRESULT checkResult(HRESULT hr, int *evaluations)
{
    CHECK_HR(give(hr, evaluations));
    return S_OK;
}

HRESULT checkArgument(const int *ppType)
{
    CHECK_ARGUMENT(ppType);
    return S_OK;
}

HRESULT checkPointer(const int *ppMediaSink)
{
    CHECK_POINTER(ppMediaSink);
    return S_OK;
}

} // namespace

TEST(Checks, AFailingResultIsQuotedWithItsCodeAndReturned)
{
    LogCapture log;
    int evaluations = 0;
    EXPECT_EQ(E_OUTOFMEMORY, checkResult(E_OUTOFMEMORY, &evaluations));
    EXPECT_EQ(1, evaluations);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [give(hr, evaluations)] (HR=0x8007000E)"));
    EXPECT_EQ(1u, log.lines().size());
}

TEST(Checks, ASuccessPassesWithoutALine)
{
    LogCapture log;
    int evaluations = 0;
    EXPECT_EQ(S_OK, checkResult(S_FALSE, &evaluations));
    EXPECT_EQ(1, evaluations);
    EXPECT_TRUE(log.lines().empty());
}

TEST(Checks, ANullArgumentIsEInvalidArg)
{
    LogCapture log;
    EXPECT_EQ(E_INVALIDARG, checkArgument(nullptr));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [ppType is null]"));
}

TEST(Checks, ANullPointerIsEPointer)
{
    LogCapture log;
    EXPECT_EQ(E_POINTER, checkPointer(nullptr));
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [ppMediaSink is null]"));
}

TEST(Checks, TheirLinesNameNoPlaceInTheCode)
{
    LogCapture log;
    int evaluations = 0;
    checkResult(E_FAIL, &evaluations);
    checkArgument(nullptr);
    const auto lines = log.lines();
    ASSERT_EQ(2u, lines.size());
    for (const LogCapture::Line &line : lines)
        EXPECT_FALSE(line.hasPlace) << qPrintable(line.text);
}

TEST(Checks, WithTheLevelOffTheyLogNothingButStillReturnAndThrow)
{
    QLoggingCategory::setFilterRules(QStringLiteral("Multimedia.Tavrin.source.critical=false"));
    LogCapture log;
    int evaluations = 0;
    EXPECT_EQ(E_FAIL, checkResult(E_FAIL, &evaluations));
    EXPECT_EQ(E_INVALIDARG, checkArgument(nullptr));
    EXPECT_EQ(E_POINTER, checkPointer(nullptr));
    EXPECT_THROW(THROW_HR(E_FAIL), ComException);
    const int *const m_finder = nullptr;
    EXPECT_THROW(THROW_POINTER(m_finder), ComException);
    QLoggingCategory::setFilterRules(QString());
    EXPECT_TRUE(log.lines().empty());
}

TEST(Checks, AThrowingPointerCheckThrowsEPointerNullPointer)
{
    LogCapture log;
    const int *const m_finder = nullptr;
    try {
        THROW_POINTER(m_finder);
        FAIL() << "nothing was thrown";
    } catch (const ComException &exception) {
        EXPECT_EQ(E_POINTER, exception.getErrorCode());
        EXPECT_EQ(QStringLiteral("Null pointer"), exception.getMessage());
    }
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [m_finder is null]"));
}

TEST(Checks, AThrowingResultCheckThrowsTheResultAndError)
{
    LogCapture log;
    int evaluations = 0;
    try {
        THROW_HR(give(E_ACCESSDENIED, &evaluations));
        FAIL() << "nothing was thrown";
    } catch (const ComException &exception) {
        EXPECT_EQ(E_ACCESSDENIED, exception.getErrorCode());
        EXPECT_EQ(QStringLiteral("Error"), exception.getMessage());
    }
    EXPECT_EQ(1, evaluations);
    EXPECT_EQ(1, log.count(QtCriticalMsg, sourceLog, " [give(E_ACCESSDENIED, &evaluations)] (HR=0x80070005)"));
}
