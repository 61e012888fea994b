#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_dial.h"
#include "command/system/rova_key_driver.h"

namespace
{

constexpr rova_dial_row positions[] = {
    // clang-format off
    {"single",       217, 0, 0},
    {"continuous_n", 218, 1, 0},
    {"continuous_h", 219, 2, 0},
    {"timer",        220, 3, 0},
    {"bracket",      221, 4, 0},
    // clang-format on
};

constexpr rova_dial drive_dial = {ROVA_DIAL_DRIVE_PATH, positions};

int rova_cmd_drive_dial_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_dial_wait(cmd_type, record, drive_dial);
}

int rova_cmd_drive_dial_set(uint32_t cmd_type, cmd_data *record)
{
    return rova_dial_set(cmd_type, record, drive_dial);
}

constexpr rova_cmd_entry drive_dial_table[] = {
    {"wait", rova_cmd_drive_dial_wait},
    {"set", rova_cmd_drive_dial_set},
};
static_assert(rova_cmd_table_is_sound(drive_dial_table));

} // namespace

int rova_cmd_drive_dial(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(drive_dial_table, "drive_dial", cmd_type, record);
}
