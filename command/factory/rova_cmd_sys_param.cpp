#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"

#include <platform/pref.h>
#include <strings.h>

namespace
{

constexpr int OSD_ROW = 2;

constexpr int COUNT_PARTITION = 3;
constexpr int PWRON_COUNT_KEY = 580;
constexpr int INTFLASH_COUNT_KEY = 584;
constexpr int EXTFLASH_COUNT_KEY = 588;

// A number that was not given counts as 0.  Shown is what the partition holds, also when it has
// refused the number.
int set_count(uint32_t cmd_type, const cmd_data *record, int key, const char *label)
{
    if (strcasecmp(rova_cmd_param(record, 1), "set") != 0)
        return rova_cmd_ng(cmd_type);
    int result = pref_set_long(COUNT_PARTITION, key, rova_cmd_number(rova_cmd_param(record, 2)));
    if (result < 0)
        ROVA_LOG_ERR("pref_set_long(%d, %d) failed (ret = %d) \n", COUNT_PARTITION, key, result);
    rova_osd_printf(OSD_ROW, "%s  = %d \n", label, pref_get_long(COUNT_PARTITION, key));
    return rova_cmd_answer(cmd_type, result >= 0);
}

int rova_cmd_sys_param_pwron_count(uint32_t cmd_type, cmd_data *record)
{
    return set_count(cmd_type, record, PWRON_COUNT_KEY, "power on count");
}

int rova_cmd_sys_param_intflash_count(uint32_t cmd_type, cmd_data *record)
{
    return set_count(cmd_type, record, INTFLASH_COUNT_KEY, "int_flash_count  count");
}

int rova_cmd_sys_param_extflash_count(uint32_t cmd_type, cmd_data *record)
{
    return set_count(cmd_type, record, EXTFLASH_COUNT_KEY, "ext_flash_count");
}

constexpr rova_cmd_entry sys_param_table[] = {
    // clang-format off
    {"system_reset",   rova_cmd_app_exec},
    {"file_number",    rova_cmd_app_exec},
    {"flash",          rova_cmd_app_exec},
    {"metering",       rova_cmd_app_exec},
    {"af",             rova_cmd_app_exec},
    {"face_detect",    rova_cmd_app_exec},
    {"nolens",         rova_cmd_app_exec},
    {"display_save",   rova_cmd_app_exec},
    {"power_save",     rova_cmd_app_exec},
    {"efs",            rova_cmd_app_exec},
    {"watch_dog",      rova_cmd_app_exec},
    {"select_display", rova_cmd_app_exec},
    {"display_adjust", rova_cmd_app_exec},
    {"wb",             rova_cmd_app_exec},
    {"quickview_time", rova_cmd_app_exec},
    {"iso_expansion",  rova_cmd_app_exec},
    {"release_count",  rova_cmd_app_exec},
    {"capture",        rova_cmd_app_exec},
    {"movie",          rova_cmd_app_exec},
    {"bluetooth",      rova_cmd_app_exec},
    {"video_out",      rova_cmd_app_exec},
    {"change_mode",    rova_cmd_app_exec},
    {"pwron_count",    rova_cmd_sys_param_pwron_count},
    {"intflash_count", rova_cmd_sys_param_intflash_count},
    {"extflash_count", rova_cmd_sys_param_extflash_count},
    // clang-format on
};
static_assert(std::size(sys_param_table) == 25);
static_assert(rova_cmd_table_is_sound(sys_param_table));

} // namespace

int rova_cmd_sys_param(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(sys_param_table, "sys_param", cmd_type, record);
}
