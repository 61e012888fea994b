// The marker searches as plainly as they can be said: every box is summed value by value, and every
// hit looks through all groups.  Same results and same debug text as the engine's, for pictures and
// configurations that it does not refuse.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/mot/rova_pim_window.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_image.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace test
{

struct PlainBox {
    int sum = 0;
    int pCnt = 0;
    int pA = 0;
};

inline int clamped(int value, int limit)
{
    if (value > limit)
        value = limit;
    if (value < 0)
        value = 0;
    return value;
}

// What is common to both: a picture, its configuration, and the histogram over all markers.
struct PlainSearch {
    const rova_pim_image &image;
    int colour;
    rova_pim_chart_config &chart;
    rova_pim_pm_config &cfg;
    int scaleW, scaleH; // as configured
    int offset;         // of the chroma plane
    int fx, fy;
    int histogram[256] = {};

    struct Area {
        int sx0, sy0, sx1, sy1;
    };

    Area area(int k) const
    {
        const int hw = cmWinW / fx, hh = cmWinH / fy;
        int sx0 = scaleW * (chart.cm[k].x / fx - hw / 2) / cfg.imageW;
        int sy0 = scaleH * (chart.cm[k].y / fy - hh / 2) / cfg.imageH;
        int sx1 = sx0 + scaleW * hw / cfg.imageW;
        int sy1 = sy0 + scaleH * hh / cfg.imageH;
        const int right = image.width / fx, bottom = image.height / fy;
        return {clamped(sx0, right), clamped(sy0, bottom), clamped(sx1, right),
                clamped(sy1, bottom)};
    }

    std::vector<uint8_t> copy(const Area &at) const
    {
        const int w = at.sx1 - at.sx0, h = at.sy1 - at.sy0;
        std::vector<uint8_t> values;
        for (int y = at.sy0; y < at.sy0 + h; y++) {
            for (int x = at.sx0; x < at.sx0 + w; x++)
                values.push_back(image.bytes[static_cast<std::size_t>(
                    offset + y * image.pitch + 2 * x + (colour == 2 ? 1 : 0))]);
        }
        return values;
    }

    PlainBox look(const std::vector<uint8_t> &values, int w, int x, int y)
    {
        PlainBox box;
        for (int j = y; j < y + cfg.arrayH; j++) {
            for (int i = x; i < x + cfg.arrayW; i++) {
                const int v = values[static_cast<std::size_t>(j * w + i)];
                box.sum += v;
                if (v >= chart.colorMin && v <= chart.colorMax)
                    box.pCnt++;
                histogram[v]++;
            }
        }
        box.pA = box.sum / (cfg.arrayW * cfg.arrayH);
        if (cfg.dbgLevel[2] != 0)
            rova_pim_debug(" pA = %d pCnt = %d \n", box.pA, box.pCnt);
        return box;
    }

    bool mean_is_in_range(const PlainBox &box) const
    {
        return chart.colorMin <= box.pA && box.pA <= chart.colorMax;
    }

    void print_histogram() const
    {
        rova_pim_debug(" ColorMarker Historgram \n");
        for (int v = 0; v < 256; v++) {
            rova_pim_debug(" [ %3d ] = %5d   ", v, histogram[v]);
            rova_pim_debug(
                "%s\n", std::string(static_cast<std::size_t>(std::min(histogram[v] / 10, 100)), '*')
                            .c_str());
        }
    }

    void print_head(const char *chart_name) const
    {
        rova_pim_debug(" CHART = %s \n", chart_name);
        rova_pim_debug(" COLOR = %s \n", colour == 2 ? "RED" : "BLUE");
        rova_pim_debug(" COLOR MAKER WINDOW SIZE : %3d x %3d \n", cmWinW, cmWinH);
        rova_pim_debug(" COLOR MARKER'S WINDOW COORDINATE !!! \n");
        rova_pim_debug(" IMAGE SIZE = %4d x %4d \n", image.width, image.height);
        for (int k = 0; k < 4; k++) {
            const Area at = area(k);
            rova_pim_debug(" [%d] COLOR MAKER'S WINDOW : (%5d , %5d) , %5d x %5d \n", k, at.sx0,
                           at.sy0, at.sx1 - at.sx0, at.sy1 - at.sy0);
        }
    }

    void measure() const
    {
        const auto &[lt, lb, rt, rb] = cfg.cmCenter;
        cfg.cmDistX = ((rt.x - lt.x) + (rb.x - lb.x)) / 2;
        cfg.cmDistY = ((rb.y - rt.y) + (lb.y - lt.y)) / 2;
        rova_pim_debug(" XM, YM = %d , %d \n", cfg.cmDistX, cfg.cmDistY);
    }

    void print_corners() const
    {
        static constexpr const char *NAMES[] = {"LT", "LB", "RT", "RB"};
        for (int k = 0; k < 4; k++)
            rova_pim_debug(" %s : (%4d, %4d) \n", NAMES[k], cfg.cmCenter[k].x, cfg.cmCenter[k].y);
    }
};

struct PlainGroup {
    int x0, y0, x1, y1;
    int area() const { return (x1 - x0 + 1) * (y1 - y0 + 1); }
};

inline void plain_hit(std::vector<PlainGroup> &groups, int x, int y, int W, int H)
{
    PlainGroup *group = nullptr;
    for (PlainGroup &g : groups) {
        if (x > g.x0 - 2 * W && x < g.x1 + 2 * W && y > g.y0 - 2 * H && y < g.y1 + 2 * H) {
            group = &g;
            break;
        }
    }
    if (group == nullptr) {
        if (groups.size() == 32)
            return;
        groups.push_back({x, y, x + W - 1, y + H - 1});
        group = &groups.back();
    }
    group->x0 = std::min(group->x0, x);
    group->y0 = std::min(group->y0, y);
    if (x > group->x1)
        group->x1 = x + W - 1;
    if (y > group->y1)
        group->y1 = y + H - 1;
}

inline std::vector<PlainGroup> plain_groups(PlainSearch &search, const PlainSearch::Area &at)
{
    const int W = search.cfg.arrayW, H = search.cfg.arrayH;
    const int w = at.sx1 - at.sx0, h = at.sy1 - at.sy0;
    const std::vector<uint8_t> values = search.copy(at);
    std::vector<PlainGroup> groups;
    for (int y = 0; y < h - H;) {
        bool row_had_a_hit = false;
        for (int x = 0; x < w - W;) {
            const PlainBox box = search.look(values, w, x, y);
            if (search.mean_is_in_range(box) && box.pCnt >= search.cfg.arrayCount) {
                plain_hit(groups, x, y, W, H);
                row_had_a_hit = true;
            }
            x += box.pCnt == 0 ? W : 1;
        }
        y += row_had_a_hit ? 1 : H;
    }
    return groups;
}

inline PlainGroup plain_best(const std::vector<PlainGroup> &groups)
{
    if (groups.empty())
        return {0, 0, 0, 0};
    int best = 0;
    for (int i = 0; i < static_cast<int>(groups.size()); i++) {
        const PlainGroup &g = groups[static_cast<std::size_t>(i)];
        rova_pim_debug("        [%2d] = S( %4d , %4d ) E( %4d , %4d ) = %7d \n", i, g.x0, g.y0,
                       g.x1, g.y1, g.area());
        if (g.area() > groups[static_cast<std::size_t>(best)].area())
            best = i;
    }
    const PlainGroup &g = groups[static_cast<std::size_t>(best)];
    rova_pim_debug(" BEST : [%2d] = S( %4d , %4d ) E( %4d , %4d ) \n\n", best, g.x0, g.y0, g.x1,
                   g.y1);
    return g;
}

inline void plain_screen_nail_marker(PlainSearch &search, int k)
{
    rova_pim_pm_config &cfg = search.cfg;
    const PlainSearch::Area at = search.area(k);
    cfg.cmCenter[k] = {0, 0};
    PlainGroup b = plain_best(plain_groups(search, at));
    if (cfg.dbgLevel[2] != 0)
        search.print_histogram();
    rova_pim_debug(" L-COORD : ( %4d, %4d ) , ( %4d, %4d ) :  %d x %d \n", b.x0, b.y0, b.x1, b.y1,
                   b.x1 - b.x0, b.y1 - b.y0);
    b = {b.x0 + at.sx0, b.y0 + at.sy0, b.x1 + at.sx0, b.y1 + at.sy0};
    const rova_pim_point centre = {search.fx * (b.x0 + b.x1) / 2, search.fy * (b.y0 + b.y1) / 2};
    rova_pim_debug(" C-COORD : ( %4d, %4d ) \n\n", centre.x, centre.y);
    if (b.x1 - b.x0 > 0 && b.y1 - b.y0 > 0)
        cfg.cmCenter[k] = centre;
    cfg.cmRect[k] = {
        b.x0 * search.fx * cfg.imageW / cfg.screenW, b.y0 * search.fy * cfg.imageH / cfg.screenH,
        b.x1 * search.fx * cfg.imageW / cfg.screenW, b.y1 * search.fy * cfg.imageH / cfg.screenH};
}

// A screen nail in 4:2:2 with interleaved chroma.
inline int plain_search_screen_nail(const rova_pim_image &screen, int colour, int chart,
                                    rova_pim_pm_config &cfg)
{
    static constexpr const char *CHARTS[] = {"WIDE", "TELE", "MID"};
    PlainSearch search = {screen,
                          colour,
                          cfg.chart[chart],
                          cfg,
                          cfg.screenW,
                          cfg.screenH,
                          colour == 2 ? cfg.scrCrOffset : cfg.scrCbOffset,
                          2,
                          1};
    cmWinW = cfg.scrSearchW;
    cmWinH = cfg.scrSearchH;
    search.print_head(CHARTS[chart]);
    for (int k = 0; k < 4; k++) {
        const auto [cx, cy] = search.chart.cm[k];
        rova_pim_box &win = cfg.cmWin[k];
        win.x0 = clamped(cx - cmWinW / 2, cfg.imageW);
        win.x1 = clamped(cx + cmWinW / 2, cfg.imageW);
        win.y0 = clamped(cy - cmWinH / 2, cfg.imageH);
        win.y1 = clamped(cy + cmWinH / 2, cfg.imageH);
        win.w = win.x1 - win.x0;
        win.h = win.y1 - win.y0;
        rova_pim_debug(" [%d] COLOR MAKER'S WINDOW : (%5d , %5d) , (%5d , %5d) : %5d x %5d \n", k,
                       win.x0, win.y0, win.x1, win.y1, win.w, win.h);
    }
    for (int k = 0; k < 4; k++)
        plain_screen_nail_marker(search, k);
    search.measure();
    for (const rova_pim_point &centre : cfg.cmCenter) {
        if (centre.x < 1 || centre.y < 1) {
            search.print_histogram();
            return -1;
        }
    }
    search.print_corners();
    return rova_pim_place_windows(cfg.cmCenter, cfg.scrWin, colour, chart, cfg);
}

inline void plain_live_marker(PlainSearch &search, int k)
{
    rova_pim_pm_config &cfg = search.cfg;
    const int W = cfg.arrayW, H = cfg.arrayH;
    const PlainSearch::Area at = search.area(k);
    const std::vector<uint8_t> values = search.copy(at);
    const int w = at.sx1 - at.sx0, h = at.sy1 - at.sy0;
    int x0 = 9999, y0 = 9999, x1 = 0, y1 = 0;
    for (int y = 0; y < h - H && w - W > 0;) {
        PlainBox box;
        for (int x = 0; x < w - W; x += box.pCnt == 0 ? W : 1) {
            box = search.look(values, w, x, y);
            if (search.mean_is_in_range(box) && box.pCnt > cfg.arrayCount) {
                x0 = std::min(x0, x);
                y0 = std::min(y0, y);
                x1 = std::max(x1, x);
                y1 = std::max(y1, y);
            }
        }
        y += box.pCnt == 0 ? H : 1;
    }
    if (cfg.dbgLevel[2] != 0)
        search.print_histogram();
    if (x1 != 0)
        x1 += W;
    if (y1 != 0)
        y1 += H;
    rova_pim_debug(" L-COORD : ( %4d, %4d ) , ( %4d, %4d ) :  %d x %d \n", x0, y0, x1, y1, x1 - x0,
                   y1 - y0);
    if (x1 - x0 > 0 && y1 - y0 > 0)
        cfg.cmCenter[k] = {search.fx * (x0 + 2 * at.sx0 + x1) / 2,
                           search.fy * (y0 + 2 * at.sy0 + y1) / 2};
    rova_pim_debug(" C-COORD : ( %4d, %4d ) \n\n", cfg.cmCenter[k].x, cfg.cmCenter[k].y);
}

// A frame in 4:2:0 with interleaved chroma and red markers, with the debug file open or none.
inline void plain_search_live_view(const rova_pim_image &frame, rova_pim_pm_config &cfg)
{
    PlainSearch search = {
        frame, 2, cfg.chart[0], cfg, cfg.liveLcdW, cfg.liveLcdH, cfg.liveLcdCrOffset, 2, 2};
    rova_pim_debug(" <<<<< LIVE VIEW START.... >>>>> \n");
    cfg.liveResult = 0;
    std::ranges::fill(cfg.cmCenter, rova_pim_point{0, 0});
    cmWinW = cfg.lvSearchW;
    cmWinH = cfg.lvSearchH;
    search.print_head("WIDE");
    for (int k = 0; k < 4; k++)
        plain_live_marker(search, k);
    search.measure();
    int found = 0;
    for (int k = 0; k < 4; k++) {
        cfg.iCmFoundFlag[k] = cfg.cmCenter[k].x > 0 && cfg.cmCenter[k].y > 0;
        rova_pim_debug(" iCmFoundFlag[%d] = %d \n", k, cfg.iCmFoundFlag[k]);
        found += cfg.iCmFoundFlag[k];
    }
    if (found == 4) {
        cfg.liveResult = 1;
        rova_pim_debug(" [ LIVE VIEW ] FOUND COLOR Marker : OK !!!! \n\n");
        search.print_corners();
        rova_pim_place_live_windows(cfg.cmCenter, cfg.scrWin, 2, 0, cfg);
    } else {
        rova_pim_debug(" NOT FOUND COLOR Marker : NG !!!! \n");
    }
    rova_pim_debug("%s liveResult = %d \n", found == 4 ? "PIM_SUCC," : "PIM_ERR", cfg.liveResult);
    rova_pim_debug(" <<<<< LIVE VIEW END .... >>>>> \n");
}

} // namespace test
