#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry strobe_table[] = {
    // clang-format off
    {"int_adj_off",      rova_cmd_ipcc_exec},
    {"int_adj_on",       rova_cmd_ipcc_exec},
    {"ext_adj_off",      rova_cmd_ipcc_exec},
    {"ext_adj_on",       rova_cmd_ipcc_exec},
    {"write",            rova_cmd_ipcc_exec},
    {"charge_check",     rova_cmd_ipcc_exec},
    {"popup",            rova_cmd_ipcc_exec},
    {"firing_life_test", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(strobe_table));

int rova_cmd_strobe(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(strobe_table, "strobe", cmd_type, record);
}
