// The level windows of the analogue channels: the levels at which a channel reads for a key or for
// a contact of a dial.
#pragma once

#include "command/system/rova_adc_channels.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

struct rova_adc_info_row {
    char name[52];
    int32_t min; // both belong to the window
    int32_t max;
};
static_assert(sizeof(rova_adc_info_row) == 60);

inline constexpr int ROVA_ADC_INFO_ROWS = 6;
using rova_adc_info_table = rova_adc_info_row[ROVA_ADC_INFO_ROWS];

// clang-format off
inline constexpr rova_adc_info_table rova_adc0_info = {
    {"M",       0,  10}, {"C1",     44,  64}, {"I",      92, 112},
    {"SMART", 142, 162}, {"N/A",   180, 180}, {"N/A",   180, 180},
};
inline constexpr rova_adc_info_table rova_adc1_info = {
    {"AUTO",    0,  10}, {"P",      44,  64}, {"A",      92, 112},
    {"S",     142, 162}, {"N/A",   180, 180}, {"N/A",   180, 180},
};
inline constexpr rova_adc_info_table rova_adc2_info = {
    {"UP",      0,  15}, {"RIGHT",  28,  58}, {"DOWN",   66,  96},
    {"LEFT",  101, 131}, {"OK",    135, 165}, {"N/A",     0,   0},
};
inline constexpr rova_adc_info_table rova_adc3_info = {
    {"MENU",    0,  13}, {"EV",     17,  43}, {"REC",    48,  74},
    {"FN",     78, 104}, {"DEL",   107, 133}, {"PLAY",  138, 164},
};
#define ROVA_ADC_INFO_FREE \
    {"N/A", 0, 0}, {"N/A", 0, 0}, {"N/A", 0, 0}, {"N/A", 0, 0}, {"N/A", 0, 0}, {"N/A", 0, 0}
inline constexpr rova_adc_info_table rova_adc4_info = {ROVA_ADC_INFO_FREE};
inline constexpr rova_adc_info_table rova_adc5_info = {ROVA_ADC_INFO_FREE};
inline constexpr rova_adc_info_table rova_adc6_info = {ROVA_ADC_INFO_FREE};
inline constexpr rova_adc_info_table rova_adc7_info = {ROVA_ADC_INFO_FREE};
inline constexpr rova_adc_info_table rova_adc8_info = {ROVA_ADC_INFO_FREE};
inline constexpr rova_adc_info_table rova_adc9_info = {ROVA_ADC_INFO_FREE};
#undef ROVA_ADC_INFO_FREE
// clang-format on

// By the channel's number, the six rows of each.
inline constexpr const rova_adc_info_row *rova_adc_info[ROVA_ADC_CHANNELS] = {
    rova_adc0_info, rova_adc1_info, rova_adc2_info, rova_adc3_info, rova_adc4_info,
    rova_adc5_info, rova_adc6_info, rova_adc7_info, rova_adc8_info, rova_adc9_info,
};

// Windows are named and rise; only one that nothing belongs to may repeat an earlier one.
constexpr bool rova_adc_info_is_sound(const rova_adc_info_row *rows)
{
    constexpr std::string_view nothing = "N/A";
    int32_t above = -1;
    for (const rova_adc_info_row *row = rows; row != rows + ROVA_ADC_INFO_ROWS; ++row) {
        if (row->name[0] == '\0' || row->min > row->max)
            return false;
        if (row->name == nothing)
            continue;
        if (row->min <= above)
            return false;
        above = row->max;
    }
    return true;
}
static_assert(std::all_of(std::begin(rova_adc_info), std::end(rova_adc_info),
                          rova_adc_info_is_sound));
