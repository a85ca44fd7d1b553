#include "tests/platform/DataSupport.h"

#include <objbase.h>
#include <propidl.h>

#include <cstring>
#include <string>

namespace
{

PROPVARIANT emptyValue()
{
    PROPVARIANT value;
    PropVariantInit(&value);
    return value;
}

template <typename T>
T *taskCopy(const T *items, size_t count)
{
    auto *const copy = static_cast<T *>(CoTaskMemAlloc(count * sizeof(T)));
    std::copy_n(items, count, copy);
    return copy;
}

PROPVARIANT textValue(const WCHAR *text)
{
    PROPVARIANT value = emptyValue();
    value.vt = VT_LPWSTR;
    value.pwszVal = taskCopy(text, std::char_traits<WCHAR>::length(text) + 1);
    return value;
}

constexpr WCHAR someText[] = {'t', 'e', 'x', 't', 0};

} // namespace

TEST(PropVariant, IsEmptyFromTheStart)
{
    EXPECT_EQ(emptyValue().vt, VT_EMPTY);
}

TEST(PropVariant, IsEmptyAfterItIsCleared)
{
    PROPVARIANT value = textValue(someText);
    EXPECT_EQ(PropVariantClear(&value), S_OK);
    EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST(PropVariant, OfNobodyIsCleared)
{
    EXPECT_EQ(PropVariantClear(nullptr), S_OK);
}

TEST(PropVariant, CopiesNumbers)
{
    PROPVARIANT value = emptyValue();
    value.vt = VT_I8;
    value.hVal.QuadPart = -5000000000;
    PROPVARIANT copy = emptyValue();
    EXPECT_EQ(PropVariantCopy(&copy, &value), S_OK);
    EXPECT_EQ(copy.vt, VT_I8);
    EXPECT_EQ(copy.hVal.QuadPart, -5000000000);
}

TEST(PropVariant, CopiesEveryKindOfPlainValue)
{
    for (const VARTYPE type : {VT_EMPTY, VT_NULL, VT_I1, VT_UI1, VT_I2, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_R4,
                               VT_R8, VT_BOOL, VT_FILETIME}) {
        PROPVARIANT value = emptyValue();
        value.vt = type;
        PROPVARIANT copy = emptyValue();
        EXPECT_EQ(PropVariantCopy(&copy, &value), S_OK) << type;
        EXPECT_EQ(copy.vt, type);
        EXPECT_EQ(PropVariantClear(&copy), S_OK) << type;
        EXPECT_EQ(copy.vt, VT_EMPTY);
    }
}

TEST(PropVariant, CopiesTextToMemoryOfItsOwn)
{
    PROPVARIANT value = textValue(someText);
    PROPVARIANT copy = emptyValue();
    ASSERT_EQ(PropVariantCopy(&copy, &value), S_OK);
    EXPECT_NE(copy.pwszVal, value.pwszVal);
    PropVariantClear(&value);
    EXPECT_EQ(std::char_traits<WCHAR>::compare(copy.pwszVal, someText, 5), 0);
    PropVariantClear(&copy);
}

TEST(PropVariant, CopiesNarrowText)
{
    PROPVARIANT value = emptyValue();
    value.vt = VT_LPSTR;
    value.pszVal = taskCopy("narrow", 7);
    PROPVARIANT copy = emptyValue();
    ASSERT_EQ(PropVariantCopy(&copy, &value), S_OK);
    PropVariantClear(&value);
    EXPECT_STREQ(copy.pszVal, "narrow");
    PropVariantClear(&copy);
}

TEST(PropVariant, CopiesIdentifiers)
{
    GUID identifier = {};
    CoCreateGuid(&identifier);
    PROPVARIANT value = emptyValue();
    value.vt = VT_CLSID;
    value.puuid = taskCopy(&identifier, 1);
    PROPVARIANT copy = emptyValue();
    ASSERT_EQ(PropVariantCopy(&copy, &value), S_OK);
    EXPECT_NE(copy.puuid, value.puuid);
    EXPECT_TRUE(IsEqualGUID(*copy.puuid, identifier));
    PropVariantClear(&value);
    PropVariantClear(&copy);
}

TEST(PropVariant, CopiesBytes)
{
    const BYTE bytes[] = {1, 2, 3};
    PROPVARIANT value = emptyValue();
    value.vt = VT_VECTOR | VT_UI1;
    value.caub.cElems = 3;
    value.caub.pElems = taskCopy(bytes, 3);
    PROPVARIANT blob = emptyValue();
    blob.vt = VT_BLOB;
    blob.blob.cbSize = 3;
    blob.blob.pBlobData = taskCopy(bytes, 3);

    PROPVARIANT valueCopy = emptyValue();
    PROPVARIANT blobCopy = emptyValue();
    ASSERT_EQ(PropVariantCopy(&valueCopy, &value), S_OK);
    ASSERT_EQ(PropVariantCopy(&blobCopy, &blob), S_OK);
    EXPECT_EQ(valueCopy.caub.cElems, 3U);
    EXPECT_EQ(std::memcmp(valueCopy.caub.pElems, bytes, 3), 0);
    EXPECT_EQ(blobCopy.blob.cbSize, 3U);
    EXPECT_EQ(std::memcmp(blobCopy.blob.pBlobData, bytes, 3), 0);
    for (PROPVARIANT *const each : {&value, &blob, &valueCopy, &blobCopy})
        PropVariantClear(each);
}

TEST(PropVariant, HoldsAReferenceForEachCopyOfAnObject)
{
    bool isGone = false;
    CComPtr<IUnknown> object(new PlainObject([&] { isGone = true; }));
    PROPVARIANT value = emptyValue();
    value.vt = VT_UNKNOWN;
    value.punkVal = object.Detach();
    PROPVARIANT copy = emptyValue();
    ASSERT_EQ(PropVariantCopy(&copy, &value), S_OK);
    PropVariantClear(&value);
    EXPECT_FALSE(isGone);
    PropVariantClear(&copy);
    EXPECT_TRUE(isGone);
}

TEST(PropVariant, OfAnUnknownTypeIsNeitherClearedNorCopied)
{
    PROPVARIANT value = emptyValue();
    value.vt = 0x0FFE;
    PROPVARIANT copy = emptyValue();
    EXPECT_TRUE(FAILED(PropVariantCopy(&copy, &value)));
    EXPECT_EQ(PropVariantClear(&value), STG_E_INVALIDPARAMETER);
}
