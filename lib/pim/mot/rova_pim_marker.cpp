#include "lib/pim/mot/rova_pim_marker.h"

#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_window.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace
{

constexpr int32_t LONGEST_SIDE = 65535; // of a configured picture
constexpr int32_t LONGEST_BAR = 100;    // of the printed histogram

int32_t narrow(int64_t value)
{
    return static_cast<int32_t>(value);
}

bool is_side(int32_t pixels)
{
    return pixels > 0 && pixels <= LONGEST_SIDE;
}

// 0 for a limit that is none.
int32_t clamp_to(int64_t value, int32_t limit)
{
    return narrow(std::max<int64_t>(std::min<int64_t>(value, limit), 0));
}

bool all_found(const rova_pim_pm_config &cfg)
{
    return std::ranges::all_of(
        cfg.cmCenter, [](const rova_pim_point &centre) { return centre.x >= 1 && centre.y >= 1; });
}

int32_t area_of(const rova_pim_rect &box)
{
    return (box.x1 - box.x0 + 1) * (box.y1 - box.y0 + 1);
}

// Hits that are no further apart than two boxes make a group.
class Groups
{
public:
    Groups(int32_t w, int32_t h) : w_(w), h_(h) {}
    void add(const rova_pim_hits &hits);
    // Prints them and gives the first of the greatest, all 0 without one.
    rova_pim_rect best() const;

private:
    bool near_row(const rova_pim_rect &group, int32_t y) const
    {
        return y > group.y0 - 2 * h_ && y < group.y1 + 2 * h_;
    }
    int find(int32_t x, int32_t y) const;
    int32_t next_start(int count, const rova_pim_hits &hits) const;
    void grow(rova_pim_rect &group, const rova_pim_hits &hits) const;

    int32_t w_; // of a box
    int32_t h_;
    int count_ = 0;
    std::array<rova_pim_rect, 32> groups_ = {};
};

// The first group that a hit at (x, y) is near to; count_ without one.
int Groups::find(int32_t x, int32_t y) const
{
    const auto begin = groups_.begin();
    const auto found = std::find_if(begin, begin + count_, [=, this](const rova_pim_rect &group) {
        return x > group.x0 - 2 * w_ && x < group.x1 + 2 * w_ && near_row(group, y);
    });
    return static_cast<int>(found - begin);
}

// The first of the hits behind the one in hand that is near to one of the first `count` groups.
int32_t Groups::next_start(int count, const rova_pim_hits &hits) const
{
    int32_t next = hits.to;
    for (int i = 0; i < count; i++) {
        const rova_pim_rect &group = groups_[static_cast<std::size_t>(i)];
        const int32_t start = group.x0 - 2 * w_ + 1;
        if (start > hits.from && near_row(group, hits.y))
            next = std::min(next, start);
    }
    return next;
}

// As hit after hit would: one past the group's right end moves that end by a whole box.
void Groups::grow(rova_pim_rect &group, const rova_pim_hits &hits) const
{
    group.x0 = std::min(group.x0, hits.from);
    group.y0 = std::min(group.y0, hits.y);
    const int32_t first = std::max(hits.from, group.x1 + 1);
    if (first < hits.to)
        group.x1 = first + (hits.to - 1 - first) / w_ * w_ + w_ - 1;
    if (hits.y > group.y1)
        group.y1 = hits.y + h_ - 1;
}

// Each hit belongs to the first group it is near to, so side by side they may change groups where
// an earlier one begins.  In a full table a new group's hits are dropped.
void Groups::add(const rova_pim_hits &hits)
{
    rova_pim_hits rest = hits;
    while (rest.from < hits.to) {
        const int index = find(rest.from, rest.y);
        const bool opens = index == count_;
        rest.to = next_start(index, {rest.from, hits.to, rest.y});
        if (opens && count_ < static_cast<int>(groups_.size()))
            groups_[static_cast<std::size_t>(count_++)] = {rest.from, rest.y, rest.from + w_ - 1,
                                                           rest.y + h_ - 1};
        if (index < count_)
            grow(groups_[static_cast<std::size_t>(index)], rest);
        rest.from = rest.to;
    }
}

rova_pim_rect Groups::best() const
{
    if (count_ == 0)
        return {0, 0, 0, 0};
    const auto end = groups_.begin() + count_;
    for (auto it = groups_.begin(); it != end; it++)
        rova_pim_debug("        [%2d] = S( %4d , %4d ) E( %4d , %4d ) = %7d \n",
                       static_cast<int>(it - groups_.begin()), it->x0, it->y0, it->x1, it->y1,
                       area_of(*it));
    const auto best = std::max_element(groups_.begin(), end,
                                       [](const rova_pim_rect &one, const rova_pim_rect &other) {
                                           return area_of(one) < area_of(other);
                                       });
    rova_pim_debug(" BEST : [%2d] = S( %4d , %4d ) E( %4d , %4d ) \n\n",
                   static_cast<int>(best - groups_.begin()), best->x0, best->y0, best->x1,
                   best->y1);
    return *best;
}

int find_areas(const rova_pim_marker_search &search, const rova_pim_pm_config &cfg,
               rova_pim_box (&areas)[PIM_MARKERS])
{
    const rova_pim_point limit = rova_pim_chroma_limit(search);
    for (int k = 0; k < PIM_MARKERS; k++) {
        areas[k] = rova_pim_marker_area(search, k, cfg);
        if (!rova_pim_area_is_inside(areas[k], limit)) {
            rova_pim_report(" COLOR MARKER EXCEED IMAGE RANGE.... %5d x %5d > %5d x %d \n",
                            areas[k].x1, areas[k].y1, limit.x, limit.y);
            return -1;
        }
    }
    rova_pim_print_marker_areas(search, areas);
    return 0;
}

void set_windows(int32_t chart, rova_pim_pm_config &cfg)
{
    for (int k = 0; k < PIM_MARKERS; k++) {
        rova_pim_box &window = cfg.cmWin[k];
        window = rova_pim_marker_window(cfg.chart[chart].cm[k], cfg);
        rova_pim_debug(" [%d] COLOR MAKER'S WINDOW : (%5d , %5d) , (%5d , %5d) : %5d x %5d \n", k,
                       window.x0, window.y0, window.x1, window.y1, window.w, window.h);
    }
}

// A box in the picture's chroma values as one in pixels of the full image.
rova_pim_rect in_full_image(const rova_pim_rect &box, const rova_pim_marker_search &search,
                            const rova_pim_pm_config &cfg)
{
    const auto x = [&](int64_t at) {
        return narrow(at * search.by.fx * cfg.imageW / search.scaleW);
    };
    const auto y = [&](int64_t at) {
        return narrow(at * search.by.fy * cfg.imageH / search.scaleH);
    };
    return {x(box.x0), y(box.y0), x(box.x1), y(box.y1)};
}

void take_marker(const rova_pim_marker_search &search, int marker, rova_pim_rect box,
                 const rova_pim_box &area, rova_pim_pm_config &cfg)
{
    const int32_t w = box.x1 - box.x0, h = box.y1 - box.y0;
    rova_pim_debug(" L-COORD : ( %4d, %4d ) , ( %4d, %4d ) :  %d x %d \n", box.x0, box.y0, box.x1,
                   box.y1, w, h);
    box = {box.x0 + area.x0, box.y0 + area.y0, box.x1 + area.x0, box.y1 + area.y0};
    const rova_pim_point centre = {narrow(search.by.fx * (int64_t{box.x0} + box.x1) / 2),
                                   narrow(search.by.fy * (int64_t{box.y0} + box.y1) / 2)};
    rova_pim_debug(" C-COORD : ( %4d, %4d ) \n\n", centre.x, centre.y);
    if (w > 0 && h > 0)
        cfg.cmCenter[marker] = centre;
    cfg.cmRect[marker] = in_full_image(box, search, cfg);
}

int search_marker(const rova_pim_marker_search &search, int marker, const rova_pim_box &area,
                  rova_pim_pm_config &cfg, rova_pim_histogram &histogram)
{
    const bool prints = cfg.dbgLevel[2] != 0;
    Groups groups(cfg.arrayW, cfg.arrayH);
    cfg.cmCenter[marker] = {0, 0};
    if (rova_pim_walk_marker(search, area, cfg.arrayCount, rova_pim_row_step::AFTER_HIT, cfg,
                             prints ? &histogram : nullptr,
                             [&](const rova_pim_hits &hits) { groups.add(hits); }) != 0)
        return -1;
    const rova_pim_rect box = groups.best();
    if (prints)
        rova_pim_print_histogram(histogram);
    take_marker(search, marker, box, area, cfg);
    return 0;
}

// Walks all areas once more for their values, which a search that is not to print them leaves
// alone.
void count_values(const rova_pim_marker_search &search, const rova_pim_box (&areas)[PIM_MARKERS],
                  const rova_pim_pm_config &cfg, rova_pim_histogram &histogram)
{
    for (const rova_pim_box &area : areas)
        rova_pim_walk_marker(search, area, cfg.arrayCount, rova_pim_row_step::AFTER_HIT, cfg,
                             &histogram, [](const rova_pim_hits &) {});
}

} // namespace

