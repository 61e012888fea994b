// The dust test's log: its results, for the tester.
//
// What a check logs (its head, how it judged blocks and pictures, where it found something, a
// window that is no window) goes here.  What the run prints (its start and end, files that cannot
// be opened, that a check failed) and what had to be refused goes to the debug sink.  By the thread
// that runs the test.
#pragma once

#include <cstdint>
#include <cstdio>

extern int32_t gLogPrintOnOff; // the mode, as that of the debug sink (rova_pim_debug.h)
extern std::FILE *gLogFp;      // the sink's own
extern int32_t gLogFpState;    // 1 while gLogFp is open; the two modes of files print only then

// A Greek capital delta in EUC-KR, which is what the log is read in.
#define ROVA_PIM_DELTA "\xA5\xC4"

// As rova_pim_debug_open, rova_pim_debug and rova_pim_debug_close.
int rova_pim_log_open(const char *path);
void rova_pim_log(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
void rova_pim_log_close();
