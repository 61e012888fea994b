// Sums of columns slide down, sums of boxes are made of them, and a value counts in the histogram
// as often as boxes cover it: each value is looked at a few times, whatever the size of the box.
// Small boxes are counted in narrow numbers, of which more fit into a step of the processor's.
#include "lib/pim/mot/rova_pim_boxes.h"

#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#define ROVA_INLINE inline __attribute__((always_inline))

namespace
{

constexpr int32_t BRIGHTEST = 255;
constexpr int64_t WIDE_AREA = INT32_MAX / BRIGHTEST; // values whose sum fits in 32 bits
constexpr std::size_t PARTS = 4; // of a histogram: equal neighbours need not wait for each other

// The numbers for a box of up to AREA values: `sum` for that of them, `count` for how many there
// are and one more.
struct narrow {
    using sum = uint16_t;
    using count = uint8_t;
    static constexpr int32_t AREA = 254;
};
struct wide {
    using sum = uint32_t;
    using count = uint32_t;
};

// Arrays of the strip's width and a box's.
template <typename N> struct row_sums {
    typename N::sum *column; // sums of the box's height
    typename N::sum *box;    // sums of whole boxes
    typename N::sum *sum_scratch[2];
    typename N::count *column_in_range;
    typename N::count *box_in_range;
    typename N::count *count_scratch[2];
    uint8_t *hit;
};

struct limits {
    int32_t columns;
    int32_t boxes; // in a row
    int32_t w;
    int32_t h;
    uint8_t min, max;
    uint32_t min_sum, max_sum;
    uint32_t count;
};

template <typename N>
ROVA_INLINE void add_row(const limits &at, const uint8_t *__restrict row,
                         typename N::sum *__restrict column, typename N::count *__restrict in_range)
{
    for (int32_t x = 0; x < at.columns; x++) {
        column[x] = static_cast<typename N::sum>(column[x] + row[x]);
        in_range[x] =
            static_cast<typename N::count>(in_range[x] + ((row[x] >= at.min) & (row[x] <= at.max)));
    }
}

template <typename N>
ROVA_INLINE void move_row(const limits &at, const uint8_t *__restrict gone,
                          const uint8_t *__restrict come, typename N::sum *__restrict column,
                          typename N::count *__restrict in_range)
{
    const uint8_t min = at.min, max = at.max;
    for (int32_t x = 0; x < at.columns; x++)
        column[x] = static_cast<typename N::sum>(column[x] + come[x] - gone[x]);
    for (int32_t x = 0; x < at.columns; x++) {
        const int before = (gone[x] >= min) & (gone[x] <= max);
        const int now = (come[x] >= min) & (come[x] <= max);
        in_range[x] = static_cast<typename N::count>(in_range[x] + now - before);
    }
}

template <typename T, int COUNT>
ROVA_INLINE void add_apart(const T *__restrict in, int32_t apart, int32_t n, T *__restrict out,
                           bool first)
{
    for (int32_t x = 0; x < n; x++) {
        T sum = first ? T{0} : out[x];
        for (int k = 0; k < COUNT; k++)
            sum = static_cast<T>(sum + in[x + k * apart]);
        out[x] = sum;
    }
}

// out[x] = in[x] + ... + in[x + width - 1] for x below n, the width's digits to the base 4 one
// after the other.
template <typename T>
ROVA_INLINE void sum_windows(const T *in, int32_t n, int32_t width, T *out, T *const (&scratch)[2])
{
    const T *sums = in; // of `apart` values each
    int32_t apart = 1, done = 0;
    for (int turn = 0; width > 0; turn ^= 1) {
        const int32_t digit = width % 4;
        if (digit == 1)
            add_apart<T, 1>(sums + done, apart, n, out, done == 0);
        else if (digit == 2)
            add_apart<T, 2>(sums + done, apart, n, out, done == 0);
        else if (digit == 3)
            add_apart<T, 3>(sums + done, apart, n, out, done == 0);
        done += digit * apart;
        width /= 4;
        if (width == 0)
            return;
        add_apart<T, 4>(sums, apart, n + done + (width - 1) * 4 * apart, scratch[turn], true);
        sums = scratch[turn];
        apart *= 4;
    }
}

template <typename N>
ROVA_INLINE void judge(const limits &at, const typename N::sum *__restrict box,
                       const typename N::count *__restrict box_in_range, uint8_t *__restrict hit)
{
    const auto min = static_cast<typename N::sum>(at.min_sum);
    const auto max = static_cast<typename N::sum>(at.max_sum);
    const auto count = static_cast<typename N::count>(at.count);
    for (int32_t x = 0; x < at.boxes; x++)
        hit[x] = (box[x] >= min) & (box[x] <= max) & (box_in_range[x] >= count);
}

template <typename N> ROVA_INLINE void judge_boxes(const limits &at, const row_sums<N> &sums)
{
    sum_windows(sums.column, at.boxes, at.w, sums.box, sums.sum_scratch);
    sum_windows(sums.column_in_range, at.boxes, at.w, sums.box_in_range, sums.count_scratch);
    judge<N>(at, sums.box, sums.box_in_range, sums.hit);
}

template <typename N>
ROVA_INLINE void start_inline(const limits &at, const uint8_t *rows, const row_sums<N> &sums)
{
    std::fill_n(sums.column, at.columns, typename N::sum{0});
    std::fill_n(sums.column_in_range, at.columns, typename N::count{0});
    for (int32_t y = 0; y < at.h; y++)
        add_row<N>(at, rows + std::ptrdiff_t{y} * at.columns, sums.column, sums.column_in_range);
    judge_boxes(at, sums);
}

template <typename N>
ROVA_INLINE void slide_inline(const limits &at, const uint8_t *gone, const uint8_t *come,
                              const row_sums<N> &sums)
{
    move_row<N>(at, gone, come, sums.column, sums.column_in_range);
    judge_boxes(at, sums);
}

template <typename T>
ROVA_INLINE void change_inline(T *__restrict cover, const T *__restrict row, int32_t n, bool add)
{
    if (add) {
        for (int32_t x = 0; x < n; x++)
            cover[x] = static_cast<T>(cover[x] + row[x]);
    } else {
        for (int32_t x = 0; x < n; x++)
            cover[x] = static_cast<T>(cover[x] - row[x]);
    }
}

// The walk's inner loops, for the processor at hand.
template <typename N> struct kernels {
    using count = typename N::count;
    void (*start)(const limits &at, const uint8_t *rows, const row_sums<N> &sums);
    void (*slide)(const limits &at, const uint8_t *gone, const uint8_t *come,
                  const row_sums<N> &sums);
    void (*windows)(const count *in, int32_t n, int32_t width, count *out,
                    count *const (&scratch)[2]);
    void (*change)(count *cover, const count *row, int32_t n, bool add);
};

#define ROVA_KERNELS(name, attribute)                                                              \
    template <typename N>                                                                          \
    __attribute__(attribute) void start_##name(const limits &at, const uint8_t *rows,              \
                                               const row_sums<N> &sums)                            \
    {                                                                                              \
        start_inline(at, rows, sums);                                                              \
    }                                                                                              \
    template <typename N>                                                                          \
    __attribute__(attribute) void slide_##name(const limits &at, const uint8_t *gone,              \
                                               const uint8_t *come, const row_sums<N> &sums)       \
    {                                                                                              \
        slide_inline(at, gone, come, sums);                                                        \
    }                                                                                              \
    template <typename T>                                                                          \
    __attribute__(attribute) void windows_##name(const T *in, int32_t n, int32_t width, T *out,    \
                                                 T *const(&scratch)[2])                            \
    {                                                                                              \
        sum_windows(in, n, width, out, scratch);                                                   \
    }                                                                                              \
    template <typename T>                                                                          \
    __attribute__(attribute) void change_##name(T *cover, const T *row, int32_t n, bool add)       \
    {                                                                                              \
        change_inline(cover, row, n, add);                                                         \
    }                                                                                              \
    template <typename N>                                                                          \
    constexpr kernels<N> KERNELS_##name = {start_##name<N>, slide_##name<N>,                       \
                                           windows_##name<typename N::count>,                      \
                                           change_##name<typename N::count>};

