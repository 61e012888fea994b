#include "common/rova_sound.h"

#include "common/rova_log.h"
#include "platform/sound.h"

#define SOUND_DIR "/usr/apps/com.halvex.lumen-app/res/sounds/camera/"

namespace
{

struct Sound {
    int type;
    const char *path;
};

constexpr Sound SOUNDS[] = {
    {ROVA_SOUND_AF, SOUND_DIR "07_N_AF.wav"},
    {ROVA_SOUND_BUTTON, SOUND_DIR "06_N_SButton.wav"},
    {ROVA_SOUND_SHUTTER, SOUND_DIR "10_N_Shutter_30f_1sec.wav"},
    {ROVA_SOUND_LOW_BATTERY, SOUND_DIR "13_N_NoBattery.wav"},
    {ROVA_SOUND_1KHZ, SOUND_DIR "1KHz_sound.wav"},
};

constexpr int VOLUME_TYPE = 0;
constexpr unsigned int TOP_STEP = 3;
constexpr int ALL_SOUNDS = -1;

int volume_step = 0;
bool async_running = false;

using play_fn = int (*)(const char *path, int type, mm_sound_qz_callback callback, void *user_data,
                        int *handle);

void sound_ended(void * /*user_data*/) {}

const char *sound_path(int type)
{
    for (const Sound &sound : SOUNDS)
        if (sound.type == type)
            return sound.path;
    return nullptr;
}

int play_with(play_fn play, int type, bool async)
{
    const char *path = sound_path(type);
    if (path == nullptr) {
        ROVA_LOG_ERR("Not permit sound (type=%d) \n", type);
        return 0;
    }
    // A sound that is marked as running is left alone.
    if (!async_running)
        mm_sound_qz_stop_sound(ALL_SOUNDS);
    int handle = 0;
    if (play(path, VOLUME_TYPE, sound_ended, nullptr, &handle) < 0) {
        ROVA_LOG_ERR("failed to play sound (%s) \n", path);
        return 0;
    }
    async_running = async;
    return 1;
}

} // namespace

int rova_set_volume(int step)
{
    int before = volume_step;
    unsigned int max = 0;
    if (mm_sound_qz_volume_get_max(VOLUME_TYPE, &max) < 0)
        return before;
    unsigned int value = (max - 1) * static_cast<unsigned int>(step) / TOP_STEP;
    if (mm_sound_qz_volume_set_value(VOLUME_TYPE, value) < 0) {
        ROVA_LOG_ERR("cannot set volume step \n");
        return before;
    }
    volume_step = step;
    return before;
}

int rova_play_sound(int type)
{
    return play_with(mm_sound_qz_play_sound_sync, type, false);
}

int rova_play_sound_async(int type)
{
    return play_with(mm_sound_qz_play_sound, type, true);
}

int rova_stop_sound()
{
    if (async_running)
        mm_sound_qz_stop_sound(ALL_SOUNDS);
    async_running = false;
    return 1;
}
