// What the families of the dials share.  Server thread.
#pragma once

#include "common/rova_cmd_data.h"
#include "lib/rova_dial_tbl.h"

// A position that no dial reports: nothing to wait for.
inline constexpr uint32_t ROVA_DIAL_NO_VALUE = 0xffffffff;

// The families' subcommands that both have: "wait position" and "set position".
int rova_dial_wait(uint32_t cmd_type, const cmd_data *record, const rova_dial &dial);
int rova_dial_set(uint32_t cmd_type, const cmd_data *record, const rova_dial &dial);
