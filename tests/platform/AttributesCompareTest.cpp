#include "tests/platform/DataSupport.h"

#include <initializer_list>
#include <utility>

namespace
{

const GUID keys[] = {{0x1, 0, 0, {0x77, 0, 0, 0, 0, 0, 0, 1}},
                     {0x2, 0, 0, {0x77, 0, 0, 0, 0, 0, 0, 1}},
                     {0x3, 0, 0, {0x77, 0, 0, 0, 0, 0, 0, 1}}};

struct Item {
    int key;
    UINT32 value;
};

CComPtr<IMFAttributes> storeOf(std::initializer_list<Item> items)
{
    CComPtr<IMFAttributes> store;
    EXPECT_EQ(MFCreateAttributes(&store, 0), S_OK);
    for (const Item &item : items)
        EXPECT_EQ(store->SetUINT32(keys[item.key], item.value), S_OK);
    return store;
}

bool matches(const CComPtr<IMFAttributes> &ours, const CComPtr<IMFAttributes> &theirs, MF_ATTRIBUTES_MATCH_TYPE kind)
{
    BOOL result = FALSE;
    EXPECT_EQ(ours->Compare(theirs, kind, &result), S_OK);
    return result != FALSE;
}

class AttributesComparison : public StartedPlatform
{
};

} // namespace

TEST_F(AttributesComparison, OfOurItemsAllowsTheOtherMore)
{
    EXPECT_TRUE(matches(storeOf({{0, 1}}), storeOf({{0, 1}, {1, 2}}), MF_ATTRIBUTES_MATCH_OUR_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}}), MF_ATTRIBUTES_MATCH_OUR_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}}), storeOf({{0, 2}}), MF_ATTRIBUTES_MATCH_OUR_ITEMS));
}

TEST_F(AttributesComparison, OfTheirItemsAllowsUsMore)
{
    EXPECT_TRUE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}}), MF_ATTRIBUTES_MATCH_THEIR_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}}), storeOf({{0, 1}, {1, 2}}), MF_ATTRIBUTES_MATCH_THEIR_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}}), storeOf({{0, 2}}), MF_ATTRIBUTES_MATCH_THEIR_ITEMS));
}

TEST_F(AttributesComparison, OfAllItemsAllowsNeitherMore)
{
    EXPECT_TRUE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{1, 2}, {0, 1}}), MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}}), MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}}), storeOf({{0, 1}, {1, 2}}), MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    EXPECT_FALSE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}, {1, 3}}), MF_ATTRIBUTES_MATCH_ALL_ITEMS));
}

TEST_F(AttributesComparison, OfTheIntersectionAllowsBothMore)
{
    const auto kind = MF_ATTRIBUTES_MATCH_INTERSECTION;
    EXPECT_TRUE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}, {2, 3}}), kind));
    EXPECT_TRUE(matches(storeOf({{0, 1}}), storeOf({{2, 3}}), kind));
    EXPECT_FALSE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}, {1, 3}}), kind));
}

TEST_F(AttributesComparison, OfTheSmallerAllowsTheLargerMore)
{
    const auto kind = MF_ATTRIBUTES_MATCH_SMALLER;
    EXPECT_TRUE(matches(storeOf({{0, 1}}), storeOf({{0, 1}, {1, 2}}), kind));
    EXPECT_TRUE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{0, 1}}), kind));
    EXPECT_FALSE(matches(storeOf({{0, 1}, {1, 2}}), storeOf({{2, 3}}), kind));
    EXPECT_FALSE(matches(storeOf({{0, 1}}), storeOf({{0, 2}, {1, 2}}), kind));
}

TEST_F(AttributesComparison, IsByValueForText)
{
    const WCHAR text[] = {'a', 'b', 0};
    const WCHAR sameText[] = {'a', 'b', 0};
    const WCHAR otherText[] = {'a', 'c', 0};
    const auto ours = storeOf({});
    const auto theirs = storeOf({});
    ours->SetString(keys[0], text);
    theirs->SetString(keys[0], sameText);
    EXPECT_TRUE(matches(ours, theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    theirs->SetString(keys[0], otherText);
    EXPECT_FALSE(matches(ours, theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
}

TEST_F(AttributesComparison, IsByValueForBytesNumbersAndIdentifiers)
{
    const UINT8 bytes[] = {1, 2, 3};
    const auto ours = storeOf({});
    const auto theirs = storeOf({});
    for (const auto &store : {ours, theirs}) {
        const Bytes copy(bytes, bytes + sizeof bytes);
        store->SetBlob(keys[0], copy.data(), 3);
        store->SetDouble(keys[1], 0.5);
        store->SetGUID(keys[2], keys[0]);
    }
    EXPECT_TRUE(matches(ours, theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    theirs->SetBlob(keys[0], bytes, 2);
    EXPECT_FALSE(matches(ours, theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    theirs->SetBlob(keys[0], bytes, 3);
    theirs->SetGUID(keys[2], keys[1]);
    EXPECT_FALSE(matches(ours, theirs, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
}

TEST_F(AttributesComparison, TellsTypesApart)
{
    const auto ours = storeOf({{0, 1}});
    const auto theirs = storeOf({});
    theirs->SetUINT64(keys[0], 1);
    EXPECT_FALSE(matches(ours, theirs, MF_ATTRIBUTES_MATCH_INTERSECTION));
}

TEST_F(AttributesComparison, TellsObjectsApart)
{
    const auto one = storeOf({});
    const auto another = storeOf({});
    ASSERT_EQ(one->SetUnknown(keys[0], makeToken()), S_OK);
    ASSERT_EQ(another->SetUnknown(keys[0], makeToken()), S_OK);
    EXPECT_FALSE(matches(one, another, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
    ASSERT_EQ(another->SetUnknown(keys[0], nullptr), S_OK);
    EXPECT_FALSE(matches(one, another, MF_ATTRIBUTES_MATCH_ALL_ITEMS));
}

TEST_F(AttributesComparison, OfAnItemFindsNothingAtANullPointer)
{
    const WCHAR empty[] = {0};
    const auto store = storeOf({});
    ASSERT_EQ(store->SetString(keys[0], empty), S_OK);
    ASSERT_EQ(store->SetGUID(keys[1], GUID_NULL), S_OK);
    for (const auto &[key, type] : {std::pair{keys[0], VT_LPWSTR}, std::pair{keys[1], VT_CLSID}}) {
        PROPVARIANT value;
        PropVariantInit(&value);
        value.vt = static_cast<VARTYPE>(type);
        BOOL same = TRUE;
        EXPECT_EQ(store->CompareItem(key, value, &same), S_OK);
        EXPECT_FALSE(same) << type;
    }
}

TEST_F(AttributesComparison, IsOfAKnownKind)
{
    BOOL result = FALSE;
    const auto store = storeOf({{0, 1}});
    EXPECT_EQ(store->Compare(store, static_cast<MF_ATTRIBUTES_MATCH_TYPE>(7), &result), E_INVALIDARG);
}
