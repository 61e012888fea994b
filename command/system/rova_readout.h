// A thread that shows live values on the screen, from its family's "on" command to its "off".
//
// It may be cancelled at any instant, which takes effect in rova_readout_sleep and nowhere else: in
// between it may hold locks, descriptors and heap blocks.
#pragma once

#include "common/rova_cmd_data.h"

#include <pthread.h>
#include <unistd.h>

// Server thread.  Starts a joinable thread into `*thread`.  0, or -1 with `*thread` left alone. The
// thread that was there goes on until it ends by itself, and nobody has to join it any more.
int rova_readout_create(pthread_t *thread, const char *name, void *(*start)(void *));
// Server thread.  Cancels the thread, waits for its end and sets `*thread` to 0 in any case.  0, or
// -1 when there is none to cancel.  A thread that has ended by itself is a good one.
int rova_readout_cancel(pthread_t *thread);

// A family's thread with its words, kept for the life of the daemon.
struct rova_readout {
    const char *name; // the thread's
    void *(*start)(void *);
    // The functions that the platform log names where the thread cannot be made or cancelled.
    const char *create_function;
    const char *cancel_function;
    pthread_t thread = 0;
};
// Server thread.  "osd on" starts the thread, "osd off" cancels it and clears the screen's text;
// answers, and returns 1.
int rova_readout_osd(rova_readout *readout, uint32_t cmd_type, const cmd_data *record);

// The read-out thread: first of all, takes its name and becomes cancellable.
void rova_readout_begin(const char *name);
// The read-out thread: waits so many microseconds of camera time, or ends here.  Nothing may be
// held.
void rova_readout_sleep(useconds_t microseconds);
