#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_in_out.h"

static int rova_cmd_earjack_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, {.property = 1, .in = 0, .out = 1});
}

static constexpr rova_cmd_entry earjack_table[] = {
    {"wait", rova_cmd_earjack_wait},
};
static_assert(rova_cmd_table_is_sound(earjack_table));

int rova_cmd_earjack(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(earjack_table, "earjack", cmd_type, record);
}
