// PROPVARIANT: the kinds of value that attributes, events and positions carry.

#include <windows.h>

#include <objbase.h>
#include <propidl.h>

#include <cstring>
#include <string>

namespace
{

// Puts a copy of the block that `pointer` points to in its place. No block stays no block.
template <typename T>
HRESULT duplicate(T *&pointer, size_t count)
{
    if (!pointer)
        return S_OK;
    auto *const copy = static_cast<T *>(CoTaskMemAlloc(count * sizeof(T)));
    if (!copy)
        return E_OUTOFMEMORY;
    std::memcpy(copy, pointer, count * sizeof(T));
    pointer = copy;
    return S_OK;
}

template <typename Character>
HRESULT duplicateText(Character *&text)
{
    return duplicate(text, text ? std::char_traits<Character>::length(text) + 1 : 0);
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
    HRESULT hr = S_OK;
    switch (source->vt) {
    case VT_CLSID:
        hr = duplicate(copy.puuid, 1);
        break;
    case VT_LPWSTR:
        hr = duplicateText(copy.pwszVal);
        break;
    case VT_LPSTR:
        hr = duplicateText(copy.pszVal);
        break;
    case VT_UNKNOWN:
        if (copy.punkVal)
            copy.punkVal->AddRef();
        break;
    case VT_VECTOR | VT_UI1:
        hr = duplicate(copy.caub.pElems, copy.caub.cElems);
        break;
    case VT_BLOB:
        hr = duplicate(copy.blob.pBlobData, copy.blob.cbSize);
        break;
    default:
        if (!isPlainValue(source->vt))
            return DISP_E_BADVARTYPE;
    }
    if (SUCCEEDED(hr))
        *destination = copy;
    return hr;
}
