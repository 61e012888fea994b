#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry shutter_table[] = {
    // clang-format off
    {"mode",          rova_cmd_ipcc_exec},
    {"time",          rova_cmd_ipcc_exec},
    {"close",         rova_cmd_ipcc_exec},
    {"open",          rova_cmd_ipcc_exec},
    {"charge",        rova_cmd_ipcc_exec},
    {"trigger",       rova_cmd_ipcc_exec},
    {"openbulb",      rova_cmd_ipcc_exec},
    {"re-init",       rova_cmd_ipcc_exec},
    {"light_leakage", rova_cmd_ipcc_exec},
    {"durability",    rova_cmd_ipcc_exec},
    {"1st_curtain",   rova_cmd_ipcc_exec},
    {"2nd_curtain",   rova_cmd_ipcc_exec},
    {"compensation",  rova_cmd_ipcc_exec},
    {"type",          rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(shutter_table));

int rova_cmd_shutter(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(shutter_table, "shutter", cmd_type, record);
}
