// The coloured markers at the corners of a resolution chart: where a picture has them.  Both
// searches use the picture buffer and run on the capture service's thread.
#pragma once

#include "lib/pim/mot/rova_pim_boxes.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_image.h"

#include <cstdint>

// Finds the markers of a chart in a screen nail and places the chart's windows.  0, or -1: a marker
// is missing, or, reported, no search is possible with this picture and configuration.
int rova_pim_search_screen_nail(const rova_pim_image &screen, int32_t colour, int32_t chart,
                                rova_pim_pm_config &cfg);

// Finds the markers in a frame of the live view, of the chart that the colour stands for:
// liveResult and iCmFoundFlag of the record, the windows where all were found.
void rova_pim_search_live_view(const rova_pim_image &frame, int32_t colour,
                               rova_pim_pm_config &cfg);

// -- what the two searches share

enum rova_pim_image_type : int32_t { PIM_IMAGE_LIVE_VIEW, PIM_IMAGE_SCREEN_NAIL, PIM_IMAGE_FULL };

// Bytes from the first of the Y plane to the chroma plane of a colour; 0, with a report, for types
// and colours that there are none of.
int32_t rova_pim_chroma_offset(const rova_pim_pm_config &cfg, int32_t image_type, int32_t colour);

// The picture that a search looks at, and where its numbers come from.
struct rova_pim_marker_search {
    const rova_pim_image &image;
    int32_t image_type;
    int32_t colour;
    int32_t chart;
    int32_t scaleW; // the picture's size as configured
    int32_t scaleH;
    rova_pim_subsampling by;
};

// "WIDE", "TELE" or "MID"; "RED" or "BLUE", "ERROR" for another.
const char *rova_pim_chart_name(int32_t chart);
const char *rova_pim_colour_name(int32_t colour);

// 0, or -1 with a report: no colour space with chroma, or sizes in the configuration that no search
// can work with.
int rova_pim_marker_check(const rova_pim_marker_search &search, const rova_pim_pm_config &cfg);

// The rectangle to search for a marker, in chroma values of the picture and within it; cmWinW and
// cmWinH are the search's size.  w and h are the corners' differences.
rova_pim_box rova_pim_marker_area(const rova_pim_marker_search &search, int32_t marker,
                                  const rova_pim_pm_config &cfg);

// True when the area ends in the picture, whose last chroma values are at `limit`.
bool rova_pim_area_is_inside(const rova_pim_box &area, const rova_pim_point &limit);
rova_pim_point rova_pim_chroma_limit(const rova_pim_marker_search &search);
void rova_pim_print_marker_areas(const rova_pim_marker_search &search,
                                 const rova_pim_box (&areas)[PIM_MARKERS]);

// Walks boxes over an area's values: the hits, and the histogram of all if there is one to count
// in.  `count` is the least number of values in range.  0, or -1 with a report: the picture or the
// buffer has no room for the area.
int rova_pim_walk_marker(const rova_pim_marker_search &search, const rova_pim_box &area,
                         int64_t count, rova_pim_row_step step, const rova_pim_pm_config &cfg,
                         rova_pim_histogram *histogram, const rova_pim_hit_function &on_hits);

void rova_pim_print_histogram(const rova_pim_histogram &histogram);
void rova_pim_print_marker_window_size();
// The distance of the markers found, to cmDistX and cmDistY.
void rova_pim_measure_markers(rova_pim_pm_config &cfg);
void rova_pim_print_markers(const rova_pim_pm_config &cfg);
