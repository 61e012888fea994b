#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_control_flags.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"

#include <cstdlib>
#include <cstring>

static constexpr char LOOP_COUNTER_FILE[] = "/opt/share/rova/rova.cnt";
static constexpr int LOOP_COUNTER_ROW = 19;

static int set_flag(uint32_t cmd_type, const cmd_data *record, uint8_t *flag)
{
    return rova_cmd_answer(cmd_type, rova_cmd_on_off(rova_cmd_param(record, 1), flag));
}

static int rova_cmd_control_set_sound(uint32_t cmd_type, cmd_data *record)
{
    return set_flag(cmd_type, record, &rova_control_flags.sound);
}

static int rova_cmd_control_set_osd(uint32_t cmd_type, cmd_data *record)
{
    return set_flag(cmd_type, record, &rova_control_flags.osd);
}

static int rova_cmd_control_set_led(uint32_t cmd_type, cmd_data *record)
{
    return set_flag(cmd_type, record, &rova_control_flags.led);
}

// "osd_on" and "osd_off" with the prefix "osd_".
static bool set_prefixed_flag(const char *word, const char *prefix, uint8_t *flag)
{
    std::size_t length = std::strlen(prefix);
    return std::strncmp(word, prefix, length) == 0 && rova_cmd_on_off(word + length, flag);
}

// Flags ahead of the first bad word stay set.
static int rova_cmd_control_result(uint32_t cmd_type, cmd_data *record)
{
    bool set = record->p_count > 3 &&
               set_prefixed_flag(record->p[1], "osd_", &rova_control_flags.osd) &&
               set_prefixed_flag(record->p[2], "sound_", &rova_control_flags.sound) &&
               set_prefixed_flag(record->p[3], "led_", &rova_control_flags.led);
    return rova_cmd_answer(cmd_type, set);
}

static int store_count(uint32_t cmd_type, unsigned long count)
{
    if (rova_file_write_ulong(LOOP_COUNTER_FILE, count) == 0)
        return rova_cmd_ok(cmd_type);
    ROVA_LOG_ERR("failed to write %s (%s) \n", LOOP_COUNTER_FILE, rova_reason());
    return rova_cmd_ng(cmd_type);
}

static int rova_cmd_control_count(uint32_t cmd_type, cmd_data *record)
{
    const char *word = rova_cmd_param(record, 1);
    if (std::strcmp(word, "set") == 0 && record->p_count >= 3)
        return store_count(cmd_type, std::strtoul(record->p[2], nullptr, 10));
    if (std::strcmp(word, "increase") == 0)
        return store_count(cmd_type, rova_file_read_ulong(LOOP_COUNTER_FILE) + 1);
    if (std::strcmp(word, "display") != 0)
        return rova_cmd_ng(cmd_type);
    rova_osd_grid_printf(LOOP_COUNTER_ROW, "loop: %d",
                         static_cast<int>(rova_file_read_ulong(LOOP_COUNTER_FILE)));
    return rova_cmd_ok(cmd_type);
}

static constexpr rova_cmd_entry control_table[] = {
    {"sound", rova_cmd_control_set_sound}, {"osd", rova_cmd_control_set_osd},
    {"led", rova_cmd_control_set_led},     {"result", rova_cmd_control_result},
    {"count", rova_cmd_control_count},
};
static_assert(rova_cmd_table_is_sound(control_table));

int rova_cmd_control(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(control_table, "control", cmd_type, record);
}
