#pragma once

// The key-value store behind IMFAttributes, and the base of every class whose interface derives from it.

#include "platform/com/ComObject.h"

#include <mfobjects.h>
#include <propidl.h>

#include <mutex>
#include <utility>
#include <vector>

namespace winmedia
{

// A value that is cleared with its owner.
class Value
{
public:
    Value() { PropVariantInit(&m_value); }
    Value(const Value &) = delete;
    Value(Value &&other) noexcept : m_value(other.m_value) { PropVariantInit(&other.m_value); }
    Value &operator=(Value &&other) noexcept
    {
        std::swap(m_value, other.m_value);
        return *this;
    }
    ~Value() { PropVariantClear(&m_value); }

    PROPVARIANT &raw() { return m_value; }
    const PROPVARIANT &raw() const { return m_value; }

private:
    PROPVARIANT m_value;
};

// Thread-safe. Items keep the order in which their keys were first set. LockStore() keeps other threads out until
// UnlockStore() on the same thread.
class AttributeStore
{
public:
    HRESULT getItem(REFGUID key, PROPVARIANT *value) const;
    HRESULT getItemType(REFGUID key, MF_ATTRIBUTE_TYPE *type) const;
    HRESULT compareItem(REFGUID key, REFPROPVARIANT value, BOOL *result) const;
    HRESULT getUINT32(REFGUID key, UINT32 *value) const;
    HRESULT getUINT64(REFGUID key, UINT64 *value) const;
    HRESULT getDouble(REFGUID key, double *value) const;
    HRESULT getGUID(REFGUID key, GUID *value) const;
    HRESULT getStringLength(REFGUID key, UINT32 *length) const;
    HRESULT getString(REFGUID key, WCHAR *value, UINT32 size, UINT32 *length) const;
    HRESULT getAllocatedString(REFGUID key, WCHAR **value, UINT32 *length) const;
    HRESULT getBlobSize(REFGUID key, UINT32 *size) const;
    HRESULT getBlob(REFGUID key, UINT8 *buffer, UINT32 bufferSize, UINT32 *size) const;
    HRESULT getAllocatedBlob(REFGUID key, UINT8 **buffer, UINT32 *size) const;
    HRESULT getUnknown(REFGUID key, REFIID iid, void **object) const;
    HRESULT setItem(REFGUID key, REFPROPVARIANT value);
    HRESULT deleteItem(REFGUID key);
    HRESULT deleteAllItems();
    HRESULT setString(REFGUID key, const WCHAR *value);
    HRESULT setBlob(REFGUID key, const UINT8 *buffer, UINT32 size);
    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }
    UINT32 count() const;
    HRESULT getItemByIndex(UINT32 index, GUID *key, PROPVARIANT *value) const;
    HRESULT copyAllItems(IMFAttributes *destination) const;

private:
    struct Item {
        GUID key;
        Value value;
    };

    // With m_mutex held.
    const Item *find(REFGUID key) const;
    Item *find(REFGUID key);

    // Calls `use` with the value under the lock, if it is there and of that type.
    template <typename Use>
    HRESULT read(REFGUID key, VARTYPE type, const Use &use) const;
    HRESULT copyItems(std::vector<Item> &items) const;

    mutable std::recursive_mutex m_mutex;
    std::vector<Item> m_items; // guarded by m_mutex
};

// IMFAttributes::Compare() of any two stores.
HRESULT compareStores(IMFAttributes *mine, IMFAttributes *theirs, MF_ATTRIBUTES_MATCH_TYPE match, BOOL *result);

