// Arr, Tbl and the pushstr/popstr string builder.
#include "hx_containers.h"
#include "hx_error.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <strings.h>
#include <vector>

namespace {

class Containers : public ::testing::Test {
protected:
    void SetUp() override { hx_clear_register(0); }
    void TearDown() override { hx_clear_register(0); }

    static std::string register_text()
    {
        char* text = hx_register_text();
        std::string result = text ? text : "";
        std::free(text);
        return result;
    }
};

// The keys of arr as strings, in the order keysarr gives them.
std::vector<std::string> keys_of(const Arr* arr)
{
    std::vector<std::string> keys;
    Tbl* list = keysarr(arr);
    for (int i = 0; i < maxtbl(list); i++)
        keys.push_back(static_cast<const char*>(gettbl(list, i)));
    freetbl(list, nullptr);
    return keys;
}

std::vector<int> ints_of(const Tbl* tbl)
{
    std::vector<int> values;
    for (int i = 0; i < maxtbl(tbl); i++)
        values.push_back(*static_cast<int*>(gettbl(tbl, i)));
    return values;
}

int reverse_order(const char* a, const char* b)
{
    return std::string(b).compare(a);
}

int count_frees = 0;
void counting_free(void* value)
{
    count_frees++;
    std::free(value);
}

char* copy(const char* s)
{
    return strdup(s);
}

} // namespace

TEST_F(Containers, ArrStoresAndFindsValues)
{
    Arr* arr = newarr(nullptr);
    ASSERT_NE(arr, nullptr);
    int one = 1, two = 2;
    EXPECT_EQ(setarr(arr, "one", &one), nullptr);
    EXPECT_EQ(setarr(arr, "two", &two), nullptr);
    EXPECT_EQ(getarr(arr, "one"), &one);
    EXPECT_EQ(getarr(arr, "two"), &two);
    EXPECT_EQ(getarr(arr, "three"), nullptr);
    EXPECT_EQ(cntarr(arr), 2);
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrCopiesTheKey)
{
    Arr* arr = newarr(nullptr);
    char key[] = "name";
    int value = 7;
    setarr(arr, key, &value);
    key[0] = 'g';
    EXPECT_EQ(getarr(arr, "name"), &value);
    EXPECT_EQ(getarr(arr, "game"), nullptr);
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrReplaceReturnsTheOldValue)
{
    Arr* arr = newarr(nullptr);
    int first = 1, second = 2;
    setarr(arr, "k", &first);
    EXPECT_EQ(setarr(arr, "k", &second), &first);
    EXPECT_EQ(getarr(arr, "k"), &second);
    EXPECT_EQ(cntarr(arr), 1);
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrKeysAreSorted)
{
    Arr* arr = newarr(nullptr);
    for (const char* key : {"delta", "alpha", "charlie", "Bravo", "alpha2"})
        setarr(arr, key, nullptr);
    EXPECT_EQ(keys_of(arr),
              (std::vector<std::string>{"Bravo", "alpha", "alpha2", "charlie", "delta"}));
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrUsesTheCustomComparator)
{
    Arr* arr = newarr(reverse_order);
    for (const char* key : {"b", "c", "a"})
        setarr(arr, key, nullptr);
    EXPECT_EQ(keys_of(arr), (std::vector<std::string>{"c", "b", "a"}));
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrComparatorDecidesWhichKeysAreEqual)
{
    Arr* arr = newarr(strcasecmp);
    int upper = 1, lower = 2;
    setarr(arr, "Name", &upper);
    EXPECT_EQ(setarr(arr, "NAME", &lower), &upper);
    EXPECT_EQ(getarr(arr, "name"), &lower);
    EXPECT_EQ(cntarr(arr), 1);
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrDeleteReturnsTheValue)
{
    Arr* arr = newarr(nullptr);
    int value = 3;
    setarr(arr, "a", &value);
    setarr(arr, "b", nullptr);
    EXPECT_EQ(delarr(arr, "a"), &value);
    EXPECT_EQ(getarr(arr, "a"), nullptr);
    EXPECT_EQ(cntarr(arr), 1);
    EXPECT_EQ(delarr(arr, "a"), nullptr);
    EXPECT_EQ(delarr(arr, "missing"), nullptr);
    EXPECT_EQ(keys_of(arr), std::vector<std::string>{"b"});
    freearr(arr, nullptr);
}

