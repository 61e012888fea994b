// movie: plays a reference movie and judges its frames and its sound.
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "lib/pim/handler/rova_cmd_pim.h"
#include "lib/pim/handler/rova_pim_family.h"
#include "lib/pim/movie/rova_pim_movie.h"
#include "lib/pim/movie/rova_pim_movie_test.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_image.h"
#include "platform/factory_osd.h"
#include "platform/sys.h"

#include <algorithm>
#include <climits>
#include <cstdio>

namespace
{

constexpr int64_t SETTLE_MS = 100; // between two calls to the application
constexpr int32_t USUAL_FRAME_MS = 16;

constinit int32_t config_status = PIM_CONFIG_MISSING;
constinit bool audio_ok = true; // until a sound fails; again behind display_result

int rova_cmd_movie_set(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_set_family_mode(record, answer, PI_MODE_MOVIE);
}

int rova_cmd_movie_read_config(const cmd_data *, rova_cmd_response *answer)
{
    return rova_pim_answer(answer, rova_pim_load_config(__func__, &config_status, false));
}

int32_t milliseconds_of_frame()
{
    const int32_t rate = GetMovieDebugValue7();
    return rate >= 1 ? 1000 / rate : USUAL_FRAME_MS;
}

// In pieces, to see when the run has to end.  Whether it may go on.
bool sleep_ms(int64_t ms)
{
    for (; ms > 0 && rova_pim_may_wait(); ms -= SETTLE_MS)
        sys_usleep(static_cast<useconds_t>(std::min(ms, SETTLE_MS)) * 1000);
    return rova_pim_may_wait();
}

bool settle()
{
    return sleep_ms(SETTLE_MS);
}

bool play(int64_t ms)
{
    rova_pim_movie_resume();
    const bool going_on = sleep_ms(ms);
    rova_pim_movie_pause();
    return going_on;
}

bool seek(int32_t frame, int32_t frame_ms)
{
    rova_pim_movie_set_pos(
        static_cast<int>(std::clamp<int64_t>(int64_t{frame} * frame_ms, INT_MIN, INT_MAX)));
    return settle();
}

// A blue frame has no sound of its own: what was last heard is checked again.
bool check_sound(const rova_pim_movie_part &part)
{
    rova_pim_aframe_info sound = {};
    if (part.colour == PIM_COLOUR_CR)
        rova_pim_do_aframe_capture();
    rova_pim_movie_get_aframe_info(&sound);
    if (checkAudio(sound) == 0)
        audio_ok = false;
    return settle();
}

bool check_frame(const rova_pim_movie_part &part, int32_t frame)
{
    rova_pim_frame_info picture = {};
    if (!settle())
        return false;
    rova_pim_do_video_capture();
    if (!settle())
        return false;
    rova_pim_movie_get_frame_info(&picture);
    if (!settle() || !check_sound(part))
        return false;
    CheckMovie(rova_pim_plane(picture.y_address), picture.width, picture.height, frame);
    return true;
}

// The frames of one colour.  False when the run has to end.
bool check_part(const rova_pim_movie_part &part, int32_t frame_ms)
{
    if (!seek(part.start, frame_ms))
        return false;
    for (int32_t i = 0; i < part.num; i++) {
        const int64_t frame = part.start + int64_t{i} * part.inc;
        if (!check_frame(part, static_cast<int32_t>(frame)) ||
            !play(int64_t{part.inc} * frame_ms) || !settle())
            return false;
    }
    return true;
}

// The frame that is fetched at the end is not looked at.
bool end_movie()
{
    rova_pim_do_video_capture();
    if (!settle())
        return false;
    rova_pim_movie_resume();
    return settle();
}

bool run_movie(int64_t play_ms, int32_t frame_ms)
{
    return play(play_ms) && check_part(rova_pim_movie_red(cfgMovie), frame_ms) &&
           check_part(rova_pim_movie_blue(cfgMovie), frame_ms) && end_movie();
}

// OK whatever is wrong with the movie's frames, as long as all of them could be judged.
bool start_movie(const char *name, int64_t play_ms)
{
    const int32_t frame_ms = milliseconds_of_frame();
    const int32_t refused = cfgMovie.refused;
    rova_pim_print("%s %d : framePerMilisecond = %dmsec, GetMovieDebugValue7() = %d\n", name,
                   __LINE__, frame_ms, GetMovieDebugValue7());
    rova_pim_set_mode(1);
    rova_pim_print("%s %d : movie start\n", name, __LINE__);
    const bool whole = run_movie(play_ms, frame_ms);
    if (!whole)
        ROVA_LOG_ERR("the movie test was stopped\n");
    rova_pim_movie_stop();
    return whole && cfgMovie.refused == refused;
}

int rova_cmd_movie_start(const cmd_data *record, rova_cmd_response *answer)
{
    const bool ok = record->p_count >= 2 && config_status != PIM_CONFIG_MISSING &&
                    start_movie(__func__, rova_pim_number(record, 1));
    rova_pim_set_mode(0);
    return rova_pim_answer(answer, ok);
}

// What failed is told by its colour and by the sound: the total, which counts the frames too, is in
// the table.
bool show_verdict()
{
    int32_t total = PIM_NO_RESULT;
    int32_t red = 1;
    int32_t blue = 1;
    GetMovieResult(&total, &red, &blue);
    if (red == 1 && blue == 1 && audio_ok) {
        if (total != 1)
            ROVA_LOG_ERR("no frame and no sound failed, but the movie's total %s: %d of %d frames "
                         "were checked\n",
                         total == 0 ? "did" : "is missing", cfgMovie.frameCount,
                         cfgMovie.totalFrames);
        rova_osd_draw(FACTORY_OSD_DRAW_OK, "");
        return true;
    }
    // Only red is parted from what follows.
    const bool more = blue == 0 || !audio_ok;
    const char *red_part = red != 0 ? "" : more ? "Red," : "Red";
    char text[32];
    std::snprintf(text, sizeof(text), "%s%s%s", red_part, blue != 0 ? "" : "Blue",
                  audio_ok ? "" : "Audio");
    rova_osd_draw(FACTORY_OSD_DRAW_NG, text);
    return false;
}

bool display_on(const char *name, const cmd_data *record, rova_cmd_response *answer)
{
    const auto lock = rova_pim_lock_records();
    const bool written = rova_pim_write_csv(name, rova_pim_param(record, 2), &answer->stream);
    return show_verdict() && written;
}

bool display_result(const char *name, const cmd_data *record, rova_cmd_response *answer)
{
    rova_pim_print("%s", audio_ok ? "Audio result: OK" : "Audio result: NG");
    if (record->p_count < 2)
        return false;
    if (rova_pim_param_is(record, 1, "off"))
        return rova_pim_display_off(name);
    if (config_status == PIM_CONFIG_MISSING) {
        rova_pim_print("%s %d : display result: read config error\n", name, __LINE__);
        rova_osd_draw(FACTORY_OSD_DRAW_NG, "read config");
        return false;
    }
    return rova_pim_param_is(record, 1, "on") && display_on(name, record, answer);
}

int rova_cmd_movie_display_result(const cmd_data *record, rova_cmd_response *answer)
{
    const bool ok = display_result(__func__, record, answer);
    audio_ok = true;
    return rova_pim_answer(answer, ok);
}

// movie_start and display_result end in their own way also when they are refused.
constexpr rova_pim_cmd MOVIE_CMDS[] = {
    // clang-format off
    {"set",            rova_cmd_movie_set,            2, nullptr},
    {"read_config",    rova_cmd_movie_read_config,    1, nullptr},
    {"movie_start",    rova_cmd_movie_start,          0, nullptr},
    {"display_result", rova_cmd_movie_display_result, 0, nullptr},
    // clang-format on
};

} // namespace

int rova_cmd_movie(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_family_exec(MOVIE_CMDS, record, answer);
}
