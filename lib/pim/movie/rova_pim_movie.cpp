#include "lib/pim/movie/rova_pim_movie.h"

#include "common/rova_log.h"
#include "lib/rova_app_thread.h"

#include <atomic>
#include <mutex>

namespace
{

using set_pos_func = int (*)(int position_ms);
using action_func = int (*)();
using still_name_func = const char *(*)();

constinit std::atomic<int32_t> movie_mode = 0;

// The application may deliver on a thread of its own.
constinit std::mutex info_lock;
constinit rova_pim_frame_info frame_info = {};
constinit rova_pim_aframe_info aframe_info = {};

template <typename Function> Function lent(int id)
{
    return reinterpret_cast<Function>(rova_get_app_func(id));
}

int act(int id)
{
    const auto function = lent<action_func>(id);
    return function != nullptr ? function() : 0;
}

template <typename Info> int copy_info(const Info *from, Info *to)
{
    if (from == nullptr || to == nullptr) {
        ROVA_LOG_ERR("info is NULL \n");
        return 0;
    }
    const std::lock_guard guard(info_lock);
    *to = *from;
    return 1;
}

} // namespace

int32_t rova_pim_check_mode()
{
    return movie_mode;
}

void rova_pim_set_mode(int32_t value)
{
    movie_mode = value;
}

int rova_pim_movie_set_pos(int position_ms)
{
    const auto function = lent<set_pos_func>(ROVA_APP_MOVIE_SET_POS);
    return function != nullptr ? function(position_ms) : 0;
}

int rova_pim_movie_resume()
{
    return act(ROVA_APP_MOVIE_RESUME);
}

int rova_pim_movie_pause()
{
    return act(ROVA_APP_MOVIE_PAUSE);
}

int rova_pim_movie_stop()
{
    return act(ROVA_APP_MOVIE_STOP);
}

int rova_pim_do_video_capture()
{
    return act(ROVA_APP_VIDEO_FRAME);
}

int rova_pim_do_aframe_capture()
{
    return act(ROVA_APP_AUDIO_FRAME);
}

const char *rova_pim_still_name()
{
    const auto function = lent<still_name_func>(ROVA_APP_STILL_NAME);
    return function != nullptr ? function() : nullptr;
}

int rova_pim_movie_set_frame_info(const rova_pim_frame_info *info)
{
    return copy_info(info, &frame_info);
}

int rova_pim_movie_get_frame_info(rova_pim_frame_info *info)
{
    return copy_info<rova_pim_frame_info>(&frame_info, info);
}

int rova_pim_aframe_set_frame_info(const rova_pim_aframe_info *info)
{
    return copy_info(info, &aframe_info);
}

int rova_pim_movie_get_aframe_info(rova_pim_aframe_info *info)
{
    return copy_info<rova_pim_aframe_info>(&aframe_info, info);
}
