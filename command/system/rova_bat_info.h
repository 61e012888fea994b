// The battery's levels, as its driver describes them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

struct rova_bat_info_row {
    int32_t level;
    int32_t voltage; // millivolts
    char name[8];    // cut to 7 characters
};
static_assert(sizeof(rova_bat_info_row) == 16);

struct rova_bat_info_table {
    std::array<rova_bat_info_row, 6> rows;
    std::size_t count; // how many of them are filled
};

// Reads the driver's file: a level, a voltage and a name a line.  A line that lacks some of them is
// told in the platform log and leaves them 0 or empty; lines behind the sixth, and text behind 95
// bytes, do not count.  A file that cannot be read is told, and gives no rows.
rova_bat_info_table rova_bat_info_read();

// Copies the row of the level to `*out`, the last if there are several.  1, or 0 with `*out` left
// alone when there is none.  The file is read at the first call, once in the daemon's life.  Server
// thread.
int rova_bat_info_get(int32_t level, rova_bat_info_row *out);
