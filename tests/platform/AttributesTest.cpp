#include "tests/platform/AttributeKeys.h"
#include "tests/platform/DataSupport.h"

#include <propidl.h>
#include <strsafe.h>

#include <string>

namespace
{

constexpr GUID guidItem = {0x5C3B9A13, 0x2222, 0x4333, {0x84, 0x44, 1, 2, 3, 4, 5, 6}};
constexpr WCHAR textItem[] = {'f', 'i', 'v', 'e', '!', 0};
constexpr UINT8 blobItem[] = {9, 8, 7, 6};

class Attributes : public StartedPlatform
{
protected:
    void SetUp() override
    {
        StartedPlatform::SetUp();
        ASSERT_EQ(MFCreateAttributes(&store, 4), S_OK);
    }
    void TearDown() override
    {
        store.Release();
        StartedPlatform::TearDown();
    }
    UINT32 count()
    {
        UINT32 items = 0;
        EXPECT_EQ(store->GetCount(&items), S_OK);
        return items;
    }

    CComPtr<IMFAttributes> store;
};

} // namespace

TEST_F(Attributes, AreEmptyFromTheStart)
{
    EXPECT_EQ(count(), 0U);
}

TEST_F(Attributes, AnswerTheirInterfacesOnly)
{
    EXPECT_TRUE(faceOf<IUnknown>(store));
    EXPECT_TRUE(faceOf<IMFAttributes>(store));
    EXPECT_FALSE(faceOf<IMFMediaBuffer>(store));
}

TEST_F(Attributes, GiveBackNumbers)
{
    EXPECT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    EXPECT_EQ(store->SetUINT64(otherKey, 1ULL << 40), S_OK);
    EXPECT_EQ(store->SetDouble(guidItem, 0.5), S_OK);
    UINT32 number = 0;
    UINT64 large = 0;
    double fraction = 0;
    EXPECT_EQ(store->GetUINT32(anyKey, &number), S_OK);
    EXPECT_EQ(store->GetUINT64(otherKey, &large), S_OK);
    EXPECT_EQ(store->GetDouble(guidItem, &fraction), S_OK);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(large, 1ULL << 40);
    EXPECT_EQ(fraction, 0.5);
    EXPECT_EQ(count(), 3U);
}

TEST_F(Attributes, GiveBackIdentifiers)
{
    EXPECT_EQ(store->SetGUID(anyKey, guidItem), S_OK);
    GUID value = {};
    EXPECT_EQ(store->GetGUID(anyKey, &value), S_OK);
    EXPECT_TRUE(IsEqualGUID(value, guidItem));
}

TEST_F(Attributes, GiveBackText)
{
    EXPECT_EQ(store->SetString(anyKey, textItem), S_OK);
    UINT32 length = 0;
    EXPECT_EQ(store->GetStringLength(anyKey, &length), S_OK);
    EXPECT_EQ(length, 5U);

    WCHAR value[6] = {};
    length = 0;
    EXPECT_EQ(store->GetString(anyKey, value, 6, &length), S_OK);
    EXPECT_EQ(length, 5U);
    EXPECT_EQ(std::char_traits<WCHAR>::compare(value, textItem, 6), 0);
    EXPECT_EQ(store->GetString(anyKey, value, 6, nullptr), S_OK);
}

TEST_F(Attributes, GiveBackAllocatedText)
{
    EXPECT_EQ(store->SetString(anyKey, textItem), S_OK);
    WCHAR *value = nullptr;
    UINT32 length = 0;
    ASSERT_EQ(store->GetAllocatedString(anyKey, &value, &length), S_OK);
    EXPECT_EQ(length, 5U);
    EXPECT_EQ(std::char_traits<WCHAR>::compare(value, textItem, 6), 0);
    CoTaskMemFree(value);
}

TEST_F(Attributes, GiveNoTextThatDoesNotFit)
{
    EXPECT_EQ(store->SetString(anyKey, textItem), S_OK);
    WCHAR value[5] = {};
    EXPECT_EQ(store->GetString(anyKey, value, 5, nullptr), STRSAFE_E_INSUFFICIENT_BUFFER);
}

TEST_F(Attributes, GiveBackBytes)
{
    EXPECT_EQ(store->SetBlob(anyKey, blobItem, sizeof blobItem), S_OK);
    UINT32 size = 0;
    EXPECT_EQ(store->GetBlobSize(anyKey, &size), S_OK);
    EXPECT_EQ(size, sizeof blobItem);

    Bytes value(8);
    size = 0;
    EXPECT_EQ(store->GetBlob(anyKey, value.data(), 8, &size), S_OK);
    ASSERT_EQ(size, sizeof blobItem);
    value.resize(size);
    EXPECT_EQ(value, Bytes(blobItem, blobItem + sizeof blobItem));
}

