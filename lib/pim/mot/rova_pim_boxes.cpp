// Boxes are looked at a row at a time.  A value counts in the histogram as often as boxes cover it:
// each value is looked at a few times, whatever the size of the box.
#include "lib/pim/mot/rova_pim_boxes.h"

#include "lib/pim/mot/rova_pim_box_rows.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace
{

constexpr int32_t BRIGHTEST = 255;
constexpr int64_t WIDE_AREA = INT32_MAX / BRIGHTEST; // values whose sum fits in 32 bits
constexpr std::size_t LINE = 64;                     // bytes of a line of the cache
constexpr std::size_t PARTS = 4; // of a histogram: equal neighbours need not wait for each other

// A range that holds no value becomes one that no value and no mean lies in.
rova_pim_box_limits limits_of(const rova_pim_strip &strip, const rova_pim_box_rules &rules)
{
    const auto area = static_cast<uint32_t>(rules.w * rules.h);
    auto min = static_cast<uint32_t>(std::clamp(rules.min, 0, BRIGHTEST));
    auto max = static_cast<uint32_t>(std::clamp(rules.max, 0, BRIGHTEST));
    if (rules.min > rules.max || rules.min > BRIGHTEST || rules.max < 0) {
        min = BRIGHTEST;
        max = 0;
    }
    return {.columns = strip.w,
            .boxes = strip.w - rules.w,
            .w = rules.w,
            .h = rules.h,
            .min = static_cast<uint8_t>(min),
            .max = static_cast<uint8_t>(max),
            .min_sum = min * area,
            .max_sum = max * area + area - 1,
            .count = static_cast<uint32_t>(std::clamp<int64_t>(rules.count, 0, area + 1))};
}

// The first of from .. to - 1 that is `wanted`; `to` if none is.
template <typename T> int32_t find_number(const T *numbers, int32_t from, int32_t to, T wanted)
{
    return static_cast<int32_t>(std::find(numbers + from, numbers + to, wanted) - numbers);
}
int32_t find_number(const uint8_t *numbers, int32_t from, int32_t to, uint8_t wanted)
{
    const void *found = std::memchr(numbers + from, wanted, static_cast<std::size_t>(to - from));
    return found == nullptr ? to
                            : static_cast<int32_t>(static_cast<const uint8_t *>(found) - numbers);
}

using histogram_parts = uint32_t[PARTS][256];

// Each value counts as often as `times` says of its column.
template <typename T>
void count_values(std::span<const uint8_t> values, const T *times, histogram_parts &parts)
{
    std::size_t x = 0;
    for (; x + PARTS <= values.size(); x += PARTS) {
        for (std::size_t part = 0; part < PARTS; part++)
            parts[part][values[x + part]] += times[x + part];
    }
    for (; x < values.size(); x++)
        parts[0][values[x]] += times[x];
}

template <typename N> class Walk
{
public:
    Walk(const rova_pim_strip &strip, const rova_pim_box_rules &rules, bool counts_values,
         const rova_pim_hit_function &on_hits)
        : strip_(strip), rules_(rules), counts_values_(counts_values), on_hits_(on_hits),
          at_(limits_of(strip, rules)), run_(rova_pim_box_kernels_here<N>(rules.portable))
    {
    }
    bool prepare();
    void walk();
    void add_to(rova_pim_histogram &histogram) const;

private:
    using sum = typename N::sum;
    using count = typename N::count;

    bool take_memory();
    int32_t walk_block(int32_t first);
    bool visit_row(int32_t y);
    bool visit_all(int32_t y);
    int32_t visit_some(int32_t y, bool &hit);
    bool visit(int32_t from, int32_t to, int32_t y);
    void trace(int32_t from, int32_t to) const;
    void cover_row(int32_t y);
    void uncover_row(int32_t y);
    void count_row(int32_t y);
    void count_below(int32_t y, int32_t first, int32_t last);

    const uint8_t *row(int32_t y) const { return pixels_ + std::ptrdiff_t{y} * strip_.w; }
    bool has_next(int32_t y) const { return y + 1 < strip_.h - at_.h; }
    std::size_t slot(int32_t y) const { return static_cast<std::size_t>(y % rules_.h); }
    // How many boxes of a row cover each column; kept for a box's height.
    count *covered(int32_t y) const { return ring_ + slot(y) * room_; }

    const rova_pim_strip &strip_;
    const rova_pim_box_rules &rules_;
    const bool counts_values_;
    const rova_pim_hit_function &on_hits_;
    rova_pim_box_limits at_;
    const rova_pim_box_kernels<N> &run_;
    const uint8_t *pixels_ = nullptr;
    // The pixels, where a row is shorter than what is read of it.
    std::vector<uint8_t> narrow_strip_;
    std::unique_ptr<void, decltype(&std::free)> numbers_{nullptr, std::free};
    std::size_t room_ = 0; // of each array of them
    rova_pim_box_row<N> sums_ = {};
    rova_pim_row_found found_ = {};
    count *visited_ = nullptr; // 1 where a box was visited, behind a box's width of zeros
    count *cover_ = nullptr;   // how many boxes of the rows in hand cover each column
    count *ring_ = nullptr;
    histogram_parts counts_ = {};
};

// All arrays lie behind each other in zeros.
template <typename N> bool Walk<N>::take_memory()
{
    const auto w = static_cast<std::size_t>(strip_.w);
    const std::size_t h = counts_values_ ? static_cast<std::size_t>(at_.h) : 0; // of the ring
    room_ = (w + static_cast<std::size_t>(at_.w) + PIM_BOX_LANES) / LINE * LINE + LINE;
    sum **const sums[] = {&sums_.column, &sums_.box, &sums_.sum_scratch[0], &sums_.sum_scratch[1]};
    count **const counts[] = {&sums_.column_in_range,  &sums_.box_in_range, &sums_.count_scratch[0],
                              &sums_.count_scratch[1], &visited_,           &cover_};
    uint8_t **const bytes[] = {&sums_.is_box, &sums_.hit};
    const std::size_t sum_bytes = std::size(sums) * room_ * sizeof(sum);
    const std::size_t count_bytes = (std::size(counts) + h) * room_ * sizeof(count);
    const std::size_t all = sum_bytes + count_bytes + std::size(bytes) * room_;
    numbers_.reset(std::calloc(1, all + LINE));
    if (!numbers_)
        return false;
    const std::size_t start = (-reinterpret_cast<uintptr_t>(numbers_.get())) % LINE;
    auto *next_sum = reinterpret_cast<sum *>(static_cast<uint8_t *>(numbers_.get()) + start);
    for (sum **array : sums)
        *array = std::exchange(next_sum, next_sum + room_);
    auto *next_count = reinterpret_cast<count *>(next_sum);
    for (count **array : counts)
        *array = std::exchange(next_count, next_count + room_);
    ring_ = std::exchange(next_count, next_count + room_ * h);
    auto *next_byte = reinterpret_cast<uint8_t *>(next_count);
    for (uint8_t **array : bytes)
        *array = std::exchange(next_byte, next_byte + room_);
    return true;
}

template <typename N> bool Walk<N>::prepare()
{
    if (!take_memory())
        return false;
    std::fill_n(sums_.is_box, at_.boxes, PIM_BOX_HIT);
    pixels_ = strip_.pixels.data();
    if (strip_.w < static_cast<int32_t>(PIM_BOX_LANES)) {
        narrow_strip_.assign(strip_.pixels.begin(), strip_.pixels.end());
        narrow_strip_.resize(narrow_strip_.size() + PIM_BOX_LANES);
        pixels_ = narrow_strip_.data();
    }
    return true;
}

template <typename N> void Walk<N>::walk()
{
    for (int32_t y = 0; y < strip_.h - at_.h;)
        y = walk_block(y);
}

// The rows from `first` on that follow each other; returns the row to go on with.
template <typename N> int32_t Walk<N>::walk_block(int32_t first)
{
    run_.start(at_, row(first), sums_);
    int32_t y = first;
    while (visit_row(y) && has_next(y)) {
        count_below(y, first, y);
        y++;
    }
    for (int32_t k = 0; k < at_.h; k++)
        count_below(y + k, first, y);
    return y + at_.h;
}

// True when the row below it is next.
template <typename N> bool Walk<N>::visit_row(int32_t y)
{
    bool hit = false;
    int32_t last = at_.boxes - 1; // visited
    found_ = run_.visit(at_, row(y), has_next(y) ? row(y + at_.h) : nullptr, sums_);
    if (found_.blank)
        last = visit_some(y, hit);
    else
        hit = visit_all(y);
    cover_row(y);
    return rules_.step == rova_pim_row_step::AFTER_HIT ? hit : sums_.box_in_range[last] != 0;
}

// Most rows have no hits, or hits only: these are not searched.
template <typename N> bool Walk<N>::visit_all(int32_t y)
{
    if (counts_values_)
        std::fill_n(visited_ + at_.w, at_.boxes, count{1});
    if (rules_.trace || found_.some_hit != found_.all_hit)
        return visit(0, at_.boxes, y);
    if (found_.all_hit)
        on_hits_({0, at_.boxes, y});
    return found_.all_hit;
}

// Behind a box with no value in range the next ones are skipped.  Returns the last one visited.
template <typename N> int32_t Walk<N>::visit_some(int32_t y, bool &hit)
{
    int32_t last = 0;
    std::fill_n(visited_ + at_.w, at_.boxes, count{0});
    for (int32_t x = 0; x < at_.boxes; x = last + at_.w) {
        const int32_t blank = find_number(sums_.box_in_range, x, at_.boxes, count{0});
        const int32_t end = std::min(blank + 1, at_.boxes);
        hit = visit(x, end, y) || hit;
        std::fill(visited_ + at_.w + x, visited_ + at_.w + end, count{1});
        last = end - 1;
    }
    return last;
}

// The boxes from .. to - 1 of the row; true when there was a hit.
template <typename N> bool Walk<N>::visit(int32_t from, int32_t to, int32_t y)
{
    bool any = false;
    if (rules_.trace)
        trace(from, to);
    for (int32_t x = find_number(sums_.hit, from, to, PIM_BOX_HIT); x < to;) {
        const int32_t behind = find_number(sums_.hit, x, to, 0);
        on_hits_({x, behind, y});
        any = true;
        x = find_number(sums_.hit, behind, to, PIM_BOX_HIT);
    }
    return any;
}

template <typename N> void Walk<N>::trace(int32_t from, int32_t to) const
{
    for (int32_t x = from; x < to; x++)
        rova_pim_debug(" pA = %d pCnt = %d \n",
                       static_cast<int32_t>(sums_.box[x]) / (at_.w * at_.h),
                       static_cast<int32_t>(sums_.box_in_range[x]));
}

// The last column is in no box.
template <typename N> void Walk<N>::cover_row(int32_t y)
{
    if (!counts_values_)
        return;
    run_.windows(visited_ + 1, strip_.w - 1, at_.w, covered(y), sums_.count_scratch);
    run_.add(covered(y), strip_.w - 1, 1, cover_);
}

template <typename N> void Walk<N>::uncover_row(int32_t y)
{
    run_.add(covered(y), strip_.w - 1, static_cast<count>(-1), cover_);
}

template <typename N> void Walk<N>::count_row(int32_t y)
{
    count_values({row(y), static_cast<std::size_t>(strip_.w - 1)}, cover_, counts_);
}

// Counts a row of values that no box of a row below `last` will cover; `first` begins the block.
template <typename N> void Walk<N>::count_below(int32_t y, int32_t first, int32_t last)
{
    if (!counts_values_)
        return;
    count_row(y);
    const int32_t gone = y - at_.h + 1;
    if (gone >= first && gone <= last)
        uncover_row(gone);
}

template <typename N> void Walk<N>::add_to(rova_pim_histogram &histogram) const
{
    for (const auto &part : counts_) {
        for (std::size_t value = 0; value < std::size(part); value++)
            histogram.counts[value] += part[value];
    }
}

template <typename N>
int walk_boxes(const rova_pim_strip &strip, const rova_pim_box_rules &rules,
               rova_pim_histogram *histogram, const rova_pim_hit_function &on_hits)
{
    Walk<N> walk(strip, rules, histogram != nullptr, on_hits);
    if (!walk.prepare()) {
        rova_pim_report("no memory for boxes of %d x %d in %d x %d\n", rules.w, rules.h, strip.w,
                        strip.h);
        return -1;
    }
    walk.walk();
    if (histogram != nullptr)
        walk.add_to(*histogram);
    return 0;
}

} // namespace

int rova_pim_walk_boxes(const rova_pim_strip &strip, const rova_pim_box_rules &rules,
                        rova_pim_histogram *histogram, const rova_pim_hit_function &on_hits)
{
    if (rules.w <= 0 || rules.h <= 0 || rules.w >= strip.w || rules.h >= strip.h)
        return 0;
    if (int64_t{rules.w} * rules.h > WIDE_AREA) {
        rova_pim_report("no sums of boxes of %d x %d\n", rules.w, rules.h);
        return -1;
    }
    const bool has_range = rules.min <= rules.max && rules.min <= BRIGHTEST && rules.max >= 0;
    if (has_range && rules.w * rules.h <= rova_pim_narrow_sums::AREA)
        return walk_boxes<rova_pim_narrow_sums>(strip, rules, histogram, on_hits);
    return walk_boxes<rova_pim_wide_sums>(strip, rules, histogram, on_hits);
}
