#include "platform/mf/AttributeStore.h"

#include <mfapi.h>
#include <mferror.h>
#include <mfidl.h>

namespace winmedia
{

namespace
{

class MediaType : public AttributesObject<IMFMediaType>
{
public:
    STDMETHODIMP GetMajorType(GUID *majorType) override { return GetGUID(MF_MT_MAJOR_TYPE, majorType); }

    STDMETHODIMP IsCompressedFormat(BOOL *compressed) override
    {
        if (!compressed)
            return E_INVALIDARG;
        // A type that does not say that all its samples stand alone counts as compressed.
        *compressed = MFGetAttributeUINT32(this, MF_MT_ALL_SAMPLES_INDEPENDENT, FALSE) == FALSE;
        return S_OK;
    }

    STDMETHODIMP IsEqual(IMFMediaType *type, DWORD *flags) override
    {
        if (!type || !flags)
            return E_INVALIDARG;

        *flags = 0;
        GUID myMajorType = GUID_NULL;
        GUID theirMajorType = GUID_NULL;
        if (FAILED(GetMajorType(&myMajorType)) || FAILED(type->GetMajorType(&theirMajorType)))
            return E_INVALIDARG;
        if (IsEqualGUID(myMajorType, theirMajorType))
            *flags |= MF_MEDIATYPE_EQUAL_MAJOR_TYPES;
        if (isSameGuid(type, MF_MT_SUBTYPE))
            *flags |= MF_MEDIATYPE_EQUAL_FORMAT_TYPES;
        if (hasSameFormatData(type))
            *flags |= MF_MEDIATYPE_EQUAL_FORMAT_DATA;
        if (hasSameUserData(type))
            *flags |= MF_MEDIATYPE_EQUAL_FORMAT_USER_DATA;
        constexpr DWORD all = MF_MEDIATYPE_EQUAL_MAJOR_TYPES | MF_MEDIATYPE_EQUAL_FORMAT_TYPES |
                              MF_MEDIATYPE_EQUAL_FORMAT_DATA | MF_MEDIATYPE_EQUAL_FORMAT_USER_DATA;
        return *flags == all ? S_OK : S_FALSE;
    }

    STDMETHODIMP GetRepresentation(GUID representation, void **) override { return represent(representation); }
    STDMETHODIMP FreeRepresentation(GUID representation, void *) override { return represent(representation); }

private:
    static HRESULT represent(REFGUID representation)
    {
        return IsEqualGUID(representation, AM_MEDIA_TYPE_REPRESENTATION) ? E_NOTIMPL : MF_E_UNSUPPORTED_REPRESENTATION;
    }

    // Whether all items of the type with fewer of them stand in the other, but for those that have a flag of their own
    // or describe a range.
    bool hasSameFormatData(IMFAttributes *other)
    {
        Ref<IMFAttributes> mine;
        Ref<IMFAttributes> theirs;
        BOOL same = FALSE;
        return SUCCEEDED(copyFormatData(this, mine)) && SUCCEEDED(copyFormatData(other, theirs)) &&
               SUCCEEDED(mine->Compare(theirs.get(), MF_ATTRIBUTES_MATCH_SMALLER, &same)) && same;
    }

    static HRESULT copyFormatData(IMFAttributes *type, Ref<IMFAttributes> &copy)
    {
        HRESULT hr = MFCreateAttributes(copy.put(), 0);
        if (SUCCEEDED(hr))
            hr = type->CopyAllItems(copy.get());
        if (FAILED(hr))
            return hr;
        for (const GUID &key : {MF_MT_USER_DATA, MF_MT_FRAME_RATE_RANGE_MIN, MF_MT_FRAME_RATE_RANGE_MAX})
            copy->DeleteItem(key);
        return S_OK;
    }

    bool isSameGuid(IMFAttributes *other, REFGUID key)
    {
        GUID mine = GUID_NULL;
        GUID theirs = GUID_NULL;
        const HRESULT myResult = GetGUID(key, &mine);
        const HRESULT theirResult = other->GetGUID(key, &theirs);
        return SUCCEEDED(myResult) == SUCCEEDED(theirResult) && IsEqualGUID(mine, theirs);
    }

    bool hasSameUserData(IMFAttributes *other)
    {
        Value mine;
        Value theirs;
        const HRESULT myResult = GetItem(MF_MT_USER_DATA, &mine.raw());
        const HRESULT theirResult = other->GetItem(MF_MT_USER_DATA, &theirs.raw());
        if (FAILED(myResult) || FAILED(theirResult))
            return FAILED(myResult) && FAILED(theirResult);
        BOOL same = FALSE;
        return SUCCEEDED(other->CompareItem(MF_MT_USER_DATA, mine.raw(), &same)) && same;
    }
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateMediaType(IMFMediaType **type)
{
    if (!type)
        return E_INVALIDARG;
    *type = winmedia::createObject<winmedia::MediaType>().detach();
    return *type ? S_OK : E_OUTOFMEMORY;
}

BOOL WINAPI MFCompareFullToPartialMediaType(IMFMediaType *fullType, IMFMediaType *partialType)
{
    GUID fullMajorType = GUID_NULL;
    GUID partialMajorType = GUID_NULL;
    if (!fullType || !partialType || FAILED(fullType->GetMajorType(&fullMajorType)) ||
        FAILED(partialType->GetMajorType(&partialMajorType)) || !IsEqualGUID(fullMajorType, partialMajorType))
        return FALSE;
    BOOL same = FALSE;
    return SUCCEEDED(partialType->Compare(fullType, MF_ATTRIBUTES_MATCH_OUR_ITEMS, &same)) && same;
}
