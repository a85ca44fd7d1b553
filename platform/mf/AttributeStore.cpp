#include "platform/mf/AttributeStore.h"

#include <mfapi.h>
#include <mferror.h>
#include <strsafe.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace winmedia
{

namespace
{

bool isAttributeType(VARTYPE type)
{
    switch (type) {
    case VT_UI4:
    case VT_UI8:
    case VT_R8:
    case VT_CLSID:
    case VT_LPWSTR:
    case VT_VECTOR | VT_UI1:
    case VT_UNKNOWN:
        return true;
    default:
        return false;
    }
}

UINT32 lengthOf(const WCHAR *text)
{
    return static_cast<UINT32>(std::char_traits<WCHAR>::length(text));
}

bool isSameObject(IUnknown *left, IUnknown *right)
{
    if (left == right || !left || !right)
        return left == right;
    Ref<IUnknown> leftIdentity;
    Ref<IUnknown> rightIdentity;
    left->QueryInterface(IID_IUnknown, reinterpret_cast<void **>(leftIdentity.put()));
    right->QueryInterface(IID_IUnknown, reinterpret_cast<void **>(rightIdentity.put()));
    return leftIdentity.get() == rightIdentity.get();
}

bool isSameValue(const PROPVARIANT &left, const PROPVARIANT &right)
{
    if (left.vt != right.vt)
        return false;
    switch (left.vt) {
    case VT_UI4:
        return left.ulVal == right.ulVal;
    case VT_UI8:
        return left.uhVal.QuadPart == right.uhVal.QuadPart;
    case VT_R8:
        return left.dblVal == right.dblVal;
    case VT_CLSID:
        return IsEqualGUID(*left.puuid, *right.puuid);
    case VT_LPWSTR:
        return std::u16string_view(left.pwszVal) == std::u16string_view(right.pwszVal);
    case VT_VECTOR | VT_UI1:
        return left.caub.cElems == right.caub.cElems &&
               (left.caub.cElems == 0 || std::memcmp(left.caub.pElems, right.caub.pElems, left.caub.cElems) == 0);
    case VT_UNKNOWN:
        return isSameObject(left.punkVal, right.punkVal);
    default:
        return false;
    }
}

HRESULT allocate(void **block, size_t size)
{
    *block = CoTaskMemAlloc(size);
    return *block ? S_OK : E_OUTOFMEMORY;
}

// Whether every item of `subset` stands in `other` with the same value; an absent one counts as `absent`.
HRESULT agrees(IMFAttributes *subset, IMFAttributes *other, bool absent, BOOL *result)
{
    UINT32 count = 0;
    HRESULT hr = subset->GetCount(&count);
    for (UINT32 index = 0; SUCCEEDED(hr) && index < count; ++index) {
        GUID key;
        Value value;
        hr = subset->GetItemByIndex(index, &key, &value.raw());
        if (FAILED(hr))
            return hr;
        MF_ATTRIBUTE_TYPE type;
        BOOL same = absent;
        if (SUCCEEDED(other->GetItemType(key, &type)))
            hr = other->CompareItem(key, value.raw(), &same);
        if (FAILED(hr) || !same) {
            *result = FALSE;
            return hr;
        }
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

const AttributeStore::Item *AttributeStore::find(REFGUID key) const
{
    const auto item = std::find_if(m_items.begin(), m_items.end(),
                                   [&](const Item &candidate) { return IsEqualGUID(candidate.key, key); });
    return item == m_items.end() ? nullptr : &*item;
}

HRESULT AttributeStore::find(REFGUID key, VARTYPE type, const PROPVARIANT **value) const
{
    const Item *const item = find(key);
    if (!item)
        return MF_E_ATTRIBUTENOTFOUND;
    if (item->value.raw().vt != type)
        return MF_E_INVALIDTYPE;
    *value = &item->value.raw();
    return S_OK;
}

HRESULT AttributeStore::getItem(REFGUID key, PROPVARIANT *value) const
{
    const std::lock_guard lock(m_mutex);
    const Item *const item = find(key);
    if (!item)
        return MF_E_ATTRIBUTENOTFOUND;
    return value ? PropVariantCopy(value, &item->value.raw()) : S_OK;
}

HRESULT AttributeStore::getItemType(REFGUID key, MF_ATTRIBUTE_TYPE *type) const
{
    if (!type)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    const Item *const item = find(key);
    if (!item)
        return MF_E_ATTRIBUTENOTFOUND;
    *type = static_cast<MF_ATTRIBUTE_TYPE>(item->value.raw().vt);
    return S_OK;
}

HRESULT AttributeStore::compareItem(REFGUID key, REFPROPVARIANT value, BOOL *result) const
{
    if (!result)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    const Item *const item = find(key);
    *result = item && isSameValue(item->value.raw(), value);
    return S_OK;
}

HRESULT AttributeStore::getUINT32(REFGUID key, UINT32 *value) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_UI4, &item);
    if (SUCCEEDED(hr) && value)
        *value = item->ulVal;
    return hr;
}

HRESULT AttributeStore::getUINT64(REFGUID key, UINT64 *value) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_UI8, &item);
    if (SUCCEEDED(hr) && value)
        *value = item->uhVal.QuadPart;
    return hr;
}

HRESULT AttributeStore::getDouble(REFGUID key, double *value) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_R8, &item);
    if (SUCCEEDED(hr) && value)
        *value = item->dblVal;
    return hr;
}

HRESULT AttributeStore::getGUID(REFGUID key, GUID *value) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_CLSID, &item);
    if (SUCCEEDED(hr) && value)
        *value = *item->puuid;
    return hr;
}

HRESULT AttributeStore::getStringLength(REFGUID key, UINT32 *length) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_LPWSTR, &item);
    if (SUCCEEDED(hr) && length)
        *length = lengthOf(item->pwszVal);
    return hr;
}

