#include "hostfw/HnsTime.h"

#include <mfapi.h>
#include <mfidl.h>

namespace
{

constexpr long long perMicrosecond = 10;
constexpr long long perMillisecond = 10'000;
constexpr long long perSecond = 10'000'000;

} // namespace

HnsTime::HnsTime() : m_hns(0) {}

HnsTime::HnsTime(long long hns) : m_hns(hns) {}

HnsTime &HnsTime::operator=(long long hns)
{
    m_hns = hns;
    return *this;
}

HnsTime::operator long long() const
{
    return m_hns;
}

long long HnsTime::toMilliseconds() const
{
    return m_hns / perMillisecond;
}

long long HnsTime::toMicroseconds() const
{
    return m_hns / perMicrosecond;
}

HnsTime HnsTime::milliseconds(long long count)
{
    return {count * perMillisecond};
}

HnsTime HnsTime::seconds(long long count)
{
    return {count * perSecond};
}

HnsTime HnsTime::systemTime()
{
    return {MFGetSystemTime()};
}

HnsTime operator-(const HnsTime &left, const HnsTime &right)
{
    return {static_cast<long long>(left) - static_cast<long long>(right)};
}

bool operator<(const HnsTime &left, const HnsTime &right)
{
    return static_cast<long long>(left) < static_cast<long long>(right);
}

bool operator==(const HnsTime &left, const HnsTime &right)
{
    return static_cast<long long>(left) == static_cast<long long>(right);
}
