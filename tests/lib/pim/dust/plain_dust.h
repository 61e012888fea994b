// The search for dust as it was once written down: every pixel of every map, one step after the
// other.  What the engine's shortcuts are compared with.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim_bmp.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "platform/sys.h"
#include "tests/lib/pim/dust/plain_shading.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace test
{

class PlainDust
{
public:
    PlainDust(const rova_pim_image &image, rova_pim_dust_config &cfg, int32_t &number)
        : im(image), c(cfg), bmps(number)
    {
    }

    int check_all()
    {
        if (c.iShadingOn == 0 && c.i4xOn == 0 && c.iExpOn == 0 && c.iDustOn == 0)
            return 0;
        rova_pim_log(" <<<<< Start Checking Dust All ... >>>>>");
        const bool passed = all_shading() && all_4x() && all_exposure();
        if (passed && c.iDustOn != 0)
            all_dust();
        rova_pim_log(" <<<<< End Checking Dust All ... >>>>>");
        return passed ? 0 : -1;
    }

    int check()
    {
        if (c.iDustOn == 0)
            return 0;
        search(false);
        while (merge_once()) {
        }
        c.iDCnt = std::min<int32_t>(static_cast<int32_t>(blobs.size()), 32);
        rova_pim_log(">>>> iDCnt = %d \n", c.iDCnt);
        for (int i = 0; i < c.iDCnt; i++) {
            rova_pim_dust_spot &d = c.tDust[i];
            d = blobs[static_cast<std::size_t>(i)];
            d.x2 = d.x2 + c.iBlockX - 1;
            d.y2 = d.y2 + c.iBlockY - 1;
            rova_pim_log(" DUST[%2d] = (%4d, %4d), (%4d, %4d) = %3.2f, %3.2f \n", i, d.x1, d.y1,
                         d.x2, d.y2, d.min100 / 100.0, d.max100 / 100.0);
        }
        verdict();
        return 0;
    }

protected:
    struct Rect {
        int x1, y1, x2, y2;
    };

    void search(bool all)
    {
        rova_pim_log(" <<<<< Start Checking Dust ... >>>>>");
        rova_pim_log(" Log :,Dust ");
        rova_pim_log(" AREA , X1, Y1, X2, Y2, L1, L2, N.L3, "
                     "\xA5\xC4\x31\x32 , \xA5\xC4\x32\x33, R.\xA5\xC4\x31\x32, "
                     "R.\xA5\xC4\x32\x33 \n");
        std::FILE *pixel = c.iPixelSave != 0 ? sys_fopen(c.strPixelFile, "w") : nullptr;
        std::FILE *bmp = nullptr;
        if (c.iBmpSave != 0) {
            char name[128];
            MakeNumberedName(c.strBmpFile, name, ++bmps);
            bmp = sys_fopen(name, "wb");
        }
        blobs.clear();
        for (int y = 0; y < im.height; y += c.iBlockY) {
            mark.assign(width(), 255);
            value.assign(width(), 0);
            fill_map(y);
            if (pixel != nullptr && y >= c.iPixelFrom && y <= c.iPixelTo)
                dump_pixels(pixel, y);
            find(y);
            join(pieces(y, all));
            if (pixel != nullptr && y >= c.iPixelFrom && y <= c.iPixelTo)
                dump_marks(pixel);
            for (int row = y; bmp != nullptr && row < y + c.iBlockY && row < im.height; row++)
                SaveBmpRow(bmp, mark, im.width, im.height, row);
        }
        if (pixel != nullptr)
            std::fclose(pixel);
        if (bmp != nullptr)
            std::fclose(bmp);
    }

    bool merge_once()
    {
        bool merged = false;
        for (std::size_t i = 0; i < blobs.size(); i++) {
            for (std::size_t j = 0; j < blobs.size(); j++) {
                if (i == j || !touch(blobs[i], blobs[j]))
                    continue;
                const rova_pim_dust_spot b = blobs[j];
                rova_pim_dust_spot &a = blobs[i];
                a = {std::min(a.x1, b.x1),         std::min(a.y1, b.y1),
                     std::max(a.x2, b.x2),         std::max(a.y2, b.y2),
                     std::min(a.min100, b.min100), std::max(a.max100, b.max100)};
                blobs.erase(blobs.begin() + static_cast<std::ptrdiff_t>(j));
                if (j < i)
                    i--;
                j--;
                merged = true;
            }
        }
        return merged;
    }

    void verdict()
    {
        c.iDustOk = c.iDustRst = c.iDCnt == 0 ? 1 : 0;
        rova_pim_log(" <<<<< End   Checking Dust ... >>>>>");
    }

    int pixel_at(int x, int y) const
    {
        int64_t at = int64_t{y} * im.pitch + x;
        if (im.iCS == 12)
            at += x;
        if (im.iCS == 13)
            at += x + 1;
        return im.bytes[static_cast<std::size_t>(at)];
    }
    int64_t block_sum(int x, int y) const
    {
        int64_t sum = 0;
        for (int row = y; row <= y + c.iBlockY - 1; row++)
            for (int column = x; column <= x + c.iBlockX - 1; column++)
                sum += pixel_at(column, row);
        return sum;
    }
    int mean100(int x, int y) const
    {
        return static_cast<int>(block_sum(x, y) * 100 / (int64_t{c.iBlockX} * c.iBlockY));
    }

    const rova_pim_image &im;
    rova_pim_dust_config &c;
    int32_t &bmps;
    std::vector<rova_pim_dust_spot> blobs;

private:
    bool all_shading()
    {
        if (c.iShadingOn == 0)
            return true;
        rova_pim_log(" <<<<< Start Checking Shading Image ... >>>>> Log :,SangGaRim "
                     " AREA , X1 , Y1 , X2, Y2, L1, L2, \xA5\xC4, Ref. \xA5\xC4");
        bool found = false;
        for (int y = 0; y < im.height && !found; y += c.iBlockY)
            for (int x = 0; x < im.width && !found; x += c.iBlockX)
                found = is_found(x, y);
        if (found)
            rova_pim_log(" Shading POS : (%5d, %5d) (%5d, %5d) \n", c.tShadingPos.x1,
                         c.tShadingPos.y1, c.tShadingPos.x2, c.tShadingPos.y2);
        else
            rova_pim_log(" Shading is OK in Region A \n Shading is OK in Region D \n"
                         " Shading is OK in Region E \n");
        c.iShadingOk = c.iShadingRst = found ? 0 : 1;
        rova_pim_log(" <<<<< End   Checking Shading Image ... >>>>>");
        return !found;
    }
    bool is_found(int x, int y)
    {
        const int bx = c.iBlockX, by = c.iBlockY;
        const char here = GetShadingMark(x, y, c);
        int C = 0, N = 0;
        if (here == 'A' && y + by < im.height && GetShadingMark(x, y + by, c) == 'A') {
            C = mean100(x, y);
            N = mean100(x, y + by);
        } else if ((here == 'D' || here == 'E') && x >= bx &&
                   GetShadingMark(x - bx, y, c) == here) {
            C = mean100(x - bx, y);
            N = mean100(x, y);
        } else {
            return false;
        }
        const int d = std::abs(C - N);
        const bool found = C < c.iShadingRef * 100 && d > c.iShadingDiff100;
        if (found) {
            c.tShadingPos = {x, y, x + bx - 1, y + by - 1};
            c.fShadingC = static_cast<float>(C / 100.0);
            c.fShadingN = static_cast<float>(N / 100.0);
            c.fShadingD = static_cast<float>(static_cast<int>(std::abs(c.fShadingC - c.fShadingN)));
            rova_pim_log(" Found SangGaRim Area in %c Region : (%4d, %4d)  : C_AVE100 = %5d, "
                         "N_AVE100 = %5d, DIFF100 = %5d \n\n",
                         here, x, y, C, N, d);
        }
        if (found || c.iDbgOption[2] == 1)
            rova_pim_log(" %c [%s], %d, %d, %d, %d , %3.2f, %3.2f, %3.2f, %3.2f \n", here,
                         found ? "NG" : "OK", x, y, x + bx - 1, y + by - 1, C / 100.0, N / 100.0,
                         d / 100.0, c.iShadingDiff100 / 100.0);
        if (found)
            rova_pim_log(" Shading is FAIL in Region %c \n", here);
        return found;
    }
    int64_t sum_of(bool left, bool upper) const
    {
        int64_t sum = 0;
        for (int y = 0; y < im.height; y += c.iBlockY)
            for (int x = 0; x < im.width; x += c.iBlockX)
                if ((x < c.iImgX / 2) == left && (y < c.iImgY / 2) == upper)
                    sum += block_sum(x, y);
        return sum;
    }
    bool all_4x()
    {
        if (c.i4xOn == 0)
            return true;
        plain_start_4x();
        const int64_t divisor = int64_t{c.iImgY} * (c.iImgX / 2) / 2;
        const auto mean = [&](bool left, bool upper) {
            return static_cast<int>(sum_of(left, upper) * 100 / divisor);
        };
        return plain_judge_4x(mean(true, true), mean(false, true), mean(true, false),
                              mean(false, false), c) == 0;
    }
    bool all_exposure()
    {
        if (c.iExpOn == 0)
            return true;
        plain_start_exposure();
        const int64_t sum =
            sum_of(true, true) + sum_of(true, false) + sum_of(false, true) + sum_of(false, false);
        const int64_t mean = sum / (int64_t{c.iImgX} * c.iImgY);
        return plain_judge_exposure(sum, static_cast<float>(mean), c) == 0;
    }
    void all_dust()
    {
        search(true);
        merge_once();
        c.iDCnt = static_cast<int>(blobs.size());
        rova_pim_log(">>>> iDCnt = %d \n", c.iDCnt);
        for (int i = 0; i < c.iDCnt && i < 32; i++) {
            const rova_pim_dust_spot &b = blobs[static_cast<std::size_t>(i)];
            c.tDust[i].x1 = b.x1;
            c.tDust[i].y1 = b.y1;
            c.tDust[i].x2 = b.x2;
            c.tDust[i].y2 = b.y2;
            rova_pim_log(" DUST[%d] = (%4d, %4d), (%4d, %4d) \n", i, b.x1, b.y1, b.x2, b.y2);
        }
        verdict();
    }

    std::size_t width() const { return static_cast<std::size_t>(im.width); }
    int last() const { return im.width - 1; }
    int at(int64_t x) const { return map[static_cast<std::size_t>(std::min<int64_t>(x, last()))]; }

    void fill_map(int y)
    {
        map.assign(width(), 0);
        for (int x = 0; x < im.width; x += c.iBlockX) {
            const int mean = mean100(x, y);
            for (int k = 0; k < c.iBlockX; k++)
                map[static_cast<std::size_t>(std::min(x + k, last()))] = mean;
        }
    }

    void dump_pixels(std::FILE *f, int y)
    {
        std::fprintf(f, "[%04d] \n", y);
        for (int x = 0; x < im.width; x++)
            std::fprintf(f, " ,%3d ", pixel_at(x, y) * 100);
        std::fprintf(f, "\n");
        for (int x = 0; x < im.width; x++)
            std::fprintf(f, " ,%3d ", at(x));
        std::fprintf(f, "\n");
    }
    void dump_marks(std::FILE *f)
    {
        for (int x = 0; x < im.width; x++)
            std::fprintf(f, " ,%3d ", at(x) - at(x + int64_t{c.iSmallOffset} * c.iBlockX));
        std::fprintf(f, "\n");
        for (int x = 0; x < im.width; x++)
            std::fprintf(f, " ,%3d ", at(x) - at(x + int64_t{c.iBigOffset} * c.iBlockX));
        std::fprintf(f, "\n");
        for (int x = 0; x < im.width; x++)
            std::fprintf(f, " ,%3d ", mark[static_cast<std::size_t>(x)]);
        std::fprintf(f, "\n");
    }

    void find(int y)
    {
        for (int x = 0; x < im.width; x += c.iBlockX) {
            const int64_t s = int64_t{c.iSmallOffset} * c.iBlockX;
            const int xs = static_cast<int>(std::min<int64_t>(x + s, last()));
            if (IsExceptArea(x, y, xs, y, c))
                continue;
            small_test(x, xs, y, s);
            const int64_t b = int64_t{c.iBigOffset} * c.iBlockX;
            big_test(x, static_cast<int>(std::min<int64_t>(x + b, last())), y);
        }
    }
    void small_test(int x, int xs, int y, int64_t s)
    {
        const int d = std::abs(at(x) - at(xs));
        const int ref = GetSmallRef(xs, y, c);
        const int a3 = (at(x + 2 * s) + at(x + 3 * s) + at(x + 4 * s)) / 3;
        const int d3 = std::abs(at(xs) - a3);
        const char letter = GetAreaMark(xs, y, c);
        if (d < ref || d3 < GetBlurRef(xs, y, c)) {
            if (c.iDbgOption[2] == 1)
                rova_pim_log(
                    "*%c SMALL %s, %d, %d, %d, %d, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f \n",
                    letter, d < ref ? " [OK]" : " [Blur]", x, y, xs, y, at(x) / 100.0,
                    at(xs) / 100.0, a3 / 100.0, d / 100.0, d3 / 100.0, ref / 100.0);
            return;
        }
        mark_darker(x, xs);
        if (c.iDbgLevel[1] != 0)
            rova_pim_log(" SMALL >>>>> [ %c ] (%5d, %5d) (%5d, %5d) = %5d - %5d = %5d / %5d \n",
                         letter, x, y, xs, y, at(x), at(xs), d, ref);
        rova_pim_log("%c SMALL %s, %d, %d, %d, %d, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f \n",
                     letter, " [NG]", x, y, xs, y, at(x) / 100.0, at(xs) / 100.0, a3 / 100.0,
                     d / 100.0, d3 / 100.0, ref / 100.0);
    }
    void big_test(int x, int xb, int y)
    {
        const int d = std::abs(at(x) - at(xb));
        const int ref = GetBigRef(xb, y, c);
        const char letter = GetAreaMark(xb, y, c);
        if (d < ref) {
            if (c.iDbgOption[2] == 1)
                rova_pim_log("*%c BIG   %s, %d, %d, %d, %d, %3.2f, %3.2f, - , %3.2f, - , %3.2f \n",
                             letter, " [OK]", x, y, xb, y, at(x) / 100.0, at(xb) / 100.0, d / 100.0,
                             ref / 100.0);
            return;
        }
        mark_darker(x, xb);
        if (c.iDbgLevel[1] != 0)
            rova_pim_log(" BIG   >>>>> [ %c ] (%5d, %5d) (%5d, %5d) = %5d - %5d = %5d / %5d \n",
                         letter, x, y, xb, y, at(x), at(xb), d, ref);
        rova_pim_log("%c BIG   %s, %d, %d, %d, %d, %3.2f, %3.2f, - , %3.2f, - , %3.2f \n", letter,
                     " [NG]", x, y, xb, y, at(x) / 100.0, at(xb) / 100.0, d / 100.0, ref / 100.0);
    }
    void mark_darker(int x, int far)
    {
        const bool is_far = at(far) < at(x);
        for (int k = 0; k < c.iBlockX; k++) {
            int p = (is_far ? far : x) + k;
            if (is_far)
                p = std::min(p, last());
            else if (p > last())
                continue;
            mark[static_cast<std::size_t>(p)] = 0;
            value[static_cast<std::size_t>(p)] = at(is_far ? far : x);
        }
    }

    std::vector<rova_pim_dust_spot> pieces(int y, bool all) const
    {
        std::vector<rova_pim_dust_spot> found;
        for (int x = 0; x < im.width; x += 2) {
            const int v = value[static_cast<std::size_t>(x)];
            if (mark[static_cast<std::size_t>(x)] != 0 || (!all && v == 0))
                continue;
            const rova_pim_dust_spot start = {x, y, x, y, v, v};
            if (found.empty()) {
                found.push_back(start);
                continue;
            }
            rova_pim_dust_spot &open = found.back();
            const int gap = x - open.x2;
            if (gap > int64_t{c.iSmallOffset} * c.iBlockX &&
                gap > int64_t{c.iBigOffset} * c.iBlockX) {
                found.push_back(start);
                continue;
            }
            open.x2 = x;
            open.y2 = y;
            open.min100 = std::min(open.min100, v);
            open.max100 = std::max(open.max100, v);
        }
        found.resize(std::min<std::size_t>(found.size(), 256));
        return found;
    }

    void join(const std::vector<rova_pim_dust_spot> &found)
    {
        if (found.empty())
            return;
        if (blobs.empty()) {
            blobs.push_back(found[0]);
            return;
        }
        for (std::size_t i = 0; i < found.size() && blobs.size() < 256; i++) {
            if (!join_piece(found[i]))
                blobs.push_back(found[i]);
        }
    }
    bool join_piece(const rova_pim_dust_spot &p)
    {
        const int64_t wide = int64_t{c.iSmallOffset} * c.iBlockX;
        bool joined = false;
        for (rova_pim_dust_spot &b : blobs) {
            if (p.y2 > b.y2 + int64_t{c.iBlockY} * c.iSmallOffset)
                continue;
            const bool starts = b.x1 <= p.x1 && p.x1 <= b.x2;
            const bool ends = b.x1 <= p.x2 && p.x2 <= b.x2;
            const bool covers = p.x1 <= b.x1 && b.x2 <= p.x2;
            const bool left = p.x2 <= b.x1 && b.x1 <= p.x2 + wide;
            const bool right = b.x2 <= p.x1 && p.x1 <= b.x2 + wide;
            if (!starts && !ends && !covers && !left && !right)
                continue;
            b.x1 = std::min(b.x1, p.x1);
            b.x2 = std::max(b.x2, p.x2);
            b.y2 = p.y2;
            b.min100 = std::min(b.min100, p.min100);
            b.max100 = std::max(b.max100, p.max100);
            joined = true;
        }
        return joined;
    }

    static bool inside(int x, int y, const rova_pim_dust_spot &b)
    {
        return x >= b.x1 && x <= b.x2 && y >= b.y1 && y <= b.y2;
    }
    static bool corner_inside(const rova_pim_dust_spot &a, const rova_pim_dust_spot &b)
    {
        return inside(a.x1, a.y1, b) || inside(a.x2, a.y1, b) || inside(a.x1, a.y2, b) ||
               inside(a.x2, a.y2, b);
    }
    static bool touch(const rova_pim_dust_spot &i, const rova_pim_dust_spot &j)
    {
        return corner_inside(j, i) || corner_inside(i, j);
    }

    std::vector<int> map; // of each pixel of any of the stripe's rows, its block's mean
    std::vector<uint8_t> mark;
    std::vector<int32_t> value;
};

} // namespace test
