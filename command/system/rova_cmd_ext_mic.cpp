#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_in_out.h"

static int rova_cmd_ext_mic_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, {.property = 2, .in = 0, .out = 1});
}

static constexpr rova_cmd_entry ext_mic_table[] = {
    {"wait", rova_cmd_ext_mic_wait},
};
static_assert(rova_cmd_table_is_sound(ext_mic_table));

int rova_cmd_ext_mic(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(ext_mic_table, "ext_mic", cmd_type, record);
}
