// What the documentation leaves open and the native platform promises: values without content equal nothing.

#include "tests/platform/DataSupport.h"

#include <propidl.h>

namespace
{

constexpr GUID key = {0x4, 0, 0, {0x77, 0, 0, 0, 0, 0, 0, 1}};

bool comparesEqual(const CComPtr<IMFAttributes> &store, const PROPVARIANT &value)
{
    BOOL result = TRUE;
    EXPECT_EQ(store->CompareItem(key, value, &result), S_OK);
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

TEST_F(AttributesNative, EqualNoTextAtANullPointer)
{
    const WCHAR empty[] = {0};
    ASSERT_EQ(store->SetString(key, empty), S_OK);
    value.vt = VT_LPWSTR;
    EXPECT_FALSE(comparesEqual(store, value));
}

TEST_F(AttributesNative, EqualNoIdentifierAtANullPointer)
{
    ASSERT_EQ(store->SetGUID(key, GUID_NULL), S_OK);
    value.vt = VT_CLSID;
    EXPECT_FALSE(comparesEqual(store, value));
}

TEST_F(AttributesNative, EqualNoBytesAtANullPointer)
{
    const UINT8 bytes[] = {1, 2};
    ASSERT_EQ(store->SetBlob(key, bytes, 2), S_OK);
    value.vt = VT_VECTOR | VT_UI1;
    value.caub.cElems = 2;
    EXPECT_FALSE(comparesEqual(store, value));
}
