#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/rova_wait.h"
#include "command/system/rova_adc_channels.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_key_driver.h"
#include "command/system/rova_key_tbl.h"
#include "command/system/rova_rotary.h"
#include "common/rova_log.h"

#include <cstring>
#include <platform/vconf.h>

namespace
{

constexpr useconds_t POLL_US = 100000;

struct state_row {
    const char *name;
    int value;
};

constexpr state_row in_out[] = {{"in", 1}, {"out", 0}};

// ------------------------------------------------------------------------- words and values

bool has_words(const cmd_data *record, uint32_t count)
{
    if (record->p_count < count)
        ROVA_LOG_ERR("Not found on vgrip command count \n");
    return record->p_count >= count;
}

// The row that the word behind the subcommand names; NULL, with a line in the log, if none.
template <class row_table>
auto find_first(const row_table &rows, const cmd_data *record) -> decltype(std::data(rows))
{
    if (!has_words(record, 2))
        return nullptr;
    auto *row = rova_cmd_find_named(rows, record);
    if (row == nullptr)
        ROVA_LOG_ERR("Not found on vgrip command table 1st \n");
    return row;
}

bool has_value(const char *path, int *value)
{
    *value = rova_sysfs_read_int(path);
    if (*value < 0)
        ROVA_LOG_ERR("failed to read \"%s\" (ret = %d) \n", path, *value);
    return *value >= 0;
}

bool write_value(const char *path, int value)
{
    bool written = rova_sysfs_write_int(path, value) == 0;
    if (!written)
        ROVA_LOG_ERR("sysfs write error!\n");
    return written;
}

bool has_battery_state(int *detected)
{
    constexpr char key[] = "memory/sysman/vgrip_battery_detect";
    bool known = vconf_get_bool(key, detected) >= 0;
    if (!known)
        ROVA_LOG_ERR("failed to get the key \"%s\" \n", key);
    return known;
}

// ------------------------------------------------------------------------- wait

constexpr const char *LEVEL_PATH = rova_adc_paths[9];
constexpr int CONNECTED_LEVEL = 180;

struct grip_sight {
    int level;
    int connected;
};

// Level and state are told when they are new.
bool look_at_grip(grip_sight *last)
{
    int level = 0;
    if (!has_value(LEVEL_PATH, &level))
        return false;
    // Levels scatter: the nearer one of both counts.
    int connected = level > CONNECTED_LEVEL / 2 ? 1 : 0;
    if (level != last->level)
        ROVA_LOG_INFO("vgrip level : %d (180: connect, 0: disconnect)\n", level);
    if (connected != last->connected)
        ROVA_LOG_INFO(connected != 0 ? "VGRIP connected\n" : "VGRIP disconnected\n");
    *last = {level, connected};
    return true;
}

bool wait_for_grip(int wanted, bool with_battery)
{
    grip_sight last = {-1, -1};
    return rova_wait(POLL_US, [&] {
        int battery = wanted;
        if (!look_at_grip(&last) || (with_battery && !has_battery_state(&battery)))
            return rova_look::bad;
        return last.connected == wanted && battery == wanted ? rova_look::good : rova_look::again;
    });
}

bool wait_for_words(const cmd_data *record)
{
    const state_row *state = find_first(in_out, record);
    if (state == nullptr)
        return false;
    bool with_battery = record->p_count > 2;
    if (with_battery && std::strcmp(record->p[2], "bat") != 0) {
        ROVA_LOG_ERR("Not found on vgrip command table 2nd \n");
        return false;
    }
    return wait_for_grip(state->value, with_battery);
}

int rova_cmd_vgrip_wait(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count > 3) {
        ROVA_LOG_ERR("input proper command.\n");
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_answer(cmd_type, wait_for_words(record));
}

// ------------------------------------------------------------------------- key

constexpr useconds_t KEY_POLL_US = 1000;

constexpr char LOCK_PATH[] = "/sys/devices/platform/m7-keys/vgrip_connect";
enum grip_lock { GRIP_OFF = 0, GRIP_ON = 1 }; // any other value: locked

// While this channel's level is above the limit the grip's keys have not settled.
constexpr const char *SETTLE_PATH = rova_adc_paths[8];
constexpr int SETTLED_LEVEL = 159;
constexpr useconds_t SETTLE_US = 100000;

// False for a locked grip, whose keys are dead.  The state is told when it is new.
bool is_unlocked(int *last)
{
    int lock = 0;
    if (!has_value(LOCK_PATH, &lock))
        return false;
    if (lock != GRIP_OFF && lock != GRIP_ON) {
        ROVA_LOG_ERR("VGRIP LOCKED!\n");
        return false;
    }
    if (lock != *last)
        ROVA_LOG_INFO(lock == GRIP_ON ? "cur_status : VGRIP ON\n" : "cur_status : VGRIP OFF\n");
    *last = lock;
    return true;
}

// False when nobody tells.
bool hold_back()
{
    int level = 0;
    if (!has_value(SETTLE_PATH, &level))
        return false;
    if (level > SETTLED_LEVEL)
        sys_usleep(SETTLE_US);
    return true;
}

bool wait_for_code(int wanted)
{
    int last_lock = -1;
    return rova_wait(KEY_POLL_US, [&] {
        int code = 0;
        if (!is_unlocked(&last_lock) || !hold_back() || !has_value(ROVA_KEYCODE_PATH, &code))
            return rova_look::bad;
        return code == wanted ? rova_look::good : rova_look::again;
    });
}

int rova_cmd_vgrip_key(uint32_t cmd_type, cmd_data *record)
{
    const rova_key_row *key = find_first(rova_key_tbl, record);
    if (key == nullptr)
        return rova_cmd_ng(cmd_type);
    write_value(ROVA_KEYCODE_PATH, 0); // what fails is told, and costs nothing else
    int code = static_cast<int>(key->code);
    ROVA_LOG_INFO("wait_keycode : %d\n", code);
    return rova_cmd_answer(cmd_type, wait_for_code(code));
}

// ------------------------------------------------------------------------- jog1, jog2

// While it is 1 the driver tells the clicks of the grip's dials instead of the body's.
constexpr char GRIP_KEY_PATH[] = "/sys/devices/platform/m7-keys/grip_key";

int wait_for_clicks(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary)
{
    if (find_first(rotary.rows, record) == nullptr || !write_value(GRIP_KEY_PATH, 1))
        return rova_cmd_ng(cmd_type);
    int taken = rova_rotary_wait(cmd_type, record, rotary);
    write_value(GRIP_KEY_PATH, 0);
    return taken;
}

int rova_cmd_vgrip_jog1(uint32_t cmd_type, cmd_data *record)
{
    return wait_for_clicks(cmd_type, record, rova_jog1);
}

int rova_cmd_vgrip_jog2(uint32_t cmd_type, cmd_data *record)
{
    return wait_for_clicks(cmd_type, record, rova_jog2);
}

// ------------------------------------------------------------------------- bat

constexpr state_row battery_words[] = {{"wait", 0}};

bool wait_for_battery(int wanted)
{
    return rova_wait(POLL_US, [=] {
        int detected = 0;
        if (!has_battery_state(&detected))
            return rova_look::bad;
        return detected == wanted ? rova_look::good : rova_look::again;
    });
}

int rova_cmd_vgrip_bat(uint32_t cmd_type, cmd_data *record)
{
    if (!has_words(record, 3) || find_first(battery_words, record) == nullptr)
        return rova_cmd_ng(cmd_type);
    const state_row *state = rova_cmd_find_named(in_out, record, 2);
    if (state == nullptr)
        ROVA_LOG_ERR("Not found on vgrip command table 2nd \n");
    return rova_cmd_answer(cmd_type, state != nullptr && wait_for_battery(state->value));
}

constexpr rova_cmd_entry vgrip_table[] = {
    {"wait", rova_cmd_vgrip_wait}, {"key", rova_cmd_vgrip_key}, {"jog1", rova_cmd_vgrip_jog1},
    {"jog2", rova_cmd_vgrip_jog2}, {"bat", rova_cmd_vgrip_bat},
};
static_assert(rova_cmd_table_is_sound(vgrip_table));

} // namespace

// The message of an unknown subcommand names the daemon instead of the family, as ever.
int rova_cmd_vgrip(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(vgrip_table, "rova", cmd_type, record);
}
