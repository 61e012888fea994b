// The sink of the result tables.  Used by the thread that runs a test; who reads pRstData waits for
// the test's end.
#pragma once

#include <cstdint>
#include <cstdio>

// The sink's modes; all other values print nothing.
inline constexpr int32_t PIM_RESULT_BUFFERED = 0; // to the file when the buffer is full, at the end
inline constexpr int32_t PIM_RESULT_DIRECT = 1;
inline constexpr int32_t PIM_RESULT_KEPT = 2; // in pRstData, without a file

extern int32_t gRstPrintOpt; // the mode
extern std::FILE *gRstFp;    // the sink's own
extern int32_t gRstFpState;  // 1 while gRstFp is open; the two modes of files print only then
extern int32_t gRstCnt;      // bytes held in pRstData
extern char pRstData[4096];  // text, with a NUL behind it

// Opens the result file for appending; what pRstData holds stays.  0, or -1 with the reason in
// errno; the caller reports it.
int rova_pim_result_open(const char *path);
// Bytes that the open file has; -1 without one.
int32_t rova_pim_result_size();
// Forgets what pRstData holds.
void rova_pim_result_clear();
// What is held stays in pRstData until the next piece, which begins the text anew.
void rova_pim_result_restart();
// Prints a piece as the mode says.  One that a kept text has no room for is reported and dropped.
void rova_pim_result_print(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
// Prints the empty columns in front of a row as one piece, which a full buffer refuses once and not
// for each of them; none for a negative number, and a report for more than pRstData holds.
void rova_pim_result_print_empty_columns(int32_t columns);
// Writes what is held in the mode of buffers to the file; a kept text stays.
void rova_pim_result_flush();
// The same, and closes the file, if it is open.
void rova_pim_result_close();
