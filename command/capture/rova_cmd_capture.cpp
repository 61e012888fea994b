#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry capture_table[] = {
    // clang-format off
    {"still", rova_cmd_app_exec},
    {"conti", rova_cmd_app_exec},
    {"movie", rova_cmd_app_exec},
    {"ud",    rova_cmd_app_exec},
    {"ud4k",  rova_cmd_app_exec},
    {"debug", rova_cmd_ipcc_exec},
    {"cap",   rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(capture_table));

int rova_cmd_capture(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(capture_table, "capture", cmd_type, record);
}
