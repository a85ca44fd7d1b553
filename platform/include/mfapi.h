#pragma once

// Debian's mfapi.h, and the inline attribute readers of the Windows header of that name which it lacks.

#pragma GCC system_header // include_next is an extension
#include_next <mfapi.h>

#ifdef __cplusplus

inline HRESULT MFGetAttribute2UINT32asUINT64(IMFAttributes *attributes, REFGUID key, UINT32 *high, UINT32 *low)
{
    UINT64 packed = 0;
    const HRESULT hr = attributes->GetUINT64(key, &packed);
    if (FAILED(hr))
        return hr;
    *high = static_cast<UINT32>(packed >> 32);
    *low = static_cast<UINT32>(packed);
    return hr;
}

inline HRESULT MFGetAttributeSize(IMFAttributes *attributes, REFGUID key, UINT32 *width, UINT32 *height)
{
    return MFGetAttribute2UINT32asUINT64(attributes, key, width, height);
}

inline HRESULT MFGetAttributeRatio(IMFAttributes *attributes, REFGUID key, UINT32 *numerator, UINT32 *denominator)
{
    return MFGetAttribute2UINT32asUINT64(attributes, key, numerator, denominator);
}

inline UINT32 MFGetAttributeUINT32(IMFAttributes *attributes, REFGUID key, UINT32 fallback)
{
    UINT32 value = 0;
    return SUCCEEDED(attributes->GetUINT32(key, &value)) ? value : fallback;
}

inline UINT64 MFGetAttributeUINT64(IMFAttributes *attributes, REFGUID key, UINT64 fallback)
{
    UINT64 value = 0;
    return SUCCEEDED(attributes->GetUINT64(key, &value)) ? value : fallback;
}

inline double MFGetAttributeDouble(IMFAttributes *attributes, REFGUID key, double fallback)
{
    double value = 0.0;
    return SUCCEEDED(attributes->GetDouble(key, &value)) ? value : fallback;
}

#endif
