#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_rotary.h"

namespace
{

int rova_cmd_jog1_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_wait(cmd_type, record, rova_jog1);
}

int rova_cmd_jog1_mask(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_mask(cmd_type, record, rova_jog1);
}

int rova_cmd_jog1_unmask(uint32_t cmd_type, cmd_data *record)
{
    return rova_rotary_unmask(cmd_type, record, rova_jog1);
}

constexpr rova_cmd_entry jog1_table[] = {
    {"wait", rova_cmd_jog1_wait},
    {"mask", rova_cmd_jog1_mask},
    {"unmask", rova_cmd_jog1_unmask},
};
static_assert(rova_cmd_table_is_sound(jog1_table));

} // namespace

int rova_cmd_jog1(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(jog1_table, "jog1", cmd_type, record);
}