ROVA_KERNELS(any, ())
#ifdef __x86_64__
ROVA_KERNELS(avx2, (target("avx2")))
#endif

template <typename N> const kernels<N> &kernels_here([[maybe_unused]] bool portable)
{
#ifdef __x86_64__
    static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
    if (has_avx2 && !portable)
        return KERNELS_avx2<N>;
#endif
    return KERNELS_any<N>;
}

// A range that holds no value becomes one that no value and no mean lies in.
limits limits_of(const rova_pim_strip &strip, const rova_pim_box_rules &rules)
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

// Each value counts as often as `weight` says of its column, `from` to `to` - 1.
template <typename Weight>
void count_values(const uint8_t *values, int32_t from, int32_t to, const Weight &weight,
                  histogram_parts &parts)
{
    constexpr auto STEP = static_cast<int32_t>(PARTS);
    int32_t x = from;
    for (; x + STEP <= to; x += STEP) {
        for (int32_t k = 0; k < STEP; k++)
            parts[k][values[x + k]] += weight(x + k);
    }
    for (; x < to; x++)
        parts[0][values[x]] += weight(x);
}

void add_parts(const histogram_parts &parts, uint32_t times, rova_pim_histogram &histogram)
{
    for (const auto &part : parts) {
        for (std::size_t value = 0; value < std::size(part); value++)
            histogram.counts[value] += times * part[value];
    }
}

