// The search and the measurement of wedges as plainly as they can be said: every mean is taken
// pixel by pixel, every line of numbers is made whole.  Same results and same debug text as the
// engine's, for pictures and configurations that it does not refuse.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_image.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace test
{

struct PlainStrip {
    int w, h;
    std::vector<int> pixels;

    PlainStrip(const rova_pim_image &image, int x0, int y0, int x1, int y1)
        : w(x1 - x0 + 1), h(y1 - y0 + 1)
    {
        for (int y = y0; y <= y1; y++) {
            for (int x = x0; x <= x1; x++)
                pixels.push_back(image.bytes[static_cast<std::size_t>(y * image.pitch + x)]);
        }
    }
    // Pixel i of a column, or of a row.
    int at(bool column, int line, int i) const
    {
        return pixels[static_cast<std::size_t>(column ? i * w + line : line * w + i)];
    }
    int sum(bool column, int line, int from, int to) const
    {
        int total = 0;
        for (int i = from; i < to; i++)
            total += at(column, line, i);
        return total;
    }
};

struct PlainRange {
    int start, end; // the longer axis
    int short_start, short_end;
    bool fail = false;
};

// One axis: pixels from..to of its lines, the sums divided by `divisor`.  Leaves what it does not
// find.
inline void plain_scan(const PlainStrip &window, bool columns, int from, int to, int divisor,
                       bool trace, int &start, int &end)
{
    const int lines = columns ? window.w : window.h;
    bool started = false, ended = false;
    int T = 0;
    for (int p = lines / 2; p <= lines - 1; p++) {
        const int q = lines - 1 - p;
        const int mp = window.sum(columns, p, from, to) / divisor;
        const int mq = window.sum(columns, q, from, to) / divisor;
        if (p == lines / 2)
            T = mq * 9 / 10;
        if (trace)
            rova_pim_debug(" [%4d] -  %4d  [%4d] -  %4d ", p, mp, q, mq);
        if (!started && mq < T) {
            started = true;
            start = q;
            if (trace)
                rova_pim_debug(" *S ");
        }
        if (!ended && mp < T) {
            ended = true;
            end = p;
            if (trace)
                rova_pim_debug(" *E ");
        }
        if (trace)
            rova_pim_debug("\n");
    }
}

inline PlainRange plain_range(const PlainStrip &window, int i, int dir, bool trace)
{
    const bool lying = window.w > window.h;
    const int longer = std::max(window.w, window.h), shorter = std::min(window.w, window.h);
    PlainRange r = {0, longer, 0, shorter};
    rova_pim_debug(" <<  PIMA[ %d ] RANGE LONG AXIS >> \n", i);
    plain_scan(window, lying, 0, shorter, shorter, trace, r.start, r.end);

    rova_pim_debug(" <<\tPIMA[ %d ] RANGE SHORT AXIS >> \n", i);
    const int from = dir != 0 ? r.end : 0, to = dir != 0 ? longer : r.start;
    if (to - from <= 0)
        r.fail = true;
    else
        plain_scan(window, !lying, from, to, to - from, trace, r.short_start, r.short_end);
    rova_pim_debug(" SHORT ::: START - %4d, END - %4d \n", r.short_start, r.short_end);

    int L = std::abs(r.end - r.start);
    const int S = std::abs(r.short_end - r.short_start);
    rova_pim_debug(" LONG / SHORT =  %d / %d = %d.%d \n", L, S, L / S, L % S * 10 / S);
    if (L / S > 2)
        return r;
    r.start = r.short_start;
    r.end = longer;
    rova_pim_debug(" <<  PIMA[ %d ] RANGE LONG AXIS >> \n", i);
    plain_scan(window, lying, r.short_start, r.short_end, shorter, trace, r.start, r.end);
    L = r.end - r.start;
    if (L < 2 * longer / 3 || L > 95 * longer / 100)
        r.fail = true;
    rova_pim_debug(" LONG  ::: START - %4d, END - %4d \n\n", r.start, r.end);
    return r;
}

inline rova_pim_box plain_box(int x0, int y0, int x1, int y1)
{
    return {x0, y0, x1, y1, x1 - x0 + 1, y1 - y0 + 1};
}

inline rova_pim_box plain_enlarged(const rova_pim_box &b, const rova_pim_pm_config &cfg)
{
    return plain_box(b.x0 * cfg.imageW / cfg.screenW, b.y0 * cfg.imageH / cfg.screenH,
                     b.x1 * cfg.imageW / cfg.screenW, b.y1 * cfg.imageH / cfg.screenH);
}

inline void plain_print(const char *name, int i, const rova_pim_box &b)
{
    rova_pim_debug(" %s [%d] : ( %4d, %4d ) - ( %4d, %4d ) [ %4d x %4d ] \n", name, i, b.x0, b.y0,
                   b.x1, b.y1, b.w, b.h);
}

inline void plain_find_wedges(const rova_pim_image &screen, int chart, rova_pim_pm_config &cfg)
{
    cfg.screenW = screen.width;
    cfg.screenH = screen.height;
    for (int i = 0; i < PIM_WINDOWS; i++) {
        const rova_pim_box &at = cfg.scrWin[i];
        const PlainStrip window(screen, at.x0, at.y0, at.x1, at.y1);
        const PlainRange r = plain_range(window, i, cfg.chart[chart].dir[i], cfg.dbgLevel[0] != 0);
        cfg.rangeFail[i] = r.fail;
        cfg.scrPima[i] = window.w > window.h
                             ? plain_box(r.start + 1, r.short_start + 1, r.end, r.short_end)
                             : plain_box(r.short_start + 1, r.start + 1, r.short_end, r.end);
        cfg.orgRelPima[i] = plain_enlarged(cfg.scrPima[i], cfg);
        cfg.orgWin[i] = plain_enlarged(at, cfg);
        plain_print("Scr.\t   PIMA", i, cfg.scrPima[i]);
        plain_print("Ori. REL. PIMA", i, cfg.orgRelPima[i]);
        plain_print("Scr.\t   Win ", i, at);
        plain_print("Org.\t   Win ", i, cfg.orgWin[i]);
    }
    for (int i = 0; i < PIM_WINDOWS; i++) {
        const rova_pim_box &win = cfg.orgWin[i], &rel = cfg.orgRelPima[i];
        cfg.orgAbsPima[i] =
            plain_box(win.x0 + rel.x0, win.y0 + rel.y0, win.x0 + rel.x1, win.y0 + rel.y1);
        plain_print("Ori. ABS. PIMA", i, cfg.orgAbsPima[i]);
    }
}

inline int plain_mean(const std::vector<int> &a)
{
    int sum = 0;
    for (int value : a)
        sum += value;
    return sum / static_cast<int>(a.size());
}

inline void plain_clean(std::vector<int> &a, int loops)
{
    const std::size_t n = a.size();
    if (n / 4 > 2 && 3 * n / 4 < n - 1) {
        for (std::size_t i = 0; i <= n / 4 - 3; i++) {
            if (std::abs(a[i] - a[i + 1]) > 70 && std::abs(a[i + 1] - a[i + 2]) > 70)
                a[i + 1] = (a[i] + a[i + 2]) / 2;
            const std::size_t j = 3 * n / 4 + i;
            if (std::abs(a[j - 1] - a[j]) > 70 && std::abs(a[j] - a[j + 1]) > 70)
                a[j] = (a[j - 1] + a[j + 1]) / 2;
        }
    }
    int m = plain_mean(a);
    for (int loop = 0; loop < loops; loop++) {
        for (int &value : a) {
            if (value > m)
                value = m;
        }
        m = plain_mean(a);
    }
}

inline int plain_valleys(std::vector<int> a, const rova_pim_pm_config &cfg)
{
    plain_clean(a, cfg.meadLoop);
    const int n = static_cast<int>(a.size()), depth = cfg.sucValleyDepth;
    int direction = -1, U = 0, D = 0, count = 0;
    for (int i = cfg.lineDataOffset; i <= n - 1 - cfg.lineDataOffset; i++) {
        const auto at = static_cast<std::size_t>(i);
        const int d = i + 1 < n ? a[at] - a[at + 1] : 0;
        if (d > 0 && direction == -1) {
            if (-D >= depth) {
                count++;
                U = D = 0;
            }
            direction = 1;
        }
        if (direction == 1 && d < 0)
            direction = -1;
        else if (direction == 1 && d > 0)
            U += d;
        if (direction == -1 && d < 0)
            D += d;
    }
    if (cfg.lineDataOffset <= n - 1 - cfg.lineDataOffset && U >= depth && -D >= depth)
        count++;
    return count;
}

inline int plain_walk(const PlainStrip &strip, int start, int end, int dir,
                      const rova_pim_pm_config &cfg)
{
    const bool columns = strip.w > strip.h;
    const int lines = columns ? strip.w : strip.h, length = columns ? strip.h : strip.w;
    const int span = end - start, near_end = dir != 0 ? end : start;
    const auto line_at = [&](int offset) { return dir != 0 ? end - offset : start + offset; };
    const auto valleys = [&](int line) {
        std::vector<int> a;
        if (line < 0 || line >= lines)
            return 0; // where bisection overshoots the strip
        for (int i = 0; i < length; i++)
            a.push_back(strip.at(columns, line, i));
        return plain_valleys(a, cfg);
    };
    int step = span / 2, best = 0;
    for (int round = 0; round < cfg.binaryTreeLevel; round++) {
        if (valleys(line_at(step)) >= cfg.sucValleyN) {
            best = step;
            step += step / 2;
        } else {
            step -= step / 2;
        }
    }
    int result = near_end, hits = 0, fails = 0;
    for (int offset = best; offset <= span; offset++) {
        const int line = line_at(offset), count = valleys(line);
        if (cfg.dbgLevel[0] != 0)
            rova_pim_debug(" (%c, Resol, CntS/F) = ( %4d , %3d , %3d, %3d)\n", columns ? 'X' : 'Y',
                           line, count, hits, fails);
        if (count < cfg.sucValleyN) {
            fails++;
            if (fails >= cfg.failCnt)
                return result;
        } else {
            hits++;
            result = line;
        }
    }
    return hits > 0 ? line_at(span) : result;
}

inline void plain_mot_value(int start, int end, int r, int chart, int i, rova_pim_pm_config &cfg)
{
    const rova_pim_chart_config &c = cfg.chart[chart];
    const int L = end - start, a = c.ref[c.pos[i] == 0 ? 0 : 2], b = c.ref[c.pos[i] == 0 ? 1 : 3];
    rova_pim_debug(" Chart = %d , Pos = %d , Dir = %d \n", chart, c.pos[i], c.dir[i]);
    int t = 0;
    if (L >= 1)
        t = c.dir[i] == 0 ? (b - a) * r / L : (b - a) * (L - r) / L;
    if (cfg.rangeFail[i] != 0)
        t = 0;
    const int len = std::max(cfg.orgAbsPima[0].w, cfg.orgAbsPima[0].h);
    rova_pim_debug(" PIMA Len : %4d \n", len);
    const int v = std::min(a + t, b);
    rova_pim_debug(" iMot[No-MG] = %d \n", v);
    int m = a;
    if (v != a) {
        float over = static_cast<float>(v);
        over *= cfg.centerPimaHeight[chart];
        over *= static_cast<float>(cfg.imageH);
        over *= cfg.effectivePixel;
        float under = static_cast<float>(cfg.imageW);
        under *= cfg.chartHeight[chart];
        under *= static_cast<float>(len);
        m = static_cast<int>(over / under);
    }
    rova_pim_debug(" iMot[MG-01] = %d \n", m);
    m = std::min(m, b);
    if (m < a)
        m = a;
    rova_pim_debug(" iMot[MG-02] = %d \n", m);
    cfg.motOrgValue[i] = v;
    cfg.motValue[i] = cfg.orgResultData == 2 || cfg.testMode == 2 ? v : m;
    cfg.posFound[i] = cfg.posCorrected[i] = r;
    const int corrected = cfg.motValue[i];
    if (a != v && c.dir[i] == 0)
        cfg.posCorrected[i] = r * (corrected - a) / (v - a);
    else if (a != v)
        cfg.posCorrected[i] = (L - r) * (corrected - a) / (a - v) + L;
    rova_pim_debug(" Range : RefStart/End =[ %4d ~ %4d ] - Start/End = [ %4d ~ %4d ]\n", a, b,
                   start, end);
    rova_pim_debug(" >>>> MOT Value = %4d --> %4d : %4d --> %4d \n\n", v, corrected, r,
                   cfg.posCorrected[i]);
}

inline void plain_measure_wedge(const rova_pim_image &full, int chart, int i,
                                rova_pim_pm_config &cfg)
{
    rova_pim_debug(" <<<< PIMA [%d] >>>> \n", i);
    rova_pim_box &box = cfg.orgAbsPima[i];
    const int w0 = box.x1 - box.x0 + 1, h0 = box.y1 - box.y0 + 1;
    const bool lying = w0 > h0;
    const PlainStrip strip = lying ? PlainStrip(full, box.x0 - 30, box.y0, box.x1 + 30, box.y1)
                                   : PlainStrip(full, box.x0, box.y0 - 30, box.x1, box.y1 + 30);
    const int length = lying ? box.x1 - box.x0 : box.y1 - box.y0, across = lying ? h0 : w0;
    const auto mean = [&](int line) { return strip.sum(lying, line, 0, across) / across; };
    const int T = mean((length + 61) / 2) * 8 / 10;
    int start = 0, end = length;
    bool started = false, ended = false;
    for (int v = 30; v >= -29; v--) {
        if (!started && mean(30 + v) < T) {
            started = true;
            (lying ? box.x0 : box.y0) += v;
            start = v + 30;
        }
        if (!ended && mean(length + 31 - v) < T) {
            ended = true;
            (lying ? box.x1 : box.y1) -= v;
            end = length + 31 - v;
        }
    }
    box.w = box.x1 - box.x0 + 1;
    box.h = box.y1 - box.y0 + 1;
    const int position = plain_walk(strip, start, end, cfg.chart[chart].dir[i], cfg);
    rova_pim_debug(" Resolution = %d \n\n", position);
    rova_pim_debug(" Resolution = %d \n\n", position - start);
    plain_mot_value(start, end, position - start, chart, i, cfg);
    rova_pim_debug("============================================================="
                   "=============== "
                   "\n\n\n");
}

inline void plain_measure_wedges(const rova_pim_image &full, int chart, rova_pim_pm_config &cfg)
{
    cfg.imageW = full.width;
    cfg.imageH = full.height;
    for (int i = 0; i < PIM_WINDOWS; i++)
        plain_measure_wedge(full, chart, i, cfg);
}

} // namespace test
