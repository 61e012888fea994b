#include "lib/pim/dust/rova_pim_dust_stripe.h"

#include "lib/pim/dust/rova_pim_dust_grid.h"
#include "lib/pim/rova_pim_log_sink.h"

#include <algorithm>
#include <cstdlib>

namespace
{

// The state column of a row of the log.
constexpr char PASSED[] = " [OK]";
constexpr char BLURRED[] = " [Blur]";
constexpr char FOUND[] = " [NG]";

constexpr int32_t GREATEST_DIFF = 25500; // of white and black

struct comparison {
    int32_t x;
    int32_t far;
    int32_t mean; // times 100, as all that follows
    int32_t far_mean;
    int32_t diff;
    int32_t ref;
};

// What follows the far block, for the small test: the mean of three blocks, and how much the far
// one differs from it.
struct background {
    int32_t mean;
    int32_t diff;
};

comparison compare(const rova_pim_dust_stripe &stripe, int32_t x, int32_t offset)
{
    const int32_t far = stripe.farther(x, offset);
    const int32_t mean = stripe.mean(x);
    const int32_t far_mean = stripe.mean(far);
    return {x, far, mean, far_mean, std::abs(mean - far_mean), 0};
}

background behind(const rova_pim_dust_stripe &stripe, const comparison &pair, int64_t offset)
{
    const auto mean = [&](int64_t times) {
        return stripe.mean(stripe.farther(pair.x, times * offset));
    };
    const int32_t three = (mean(2) + mean(3) + mean(4)) / 3;
    return {three, std::abs(pair.far_mean - three)};
}

void mark_block(rova_pim_dust_stripe &stripe, const comparison &pair)
{
    const bool far = pair.far_mean < pair.mean;
    const auto from = static_cast<std::size_t>(far ? pair.far : pair.x);
    const std::size_t count =
        std::min(static_cast<std::size_t>(stripe.blockX), stripe.marks.size() - from);
    std::ranges::fill(stripe.marks.subspan(from, count), PIM_DUST_MARK);
    std::ranges::fill(stripe.values.subspan(from, count), far ? pair.far_mean : pair.mean);
    stripe.marked = true;
}

void log_small(const rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg,
               const comparison &pair, const background &after, const char *state)
{
    rova_pim_log(state == FOUND
                     ? "%c SMALL %s, %d, %d, %d, %d, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f \n"
                     : "*%c SMALL %s, %d, %d, %d, %d, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f, %3.2f \n",
                 GetAreaMark(pair.far, stripe.y, cfg), state, pair.x, stripe.y, pair.far, stripe.y,
                 rova_pim_dust_hundredth(pair.mean), rova_pim_dust_hundredth(pair.far_mean),
                 rova_pim_dust_hundredth(after.mean), rova_pim_dust_hundredth(pair.diff),
                 rova_pim_dust_hundredth(after.diff), rova_pim_dust_hundredth(pair.ref));
}

void log_big(const rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg,
             const comparison &pair, const char *state)
{
    rova_pim_log(state == FOUND
                     ? "%c BIG   %s, %d, %d, %d, %d, %3.2f, %3.2f, - , %3.2f, - , %3.2f \n"
                     : "*%c BIG   %s, %d, %d, %d, %d, %3.2f, %3.2f, - , %3.2f, - , %3.2f \n",
                 GetAreaMark(pair.far, stripe.y, cfg), state, pair.x, stripe.y, pair.far, stripe.y,
                 rova_pim_dust_hundredth(pair.mean), rova_pim_dust_hundredth(pair.far_mean),
                 rova_pim_dust_hundredth(pair.diff), rova_pim_dust_hundredth(pair.ref));
}

void test_small(rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg, comparison pair)
{
    pair.ref = GetSmallRef(pair.far, stripe.y, cfg);
    const background after = behind(stripe, pair, cfg.iSmallOffset);
    const bool passed = pair.diff < pair.ref;
    if (passed || after.diff < GetBlurRef(pair.far, stripe.y, cfg)) {
        if (cfg.iDbgOption[2] == 1)
            log_small(stripe, cfg, pair, after, passed ? PASSED : BLURRED);
        return;
    }
    mark_block(stripe, pair);
    if (cfg.iDbgLevel[1] != 0)
        rova_pim_log(" SMALL >>>>> [ %c ] (%5d, %5d) (%5d, %5d) = %5d - %5d = %5d / %5d \n",
                     GetAreaMark(pair.far, stripe.y, cfg), pair.x, stripe.y, pair.far, stripe.y,
                     pair.mean, pair.far_mean, pair.diff, pair.ref);
    log_small(stripe, cfg, pair, after, FOUND);
}

// The blur of the border does not reach blocks this far apart: no test of it.
void test_big(rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg, comparison pair)
{
    pair.ref = GetBigRef(pair.far, stripe.y, cfg);
    if (pair.diff < pair.ref) {
        if (cfg.iDbgOption[2] == 1)
            log_big(stripe, cfg, pair, PASSED);
        return;
    }
    mark_block(stripe, pair);
    if (cfg.iDbgLevel[1] != 0)
        rova_pim_log(" BIG   >>>>> [ %c ] (%5d, %5d) (%5d, %5d) = %5d - %5d = %5d / %5d \n",
                     GetAreaMark(pair.far, stripe.y, cfg), pair.x, stripe.y, pair.far, stripe.y,
                     pair.mean, pair.far_mean, pair.diff, pair.ref);
    log_big(stripe, cfg, pair, FOUND);
}

// No difference below is a find, wherever it is.
struct least_refs {
    int32_t small;
    int32_t big;
};

least_refs least_refs_of(const rova_pim_dust_config &cfg)
{
    least_refs least = {GREATEST_DIFF, GREATEST_DIFF}; // what holds outside of all areas
    for (const rova_pim_search_area &area : cfg.tSearchArea) {
        least.small = std::min(least.small, area.iSmallRef100);
        least.big = std::min(least.big, area.iBigRef100);
    }
    return least;
}

// Whether a block differs this much from the one `offset` blocks on, or from the last one.
bool any_differs(std::span<const int32_t> means, int32_t offset, int32_t least)
{
    const std::size_t step = std::min(static_cast<std::size_t>(offset), means.size());
    const std::span<const int32_t> last = means.last(step);
    return rova_pim_dust_any_differs(means.first(means.size() - step), means.subspan(step),
                                     least) ||
           std::ranges::any_of(
               last, [&](int32_t mean) { return std::abs(mean - means.back()) >= least; });
}

// Nearly all stripes of a good picture have nothing to mark or to log; that is seen at a fraction
// of the cost of looking up what holds at each block.
bool is_quiet(const rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg)
{
    const least_refs least = least_refs_of(cfg);
    return cfg.iDbgOption[2] != 1 && !any_differs(stripe.means, cfg.iSmallOffset, least.small) &&
           !any_differs(stripe.means, cfg.iBigOffset, least.big);
}

} // namespace

int32_t rova_pim_dust_stripe::farther(int32_t x, int64_t blocks) const
{
    return static_cast<int32_t>(std::min<int64_t>(x + blocks * blockX, last()));
}

void rova_pim_dust_mark(rova_pim_dust_stripe &stripe, const rova_pim_dust_config &cfg)
{
    if (is_quiet(stripe, cfg))
        return;
    for (int64_t x = 0; x <= stripe.last(); x += stripe.blockX) {
        const auto near = static_cast<int32_t>(x);
        const comparison small = compare(stripe, near, cfg.iSmallOffset);
        if (IsExceptArea(near, stripe.y, small.far, stripe.y, cfg))
            continue;
        test_small(stripe, cfg, small);
        test_big(stripe, cfg, compare(stripe, near, cfg.iBigOffset));
    }
}
