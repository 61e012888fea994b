// What the operator wants to see, hear and be blinked at around a command: set by the control
// family, read by the feedback.  All off at start.  Server thread.
#pragma once

#include <cstdint>

struct rova_cmd_control_flags {
    uint8_t osd;
    uint8_t sound;
    uint8_t led;
};

extern rova_cmd_control_flags rova_control_flags;
