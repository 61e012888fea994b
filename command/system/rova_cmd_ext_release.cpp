#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_in_out.h"

static int rova_cmd_ext_release_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, {.property = 15, .in = 1, .out = 0});
}

static constexpr rova_cmd_entry ext_release_table[] = {
    {"wait", rova_cmd_ext_release_wait},
};
static_assert(rova_cmd_table_is_sound(ext_release_table));

int rova_cmd_ext_release(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(ext_release_table, "ext_release", cmd_type, record);
}
