#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_result.h"
#include "command/rova_cmd_util.h"
#include "command/rova_wait.h"
#include "command/system/rova_bat_info.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_key_driver.h"
#include "command/system/rova_property.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "platform/device.h"
#include "platform/sys.h"
#include "platform/vconf.h"

#include <algorithm>
#include <strings.h>

namespace
{

constexpr int POWER_CLASS = 4;
constexpr int BATTERY_VOLTAGE = 0;
constexpr int BATTERY_LEVEL_FREE = 27;
constexpr char BATTERY_LEVEL_KEY[] = "memory/sysman/battery_status_low";

// The body's battery and that of the grip: both come from the same place.
struct battery {
    const char *word;
    const char *name;
    const char *no_voltage;
    const char *no_level;
};

constexpr battery batteries[] = {
    {"internal", "Internal", "failed to get_body_bat_volt() \n",
     "failed to get_body_bat_level() \n"},
    {"external", "External", "failed to get_vgrip_bat_volt() \n",
     "failed to get_vgrip_bat_level() \n"},
};
constexpr const battery &BODY = batteries[0];

const battery *find_battery(const cmd_data *record)
{
    for (const battery &row : batteries)
        if (strcasecmp(row.word, rova_cmd_param(record, 1)) == 0)
            return &row;
    ROVA_LOG_ERR("batter level : not found command!! \n");
    return nullptr;
}

struct reading {
    int voltage; // millivolts
    int level;
};

bool read_battery(const battery &asked, reading *found)
{
    if (device_get_property(POWER_CLASS, BATTERY_VOLTAGE, &found->voltage) < 0) {
        ROVA_LOG_ERR("%s", asked.no_voltage);
        return false;
    }
    if (vconf_get_int(BATTERY_LEVEL_KEY, &found->level) < 0) {
        ROVA_LOG_ERR("%s", asked.no_level);
        return false;
    }
    return true;
}

// Zeros and no name for a level that the driver does not describe.
rova_bat_info_row described(int level)
{
    rova_bat_info_row row = {};
    rova_bat_info_get(level, &row);
    return row;
}

void show_voltage(int voltage)
{
    rova_osd_printf(1, "BAT volt : %dmV", voltage);
}

// Rows 4 to 8: levels 1 to 5.
void show_levels()
{
    for (int level = 1; level <= 5; level++) {
        const rova_bat_info_row row = described(level);
        rova_osd_printf(3 + level, "%8s : %dmV", row.name, row.voltage);
    }
}

// ------------------------------------------------------------------------- show

constexpr int KEY_PB = 183;
constexpr useconds_t SHOW_US = 1000000;

void show_battery(const reading &found)
{
    show_voltage(found.voltage);
    rova_osd_printf(2, "BAT level : %s", described(found.level).name);
    rova_osd_printf(3, "-------spec------");
    show_levels();
}

rova_look look_for_key()
{
    const int code = rova_sysfs_read_int(ROVA_KEYCODE_PATH);
    if (code == KEY_PB)
        return rova_look::good;
    if (code < 0) {
        ROVA_LOG_ERR("failed to read \"%s\" \n", ROVA_KEYCODE_PATH);
        return rova_look::bad;
    }
    ROVA_LOG_INFO("KEY %d\n", code);
    return rova_look::again;
}

rova_look show_and_look()
{
    reading found = {};
    if (!read_battery(BODY, &found))
        return rova_look::bad;
    show_battery(found);
    return look_for_key();
}

int rova_cmd_battery_level_show(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    return rova_cmd_answer(cmd_type,
                           find_battery(record) != nullptr && rova_wait(SHOW_US, show_and_look));
}

// ------------------------------------------------------------------------- check

// From so many on the check goes on until one fails; below there is one, whatever the count.
constexpr int SOAK_COUNT = 8;

struct limits {
    int16_t minimum; // millivolts
    int16_t maximum;
    int16_t interval; // milliseconds
    int16_t count;
};

int16_t number16(const char *text)
{
    return static_cast<int16_t>(rova_cmd_number(text));
}

void show_checked(const reading &found)
{
    show_voltage(found.voltage);
    rova_osd_printf(2, "BAT level  :  %s", described(found.level).name);
    rova_osd_printf(3, "---------------------");
    show_levels();
}

// A level counts when the driver describes the one below it.
bool level_is_valid(int level)
{
    if (level < 2 || level > 5) {
        ROVA_LOG_ERR("bat_level(%d) is invalied\n", level);
        return false;
    }
    rova_bat_info_row below = {};
    const bool found = rova_bat_info_get(level - 1, &below) != 0;
    if (!found)
        ROVA_LOG_ERR("failed to rova_bat_info() bat_level=%d\n", level);
    return found;
}

bool judge_voltage(rova_csv_handle csv, const battery &asked, const limits &wanted, int voltage)
{
    const bool ok = voltage >= wanted.minimum && voltage <= wanted.maximum;
    if (csv != nullptr &&
        rova_csv_write(csv, "%s, %d, %d, %d,%s", asked.name, voltage, wanted.minimum,
                       wanted.maximum, rova_cmd_result_word(ok)) == 0)
        ROVA_LOG_ERR("csv write fail\n");
    if (!ok)
        ROVA_LOG_ERR(" volt (%d) is invalid. (%d< volt <%d)\n", voltage, wanted.minimum,
                     wanted.maximum);
    return ok;
}

bool check_once(rova_csv_handle csv, const battery &asked, const limits &wanted)
{
    reading found = {};
    if (!read_battery(asked, &found))
        return false;
    show_checked(found);
    if (!level_is_valid(found.level) || !judge_voltage(csv, asked, wanted, found.voltage))
        return false;
    ROVA_LOG_INFO("bat_volt = %d, bat_level = %d\n", found.voltage, found.level);
    return true;
}

// The count is not counted down.
bool check_battery(rova_csv_handle csv, const battery &asked, const limits &wanted)
{
    const auto pause = static_cast<useconds_t>(std::max<int>(wanted.interval, 0)) * 1000;
    do {
        if (!check_once(csv, asked, wanted))
            return false;
        sys_usleep(pause);
    } while (wanted.count >= SOAK_COUNT && rova_check_stop() == 0);
    return true;
}

int rova_cmd_battery_level_check(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 6)
        return rova_cmd_ng(cmd_type);
    const battery *asked = find_battery(record);
    if (asked == nullptr)
        return rova_cmd_ng(cmd_type);
    const limits wanted = {number16(record->p[2]), number16(record->p[3]), number16(record->p[4]),
                           number16(record->p[5])};
    rova_csv_handle csv =
        rova_csv_create("battery_level.csv", "Int/Ext, voltage,Min_spec,Max_spec, Result");
    const bool none = wanted.count < 1;
    const bool ok = none || check_battery(csv, *asked, wanted);
    rova_resp_stream stream = {};
    if (csv != nullptr)
        rova_csv_close(csv, none ? nullptr : &stream);
    return rova_cmd_answer(cmd_type, ok, &stream);
}

// ------------------------------------------------------------------------- lock_level

bool set_level_free(int value)
{
    return rova_property_set(POWER_CLASS, BATTERY_LEVEL_FREE, value);
}

int rova_cmd_battery_level_lock_level(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 1)
        return rova_cmd_ng(cmd_type);
    const char *word = rova_cmd_param(record, 1);
    if (strcasecmp(word, "on") == 0)
        return rova_cmd_answer(cmd_type, set_level_free(0));
    if (strcasecmp(word, "off") == 0)
        return rova_cmd_answer(cmd_type, set_level_free(1));
    ROVA_LOG_ERR("not found lock level command!!! \n");
    return rova_cmd_ng(cmd_type);
}

constexpr rova_cmd_entry battery_level_table[] = {
    {"check", rova_cmd_battery_level_check},
    {"show", rova_cmd_battery_level_show},
    {"lock_level", rova_cmd_battery_level_lock_level},
};
static_assert(rova_cmd_table_is_sound(battery_level_table));

} // namespace

int rova_cmd_battery_level(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(battery_level_table, "battery_level", cmd_type, record);
}
