// A small box that slides over a strip of values: how bright it is, and how many of its values lie
// in a range.
#pragma once

#include "lib/pim/mot/rova_pim_strip.h"

#include <cstdint>
#include <functional>

// What makes the walk take the next row and not one a whole box further on.
enum class rova_pim_row_step {
    AFTER_HIT,     // the row had a hit
    AFTER_IN_RANGE // the row's last box held a value in range
};

struct rova_pim_box_rules {
    int32_t w; // of the box, above 0
    int32_t h;
    int32_t min; // the range, both ends in it, of a box's mean as of its values
    int32_t max;
    int64_t count; // so many values of a hit have to lie in the range
    rova_pim_row_step step;
    bool trace;            // print each box's mean and its values in range
    bool portable = false; // with instructions that any processor has, for tests
};

// Hits side by side in a row: boxes whose first corner is at from .. to - 1.
struct rova_pim_hits {
    int32_t from;
    int32_t to;
    int32_t y;
};

struct rova_pim_histogram {
    uint32_t counts[256];
};

using rova_pim_hit_function = std::function<void(const rova_pim_hits &hits)>;

// Visits the boxes in rows, from the first, and in a row from its left.  Behind a box with no value
// in range the next one stands beside it, else one value on.  Boxes that would touch the strip's
// last column or row are left out.  The hits are told in order, and all values of all boxes visited
// counted in `histogram` if there is one: to count them takes longer than the walk.  0, or -1 with
// a report: boxes whose sum would not fit in 32 bits, or no memory for the sums.
int rova_pim_walk_boxes(const rova_pim_strip &strip, const rova_pim_box_rules &rules,
                        rova_pim_histogram *histogram, const rova_pim_hit_function &on_hits);
