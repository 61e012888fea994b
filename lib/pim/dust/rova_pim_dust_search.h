// The search for dust in a picture's blocks, as both of its tests do it.  By the thread that runs
// the test, one picture at a time.
#pragma once

#include "lib/pim/dust/rova_pim_dust_blobs.h"
#include "lib/pim/dust/rova_pim_dust_grid.h"

#include <cstdint>
#include <functional>
#include <span>

// Gives a row's means, which live until the next call.
using rova_pim_dust_row_means = std::function<std::span<const int32_t>(int32_t row)>;

struct rova_pim_dust_order {
    const rova_pim_image &image;
    const rova_pim_dust_config &cfg;
    const rova_pim_dust_grid &grid;
    rova_pim_dust_row_means means;
    bool black;      // marks count even where the marked block is black
    int32_t &number; // of the last bitmap
};

// Lays the grid of the record's blocks.  0, or -1, reported: no grid fits, or an offset is
// negative.
int rova_pim_dust_begin(const rova_pim_image &image, const rova_pim_dust_config &cfg,
                        rova_pim_dust_grid *grid);

// Logs the start and the head of the rows, and looks through all rows.  The blobs are not
// merged yet.
void rova_pim_dust_search(const rova_pim_dust_order &order, rova_pim_dust_parts &blobs);

// Keeps the verdict and logs the end.
void rova_pim_dust_end(rova_pim_dust_config &cfg);
