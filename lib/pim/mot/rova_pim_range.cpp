#include "lib/pim/mot/rova_pim_range.h"

#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_debug.h"

#include <cstdlib>
#include <optional>

namespace
{

// A wedge whose bars are more than twice as far apart as it is wide needs no second look.
constexpr int32_t PLAIN_RATIO = 2;

struct bars {
    int32_t start;
    int32_t end;
};

// The lines across an axis, each taken over one extent.
struct axis_lines {
    const rova_pim_strip &window;
    rova_pim_axis axis;
    rova_pim_extent extent;
    int32_t divisor; // of a line's sum

    int32_t count() const { return rova_pim_line_count(window, axis); }
    int32_t mean(int32_t line) const
    {
        return static_cast<int32_t>(rova_pim_line_sum(window, axis, line, extent) / divisor);
    }
};

struct two_axes {
    rova_pim_axis along;  // the longer one
    rova_pim_axis across; // the shorter one
    int32_t longer;       // lines
    int32_t shorter;
};

two_axes axes_of(const rova_pim_strip &window)
{
    if (window.w > window.h)
        return {rova_pim_axis::X, rova_pim_axis::Y, window.w, window.h};
    return {rova_pim_axis::Y, rova_pim_axis::X, window.h, window.w};
}

// From the centre outwards, both ways at once: the first lines below 90 per cent of the centre's
// brightness.  A line q before the centre mirrors its line p behind it.
bars search_outwards(const axis_lines &lines, bars otherwise, bool trace)
{
    const int32_t half = lines.count() / 2;
    std::optional<int32_t> start, end;
    int32_t threshold = 0;
    for (int32_t p = half; p < lines.count(); p++) {
        const int32_t q = lines.count() - 1 - p;
        const int32_t mp = lines.mean(p), mq = lines.mean(q);
        if (p == half)
            threshold = mq * 9 / 10;
        const bool starts = !start && mq < threshold, ends = !end && mp < threshold;
        if (starts)
            start = q;
        if (ends)
            end = p;
        if (trace)
            rova_pim_debug(" [%4d] -  %4d  [%4d] -  %4d %s%s\n", p, mp, q, mq, starts ? " *S " : "",
                           ends ? " *E " : "");
    }
    return {start.value_or(otherwise.start), end.value_or(otherwise.end)};
}

bars search_long_axis(const axis_lines &lines, int32_t index, bars otherwise, bool trace)
{
    rova_pim_debug(" <<  PIMA[ %d ] RANGE LONG AXIS >> \n", index);
    return search_outwards(lines, otherwise, trace);
}

// What lies in front of the wedge's first end: up to its bar without the line found, or from that
// line on.
rova_pim_extent outer_band(int32_t dir, bars found, int32_t longer)
{
    return dir != 0 ? rova_pim_extent{found.end, longer} : rova_pim_extent{0, found.start};
}

bars search_short_axis(const rova_pim_strip &window, const two_axes &axes, rova_pim_extent band,
                       bool trace)
{
    const bars nothing = {0, axes.shorter};
    const int32_t length = band.to - band.from;
    if (length <= 0)
        return nothing;
    return search_outwards({window, axes.across, band, length}, nothing, trace);
}

// True where the second search of the long axis can be left out.
bool is_slender(const rova_pim_range &range)
{
    const int32_t length = std::abs(range.long_end - range.long_start);
    const int32_t width = std::abs(range.short_end - range.short_start);
    const int32_t ratio = width == 0 ? PLAIN_RATIO + 1 : length / width;
    const int32_t tenth = width == 0 ? 0 : length % width * 10 / width;
    rova_pim_debug(" LONG / SHORT =  %d / %d = %d.%d \n", length, width, ratio, tenth);
    return ratio > PLAIN_RATIO;
}

bool is_implausible(int32_t length, int64_t longer)
{
    return length < 2 * longer / 3 || length > 95 * longer / 100;
}

} // namespace

rova_pim_range rova_pim_search_range(const rova_pim_strip &window, int32_t index, int32_t dir,
                                     bool trace)
{
    const two_axes axes = axes_of(window);
    if (axes.shorter < 1)
        return {0, axes.longer, PIM_NO_RESULT, PIM_NO_RESULT, false};

    axis_lines lines = {window, axes.along, {0, axes.shorter}, axes.shorter};
    bars found = search_long_axis(lines, index, {0, axes.longer}, trace);

    rova_pim_debug(" <<\tPIMA[ %d ] RANGE SHORT AXIS >> \n", index);
    const rova_pim_extent band = outer_band(dir, found, axes.longer);
    const bars sides = search_short_axis(window, axes, band, trace);
    rova_pim_debug(" SHORT ::: START - %4d, END - %4d \n", sides.start, sides.end);

    rova_pim_range range = {found.start, found.end, sides.start, sides.end, band.to <= band.from};
    if (is_slender(range))
        return range;

    // Between the sides only, but the sum is still divided by the window's whole width.
    lines.extent = {sides.start, sides.end};
    found = search_long_axis(lines, index, {sides.start, axes.longer}, trace);
    range.long_start = found.start;
    range.long_end = found.end;
    range.fail = range.fail || is_implausible(found.end - found.start, axes.longer);
    rova_pim_debug(" LONG  ::: START - %4d, END - %4d \n\n", found.start, found.end);
    return range;
}