template <typename N> class Walk
{
public:
    Walk(const rova_pim_strip &strip, const rova_pim_box_rules &rules, bool counts_values,
         const rova_pim_hit_function &on_hits)
        : strip_(strip), rules_(rules), counts_values_(counts_values), on_hits_(on_hits),
          at_(limits_of(strip, rules)), run_(kernels_here<N>(rules.portable))
    {
    }
    bool prepare();
    void walk();
    void add_to(rova_pim_histogram &histogram) const;

private:
    using sum = typename N::sum;
    using count = typename N::count;

    int32_t walk_block(int32_t first);
    bool visit_row(int32_t y);
    int32_t visit_some(int32_t y, bool &hit);
    bool visit(int32_t from, int32_t to, int32_t y);
    void trace(int32_t from, int32_t to) const;
    void cover_row(int32_t y);
    void uncover_row(int32_t y);
    void count_row(int32_t y);
    void count_below(int32_t y, int32_t first, int32_t last);

    const uint8_t *row(int32_t y) const
    {
        return strip_.pixels.data() + std::ptrdiff_t{y} * strip_.w;
    }
    std::size_t slot(int32_t y) const { return static_cast<std::size_t>(y % rules_.h); }
    bool is_whole(int32_t y) const { return whole_[slot(y)] != 0; }
    // How many of the boxes of a partly visited row cover each column; kept for a box's height.
    count *covered(int32_t y) const { return ring_ + slot(y) * static_cast<std::size_t>(strip_.w); }

    const rova_pim_strip &strip_;
    const rova_pim_box_rules &rules_;
    const bool counts_values_;
    const rova_pim_hit_function &on_hits_;
    limits at_;
    const kernels<N> &run_;
    std::unique_ptr<void, decltype(&std::free)> numbers_{nullptr, std::free};
    row_sums<N> sums_ = {};
    count *visited_ = nullptr; // 1 where a box was visited, behind a box's width of zeros
    count *full_ = nullptr;    // how many boxes of a row cover each column where all are visited
    count *cover_ = nullptr;   // how many of the rows of boxes in hand do
    count *ring_ = nullptr;
    uint8_t *whole_ = nullptr; // 1 where all boxes of a row were visited; in the ring's order
    int32_t whole_rows_ = 0;   // of the rows in hand
    histogram_parts counts_ = {};
    histogram_parts most_ = {}; // of values that are in as many boxes as a value can be
};

