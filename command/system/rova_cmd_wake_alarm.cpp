#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "common/rova_log.h"
#include "common/rova_util.h"

static constexpr char WAKE_ALARM_PATH[] = "/sys/class/rtc/rtc0/wakealarm";

// An alarm that the kernel refuses is logged, and costs nothing else.
static int rova_cmd_wake_alarm_set(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    if (rova_sysfs_write_string(WAKE_ALARM_PATH, record->p[1]) != 0)
        ROVA_LOG_ERR("failed to write %s (%s) \n", WAKE_ALARM_PATH, rova_reason());
    return rova_cmd_ok(cmd_type);
}

static constexpr rova_cmd_entry wake_alarm_table[] = {
    {"set", rova_cmd_wake_alarm_set},
};
static_assert(rova_cmd_table_is_sound(wake_alarm_table));

int rova_cmd_wake_alarm(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(wake_alarm_table, "wake_alarm", cmd_type, record);
}
