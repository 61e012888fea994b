#include "lib/pim/mot/rova_pim_valley.h"

#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <numeric>

namespace
{

constexpr int32_t SPIKE = 70; // levels above or below both neighbours

void smooth_spike(std::span<int32_t> line, std::size_t at)
{
    const int32_t before = line[at - 1], behind = line[at + 1];
    if (std::abs(before - line[at]) > SPIKE && std::abs(line[at] - behind) > SPIKE)
        line[at] = (before + behind) / 2;
}

// In the first and the last quarter of the line, a pixel of each in turn.
void smooth_spikes(std::span<int32_t> line)
{
    const std::size_t quarter = line.size() / 4, last = 3 * line.size() / 4;
    if (quarter <= 2 || last >= line.size() - 1)
        return;
    for (std::size_t i = 0; i + 3 <= quarter; i++) {
        smooth_spike(line, i + 1);
        smooth_spike(line, last + i);
    }
}

int32_t mean_of(std::span<const int32_t> line)
{
    const int64_t sum = std::accumulate(line.begin(), line.end(), int64_t{0});
    return static_cast<int32_t>(sum / static_cast<int64_t>(line.size()));
}

// Cuts what is above the mean down to it, `loops` times; a line that a mean did not change stays as
// it is from there on.
void flatten_peaks(std::span<int32_t> line, int32_t loops)
{
    int32_t mean = mean_of(line);
    for (int32_t i = 0; i < loops; i++) {
        for (int32_t &value : line)
            value = std::min(value, mean);
        const int32_t next = mean_of(line);
        if (next == mean)
            return;
        mean = next;
    }
}

// Runs over the differences of neighbours: positive where the line gets darker.
struct valley_scan {
    int64_t depth;
    bool turned = false; // the last difference that counted was positive
    int64_t up = 0;
    int64_t down = 0;
    int32_t count = 0;

    void take(int32_t difference)
    {
        if (difference > 0 && !turned) {
            if (-down >= depth) {
                count++;
                up = down = 0;
            }
            turned = true;
        }
        if (turned && difference < 0)
            turned = false;
        else if (turned && difference > 0)
            up += difference;
        if (!turned && difference < 0)
            down += difference;
    }
    int32_t total() const { return count + (up >= depth && -down >= depth ? 1 : 0); }
};

// One walk along a strip.
struct wedge {
    const rova_pim_strip &strip;
    rova_pim_axis axis;
    int32_t near_end; // where the walk begins
    int32_t onwards;  // 1 or -1
    int32_t span;
    std::span<int32_t> line;
    const rova_pim_pm_config &cfg;

    int64_t position(int64_t offset) const { return near_end + onwards * offset; }
    bool holds(int64_t at) const { return at >= 0 && at < rova_pim_line_count(strip, axis); }

    int32_t valleys(int64_t at) const
    {
        const std::span<int32_t> pixels =
            line.first(static_cast<std::size_t>(rova_pim_line_length(strip, axis)));
        rova_pim_copy_line(strip, axis, static_cast<int32_t>(at), pixels);
        return rova_pim_count_valleys(pixels, cfg);
    }
};

// An offset that is resolved, near the last one.  It may lie behind the far end.
int64_t bisect(const wedge &wedge)
{
    int64_t step = wedge.span / 2, best = 0;
    for (int32_t round = 0; round < wedge.cfg.binaryTreeLevel; round++) {
        const int64_t at = wedge.position(step);
        const bool resolved = wedge.holds(at) && wedge.valleys(at) >= wedge.cfg.sucValleyN;
        if (resolved)
            best = step;
        step += resolved ? step / 2 : -(step / 2);
    }
    return best;
}

void print_line(const wedge &wedge, int64_t at, int32_t valleys, int32_t hits, int32_t fails)
{
    const int32_t position = static_cast<int32_t>(at);
    if (wedge.cfg.dbgLevel[0] == 0)
        return;
    if (wedge.axis == rova_pim_axis::X)
        rova_pim_debug(" (X, Resol, CntS/F) = ( %4d , %3d , %3d, %3d)\n", position, valleys, hits,
                       fails);
    else
        rova_pim_debug(" (Y, Resol, CntS/F) = ( %4d , %3d , %3d, %3d)\n", position, valleys, hits,
                       fails);
}

// From an offset on, line by line.
int64_t walk_on(const wedge &wedge, int64_t from)
{
    int64_t result = wedge.near_end;
    int32_t hits = 0, fails = 0;
    for (int64_t offset = from; offset <= wedge.span; offset++) {
        const int64_t at = wedge.position(offset);
        const int32_t valleys = wedge.holds(at) ? wedge.valleys(at) : 0;
        print_line(wedge, at, valleys, hits, fails);
        if (valleys >= wedge.cfg.sucValleyN) {
            hits++;
            result = at;
        } else if (++fails >= wedge.cfg.failCnt) {
            return result;
        }
    }
    // The fails were too few to end it.
    return hits > 0 ? wedge.position(wedge.span) : result;
}

} // namespace

int32_t rova_pim_count_valleys(std::span<int32_t> line, const rova_pim_pm_config &cfg)
{
    const auto size = static_cast<int64_t>(line.size());
    const int64_t end = size - 1 - cfg.lineDataOffset;
    if (line.empty() || cfg.lineDataOffset > end)
        return 0;
    smooth_spikes(line);
    flatten_peaks(line, cfg.meadLoop);
    valley_scan scan = {.depth = cfg.sucValleyDepth};
    // A negative offset reaches outside of the line, where nothing differs.
    const int64_t first = std::max(cfg.lineDataOffset, 0), last = std::min(end, size - 2);
    for (int64_t i = first; i <= last; i++)
        scan.take(line[static_cast<std::size_t>(i)] - line[static_cast<std::size_t>(i) + 1]);
    return scan.total();
}

int32_t rova_pim_walk_wedge(const rova_pim_strip &strip, int32_t start, int32_t end, int32_t dir,
                            std::span<int32_t> line, const rova_pim_pm_config &cfg)
{
    const bool reversed = dir != 0;
    const int32_t near_end = reversed ? end : start;
    if (strip.pixels.empty())
        return near_end;
    const wedge wedge = {.strip = strip,
                         .axis = rova_pim_walk_axis(strip),
                         .near_end = near_end,
                         .onwards = reversed ? -1 : 1,
                         .span = end - start,
                         .line = line,
                         .cfg = cfg};
    return static_cast<int32_t>(walk_on(wedge, bisect(wedge)));
}
