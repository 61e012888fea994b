#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_adc_channels.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_fake_key.h"
#include "command/system/rova_key_driver.h"
#include "command/system/rova_key_tbl.h"
#include "command/system/rova_keymask.h"
#include "command/system/rova_property.h"
#include "common/rova_csv.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "platform/sys.h"
#include "platform/timer.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace
{

bool is_key(const rova_key_row &key, const char *name)
{
    return std::strcmp(key.name, name) == 0;
}

// ------------------------------------------------------------------------- save

constexpr std::size_t KEYDESC_SIZE = 20;
constexpr int KEY_ADC_CHANNELS = 9;
static_assert(KEY_ADC_CHANNELS <= ROVA_ADC_CHANNELS);

// From "key save on" to "key save off" each awaited key becomes a row.  The stream stays filled.
bool saving;
rova_csv_handle save_csv;
rova_resp_stream save_stream;

void close_save(rova_resp_stream *stream)
{
    rova_csv_close(save_csv, stream);
    save_csv = nullptr;
}

struct key_description {
    int channel = 0;
    std::string name;
};

// "3 menu" and a line end.  The driver's text may be missing, empty or one word: the row tells.
key_description read_keydesc()
{
    char all[ROVA_SYSFS_TEXT_SIZE + 1] = {};
    rova_sysfs_read_string(ROVA_KEYDESC_PATH, all);
    char text[KEYDESC_SIZE] = {};
    std::memcpy(text, all, sizeof(text) - 1);

    key_description key;
    char *rest = nullptr;
    if (const char *channel = strtok_r(text, " ", &rest))
        key.channel = rova_cmd_number(channel);
    if (const char *name = strtok_r(nullptr, " ", &rest))
        key.name.assign(name, std::strlen(name) - 1);
    return key;
}

int read_level(int channel)
{
    if (channel >= 0 && channel < KEY_ADC_CHANNELS)
        return rova_sysfs_read_int(rova_adc_paths[channel]);
    ROVA_LOG_ERR("\"%s\" names channel %d, not 0 to %d\n", ROVA_KEYDESC_PATH, channel,
                 KEY_ADC_CHANNELS - 1);
    return -1;
}

void save_row()
{
    rova_adc_set_update(1);
    sys_usleep(ROVA_ADC_REFRESH_US);
    const key_description key = read_keydesc();
    int level = read_level(key.channel);
    ROVA_LOG_INFO("[csv_write] ch:%d, level:%d, name:%s\n", key.channel, level, key.name.c_str());
    if (rova_csv_write(save_csv, "%d,%d,%s,%s", key.channel, level, key.name.c_str(), "OK") == 0) {
        ROVA_LOG_ERR("csv write fail\n");
        close_save(&save_stream);
    }
    rova_adc_set_update(0);
}

void start_saving()
{
    if (save_csv != nullptr)
        close_save(nullptr);
    save_csv = rova_csv_create("key_extract.csv", "ch,level,name,result");
    if (save_csv == nullptr)
        ROVA_LOG_ERR("csv create fail\n");
    saving = true;
}

void stop_saving()
{
    saving = false;
    close_save(&save_stream);
}

int rova_cmd_key_save(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    uint8_t on = 0;
    bool known = rova_cmd_on_off(record->p[1], &on);
    if (!known)
        ROVA_LOG_ERR("Wrong cmd_data->p[1] = %s\n", record->p[1]);
    else if (on != 0)
        start_saving();
    else
        stop_saving();
    return rova_cmd_answer(cmd_type, known, &save_stream);
}

// ------------------------------------------------------------------------- wait_push

constexpr useconds_t WAIT_POLL_US = 1000;
constexpr useconds_t HOLD_POLL_US = 5000;
constexpr useconds_t SHOW_US = 300000;

constexpr int SHUTTER_CLASS = 13;
constexpr int SHUTTER_BUTTON = 1;
constexpr int SHUTTER_FULL = 2;
constexpr int SHUTTER_OPEN = -1;

// A state of the shutter button that fails the wait for a key.
struct shutter_rule {
    const char *key;
    int state;
    const char *message;
};

constexpr shutter_rule unheld_rules[] = {
    {"s1", SHUTTER_FULL, "s2 event generate instead of s1!!"},
};
constexpr shutter_rule held_rules[] = {
    {"s1", SHUTTER_FULL, "s2 pushed while s1 still pushed!!"},
    {"s2", SHUTTER_OPEN, "s1 released while s2 still pushed!!"},
};

bool is_broken(const shutter_rule &rule)
{
    int state = 0;
    if (!rova_property_get(SHUTTER_CLASS, SHUTTER_BUTTON, &state))
        return true;
    if (state == rule.state)
        ROVA_LOG_NOTICE("\033[33m%s\n", rule.message);
    return state == rule.state;
}

bool shutter_fails(std::span<const shutter_rule> rules, const rova_key_row &key)
{
    return std::ranges::any_of(
        rules, [&](const shutter_rule &rule) { return is_key(key, rule.key) && is_broken(rule); });
}

// False when the driver cannot be read, or by the shutter button.  A request to stop ends the wait
// as the key does.
bool wait_for_code(const rova_key_row &key)
{
    while (key.code != 0 && rova_check_stop() == 0) {
        int code = rova_sysfs_read_int(ROVA_KEYCODE_PATH);
        if (code < 0 || shutter_fails(unheld_rules, key))
            return false;
        sys_usleep(WAIT_POLL_US);
        if (code == static_cast<int>(key.code))
            break;
    }
    ROVA_LOG_NOTICE("\033[33mkeycode : %d\n", static_cast<int>(key.code));
    return true;
}

bool read_pushed_keys(uint32_t *pushed)
{
    char text[ROVA_SYSFS_TEXT_SIZE + 1] = {};
    if (rova_sysfs_read_string(ROVA_PUSHED_KEYS_PATH, text) < 0 && text[0] == '\0') {
        ROVA_LOG_ERR("failed to open \"%s\" (%s) \n", ROVA_PUSHED_KEYS_PATH, rova_reason());
        return false;
    }
    *pushed = static_cast<uint32_t>(rova_str2int(text));
    return true;
}

bool show_hold(const rova_key_row &key, int wanted_ms, uint64_t start)
{
    ROVA_LOG_INFO("set_press_time : %dms\n", wanted_ms);
    ROVA_LOG_INFO("prev_tick : %lluus\n", static_cast<unsigned long long>(start));
    ROVA_LOG_INFO("key_idx : %d\n", static_cast<int>(&key - rova_key_tbl));
    uint32_t pushed = 0;
    if (!read_pushed_keys(&pushed))
        return false;
    ROVA_LOG_INFO("sysfs_str : 0x%08x, rova_key_tbl[i].mask : 0x%08x \n", pushed, key.mask);
    return true;
}

bool is_over(uint64_t duration_us, int wanted_ms)
{
    auto duration_ms = static_cast<int64_t>(duration_us / 1000);
    if (duration_ms <= wanted_ms)
        return false;
    ROVA_LOG_INFO("PASSED\n");
    ROVA_LOG_INFO("duration(%ums) is over than set_press_time(%ums)\n",
                  static_cast<unsigned int>(duration_ms), static_cast<unsigned int>(wanted_ms));
    return true;
}

// Waits until the key has been held for longer than the time; a release starts it over.
bool wait_held(const rova_key_row &key, int wanted_ms)
{
    uint64_t start = get_sys_timer_utick();
    if (!show_hold(key, wanted_ms, start))
        return false;
    while (rova_check_stop() == 0) {
        uint32_t pushed = 0;
        if (!read_pushed_keys(&pushed))
            return false;
        uint64_t now = get_sys_timer_utick();
        if (shutter_fails(held_rules, key))
            return false;
        if (is_over(now - start, wanted_ms))
            return true;
        if ((pushed & key.mask) == 0) {
            start = now;
            if (shutter_fails(unheld_rules, key))
                return false;
            sys_usleep(HOLD_POLL_US);
        }
        sys_usleep(HOLD_POLL_US);
    }
    return true;
}

void show_held_key(uint32_t mask)
{
    const auto *key = std::ranges::find(rova_key_tbl, mask, &rova_key_row::mask);
    if (key == std::end(rova_key_tbl))
        return;
    rova_osd_printf(1, "%s key pushed!!", key->name);
    ROVA_LOG_ERR("%s key pushed!!\n", key->name);
    sys_usleep(SHOW_US);
}

bool no_key_is_held()
{
    int held = rova_sysfs_read_int(ROVA_CHECK_PUSH_KEY_PATH);
    if (held < 1)
        return true;
    auto keys = static_cast<uint32_t>(held);
    ROVA_LOG_NOTICE("\033[33mpushed_keys_id : 0x%08x\n", keys);
    for (uint32_t mask = 1; mask != 0; mask <<= 1)
        if ((keys & mask) != 0)
            show_held_key(mask);
    return false;
}

bool wait_push(const cmd_data *record)
{
    const rova_key_row *key = rova_cmd_find_named(rova_key_tbl, record);
    if (key == nullptr)
        return false;
    if (is_key(*key, "nobutton"))
        return no_key_is_held();
    if (rova_sysfs_write_int(ROVA_KEYCODE_PATH, 0) < 0)
        ROVA_LOG_ERR("sysfs write error!\n");
    if (!wait_for_code(*key))
        return false;
    if (record->p_count == 3 && !wait_held(*key, rova_cmd_number(record->p[2])))
        return false;
    if (saving)
        save_row();
    return true;
}

int rova_cmd_key_wait_push(uint32_t cmd_type, cmd_data *record)
{
    bool ok = wait_push(record);
    return rova_cmd_answer(cmd_type, ok, saving ? &save_stream : nullptr);
}

// ------------------------------------------------------------------------- push, release, click

constexpr bool push_events[] = {true};
constexpr bool release_events[] = {false};
constexpr bool click_events[] = {true, false};

// A light that cannot be switched is logged, and costs nothing else.
bool switch_light(bool on)
{
    if (rova_sysfs_write_int(ROVA_TNLCD_STATUS_PATH, on ? 1 : 0) < 0)
        ROVA_LOG_ERR("failed to read \"%s\"\n", ROVA_TNLCD_STATUS_PATH);
    return true;
}

bool fake_events(const rova_key_row &key, std::span<const bool> events)
{
    const rova_key_display display;
    if (!display)
        return false;
    bool is_light = is_key(key, "stlcd_light");
    return std::ranges::all_of(events, [&](bool pressed) {
        return is_light ? switch_light(pressed) : display.send(key.code, pressed);
    });
}

int fake(uint32_t cmd_type, const cmd_data *record, std::span<const bool> events)
{
    const rova_key_row *key = rova_cmd_find_named(rova_key_tbl, record);
    return rova_cmd_answer(cmd_type, key != nullptr && fake_events(*key, events));
}

int rova_cmd_key_push(uint32_t cmd_type, cmd_data *record)
{
    return fake(cmd_type, record, push_events);
}

int rova_cmd_key_release(uint32_t cmd_type, cmd_data *record)
{
    return fake(cmd_type, record, release_events);
}

int rova_cmd_key_click(uint32_t cmd_type, cmd_data *record)
{
    return fake(cmd_type, record, click_events);
}

// ------------------------------------------------------------------------- mask, unmask

// The power key stays, so that the camera can be switched off.
constexpr unsigned long MASK_ALL = 0xfffeffff;

// A mask that cannot be written is logged, and costs nothing else.
int change_mask(uint32_t cmd_type, const cmd_data *record, bool masked)
{
    const rova_key_row *key = rova_cmd_find_named(rova_key_tbl, record);
    if (key == nullptr)
        return rova_cmd_ng(cmd_type);
    bool written = is_key(*key, "all")
                       ? rova_sysfs_write_ulong(ROVA_KEYMASK_PATH, masked ? MASK_ALL : 0) == 0
                       : rova_keymask_change(key->mask, masked);
    if (!written)
        ROVA_LOG_ERR("failed to write \"%s\"\n", ROVA_KEYMASK_PATH);
    return rova_cmd_ok(cmd_type);
}

int rova_cmd_key_mask(uint32_t cmd_type, cmd_data *record)
{
    return change_mask(cmd_type, record, true);
}

int rova_cmd_key_unmask(uint32_t cmd_type, cmd_data *record)
{
    return change_mask(cmd_type, record, false);
}

constexpr rova_cmd_entry key_table[] = {
    // clang-format off
    {"wait_push", rova_cmd_key_wait_push},
    {"push",      rova_cmd_key_push},
    {"release",   rova_cmd_key_release},
    {"click",     rova_cmd_key_click},
    {"mask",      rova_cmd_key_mask},
    {"unmask",    rova_cmd_key_unmask},
    {"save",      rova_cmd_key_save},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(key_table));

} // namespace

// The message of an unknown subcommand names the daemon instead of the family, as ever.
int rova_cmd_key(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(key_table, "rova", cmd_type, record);
}
