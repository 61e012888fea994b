// What the families of the rotary switches share.  Server thread.
#pragma once

#include "command/system/rova_rotary_tbl.h"
#include "common/rova_cmd_data.h"

// Waits until the driver has seen `count` clicks of `wanted`.  False as soon as it shows
// `opposite`, or cannot be read or cleared.  While the daemon is asked to stop nothing counts.
bool rova_rotary_wait_clicks(const rova_rotary_row &wanted, const rova_rotary_row &opposite,
                             int count);

// The families' subcommands: "wait direction count", "mask" and "unmask".
int rova_rotary_wait(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary);
int rova_rotary_mask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary);
int rova_rotary_unmask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary);
