#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry vfpn_table[] = {
    // clang-format off
    {"adjust",     rova_cmd_ipcc_exec},
    {"wait_temp",  rova_cmd_ipcc_exec},
    {"check_temp", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(vfpn_table));

int rova_cmd_vfpn(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(vfpn_table, "vfpn", cmd_type, record);
}