template <typename N> bool Walk<N>::prepare()
{
    const auto w = static_cast<std::size_t>(strip_.w), h = static_cast<std::size_t>(at_.h);
    const std::size_t room = w + static_cast<std::size_t>(at_.w);
    sum **const sums[] = {&sums_.column, &sums_.box, &sums_.sum_scratch[0], &sums_.sum_scratch[1]};
    count **const counts[] = {&sums_.column_in_range,
                              &sums_.box_in_range,
                              &sums_.count_scratch[0],
                              &sums_.count_scratch[1],
                              &visited_,
                              &full_,
                              &cover_};
    const std::size_t sum_bytes = std::size(sums) * room * sizeof(sum);
    const std::size_t count_bytes = (std::size(counts) * room + w * h) * sizeof(count);
    const std::size_t all = sum_bytes + count_bytes + w + h;
    numbers_.reset(std::calloc(1, all));
    if (!numbers_)
        return false;
    auto *next_sum = static_cast<sum *>(numbers_.get());
    for (sum **array : sums)
        *array = std::exchange(next_sum, next_sum + room);
    auto *next_count = reinterpret_cast<count *>(next_sum);
    for (count **array : counts)
        *array = std::exchange(next_count, next_count + room);
    ring_ = std::exchange(next_count, next_count + w * h);
    sums_.hit = reinterpret_cast<uint8_t *>(next_count);
    whole_ = sums_.hit + w;
    for (int32_t x = 0; x < strip_.w; x++)
        full_[x] = static_cast<count>(std::min({x + 1, at_.w, at_.boxes, strip_.w - 1 - x}));
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
    while (visit_row(y) && y + 1 < strip_.h - at_.h) {
        count_below(y, first, y);
        run_.slide(at_, row(y), row(y + at_.h), sums_);
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
    whole_[slot(y)] = find_number(sums_.box_in_range, 0, last, count{0}) == last;
    if (is_whole(y))
        hit = visit(0, at_.boxes, y);
    else
        last = visit_some(y, hit);
    cover_row(y);
    return rules_.step == rova_pim_row_step::AFTER_HIT ? hit : sums_.box_in_range[last] != 0;
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
    for (int32_t x = find_number(sums_.hit, from, to, 1); x < to;) {
        const int32_t behind = find_number(sums_.hit, x, to, 0);
        on_hits_({x, behind, y});
        any = true;
        x = find_number(sums_.hit, behind, to, 1);
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

template <typename N> void Walk<N>::cover_row(int32_t y)
{
    if (!counts_values_)
        return;
    if (is_whole(y))
        whole_rows_++;
    else // the last column is in no box
        run_.windows(visited_ + 1, strip_.w - 1, at_.w, covered(y), sums_.count_scratch);
    run_.change(cover_, is_whole(y) ? full_ : covered(y), strip_.w - 1, true);
}

template <typename N> void Walk<N>::uncover_row(int32_t y)
{
    if (is_whole(y))
        whole_rows_--;
    run_.change(cover_, is_whole(y) ? full_ : covered(y), strip_.w - 1, false);
}

// Where all boxes around were visited, all columns but those near the ends are in as many boxes.
template <typename N> void Walk<N>::count_row(int32_t y)
{
    const int32_t end = strip_.w - 1;
    const int32_t ramp = whole_rows_ == at_.h ? std::min(at_.w, at_.boxes) - 1 : end;
    const auto weight = [this](int32_t x) { return cover_[x]; };
    count_values(row(y), 0, ramp, weight, counts_);
    if (ramp == end)
        return;
    count_values(
        row(y), ramp, end - ramp, [](int32_t) { return 1U; }, most_);
    count_values(row(y), end - ramp, end, weight, counts_);
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
    add_parts(counts_, 1, histogram);
    add_parts(most_, static_cast<uint32_t>(std::min(at_.w, at_.boxes) * at_.h), histogram);
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
    if (rules.w * rules.h <= narrow::AREA)
        return walk_boxes<narrow>(strip, rules, histogram, on_hits);
    return walk_boxes<wide>(strip, rules, histogram, on_hits);
}
