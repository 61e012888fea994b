#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_key_driver.h"
#include "common/rova_log.h"
#include "common/rova_util.h"

#include <platform/production.h>

namespace
{

struct pattern_row {
    const char *name;
    int number;
};

constexpr pattern_row patterns[] = {{"1", 11}, {"2", 12}, {"3", 13}, {"4", 14}, {"all", 1}};
constexpr int NO_PATTERN = 0;

int answer_bad_words(uint32_t cmd_type)
{
    ROVA_LOG_ERR("Not found on stlcd command table \n");
    return rova_cmd_ng(cmd_type);
}

int show_pattern(uint32_t cmd_type, int number)
{
    bool shown = rova_cmd_succeeded("set_statusLCD_production", set_statusLCD_production(number));
    return rova_cmd_answer(cmd_type, shown);
}

int rova_cmd_stlcd_on(uint32_t cmd_type, cmd_data *record)
{
    const pattern_row *pattern = rova_cmd_find_named(patterns, record);
    return pattern != nullptr ? show_pattern(cmd_type, pattern->number)
                              : answer_bad_words(cmd_type);
}

int rova_cmd_stlcd_off(uint32_t cmd_type, cmd_data *record)
{
    return record->p_count < 3 ? show_pattern(cmd_type, NO_PATTERN) : answer_bad_words(cmd_type);
}

int rova_cmd_stlcd_backlight(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count >= 3) {
        ROVA_LOG_ERR("not found on stlcd command table \n");
        return rova_cmd_ng(cmd_type);
    }
    bool written = rova_sysfs_write_int(ROVA_TNLCD_STATUS_PATH, 0) == 0;
    if (!written)
        ROVA_LOG_ERR("failed to read \"%s\"\n", ROVA_TNLCD_STATUS_PATH);
    return rova_cmd_answer(cmd_type, written);
}

constexpr rova_cmd_entry stlcd_table[] = {
    {"on", rova_cmd_stlcd_on},
    {"off", rova_cmd_stlcd_off},
    {"backlight", rova_cmd_stlcd_backlight},
};
static_assert(rova_cmd_table_is_sound(stlcd_table));

} // namespace

int rova_cmd_stlcd(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(stlcd_table, "stlcd", cmd_type, record);
}
