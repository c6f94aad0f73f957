#include "hx_error.h"
#include "hx_names.h"
#include "register.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

TEST(ErrorRegister, KeepsMessagesInOrderWithLevels)
{
    hx_clear_register(0);
    EXPECT_EQ(hx_register_error(HX_ERROR_INPUT, "first: bad value '%s'\n", "x"), 1);
    EXPECT_EQ(hx_register_error(HX_ERROR_ALLOC, "second: malloc() error.\n"), 2);
    EXPECT_EQ(hx_register_count(), 2);
    EXPECT_EQ(hx_register_level(0), HX_ERROR_INPUT);
    EXPECT_EQ(hx_register_level(1), HX_ERROR_ALLOC);
    EXPECT_EQ(hx_register_level(2), -1);
    char* m = hx_register_message(1);
    EXPECT_STREQ(m, "second: malloc() error.\n");
    free(m);
    EXPECT_EQ(hx_register_message(-1), nullptr);
    EXPECT_EQ(takeRegister(), "first: bad value 'x'\nsecond: malloc() error.\n");
    EXPECT_EQ(hx_register_count(), 0);
}

TEST(ErrorRegister, ClearWithPrintWritesMessagesToComplaintStream)
{
    hx_clear_register(0);
    FILE* f = tmpfile();
    ASSERT_NE(f, nullptr);
    hx_set_complaint_stream(f);
    hx_register_error(0, "one\n");
    hx_register_error(0, "two\n");
    hx_clear_register(1);
    hx_set_complaint_stream(nullptr);
    rewind(f);
    char buf[64] = {0};
    size_t n = fread(buf, 1, sizeof buf - 1, f);
    fclose(f);
    EXPECT_EQ(std::string(buf, n), "one\ntwo\n");
    EXPECT_EQ(hx_register_count(), 0);
}

TEST(ErrorRegister, ComplaintIsPrintedAtOnceAndKept)
{
    hx_clear_register(0);
    FILE* f = tmpfile();
    ASSERT_NE(f, nullptr);
    hx_set_complaint_stream(f);
    hx_complain(0, "KGR_process_event: callback error.\n");
    hx_set_complaint_stream(nullptr);
    rewind(f);
    char buf[64] = {0};
    size_t n = fread(buf, 1, sizeof buf - 1, f);
    fclose(f);
    EXPECT_EQ(std::string(buf, n), "KGR_process_event: callback error.\n");
    EXPECT_EQ(takeRegister(), "KGR_process_event: callback error.\n");
}

TEST(ErrorRegister, LongMessagesAreNotTruncated)
{
    hx_clear_register(0);
    std::string big(10000, 'v');
    hx_register_error(0, "f: '%s'\n", big.c_str());
    EXPECT_EQ(takeRegister(), "f: '" + big + "'\n");
}

TEST(ErrorRegister, SafeFromManyThreads)
{
    hx_clear_register(0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 500; ++i)
                hx_register_error(0, "worker %d: message %d\n", t, i);
        });
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(hx_register_count(), 8 * 500);
    hx_clear_register(0);
}

TEST(NameRegistry, FindsObjectsByNameAndClass)
{
    int a = 0, b = 0;
    EXPECT_EQ(HX_SetName("picker", "KGRPicker", &a), 0);
    EXPECT_EQ(HX_SetName("map", "KGRMap", &b), 0);
    EXPECT_EQ(HX_GetObject("picker", nullptr), &a);
    EXPECT_EQ(HX_GetObject("picker", "KGRPicker"), &a);
    EXPECT_EQ(HX_GetObject("picker", "KGRMap"), nullptr);
    EXPECT_EQ(HX_GetObject("nobody", nullptr), nullptr);
    EXPECT_STREQ(HX_GetName(&b, nullptr), "map");
    EXPECT_EQ(HX_GetName(&b, "KGRPicker"), nullptr);
    // A later registration of a name replaces the earlier one.
    EXPECT_EQ(HX_SetName("picker", "KGRPicker", &b), 0);
    EXPECT_EQ(HX_GetObject("picker", nullptr), &b);
    EXPECT_EQ(HX_GetName(&a, nullptr), nullptr);
    EXPECT_EQ(HX_UnsetObject(&b), 2);
    EXPECT_EQ(HX_GetObject("map", nullptr), nullptr);
}

TEST(NameRegistry, RefusesNullsAndKeepsNamesStable)
{
    int a = 0;
    EXPECT_EQ(HX_SetName(nullptr, "X", &a), -1);
    EXPECT_EQ(HX_SetName("x", "X", nullptr), -1);
    EXPECT_EQ(HX_GetObject(nullptr, nullptr), nullptr);
    EXPECT_EQ(HX_GetName(nullptr, nullptr), nullptr);
    ASSERT_EQ(HX_SetName("stable", nullptr, &a), 0);
    const char* name = HX_GetName(&a, nullptr);
    // Many more registrations must not move the string handed out.
    std::vector<int> others(1000);
    for (size_t i = 0; i < others.size(); ++i)
        HX_SetName(("other" + std::to_string(i)).c_str(), "Y", &others[i]);
    EXPECT_STREQ(name, "stable");
    for (int& o : others)
        HX_UnsetObject(&o);
    HX_UnsetObject(&a);
}
