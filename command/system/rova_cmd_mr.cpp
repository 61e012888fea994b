#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_in_out.h"

static constexpr rova_in_out mr_sensor = {.property = 19, .in = 1, .out = 0};

static int rova_cmd_mr_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, mr_sensor);
}

static int rova_cmd_mr_check(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_check(cmd_type, record, mr_sensor);
}

static constexpr rova_cmd_entry mr_table[] = {
    {"wait", rova_cmd_mr_wait},
    {"check", rova_cmd_mr_check},
};
static_assert(rova_cmd_table_is_sound(mr_table));

int rova_cmd_mr(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(mr_table, "mr", cmd_type, record);
}