TEST_F(Containers, ArrKeysStayValidWhileTheirEntriesExist)
{
    Arr* arr = newarr(nullptr);
    setarr(arr, "m", nullptr);
    Tbl* keys = keysarr(arr);
    for (int i = 0; i < 100; i++)
        setarr(arr, std::to_string(i).c_str(), nullptr);
    ASSERT_EQ(maxtbl(keys), 1);
    EXPECT_STREQ(static_cast<const char*>(gettbl(keys, 0)), "m");
    freetbl(keys, nullptr);
    freearr(arr, nullptr);
}

TEST_F(Containers, FreearrCallsTheDestructorOnEveryValue)
{
    Arr* arr = newarr(nullptr);
    setarr(arr, "a", copy("x"));
    setarr(arr, "b", copy("y"));
    setarr(arr, "c", copy("z"));
    count_frees = 0;
    freearr(arr, counting_free);
    EXPECT_EQ(count_frees, 3);
}

TEST_F(Containers, ArrAcceptsNullArguments)
{
    int value = 1;
    EXPECT_EQ(getarr(nullptr, "a"), nullptr);
    EXPECT_EQ(setarr(nullptr, "a", &value), nullptr);
    EXPECT_EQ(delarr(nullptr, "a"), nullptr);
    EXPECT_EQ(cntarr(nullptr), 0);
    EXPECT_EQ(keysarr(nullptr), nullptr);
    freearr(nullptr, counting_free);

    Arr* arr = newarr(nullptr);
    EXPECT_EQ(setarr(arr, nullptr, &value), nullptr);
    EXPECT_EQ(getarr(arr, nullptr), nullptr);
    EXPECT_EQ(delarr(arr, nullptr), nullptr);
    EXPECT_EQ(cntarr(arr), 0);
    freearr(arr, nullptr);
}

TEST_F(Containers, EmptyArrHasNoKeys)
{
    Arr* arr = newarr(nullptr);
    Tbl* keys = keysarr(arr);
    ASSERT_NE(keys, nullptr);
    EXPECT_EQ(maxtbl(keys), 0);
    freetbl(keys, nullptr);
    freearr(arr, nullptr);
}

