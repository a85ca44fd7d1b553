// What the documentation leaves open and the native platform promises (values without content equal nothing, an object
// that goes finds itself gone from the store), and what is documented and not kept by every system.

#include "tests/platform/AttributeKeys.h"
#include "tests/platform/DataSupport.h"

#include <propidl.h>

namespace
{

bool comparesEqual(const CComPtr<IMFAttributes> &store, const PROPVARIANT &value)
{
    BOOL result = TRUE;
    EXPECT_EQ(store->CompareItem(anyKey, value, &result), S_OK);
    return result != FALSE;
}

class AttributesNative : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateAttributes(&store, 0), S_OK);
        PropVariantInit(&value);
    }
    void TearDown() override
    {
        store.Release();
        StartedPlatform::TearDown();
    }

    CComPtr<IMFAttributes> store;
    PROPVARIANT value; // of a type, with nothing behind its pointer
};

} // namespace

TEST_F(AttributesNative, EqualNoBytesAtANullPointer)
{
    const UINT8 bytes[] = {1, 2};
    ASSERT_EQ(store->SetBlob(anyKey, bytes, 2), S_OK);
    value.vt = VT_VECTOR | VT_UI1;
    value.caub.cElems = 2;
    EXPECT_FALSE(comparesEqual(store, value));
}

TEST_F(AttributesNative, TakeNoItemsOfForeignTypes)
{
    for (const VARTYPE type : {VT_I4, VT_BOOL, VT_R4, VT_I8, VT_UI1}) {
        PROPVARIANT item;
        PropVariantInit(&item);
        item.vt = type;
        EXPECT_EQ(store->SetItem(anyKey, item), MF_E_INVALIDTYPE) << type;
    }
    UINT32 count = 99;
    EXPECT_EQ(store->GetCount(&count), S_OK);
    EXPECT_EQ(count, 0U);
}

TEST_F(AttributesNative, MayLoseAnObjectThatLooksIntoThem)
{
    UINT32 seen = 99;
    const CComPtr<IMFAttributes> kept(store);
    {
        const CComPtr<IUnknown> object(new PlainObject([&] { kept->GetCount(&seen); }));
        ASSERT_EQ(store->SetUnknown(anyKey, object), S_OK);
    }
    EXPECT_EQ(store->DeleteItem(anyKey), S_OK);
    EXPECT_EQ(seen, 0U);
}

TEST_F(AttributesNative, EqualObjectsByIdentity)
{
    const CComPtr<IUnknown> object(new PlainObject);
    const CComPtr<IUnknown> other(new PlainObject);
    CComPtr<IMFAttributes> theirs;
    ASSERT_EQ(MFCreateAttributes(&theirs, 0), S_OK);
    store->SetUnknown(anyKey, object);
    theirs->SetUnknown(anyKey, object);
    BOOL same = FALSE;
    EXPECT_EQ(store->Compare(theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS, &same), S_OK);
    EXPECT_TRUE(same);
    theirs->SetUnknown(anyKey, other);
    EXPECT_EQ(store->Compare(theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS, &same), S_OK);
    EXPECT_FALSE(same);
}
