// Command lines.
#pragma once

#include "common/rova_cmd_data.h"

// Turns a line into a record.  `line` is cut in place; `size` is only tested for being non-zero.
// Returns 0, or -3 when an argument is null or zero.  A line without a token gives the command word
// "comment" and leaves the rest of `record` alone.  Any thread.
int rova_parse_cmd_data(char *line, uint32_t size, cmd_data *record);
