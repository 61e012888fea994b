// Sums of columns slide down, sums of boxes are made of them, and a value counts in the histogram
// as often as boxes cover it: each value is looked at a few times, whatever the size of the box.
#include "lib/pim/rova_pim_boxes.h"

#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#define ROVA_INLINE inline __attribute__((always_inline))

namespace
{

constexpr int32_t BRIGHTEST = 255;
constexpr int32_t NARROW_AREA = 256;                 // values whose sum fits in 16 bits
constexpr int64_t WIDE_AREA = INT32_MAX / BRIGHTEST; // and in 32
constexpr std::size_t PARTS = 4; // of the histogram: equal neighbours need not wait for each other

// Arrays of the strip's width and a box's, T wide enough for a box's sum.
template <typename T> struct row_sums {
    T *column; // sums of the box's height
    T *column_in_range;
    T *box; // sums of whole boxes
    T *box_in_range;
    T *scratch[2];
    uint8_t *in_range; // 1 where a box has values in range
    uint8_t *hit;
    T *visited; // 1 where a box was visited, behind a box's width of zeros
    T *full;    // how many boxes cover each column where all are visited
    T *cover;   // how many cover each value of the row in hand
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

template <typename T>
ROVA_INLINE void add_row(const limits &at, const uint8_t *__restrict row, T *__restrict column,
                         T *__restrict in_range)
{
    for (int32_t x = 0; x < at.columns; x++) {
        column[x] = static_cast<T>(column[x] + row[x]);
        in_range[x] = static_cast<T>(in_range[x] + ((row[x] >= at.min) & (row[x] <= at.max)));
    }
}

template <typename T>
ROVA_INLINE void move_row(const limits &at, const uint8_t *__restrict gone,
                          const uint8_t *__restrict come, T *__restrict column,
                          T *__restrict in_range)
{
    for (int32_t x = 0; x < at.columns; x++) {
        column[x] = static_cast<T>(column[x] + come[x] - gone[x]);
        const int before = (gone[x] >= at.min) & (gone[x] <= at.max);
        const int now = (come[x] >= at.min) & (come[x] <= at.max);
        in_range[x] = static_cast<T>(in_range[x] + now - before);
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

template <typename T>
ROVA_INLINE void judge(const limits &at, const T *__restrict box, const T *__restrict box_in_range,
                       uint8_t *__restrict in_range, uint8_t *__restrict hit)
{
    const T min = static_cast<T>(at.min_sum), max = static_cast<T>(at.max_sum);
    const T count = static_cast<T>(at.count);
    for (int32_t x = 0; x < at.boxes; x++) {
        in_range[x] = box_in_range[x] != 0;
        hit[x] = (box[x] >= min) & (box[x] <= max) & (box_in_range[x] >= count);
    }
}

template <typename T> ROVA_INLINE void judge_boxes(const limits &at, const row_sums<T> &sums)
{
    sum_windows(sums.column, at.boxes, at.w, sums.box, sums.scratch);
    sum_windows(sums.column_in_range, at.boxes, at.w, sums.box_in_range, sums.scratch);
    judge(at, sums.box, sums.box_in_range, sums.in_range, sums.hit);
}

// The walk's inner loops, for the processor at hand.
template <typename T> struct kernels {
    void (*start)(const limits &at, const uint8_t *rows, const row_sums<T> &sums);
    void (*slide)(const limits &at, const uint8_t *gone, const uint8_t *come,
                  const row_sums<T> &sums);
    void (*windows)(const T *in, int32_t n, int32_t width, T *out, T *const (&scratch)[2]);
    void (*change)(T *cover, const T *row, int32_t n, bool add);
};

template <typename T>
ROVA_INLINE void start_inline(const limits &at, const uint8_t *rows, const row_sums<T> &sums)
{
    std::fill_n(sums.column, at.columns, T{0});
    std::fill_n(sums.column_in_range, at.columns, T{0});
    for (int32_t y = 0; y < at.h; y++)
        add_row(at, rows + std::ptrdiff_t{y} * at.columns, sums.column, sums.column_in_range);
    judge_boxes(at, sums);
}

template <typename T>
ROVA_INLINE void slide_inline(const limits &at, const uint8_t *gone, const uint8_t *come,
                              const row_sums<T> &sums)
{
    move_row(at, gone, come, sums.column, sums.column_in_range);
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

#define ROVA_KERNELS(name, attribute)                                                              \
    template <typename T>                                                                          \
    __attribute__(attribute) void start_##name(const limits &at, const uint8_t *rows,              \
                                               const row_sums<T> &sums)                            \
    {                                                                                              \
        start_inline(at, rows, sums);                                                              \
    }                                                                                              \
    template <typename T>                                                                          \
    __attribute__(attribute) void slide_##name(const limits &at, const uint8_t *gone,              \
                                               const uint8_t *come, const row_sums<T> &sums)       \
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
    template <typename T>                                                                          \
    constexpr kernels<T> KERNELS_##name = {start_##name<T>, slide_##name<T>, windows_##name<T>,    \
                                           change_##name<T>};

ROVA_KERNELS(any, ())
#ifdef __x86_64__
ROVA_KERNELS(wide, (target("avx2")))
#endif

template <typename T> const kernels<T> &kernels_here([[maybe_unused]] bool portable)
{
#ifdef __x86_64__
    static const bool wide = __builtin_cpu_supports("avx2") != 0;
    if (wide && !portable)
        return KERNELS_wide<T>;
#endif
    return KERNELS_any<T>;
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

// The first of the flags from .. to - 1 that is so; `to` if none is.
int32_t find_flag(const uint8_t *flags, int32_t from, int32_t to, int flag)
{
    const void *found = std::memchr(flags + from, flag, static_cast<std::size_t>(to - from));
    return found == nullptr ? to
                            : static_cast<int32_t>(static_cast<const uint8_t *>(found) - flags);
}

template <typename T> class Walk
{
public:
    Walk(const rova_pim_strip &strip, const rova_pim_box_rules &rules,
         const rova_pim_hit_function &on_hits)
        : strip_(strip), rules_(rules), on_hits_(on_hits), at_(limits_of(strip, rules)),
          run_(kernels_here<T>(rules.portable))
    {
    }
    bool prepare();
    void walk();
    void add_to(rova_pim_histogram &histogram) const;

private:
    int32_t walk_block(int32_t first);
    bool visit_row(int32_t y);
    bool visit(int32_t from, int32_t to, int32_t y);
    void trace(int32_t from, int32_t to) const;
    void cover_row(int32_t y, bool all);
    void count_row(int32_t y, int32_t first, int32_t last);

    const uint8_t *row(int32_t y) const
    {
        return strip_.pixels.data() + std::ptrdiff_t{y} * strip_.w;
    }
    // How many of the boxes of a visited row cover each column; kept for a box's height.
    T *covered(int32_t y) const { return ring_ + std::ptrdiff_t{y % rules_.h} * strip_.w; }

    const rova_pim_strip &strip_;
    const rova_pim_box_rules &rules_;
    const rova_pim_hit_function &on_hits_;
    limits at_;
    const kernels<T> &run_;
    std::unique_ptr<void, decltype(&std::free)> numbers_{nullptr, std::free};
    row_sums<T> sums_ = {};
    T *ring_ = nullptr;
    uint32_t parts_[PARTS][256] = {};
};

template <typename T> bool Walk<T>::prepare()
{
    constexpr std::size_t ARRAYS = 9; // of row_sums
    const auto w = static_cast<std::size_t>(strip_.w), room = w + static_cast<std::size_t>(at_.w);
    const std::size_t all = ARRAYS * room + w * static_cast<std::size_t>(at_.h);
    numbers_.reset(std::malloc(all * sizeof(T) + 2 * w));
    if (!numbers_)
        return false;
    T *next = static_cast<T *>(numbers_.get());
    std::fill_n(next, all, T{0});
    for (T **array :
         {&sums_.column, &sums_.column_in_range, &sums_.box, &sums_.box_in_range, &sums_.scratch[0],
          &sums_.scratch[1], &sums_.visited, &sums_.full, &sums_.cover}) {
        *array = next;
        next += room;
    }
    ring_ = next;
    sums_.in_range = reinterpret_cast<uint8_t *>(next + w * static_cast<std::size_t>(at_.h));
    sums_.hit = sums_.in_range + w;
    for (int32_t x = 0; x < strip_.w; x++)
        sums_.full[x] = static_cast<T>(std::min({x + 1, at_.w, at_.boxes, strip_.w - 1 - x}));
    return true;
}

template <typename T> void Walk<T>::walk()
{
    for (int32_t y = 0; y < strip_.h - at_.h;)
        y = walk_block(y);
}

// The rows from `first` on that follow each other; returns the row to go on with.
template <typename T> int32_t Walk<T>::walk_block(int32_t first)
{
    run_.start(at_, row(first), sums_);
    int32_t y = first;
    while (visit_row(y) && y + 1 < strip_.h - at_.h) {
        count_row(y, first, y);
        run_.slide(at_, row(y), row(y + at_.h), sums_);
        y++;
    }
    for (int32_t k = 0; k < at_.h; k++)
        count_row(y + k, first, y);
    return y + at_.h;
}

// True when the row below it is next.
template <typename T> bool Walk<T>::visit_row(int32_t y)
{
    bool hit = false;
    int32_t last = 0, visited = 0;
    std::fill_n(sums_.visited + at_.w, at_.boxes, T{0});
    for (int32_t x = 0; x < at_.boxes; x = last + at_.w) {
        const int32_t blank = find_flag(sums_.in_range, x, at_.boxes, 0);
        const int32_t end = std::min(blank + 1, at_.boxes);
        hit = visit(x, end, y) || hit;
        visited += end - x;
        last = end - 1;
        if (blank == at_.boxes)
            break;
    }
    cover_row(y, visited == at_.boxes);
    return rules_.step == rova_pim_row_step::AFTER_HIT ? hit : sums_.in_range[last] != 0;
}

// The boxes from .. to - 1 of the row; true when there was a hit.
template <typename T> bool Walk<T>::visit(int32_t from, int32_t to, int32_t y)
{
    bool any = false;
    if (rules_.trace)
        trace(from, to);
    std::fill(sums_.visited + at_.w + from, sums_.visited + at_.w + to, T{1});
    for (int32_t x = find_flag(sums_.hit, from, to, 1); x < to;) {
        const int32_t behind = find_flag(sums_.hit, x, to, 0);
        on_hits_({x, behind, y});
        any = true;
        x = find_flag(sums_.hit, behind, to, 1);
    }
    return any;
}

template <typename T> void Walk<T>::trace(int32_t from, int32_t to) const
{
    for (int32_t x = from; x < to; x++)
        rova_pim_debug(" pA = %d pCnt = %d \n",
                       static_cast<int32_t>(sums_.box[x]) / (at_.w * at_.h),
                       static_cast<int32_t>(sums_.box_in_range[x]));
}

template <typename T> void Walk<T>::cover_row(int32_t y, bool all)
{
    const T *boxes = sums_.full;
    if (!all) {
        // The last column is in no box.
        run_.windows(sums_.visited + 1, strip_.w - 1, at_.w, sums_.box, sums_.scratch);
        boxes = sums_.box;
    }
    std::copy_n(boxes, strip_.w - 1, covered(y));
    run_.change(sums_.cover, boxes, strip_.w - 1, true);
}

// A row of values that no box of a row below `last` will cover; `first` begins the block.
template <typename T> void Walk<T>::count_row(int32_t y, int32_t first, int32_t last)
{
    const uint8_t *values = row(y);
    const T *cover = sums_.cover;
    int32_t x = 0;
    for (; x + static_cast<int32_t>(PARTS) < strip_.w; x += static_cast<int32_t>(PARTS)) {
        for (std::size_t k = 0; k < PARTS; k++)
            parts_[k][values[static_cast<std::size_t>(x) + k]] +=
                cover[static_cast<std::size_t>(x) + k];
    }
    for (; x < strip_.w - 1; x++)
        parts_[0][values[x]] += cover[x];
    const int32_t gone = y - at_.h + 1;
    if (gone >= first && gone <= last)
        run_.change(sums_.cover, covered(gone), strip_.w - 1, false);
}

template <typename T> void Walk<T>::add_to(rova_pim_histogram &histogram) const
{
    for (const auto &part : parts_) {
        for (std::size_t value = 0; value < std::size(part); value++)
            histogram.counts[value] += part[value];
    }
}

template <typename T>
int walk_boxes(const rova_pim_strip &strip, const rova_pim_box_rules &rules,
               rova_pim_histogram &histogram, const rova_pim_hit_function &on_hits)
{
    Walk<T> walk(strip, rules, on_hits);
    if (!walk.prepare()) {
        rova_pim_report("no memory for boxes of %d x %d in %d x %d\n", rules.w, rules.h, strip.w,
                        strip.h);
        return -1;
    }
    walk.walk();
    walk.add_to(histogram);
    return 0;
}

} // namespace

int rova_pim_walk_boxes(const rova_pim_strip &strip, const rova_pim_box_rules &rules,
                        rova_pim_histogram &histogram, const rova_pim_hit_function &on_hits)
{
    if (rules.w <= 0 || rules.h <= 0 || rules.w >= strip.w || rules.h >= strip.h)
        return 0;
    if (int64_t{rules.w} * rules.h > WIDE_AREA) {
        rova_pim_report("no sums of boxes of %d x %d\n", rules.w, rules.h);
        return -1;
    }
    if (rules.w * rules.h <= NARROW_AREA)
        return walk_boxes<uint16_t>(strip, rules, histogram, on_hits);
    return walk_boxes<uint32_t>(strip, rules, histogram, on_hits);
}