int32_t rova_pim_chroma_offset(const rova_pim_pm_config &cfg, int32_t image_type, int32_t colour)
{
    const int32_t offsets[][2] = {{cfg.liveLcdCbOffset, cfg.liveLcdCrOffset},
                                  {cfg.scrCbOffset, cfg.scrCrOffset},
                                  {cfg.mainCbOffset, cfg.mainCrOffset}};
    if (image_type < 0 || image_type >= static_cast<int32_t>(std::size(offsets))) {
        rova_pim_report(" Wrong Argutment : ImgType = %d \n", image_type);
        return 0;
    }
    if (colour != PIM_COLOUR_CB && colour != PIM_COLOUR_CR) {
        rova_pim_report(" Wrong Argutment : COLOR = %d \n", colour);
        return 0;
    }
    return offsets[image_type][colour - PIM_COLOUR_CB];
}

const char *rova_pim_chart_name(int32_t chart)
{
    static constexpr const char *NAMES[PIM_CHARTS] = {"WIDE", "TELE", "MID"};
    return chart >= 0 && chart < PIM_CHARTS ? NAMES[chart] : "ERROR";
}

const char *rova_pim_colour_name(int32_t colour)
{
    if (colour == PIM_COLOUR_CR)
        return "RED";
    return colour == PIM_COLOUR_CB ? "BLUE" : "ERROR";
}

