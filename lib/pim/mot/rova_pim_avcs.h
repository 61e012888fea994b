// The alignment check: is the camera straight before its chart?  Live-view frames are searched for
// the chart's markers, and the operator is shown which of them were found, until all were or the
// shutter key is pressed.
//
// The frames come on the capture service's thread; a handler on the command thread waits for
// gAvcsFinished.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "platform/capture.h"

#include <atomic>
#include <cstdint>

extern std::atomic<int32_t>
    gAvcsFinished; // 1: found, or ended by the operator; cleared by who waits

struct rova_pim_avcs_result {
    int32_t liveResult;
    int32_t iCmFoundFlag[PIM_MARKERS];
};
static_assert(sizeof(rova_pim_avcs_result) == 5 * sizeof(int32_t));

// In pixels of the camera's display.
struct rova_pim_avcs_window {
    int32_t x;
    int32_t y;
    int32_t w;
    int32_t h;
};

// Searches a frame, and dumps it if the configuration says so.  `chart` is not looked at: the check
// is made with the wide one.  A frame that cannot be is refused with a line in the log, the first
// of a series.
void CheckAvcs(uint32_t y, int32_t pitch, int32_t width, int32_t height, int32_t chart);

// What the last search found.
rova_pim_avcs_result GetAvcsResult();

// Where marker k is expected; all 0, with a report, for another or without a configured image size.
rova_pim_avcs_window GetAvcsWindow(int32_t k);

// The capture service's callback: every frame reads the shutter key, every 30th is searched.
void rova_pim_liveview_data_receiver(uint32_t id, const capture_live_view *frame);
