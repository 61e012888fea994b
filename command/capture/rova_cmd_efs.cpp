#include "command/capture/rova_cmd_capture.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry efs_table[] = {
    {"adjust", rova_cmd_ipcc_exec},
};
static_assert(rova_cmd_table_is_sound(efs_table));

int rova_cmd_efs(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(efs_table, "efs", cmd_type, record);
}
