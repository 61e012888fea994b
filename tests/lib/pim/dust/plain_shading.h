// The checks of brightness as plainly as they can be said: byte by byte, each mean where it is
// asked for.  Same results, record and log as the engine's; where the engine refuses, a byte is not
// there.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace test
{

struct PlainRefusal {
};

inline int64_t plain_byte(const rova_pim_image &image, int64_t at)
{
    if (at < 0 || at >= static_cast<int64_t>(image.bytes.size()))
        throw PlainRefusal();
    return image.bytes[static_cast<std::size_t>(at)];
}

inline int64_t plain_luma(const rova_pim_image &image, int64_t x, int64_t y)
{
    const int64_t row = y * image.pitch;
    switch (image.iCS) {
    case CS422_Y_CbCr:
        return plain_byte(image, row + x);
    case CS422_YCbYCr:
        return plain_byte(image, row + 2 * x);
    case CS422_CbYCrY:
        return plain_byte(image, row + 2 * x + 1);
    default:
        throw PlainRefusal();
    }
}

inline int64_t plain_sum(const rova_pim_image &image, int64_t x1, int64_t y1, int64_t x2,
                         int64_t y2)
{
    int64_t sum = 0;
    for (int64_t y = y1; y <= y2; y++) {
        for (int64_t x = x1; x <= x2; x++)
            sum += plain_luma(image, x, y);
    }
    return sum;
}

// One block of a band: `x1` to `y2` are its corners, (dx, dy) leads to the next one inwards.  True
// when it is a find.
inline bool plain_block(const rova_pim_image &image, rova_pim_dust_config &cfg, char band, int x,
                        int y, int x1, int y1, int dx, int dy)
{
    const int bx = cfg.iBlockX, by = cfg.iBlockY, x2 = x1 + bx - 1, y2 = y1 + by - 1;
    const int64_t count = int64_t{bx} * by;
    const auto C = static_cast<int>(plain_sum(image, x1, y1, x2, y2) * 100 / count);
    const auto N =
        static_cast<int>(plain_sum(image, x1 + dx, y1 + dy, x2 + dx, y2 + dy) * 100 / count);
    const int D = std::abs(C - N);
    const bool found = C < cfg.iShadingRef * 100 && D > cfg.iShadingDiff100;
    if (found) {
        cfg.tShadingPos = {x1, y1, x2, y2};
        if (band == 'C')
            cfg.tShadingPos.y1 = y - by;
        if (band == 'E')
            cfg.tShadingPos.x1 = x - bx;
        cfg.fShadingC = static_cast<float>(C / 100.0);
        cfg.fShadingN = static_cast<float>(N / 100.0);
        cfg.fShadingD =
            static_cast<float>(static_cast<int>(std::abs(cfg.fShadingC - cfg.fShadingN)));
        rova_pim_log(" Found Shading Area in %c Region : (%4d, %4d)  : C_AVE100 = %5d, N_AVE100 = "
                     "%5d, DIFF100 = %5d \n",
                     band, x, y, C, N, D);
    }
    if (found || cfg.iDbgOption[2] == 1)
        rova_pim_log(" %s, %d, %d, %d, %d , %3.2f, %3.2f, %3.2f, %3.2f \n",
                     (std::string(1, band) + (found ? " [NG]" : " [OK]")).c_str(), x1, y1, x2, y2,
                     C / 100.0, N / 100.0, D / 100.0, cfg.iShadingDiff100 / 100.0);
    return found;
}

inline bool plain_band(const rova_pim_image &image, rova_pim_dust_config &cfg, char band)
{
    const int bx = cfg.iBlockX, by = cfg.iBlockY;
    const std::size_t index = std::string("ACDE").find(band);
    const rova_pim_corners a = cfg.tShadingArea[index];
    bool found = false;
    const bool all = cfg.iLogSave != 0;
    const auto go_on = [&] { return all || !found; };
    if (band == 'A') {
        for (int x = a.x1; x < a.x2 && go_on(); x += bx) {
            for (int y = a.y1; y < a.y2 && go_on(); y += by)
                found |= plain_block(image, cfg, band, x, y, x, y, 0, by);
        }
    } else if (band == 'C') {
        for (int x = a.x1; x < a.x2 && go_on(); x += bx) {
            for (int y = a.y2 - 1; y > a.y1 && go_on(); y -= by)
                found |= plain_block(image, cfg, band, x, y, x, y - by + 1, 0, -by);
        }
    } else if (band == 'D') {
        for (int y = a.y1; y < a.y2 && go_on(); y += by) {
            for (int x = a.x1; x < a.x2 && go_on(); x += bx)
                found |= plain_block(image, cfg, band, x, y, x, y, bx, 0);
        }
    } else {
        for (int y = a.y1; y < a.y2 && go_on(); y += by) {
            for (int x = a.x2 - 1; x > a.x1 && go_on(); x -= bx)
                found |= plain_block(image, cfg, band, x, y, x - bx + 1, y, -bx, 0);
        }
    }
    rova_pim_log(" Shading is %s in Region %c \n", found ? "FAIL" : "OK", band);
    return found;
}

inline int plain_shading(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iShadingOn == 0)
        return 0;
    rova_pim_log(" <<<<< Start Checking Shading Image ... >>>>> Log :,SangGaRim  AREA , X1 , Y1 , "
                 "X2, Y2, L1, L2, \xA5\xC4, Ref. \xA5\xC4");
    bool found = false;
    for (const char band : {'A', 'C', 'D', 'E'}) {
        if (!found || cfg.iLogSave == 1)
            found |= plain_band(image, cfg, band);
    }
    cfg.iShadingOk = cfg.iShadingRst = found ? 0 : 1;
    if (found)
        rova_pim_log(" Shading POS : (%5d, %5d) (%5d, %5d) \n", cfg.tShadingPos.x1,
                     cfg.tShadingPos.y1, cfg.tShadingPos.x2, cfg.tShadingPos.y2);
    rova_pim_log(" <<<<< End   Checking Shading Image ... >>>>>");
    return found ? -1 : 0;
}

