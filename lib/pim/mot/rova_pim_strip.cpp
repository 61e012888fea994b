#include "lib/pim/mot/rova_pim_strip.h"

#include <cstddef>

namespace
{

struct walk {
    const uint8_t *first;
    std::size_t step;
};

walk line_of(const rova_pim_strip &strip, rova_pim_axis axis, int32_t line)
{
    const auto at = static_cast<std::size_t>(line), width = static_cast<std::size_t>(strip.w);
    if (axis == rova_pim_axis::X)
        return {strip.pixels.data() + at, width};
    return {strip.pixels.data() + at * width, 1};
}

} // namespace

int64_t rova_pim_line_sum(const rova_pim_strip &strip, rova_pim_axis axis, int32_t line,
                          rova_pim_extent extent)
{
    const walk pixels = line_of(strip, axis, line);
    int64_t sum = 0;
    for (int32_t i = extent.from; i < extent.to; i++)
        sum += pixels.first[static_cast<std::size_t>(i) * pixels.step];
    return sum;
}

void rova_pim_copy_line(const rova_pim_strip &strip, rova_pim_axis axis, int32_t line,
                        std::span<int32_t> out)
{
    const walk pixels = line_of(strip, axis, line);
    const auto length = static_cast<std::size_t>(rova_pim_line_length(strip, axis));
    for (std::size_t i = 0; i < length; i++)
        out[i] = pixels.first[i * pixels.step];
}
