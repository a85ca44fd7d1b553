// Frame rates, and products that outgrow 64 bits on the way.

#include <windows.h>

#include <mfapi.h>

#include <cstdint>
#include <limits>

namespace
{

struct KnownRate {
    UINT32 numerator;
    UINT32 denominator;
    UINT64 averageTime; // 100 ns
};

// As published: neither all rounded nor all cut, and that of 24000/1001 is its own.
constexpr KnownRate knownRates[] = {
    {60000, 1001, 166833}, {30000, 1001, 333667}, {24000, 1001, 417188}, {60, 1, 166667},
    {50, 1, 200000},       {30, 1, 333333},       {25, 1, 400000},       {24, 1, 416667},
};

__extension__ using Wide = __int128;

} // namespace

HRESULT WINAPI MFFrameRateToAverageTimePerFrame(UINT32 numerator, UINT32 denominator, UINT64 *averageTime)
{
    if (!averageTime)
        return E_POINTER;
    for (const KnownRate &rate : knownRates) {
        if (rate.numerator == numerator && rate.denominator == denominator) {
            *averageTime = rate.averageTime;
            return S_OK;
        }
    }
    *averageTime = numerator ? static_cast<UINT64>(denominator) * 10000000 / numerator : 0;
    return S_OK;
}

LONGLONG WINAPI MFllMulDiv(LONGLONG value, LONGLONG multiplier, LONGLONG divisor, LONGLONG summand)
{
    using Limits = std::numeric_limits<int64_t>;
    const Wide dividend = static_cast<Wide>(value) * multiplier + summand;
    if (divisor == 0)
        return dividend < 0 ? Limits::min() : Limits::max();
    const Wide quotient = dividend / divisor;
    if (quotient > Limits::max())
        return Limits::max();
    if (quotient < Limits::min())
        return Limits::min();
    return static_cast<LONGLONG>(quotient);
}
