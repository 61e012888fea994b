#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"

// The flash that pops up is served elsewhere.
static int rova_cmd_popup_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type, record->p_count >= 2);
}

static constexpr rova_cmd_entry popup_table[] = {
    {"wait", rova_cmd_popup_wait},
};
static_assert(rova_cmd_table_is_sound(popup_table));

int rova_cmd_popup(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(popup_table, "popup", cmd_type, record);
}
