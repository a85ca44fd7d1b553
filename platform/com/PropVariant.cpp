// PROPVARIANT: the kinds of value that attributes, events and positions carry.

#include <windows.h>

#include <objbase.h>
#include <propidl.h>

#include <cstring>
#include <string>

namespace
{

template <typename Character>
Character *duplicate(const Character *text)
{
    const size_t bytes = (std::char_traits<Character>::length(text) + 1) * sizeof(Character);
    auto *const copy = static_cast<Character *>(CoTaskMemAlloc(bytes));
    if (copy)
        std::memcpy(copy, text, bytes);
    return copy;
}

void *duplicate(const void *block, size_t bytes)
{
    void *const copy = CoTaskMemAlloc(bytes);
    if (copy && bytes > 0)
        std::memcpy(copy, block, bytes);
    return copy;
}

bool isPlainValue(VARTYPE type)
{
    switch (type) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_I8:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_R8:
    case VT_BOOL:
    case VT_ERROR:
    case VT_DATE:
    case VT_CY:
    case VT_FILETIME:
        return true;
    default:
        return false;
    }
}

} // namespace

HRESULT WINAPI PropVariantClear(PROPVARIANT *value)
{
    if (!value)
        return S_OK;
    switch (value->vt) {
    case VT_CLSID:
        CoTaskMemFree(value->puuid);
        break;
    case VT_LPWSTR:
        CoTaskMemFree(value->pwszVal);
        break;
    case VT_LPSTR:
        CoTaskMemFree(value->pszVal);
        break;
    case VT_UNKNOWN:
        if (value->punkVal)
            value->punkVal->Release();
        break;
    case VT_VECTOR | VT_UI1:
        CoTaskMemFree(value->caub.pElems);
        break;
    case VT_BLOB:
        CoTaskMemFree(value->blob.pBlobData);
        break;
    default:
        if (!isPlainValue(value->vt))
            return STG_E_INVALIDPARAMETER;
    }
    std::memset(value, 0, sizeof *value);
    return S_OK;
}

HRESULT WINAPI PropVariantCopy(PROPVARIANT *destination, const PROPVARIANT *source)
{
    if (!destination || !source)
        return E_INVALIDARG;
    PROPVARIANT copy = *source;
    bool complete = true;
    switch (source->vt) {
    case VT_CLSID:
        copy.puuid = static_cast<CLSID *>(duplicate(source->puuid, sizeof(CLSID)));
        complete = copy.puuid != nullptr;
        break;
    case VT_LPWSTR:
        copy.pwszVal = duplicate(source->pwszVal);
        complete = copy.pwszVal != nullptr;
        break;
    case VT_LPSTR:
        copy.pszVal = duplicate(source->pszVal);
        complete = copy.pszVal != nullptr;
        break;
    case VT_UNKNOWN:
        if (copy.punkVal)
            copy.punkVal->AddRef();
        break;
    case VT_VECTOR | VT_UI1:
        copy.caub.pElems = static_cast<UCHAR *>(duplicate(source->caub.pElems, source->caub.cElems));
        complete = copy.caub.pElems != nullptr;
        break;
    case VT_BLOB:
        copy.blob.pBlobData = static_cast<BYTE *>(duplicate(source->blob.pBlobData, source->blob.cbSize));
        complete = copy.blob.pBlobData != nullptr;
        break;
    default:
        if (!isPlainValue(source->vt))
            return DISP_E_BADVARTYPE;
    }
    if (!complete)
        return E_OUTOFMEMORY;
    *destination = copy;
    return S_OK;
}
