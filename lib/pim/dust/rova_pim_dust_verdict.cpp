// What the dust test found, for those who ask.
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_log_sink.h"
#include "lib/pim/rova_pim_reader.h"

#include <algorithm>
#include <array>

namespace
{

int32_t if_on(int32_t on, int32_t verdict)
{
    return on == 1 ? verdict : PIM_NO_RESULT;
}

// False, reported: there is no size to scale by, and positions stay those of the picture.
bool is_for_lcd(const rova_pim_dust_config &cfg)
{
    if (cfg.iDbgOption[3] != 1)
        return false;
    if (cfg.iImgX != 0 && cfg.iImgY != 0)
        return true;
    rova_pim_report(" no place on the LCD : the configured image is %d x %d \n", cfg.iImgX,
                    cfg.iImgY);
    return false;
}

// A configured image without a size is no scale.
int32_t scaled(int32_t at, int32_t lcd, int32_t image)
{
    return image == 0 ? at : rova_pim_narrow(int64_t{at} * lcd / image);
}

} // namespace

void GetShadingOk(int32_t *ok, const rova_pim_dust_config &cfg)
{
    *ok = if_on(cfg.iShadingOn, cfg.iShadingOk);
}

void Get4xShadingOk(int32_t *ok, const rova_pim_dust_config &cfg)
{
    *ok = if_on(cfg.i4xOn, cfg.i4xOk);
}

void GetExposureOk(int32_t *ok, const rova_pim_dust_config &cfg)
{
    *ok = if_on(cfg.iExpOn, cfg.iExpOk);
}

void GetDustOk(int32_t *ok, const rova_pim_dust_config &cfg)
{
    *ok = if_on(cfg.iDustOn, cfg.iDustOk);
}

void GetColorShadingOk(int32_t *ok, const rova_pim_dust_config &cfg)
{
    *ok = cfg.iCsOk;
}

void GetDustTotal(int32_t *total, const rova_pim_dust_config &cfg)
{
    *total = cfg.iTotal;
}

void GetRunDustFunc(int32_t *run, const rova_pim_dust_config &cfg)
{
    *run = cfg.RunDustFunc;
}

rova_pim_corners rova_pim_dust_on_lcd(const rova_pim_corners &place,
                                      const rova_pim_dust_config &cfg)
{
    return {scaled(place.x1, cfg.iLcdX, cfg.iImgX), scaled(place.y1, cfg.iLcdY, cfg.iImgY),
            scaled(place.x2, cfg.iLcdX, cfg.iImgX), scaled(place.y2, cfg.iLcdY, cfg.iImgY)};
}

void GetShadingPosition(int32_t (&pos)[4], const rova_pim_dust_config &cfg)
{
    rova_pim_corners place = cfg.tShadingPos;
    if (is_for_lcd(cfg)) {
        place = rova_pim_dust_on_lcd(place, cfg);
        rova_pim_log(" SangGaRim Position = (%d, %d) (%d, %d) \n", place.x1, place.y1, place.x2,
                     place.y2);
    }
    std::ranges::copy(std::to_array({place.x1, place.y1, place.x2, place.y2}), pos);
}

void GetDustPositions(rova_pim_corners (&positions)[PIM_DUST], int32_t *count,
                      const rova_pim_dust_config &cfg)
{
    const bool scaled = is_for_lcd(cfg);
    *count = cfg.iDCnt;
    std::ranges::fill(positions, rova_pim_corners{});
    for (int i = 0; i < std::min(cfg.iDCnt, PIM_DUST); i++) {
        const rova_pim_dust_spot &spot = cfg.tDust[i];
        rova_pim_corners &place = positions[i];
        place = {spot.x1, spot.y1, spot.x2, spot.y2};
        if (!scaled)
            continue;
        place = rova_pim_dust_on_lcd(place, cfg);
        rova_pim_log(" Dust Position [ %d ] = (%d, %d) (%d, %d) \n", i, place.x1, place.y1,
                     place.x2, place.y2);
    }
}