HRESULT AttributeStore::getString(REFGUID key, WCHAR *value, UINT32 size, UINT32 *length) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_LPWSTR, &item);
    if (FAILED(hr))
        return hr;
    const UINT32 characters = lengthOf(item->pwszVal);
    if (length)
        *length = characters;
    if (!value || size <= characters)
        return STRSAFE_E_INSUFFICIENT_BUFFER;
    std::copy_n(item->pwszVal, characters + 1, value);
    return S_OK;
}

HRESULT AttributeStore::getAllocatedString(REFGUID key, WCHAR **value, UINT32 *length) const
{
    if (!value || !length)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    HRESULT hr = find(key, VT_LPWSTR, &item);
    if (FAILED(hr))
        return hr;
    *length = lengthOf(item->pwszVal);
    hr = allocate(reinterpret_cast<void **>(value), (*length + 1) * sizeof(WCHAR));
    if (SUCCEEDED(hr))
        std::copy_n(item->pwszVal, *length + 1, *value);
    return hr;
}

HRESULT AttributeStore::getBlobSize(REFGUID key, UINT32 *size) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_VECTOR | VT_UI1, &item);
    if (SUCCEEDED(hr) && size)
        *size = item->caub.cElems;
    return hr;
}

HRESULT AttributeStore::getBlob(REFGUID key, UINT8 *buffer, UINT32 bufferSize, UINT32 *size) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_VECTOR | VT_UI1, &item);
    if (FAILED(hr))
        return hr;
    if (size)
        *size = item->caub.cElems;
    if (bufferSize < item->caub.cElems)
        return E_NOT_SUFFICIENT_BUFFER;
    std::copy_n(item->caub.pElems, item->caub.cElems, buffer);
    return S_OK;
}

HRESULT AttributeStore::getAllocatedBlob(REFGUID key, UINT8 **buffer, UINT32 *size) const
{
    if (!buffer || !size)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    HRESULT hr = find(key, VT_VECTOR | VT_UI1, &item);
    if (FAILED(hr))
        return hr;
    *size = item->caub.cElems;
    hr = allocate(reinterpret_cast<void **>(buffer), *size);
    if (SUCCEEDED(hr))
        std::copy_n(item->caub.pElems, *size, *buffer);
    return hr;
}

HRESULT AttributeStore::getUnknown(REFGUID key, REFIID iid, void **object) const
{
    const std::lock_guard lock(m_mutex);
    const PROPVARIANT *item = nullptr;
    const HRESULT hr = find(key, VT_UNKNOWN, &item);
    if (FAILED(hr))
        return hr;
    return item->punkVal ? item->punkVal->QueryInterface(iid, object) : E_NOINTERFACE;
}

HRESULT AttributeStore::setItem(REFGUID key, REFPROPVARIANT value)
{
    if (!isAttributeType(value.vt))
        return MF_E_INVALIDTYPE;
    Value copy;
    const HRESULT hr = PropVariantCopy(&copy.raw(), &value);
    if (FAILED(hr))
        return hr;
    const std::lock_guard lock(m_mutex);
    if (const Item *const item = find(key))
        const_cast<Item *>(item)->value = std::move(copy);
    else
        m_items.push_back({key, std::move(copy)});
    return S_OK;
}

HRESULT AttributeStore::setString(REFGUID key, const WCHAR *value)
{
    if (!value)
        return E_INVALIDARG;
    PROPVARIANT item;
    PropVariantInit(&item);
    item.vt = VT_LPWSTR;
    item.pwszVal = const_cast<WCHAR *>(value);
    return setItem(key, item);
}

HRESULT AttributeStore::setBlob(REFGUID key, const UINT8 *buffer, UINT32 size)
{
    PROPVARIANT item;
    PropVariantInit(&item);
    item.vt = VT_VECTOR | VT_UI1;
    item.caub.cElems = size;
    item.caub.pElems = const_cast<UINT8 *>(buffer);
    return setItem(key, item);
}

HRESULT AttributeStore::deleteItem(REFGUID key)
{
    const std::lock_guard lock(m_mutex);
    m_items.erase(
        std::remove_if(m_items.begin(), m_items.end(), [&](const Item &item) { return IsEqualGUID(item.key, key); }),
        m_items.end());
    return S_OK;
}

HRESULT AttributeStore::deleteAllItems()
{
    const std::lock_guard lock(m_mutex);
    m_items.clear();
    return S_OK;
}

UINT32 AttributeStore::count() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<UINT32>(m_items.size());
}

HRESULT AttributeStore::getItemByIndex(UINT32 index, GUID *key, PROPVARIANT *value) const
{
    if (!key)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    if (index >= m_items.size())
        return E_INVALIDARG;
    *key = m_items[index].key;
    return value ? PropVariantCopy(value, &m_items[index].value.raw()) : S_OK;
}

HRESULT AttributeStore::copyAllItems(IMFAttributes *destination) const
{
    if (!destination)
        return E_INVALIDARG;
    const std::lock_guard lock(m_mutex);
    HRESULT hr = destination->DeleteAllItems();
    for (const Item &item : m_items) {
        if (FAILED(hr))
            break;
        hr = destination->SetItem(item.key, item.value.raw());
    }
    return hr;
}

namespace
{

class PlainAttributes : public AttributesObject<IMFAttributes>
{
};

} // namespace

} // namespace winmedia

HRESULT WINAPI MFCreateAttributes(IMFAttributes **attributes, UINT32 /*size*/)
{
    if (!attributes)
        return E_INVALIDARG;
    *attributes = winmedia::createObject<winmedia::PlainAttributes>().detach();
    return *attributes ? S_OK : E_OUTOFMEMORY;
}
