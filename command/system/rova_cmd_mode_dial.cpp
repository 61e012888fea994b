#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_dial.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/vconf.h"

namespace
{

int rova_cmd_mode_dial_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_dial_wait(cmd_type, record, rova_mode_dial);
}

int rova_cmd_mode_dial_set(uint32_t cmd_type, cmd_data *record)
{
    if (rova_cmd_find_named(rova_mode_dial_tbl, record) == nullptr)
        return rova_cmd_ng(cmd_type);
    if (vconf_set_int(ROVA_KEY_MODE_CHANGED, 0) < 0) {
        ROVA_LOG_ERR("warn : failed to set VCONF_PMODE_MODE_DIAL to 0\n");
        return rova_cmd_ng(cmd_type);
    }
    return rova_dial_set(cmd_type, record, rova_mode_dial);
}

int rova_cmd_mode_dial_check(uint32_t cmd_type, cmd_data *record)
{
    const rova_dial_row *position = rova_cmd_find_named(rova_mode_dial_tbl, record);
    return rova_cmd_answer(cmd_type,
                           position != nullptr && rova_sysfs_read_int(rova_mode_dial.path) ==
                                                      static_cast<int>(position->value));
}

constexpr rova_cmd_entry mode_dial_table[] = {
    {"wait", rova_cmd_mode_dial_wait},
    {"set", rova_cmd_mode_dial_set},
    {"check", rova_cmd_mode_dial_check},
};
static_assert(rova_cmd_table_is_sound(mode_dial_table));

} // namespace

int rova_cmd_mode_dial(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(mode_dial_table, "mode_dial", cmd_type, record);
}
