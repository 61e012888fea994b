// Blocks side by side in rows that are read several at a time: what the sums of bytes and those of
// colours share.
#pragma once

#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <cstring>

#define ROVA_INLINE inline __attribute__((always_inline))

// A compiler that checks instructions before it inlines them makes do with those of any processor.
#if defined(__x86_64__) && !defined(__clang__)
#define ROVA_WIDE
#endif

// Whether the instructions of AVX2 are there to be used.
bool rova_pim_pixels_are_wide();

namespace rova_pim_lanes
{

inline constexpr std::size_t PANEL = 8192;    // bytes of a row that are summed side by side
inline constexpr std::size_t PAIR_ROWS = 128; // rows whose pairs of bytes have sums of 16 bits
inline constexpr std::size_t CHUNK = 64;      // bytes of a line of the cache
inline constexpr std::size_t AHEAD = 8192;    // bytes between what is fetched and what is summed

// Sums of words of four lanes.
inline void sum_words(const uint16_t *__restrict lanes, std::size_t words,
                      uint32_t *__restrict sums)
{
    for (std::size_t i = 0; i < words; i++) {
        uint64_t word;
        std::memcpy(&word, lanes + 4 * i, sizeof(word));
        const uint64_t halves = (word & 0xffff0000ffff) + (word >> 16 & 0xffff0000ffff);
        sums[i] = static_cast<uint32_t>(halves + (halves >> 32));
    }
}

// Calls `add` with each block and the sum of its `width` values, `step` values behind the last
// block's.
template <typename VALUE, typename ADD>
ROVA_INLINE void add_values(const VALUE *__restrict values, std::size_t step, std::size_t width,
                            std::size_t blocks, const ADD &add)
{
    for (std::size_t block = 0; block < blocks; block++) {
        uint64_t sum = 0;
        for (std::size_t i = 0; i < width; i++)
            sum += values[block * step + i];
        add(block, sum);
    }
}

// Blocks side by side of one value or two are not worth a loop each.
template <typename VALUE, typename ADD>
ROVA_INLINE void add_blocks(const VALUE *values, std::size_t step, std::size_t width,
                            std::size_t blocks, const ADD &add)
{
    if (step == 1 && width == 1)
        return add_values(values, 1, 1, blocks, add);
    if (step == 2 && width == 2)
        return add_values(values, 2, 2, blocks, add);
    add_values(values, step, width, blocks, add);
}

template <typename ADD>
void add_lanes(const uint16_t *lanes, std::size_t step, std::size_t width, std::size_t blocks,
               const ADD &add)
{
    if ((step | width) % 4 != 0)
        return add_blocks(lanes, step, width, blocks, add);
    uint32_t sums[PANEL / 4];
    sum_words(lanes, ((blocks - 1) * step + width) / 4, sums);
    add_blocks(sums, step / 4, width / 4, blocks, add);
}

// Blocks side by side whose sums are kept at the same time, or a part of one block's width.
struct panel {
    std::size_t x, y;
    std::size_t rows;
    std::size_t step, width; // of the blocks; a single one has no step: 0
    std::size_t first, blocks;

    std::size_t across() const { return (blocks - 1) * step + width; }
    // Of the blocks from the panel's block `from` on.
    panel every_second(std::size_t from) const
    {
        return {x + from * step, y, rows, 2 * step, width, first + from, (blocks - from + 1) / 2};
    }
    // Of the one block's width.
    panel part(std::size_t from, std::size_t count) const
    {
        return {x + from, y, rows, step, count, first, blocks};
    }
    rova_pim_rows of(const rova_pim_rows &rows_of_all) const
    {
        return {rows_of_all.first + y * rows_of_all.pitch + x, rows_of_all.pitch, rows};
    }
};

// Blocks that lie far apart are summed one by one.
inline std::size_t blocks_together(std::size_t step, std::size_t width, std::size_t blocks)
{
    if (width > PANEL || step >= 2 * width)
        return 1;
    return step == 0 ? blocks : std::min(blocks, (PANEL - width) / step + 1);
}

template <typename VISIT>
void for_each_panel(std::size_t rows, std::size_t step, std::size_t width, std::size_t blocks,
                    const VISIT &visit)
{
    const std::size_t together = blocks_together(step, width, blocks);
    for (std::size_t y = 0; y < rows; y += PAIR_ROWS) {
        for (std::size_t first = 0; first < blocks; first += together) {
            const std::size_t here = std::min(blocks - first, together);
            for (std::size_t x = 0; x < width; x += PANEL)
                visit(panel{.x = first * step + x,
                            .y = y,
                            .rows = std::min(rows - y, PAIR_ROWS),
                            .step = here == 1 ? 0 : step,
                            .width = std::min(width - x, PANEL),
                            .first = first,
                            .blocks = here});
        }
    }
}

} // namespace rova_pim_lanes
