#pragma once

// What a media type says, for comparing.

#include <mfobjects.h>

// 0xdeadbeef where there is none.
inline UINT32 numberOf(IMFAttributes *type, const GUID &key)
{
    UINT32 value = 0xdeadbeef;
    type->GetUINT32(key, &value);
    return value;
}
