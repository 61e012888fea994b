// Where a wedge lies in its window of the screen nail.
//
// Bars that are darker than the wedge's middle bound it.  They are searched from the middle of the
// window outwards, first along the window's longer axis.  The capture service's thread; nothing is
// allocated.
#pragma once

#include "lib/pim/mot/rova_pim_strip.h"

#include <cstdint>

// Lines of the window along its longer and its shorter axis: the bars found, or the defaults.
struct rova_pim_range {
    int32_t long_start;
    int32_t long_end;
    int32_t short_start; // PIM_NO_RESULT, as short_end, in a window without pixels
    int32_t short_end;
    bool fail; // of no plausible length
};

// `index` is the window's number, `dir` its wedge's direction.  `trace` prints every line's mean.
rova_pim_range rova_pim_search_range(const rova_pim_strip &window, int32_t index, int32_t dir,
                                     bool trace);
