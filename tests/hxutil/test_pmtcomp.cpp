#include "hx_pmtcomp.h"
#include "register.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

struct Slots {
    std::vector<std::atomic<int>> runs;
    std::vector<long> seen_arg2;
    std::atomic<int> finished{0};
    explicit Slots(size_t n) : runs(n), seen_arg2(n, -1) {}
};

void record(long worker, long arg2, void* client)
{
    auto* s = static_cast<Slots*>(client);
    // A slow worker: processthreads must still wait for it.
    if (worker == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    s->seen_arg2[size_t(worker)] = arg2;
    s->runs[size_t(worker)]++;
    s->finished++;
}

} // namespace

TEST(Pmtcomp, RunsEveryWorkerOncePerRequestAndWaits)
{
    Pmtcomp* pool = pmtcomp_create("test");
    ASSERT_NE(pool, nullptr);
    Slots s(16);
    for (long k = 0; k < 16; ++k)
        ASSERT_EQ(pmtcomp_addthread(pool, record, k, 100 + k, &s), 0);
    EXPECT_EQ(pmtcomp_nthreads(pool), 16);
    for (int request = 1; request <= 5; ++request) {
        EXPECT_EQ(pmtcomp_processthreads(pool), 16);
        // All finished before the call returned, the slow one included.
        EXPECT_EQ(s.finished.load(), 16 * request);
        for (size_t k = 0; k < 16; ++k) {
            EXPECT_EQ(s.runs[k].load(), request) << k;
            EXPECT_EQ(s.seen_arg2[k], long(100 + k));
        }
    }
    pmtcomp_free(pool);
}

TEST(Pmtcomp, EmptyAndNullPools)
{
    Pmtcomp* pool = pmtcomp_create(nullptr);
    EXPECT_EQ(pmtcomp_processthreads(pool), 0);
    EXPECT_EQ(pmtcomp_processthreads(nullptr), -1);
    takeRegister();
    EXPECT_EQ(pmtcomp_addthread(nullptr, record, 0, 0, nullptr), -1);
    EXPECT_EQ(pmtcomp_addthread(pool, nullptr, 0, 0, nullptr), -1);
    EXPECT_NE(takeRegister().find("pmtcomp_addthread: no pool or no procedure."),
              std::string::npos);
    pmtcomp_free(pool);
    pmtcomp_free(nullptr);
}

TEST(Pmtcomp, RequestsFromTwoThreadsAreTakenInTurn)
{
    Pmtcomp* pool = pmtcomp_create("turns");
    Slots s(4);
    for (long k = 0; k < 4; ++k)
        ASSERT_EQ(pmtcomp_addthread(pool, record, k, 0, &s), 0);
    std::thread a([&] {
        for (int i = 0; i < 10; ++i)
            pmtcomp_processthreads(pool);
    });
    std::thread b([&] {
        for (int i = 0; i < 10; ++i)
            pmtcomp_processthreads(pool);
    });
    a.join();
    b.join();
    for (size_t k = 0; k < 4; ++k)
        EXPECT_EQ(s.runs[k].load(), 20);
    pmtcomp_free(pool);
}

TEST(Pmtcomp, WorkersAddedBetweenRequestsJoinTheNext)
{
    Pmtcomp* pool = pmtcomp_create("grow");
    Slots s(3);
    ASSERT_EQ(pmtcomp_addthread(pool, record, 1, 0, &s), 0);
    EXPECT_EQ(pmtcomp_processthreads(pool), 1);
    ASSERT_EQ(pmtcomp_addthread(pool, record, 2, 0, &s), 0);
    EXPECT_EQ(pmtcomp_processthreads(pool), 2);
    EXPECT_EQ(s.runs[1].load(), 2);
    EXPECT_EQ(s.runs[2].load(), 1);
    pmtcomp_free(pool);
}
