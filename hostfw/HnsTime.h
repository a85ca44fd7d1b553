#pragma once

#include "hostfw/Export.h"

#include <QtCore/QMetaType>

// A time or a duration: a signed count of 100 ns units, the unit of Media Foundation and of NDI timecodes.
class MULTIMEDIA_EXPORT HnsTime
{
public:
    HnsTime();
    HnsTime(long long hns);
    HnsTime(const HnsTime &other) = default;

    HnsTime &operator=(const HnsTime &other) = default;
    HnsTime &operator=(long long hns);

    operator long long() const;
    // Both truncate toward zero.
    long long toMilliseconds() const;
    long long toMicroseconds() const;

    static HnsTime milliseconds(long long count);
    static HnsTime seconds(long long count);
    // The clock that presentation clocks run on: it never jumps; only differences of it mean anything.
    static HnsTime systemTime();

private:
    long long m_hns;
};

MULTIMEDIA_EXPORT HnsTime operator-(const HnsTime &left, const HnsTime &right);
MULTIMEDIA_EXPORT bool operator<(const HnsTime &left, const HnsTime &right);
MULTIMEDIA_EXPORT bool operator==(const HnsTime &left, const HnsTime &right);

Q_DECLARE_METATYPE(HnsTime)
