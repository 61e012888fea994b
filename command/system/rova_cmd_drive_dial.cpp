#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_dial.h"

namespace
{

int rova_cmd_drive_dial_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_dial_wait(cmd_type, record, rova_drive_dial);
}

int rova_cmd_drive_dial_set(uint32_t cmd_type, cmd_data *record)
{
    return rova_dial_set(cmd_type, record, rova_drive_dial);
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
