// The keys of the body, as the key driver numbers them.
#pragma once

#include <cstdint>

struct rova_key_row {
    char name[16];
    uint32_t code; // the driver's key code; 0: none
    uint32_t mask; // its bit in the driver's masks
};

inline constexpr rova_key_row rova_key_tbl[] = {
    // clang-format off
    {"s1",          125, 0x800},
    {"s2",          126, 0x1000},
    {"preview",     193, 0x100000},
    {"rec",         171, 0x400},
    {"menu",        127, 0x80},
    {"metering",     93, 0x200000},
    {"wifi",        215, 0x4000},
    {"ael",         156, 0x400000},
    {"evf",         151, 0x4000000},
    {"fn",          172, 0x40},
    {"pb",          183, 0x200},
    {"del",          83, 0x100},
    {"up",           72, 0x1},
    {"down",         80, 0x2},
    {"left",         75, 0x8},
    {"right",        77, 0x4},
    {"ok",           96, 0x10},
    {"power",       116, 0x10000},
    {"custom",      173, 0x800000},
    {"af_mode",     184, 0x8000000},
    {"wb",          185, 0x10000000},
    {"iso",         186, 0x20000000},
    {"af_on",       188, 0x40000000},
    {"stlcd_light", 149, 0x80000000},
    {"all",           0, 0xffffffff},
    {"nobutton",      0, 0},
    // clang-format on
};
static_assert(sizeof(rova_key_tbl) / sizeof(rova_key_row) == 26);
