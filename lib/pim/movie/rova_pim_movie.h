// The movie test's way to the camera application: the functions that the application lends, and the
// frame and audio analysis that it delivers.
#pragma once

#include <rova/rova.h>

#include <cstdint>

static_assert(sizeof(rova_pim_frame_info) == 16);
static_assert(sizeof(rova_pim_aframe_info) == 32);

// 1 while a movie is being tested, else 0.
int32_t rova_pim_check_mode();
void rova_pim_set_mode(int32_t value);

// Call what the application has registered for it and return its result; without, they do nothing
// and return 0.  On the thread of the movie test.
int rova_pim_movie_set_pos(int position_ms);
int rova_pim_movie_resume();
int rova_pim_movie_pause();
int rova_pim_movie_stop();
int rova_pim_do_video_capture();  // is answered by rova_pim_movie_set_frame_info
int rova_pim_do_aframe_capture(); // is answered by rova_pim_aframe_set_frame_info

// The name of the latest still, the application's; NULL without such a function.
const char *rova_pim_still_name();

// Copy out what the application last delivered by rova_pim_movie_set_frame_info and
// rova_pim_aframe_set_frame_info of rova/rova.h; zeros before the first.  Any thread.  1, or 0 for
// NULL.
int rova_pim_movie_get_frame_info(rova_pim_frame_info *info);
int rova_pim_movie_get_aframe_info(rova_pim_aframe_info *info);
