#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry lens_table[] = {
    // clang-format off
    {"iris",               rova_cmd_ipcc_exec},
    {"focus",              rova_cmd_ipcc_exec},
    {"ois",                rova_cmd_ipcc_exec},
    {"power",              rova_cmd_ipcc_exec},
    {"pin_check",          rova_cmd_ipcc_exec},
    {"fwup",               rova_cmd_ipcc_exec},
    {"reset",              rova_cmd_ipcc_exec},
    {"adj_flag",           rova_cmd_ipcc_exec},
    {"cmd",                rova_cmd_ipcc_exec},
    {"long_cmd",           rova_cmd_ipcc_exec},
    {"disp_info",          rova_cmd_ipcc_exec},
    {"zoom",               rova_cmd_ipcc_exec},
    {"dump",               rova_cmd_ipcc_exec},
    {"model_name",         rova_cmd_ipcc_exec},
    {"adj_mark",           rova_cmd_ipcc_exec},
    {"adj",                rova_cmd_ipcc_exec},
    {"8step_drive",        rova_cmd_ipcc_exec},
    {"brush",              rova_cmd_ipcc_exec},
    {"check_power_zoom",   rova_cmd_ipcc_exec},
    {"3d_module_pulse",    rova_cmd_ipcc_exec},
    {"movie_low_ampare",   rova_cmd_ipcc_exec},
    {"pattern_pulse",      rova_cmd_ipcc_exec},
    {"temperature_sensor", rova_cmd_ipcc_exec},
    {"result",             rova_cmd_ipcc_exec},
    {"wait",               rova_cmd_ipcc_exec},
    {"write_eeprom",       rova_cmd_ipcc_exec},
    {"back_lash",          rova_cmd_ipcc_exec},
    {"serial_number",      rova_cmd_ipcc_exec},
    {"af",                 rova_cmd_ipcc_exec},
    {"get",                rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(lens_table));

int rova_cmd_lens(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(lens_table, "lens", cmd_type, record);
}
