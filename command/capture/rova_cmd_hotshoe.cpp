#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry hotshoe_table[] = {
    // clang-format off
    {"adjust", rova_cmd_ipcc_exec},
    {"pin",    rova_cmd_ipcc_exec},
    {"power",  rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(hotshoe_table));

int rova_cmd_hotshoe(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(hotshoe_table, "hotshoe", cmd_type, record);
}