TEST_F(Containers, TblAppendsAndReplaces)
{
    Tbl* tbl = newtbl(2);
    ASSERT_NE(tbl, nullptr);
    int a = 1, b = 2, c = 3;
    EXPECT_EQ(settbl(tbl, -1, &a), 0);
    EXPECT_EQ(settbl(tbl, 1, &b), 1);
    EXPECT_EQ(settbl(tbl, maxtbl(tbl), &c), 2);
    EXPECT_EQ(ints_of(tbl), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(settbl(tbl, 0, &c), 0);
    EXPECT_EQ(ints_of(tbl), (std::vector<int>{3, 2, 3}));
    EXPECT_EQ(maxtbl(tbl), 3);
    freetbl(tbl, nullptr);
}

TEST_F(Containers, TblRefusesAnIndexBeyondTheEnd)
{
    Tbl* tbl = newtbl(0);
    int a = 1;
    EXPECT_EQ(settbl(tbl, 1, &a), -1);
    EXPECT_EQ(maxtbl(tbl), 0);
    EXPECT_NE(register_text().find("settbl: index '1'"), std::string::npos);
    settbl(tbl, -1, &a);
    EXPECT_EQ(settbl(tbl, 5, &a), -1);
    EXPECT_EQ(maxtbl(tbl), 1);
    freetbl(tbl, nullptr);
}

TEST_F(Containers, TblOutOfRangeReadsGiveNull)
{
    Tbl* tbl = newtbl(0);
    int a = 1;
    settbl(tbl, -1, &a);
    EXPECT_EQ(gettbl(tbl, 0), &a);
    EXPECT_EQ(gettbl(tbl, 1), nullptr);
    EXPECT_EQ(gettbl(tbl, -1), nullptr);
    freetbl(tbl, nullptr);
}

TEST_F(Containers, TblCapacityHintIsOnlyAHint)
{
    for (int size : {-5, 0, 1, 1 << 30}) {
        Tbl* tbl = newtbl(size);
        ASSERT_NE(tbl, nullptr) << size;
        EXPECT_EQ(maxtbl(tbl), 0);
        for (int i = 0; i < 1000; i++)
            ASSERT_EQ(settbl(tbl, -1, nullptr), i);
        freetbl(tbl, nullptr);
    }
}

namespace {

struct Item {
    int key;
    int order;
};

int by_key(void* a, void* b, void* private_data)
{
    ++*static_cast<int*>(private_data);
    return static_cast<Item*>(a)->key - static_cast<Item*>(b)->key;
}

} // namespace

TEST_F(Containers, SorttblIsStableAndPassesPrivateData)
{
    std::vector<Item> items;
    const int keys[] = {3, 1, 2, 1, 3, 2, 1, 0, 2, 3, 0, 1};
    for (int i = 0; i < 12; i++)
        items.push_back({keys[i], i});
    Tbl* tbl = newtbl(0);
    for (Item& item : items)
        settbl(tbl, -1, &item);
    int calls = 0;
    sorttbl(tbl, by_key, &calls);
    EXPECT_GT(calls, 0);
    ASSERT_EQ(maxtbl(tbl), 12);
    for (int i = 1; i < maxtbl(tbl); i++) {
        const Item* before = static_cast<Item*>(gettbl(tbl, i - 1));
        const Item* after = static_cast<Item*>(gettbl(tbl, i));
        ASSERT_LE(before->key, after->key);
        if (before->key == after->key)
            EXPECT_LT(before->order, after->order) << "at " << i;
    }
    freetbl(tbl, nullptr);
}

TEST_F(Containers, FreetblCallsTheDestructorOnEveryElement)
{
    Tbl* tbl = newtbl(0);
    for (const char* s : {"a", "b", "c", "d"})
        settbl(tbl, -1, copy(s));
    count_frees = 0;
    freetbl(tbl, counting_free);
    EXPECT_EQ(count_frees, 4);
}

TEST_F(Containers, TblAcceptsNullArguments)
{
    int calls = 0;
    EXPECT_EQ(gettbl(nullptr, 0), nullptr);
    EXPECT_EQ(settbl(nullptr, -1, nullptr), -1);
    EXPECT_EQ(maxtbl(nullptr), 0);
    sorttbl(nullptr, by_key, &calls);
    freetbl(nullptr, counting_free);
    Tbl* tbl = newtbl(0);
    settbl(tbl, -1, nullptr);
    sorttbl(tbl, nullptr, nullptr);
    EXPECT_EQ(maxtbl(tbl), 1);
    freetbl(tbl, nullptr);
}

TEST_F(Containers, PushstrBuildsAString)
{
    void* stack = nullptr;
    EXPECT_EQ(pushstr(&stack, "abc"), 0);
    EXPECT_NE(stack, nullptr);
    EXPECT_EQ(pushstr(&stack, ""), 0);
    EXPECT_EQ(pushstr(&stack, nullptr), 0);
    EXPECT_EQ(pushstr(&stack, " def"), 0);
    char* s = popstr(&stack);
    EXPECT_STREQ(s, "abc def");
    EXPECT_EQ(stack, nullptr);
    std::free(s);
}

TEST_F(Containers, PopstrStartsAfresh)
{
    void* stack = nullptr;
    pushstr(&stack, "first");
    std::free(popstr(&stack));
    pushstr(&stack, "second");
    char* s = popstr(&stack);
    EXPECT_STREQ(s, "second");
    std::free(s);
}

TEST_F(Containers, PopstrOfNothingIsEmpty)
{
    void* stack = nullptr;
    char* s = popstr(&stack);
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s, "");
    std::free(s);
    EXPECT_EQ(popstr(nullptr), nullptr);
    EXPECT_EQ(pushstr(nullptr, "x"), -1);
}

TEST_F(Containers, PushstrGrowsLong)
{
    void* stack = nullptr;
    std::string expected;
    for (int i = 0; i < 10000; i++) {
        const std::string piece = std::to_string(i) + ",";
        ASSERT_EQ(pushstr(&stack, piece.c_str()), 0);
        expected += piece;
    }
    char* s = popstr(&stack);
    EXPECT_EQ(std::string(s), expected);
    std::free(s);
}
