// Small boxes are counted in narrow numbers, of which more fit into a step of the processor's, and
// all loops run over whole steps: what they find behind the last box is of no meaning.
#include "lib/pim/mot/rova_pim_box_rows.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#define ROVA_INLINE inline __attribute__((always_inline))

// A compiler that checks instructions before it inlines them makes do with those of any processor.
#if defined(__x86_64__) && !defined(__clang__)
#define ROVA_WIDE
#endif

namespace
{

constexpr std::ptrdiff_t AHEAD = 4096; // bytes between what is fetched and what is summed

using limits = rova_pim_box_limits;
template <typename N> using row_of = rova_pim_box_row<N>;
template <typename N> constexpr bool IS_NARROW = std::is_same_v<N, rova_pim_narrow_sums>;

// The compiler sees that it needs no loop for what is left over.
ROVA_INLINE std::size_t whole_steps(int32_t n)
{
    return (static_cast<std::size_t>(n) + PIM_BOX_LANES - 1) / PIM_BOX_LANES * PIM_BOX_LANES;
}

ROVA_INLINE uint8_t in_range(uint8_t value, uint8_t min, uint8_t max)
{
    return (value >= min) & (value <= max);
}

template <typename N>
ROVA_INLINE void add_row(const limits &at, const uint8_t *__restrict row,
                         typename N::sum *__restrict column, typename N::count *__restrict counts)
{
    const uint8_t min = at.min, max = at.max;
    const std::size_t n = whole_steps(at.columns);
    for (std::size_t x = 0; x < n; x++)
        column[x] = static_cast<typename N::sum>(column[x] + row[x]);
    for (std::size_t x = 0; x < n; x++)
        counts[x] = static_cast<typename N::count>(counts[x] + in_range(row[x], min, max));
}

template <typename N>
ROVA_INLINE void move_row(const limits &at, const uint8_t *__restrict gone,
                          const uint8_t *__restrict come, typename N::sum *__restrict column,
                          typename N::count *__restrict counts)
{
    const uint8_t min = at.min, max = at.max;
    const std::size_t n = whole_steps(at.columns);
    for (std::size_t x = 0; x < n; x++)
        column[x] = static_cast<typename N::sum>(column[x] + come[x] - gone[x]);
    for (std::size_t x = 0; x < n; x++)
        counts[x] = static_cast<typename N::count>(counts[x] + in_range(come[x], min, max) -
                                                   in_range(gone[x], min, max));
}

template <typename T, int COUNT>
ROVA_INLINE void add_apart(const T *__restrict in, int32_t apart, int32_t n, T *__restrict out,
                           bool first)
{
    const std::size_t end = whole_steps(n);
    for (std::size_t x = 0; x < end; x++) {
        T sum = first ? T{0} : out[x];
        for (int k = 0; k < COUNT; k++)
            sum = static_cast<T>(sum + in[x + static_cast<std::size_t>(k * apart)]);
        out[x] = sum;
    }
}

// out[x] = in[x] + ... + in[x + width - 1] for x below n, the width's digits to the base 4 one
// after the other.
template <typename T> struct windows {
    const T *in; // sums of `apart` values each
    T *const (&scratch)[2];
    T *out;
    int32_t n;
    int32_t width; // left over, in units of `apart`
    int32_t apart = 1;
    int32_t done = 0;
    int turn = 0;

    ROVA_INLINE void add_digit()
    {
        const int32_t digit = width % 4;
        if (digit == 1)
            add_apart<T, 1>(in + done, apart, n, out, done == 0);
        else if (digit == 2)
            add_apart<T, 2>(in + done, apart, n, out, done == 0);
        else if (digit == 3)
            add_apart<T, 3>(in + done, apart, n, out, done == 0);
        done += digit * apart;
        width /= 4;
        if (width == 0)
            return;
        // As many as the digits to come will read.
        add_apart<T, 4>(in, apart, n + done + (width - 1) * 4 * apart, scratch[turn], true);
        in = scratch[turn];
        turn ^= 1;
        apart *= 4;
    }
};

template <typename T>
ROVA_INLINE void sum_windows(const T *in, int32_t n, int32_t width, T *out, T *const (&scratch)[2])
{
    windows<T> sums = {in, scratch, out, n, width};
    while (sums.width > 0)
        sums.add_digit();
}

// A step's narrow numbers side by side, and what compilers do not find for themselves: words of
// bytes, and the low bytes of words.
struct any_step {
    using bytes = uint8_t __attribute__((vector_size(16)));
    using half = uint8_t __attribute__((vector_size(8)));
    using words = uint16_t __attribute__((vector_size(16)));

