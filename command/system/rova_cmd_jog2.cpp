#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_rotary.h"

namespace
{

int rova_cmd_jog2_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_wait(cmd_type, record, rova_jog2);
}

int rova_cmd_jog2_mask(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_mask(cmd_type, record, rova_jog2);
}

int rova_cmd_jog2_unmask(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_unmask(cmd_type, record, rova_jog2);
}

constexpr rova_cmd_entry jog2_table[] = {
    {"wait", rova_cmd_jog2_wait},
    {"mask", rova_cmd_jog2_mask},
    {"unmask", rova_cmd_jog2_unmask},
};
static_assert(rova_cmd_table_is_sound(jog2_table));

} // namespace

int rova_cmd_jog2(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(jog2_table, "jog2", cmd_type, record);
}
