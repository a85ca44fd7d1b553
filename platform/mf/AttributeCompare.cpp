#include "platform/mf/AttributeStore.h"

#include <mfapi.h>

namespace winmedia
{

namespace
{

// Whether every item of `subset` stands in `other` with the same value; an absent one counts as `absent`. Works on a
// copy of the subset: no lock is held while the other store is asked, so two stores may be compared both ways at once.
HRESULT agrees(IMFAttributes *subset, IMFAttributes *other, bool absent, BOOL *result)
{
    Ref<IMFAttributes> items;
    UINT32 count = 0;
    HRESULT hr = MFCreateAttributes(items.put(), 0);
    if (SUCCEEDED(hr))
        hr = subset->CopyAllItems(items.get());
    if (SUCCEEDED(hr))
        hr = items->GetCount(&count);
    for (UINT32 index = 0; SUCCEEDED(hr) && index < count; ++index) {
        GUID key;
        Value value;
        hr = items->GetItemByIndex(index, &key, &value.raw());
        if (FAILED(hr))
            return hr;
        MF_ATTRIBUTE_TYPE type;
        BOOL same = absent;
        if (SUCCEEDED(other->GetItemType(key, &type)))
            hr = other->CompareItem(key, value.raw(), &same);
        if (FAILED(hr) || !same)
            return hr;
    }
    *result = SUCCEEDED(hr);
    return hr;
}

} // namespace

HRESULT compareStores(IMFAttributes *mine, IMFAttributes *theirs, MF_ATTRIBUTES_MATCH_TYPE match, BOOL *result)
{
    if (!theirs || !result)
        return E_INVALIDARG;
    *result = FALSE;

    UINT32 myCount = 0;
    UINT32 theirCount = 0;
    mine->GetCount(&myCount);
    theirs->GetCount(&theirCount);
    switch (match) {
    case MF_ATTRIBUTES_MATCH_OUR_ITEMS:
        return agrees(mine, theirs, false, result);
    case MF_ATTRIBUTES_MATCH_THEIR_ITEMS:
        return agrees(theirs, mine, false, result);
    case MF_ATTRIBUTES_MATCH_ALL_ITEMS:
        return myCount == theirCount ? agrees(mine, theirs, false, result) : S_OK;
    case MF_ATTRIBUTES_MATCH_INTERSECTION:
        return agrees(mine, theirs, true, result);
    case MF_ATTRIBUTES_MATCH_SMALLER:
        return myCount <= theirCount ? agrees(mine, theirs, false, result) : agrees(theirs, mine, false, result);
    default:
        return E_INVALIDARG;
    }
}

} // namespace winmedia
