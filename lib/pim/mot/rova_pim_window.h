// The windows of a chart: those to search its markers in, and those of its wedges, reckoned from
// the markers found.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"

#include <cstdint>

// The middle distances of four markers from left to right and from top to bottom.
rova_pim_point rova_pim_marker_distance(const rova_pim_point (&markers)[PIM_MARKERS]);

// The window of cmWinW x cmWinH around a marker, in pixels of the full image and within it.
rova_pim_box rova_pim_marker_window(const rova_pim_point &centre, const rova_pim_pm_config &cfg);

// -- the wedges' windows, on the capture service's thread

// Screen nail: offsets and sizes scale with the distance of the markers.  `colour` is only printed.
// 0, or -1 with a report and the windows as they were: no such chart, or one whose configured
// markers have no distance.
int rova_pim_place_windows(const rova_pim_point (&centres)[PIM_MARKERS],
                           rova_pim_box (&windows)[PIM_WINDOWS], int32_t colour, int32_t chart,
                           const rova_pim_pm_config &cfg);

// Live view: they scale as the live view does with the full image.  As above; no size of the full
// image is refused.
int rova_pim_place_live_windows(const rova_pim_point (&centres)[PIM_MARKERS],
                                rova_pim_box (&windows)[PIM_WINDOWS], int32_t colour, int32_t chart,
                                const rova_pim_pm_config &cfg);
