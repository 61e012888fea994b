// What the families of the rotary switches share.  Server thread.
#pragma once

#include "common/rova_cmd_data.h"

struct rova_rotary_row {
    char name[16];
    uint32_t code; // the driver's key code for one click
    uint32_t mask; // the switch's bit in the driver's mask
};

// A switch has two directions.
struct rova_rotary {
    rova_rotary_row rows[2];
    bool log_codes; // say which codes a wait looks for
};

// Waits until the driver has seen `count` clicks of `wanted`.  False as soon as it shows
// `opposite`, or cannot be read or cleared.  While the daemon is asked to stop nothing counts.
bool rova_rotary_wait_clicks(const rova_rotary_row &wanted, const rova_rotary_row &opposite,
                             int count);

// The families' subcommands: "wait direction count", "mask" and "unmask".
int rova_rotary_wait(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary);
int rova_rotary_mask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary);
int rova_rotary_unmask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary);
