// The dials of the body, as the key driver and the camera application know them.
#pragma once

#include <cstdint>
#include <span>

struct rova_dial_row {
    char name[16];
    uint32_t code;  // the driver's key code
    uint32_t value; // what the dial's file reads at this position
    uint32_t reserved;
};

struct rova_dial {
    const char *path; // the attribute file with the dial's position
    std::span<const rova_dial_row> rows;
};

inline constexpr rova_dial_row rova_mode_dial_tbl[] = {
    // clang-format off
    {"scene",     231, 0, 0},
    {"smartauto", 232, 1, 0},
    {"p",         233, 2, 0},
    {"a",         234, 3, 0},
    {"s",         235, 4, 0},
    {"m",         236, 5, 0},
    {"c1",        237, 6, 0},
    {"i",         229, 8, 0},
    // clang-format on
};

inline constexpr rova_dial_row rova_drive_dial_tbl[] = {
    // clang-format off
    {"single",       217, 0, 0},
    {"continuous_n", 218, 1, 0},
    {"continuous_h", 219, 2, 0},
    {"timer",        220, 3, 0},
    {"bracket",      221, 4, 0},
    // clang-format on
};

inline constexpr rova_dial rova_mode_dial = {"/sys/devices/platform/m7-keys/dial_mode",
                                             rova_mode_dial_tbl};
inline constexpr rova_dial rova_drive_dial = {"/sys/devices/platform/m7-keys/dial_drive",
                                              rova_drive_dial_tbl};

// 0 while the camera application changes its mode; it writes 1 when it has.
inline constexpr char ROVA_KEY_MODE_CHANGED[] = "memory/rova/mode_changed_done";
