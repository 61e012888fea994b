#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "common/rova_power.h"

static int rova_cmd_power_off(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, rova_poweroff() != 0);
}

static int rova_cmd_power_shutdown(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, rova_power_off() != 0);
}

static int rova_cmd_power_reset(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, rova_power_reset(0) != 0);
}

static int rova_cmd_power_reboot(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, rova_power_reboot(0) != 0);
}

static constexpr rova_cmd_entry power_table[] = {
    {"off", rova_cmd_power_off},
    {"shutdown", rova_cmd_power_shutdown},
    {"reset", rova_cmd_power_reset},
    {"reboot", rova_cmd_power_reboot},
};
static_assert(rova_cmd_table_is_sound(power_table));

int rova_cmd_power(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(power_table, "power", cmd_type, record);
}