int rova_pim_marker_check(const rova_pim_marker_search &search, const rova_pim_pm_config &cfg)
{
    if (search.by.fx == 0) {
        rova_pim_report(" NOT FOUND COLOR Marker : NG !!!! \n\n");
        return -1;
    }
    if (!is_side(cfg.imageW) || !is_side(cfg.imageH) || !is_side(search.scaleW) ||
        !is_side(search.scaleH)) {
        rova_pim_report("no search for markers: %d x %d of %d x %d\n", search.scaleW, search.scaleH,
                        cfg.imageW, cfg.imageH);
        return -1;
    }
    if (cfg.arrayW > 0 && cfg.arrayH > 0)
        return 0;
    rova_pim_report("no search for markers with an array of %d x %d\n", cfg.arrayW, cfg.arrayH);
    return -1;
}

rova_pim_point rova_pim_chroma_limit(const rova_pim_marker_search &search)
{
    return {search.image.width / search.by.fx, search.image.height / search.by.fy};
}

rova_pim_box rova_pim_marker_area(const rova_pim_marker_search &search, int32_t marker,
                                  const rova_pim_pm_config &cfg)
{
    const auto [fx, fy] = search.by;
    const auto [cx, cy] = cfg.chart[search.chart].cm[marker];
    const rova_pim_point limit = rova_pim_chroma_limit(search);
    const int64_t hw = cmWinW / fx, hh = cmWinH / fy;
    const int64_t x0 = search.scaleW * (cx / fx - hw / 2) / cfg.imageW;
    const int64_t y0 = search.scaleH * (cy / fy - hh / 2) / cfg.imageH;
    rova_pim_box area = {.x0 = clamp_to(x0, limit.x),
                         .y0 = clamp_to(y0, limit.y),
                         .x1 = clamp_to(x0 + search.scaleW * hw / cfg.imageW, limit.x),
                         .y1 = clamp_to(y0 + search.scaleH * hh / cfg.imageH, limit.y),
                         .w = 0,
                         .h = 0};
    area.w = area.x1 - area.x0;
    area.h = area.y1 - area.y0;
    return area;
}

bool rova_pim_area_is_inside(const rova_pim_box &area, const rova_pim_point &limit)
{
    return area.x0 <= limit.x && area.y0 <= limit.y && area.x1 <= limit.x && area.y1 <= limit.y;
}

void rova_pim_print_marker_areas(const rova_pim_marker_search &search,
                                 const rova_pim_box (&areas)[PIM_MARKERS])
{
    rova_pim_debug(" COLOR MARKER'S WINDOW COORDINATE !!! \n");
    rova_pim_debug(" IMAGE SIZE = %4d x %4d \n", search.image.width, search.image.height);
    for (int k = 0; k < PIM_MARKERS; k++)
        rova_pim_debug(" [%d] COLOR MAKER'S WINDOW : (%5d , %5d) , %5d x %5d \n", k, areas[k].x0,
                       areas[k].y0, areas[k].w, areas[k].h);
}

