// The boxes of a row, all of them at the same time: sums of columns slide down, and sums of boxes
// are made of them.
#pragma once

#include <cstddef>
#include <cstdint>

// Numbers are worked on so many at a time: arrays are as much longer, and of rows of values as many
// behind the last one are read, which may be any.
constexpr std::size_t PIM_BOX_LANES = 32;

constexpr uint8_t PIM_BOX_HIT = 255;

// The numbers for a box of up to AREA values: `sum` for that of them, `count` for how many there
// are and one more.
struct rova_pim_narrow_sums {
    using sum = uint16_t;
    using count = uint8_t;
    static constexpr int32_t AREA = 254;
};
struct rova_pim_wide_sums {
    using sum = uint32_t;
    using count = uint32_t;
};

struct rova_pim_box_limits {
    int32_t columns;
    int32_t boxes; // in a row
    int32_t w;
    int32_t h;
    uint8_t min, max; // of values in range; with wide sums min above max for none
    uint32_t min_sum, max_sum;
    uint32_t count; // so many in range make a hit
};

// Arrays of the strip's width and a box's, and of the lanes behind them.
template <typename N> struct rova_pim_box_row {
    typename N::sum *column; // sums of the box's height
    typename N::sum *box;    // sums of whole boxes
    typename N::sum *sum_scratch[2];
    typename N::count *column_in_range;
    typename N::count *box_in_range;
    typename N::count *count_scratch[2];
    uint8_t *is_box; // PIM_BOX_HIT for those of the row's boxes, behind them 0
    uint8_t *hit;    // PIM_BOX_HIT or 0
};

struct rova_pim_row_found {
    bool some_hit;
    bool all_hit;
    bool blank; // a box holds no value in range
};

// The loops, for the processor at hand.
template <typename N> struct rova_pim_box_kernels {
    using limits = rova_pim_box_limits;
    using count = typename N::count;
    // The columns of the first boxes of `rows`.
    void (*start)(const limits &at, const uint8_t *rows, const rova_pim_box_row<N> &out);
    // The boxes of the columns, which go on to the next row, unless `come` is null.
    rova_pim_row_found (*visit)(const limits &at, const uint8_t *gone, const uint8_t *come,
                                const rova_pim_box_row<N> &out);
    // out[x] = in[x] + ... + in[x + width - 1] for x below n.
    void (*windows)(const count *in, int32_t n, int32_t width, count *out,
                    count *const (&scratch)[2]);
    // Adds `times` x `row` to `out`.
    void (*add)(const count *row, int32_t n, count times, count *out);
};

template <typename N> const rova_pim_box_kernels<N> &rova_pim_box_kernels_here(bool portable);
