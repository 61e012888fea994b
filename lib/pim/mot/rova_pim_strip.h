// A rectangle's pixels, packed by rows, as the resolution test looks at them: as lines across one
// of its axes.  Any thread.
#pragma once

#include <cstdint>
#include <span>

struct rova_pim_strip {
    std::span<const uint8_t> pixels; // w * h, none where w or h is not above 0
    int32_t w;
    int32_t h;
};

// Lines across X are columns, lines across Y rows.
enum class rova_pim_axis { X, Y };

// A part of a line's pixels, without the one at `to`.
struct rova_pim_extent {
    int32_t from;
    int32_t to;
};

// The sum of a line's pixels within the extent.  Line and extent lie inside of the strip.
int64_t rova_pim_line_sum(const rova_pim_strip &strip, rova_pim_axis axis, int32_t line,
                          rova_pim_extent extent);

// Copies a line's pixels to the head of `out`, which has room for them.
void rova_pim_copy_line(const rova_pim_strip &strip, rova_pim_axis axis, int32_t line,
                        std::span<int32_t> out);

// How many lines a strip has across an axis, and how many pixels each of them has.
inline int32_t rova_pim_line_count(const rova_pim_strip &strip, rova_pim_axis axis)
{
    return axis == rova_pim_axis::X ? strip.w : strip.h;
}
inline int32_t rova_pim_line_length(const rova_pim_strip &strip, rova_pim_axis axis)
{
    return axis == rova_pim_axis::X ? strip.h : strip.w;
}
