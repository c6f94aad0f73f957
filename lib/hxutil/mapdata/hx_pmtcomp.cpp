// The worker pool: one long-lived thread per worker, woken by a generation
// counter so that a request costs two condition-variable rounds, not thread
// creation.
#include "hx_pmtcomp.h"

#include "hx_error.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace {

struct Worker {
    PmtcompProc* proc;
    long arg1, arg2;
    void* clientdata;
    std::thread thread;
};

} // namespace

struct Pmtcomp {
    std::string name;
    std::mutex request_lock; // one request at a time
    std::mutex lock;         // guards everything below
    std::condition_variable start;
    std::condition_variable done;
    unsigned long generation = 0;
    int running = 0;
    bool stopping = false;
    std::vector<std::unique_ptr<Worker>> workers;
};

namespace {

// seen is the generation current when the worker was added: requests
// after it are the ones to run.
void workerLoop(Pmtcomp* pool, Worker* w, unsigned long seen)
{
    for (;;) {
        {
            std::unique_lock<std::mutex> guard(pool->lock);
            pool->start.wait(guard, [&] { return pool->stopping || pool->generation != seen; });
            if (pool->stopping)
                return;
            seen = pool->generation;
        }
        w->proc(w->arg1, w->arg2, w->clientdata);
        std::lock_guard<std::mutex> guard(pool->lock);
        if (--pool->running == 0)
            pool->done.notify_all();
    }
}

} // namespace

Pmtcomp* pmtcomp_create(const char* name)
{
    Pmtcomp* pool = new (std::nothrow) Pmtcomp;
    if (!pool) {
        hx_register_error(1, "pmtcomp_create: new Pmtcomp error.\n");
        return nullptr;
    }
    pool->name = name ? name : "pmtcomp";
    return pool;
}

int pmtcomp_addthread(Pmtcomp* pool, PmtcompProc* proc, long arg1, long arg2, void* clientdata)
{
    if (!pool || !proc) {
        hx_register_error(0, "pmtcomp_addthread: no pool or no procedure.\n");
        return -1;
    }
    // The pool lock keeps a running request from seeing a half-added worker.
    std::lock_guard<std::mutex> request(pool->request_lock);
    auto w = std::make_unique<Worker>();
    w->proc = proc;
    w->arg1 = arg1;
    w->arg2 = arg2;
    w->clientdata = clientdata;
    unsigned long generation;
    {
        std::lock_guard<std::mutex> guard(pool->lock);
        generation = pool->generation;
    }
    try {
        w->thread = std::thread(workerLoop, pool, w.get(), generation);
    } catch (const std::system_error& e) {
        hx_register_error(1, "pmtcomp_addthread: %s: cannot start a thread: %s.\n",
                          pool->name.c_str(), e.what());
        return -1;
    }
    std::lock_guard<std::mutex> guard(pool->lock);
    pool->workers.push_back(std::move(w));
    return 0;
}

int pmtcomp_processthreads(Pmtcomp* pool)
{
    if (!pool)
        return -1;
    std::lock_guard<std::mutex> request(pool->request_lock);
    std::unique_lock<std::mutex> guard(pool->lock);
    int n = int(pool->workers.size());
    if (n == 0)
        return 0;
    pool->running = n;
    ++pool->generation;
    pool->start.notify_all();
    pool->done.wait(guard, [&] { return pool->running == 0; });
    return n;
}

int pmtcomp_nthreads(const Pmtcomp* pool)
{
    return pool ? int(pool->workers.size()) : 0;
}

void pmtcomp_free(Pmtcomp* pool)
{
    if (!pool)
        return;
    {
        std::lock_guard<std::mutex> request(pool->request_lock);
        std::lock_guard<std::mutex> guard(pool->lock);
        pool->stopping = true;
        pool->start.notify_all();
    }
    for (auto& w : pool->workers)
        w->thread.join();
    delete pool;
}
