// Counting a wedge's lines, and walking along it to the last place where they can be told apart.
// The capture service's thread; nothing is allocated.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/mot/rova_pim_strip.h"

#include <cstdint>
#include <span>

// More rounds of bisection than any wedge needs; a configuration that asks for more is refused.
inline constexpr int32_t PIM_MOST_ROUNDS = 64;

// The dark lines that a line of pixels crosses, by `meadLoop`, `sucValleyDepth` and
// `lineDataOffset`.  The line is cleaned up in place.
int32_t rova_pim_count_valleys(std::span<int32_t> line, const rova_pim_pm_config &cfg);

// The lines of a strip that are counted: columns where it is wider than high, else rows.
inline rova_pim_axis rova_pim_walk_axis(const rova_pim_strip &strip)
{
    return strip.w > strip.h ? rova_pim_axis::X : rova_pim_axis::Y;
}

// The last line between `start` and `end` that crosses at least `sucValleyN` valleys, seen from the
// coarse end: `start` for a `dir` of 0, else `end`.  That end itself where none does, and for a
// strip without pixels; lines outside of the strip cross none.  `line` holds one line of the strip;
// `binaryTreeLevel` is at most PIM_MOST_ROUNDS.
int32_t rova_pim_walk_wedge(const rova_pim_strip &strip, int32_t start, int32_t end, int32_t dir,
                            std::span<int32_t> line, const rova_pim_pm_config &cfg);
