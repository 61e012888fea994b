#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry flangeback_table[] = {
    {"check", rova_cmd_ipcc_exec},
};
static_assert(rova_cmd_table_is_sound(flangeback_table));

int rova_cmd_flangeback(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(flangeback_table, "flangeback", cmd_type, record);
}
