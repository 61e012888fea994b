#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry paf_table[] = {
    // clang-format off
    {"raw_dump",    rova_cmd_ipcc_exec},
    {"calc",        rova_cmd_ipcc_exec},
    {"jig_cal",     rova_cmd_ipcc_exec},
    {"set_adj",     rova_cmd_ipcc_exec},
    {"check",       rova_cmd_ipcc_exec},
    {"debug_write", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(paf_table));

int rova_cmd_paf(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(paf_table, "paf", cmd_type, record);
}