TEST_F(Attributes, GiveBackAllocatedBytes)
{
    EXPECT_EQ(store->SetBlob(anyKey, blobItem, sizeof blobItem), S_OK);
    UINT8 *value = nullptr;
    UINT32 size = 0;
    ASSERT_EQ(store->GetAllocatedBlob(anyKey, &value, &size), S_OK);
    EXPECT_EQ(Bytes(value, value + size), Bytes(blobItem, blobItem + sizeof blobItem));
    CoTaskMemFree(value);
}

TEST_F(Attributes, GiveNoBytesThatDoNotFit)
{
    EXPECT_EQ(store->SetBlob(anyKey, blobItem, sizeof blobItem), S_OK);
    UINT8 value[3] = {};
    EXPECT_EQ(store->GetBlob(anyKey, value, 3, nullptr), HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER));
}

TEST_F(Attributes, HoldObjects)
{
    bool isGone = false;
    {
        const CComPtr<IUnknown> object(new PlainObject([&] { isGone = true; }));
        EXPECT_EQ(store->SetUnknown(anyKey, object), S_OK);
    }
    EXPECT_FALSE(isGone);
    CComPtr<IUnknown> value;
    EXPECT_EQ(store->GetUnknown(anyKey, IID_IUnknown, reinterpret_cast<void **>(&value)), S_OK);
    EXPECT_TRUE(value);
    void *other = nullptr;
    EXPECT_EQ(store->GetUnknown(anyKey, __uuidof(IMFAttributes), &other), E_NOINTERFACE);
    value.Release();
    EXPECT_EQ(store->DeleteItem(anyKey), S_OK);
    EXPECT_TRUE(isGone);
}

TEST_F(Attributes, ReplaceAValueWhateverItsType)
{
    EXPECT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    EXPECT_EQ(store->SetString(anyKey, textItem), S_OK);
    EXPECT_EQ(count(), 1U);
    MF_ATTRIBUTE_TYPE type = MF_ATTRIBUTE_UINT32;
    EXPECT_EQ(store->GetItemType(anyKey, &type), S_OK);
    EXPECT_EQ(type, MF_ATTRIBUTE_STRING);
}

TEST_F(Attributes, SayWhatIsMissing)
{
    UINT32 number = 0;
    UINT64 large = 0;
    double fraction = 0;
    GUID value = {};
    WCHAR *string = nullptr;
    UINT8 *bytes = nullptr;
    void *object = nullptr;
    MF_ATTRIBUTE_TYPE type = MF_ATTRIBUTE_UINT32;
    PROPVARIANT item;
    PropVariantInit(&item);
    EXPECT_EQ(store->GetItem(anyKey, &item), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetItemType(anyKey, &type), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetUINT32(anyKey, &number), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetUINT64(anyKey, &large), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetDouble(anyKey, &fraction), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetGUID(anyKey, &value), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetStringLength(anyKey, &number), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetAllocatedString(anyKey, &string, &number), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetBlobSize(anyKey, &number), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetAllocatedBlob(anyKey, &bytes, &number), MF_E_ATTRIBUTENOTFOUND);
    EXPECT_EQ(store->GetUnknown(anyKey, IID_IUnknown, &object), MF_E_ATTRIBUTENOTFOUND);
}

TEST_F(Attributes, SayWhatHasAnotherType)
{
    ASSERT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    ASSERT_EQ(store->SetString(otherKey, textItem), S_OK);
    UINT32 number = 0;
    UINT64 large = 0;
    double fraction = 0;
    GUID value = {};
    WCHAR string[8] = {};
    UINT8 bytes[8] = {};
    void *object = nullptr;
    EXPECT_EQ(store->GetUINT32(otherKey, &number), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetUINT64(anyKey, &large), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetDouble(anyKey, &fraction), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetGUID(anyKey, &value), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetStringLength(anyKey, &number), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetString(anyKey, string, 8, nullptr), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetBlobSize(anyKey, &number), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetBlob(anyKey, bytes, 8, nullptr), MF_E_INVALIDTYPE);
    EXPECT_EQ(store->GetUnknown(anyKey, IID_IUnknown, &object), MF_E_INVALIDTYPE);
}

