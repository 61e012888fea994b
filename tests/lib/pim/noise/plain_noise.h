// The noise test as plainly as it can be said: every pixel is looked up by itself, columns are
// walked down, blocks are summed one by one.  Same results, texts and files as the engine's.
#pragma once

#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_image.h"
#include "tests/support/camera.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace test
{

struct PlainNoise {
    const rova_pim_image &image;
    rova_pim_noise_config &cfg;
    const Camera &camera;
    int iX = image.width, iY = image.height;
    int iso = cfg.iIsoIdx;
    int cellX = 0, cellY = 0, divX = 0, divY = 0, iBX = 0, iBY = 0;

    // -- pixels

    bool is_in(int64_t at) const
    {
        return at >= 0 && at < static_cast<int64_t>(image.bytes.size());
    }
    // Where a value lies; -1: nowhere.
    int64_t luma_place(int64_t x, int64_t y) const
    {
        switch (image.iCS) {
        case 1:
        case 2:
        case 3:
        case 9:
        case 11:
        case 14:
            return y * image.pitch + x;
        case 12:
            return y * image.pitch + 2 * x;
        case 13:
            return y * image.pitch + 2 * x + 1;
        default:
            return -1;
        }
    }
    int64_t cb_place(int64_t x, int64_t y) const
    {
        const int64_t row = cfg.iCbOffset + y * image.pitch;
        switch (image.iCS) {
        case 1:
            return cfg.iCbOffset + y * (image.pitch / 2) + x;
        case 2:
        case 9:
            return row + 2 * x;
        case 3:
            return row + 2 * x + 1;
        case 11:
            return row + x;
        case 12:
            return row + 4 * x + 1;
        case 13:
            return row + 4 * x;
        default:
            return -1;
        }
    }
    int64_t cr_place(int64_t x, int64_t y) const
    {
        const int64_t row = cfg.iCrOffset + y * image.pitch;
        switch (image.iCS) {
        case 1:
            return cfg.iCrOffset + y * (image.pitch / 2) + x;
        case 2:
        case 9:
            return row + 2 * x + 1;
        case 3:
            return row + 2 * x;
        case 11:
            return row + x;
        case 12:
            return row + 4 * x + 3;
        case 13:
            return row + 4 * x + 2;
        default:
            return -1;
        }
    }
    int at(int64_t place) const { return image.bytes[static_cast<std::size_t>(place)]; }
    int luma(int64_t x, int64_t y) const { return at(luma_place(x, y)); }

    // -- blocks

    bool lay_grid()
    {
        if (cfg.iNX >= 1 && cfg.iNY >= 1) {
            cellX = iX / cfg.iNX;
            cellY = iY / cfg.iNY;
            if (cfg.iDivX > cellX || cfg.iDivY > cellY) {
                rova_pim_debug(" Block Size Error : %d x %d [ %d x %d ] \n", cfg.iDivX, cfg.iDivY,
                               cellX, cellY);
                return false;
            }
        }
        if (cfg.iNX < 1 || cfg.iNY < 1 || cfg.iDivX < 0 || cfg.iDivY < 0 || cellX < 1 ||
            cellY < 1) {
            rova_pim_debug(" no %d x %d blocks of %d x %d in a picture of %d x %d \n", cfg.iNX,
                           cfg.iNY, cfg.iDivX, cfg.iDivY, iX, iY);
            return false;
        }
        divX = cfg.iDivX == 0 ? cellX : cfg.iDivX;
        divY = cfg.iDivY == 0 ? cellY : cfg.iDivY;
        const int rx = (cellX - divX) / 2, ry = (cellY - divY) / 2;
        iBX = rx % 2 == 1 ? rx + 1 : cellX / 2;
        iBY = ry % 2 == 1 ? ry + 1 : cellY / 2;
        return true;
    }

    rova_pim_rect dot_block(int col, int row) const
    {
        if (cfg.iDivX != 0) {
            const int x1 = col * cellX + iBX, y1 = row * cellY + iBY;
            return {x1, y1, x1 + divX - 1, y1 + divY - 1};
        }
        const int x1 = col * divX, y1 = row * divY;
        return {x1, y1, col == cfg.iNX - 1 ? iX - 1 : x1 + divX - 1,
                row == cfg.iNY - 1 ? iY - 1 : y1 + divY - 1};
    }

    int dot()
    {
        if (cfg.iDotOn == 0)
            return 0;
        rova_pim_debug(" <<<<< Start Checking Dot Noise ... >>>>>");
        if (!lay_grid())
            return -1;
        const rova_pim_rect last = dot_block(cfg.iNX - 1, cfg.iNY - 1);
        if (!is_in(luma_place(last.x1, last.y1))) {
            rova_pim_debug(" blocks of %d x %d leave the %zu bytes of the picture \n", divX, divY,
                           image.bytes.size());
            return -1;
        }
        rova_pim_debug(" NX x NY = %d x %d \n", cfg.iNX, cfg.iNY);
        rova_pim_debug(" DIV. X x Y = %d x %d \n", divX, divY);
        rova_pim_debug(" iBX x iBY = %d x %d \n", iBX, iBY);
        std::vector<float> mean, normal;
        uint64_t all = 0, pixels = 0;
        int errors = 0;
        cfg.fYMax = -999.0F;
        cfg.fYMin = 999.0F;
        cfg.fY = cfg.fYnAvg = 0;
        cfg.iDotOk = cfg.iDotRst = 1;
        for (int row = 0; row < cfg.iNY; row++) {
            for (int col = 0; col < cfg.iNX; col++) {
                const rova_pim_rect r = dot_block(col, row);
                uint64_t sum = 0, count = 0;
                for (int y = r.y0; y <= r.y1; y++) {
                    for (int x = r.x0; x <= r.x1; x++) {
                        sum += static_cast<uint64_t>(luma(x, y));
                        count++;
                    }
                }
                mean.push_back(static_cast<float>(sum) / static_cast<float>(count));
                all += sum;
                pixels += count;
                if (mean.back() < cfg.fYSpec[iso]) {
                    errors++;
                    if (cfg.fY == 0) {
                        cfg.fY = mean.back();
                        cfg.iDotOk = 0;
                    }
                }
                cfg.fYMax = mean.back() > cfg.fYMax ? mean.back() : cfg.fYMax;
                cfg.fYMin = mean.back() < cfg.fYMin ? mean.back() : cfg.fYMin;
            }
        }
        const float average = static_cast<float>(all) / static_cast<float>(pixels);
        if (cfg.fY == 0)
            cfg.fY = average;
        rova_pim_debug(" Normalizing Base = %d [ %s ] \n\n", cfg.iNormBase,
                       cfg.iNormBase == 0 ? "AVERAGE" : "CENTER");
        rova_pim_debug(" AREA      Y      Y.Nor   ");
        const int n = cfg.iNX * cfg.iNY;
        const float base = cfg.iNormBase == 0 ? average : mean[static_cast<std::size_t>(n / 2)];
        float sum = 0;
        for (int i = 0; i < n; i++) {
            const float m = mean[static_cast<std::size_t>(i)];
            const float value = m * 100.0F / base;
            sum += value;
            rova_pim_debug("  %2d    %6.2f   %6.2f  [ %s ]  \n", i, m, value,
                           m < cfg.fYSpec[iso] ? "NG" : "OK");
            if (i == 0 || value > cfg.fYnMax)
                cfg.fYnMax = value;
            if (i == 0 || value < cfg.fYnMin)
                cfg.fYnMin = value;
        }
        cfg.fYnAvg = sum / static_cast<float>(n);
        rova_pim_debug(" Y-Max = %3.2f , Y-Min = %3.2f, Diff = %3.2f [ %3.2f ] \n", cfg.fYMax,
                       cfg.fYMin, cfg.fYMax - cfg.fYMin, cfg.fYMaxMinSpec[iso]);
        if (cfg.fYMax - cfg.fYMin > cfg.fYMaxMinSpec[iso])
            rova_pim_debug(" NG : Y.Max - Y.Min Error  ~ !!! ");
        rova_pim_debug(" YnormalMax - YnormalMin = %3.2f - %3.2f = %3.2f [ %3.2f ] \n", cfg.fYnMax,
                       cfg.fYnMin, cfg.fYnMax - cfg.fYnMin, cfg.fNormMaxMinSpec[iso]);
        if (cfg.fYnMax - cfg.fYnMin > cfg.fNormMaxMinSpec[iso])
            rova_pim_debug(" NG : Dot Noise Error : Normalize Error ~~~ !!! ");
        cfg.iDotOk = cfg.iDotRst = errors == 0 ? 1 : 0;
        rova_pim_debug("%s", errors == 0 ? " OK : NO DOT NOISE ~~~~!!! "
                                         : " NG : FOUND DOT NOISE ERROR !!! ");
        rova_pim_debug(" <<<<< End  Checking Dot Noise ... >>>>>");
        return errors == 0 ? 0 : -1;
    }

    // -- colours

    static int clamped(int value) { return std::max(0, std::min(255, value)); }

    // All bytes of a block, also the last of an odd row, which no pixel's colour needs.
    bool has_colours(int col, int row, int v) const
    {
        const int x1 = col * cellX + iBX, y1 = row * cellY + iBY;
        const int w = divX / 2, h = divY / v;
        if (w == 0 || h == 0 || !is_in(luma_place(x1, y1)) ||
            !is_in(luma_place(x1 + divX - 1, y1 + divY - 1)))
            return false;
        return is_in(cb_place(x1 / 2, y1 / v)) && is_in(cr_place(x1 / 2, y1 / v)) &&
               is_in(cb_place(x1 / 2 + w - 1, y1 / v + h - 1)) &&
               is_in(cr_place(x1 / 2 + w - 1, y1 / v + h - 1));
    }

    int color()
    {
        if (cfg.iColorOn == 0)
            return 0;
        rova_pim_debug(" <<<<< Start Checking Color Noise ... >>>>>");
        if (!lay_grid())
            return -1;
        const int v = image.iCS >= 1 && image.iCS <= 6 ? 2 : 1;
        const int n = cfg.iNX * cfg.iNY;
        bool readable = true;
        for (int i = 0; i < n; i++)
            readable = readable && has_colours(i % cfg.iNX, i / cfg.iNX, v);
        if (!readable) {
            rova_pim_debug(
                " no colours of %d x %d blocks of %d x %d in the %zu bytes of the picture \n",
                cfg.iNX, cfg.iNY, divX, divY, image.bytes.size());
            return -1;
        }
        rova_pim_debug(" NX  x NY  = %d x %d = %d \n", cfg.iNX, cfg.iNY, n);
        rova_pim_debug(" IDX x IDY = %d x %d = %d \n", divX, divY, divX * divY);
        rova_pim_debug(" iBX x iBY = %d x %d \n", iBX, iBY);
        cfg.iColorOk = 1;
        std::vector<float> R, G, B, RG, BG;
        float rSum = 0, gSum = 0, bSum = 0;
        float rgMax = 0, bgMax = 0, rgFirst = 0, bgFirst = 0;
        for (int i = 0; i < n; i++) {
            const int x1 = i % cfg.iNX * cellX + iBX, y1 = i / cfg.iNX * cellY + iBY;
            uint64_t r = 0, g = 0, b = 0, count = 0;
            for (int y = 0; y < divY / v * v; y++) {
                for (int x = 0; x < divX / 2 * 2; x++) {
                    const int Y = luma(x1 + x, y1 + y);
                    const int Cb = at(cb_place(x1 / 2 + x / 2, y1 / v + y / v));
                    const int Cr = at(cr_place(x1 / 2 + x / 2, y1 / v + y / v));
                    const int C = 298 * Y - 4768;
                    r += static_cast<uint64_t>(clamped((C + 408 * Cr - 52096) >> 8));
                    g += static_cast<uint64_t>(clamped((C - 208 * Cr - 100 * Cb + 39552) >> 8));
                    b += static_cast<uint64_t>(clamped((C + 516 * Cb - 65920) >> 8));
                    count++;
                }
            }
            R.push_back(static_cast<float>(r) / static_cast<float>(count));
            G.push_back(static_cast<float>(g) / static_cast<float>(count));
            B.push_back(static_cast<float>(b) / static_cast<float>(count));
            RG.push_back(R.back() - G.back());
            BG.push_back(B.back() - G.back());
            rSum += R.back();
            gSum += G.back();
            bSum += B.back();
            if (i == 0) {
                rgMax = BG[0];
                rgFirst = RG[0];
                bgFirst = BG[0];
                continue;
            }
            if (RG.back() > rgMax || RG.back() < rgFirst)
                rgMax = RG.back();
            if (BG.back() > bgMax || BG.back() > bgFirst)
                bgMax = BG.back();
        }
        print_color_head();
        int failed = 0;
        for (int i = 0; i < n; i++) {
            const auto k = static_cast<std::size_t>(i);
            rova_pim_debug(" [ %2d ] %6.2f : %6.2f : %6.2f  ::: %6.2f : %6.2f ", i, R[k], G[k],
                           B[k], RG[k], BG[k]);
            const float dr =
                static_cast<float>(std::abs(static_cast<int>(RG[k] * 100.0F))) / 100.0F;
            const float db =
                static_cast<float>(std::abs(static_cast<int>(BG[k] * 100.0F))) / 100.0F;
            if (R[k] < cfg.fRedSpec[iso] || G[k] < cfg.fGreenSpec[iso] ||
                B[k] < cfg.fBlueSpec[iso] || dr > cfg.fRGDiffSpec[iso] ||
                db > cfg.fBGDiffSpec[iso]) {
                rova_pim_debug(" [ %s ] \n", "NG");
                if (failed == 0) {
                    cfg.fR = R[k];
                    cfg.fG = G[k];
                    cfg.fB = B[k];
                    cfg.fRG = dr;
                    cfg.fBG = db;
                }
                failed++;
            } else {
                rova_pim_debug(" [ %s ] \n", "OK");
            }
        }
        if (failed == 0) {
            cfg.fR = rSum / static_cast<float>(n);
            cfg.fG = gSum / static_cast<float>(n);
            cfg.fB = bSum / static_cast<float>(n);
            cfg.fRG = cfg.fR - cfg.fG;
            cfg.fBG = cfg.fB - cfg.fG;
        }
        cfg.fRGRange = rgMax - rgFirst;
        cfg.fBGRange = bgMax - bgFirst;
        rova_pim_debug(" R-G.Max - R-G.Min = %6.2f - %6.2f = %6.2f ", rgMax, rgFirst, cfg.fRGRange);
        rova_pim_debug(" [ %s ] \n", cfg.fRGRange > cfg.fRGMaxMinSpec[iso] ? "NG" : "OK");
        rova_pim_debug(" B-G.Max - B-G.Min = %6.2f - %6.2f = %6.2f ", bgMax, bgFirst, cfg.fBGRange);
        rova_pim_debug(" [ %s ] \n", cfg.fBGRange > cfg.fBGMaxMinSpec[iso] ? "NG" : "OK");
        cfg.iColorOk = cfg.iColorRst = failed == 0 ? 1 : 0;
        rova_pim_debug("%s", failed == 0 ? " >>> OK : NO Color Noise ~~~ !!! "
                                         : " >>> NG : Found Color Noise ~~~ !!! ");
        rova_pim_debug(" <<<<< End  Checking Color Noise ... >>>>>");
        return failed == 0 ? 0 : -1;
    }

    static void rule() { rova_pim_debug(" %s\n", std::string(80, '=').c_str()); }
    void print_color_head() const
    {
        rule();
        rova_pim_debug("  AREA    R        G        B           R-G      B-G          ");
        rova_pim_debug("       [%6.2f] [%6.2f] [%6.2f]    [%6.2f] [%6.2f] \n", cfg.fRedSpec[iso],
                       cfg.fGreenSpec[iso], cfg.fBlueSpec[iso], cfg.fRGDiffSpec[iso],
                       cfg.fBGDiffSpec[iso]);
        rule();
    }

    // -- lines

    std::vector<int> column(int x) const
    {
        std::vector<int> bytes;
        for (int y = 0; y < iY; y++)
            bytes.push_back(luma(x, y));
        return bytes;
    }
    bool dips(const std::vector<int> &bytes, int sum) const
    {
        const int dip = sum / iY - cfg.iLineOffset[iso];
        return std::ranges::any_of(bytes, [&](int byte) { return byte < dip; });
    }
    static int sum_of(const std::vector<int> &bytes)
    {
        int sum = 0;
        for (int byte : bytes)
            sum += byte;
        return sum;
    }

    int line()
    {
        if (cfg.iLineOn == 0)
            return 0;
        rova_pim_debug(" <<<<< Start Checking Line Noise ... >>>>>");
        int result = 0;
        if (iX > image.pitch) {
            rova_pim_debug(" Wrong Size : X = %4d , Y = %4d, STRIDE = %4d \n", iX, iY, image.pitch);
            result = -1;
        }
        if (iX < 1 || iY < 1 || !is_in(luma_place(iX - 1, iY - 1))) {
            rova_pim_debug(" no columns of a picture of %d x %d in its %zu bytes \n", iX, iY,
                           image.bytes.size());
            return -1;
        }
        int n = 0;
        std::vector<int> bytes = column(0);
        int sum = sum_of(bytes), prev = sum * 100 / iY;
        if (dips(bytes, sum)) {
            cfg.LnDef[0] = 0;
            n = 1;
        }
        for (int c = 1; c < iX - 1; c++) {
            bytes = column(c + 1);
            sum = sum_of(bytes);
            const int mean = sum * 100 / iY;
            if (dips(bytes, sum)) {
                cfg.LnDef[n] = c;
                n++;
            } else if (static_cast<float>(std::abs(prev - mean)) >= cfg.fLineDiff[iso] * 100.0F) {
                cfg.LnDef[n] = prev > mean ? c : c - 1;
                n++;
            }
            if (n > 31)
                break;
            prev = mean;
        }
        cfg.iLnDeNum = cfg.iLnDeNumRst = n;
        rova_pim_debug(">>>> iLnDeNum  = %d \n", n);
        cfg.iLineOk = cfg.iLineRst = n == 0 ? 1 : 0;
        for (int i = 0; i < n; i++) {
            cfg.LnDefRst[i] = cfg.LnDef[i];
            rova_pim_debug(" LnDef[%d] = %4d  \n", i, cfg.LnDef[i]);
            result = -1;
        }
        rova_pim_debug(" <<<<< End  Checking Line Noise ... >>>>>");
        return result;
    }

    // -- the result row

    std::string title = {}, data = {}; // pPtpTile and pRstData in mode 2

    static std::string text(const char *fmt, ...) __attribute__((format(printf, 1, 2)))
    {
        char piece[512];
        va_list args;
        va_start(args, fmt);
        std::vsnprintf(piece, sizeof(piece), fmt, args);
        va_end(args);
        return piece;
    }
    static std::string word(int verdict)
    {
        return verdict == 1 ? "OK," : verdict == 0 ? "NG," : "-,";
    }
    std::string row() const
    {
        std::string row = text("%s,", gMotExifInfo.filename) + word(cfg.iTotal);
        row += text("ISO %d,", cfg.iIso) + word(cfg.iDotRst);
        for (float value : {cfg.fY, cfg.fYMax, cfg.fYMin, cfg.fYnAvg, cfg.fYnMax, cfg.fYnMin})
            row += cfg.iDotRst == -99 ? "-," : text("%3.2f,", value);
        row += word(cfg.iColorRst);
        for (float value : {cfg.fR, cfg.fG, cfg.fB, cfg.fRG, cfg.fBG})
            row += cfg.iColorRst == -99 ? "-," : text("%3.2f,", value);
        row += word(cfg.iLineRst);
        for (int i = 0; i < 32; i++) {
            const std::string value = i < cfg.iLnDeNumRst ? text("%d,", cfg.LnDefRst[i]) : ", ";
            row += cfg.iLineRst == -99 ? "-," : value;
        }
        return row + "\n";
    }
    void write_result()
    {
        const std::string head1 =
            "File, Total ,    , Dot Noise,  ,    ,     ,    ,      ,      , Color Noise,  ,  ,  "
            ",    ,    , Line Noise ,  ,  ,  ,   ,    ,  ,   ,   ,  \n";
        const std::string head2 =
            "Name, Resutl, ISO, Result   , Y,Ymax, Ymin, Yn , Ynmax, YnMin, Result     , R, G, B, "
            "R-G, B-G, Result     , X1, X2, X3, X4, X5, X6, X7, X8, X9,  \n";
        const std::string before = camera.read(cfg.strOutFile);
        if (cfg.iRstPrint < 2)
            rova_pim_debug(" OUTFILE SIZE = %d \n", static_cast<int>(before.size()));
        if (cfg.iDotOk == -99 && cfg.iColorOk == -99 && cfg.iLineOk == -99)
            cfg.iTotal = -99;
        else
            cfg.iTotal = cfg.iDotOk == 0 || cfg.iColorOk == 0 || cfg.iLineOk == 0 ? 0 : 1;
        if (cfg.iRstPrint == 2) {
            title = head1;
            data = head2 + row();
            return;
        }
        const std::string heads = before.size() <= 1 ? head1 + head2 : "";
        camera.write(cfg.strOutFile, before + heads + row());
    }

    // -- the whole, with the debug file's name good and result modes 0 to 2

    int run()
    {
        if (cfg.iDbgPrint != 0)
            rova_pim_debug_open(cfg.strDbgFile);
        rule();
        rova_pim_debug(" <<<<< Run  Noise Detection ... >>>>>                                      "
                       "      \n");
        rule();
        int result = -1;
        if (dot() != 0)
            rova_pim_debug(" ERROR ~~! : Found Dot Noise. \n");
        else if (color() != 0)
            rova_pim_debug(" ERROR ~~! : Found Color Noise. \n");
        else if (line() != 0)
            rova_pim_debug(" ERROR ~~! : Found Line Noise.  \n");
        else
            result = 0;
        write_result();
        rova_pim_debug(" <<<<< Stop Noise Detection ... >>>>>                                      "
                       "      \n");
        if (cfg.iDbgPrint != 0)
            rova_pim_debug_close();
        return result;
    }
};

} // namespace test
