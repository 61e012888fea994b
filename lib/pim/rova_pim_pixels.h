// Sums over bytes of a picture, at the speed of memory.
//
// Any thread; nothing is allocated.  Callers see to it that every byte named lies in the picture.
// The results are the same whichever instructions compute them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Whole rows of a plane: `pitch` bytes from a row's first byte to the next row's.
struct rova_pim_rows {
    const uint8_t *first;
    std::size_t pitch;
    std::size_t count;
};

// For tests and measurements: the instructions that any processor has, in place of those that this
// one has.
void rova_pim_pixels_set_portable(bool portable);

// The sum of the bytes.
uint64_t rova_pim_sum_bytes(std::span<const uint8_t> bytes);

// The sums of blocks `width` bytes wide and all the rows high, one for each of `sums`: the first
// begins at the rows' first byte, each further one `step` bytes behind the one before.
void rova_pim_sum_blocks(const rova_pim_rows &rows, std::size_t step, std::size_t width,
                         std::span<uint64_t> sums);

// The sum and the smallest byte of each of the first sums.size() columns; as many minima.  With no
// rows, 0 and 255.
void rova_pim_column_stats(const rova_pim_rows &rows, std::span<uint64_t> sums,
                           std::span<uint8_t> minima);

struct rova_pim_rgb_sums {
    uint64_t red;
    uint64_t green;
    uint64_t blue;
};

// Adds to `sums` the red, green and blue of `pairs` pairs of pixels: two bytes of luma each, which
// share a pair of bytes Cb, Cr.
void rova_pim_add_rgb(const uint8_t *luma, const uint8_t *chroma, std::size_t pairs,
                      rova_pim_rgb_sums &sums);

// The same for blocks of all the rows, one for each of `sums`: the first begins in this column,
// each further one `step` columns behind the one before.  The rows of both planes begin with a
// pair, `chroma` has as many as `luma`.  A block that begins in the middle of a pair takes this
// pair's Cb and Cr first.  An odd `step` is larger than the blocks' width.
void rova_pim_add_rgb_blocks(const rova_pim_rows &luma, const rova_pim_rows &chroma,
                             std::size_t column, std::size_t step, std::size_t pairs,
                             std::span<rova_pim_rgb_sums> sums);