inline void plain_start_4x()
{
    rova_pim_log(" <<<<< Start Checking 4x Shading ... >>>>> Log :,Shading  AREA , L1 , L2 , L3, "
                 "L4, MAX, MIN, \xA5\xC4, Ref. \xA5\xC4");
}

inline int plain_judge_4x(int L1, int L2, int L3, int L4, rova_pim_dust_config &cfg)
{
    int most = -99900, least = 99900;
    for (const int L : {L2, L3, L1, L4}) {
        most = std::max(most, L);
        least = std::min(least, L);
    }
    const bool pass = most - least <= cfg.i4xDiff100;
    rova_pim_log(" 4x AVE = %d, %d, %d, %d \n", L1, L2, L3, L4);
    rova_pim_log(" 4x Y      = %4d - %4d  = %4d\n", most, least, most - least);
    rova_pim_log(" 4x Y Diff = %4d \n", cfg.i4xDiff100);
    rova_pim_log(" %s, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f , %3.2f \n", pass ? "OK " : "NG",
                 L1 / 100.0, L2 / 100.0, L3 / 100.0, L4 / 100.0, most / 100.0, least / 100.0,
                 (most - least) / 100.0);
    cfg.i4xOk = cfg.i4xRst = pass ? 1 : 0;
    cfg.f4xMin = static_cast<float>(least / 100.0);
    cfg.f4xMax = static_cast<float>(most / 100.0);
    cfg.f4xD = static_cast<float>(static_cast<int>(std::abs(cfg.f4xMax - cfg.f4xMin)));
    rova_pim_log(" <<<<< End   Checking 4x Shading ... >>>>>");
    return pass ? 0 : -1;
}

inline int plain_4x_shading(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.i4xOn == 0)
        return 0;
    plain_start_4x();
    const int X = image.width;
    int64_t sum1 = 0, sum2 = 0, sum3 = 0, sum4 = 0;
    for (int y = 0; y < cfg.iImgY / 2; y += 2) {
        sum1 += plain_sum(image, 0, y, X / 2 - 1, y);
        sum2 += plain_sum(image, X / 2, y, X - 1, y);
    }
    for (int y = cfg.iImgY / 2; y < cfg.iImgY; y += 2) {
        sum3 += plain_sum(image, 0, y, X / 2 - 1, y);
        sum4 += plain_sum(image, X / 2, y, X - 1, y);
    }
    const int64_t divisor = (cfg.iImgY * (cfg.iImgX / 2)) / 4;
    if (divisor == 0)
        throw PlainRefusal();
    const auto mean = [&](int64_t sum) { return static_cast<int>(sum * 100 / divisor); };
    return plain_judge_4x(mean(sum1), mean(sum2), mean(sum3), mean(sum4), cfg);
}

inline void plain_start_exposure()
{
    rova_pim_log(" <<<<< Start Checking Exposure Image ... >>>>> Log :,Exposure  AREA , L , R.Max, "
                 "R.Min ");
}

inline int plain_judge_exposure(int64_t sum, float mean, rova_pim_dust_config &cfg)
{
    cfg.fExpY = mean;
    rova_pim_log(" AreaSum = %lld , AreaAve = %3.2f \n", static_cast<long long>(sum), cfg.fExpY);
    rova_pim_log(" Ref. Luma Max / Mix = %3d / %3d \n", cfg.iExpHigh, cfg.iExpLow);
    const bool fail =
        cfg.fExpY > static_cast<float>(cfg.iExpHigh) || cfg.fExpY < static_cast<float>(cfg.iExpLow);
    rova_pim_log(" %s, %3.2f, %d, %d \n", fail ? " [NG]" : " [OK]", cfg.fExpY, cfg.iExpHigh,
                 cfg.iExpLow);
    cfg.iExpOk = cfg.iExpRst = fail ? 0 : 1;
    rova_pim_log(" <<<<< End   Checking Exposure Image ... >>>>>");
    return fail ? -1 : 0;
}

