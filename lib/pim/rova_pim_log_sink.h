// The dust test's log: its results, for the tester.
//
// What the checks find and how each block and picture was judged goes here; what tells of the run
// itself (starts and ends, files, failures, positions for the screen) goes to the debug sink.  By
// the thread that runs the test.
#pragma once

#include <cstdint>
#include <cstdio>

extern int32_t gLogPrintOnOff; // the mode, as that of the debug sink (rova_pim_debug.h)
extern std::FILE *gLogFp;      // the sink's own
extern int32_t gLogFpState;    // 1 while gLogFp is open; the two modes of files print only then

// As rova_pim_debug_open, rova_pim_debug and rova_pim_debug_close.
int rova_pim_log_open(const char *path);
void rova_pim_log(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void rova_pim_log_close();
