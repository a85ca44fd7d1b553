#pragma once

// Debian's mfapi.h, and what it lacks of the Windows header of that name: inline attribute readers, sample attributes,
// a work queue function.

#pragma GCC system_header // include_next is an extension
#include_next <mfapi.h>

DEFINE_GUID(MFSampleExtension_SingleField, 0x9d85f816, 0x658b, 0x455a, 0xbd, 0xe0, 0x9f, 0xa7, 0xe1, 0x5a, 0xb8, 0xf9);
DEFINE_GUID(MFSampleExtension_BottomFieldFirst, 0x941ce0a3, 0x6ae3, 0x4dda, 0x9a, 0x08, 0xa6, 0x42, 0x98, 0x34, 0x06,
            0x17);

EXTERN_C HRESULT WINAPI MFLockWorkQueue(DWORD queue);

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
