// A writer adding 100 events a second while the view polls every 100 ms:
// every event seen exactly once, none missed. The suite runs it for a few
// seconds; KGRQT_SOAK_SECONDS=600 runs the long version:
//   KGRQT_SOAK_SECONDS=600 build/bin/hxutil_tests --gtest_filter='*EventViewSoak*'
#include "eventdb.h"
#include "hx_eventview.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>

namespace {

long residentKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

class EventViewSoak : public ::testing::TestWithParam<const char*> {};

TEST_P(EventViewSoak, WriterAndPollingReaderAgree)
{
    hx_clear_register(0);
    QTemporaryDir dir;
    const std::string name = testDatabaseName(GetParam(), dir, "soak.db");
    if (name.empty())
        GTEST_SKIP() << "KGRQT_PG_URI is not set";
    const char* env = getenv("KGRQT_SOAK_SECONDS");
    const double seconds = env ? atof(env) : 3.0;
    {
        TestDb init(name);
        ASSERT_TRUE(init.ok()) << takeRegister();
    }

    std::atomic<bool> stop{false};
    std::atomic<long> written{0};
    std::thread writer([&] {
        TestDb db(name, true); // connections belong to the thread that made them
        auto start = std::chrono::steady_clock::now();
        long n = 0;
        while (!stop) {
            db.w().begin();
            for (int i = 0; i < 10; i++, n++)
                db.addEvent(("soak" + std::to_string(n)).c_str(), n, n % 90, n % 180);
            if (db.w().commit() == 0)
                written = n;
            auto next = start + std::chrono::milliseconds(100 * (n / 10));
            std::this_thread::sleep_until(next);
        }
    });
    // Stops the writer however the test ends.
    struct Join {
        std::atomic<bool>& stop;
        std::thread& t;
        ~Join()
        {
            stop = true;
            if (t.joinable())
                t.join();
        }
    } join{stop, writer};

    HXEventView view;
    ASSERT_EQ(view.configure("dbname", name.c_str(), (char*)0), 0) << takeRegister();
    Arr* changes = nullptr;
    Tbl* events = nullptr;
    long seen = 0, refreshes = 0, rss_early = -1;
    auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        int n = view.checkChanges(&changes);
        ASSERT_GE(n, 0) << takeRegister();
        if (n == 0)
            continue;
        ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
        refreshes++;
        // In evid order, with no repeats, and never fewer than before.
        for (int i = 1; i < maxtbl(events); i++)
            ASSERT_LT(((HXEVEvent*)gettbl(events, i - 1))->evid,
                      ((HXEVEvent*)gettbl(events, i))->evid);
        ASSERT_GE(maxtbl(events), seen);
        seen = maxtbl(events);
        if (rss_early < 0 && seen > 200)
            rss_early = residentKilobytes();
    }
    stop = true;
    writer.join();
    // The last commits: one more poll must bring everything.
    for (int i = 0; i < 100 && view.checkChanges(&changes) == 0; i++)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_EQ(view.refreshEvents(&events), 0) << takeRegister();
    EXPECT_EQ(maxtbl(events), written.load());
    EXPECT_GT(refreshes, seconds * 5);
    for (int i = 0; i < maxtbl(events); i++) {
        auto* e = (HXEVEvent*)gettbl(events, i);
        ASSERT_NE(e->preferred, nullptr);
        EXPECT_EQ(std::string(e->evname), "soak" + std::to_string((long)e->preferred->time));
    }
    // Memory follows the events held (well under 2 kB each), not the polls.
    // (AddressSanitizer keeps freed memory in quarantine and checks leaks
    // itself, so there the resident size says nothing.)
#if !defined(__SANITIZE_ADDRESS__)
    long growth = residentKilobytes() - rss_early;
    EXPECT_LT(growth, 8192 + 2 * written.load()) << growth << " kB";
#endif
    freearr(changes, free);
}

INSTANTIATE_TEST_SUITE_P(Backends, EventViewSoak, ::testing::Values("sqlite", "postgresql"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace
