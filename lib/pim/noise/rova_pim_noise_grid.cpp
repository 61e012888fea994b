#include "lib/pim/noise/rova_pim_noise_grid.h"

#include "lib/pim/rova_pim_debug.h"

#include <utility>

namespace
{

// Where the first block begins in its cell.  That an even rest puts it at the cell's middle, and
// out of the cell when it is large, is what the limits of the line are made for.
int32_t inset(int32_t cell, int32_t div)
{
    const int32_t rest = (cell - div) / 2;
    return rest % 2 != 0 ? rest + 1 : cell / 2;
}

// Blocks and pixels as they are given, before a cell is known.
int refuse(const rova_pim_image &image, const rova_pim_noise_config &cfg)
{
    rova_pim_report(" no %d x %d blocks of %d x %d in a picture of %d x %d \n", cfg.iNX, cfg.iNY,
                    cfg.iDivX, cfg.iDivY, image.width, image.height);
    return -1;
}

bool has_a_pixel_for_each(const rova_pim_image &image, const rova_pim_noise_config &cfg)
{
    const auto blocks = static_cast<uint64_t>(cfg.iNX) * static_cast<uint64_t>(cfg.iNY);
    return cfg.iNX <= image.width && cfg.iNY <= image.height && blocks <= image.bytes.size();
}

} // namespace

int rova_pim_noise_lay_grid(const rova_pim_image &image, const rova_pim_noise_config &cfg,
                            rova_pim_noise_grid &grid)
{
    if (cfg.iNX < 1 || cfg.iNY < 1)
        return refuse(image, cfg);
    const int32_t cellX = image.width / cfg.iNX, cellY = image.height / cfg.iNY;
    if (cfg.iDivX > cellX || cfg.iDivY > cellY) {
        rova_pim_report(" Block Size Error : %d x %d [ %d x %d ] \n", cfg.iDivX, cfg.iDivY, cellX,
                        cellY);
        return -1;
    }
    if (cfg.iDivX < 0 || cfg.iDivY < 0 || !has_a_pixel_for_each(image, cfg))
        return refuse(image, cfg);
    const int32_t divX = cfg.iDivX != 0 ? cfg.iDivX : cellX;
    const int32_t divY = cfg.iDivY != 0 ? cfg.iDivY : cellY;
    grid = {cfg.iNX, cfg.iNY, cellX, cellY, divX, divY, inset(cellX, divX), inset(cellY, divY)};
    return 0;
}

bool rova_pim_noise_has_luma(const rova_pim_image &image, int64_t x, int64_t y)
{
    if (!std::in_range<int32_t>(x) || !std::in_range<int32_t>(y))
        return false;
    const auto column = static_cast<int32_t>(x), row = static_cast<int32_t>(y);
    return GetAreaSum(image, {column, row, column, row}).count == 1;
}
