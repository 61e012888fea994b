#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "common/rova_log.h"
#include "common/rova_sound.h"

#include <cstring>

namespace
{

struct sound_row {
    const char *name;
    rova_sound_type type;
};

// Played to the end.
constexpr sound_row short_sounds[] = {
    {"af", ROVA_SOUND_AF},
    {"ok", ROVA_SOUND_BUTTON},
    {"burst", ROVA_SOUND_SHUTTER},
    {"low_battery", ROVA_SOUND_LOW_BATTERY},
};

// Goes on until it is switched off.
constexpr char LONG_SOUND[] = "1KHZ_sound";

constexpr int VOLUME_STEPS = 5;

int rova_cmd_sound_play(uint32_t cmd_type, cmd_data *record)
{
    if (const sound_row *sound = rova_cmd_find_named(short_sounds, record))
        return rova_cmd_answer(cmd_type, rova_play_sound(sound->type) != 0);
    uint8_t on = 0;
    if (std::strcmp(rova_cmd_param(record, 1), LONG_SOUND) == 0 &&
        rova_cmd_on_off(rova_cmd_param(record, 2), &on))
        return rova_cmd_answer(
            cmd_type, (on ? rova_play_sound_async(ROVA_SOUND_1KHZ) : rova_stop_sound()) != 0);
    ROVA_LOG_ERR("Not found on sound_play command table\n");
    return rova_cmd_ng(cmd_type);
}

int rova_cmd_sound_volume(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    if (record->p_count > 2) {
        ROVA_LOG_ERR("Not found on sound_volume command table \n");
        return rova_cmd_ng(cmd_type);
    }
    int step = rova_cmd_number(record->p[1]);
    if (step < 0 || step >= VOLUME_STEPS)
        return rova_cmd_ng(cmd_type);
    rova_set_volume(step);
    return rova_cmd_ok(cmd_type);
}

constexpr rova_cmd_entry sound_table[] = {
    {"play", rova_cmd_sound_play},
    {"volume", rova_cmd_sound_volume},
};
static_assert(rova_cmd_table_is_sound(sound_table));

} // namespace

int rova_cmd_sound(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(sound_table, "cmd_sound", cmd_type, record);
}
