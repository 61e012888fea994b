// Where the inspection code prints.  The standard output is for any thread; the debug sink for the
// command thread while no callback is registered, then for the capture service's thread.
#pragma once

#include "common/rova_log.h"

#include <cstdint>
#include <cstdio>

// Prints to the standard output.
void rova_pim_print(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// The debug sink's modes; all other values print nothing.
inline constexpr int32_t PIM_DEBUG_BUFFERED = 1; // to the file when the buffer is full
inline constexpr int32_t PIM_DEBUG_DIRECT = 2;
inline constexpr int32_t PIM_DEBUG_STDOUT = 4;

extern int32_t gDbgPrintOnOff; // the mode
extern std::FILE *gDbgFp;      // the sink's own
extern int32_t gDbgFpState;    // 1 while gDbgFp is open; the two modes of files print only then
extern int32_t gDbgCnt;        // bytes held in pDbgData
extern char pDbgData[8192];

// The line above and below a headline.
inline constexpr char PIM_RULE[] =
    " ================================================================================\n";

// Opens the debug file for appending, with an empty buffer.  0, or -1 with the reason in errno; the
// caller reports it.
int rova_pim_debug_open(const char *path);
// Prints as the mode says.
void rova_pim_debug(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
// Writes out what is held and closes the file, if it is open.
void rova_pim_debug_close();

// A failure that the people of the line must see: to the debug sink, and as one line to the log.
#define rova_pim_report(...) rova_pim_report_at(ROVA_LOG_SITE_, __VA_ARGS__)
void rova_pim_report_at(const rova_log_site &site, const char *fmt, ...)
    __attribute__((format(printf, 2, 3)));
