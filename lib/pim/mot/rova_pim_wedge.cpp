#include "lib/pim/mot/rova_pim_wedge.h"

#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_range.h"
#include "lib/pim/mot/rova_pim_valley.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace
{

// Beyond any picture, and small enough to add up.
constexpr int64_t FAR_AWAY = 1 << 28;

// How far a strip reaches over the wedge's ends, and about how far inside of them a bar may begin.
constexpr int32_t MARGIN = 30;

constexpr char RULE[] =
    "============================================================================ \n\n\n";

// The lines at either end of a strip that may be the bar's first.
constexpr std::size_t EDGE_LINES = 2 * MARGIN;

int32_t scaled(int32_t value, int32_t full, int32_t nail)
{
    const int64_t place = int64_t{value} * full / nail;
    return static_cast<int32_t>(std::clamp(place, -FAR_AWAY, FAR_AWAY));
}

void set_size(rova_pim_box &box)
{
    box.w = box.x1 - box.x0 + 1;
    box.h = box.y1 - box.y0 + 1;
}

// From the screen nail to the full image.
rova_pim_box enlarged(const rova_pim_box &box, const rova_pim_pm_config &cfg)
{
    rova_pim_box full = {scaled(box.x0, cfg.imageW, cfg.screenW),
                         scaled(box.y0, cfg.imageH, cfg.screenH),
                         scaled(box.x1, cfg.imageW, cfg.screenW),
                         scaled(box.y1, cfg.imageH, cfg.screenH),
                         0,
                         0};
    set_size(full);
    return full;
}

// Copies a rectangle into the picture buffer.  A strip without pixels where it has none, or does
// not fit; that is reported.
rova_pim_strip copy_strip(const rova_pim_image &image, const rova_pim_rect &rect, int32_t index)
{
    const std::span<uint8_t> buffer = rova_pim_picture_buffer();
    const std::size_t copied = GetArea(image, rect, buffer);
    if (copied == 0) {
        rova_pim_report(" PIMA [%d] : no pixels at ( %d, %d ) - ( %d, %d ) for %zu bytes\n", index,
                        rect.x0, rect.y0, rect.x1, rect.y1, buffer.size());
        return {{}, 0, 0};
    }
    return {buffer.first(copied), rect.x1 - rect.x0 + 1, rect.y1 - rect.y0 + 1};
}

// -- first stage

// What the lines along both axes are in a window's x and y.
rova_pim_box wedge_box(const rova_pim_strip &window, const rova_pim_range &range)
{
    rova_pim_box box;
    if (window.w > window.h)
        box = {range.long_start + 1, range.short_start + 1, range.long_end, range.short_end, 0, 0};
    else
        box = {range.short_start + 1, range.long_start + 1, range.short_end, range.long_end, 0, 0};
    set_size(box);
    return box;
}

void print_boxes(const rova_pim_pm_config &cfg, int32_t index)
{
    const rova_pim_box &nail = cfg.scrPima[index], &relative = cfg.orgRelPima[index];
    const rova_pim_box &window = cfg.scrWin[index], &full = cfg.orgWin[index];
    rova_pim_debug(" Scr.\t   PIMA [%d] : ( %4d, %4d ) - ( %4d, %4d ) [ %4d x %4d ] \n", index,
                   nail.x0, nail.y0, nail.x1, nail.y1, nail.w, nail.h);
    rova_pim_debug(" Ori. REL. PIMA [%d] : ( %4d, %4d ) - ( %4d, %4d ) [ %4d x %4d ] \n", index,
                   relative.x0, relative.y0, relative.x1, relative.y1, relative.w, relative.h);
    rova_pim_debug(" Scr.\t   Win  [%d] : ( %4d, %4d ) - ( %4d, %4d ) [ %4d x %4d ] \n", index,
                   window.x0, window.y0, window.x1, window.y1, window.w, window.h);
    rova_pim_debug(" Org.\t   Win  [%d] : ( %4d, %4d ) - ( %4d, %4d ) [ %4d x %4d ] \n", index,
                   full.x0, full.y0, full.x1, full.y1, full.w, full.h);
}

bool find_wedge(const rova_pim_image &screen, int32_t chart, int32_t index, rova_pim_pm_config &cfg)
{
    const rova_pim_box &place = cfg.scrWin[index];
    const rova_pim_strip window =
        copy_strip(screen, {place.x0, place.y0, place.x1, place.y1}, index);
    const rova_pim_range range =
        rova_pim_search_range(window, index, cfg.chart[chart].dir[index], cfg.dbgLevel[0] != 0);
    cfg.rangeFail[index] = range.fail ? 1 : 0;
    if (range.short_start == PIM_NO_RESULT || range.short_end == PIM_NO_RESULT)
        return false;
    cfg.scrPima[index] = wedge_box(window, range);
    cfg.orgRelPima[index] = enlarged(cfg.scrPima[index], cfg);
    cfg.orgWin[index] = enlarged(place, cfg);
    print_boxes(cfg, index);
    return true;
}

void place_wedge(int32_t index, rova_pim_pm_config &cfg)
{
    const rova_pim_box &window = cfg.orgWin[index], &relative = cfg.orgRelPima[index];
    rova_pim_box &box = cfg.orgAbsPima[index];
    box = {window.x0 + relative.x0,
           window.y0 + relative.y0,
           window.x0 + relative.x1,
           window.y0 + relative.y1,
           0,
           0};
    set_size(box);
    rova_pim_debug(" Ori. ABS. PIMA [%d] : ( %4d, %4d ) - ( %4d, %4d ) [ %4d x %4d ] \n", index,
                   box.x0, box.y0, box.x1, box.y1, box.w, box.h);
}

// -- second stage

using edge_sums = std::array<int64_t, EDGE_LINES>;

// The sums of the lines from `first` on, row by row.
edge_sums sum_edge(const rova_pim_strip &strip, rova_pim_axis axis, int32_t first)
{
    edge_sums sums = {};
    if (axis == rova_pim_axis::Y) {
        for (std::size_t i = 0; i < EDGE_LINES; i++)
            sums[i] = rova_pim_line_sum(strip, axis, first + static_cast<int32_t>(i), {0, strip.w});
        return sums;
    }
    const auto width = static_cast<std::size_t>(strip.w);
    for (auto row = static_cast<std::size_t>(first); row < strip.pixels.size(); row += width) {
        for (std::size_t i = 0; i < EDGE_LINES; i++)
            sums[i] += strip.pixels[row + i];
    }
    return sums;
}

// From 30 lines inside of the box outwards at both ends, the first lines below 80 per cent of the
// middle one; -1 for none.  Lines keep the numbers that they have in the strip, also when an end of
// the box has already moved.
rova_pim_extent find_bars(const rova_pim_strip &strip, rova_pim_axis axis)
{
    const int32_t lines = rova_pim_line_count(strip, axis),
                  length = rova_pim_line_length(strip, axis);
    const int32_t far_edge = lines - static_cast<int32_t>(EDGE_LINES);
    const int64_t middle = rova_pim_line_sum(strip, axis, lines / 2, {0, length}) / length;
    const int64_t threshold = middle * 8 / 10;
    const auto dark = [&](int64_t sum) { return sum / length < threshold; };

    const edge_sums before = sum_edge(strip, axis, 1), behind = sum_edge(strip, axis, far_edge);
    const auto first = std::find_if(before.rbegin(), before.rend(), dark);
    const auto last = std::find_if(behind.begin(), behind.end(), dark);
    return {first == before.rend() ? -1 : static_cast<int32_t>(before.rend() - first),
            last == behind.end() ? -1 : far_edge + static_cast<int32_t>(last - behind.begin())};
}

// A wedge's box between its ends.
struct box_ends {
    int32_t &first;
    int32_t &last;
};

// Moves the ends of the box to the bars.  Returns the strip's lines from one bar to the other.
rova_pim_extent refine(const rova_pim_strip &strip, rova_pim_axis axis, box_ends box)
{
    rova_pim_extent extent = {0, box.last - box.first};
    if (strip.pixels.empty())
        return extent;
    const rova_pim_extent bars = find_bars(strip, axis);
    const int32_t origin = box.first - MARGIN;
    if (bars.from >= 0) {
        extent.from = bars.from;
        box.first = origin + bars.from;
    }
    if (bars.to >= 0) {
        extent.to = bars.to;
        box.last = origin + bars.to - 1;
    }
    return extent;
}

rova_pim_strip copy_wedge(const rova_pim_image &full, int32_t index, const rova_pim_box &box,
                          rova_pim_axis axis)
{
    if (axis == rova_pim_axis::X)
        return copy_strip(full, {box.x0 - MARGIN, box.y0, box.x1 + MARGIN, box.y1}, index);
    return copy_strip(full, {box.x0, box.y0 - MARGIN, box.x1, box.y1 + MARGIN}, index);
}

bool can_walk(const rova_pim_strip &strip, int32_t index, const rova_pim_pm_config &cfg)
{
    const int32_t length = rova_pim_line_length(strip, rova_pim_walk_axis(strip));
    const std::size_t room = rova_pim_line_buffer().size();
    if (static_cast<std::size_t>(length) > room) {
        rova_pim_report(" PIMA [%d] : no room for a line of %d pixels in %zu\n", index, length,
                        room);
        return false;
    }
    if (cfg.binaryTreeLevel > PIM_MOST_ROUNDS) {
        rova_pim_report(" PIMA [%d] : Binary Tree Algorithm Level %d is above %d\n", index,
                        cfg.binaryTreeLevel, PIM_MOST_ROUNDS);
        return false;
    }
    return true;
}

void measure_wedge(const rova_pim_image &full, int32_t chart, int32_t index,
                   rova_pim_pm_config &cfg)
{
    rova_pim_debug(" <<<< PIMA [%d] >>>> \n", index);
    rova_pim_box &box = cfg.orgAbsPima[index];
    const bool lying = box.x1 - box.x0 > box.y1 - box.y0;
    const rova_pim_axis axis = lying ? rova_pim_axis::X : rova_pim_axis::Y;
    rova_pim_strip strip = copy_wedge(full, index, box, axis);
    const rova_pim_extent extent =
        refine(strip, axis, lying ? box_ends{box.x0, box.x1} : box_ends{box.y0, box.y1});
    set_size(box);

    if (!can_walk(strip, index, cfg))
        strip = {};
    const int32_t position = rova_pim_walk_wedge(
        strip, extent.from, extent.to, cfg.chart[chart].dir[index], rova_pim_line_buffer(), cfg);
    rova_pim_debug(" Resolution = %d \n\n", position);
    rova_pim_debug(" Resolution = %d \n\n", position - extent.from);
    rova_pim_mot_value({extent.from, extent.to, position}, chart, index, cfg);
    rova_pim_debug("%s", RULE);
}

} // namespace

int rova_pim_find_wedges(const rova_pim_image &screen, int32_t chart, rova_pim_pm_config &cfg)
{
    cfg.screenW = screen.width;
    cfg.screenH = screen.height;
    if (screen.width < 1 || screen.height < 1) {
        rova_pim_report(" no wedges in a screen nail of %d x %d pixels\n", screen.width,
                        screen.height);
        return -1;
    }
    for (int32_t i = 0; i < PIM_WINDOWS; i++) {
        if (!find_wedge(screen, chart, i, cfg))
            return -1;
    }
    for (int32_t i = 0; i < PIM_WINDOWS; i++)
        place_wedge(i, cfg);
    return 0;
}

int rova_pim_measure_wedges(const rova_pim_image &full, int32_t chart, rova_pim_pm_config &cfg)
{
    cfg.imageW = full.width;
    cfg.imageH = full.height;
    for (int32_t i = 0; i < PIM_WINDOWS; i++)
        measure_wedge(full, chart, i, cfg);
    return 0;
}
