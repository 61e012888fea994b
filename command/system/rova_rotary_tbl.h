// The rotary switches of the body, as the key driver numbers them.
#pragma once

#include <cstdint>

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

inline constexpr rova_rotary rova_jog1 = {
    .rows = {{"right", 177, 0x2000}, {"left", 178, 0x2000}},
    .log_codes = true,
};

inline constexpr rova_rotary rova_jog2 = {
    .rows = {{"right", 163, 0x1000000}, {"left", 165, 0x1000000}},
    .log_codes = false,
};

inline constexpr rova_rotary rova_wheel = {
    .rows = {{"left", 105, 0x80000}, {"right", 106, 0x80000}},
    .log_codes = false,
};