TEST_F(Attributes, TakeAndGiveItemsOfAnyType)
{
    PROPVARIANT item;
    PropVariantInit(&item);
    item.vt = VT_UI4;
    item.ulVal = 12;
    EXPECT_EQ(store->SetItem(anyKey, item), S_OK);
    PROPVARIANT value;
    PropVariantInit(&value);
    EXPECT_EQ(store->GetItem(anyKey, &value), S_OK);
    EXPECT_EQ(value.vt, VT_UI4);
    EXPECT_EQ(value.ulVal, 12U);
    EXPECT_EQ(store->GetItem(anyKey, nullptr), S_OK);
}

TEST_F(Attributes, TellWhetherAnItemHasAValue)
{
    ASSERT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    PROPVARIANT item;
    PropVariantInit(&item);
    item.vt = VT_UI4;
    item.ulVal = 7;
    BOOL same = FALSE;
    EXPECT_EQ(store->CompareItem(anyKey, item, &same), S_OK);
    EXPECT_TRUE(same);
    EXPECT_EQ(store->CompareItem(otherKey, item, &same), S_OK);
    EXPECT_FALSE(same);
    item.ulVal = 8;
    EXPECT_EQ(store->CompareItem(anyKey, item, &same), S_OK);
    EXPECT_FALSE(same);
    item.vt = VT_UI8;
    item.uhVal.QuadPart = 7;
    EXPECT_EQ(store->CompareItem(anyKey, item, &same), S_OK);
    EXPECT_FALSE(same);
}

TEST_F(Attributes, ForgetItems)
{
    ASSERT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    ASSERT_EQ(store->SetUINT32(otherKey, 8), S_OK);
    EXPECT_EQ(store->DeleteItem(anyKey), S_OK);
    EXPECT_EQ(count(), 1U);
    EXPECT_EQ(store->DeleteItem(anyKey), S_OK);
    EXPECT_EQ(store->DeleteAllItems(), S_OK);
    EXPECT_EQ(count(), 0U);
}

TEST_F(Attributes, AreCountedByIndex)
{
    ASSERT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    ASSERT_EQ(store->SetUINT32(otherKey, 8), S_OK);
    bool seen[2] = {};
    for (UINT32 index = 0; index < 2; ++index) {
        GUID itemKey = {};
        PROPVARIANT value;
        PropVariantInit(&value);
        EXPECT_EQ(store->GetItemByIndex(index, &itemKey, &value), S_OK);
        const bool isFirst = IsEqualGUID(itemKey, anyKey) != FALSE;
        EXPECT_EQ(value.ulVal, isFirst ? 7U : 8U);
        seen[isFirst ? 0 : 1] = true;
    }
    EXPECT_TRUE(seen[0]);
    EXPECT_TRUE(seen[1]);
    GUID itemKey = {};
    EXPECT_EQ(store->GetItemByIndex(0, &itemKey, nullptr), S_OK);
    EXPECT_EQ(store->GetItemByIndex(2, &itemKey, nullptr), E_INVALIDARG);
}

TEST_F(Attributes, AreCopiedInPlaceOfOthers)
{
    ASSERT_EQ(store->SetUINT32(anyKey, 7), S_OK);
    CComPtr<IMFAttributes> copy;
    ASSERT_EQ(MFCreateAttributes(&copy, 0), S_OK);
    ASSERT_EQ(copy->SetUINT32(otherKey, 8), S_OK);
    EXPECT_EQ(store->CopyAllItems(copy), S_OK);
    UINT32 value = 0;
    EXPECT_EQ(copy->GetUINT32(anyKey, &value), S_OK);
    EXPECT_EQ(value, 7U);
    EXPECT_EQ(copy->GetUINT32(otherKey, &value), MF_E_ATTRIBUTENOTFOUND);
}

TEST_F(Attributes, ReadAsSizesAndRatios)
{
    UINT32 first = 0;
    UINT32 second = 0;
    EXPECT_EQ(MFSetAttributeSize(store, anyKey, 1920, 1080), S_OK);
    EXPECT_EQ(MFGetAttributeSize(store, anyKey, &first, &second), S_OK);
    EXPECT_EQ(first, 1920U);
    EXPECT_EQ(second, 1080U);
    EXPECT_EQ(MFSetAttributeRatio(store, otherKey, 30000, 1001), S_OK);
    EXPECT_EQ(MFGetAttributeRatio(store, otherKey, &first, &second), S_OK);
    EXPECT_EQ(first, 30000U);
    EXPECT_EQ(second, 1001U);
    EXPECT_EQ(MFGetAttributeUINT32(store, guidItem, 42), 42U);
    EXPECT_EQ(MFGetAttributeUINT64(store, guidItem, 43), 43U);
    EXPECT_EQ(MFGetAttributeDouble(store, guidItem, 0.25), 0.25);
}
