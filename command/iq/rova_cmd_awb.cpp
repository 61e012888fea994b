#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry awb_table[] = {
    // clang-format off
    {"low",          rova_cmd_ipcc_exec},
    {"lens",         rova_cmd_ipcc_exec},
    {"stillcapture", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(awb_table));

int rova_cmd_awb(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(awb_table, "awb", cmd_type, record);
}