int rova_pim_walk_marker(const rova_pim_marker_search &search, const rova_pim_box &area,
                         int64_t count, rova_pim_row_step step, const rova_pim_pm_config &cfg,
                         rova_pim_histogram *histogram, const rova_pim_hit_function &on_hits)
{
    if (area.w <= 0 || area.h <= 0)
        return 0;
    const std::span<uint8_t> buffer = rova_pim_picture_buffer();
    const int32_t offset = rova_pim_chroma_offset(cfg, search.image_type, search.colour);
    const std::size_t copied = GetChromaArea(search.image, search.colour, area.x0, area.y0, area.w,
                                             area.h, offset, buffer);
    if (copied != static_cast<std::size_t>(area.w) * static_cast<std::size_t>(area.h)) {
        rova_pim_report("no marker can be searched in (%d, %d) %d x %d of a picture of %d x %d\n",
                        area.x0, area.y0, area.w, area.h, search.image.width, search.image.height);
        return -1;
    }
    const rova_pim_chart_config &chart = cfg.chart[search.chart];
    return rova_pim_walk_boxes({buffer.first(copied), area.w, area.h},
                               {.w = cfg.arrayW,
                                .h = cfg.arrayH,
                                .min = chart.colorMin,
                                .max = chart.colorMax,
                                .count = count,
                                .step = step,
                                .trace = cfg.dbgLevel[2] != 0},
                               histogram, on_hits);
}

void rova_pim_print_histogram(const rova_pim_histogram &histogram)
{
    static constexpr char BAR[LONGEST_BAR + 1] =
        "**************************************************"
        "**************************************************";
    rova_pim_debug(" ColorMarker Historgram \n");
    for (std::size_t value = 0; value < std::size(histogram.counts); value++) {
        const auto count = static_cast<int32_t>(histogram.counts[value]);
        rova_pim_debug(" [ %3d ] = %5d   ", static_cast<int>(value), count);
        rova_pim_debug("%.*s\n", std::clamp(count / 10, 0, LONGEST_BAR), BAR);
    }
}

void rova_pim_print_marker_window_size()
{
    rova_pim_debug(" COLOR MAKER WINDOW SIZE : %3d x %3d \n", cmWinW, cmWinH);
}

void rova_pim_measure_markers(rova_pim_pm_config &cfg)
{
    const auto [x, y] = rova_pim_marker_distance(cfg.cmCenter);
    cfg.cmDistX = x;
    cfg.cmDistY = y;
    rova_pim_debug(" XM, YM = %d , %d \n", x, y);
}

void rova_pim_print_markers(const rova_pim_pm_config &cfg)
{
    const auto &[lt, lb, rt, rb] = cfg.cmCenter;
    rova_pim_debug(" LT : (%4d, %4d) \n", lt.x, lt.y);
    rova_pim_debug(" LB : (%4d, %4d) \n", lb.x, lb.y);
    rova_pim_debug(" RT : (%4d, %4d) \n", rt.x, rt.y);
    rova_pim_debug(" RB : (%4d, %4d) \n", rb.x, rb.y);
}

int rova_pim_search_screen_nail(const rova_pim_image &screen, int32_t colour, int32_t chart,
                                rova_pim_pm_config &cfg)
{
    if (chart < 0 || chart >= PIM_CHARTS) {
        rova_pim_report(" Invalid Chart....%d \n", chart);
        return -1;
    }
    rova_pim_debug(" CHART = %s \n", rova_pim_chart_name(chart));
    rova_pim_debug(" COLOR = %s \n", rova_pim_colour_name(colour));
    const rova_pim_marker_search search = {screen,
                                           PIM_IMAGE_SCREEN_NAIL,
                                           colour,
                                           chart,
                                           cfg.screenW,
                                           cfg.screenH,
                                           rova_pim_chroma_subsampling(screen.iCS)};
    if (rova_pim_marker_check(search, cfg) != 0)
        return -1;
    cmWinW = cfg.scrSearchW;
    cmWinH = cfg.scrSearchH;
    rova_pim_print_marker_window_size();
    rova_pim_box areas[PIM_MARKERS];
    if (find_areas(search, cfg, areas) != 0)
        return -1;
    set_windows(chart, cfg);
    rova_pim_histogram histogram = {};
    for (int k = 0; k < PIM_MARKERS; k++) {
        if (search_marker(search, k, areas[k], cfg, histogram) != 0)
            return -1;
    }
    rova_pim_measure_markers(cfg);
    if (!all_found(cfg)) {
        if (cfg.dbgLevel[2] == 0)
            count_values(search, areas, cfg, histogram);
        rova_pim_print_histogram(histogram);
        return -1;
    }
    rova_pim_print_markers(cfg);
    return rova_pim_place_windows(cfg.cmCenter, cfg.scrWin, colour, chart, cfg);
}