// A COM object whose first interface is IMFAttributes or derives from it.
template <typename First, typename... Others>
class AttributesObject : public ComObject<First, Others...>
{
public:
    STDMETHODIMP GetItem(REFGUID key, PROPVARIANT *value) override { return m_store.getItem(key, value); }
    STDMETHODIMP GetItemType(REFGUID key, MF_ATTRIBUTE_TYPE *type) override { return m_store.getItemType(key, type); }
    STDMETHODIMP CompareItem(REFGUID key, REFPROPVARIANT value, BOOL *result) override
    {
        return m_store.compareItem(key, value, result);
    }
    STDMETHODIMP Compare(IMFAttributes *theirs, MF_ATTRIBUTES_MATCH_TYPE match, BOOL *result) override
    {
        return compareStores(this, theirs, match, result);
    }
    STDMETHODIMP GetUINT32(REFGUID key, UINT32 *value) override { return m_store.getUINT32(key, value); }
    STDMETHODIMP GetUINT64(REFGUID key, UINT64 *value) override { return m_store.getUINT64(key, value); }
    STDMETHODIMP GetDouble(REFGUID key, double *value) override { return m_store.getDouble(key, value); }
    STDMETHODIMP GetGUID(REFGUID key, GUID *value) override { return m_store.getGUID(key, value); }
    STDMETHODIMP GetStringLength(REFGUID key, UINT32 *length) override { return m_store.getStringLength(key, length); }
    STDMETHODIMP GetString(REFGUID key, WCHAR *value, UINT32 size, UINT32 *length) override
    {
        return m_store.getString(key, value, size, length);
    }
    STDMETHODIMP GetAllocatedString(REFGUID key, WCHAR **value, UINT32 *length) override
    {
        return m_store.getAllocatedString(key, value, length);
    }
    STDMETHODIMP GetBlobSize(REFGUID key, UINT32 *size) override { return m_store.getBlobSize(key, size); }
    STDMETHODIMP GetBlob(REFGUID key, UINT8 *buffer, UINT32 bufferSize, UINT32 *size) override
    {
        return m_store.getBlob(key, buffer, bufferSize, size);
    }
    STDMETHODIMP GetAllocatedBlob(REFGUID key, UINT8 **buffer, UINT32 *size) override
    {
        return m_store.getAllocatedBlob(key, buffer, size);
    }
    STDMETHODIMP GetUnknown(REFGUID key, REFIID iid, void **object) override
    {
        return m_store.getUnknown(key, iid, object);
    }
    STDMETHODIMP SetItem(REFGUID key, REFPROPVARIANT value) override { return m_store.setItem(key, value); }
    STDMETHODIMP DeleteItem(REFGUID key) override { return m_store.deleteItem(key); }
    STDMETHODIMP DeleteAllItems() override { return m_store.deleteAllItems(); }
    STDMETHODIMP SetUINT32(REFGUID key, UINT32 value) override
    {
        PROPVARIANT item;
        PropVariantInit(&item);
        item.vt = VT_UI4;
        item.ulVal = value;
        return m_store.setItem(key, item);
    }
    STDMETHODIMP SetUINT64(REFGUID key, UINT64 value) override
    {
        PROPVARIANT item;
        PropVariantInit(&item);
        item.vt = VT_UI8;
        item.uhVal.QuadPart = value;
        return m_store.setItem(key, item);
    }
    STDMETHODIMP SetDouble(REFGUID key, double value) override
    {
        PROPVARIANT item;
        PropVariantInit(&item);
        item.vt = VT_R8;
        item.dblVal = value;
        return m_store.setItem(key, item);
    }
    STDMETHODIMP SetGUID(REFGUID key, REFGUID value) override
    {
        GUID copy = value;
        PROPVARIANT item;
        PropVariantInit(&item);
        item.vt = VT_CLSID;
        item.puuid = &copy;
        return m_store.setItem(key, item);
    }
    STDMETHODIMP SetString(REFGUID key, const WCHAR *value) override { return m_store.setString(key, value); }
    STDMETHODIMP SetBlob(REFGUID key, const UINT8 *buffer, UINT32 size) override
    {
        return m_store.setBlob(key, buffer, size);
    }
    STDMETHODIMP SetUnknown(REFGUID key, IUnknown *object) override
    {
        PROPVARIANT item;
        PropVariantInit(&item);
        item.vt = VT_UNKNOWN;
        item.punkVal = object;
        return m_store.setItem(key, item);
    }
    STDMETHODIMP LockStore() override
    {
        m_store.lock();
        return S_OK;
    }
    STDMETHODIMP UnlockStore() override
    {
        m_store.unlock();
        return S_OK;
    }
    STDMETHODIMP GetCount(UINT32 *items) override
    {
        if (!items)
            return E_INVALIDARG;
        *items = m_store.count();
        return S_OK;
    }
    STDMETHODIMP GetItemByIndex(UINT32 index, GUID *key, PROPVARIANT *value) override
    {
        return m_store.getItemByIndex(index, key, value);
    }
    STDMETHODIMP CopyAllItems(IMFAttributes *destination) override { return m_store.copyAllItems(destination); }

protected:
    void *findInterface(REFIID iid) override
    {
        if (IsEqualIID(iid, __uuidof(IMFAttributes)))
            return static_cast<IMFAttributes *>(this);
        return ComObject<First, Others...>::findInterface(iid);
    }

    AttributeStore m_store;
};

} // namespace winmedia
