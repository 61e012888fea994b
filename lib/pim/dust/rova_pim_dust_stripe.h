// One row of blocks in the search for dust: each block is compared with one farther to the right,
// and of two that differ too much the darker one is marked.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"

#include <cstdint>
#include <span>

inline constexpr uint8_t PIM_DUST_MARK = 0;
inline constexpr uint8_t PIM_DUST_NO_MARK = 255;

// Spans of the caller's.
struct rova_pim_dust_stripe {
    int32_t y;                      // its first row
    int32_t blockX;                 // pixels
    std::span<const int32_t> means; // of its blocks, times 100
    std::span<uint8_t> marks;       // of each column of the picture
    std::span<int32_t> values;      // of each marked column, the mean of the block that is marked
    bool marked;                    // some column is

    int32_t last() const { return static_cast<int32_t>(marks.size()) - 1; }
    // The mean of the block of a column.
    int32_t mean(int32_t x) const { return means[static_cast<std::size_t>(x / blockX)]; }
    // The column `blocks` blocks farther, or the last one.
    int32_t farther(int32_t x, int64_t blocks) const;
};

// Compares all blocks and marks what is found.  Finds and, if asked for, passes are logged.
void rova_pim_dust_mark(rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg);

// As the logs have values times 100.
inline float rova_pim_dust_hundredth(int32_t value)
{
    return static_cast<float>(value) / 100.0F;
}
