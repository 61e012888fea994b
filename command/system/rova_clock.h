// The camera's clock, and its comparison with a time from outside.  Server thread.
#pragma once

#include "common/rova_cmd_data.h"

// A wall-clock time as people write it; fields out of their range run over into the next.
struct rova_clock_time {
    int year;
    int month; // from 1
    int day;
    int hour;
    int minute;
    int second;
};

// Sets the clock.  False, with a line in the log, when it has no room for the time or refuses it.
bool rova_clock_set(const rova_clock_time &time);

// Where a comparison goes.
struct rova_clock_report {
    const char *file;
    const char *header;
};

// Answers whether the clock is at most `offset` seconds away from the time, with a file that has
// gained a row.  A file that cannot be written costs only the row; returns 1.
int rova_clock_check(uint32_t cmd_type, const rova_clock_time &time, int64_t offset,
                     const rova_clock_report &report);
