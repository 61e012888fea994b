// The commands that the library carries out itself on the application thread.
#pragma once

#include "lib/rova_cmd_response.h"

#include <span>

// The handler writes the answer; its result is not looked at.
struct rova_app_cmd {
    const char *cmd; // in any case
    int (*handler)(const cmd_data *record, rova_cmd_response *answer);
};

std::span<const rova_app_cmd> rova_app_cmds();

// Runs the handler of the first row with the record's word.  False when there is none: the answer
// is left alone.
bool rova_app_cmd_exec(std::span<const rova_app_cmd> table, const cmd_data *record,
                       rova_cmd_response *answer);
