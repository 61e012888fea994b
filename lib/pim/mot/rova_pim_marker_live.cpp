#include "lib/pim/mot/rova_pim_marker.h"
#include "lib/pim/mot/rova_pim_window.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>

namespace
{

constexpr char START[] = " <<<<< LIVE VIEW START.... >>>>> \n";
constexpr char END[] = " <<<<< LIVE VIEW END .... >>>>> \n";
constexpr int32_t NO_MINIMUM = 9999;

// The colour stands for a chart; one that nobody knows for the third, with the usual markers.
struct marker_kind {
    int32_t colour;
    int32_t chart;
};

marker_kind kind_of(int32_t colour)
{
    if (colour == PIM_COLOUR_CR)
        return {PIM_COLOUR_CR, 0};
    return colour == PIM_COLOUR_CB ? marker_kind{PIM_COLOUR_CB, 1} : marker_kind{PIM_COLOUR_CR, 2};
}

// Around all hits, from corner to corner; `end` of them is the greatest position.
struct bounds {
    rova_pim_point begin = {NO_MINIMUM, NO_MINIMUM};
    rova_pim_point end = {0, 0};

    void add(const rova_pim_hits &hits)
    {
        begin = {std::min(begin.x, hits.from), std::min(begin.y, hits.y)};
        end = {std::max(end.x, hits.to - 1), std::max(end.y, hits.y)};
    }
    // A greatest position of 0 is none: it does not tell a hit from no hit.
    rova_pim_rect with_array(int32_t w, int32_t h) const
    {
        return {begin.x, begin.y, end.x != 0 ? end.x + w : 0, end.y != 0 ? end.y + h : 0};
    }
};

void find_areas(const rova_pim_marker_search &search, rova_pim_pm_config &cfg,
                rova_pim_box (&areas)[PIM_MARKERS])
{
    const rova_pim_point limit = rova_pim_chroma_limit(search);
    for (int k = 0; k < PIM_MARKERS; k++) {
        areas[k] = rova_pim_marker_area(search, k, cfg);
        cfg.iCmFoundFlag[k] = rova_pim_area_is_inside(areas[k], limit) ? 1 : 0;
        if (cfg.iCmFoundFlag[k] == 0)
            rova_pim_report(" COLOR MARKER EXCEED IMAGE RANGE [%d].... %5d x %5d > %5d x %d \n", k,
                            areas[k].x1, areas[k].y1, limit.x, limit.y);
    }
    rova_pim_print_marker_areas(search, areas);
}

int32_t centre_of(int32_t factor, int64_t begin, int64_t area, int64_t end)
{
    return static_cast<int32_t>(factor * (begin + 2 * area + end) / 2);
}

void take_marker(const rova_pim_marker_search &search, int marker, const rova_pim_rect &box,
                 const rova_pim_box &area, rova_pim_pm_config &cfg)
{
    const int32_t w = box.x1 - box.x0, h = box.y1 - box.y0;
    rova_pim_point &centre = cfg.cmCenter[marker];
    rova_pim_debug(" L-COORD : ( %4d, %4d ) , ( %4d, %4d ) :  %d x %d \n", box.x0, box.y0, box.x1,
                   box.y1, w, h);
    if (w > 0 && h > 0)
        centre = {centre_of(search.by.fx, box.x0, area.x0, box.x1),
                  centre_of(search.by.fy, box.y0, area.y0, box.y1)};
    rova_pim_debug(" C-COORD : ( %4d, %4d ) \n\n", centre.x, centre.y);
}

int search_marker(const rova_pim_marker_search &search, int marker, const rova_pim_box &area,
                  rova_pim_pm_config &cfg, rova_pim_histogram &histogram)
{
    const bool prints = cfg.dbgLevel[2] != 0;
    bounds hit;
    // More than arrayCount, where the screen nail's search is content with as many.
    if (rova_pim_walk_marker(search, area, int64_t{cfg.arrayCount} + 1,
                             rova_pim_row_step::AFTER_IN_RANGE, cfg, prints ? &histogram : nullptr,
                             [&](const rova_pim_hits &hits) { hit.add(hits); }) != 0)
        return -1;
    if (prints)
        rova_pim_print_histogram(histogram);
    take_marker(search, marker, hit.with_array(cfg.arrayW, cfg.arrayH), area, cfg);
    return 0;
}

// Up to the first marker that cannot be searched.
void search_markers(const rova_pim_marker_search &search, rova_pim_pm_config &cfg)
{
    rova_pim_box areas[PIM_MARKERS];
    rova_pim_histogram histogram = {};
    find_areas(search, cfg, areas);
    for (int k = 0; k < PIM_MARKERS && cfg.iCmFoundFlag[k] != 0; k++) {
        if (search_marker(search, k, areas[k], cfg, histogram) != 0)
            break;
    }
    rova_pim_measure_markers(cfg);
}

// The flags of markers without a place fall.
bool all_found(rova_pim_pm_config &cfg)
{
    bool all = true;
    for (int k = 0; k < PIM_MARKERS; k++) {
        int32_t &flag = cfg.iCmFoundFlag[k];
        flag = flag == 1 && cfg.cmCenter[k].x > 0 && cfg.cmCenter[k].y > 0 ? 1 : 0;
        rova_pim_debug(" iCmFoundFlag[%d] = %d \n", k, flag);
        all = all && flag == 1;
    }
    return all;
}

void search_frame(const rova_pim_image &frame, int32_t colour, rova_pim_pm_config &cfg)
{
    const marker_kind kind = kind_of(colour);
    rova_pim_debug(" CHART = %s \n", rova_pim_chart_name(kind.chart));
    rova_pim_debug(" COLOR = %s \n", rova_pim_colour_name(kind.colour));
    const rova_pim_marker_search search = {frame,
                                           PIM_IMAGE_LIVE_VIEW,
                                           kind.colour,
                                           kind.chart,
                                           cfg.liveLcdW,
                                           cfg.liveLcdH,
                                           rova_pim_chroma_subsampling(frame.iCS)};
    if (rova_pim_marker_check(search, cfg) != 0)
        return;
    cmWinW = cfg.lvSearchW;
    cmWinH = cfg.lvSearchH;
    rova_pim_print_marker_window_size();
    search_markers(search, cfg);
    if (!all_found(cfg)) {
        rova_pim_debug(" NOT FOUND COLOR Marker : NG !!!! \n");
        return;
    }
    cfg.liveResult = 1;
    rova_pim_debug(" [ LIVE VIEW ] FOUND COLOR Marker : OK !!!! \n\n");
    rova_pim_print_markers(cfg);
    rova_pim_place_live_windows(cfg.cmCenter, cfg.scrWin, kind.colour, kind.chart, cfg);
}

} // namespace

void rova_pim_search_live_view(const rova_pim_image &frame, int32_t colour, rova_pim_pm_config &cfg)
{
    rova_pim_open_debug_file(cfg);
    rova_pim_debug(START);
    cfg.liveResult = 0;
    std::ranges::fill(cfg.iCmFoundFlag, 0);
    std::ranges::fill(cfg.cmCenter, rova_pim_point{0, 0});
    search_frame(frame, colour, cfg);
    rova_pim_debug("%s liveResult = %d \n", cfg.liveResult == 1 ? "PIM_SUCC," : "PIM_ERR",
                   cfg.liveResult);
    rova_pim_debug(END);
    rova_pim_debug_close();
}
