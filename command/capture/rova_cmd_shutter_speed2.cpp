#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry shutter_speed2_table[] = {
    // clang-format off
    {"set",   rova_cmd_ipcc_exec},
    {"check", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(shutter_speed2_table));

int rova_cmd_shutter_speed2(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(shutter_speed2_table, "shutter_speed2", cmd_type, record);
}
