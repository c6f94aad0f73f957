// A pool of worker threads that run a fixed set of procedures once per
// request: register the workers with pmtcomp_addthread, then each
// pmtcomp_processthreads runs every one of them once, in parallel, and
// returns when all have finished.
#ifndef HX_PMTCOMP_H
#define HX_PMTCOMP_H

struct Pmtcomp;

// A worker: its two numbers and its client data as registered.
typedef void PmtcompProc(long arg1, long arg2, void* clientdata);

// A new pool without workers; name is used in messages (may be null).
// Null, with a registered error, when memory or threads run out.
Pmtcomp* pmtcomp_create(const char* name);
// Adds a worker with its own thread. 0, or -1 with a registered error.
int pmtcomp_addthread(Pmtcomp* pool, PmtcompProc* proc, long arg1, long arg2, void* clientdata);
// Runs every worker once and waits for all of them. Calls from several
// threads are taken one at a time. Returns the number of workers run, or -1
// for a null pool.
int pmtcomp_processthreads(Pmtcomp* pool);
// Number of workers.
int pmtcomp_nthreads(const Pmtcomp* pool);
// Stops and joins the threads and frees the pool (null is ignored).
void pmtcomp_free(Pmtcomp* pool);

#endif
