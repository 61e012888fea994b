#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_rotary.h"

namespace
{

int rova_cmd_wheel_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_wait(cmd_type, record, rova_wheel);
}

int rova_cmd_wheel_mask(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_mask(cmd_type, record, rova_wheel);
}

int rova_cmd_wheel_unmask(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_unmask(cmd_type, record, rova_wheel);
}

constexpr rova_cmd_entry wheel_table[] = {
    {"wait", rova_cmd_wheel_wait},
    {"mask", rova_cmd_wheel_mask},
    {"unmask", rova_cmd_wheel_unmask},
};
static_assert(rova_cmd_table_is_sound(wheel_table));

} // namespace

int rova_cmd_wheel(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(wheel_table, "wheel", cmd_type, record);
}
