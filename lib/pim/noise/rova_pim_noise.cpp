#include "lib/pim/noise/rova_pim_noise.h"

#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <limits>

namespace
{

struct noise_check {
    int (*check)(const rova_pim_image &image, rova_pim_noise_config &cfg);
    const char *found;
};

constexpr noise_check CHECKS[] = {
    {CheckDotNoise, " ERROR ~~! : Found Dot Noise. \n"},
    {CheckColorNoise, " ERROR ~~! : Found Color Noise. \n"},
    {CheckLineNoise, " ERROR ~~! : Found Line Noise.  \n"},
};

void open_debug(const rova_pim_noise_config &cfg)
{
    if (cfg.iDbgPrint != 0 && rova_pim_debug_open(cfg.strDbgFile) != 0)
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.strDbgFile);
}

int run_checks(const rova_pim_image &image, rova_pim_noise_config &cfg)
{
    for (const auto &[check, found] : CHECKS) {
        if (check(image, cfg) == 0)
            continue;
        rova_pim_debug("%s", found);
        return -1;
    }
    return 0;
}

// A position in the picture, told on the LCD.
int32_t on_lcd(int32_t position, const rova_pim_noise_config &cfg)
{
    using limits = std::numeric_limits<int32_t>;
    const int64_t scaled = int64_t{cfg.iLcdX} * position / cfg.iImgX;
    return static_cast<int32_t>(std::clamp<int64_t>(scaled, limits::min(), limits::max()));
}

} // namespace

int RunNoise(const rova_pim_image &image, rova_pim_noise_config &cfg)
{
    open_debug(cfg);
    rova_pim_debug(PIM_RULE);
    rova_pim_debug(
        " <<<<< Run  Noise Detection ... >>>>>                                            \n");
    rova_pim_debug(PIM_RULE);
    const int result = run_checks(image, cfg);
    WriteNoiseResult(cfg);
    rova_pim_debug(
        " <<<<< Stop Noise Detection ... >>>>>                                            \n");
    rova_pim_debug_close();
    return result;
}

void GetDotNoiseOk(int32_t *ok, const rova_pim_noise_config &cfg)
{
    *ok = cfg.iDotOk;
}

void GetColorNoiseOk(int32_t *ok, const rova_pim_noise_config &cfg)
{
    *ok = cfg.iColorOk;
}

void GetLineNoiseOk(int32_t *ok, const rova_pim_noise_config &cfg)
{
    *ok = cfg.iLineOk;
}

void GetNoiseTotal(int32_t *total, const rova_pim_noise_config &cfg)
{
    const bool none = cfg.iDotOk == PIM_NO_RESULT && cfg.iColorOk == PIM_NO_RESULT &&
                      cfg.iLineOk == PIM_NO_RESULT;
    *total = none ? PIM_NO_RESULT : cfg.iTotal;
}

void GetNoiseIso(int32_t *iso, const rova_pim_noise_config &cfg)
{
    *iso = cfg.iIso;
}

void GetRunNoiseFunc(int32_t *run, const rova_pim_noise_config &cfg)
{
    *run = cfg.RunNoiseFunc;
}

void SetNoiseIso(int32_t iso, rova_pim_noise_config &cfg)
{
    cfg.iIso = iso;
    if (iso == cfg.iIsoLow)
        cfg.iIsoIdx = 0;
    else if (iso == cfg.iIsoHigh)
        cfg.iIsoIdx = 1;
    else
        rova_pim_report(" WRONG ISO = %d \n", iso);
}

void GetNoiseLinePositions(int32_t (&positions)[PIM_NOISE_LINES], int32_t *count,
                           const rova_pim_noise_config &cfg)
{
    *count = std::clamp(cfg.iLnDeNum, 0, PIM_NOISE_LINES);
    std::ranges::copy(cfg.LnDef, positions);
    if (cfg.iDbgOption[3] != 1)
        return;
    if (cfg.iImgX == 0) {
        rova_pim_report(" no place on the LCD : the configured image is %d wide \n", cfg.iImgX);
        return;
    }
    for (int32_t i = 0; i < *count; i++) {
        positions[i] = on_lcd(cfg.LnDef[i], cfg);
        rova_pim_debug(" Line Noise Position [ %d ] = %d \n", i, positions[i]);
    }
}
