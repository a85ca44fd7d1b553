#include "platform/mf/AttributeStore.h"

#include <mfapi.h>
#include <mferror.h>
#include <strsafe.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

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

// A null object is a value, but no text, identifier or bytes at a null pointer.
bool lacksContent(const PROPVARIANT &value)
{
    switch (value.vt) {
    case VT_CLSID:
        return !value.puuid;
    case VT_LPWSTR:
        return !value.pwszVal;
    case VT_VECTOR | VT_UI1:
        return !value.caub.pElems && value.caub.cElems > 0;
    default:
        return false;
    }
}

UINT32 lengthOf(const WCHAR *text)
{
    return static_cast<UINT32>(std::u16string_view(text).size());
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

template <typename T>
HRESULT give(const T &value, T *out)
{
    if (out)
        *out = value;
    return S_OK;
}

template <typename T>
HRESULT allocateCopy(const T *items, UINT32 count, T **copy)
{
    *copy = static_cast<T *>(CoTaskMemAlloc(count * sizeof(T)));
    if (!*copy)
        return E_OUTOFMEMORY;
    std::copy_n(items, count, *copy);
    return S_OK;
}

} // namespace

const AttributeStore::Item *AttributeStore::find(REFGUID key) const
{
    const auto item = std::find_if(m_items.begin(), m_items.end(),
                                   [&](const Item &candidate) { return IsEqualGUID(candidate.key, key); });
    return item == m_items.end() ? nullptr : &*item;
}

AttributeStore::Item *AttributeStore::find(REFGUID key)
{
    return const_cast<Item *>(std::as_const(*this).find(key));
}

template <typename Use>
HRESULT AttributeStore::read(REFGUID key, VARTYPE type, const Use &use) const
{
    const std::lock_guard lock(m_mutex);
    const Item *const item = find(key);
    if (!item)
        return MF_E_ATTRIBUTENOTFOUND;
    return item->value.raw().vt == type ? use(item->value.raw()) : MF_E_INVALIDTYPE;
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
    *result = item && !lacksContent(value) && isSameValue(item->value.raw(), value);
    return S_OK;
}

HRESULT AttributeStore::getUINT32(REFGUID key, UINT32 *value) const
{
    return read(key, VT_UI4, [&](const PROPVARIANT &item) { return give(item.ulVal, value); });
}

HRESULT AttributeStore::getUINT64(REFGUID key, UINT64 *value) const
{
    return read(key, VT_UI8, [&](const PROPVARIANT &item) { return give(item.uhVal.QuadPart, value); });
}

HRESULT AttributeStore::getDouble(REFGUID key, double *value) const
{
    return read(key, VT_R8, [&](const PROPVARIANT &item) { return give(item.dblVal, value); });
}

HRESULT AttributeStore::getGUID(REFGUID key, GUID *value) const
{
    return read(key, VT_CLSID, [&](const PROPVARIANT &item) { return give(*item.puuid, value); });
}

HRESULT AttributeStore::getStringLength(REFGUID key, UINT32 *length) const
{
    return read(key, VT_LPWSTR, [&](const PROPVARIANT &item) { return give(lengthOf(item.pwszVal), length); });
}

HRESULT AttributeStore::getString(REFGUID key, WCHAR *value, UINT32 size, UINT32 *length) const
{
    return read(key, VT_LPWSTR, [&](const PROPVARIANT &item) {
        const UINT32 characters = lengthOf(item.pwszVal);
        give(characters, length);
        if (!value || size <= characters)
            return STRSAFE_E_INSUFFICIENT_BUFFER;
        std::copy_n(item.pwszVal, characters + 1, value);
        return S_OK;
    });
}

HRESULT AttributeStore::getAllocatedString(REFGUID key, WCHAR **value, UINT32 *length) const
{
    if (!value || !length)
        return E_INVALIDARG;
    return read(key, VT_LPWSTR, [&](const PROPVARIANT &item) {
        *length = lengthOf(item.pwszVal);
        return allocateCopy(item.pwszVal, *length + 1, value);
    });
}

