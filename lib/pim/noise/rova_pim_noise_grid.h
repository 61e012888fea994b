// What the checks of the noise test have in common.  Any thread.
#pragma once

#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim_image.h"

#include <cstdint>

// A grid of blocks: block (0, 0) begins at (iBX, iBY), the others whole cells further on.
struct rova_pim_noise_grid {
    int32_t iNX, iNY; // blocks
    int32_t cellX, cellY;
    int32_t divX, divY; // of a block
    int32_t iBX, iBY;
};

// Lays the configured grid over the picture.  0, or -1, reported: the blocks are larger than their
// cells, or the picture has no pixel for each.  Blocks may still leave the picture.
int rova_pim_noise_lay_grid(const rova_pim_image &image, const rova_pim_noise_config &cfg,
                            rova_pim_noise_grid &grid);

// True when the picture's bytes hold the luma of a pixel and, with it, of all pixels that lie not
// further right nor further down.  The pixel may lie right of the width or below the height.
bool rova_pim_noise_has_luma(const rova_pim_image &image, int64_t x, int64_t y);

// The place of the picture's ISO in the record's pairs.
constexpr int rova_pim_noise_iso(const rova_pim_noise_config &cfg)
{
    return cfg.iIsoIdx == 1 ? 1 : 0;
}
