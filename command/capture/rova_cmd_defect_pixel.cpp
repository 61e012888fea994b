#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry defect_pixel_table[] = {
    // clang-format off
    {"wait_temp",  rova_cmd_ipcc_exec},
    {"adjust",     rova_cmd_ipcc_exec},
    {"check",      rova_cmd_ipcc_exec},
    {"check_temp", rova_cmd_ipcc_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(defect_pixel_table));

int rova_cmd_defect_pixel(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(defect_pixel_table, "defect_pixel", cmd_type, record);
}
