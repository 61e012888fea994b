#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry exposure_table[] = {
    // clang-format off
    {"av",  rova_cmd_app_exec},
    {"tv",  rova_cmd_app_exec},
    {"evc", rova_cmd_app_exec},
    {"iso", rova_cmd_app_exec},
    {"ael", rova_cmd_app_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(exposure_table));

int rova_cmd_exposure(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(exposure_table, "exposure", cmd_type, record);
}