HRESULT AttributeStore::getBlobSize(REFGUID key, UINT32 *size) const
{
    return read(key, VT_VECTOR | VT_UI1, [&](const PROPVARIANT &item) { return give(item.caub.cElems, size); });
}

HRESULT AttributeStore::getBlob(REFGUID key, UINT8 *buffer, UINT32 bufferSize, UINT32 *size) const
{
    return read(key, VT_VECTOR | VT_UI1, [&](const PROPVARIANT &item) {
        give(item.caub.cElems, size);
        if (bufferSize < item.caub.cElems)
            return E_NOT_SUFFICIENT_BUFFER;
        std::copy_n(item.caub.pElems, item.caub.cElems, buffer);
        return S_OK;
    });
}

HRESULT AttributeStore::getAllocatedBlob(REFGUID key, UINT8 **buffer, UINT32 *size) const
{
    if (!buffer || !size)
        return E_INVALIDARG;
    return read(key, VT_VECTOR | VT_UI1, [&](const PROPVARIANT &item) {
        *size = item.caub.cElems;
        return allocateCopy(item.caub.pElems, *size, buffer);
    });
}

HRESULT AttributeStore::getUnknown(REFGUID key, REFIID iid, void **object) const
{
    Ref<IUnknown> stored;
    const HRESULT hr = read(key, VT_UNKNOWN, [&](const PROPVARIANT &item) {
        stored = item.punkVal;
        return S_OK;
    });
    if (FAILED(hr))
        return hr;
    return stored ? stored->QueryInterface(iid, object) : MF_E_INVALIDTYPE;
}

HRESULT AttributeStore::setItem(REFGUID key, REFPROPVARIANT value)
{
    if (!isAttributeType(value.vt))
        return MF_E_INVALIDTYPE;
    if (lacksContent(value))
        return E_INVALIDARG;
    Value copy;
    const HRESULT hr = PropVariantCopy(&copy.raw(), &value);
    if (FAILED(hr))
        return hr;
    const std::lock_guard lock(m_mutex);
    if (Item *const item = find(key))
        item->value = std::move(copy);
    else
        m_items.push_back({key, std::move(copy)});
    return S_OK;
}

HRESULT AttributeStore::setString(REFGUID key, const WCHAR *value)
{
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

// A value that goes is released outside the lock: it may be an object that looks into this store.
HRESULT AttributeStore::deleteItem(REFGUID key)
{
    Value gone;
    const std::lock_guard lock(m_mutex);
    if (Item *const item = find(key)) {
        gone = std::move(item->value);
        m_items.erase(m_items.begin() + (item - m_items.data()));
    }
    return S_OK;
}

HRESULT AttributeStore::deleteAllItems()
{
    // Objects that were values are released without the lock: they may come back to this store.
    std::vector<Item> gone;
    {
        const std::lock_guard lock(m_mutex);
        m_items.swap(gone);
    }
    gone.clear();
    // The storage serves again: pooled samples lose and get their attributes with every frame.
    const std::lock_guard lock(m_mutex);
    if (m_items.capacity() == 0)
        m_items.swap(gone);
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

// The copy is made before the destination is touched, so that two stores may be copied to each other at a time.
HRESULT AttributeStore::copyAllItems(IMFAttributes *destination) const
{
    if (!destination)
        return E_INVALIDARG;
    std::vector<Item> items;
    HRESULT hr = copyItems(items);
    if (SUCCEEDED(hr))
        hr = destination->DeleteAllItems();
    for (const Item &item : items) {
        if (FAILED(hr))
            break;
        hr = destination->SetItem(item.key, item.value.raw());
    }
    return hr;
}

HRESULT AttributeStore::copyItems(std::vector<Item> &items) const
{
    const std::lock_guard lock(m_mutex);
    items.reserve(m_items.size());
    for (const Item &item : m_items) {
        Value copy;
        const HRESULT hr = PropVariantCopy(&copy.raw(), &item.value.raw());
        if (FAILED(hr))
            return hr;
        items.push_back({item.key, std::move(copy)});
    }
    return S_OK;
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
