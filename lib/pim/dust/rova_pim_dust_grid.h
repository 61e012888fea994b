// A picture as rows of blocks, and the blocks' means.  Any thread; nothing is allocated.
#pragma once

#include "lib/pim/rova_pim_image.h"

#include <cstddef>
#include <cstdint>
#include <span>

// The last column and row may reach out of the picture, not out of its bytes.
struct rova_pim_dust_grid {
    int32_t blockX;
    int32_t blockY;
    int32_t columns;
    int32_t rows;
};

// Lays blocks over the picture.  0, or -1, reported: there is no picture, no luma, no block or one
// larger than the picture, or one that needs bytes behind the picture's.
int rova_pim_dust_grid_of(const rova_pim_image &image, int32_t blockX, int32_t blockY,
                          rova_pim_dust_grid *grid);

// The sums of a row's blocks, one for each of `sums`, grid.columns of them.
void rova_pim_dust_sums(const rova_pim_image &image, const rova_pim_dust_grid &grid, int32_t row,
                        std::span<uint64_t> sums);

// A hundred times the means of the grid's blocks with these sums, truncated; as many means.
void rova_pim_dust_means(const rova_pim_dust_grid &grid, std::span<const uint64_t> sums,
                         std::span<int32_t> means);

// Whether some mean differs by this much or more from that at the same place of `others`, of which
// there are as many.
bool rova_pim_dust_any_differs(std::span<const int32_t> means, std::span<const int32_t> others,
                               int32_t least);
