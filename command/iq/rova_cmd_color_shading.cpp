#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry color_shading_table[] = {
    {"adjust", rova_cmd_ipcc_exec},
};
static_assert(rova_cmd_table_is_sound(color_shading_table));

int rova_cmd_color_shading(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(color_shading_table, "color_shading", cmd_type, record);
}
