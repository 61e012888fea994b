#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <cstdint>
#include <limits>

namespace
{

enum window_place { LEFT, CENTRE, RIGHT };

constexpr char LETTERS[PIM_SHADING_WINDOWS] = {'L', 'C', 'R'};

bool is_served(int32_t tColor, int32_t iCS)
{
    return iCS == CS422_Y_CbCr && tColor >= PIM_COLOUR_Y && tColor <= PIM_COLOUR_CR;
}

bool has_pixels(const rova_pim_window &window)
{
    constexpr int64_t LAST = std::numeric_limits<int32_t>::max();
    return window.w > 0 && window.h > 0 && int64_t{window.x} + window.w - 1 <= LAST &&
           int64_t{window.y} + window.h - 1 <= LAST;
}

// A record of any numbers may ask for a window whose last pixel is no number of 32 bits.
bool is_in_image(int32_t at, int32_t size, int32_t image)
{
    return at >= 0 && int64_t{at} + size <= image;
}

bool are_windows_in_image(const rova_pim_dust_config &cfg)
{
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++) {
        if (!is_in_image(cfg.iWinX[i], cfg.iWinW[i], cfg.iImgX) ||
            !is_in_image(cfg.iWinY[i], cfg.iWinH[i], cfg.iImgY))
            return false;
    }
    return true;
}

void log_windows(const rova_pim_dust_config &cfg)
{
    rova_pim_log(" Win. Position Error !!!");
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++)
        rova_pim_log(" S( %4d, %4d ) SZ( %4d x %4d ) \n", cfg.iWinX[i], cfg.iWinY[i], cfg.iWinW[i],
                     cfg.iWinH[i]);
}

// The planes' means in the three windows.
struct window_means {
    float y[PIM_SHADING_WINDOWS];
    float cb[PIM_SHADING_WINDOWS];
    float cr[PIM_SHADING_WINDOWS];
};

bool measure_window(const rova_pim_image &image, const rova_pim_dust_config &cfg, int i,
                    window_means &means)
{
    const rova_pim_window window = {cfg.iWinX[i], cfg.iWinY[i], cfg.iWinW[i], cfg.iWinH[i]};
    uint64_t sum = 0;
    if (GetWinAverage(image, window, PIM_COLOUR_Y, 0, &sum, &means.y[i]) == 0 &&
        GetWinAverage(image, window, PIM_COLOUR_CB, cfg.iCbOffset, &sum, &means.cb[i]) == 0 &&
        GetWinAverage(image, window, PIM_COLOUR_CR, cfg.iCrOffset, &sum, &means.cr[i]) == 0)
        return true;
    rova_pim_report(" Window Error : ( %d, %d ) %d x %d has no pixels at %d, %d \n", window.x,
                    window.y, window.w, window.h, cfg.iCbOffset, cfg.iCrOffset);
    return false;
}

bool measure(const rova_pim_image &image, const rova_pim_dust_config &cfg, window_means &means)
{
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++) {
        if (!measure_window(image, cfg, i, means))
            return false;
    }
    return true;
}

float squared(float value)
{
    return value * value;
}

// The order of the additions is part of the value.
float spread_of(const window_means &means)
{
    const auto &[y, cb, cr] = means;
    return squared(cr[LEFT] - cr[CENTRE]) + squared(cb[LEFT] - cb[CENTRE]) +
           squared(cb[RIGHT] - cb[CENTRE]) + squared(cr[RIGHT] - cr[CENTRE]);
}

void keep(const window_means &means, rova_pim_dust_config &cfg)
{
    for (int i = 0; i < PIM_SHADING_WINDOWS; i++) {
        cfg.fCsY[i] = means.y[i];
        cfg.fCsCb[i] = means.cb[i];
        cfg.fCsCr[i] = means.cr[i];
        rova_pim_log(" %c : Y Cb Cr = %7.2f %7.2f %7.2f \n", LETTERS[i], means.y[i], means.cb[i],
                     means.cr[i]);
    }
    cfg.fCsVal = cfg.fCsSVal = spread_of(means);
}

bool judge(rova_pim_dust_config &cfg)
{
    const bool pass = cfg.fCsVal <= cfg.fAlpha;
    cfg.iCsOk = cfg.iCsRst = pass ? 1 : 0;
    if (pass)
        rova_pim_log(" COLOR SHADING SUCCESS : C.V[%5.2f], T.V[%5.2f] \n", cfg.fCsVal, cfg.fAlpha);
    else
        rova_pim_log(" COLOR SHADING ERROR : C.V[%5.2f], T.V[%5.2f] \n", cfg.fCsVal, cfg.fAlpha);
    return pass;
}

} // namespace

int GetWinAverage(const rova_pim_image &image, const rova_pim_window &window, int32_t tColor,
                  int32_t offset, uint64_t *sum, float *mean)
{
    *sum = 0;
    *mean = 0;
    rova_pim_log(" tColor = %d , iCS = %d \n", tColor, image.iCS);
    if (!is_served(tColor, image.iCS)) {
        rova_pim_log(" NOT Supported Color Format ");
        return -1;
    }
    if (!has_pixels(window))
        return -1;
    rova_pim_image bytes = image;
    bytes.iCS = CS422_YYCbCrCbCr; // its rows of chroma count bytes, as the window does
    rova_pim_mean result = {};
    const rova_pim_rect rect = {window.x, window.y, window.x + window.w - 1,
                                window.y + window.h - 1};
    if (GetAreaMean(bytes, tColor, rect, offset, &result) != 0)
        return -1;
    *sum = result.sum;
    *mean = result.mean;
    return 0;
}

int CheckColorShading(const rova_pim_image &image, rova_pim_dust_config &cfg)
{
    if (cfg.iCsOn == 0)
        return 0;
    rova_pim_log(" <<<<< Start Checking Color Noise ... >>>>>"); // the words are another check's
    if (!are_windows_in_image(cfg)) {
        log_windows(cfg);
        return -1;
    }
    window_means means = {};
    if (!measure(image, cfg, means))
        return -1;
    keep(means, cfg);
    const bool pass = judge(cfg);
    rova_pim_log(" <<<<< End  Checking Color Shading ... >>>>>");
    return pass ? 0 : -1;
}
