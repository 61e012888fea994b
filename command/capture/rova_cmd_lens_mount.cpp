#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry lens_mount_table[] = {
    // clang-format off
    {"check",        rova_cmd_ipcc_exec},
    {"dummy_attach", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(lens_mount_table));

int rova_cmd_lens_mount(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(lens_mount_table, "lens_mount", cmd_type, record);
}