    static ROVA_INLINE void widen(const uint8_t *from, words &out)
    {
        half bytes_here;
        std::memcpy(&bytes_here, from, sizeof(bytes_here));
        out = __builtin_convertvector(bytes_here, words);
    }
    static ROVA_INLINE void low_bytes(const words &one, const words &other, bytes &out)
    {
        out = __builtin_shufflevector((bytes)one, (bytes)other, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18,
                                      20, 22, 24, 26, 28, 30);
    }
};
#ifdef ROVA_WIDE
struct avx2_step {
    using bytes = uint8_t __attribute__((vector_size(32)));
    using words = uint16_t __attribute__((vector_size(32)));

    static ROVA_INLINE void widen(const uint8_t *from, words &out)
    {
        asm("vpmovzxbw %1, %0" : "=x"(out) : "m"(*reinterpret_cast<const any_step::bytes *>(from)));
    }
    static ROVA_INLINE void low_bytes(const words &one, const words &other, bytes &out)
    {
        out = __builtin_shufflevector((bytes)one, (bytes)other, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18,
                                      20, 22, 24, 26, 28, 30, 32, 34, 36, 38, 40, 42, 44, 46, 48,
                                      50, 52, 54, 56, 58, 60, 62);
    }
};
#endif

template <typename VECTOR, typename T> ROVA_INLINE void load(const T *from, VECTOR &vector)
{
    std::memcpy(&vector, from, sizeof(vector));
}
template <typename VECTOR, typename T> ROVA_INLINE void store(const VECTOR &vector, T *to)
{
    std::memcpy(to, &vector, sizeof(vector));
}

template <typename VECTOR> ROVA_INLINE bool is_any(const VECTOR &vector)
{
    uint64_t parts[sizeof(vector) / sizeof(uint64_t)], all = 0;
    std::memcpy(parts, &vector, sizeof(vector));
    for (const uint64_t part : parts)
        all |= part;
    return all != 0;
}

// Adds what is in range to the counts: a comparison's -1 is taken off.
template <typename STEP>
ROVA_INLINE void take_in_range(const limits &at, const uint8_t *values, typename STEP::bytes &from)
{
    typename STEP::bytes value;
    load(values, value);
    from -= (typename STEP::bytes)(value - at.min <= static_cast<uint8_t>(at.max - at.min));
}

template <typename STEP>
ROVA_INLINE void move_narrow(const limits at, const uint8_t *gone, const uint8_t *come,
                             uint16_t *column, uint8_t *counts)
{
    using words = typename STEP::words;
    constexpr std::size_t SIZE = sizeof(words);
    const std::size_t n = whole_steps(at.columns);
    for (std::size_t x = 0; x < n; x += SIZE) {
        __builtin_prefetch(come + x + AHEAD);
        for (std::size_t i = x; i < x + SIZE; i += SIZE / 2) {
            words sums, more, less;
            load(column + i, sums);
            STEP::widen(come + i, more);
            STEP::widen(gone + i, less);
            store(sums + more - less, column + i);
        }
        typename STEP::bytes count, less = {};
        load(counts + x, count);
        take_in_range<STEP>(at, come + x, count);
        take_in_range<STEP>(at, gone + x, less);
        store(count - less, counts + x);
    }
}

template <typename STEP>
ROVA_INLINE void are_in_range(const limits &at, const uint16_t *box, typename STEP::words &out)
{
    typename STEP::words sums;
    load(box, sums);
    out = (typename STEP::words)(sums - static_cast<uint16_t>(at.min_sum) <=
                                 static_cast<uint16_t>(at.max_sum - at.min_sum));
}

template <typename STEP>
ROVA_INLINE rova_pim_row_found judge_narrow(const limits at, const row_of<rova_pim_narrow_sums> row)
{
    using bytes = typename STEP::bytes;
    constexpr std::size_t SIZE = sizeof(bytes);
    const auto count = static_cast<uint8_t>(at.count);
    bytes some_hit = {}, some_miss = {}, blank = {};
    const std::size_t n = whole_steps(at.boxes);
    for (std::size_t x = 0; x < n; x += SIZE) {
        typename STEP::words one, other;
        bytes hits, counts, is_box;
        are_in_range<STEP>(at, row.box + x, one);
        are_in_range<STEP>(at, row.box + x + SIZE / 2, other);
        STEP::low_bytes(one, other, hits);
        load(row.box_in_range + x, counts);
        load(row.is_box + x, is_box);
        hits &= (bytes)(counts >= count) & is_box;
        store(hits, row.hit + x);
        some_hit |= hits;
        some_miss |= hits ^ is_box;
        blank |= (bytes)(counts == 0) & is_box;
    }
    return {is_any(some_hit), !is_any(some_miss), is_any(blank)};
}

template <typename N> ROVA_INLINE rova_pim_row_found judge(const limits &at, const row_of<N> &row)
{
    const uint8_t *__restrict is_box = row.is_box;
    uint8_t *__restrict hit = row.hit;
    const std::size_t n = whole_steps(at.boxes);
    uint8_t some_hit = 0, some_miss = 0, blank = 0;
    for (std::size_t x = 0; x < n; x++) {
        const bool hits = (row.box[x] >= at.min_sum) & (row.box[x] <= at.max_sum) &
                          (row.box_in_range[x] >= at.count);
        hit[x] = hits ? is_box[x] : 0;
        some_hit |= hit[x];
        some_miss |= hit[x] ^ is_box[x];
        blank |= row.box_in_range[x] == 0 ? is_box[x] : 0;
    }
    return {some_hit != 0, some_miss == 0, blank != 0};
}

template <typename STEP, typename N>
ROVA_INLINE rova_pim_row_found visit_inline(const limits &at, const uint8_t *gone,
                                            const uint8_t *come, const row_of<N> &row)
{
    windows<typename N::sum> sums = {row.column, row.sum_scratch, row.box, at.boxes, at.w};
    windows<typename N::count> counts = {row.column_in_range, row.count_scratch, row.box_in_range,
                                         at.boxes, at.w};
    sums.add_digit();
    counts.add_digit();
    // From here on only scratch is read, and the columns may go on.
    if (come != nullptr) {
        if constexpr (IS_NARROW<N>)
            move_narrow<STEP>(at, gone, come, row.column, row.column_in_range);
        else
            move_row<N>(at, gone, come, row.column, row.column_in_range);
    }
    while (sums.width > 0) {
        sums.add_digit();
        counts.add_digit();
    }
    if constexpr (IS_NARROW<N>)
        return judge_narrow<STEP>(at, row);
    else
        return judge<N>(at, row);
}

template <typename N>
ROVA_INLINE void start_inline(const limits &at, const uint8_t *rows, const row_of<N> &out)
{
    std::fill_n(out.column, whole_steps(at.columns), typename N::sum{0});
    std::fill_n(out.column_in_range, whole_steps(at.columns), typename N::count{0});
    for (int32_t y = 0; y < at.h; y++)
        add_row<N>(at, rows + std::ptrdiff_t{y} * at.columns, out.column, out.column_in_range);
}

template <typename T>
ROVA_INLINE void add_inline(const T *__restrict row, int32_t n, T times, T *__restrict out)
{
    const std::size_t end = whole_steps(n);
    for (std::size_t x = 0; x < end; x++)
        out[x] = static_cast<T>(out[x] + times * row[x]);
}

#define ROVA_KERNELS(name, attribute, STEP)                                                        \
    template <typename N>                                                                          \
    __attribute__(attribute) void start_##name(const limits &at, const uint8_t *rows,              \
                                               const row_of<N> &out)                               \
    {                                                                                              \
        start_inline(at, rows, out);                                                               \
    }                                                                                              \
    template <typename N>                                                                          \
    __attribute__(attribute) rova_pim_row_found visit_##name(                                      \
        const limits &at, const uint8_t *gone, const uint8_t *come, const row_of<N> &out)          \
    {                                                                                              \
        return visit_inline<STEP, N>(at, gone, come, out);                                         \
    }                                                                                              \
    template <typename T>                                                                          \
    __attribute__(attribute) void windows_##name(const T *in, int32_t n, int32_t width, T *out,    \
                                                 T *const(&scratch)[2])                            \
    {                                                                                              \
        sum_windows(in, n, width, out, scratch);                                                   \
    }                                                                                              \
    template <typename T>                                                                          \
    __attribute__(attribute) void add_##name(const T *row, int32_t n, T times, T *out)             \
    {                                                                                              \
        add_inline(row, n, times, out);                                                            \
    }                                                                                              \
    template <typename N>                                                                          \
    constexpr rova_pim_box_kernels<N> KERNELS_##name = {start_##name<N>, visit_##name<N>,          \
                                                        windows_##name<typename N::count>,         \
                                                        add_##name<typename N::count>};

ROVA_KERNELS(any, (), any_step)
#ifdef ROVA_WIDE
ROVA_KERNELS(avx2, (target("avx2")), avx2_step)
#endif

} // namespace

template <typename N>
const rova_pim_box_kernels<N> &rova_pim_box_kernels_here([[maybe_unused]] bool portable)
{
#ifdef ROVA_WIDE
    static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
    if (has_avx2 && !portable)
        return KERNELS_avx2<N>;
#endif
    return KERNELS_any<N>;
}

template const rova_pim_box_kernels<rova_pim_narrow_sums> &rova_pim_box_kernels_here(bool portable);
template const rova_pim_box_kernels<rova_pim_wide_sums> &rova_pim_box_kernels_here(bool portable);
