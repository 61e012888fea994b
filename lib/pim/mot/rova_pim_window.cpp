#include "lib/pim/mot/rova_pim_window.h"

#include "lib/pim/mot/rova_pim_marker.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>

namespace
{

int32_t narrow(int64_t value)
{
    return static_cast<int32_t>(value);
}

// 0 for a limit that is none.
int32_t clamp_to(int64_t value, int32_t limit)
{
    return narrow(std::max<int64_t>(std::min<int64_t>(value, limit), 0));
}

// By the order of the record's markers.
enum corner { LT, LB, RT, RB };

// A window's origin is the middle of two corners, or one corner.
struct origin {
    corner one;
    corner other;
};

constexpr origin ORIGINS[PIM_WINDOWS] = {{LT, RT}, {LT, LB}, {LT, LT}, {LT, LT}, {LB, LB},
                                         {LB, LB}, {RT, RT}, {RT, RT}, {RB, RB}, {RB, RB}};
// On a chart with reversed wedges; the wide one has none, whatever its configuration says.
constexpr origin REVERSED[2] = {{LB, RB}, {RT, RB}};

// Factors of offsets and sizes.
struct scale {
    rova_pim_point to;
    rova_pim_point from;
};

rova_pim_point origin_of(int window, const rova_pim_point (&centres)[PIM_MARKERS], bool reversed)
{
    const origin &at = reversed && window < 2 ? REVERSED[window] : ORIGINS[window];
    const rova_pim_point &one = centres[at.one], &other = centres[at.other];
    return {narrow((int64_t{one.x} + other.x) / 2), narrow((int64_t{one.y} + other.y) / 2)};
}

struct extent {
    int64_t begin;
    int64_t end;
    int64_t length;
};

extent scaled(int64_t origin, int64_t offset, int64_t length, int64_t to, int64_t from)
{
    const int64_t begin = origin + offset * to / from, size = length * to / from;
    return {begin, begin + size, size + 1};
}

// True when it began before the picture.
bool cut_to_picture(extent &side)
{
    if (side.begin >= 0)
        return false;
    side.length += side.begin;
    side.begin = 0;
    return true;
}

// The part of a window before the picture is cut off; `told` prints which.
template <typename Told>
rova_pim_box place(const rova_pim_point &origin, const rova_pim_offset_box &offset, const scale &by,
                   const Told &told)
{
    extent x = scaled(origin.x, offset.x, offset.lx, by.to.x, by.from.x);
    extent y = scaled(origin.y, offset.y, offset.ly, by.to.y, by.from.y);
    if (cut_to_picture(x))
        told('X');
    if (cut_to_picture(y))
        told('Y');
    return {narrow(x.begin), narrow(y.begin),  narrow(x.end),
            narrow(y.end),   narrow(x.length), narrow(y.length)};
}

bool is_chart(int32_t chart)
{
    return chart >= 0 && chart < PIM_CHARTS;
}

// False with a report when there is nothing to scale by.
bool can_scale(const scale &by)
{
    if (by.from.x != 0 && by.from.y != 0)
        return true;
    rova_pim_report("no windows: they would scale by %d / %d, %d / %d\n", by.to.x, by.from.x,
                    by.to.y, by.from.y);
    return false;
}

bool is_reversed(int32_t chart, const rova_pim_pm_config &cfg)
{
    return chart != 0 && cfg.chart[chart].reversedPima != 0;
}

} // namespace

rova_pim_point rova_pim_marker_distance(const rova_pim_point (&markers)[PIM_MARKERS])
{
    const auto &[lt, lb, rt, rb] = markers;
    return {narrow((int64_t{rt.x} - lt.x + rb.x - lb.x) / 2),
            narrow((int64_t{rb.y} - rt.y + lb.y - lt.y) / 2)};
}

rova_pim_box rova_pim_marker_window(const rova_pim_point &centre, const rova_pim_pm_config &cfg)
{
    const int64_t w = cmWinW / 2, h = cmWinH / 2;
    rova_pim_box box = {.x0 = clamp_to(centre.x - w, cfg.imageW),
                        .y0 = clamp_to(centre.y - h, cfg.imageH),
                        .x1 = clamp_to(centre.x + w, cfg.imageW),
                        .y1 = clamp_to(centre.y + h, cfg.imageH),
                        .w = 0,
                        .h = 0};
    box.w = box.x1 - box.x0;
    box.h = box.y1 - box.y0;
    return box;
}

int rova_pim_place_windows(const rova_pim_point (&centres)[PIM_MARKERS],
                           rova_pim_box (&windows)[PIM_WINDOWS], int32_t /* colour */,
                           int32_t chart, const rova_pim_pm_config &cfg)
{
    if (!is_chart(chart)) {
        rova_pim_report(" Invalid Color Argument....\n\n\n");
        return -1;
    }
    const scale by = {rova_pim_marker_distance(centres), cfg.chart[chart].cmDist};
    if (!can_scale(by))
        return -1;
    for (int i = 0; i < PIM_WINDOWS; i++)
        windows[i] = place(origin_of(i, centres, is_reversed(chart, cfg)),
                           cfg.chart[chart].orgWin[i], by, [](char) {});
    for (int i = 0; i < PIM_WINDOWS; i++) {
        const rova_pim_box &box = windows[i];
        rova_pim_debug("[ %d ] (%4d, %4d) (%4d, %4d) : %4d x %4d \n\n", i, box.x0, box.y0, box.x1,
                       box.y1, box.w, box.h);
    }
    return 0;
}

int rova_pim_place_live_windows(const rova_pim_point (&centres)[PIM_MARKERS],
                                rova_pim_box (&windows)[PIM_WINDOWS], int32_t colour, int32_t chart,
                                const rova_pim_pm_config &cfg)
{
    if (!is_chart(chart)) {
        rova_pim_report(" Invalid Color Argument....\n");
        return -1;
    }
    rova_pim_debug(" %s CHART \n", rova_pim_chart_name(chart));
    rova_pim_debug(" %s COLOR \n", rova_pim_colour_name(colour));
    const scale by = {{cfg.liveLcdW, cfg.liveLcdH}, {cfg.imageW, cfg.imageH}};
    if (!can_scale(by))
        return -1;
    for (int i = 0; i < PIM_WINDOWS; i++) {
        windows[i] =
            place(origin_of(i, centres, is_reversed(chart, cfg)), cfg.chart[chart].orgWin[i], by,
                  [i](char side) {
                      rova_pim_debug(side == 'X' ? " [ %d : PIMA ] Invalid X's Position ~~~ ! \n"
                                                 : " [ %d : PIMA ] Invalid Y's Position ~~~ ! \n",
                                     i);
                  });
        const rova_pim_box &box = windows[i];
        rova_pim_debug(" [ %d ] (%4d, %4d) (%4d, %4d) : %4d x %4d \n\n", i, box.x0, box.y0, box.x1,
                       box.y1, box.w, box.h);
    }
    return 0;
}