inline int plain_exposure(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iExpOn == 0)
        return 0;
    plain_start_exposure();
    int64_t sum = 0;
    for (int y = 0; y < cfg.iImgY; y += 2)
        sum += plain_sum(image, 0, y, image.width - 1, y);
    const int divisor = cfg.iImgX * cfg.iImgY / 2;
    if (divisor == 0)
        throw PlainRefusal();
    return plain_judge_exposure(sum, static_cast<float>(sum) / static_cast<float>(divisor), cfg);
}

// The mean of the bytes x, x + step and so on while below `end` in h rows.
inline float plain_window(const rova_pim_image &image, int64_t plane, int x, int end, int step,
                          int y, int h)
{
    int64_t sum = 0, count = 0;
    for (int64_t row = y; row < y + h; row++) {
        for (int64_t at = x; at < end; at += step) {
            sum += plain_byte(image, plane + row * image.pitch + at);
            count++;
        }
    }
    if (count == 0)
        throw PlainRefusal();
    return static_cast<float>(sum) / static_cast<float>(count);
}

inline int plain_color_shading(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iCsOn == 0)
        return 0;
    rova_pim_log(" <<<<< Start Checking Color Noise ... >>>>>");
    bool inside = true;
    for (int i = 0; i < 3; i++) {
        inside = inside && cfg.iWinX[i] >= 0 && cfg.iWinX[i] + cfg.iWinW[i] <= cfg.iImgX &&
                 cfg.iWinY[i] >= 0 && cfg.iWinY[i] + cfg.iWinH[i] <= cfg.iImgY;
    }
    if (!inside) {
        rova_pim_log(" Win. Position Error !!!");
        for (int i = 0; i < 3; i++)
            rova_pim_log(" S( %4d, %4d ) SZ( %4d x %4d ) \n", cfg.iWinX[i], cfg.iWinY[i],
                         cfg.iWinW[i], cfg.iWinH[i]);
        return -1;
    }
    float Y[3], Cb[3], Cr[3];
    for (int i = 0; i < 3; i++) {
        const int x = cfg.iWinX[i], w = cfg.iWinW[i], y = cfg.iWinY[i], h = cfg.iWinH[i];
        rova_pim_log(" tColor = %d , iCS = %d \n", 0, image.iCS);
        if (image.iCS != CS422_Y_CbCr) {
            rova_pim_log(" NOT Supported Color Format ");
            throw PlainRefusal();
        }
        Y[i] = plain_window(image, 0, x, x + w, 1, y, h);
        rova_pim_log(" tColor = %d , iCS = %d \n", 1, image.iCS);
        Cb[i] = plain_window(image, cfg.iCbOffset, x, x + w, 2, y, h);
        rova_pim_log(" tColor = %d , iCS = %d \n", 2, image.iCS);
        Cr[i] = plain_window(image, cfg.iCrOffset, x + 1, x + w + 1, 2, y, h);
    }
    std::copy_n(Y, 3, cfg.fCsY);
    std::copy_n(Cb, 3, cfg.fCsCb);
    std::copy_n(Cr, 3, cfg.fCsCr);
    float S = (Cr[0] - Cr[1]) * (Cr[0] - Cr[1]);
    S += (Cb[0] - Cb[1]) * (Cb[0] - Cb[1]);
    S += (Cb[2] - Cb[1]) * (Cb[2] - Cb[1]);
    S += (Cr[2] - Cr[1]) * (Cr[2] - Cr[1]);
    rova_pim_log(" L : Y Cb Cr = %7.2f %7.2f %7.2f \n", Y[0], Cb[0], Cr[0]);
    rova_pim_log(" C : Y Cb Cr = %7.2f %7.2f %7.2f \n", Y[1], Cb[1], Cr[1]);
    rova_pim_log(" R : Y Cb Cr = %7.2f %7.2f %7.2f \n", Y[2], Cb[2], Cr[2]);
    cfg.fCsVal = cfg.fCsSVal = S;
    cfg.iCsOk = cfg.iCsRst = S <= cfg.fAlpha ? 1 : 0;
    rova_pim_log(cfg.iCsOk == 1 ? " COLOR SHADING SUCCESS : C.V[%5.2f], T.V[%5.2f] \n"
                                : " COLOR SHADING ERROR : C.V[%5.2f], T.V[%5.2f] \n",
                 S, cfg.fAlpha);
    rova_pim_log(" <<<<< End  Checking Color Shading ... >>>>>");
    return cfg.iCsOk == 1 ? 0 : -1;
}

} // namespace test
