// What the families of plugs and of sensors with two states share: the words "in" and "out".
// Server thread.
#pragma once

#include "common/rova_cmd_data.h"

// The property of device class 2 that tells the state, and what it reads in both.  Drivers differ.
struct rova_in_out {
    int property;
    int in;
    int out;
};

// "wait in|out": until the state is the word's, without limit.  OK also when the daemon is asked to
// stop; NG for another word and for a property that cannot be read.
int rova_in_out_wait(uint32_t cmd_type, const cmd_data *record, const rova_in_out &device);
// "check in|out": whether it is the word's now.
int rova_in_out_check(uint32_t cmd_type, const cmd_data *record, const rova_in_out &device);
