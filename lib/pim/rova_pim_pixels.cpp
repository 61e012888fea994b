// Rows are read several at a time, and the sums of their bytes kept side by side, of eight bytes or
// of fewer, until these are full or the last row is in: then they are added up, block by block.
#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <cstring>

#define ROVA_INLINE inline __attribute__((always_inline))

// A compiler that checks instructions before it inlines them makes do with those of any processor.
#if defined(__x86_64__) && !defined(__clang__)
#define ROVA_WIDE
#endif

namespace
{

constexpr std::size_t PANEL = 8192;      // bytes of a row that are summed side by side
constexpr std::size_t PAIR_ROWS = 128;   // rows whose pairs of bytes have sums of 16 bits
constexpr std::size_t COLUMN_ROWS = 256; // the same of single bytes
constexpr std::size_t CHUNK = 64;        // bytes of a line of the cache
constexpr std::size_t AHEAD = 8192;      // bytes between what is fetched and what is summed

// Of pairs of pixels.  The same pair's colours are not a power of two apart: the processor would
// take one's store for the other's.
struct rgb_lanes {
    uint16_t red[PANEL / 2 + CHUNK];
    uint16_t green[PANEL / 2 + CHUNK];
    uint16_t blue[PANEL / 2 + CHUNK];
};

// What the next pass reads in the same columns, into the second cache; of a single row what comes
// further on.
template <int ROWS> ROVA_INLINE void fetch(const uint8_t *at, std::size_t pitch)
{
    const std::size_t ahead = ROWS > 1 ? ROWS * pitch : AHEAD;
    for (int row = 0; row < ROWS; row++)
        __builtin_prefetch(at + static_cast<std::size_t>(row) * pitch + ahead, 0, 2);
}

template <int ROWS>
ROVA_INLINE void add_pairs_of(const uint8_t *__restrict at, std::size_t pitch, std::size_t pairs,
                              uint16_t *__restrict lanes)
{
    for (std::size_t i = 0; i < pairs; i++) {
        uint16_t sum = lanes[i];
        for (int row = 0; row < ROWS; row++) {
            uint16_t pair;
            std::memcpy(&pair, at + static_cast<std::size_t>(row) * pitch + 2 * i, sizeof(pair));
            sum = static_cast<uint16_t>(sum + (pair & 255) + (pair >> 8));
        }
        lanes[i] = sum;
    }
}

template <int ROWS>
ROVA_INLINE void add_pair_rows(const uint8_t *at, std::size_t pitch, std::size_t pairs,
                               uint16_t *lanes)
{
    std::size_t i = 0;
    for (; i + CHUNK / 2 <= pairs; i += CHUNK / 2) {
        fetch<ROWS>(at + 2 * i, pitch);
        add_pairs_of<ROWS>(at + 2 * i, pitch, CHUNK / 2, lanes + i);
    }
    add_pairs_of<ROWS>(at + 2 * i, pitch, pairs - i, lanes + i);
}

template <int ROWS>
ROVA_INLINE void add_columns_of(const uint8_t *__restrict at, std::size_t pitch,
                                std::size_t columns, uint16_t *__restrict lanes,
                                uint8_t *__restrict minima)
{
    for (std::size_t x = 0; x < columns; x++) {
        uint16_t sum = lanes[x];
        uint8_t least = minima[x];
        for (int row = 0; row < ROWS; row++) {
            const uint8_t value = at[static_cast<std::size_t>(row) * pitch + x];
            sum = static_cast<uint16_t>(sum + value);
            least = value < least ? value : least;
        }
        lanes[x] = sum;
        minima[x] = least;
    }
}

template <int ROWS>
ROVA_INLINE void add_column_rows(const uint8_t *at, std::size_t pitch, std::size_t columns,
                                 uint16_t *lanes, uint8_t *minima)
{
    std::size_t x = 0;
    for (; x + CHUNK <= columns; x += CHUNK) {
        fetch<ROWS>(at + x, pitch);
        add_columns_of<ROWS>(at + x, pitch, CHUNK, lanes + x, minima + x);
    }
    add_columns_of<ROWS>(at + x, pitch, columns - x, lanes + x, minima + x);
}

// The sum of eight bytes: of pairs first, then of all.
struct one_eight {
    using eights = uint64_t;

    static ROVA_INLINE void add_eights(eights &sums, const uint8_t *at)
    {
        constexpr uint64_t EVEN = 0x00ff00ff00ff00ff, ALL = 0x0001000100010001;
        uint64_t bytes;
        std::memcpy(&bytes, at, sizeof(bytes));
        sums += ((bytes & EVEN) + (bytes >> 8 & EVEN)) * ALL >> 48;
    }
};

// Pixels side by side, and the two operations that compilers do not find for themselves: the sums
// of each eight bytes, and a sum of two that is held in 16 bits.
struct narrow {
    using eights = uint64_t __attribute__((vector_size(16)));
    using type = int16_t __attribute__((vector_size(16)));
    using bits = uint16_t __attribute__((vector_size(16)));

    static ROVA_INLINE void add_eights(eights &sums, const uint8_t *at)
    {
#ifdef __x86_64__
        eights bytes;
        std::memcpy(&bytes, at, sizeof(bytes));
        asm("psadbw %1, %0" : "+x"(bytes) : "x"(eights{}));
        sums += bytes;
#else
        for (std::size_t i = 0; i < 2; i++) {
            uint64_t sum = sums[i];
            one_eight::add_eights(sum, at + 8 * i);
            sums[i] = sum;
        }
#endif
    }
    static ROVA_INLINE void add_held(type &sum, const type &value)
    {
#ifdef __x86_64__
        asm("paddsw %1, %0" : "+x"(sum) : "x"(value));
#else
        for (std::size_t i = 0; i < sizeof(type) / sizeof(int16_t); i++)
            sum[i] = static_cast<int16_t>(std::clamp(sum[i] + value[i], -0x8000, 0x7fff));
#endif
    }
};
#ifdef ROVA_WIDE
struct narrow_avx : narrow {
    static ROVA_INLINE void add_held(type &sum, const type &value)
    {
        asm("vpaddsw %1, %0, %0" : "+x"(sum) : "x"(value));
    }
};
struct wide_avx {
    using eights = uint64_t __attribute__((vector_size(32)));
    using type = int16_t __attribute__((vector_size(32)));
    using bits = uint16_t __attribute__((vector_size(32)));

    static ROVA_INLINE void add_eights(eights &sums, const uint8_t *at)
    {
        eights bytes;
        std::memcpy(&bytes, at, sizeof(bytes));
        asm("vpsadbw %1, %0, %0" : "+x"(bytes) : "x"(eights{}));
        sums += bytes;
    }
    static ROVA_INLINE void add_held(type &sum, const type &value)
    {
        asm("vpaddsw %1, %0, %0" : "+x"(sum) : "x"(value));
    }
};
#endif

// As many eights of ROWS rows as fill a VECTOR.
template <typename VECTOR, int ROWS>
ROVA_INLINE void add_eights_of(const uint8_t *at, std::size_t pitch, uint64_t *lanes)
{
    typename VECTOR::eights sums;
    std::memcpy(&sums, lanes, sizeof(sums));
    for (int row = 0; row < ROWS; row++)
        VECTOR::add_eights(sums, at + static_cast<std::size_t>(row) * pitch);
    std::memcpy(lanes, &sums, sizeof(sums));
}

template <typename VECTOR, int ROWS>
ROVA_INLINE void add_eight_rows(const uint8_t *at, std::size_t pitch, std::size_t eights,
                                uint64_t *lanes)
{
    constexpr std::size_t LINE = CHUNK / 8, COUNT = sizeof(typename VECTOR::eights) / 8;
    std::size_t i = 0;
    for (; i + LINE <= eights; i += LINE) {
        fetch<ROWS>(at + 8 * i, pitch);
        for (std::size_t k = i; k < i + LINE; k += COUNT)
            add_eights_of<VECTOR, ROWS>(at + 8 * k, pitch, lanes + k);
    }
    for (; i < eights; i++)
        add_eights_of<one_eight, ROWS>(at + 8 * i, pitch, lanes + i);
}

// Adds a colour of pairs of pixels: `light`, then `tint` so many times.  A sum above 0x7fff is as
// bright as can be, and one below 0 as dark.
template <typename VECTOR, int TIMES>
ROVA_INLINE void add_colour(const typename VECTOR::bits (&light)[2],
                            const typename VECTOR::bits &tint, uint16_t *lanes)
{
    typename VECTOR::bits sums;
    std::memcpy(&sums, lanes, sizeof(sums));
    for (const auto &pixels : light) {
        auto sum = reinterpret_cast<typename VECTOR::type>(pixels);
        for (int i = 0; i < TIMES; i++)
            VECTOR::add_held(sum, reinterpret_cast<typename VECTOR::type>(tint));
        sum = sum > 0 ? sum : typename VECTOR::type{};
        sums += reinterpret_cast<typename VECTOR::bits>(sum) >> 7;
    }
    std::memcpy(lanes, &sums, sizeof(sums));
}

// A factor that the compiler does not know: it would make shifts and sums of the product, which
// take longer.
ROVA_INLINE uint16_t factor(uint16_t value)
{
    asm("" : "+r"(value));
    return value;
}

// From pair `i` on, as many as fill a VECTOR; the pair behind the last.  As all factors are even,
// (C + n) >> 8 is (C / 2 + n / 2) >> 7, whose parts fit in 16 bits: of C / 2 = 149 Y - 2384 what
// makes them fit is moved from the one to the other.
template <typename VECTOR>
ROVA_INLINE std::size_t add_rgb_of(const uint8_t *luma, const uint8_t *chroma, std::size_t i,
                                   std::size_t pairs, rgb_lanes &lanes)
{
    using bits = typename VECTOR::bits;
    constexpr std::size_t COUNT = sizeof(bits) / sizeof(uint16_t);
    const bits f149 = bits{} + factor(149), f204 = bits{} + factor(204);
    const bits f104 = bits{} + factor(104), f50 = bits{} + factor(50), f129 = bits{} + factor(129);
    for (; i + COUNT <= pairs; i += COUNT) {
        bits y, c;
        __builtin_prefetch(luma + 2 * i + AHEAD);
        __builtin_prefetch(chroma + 2 * i + AHEAD);
        std::memcpy(&y, luma + 2 * i, sizeof(y));
        std::memcpy(&c, chroma + 2 * i, sizeof(c));
        const bits cb = c & 255, cr = c >> 8;
        const bits light[2] = {f149 * (y & 255) - 7216, f149 * (y >> 8) - 7216};
        add_colour<VECTOR, 1>(light, f204 * cr - 21216, lanes.red + i);
        add_colour<VECTOR, 1>(light, 24608 - f104 * cr - f50 * cb, lanes.green + i);
        add_colour<VECTOR, 2>(light, f129 * cb - 14064, lanes.blue + i);
    }
    return i;
}

ROVA_INLINE uint16_t clamped(int colour)
{
    return static_cast<uint16_t>(std::clamp(colour >> 8, 0, 255));
}

ROVA_INLINE void add_rgb_pixel(int luma, int cb, int cr, std::size_t i, rgb_lanes &lanes)
{
    const int c = 298 * luma - 4768;
    lanes.red[i] = static_cast<uint16_t>(lanes.red[i] + clamped(c + 408 * cr - 52096));
    lanes.green[i] =
        static_cast<uint16_t>(lanes.green[i] + clamped(c - 208 * cr - 100 * cb + 39552));
    lanes.blue[i] = static_cast<uint16_t>(lanes.blue[i] + clamped(c + 516 * cb - 65920));
}

ROVA_INLINE void add_rgb_last(const uint8_t *luma, const uint8_t *chroma, std::size_t i,
                              std::size_t pairs, rgb_lanes &lanes)
{
    for (; i < pairs; i++) {
        add_rgb_pixel(luma[2 * i], chroma[2 * i], chroma[2 * i + 1], i, lanes);
        add_rgb_pixel(luma[2 * i + 1], chroma[2 * i], chroma[2 * i + 1], i, lanes);
    }
}

// The inner loops, for the processor at hand.
struct kernels {
    void (*add_eights)(const rova_pim_rows &rows, std::size_t eights, uint64_t *lanes);
    void (*add_pairs)(const rova_pim_rows &rows, std::size_t pairs, uint16_t *lanes);
    void (*add_columns)(const rova_pim_rows &rows, std::size_t columns, uint16_t *lanes,
                        uint8_t *minima);
    void (*add_rgb)(const rova_pim_rows &luma, const rova_pim_rows &chroma, std::size_t pairs,
                    rgb_lanes &lanes);
};

template <typename VECTOR>
ROVA_INLINE void add_eights_inline(const rova_pim_rows &rows, std::size_t eights, uint64_t *lanes)
{
    std::size_t y = 0;
    for (; y + 8 <= rows.count; y += 8)
        add_eight_rows<VECTOR, 8>(rows.first + y * rows.pitch, rows.pitch, eights, lanes);
    for (; y < rows.count; y++)
        add_eight_rows<VECTOR, 1>(rows.first + y * rows.pitch, rows.pitch, eights, lanes);
}

ROVA_INLINE void add_pairs_inline(const rova_pim_rows &rows, std::size_t pairs, uint16_t *lanes)
{
    std::size_t y = 0;
    for (; y + 8 <= rows.count; y += 8)
        add_pair_rows<8>(rows.first + y * rows.pitch, rows.pitch, pairs, lanes);
    for (; y < rows.count; y++)
        add_pair_rows<1>(rows.first + y * rows.pitch, rows.pitch, pairs, lanes);
}

ROVA_INLINE void add_columns_inline(const rova_pim_rows &rows, std::size_t columns, uint16_t *lanes,
                                    uint8_t *minima)
{
    std::size_t y = 0;
    for (; y + 8 <= rows.count; y += 8)
        add_column_rows<8>(rows.first + y * rows.pitch, rows.pitch, columns, lanes, minima);
    for (; y < rows.count; y++)
        add_column_rows<1>(rows.first + y * rows.pitch, rows.pitch, columns, lanes, minima);
}

template <typename MANY, typename FEW>
ROVA_INLINE void add_rgb_inline(const rova_pim_rows &luma, const rova_pim_rows &chroma,
                                std::size_t pairs, rgb_lanes &lanes)
{
    for (std::size_t y = 0; y < luma.count; y++) {
        const uint8_t *luma_row = luma.first + y * luma.pitch;
        const uint8_t *chroma_row = chroma.first + y * chroma.pitch;
        std::size_t i = add_rgb_of<MANY>(luma_row, chroma_row, 0, pairs, lanes);
        i = add_rgb_of<FEW>(luma_row, chroma_row, i, pairs, lanes);
        add_rgb_last(luma_row, chroma_row, i, pairs, lanes);
    }
}

#define ROVA_KERNELS(name, attribute, many, few)                                                   \
    __attribute__(attribute) void add_eights_##name(const rova_pim_rows &rows, std::size_t eights, \
                                                    uint64_t *lanes)                               \
    {                                                                                              \
        add_eights_inline<many>(rows, eights, lanes);                                              \
    }                                                                                              \
    __attribute__(attribute) void add_pairs_##name(const rova_pim_rows &rows, std::size_t pairs,   \
                                                   uint16_t *lanes)                                \
    {                                                                                              \
        add_pairs_inline(rows, pairs, lanes);                                                      \
    }                                                                                              \
    __attribute__(attribute) void add_columns_##name(                                              \
        const rova_pim_rows &rows, std::size_t columns, uint16_t *lanes, uint8_t *minima)          \
    {                                                                                              \
        add_columns_inline(rows, columns, lanes, minima);                                          \
    }                                                                                              \
    __attribute__(attribute) void add_rgb_##name(const rova_pim_rows &luma,                        \
                                                 const rova_pim_rows &chroma, std::size_t pairs,   \
                                                 rgb_lanes &lanes)                                 \
    {                                                                                              \
        add_rgb_inline<many, few>(luma, chroma, pairs, lanes);                                     \
    }                                                                                              \
    constexpr kernels KERNELS_##name = {add_eights_##name, add_pairs_##name, add_columns_##name,   \
                                        add_rgb_##name};

ROVA_KERNELS(any, (), narrow, narrow)
#ifdef ROVA_WIDE
ROVA_KERNELS(wide, (target("avx2")), wide_avx, narrow_avx)
#endif

bool portable_only = false;

const kernels &kernels_here()
{
#ifdef ROVA_WIDE
    static const bool wide = __builtin_cpu_supports("avx2") != 0;
    if (wide && !portable_only)
        return KERNELS_wide;
#endif
    return KERNELS_any;
}

// Sums of words of four lanes.
void sum_words(const uint16_t *__restrict lanes, std::size_t words, uint32_t *__restrict sums)
{
    for (std::size_t i = 0; i < words; i++) {
        uint64_t word;
        std::memcpy(&word, lanes + 4 * i, sizeof(word));
        const uint64_t halves = (word & 0xffff0000ffff) + (word >> 16 & 0xffff0000ffff);
        sums[i] = static_cast<uint32_t>(halves + (halves >> 32));
    }
}

// Calls `add` with each block and the sum of its `width` values, `step` values behind the last
// block's.
template <typename VALUE, typename ADD>
ROVA_INLINE void add_values(const VALUE *__restrict values, std::size_t step, std::size_t width,
                            std::size_t blocks, const ADD &add)
{
    for (std::size_t block = 0; block < blocks; block++) {
        uint64_t sum = 0;
        for (std::size_t i = 0; i < width; i++)
            sum += values[block * step + i];
        add(block, sum);
    }
}

// Blocks side by side of one value or two are not worth a loop each.
template <typename VALUE, typename ADD>
ROVA_INLINE void add_blocks(const VALUE *values, std::size_t step, std::size_t width,
                            std::size_t blocks, const ADD &add)
{
    if (step == 1 && width == 1)
        return add_values(values, 1, 1, blocks, add);
    if (step == 2 && width == 2)
        return add_values(values, 2, 2, blocks, add);
    add_values(values, step, width, blocks, add);
}

template <typename ADD>
void add_lanes(const uint16_t *lanes, std::size_t step, std::size_t width, std::size_t blocks,
               const ADD &add)
{
    if ((step | width) % 4 != 0)
        return add_blocks(lanes, step, width, blocks, add);
    uint32_t sums[PANEL / 4];
    sum_words(lanes, ((blocks - 1) * step + width) / 4, sums);
    add_blocks(sums, step / 4, width / 4, blocks, add);
}

// Blocks side by side whose sums are kept at the same time, or a part of one block's width.
struct panel {
    std::size_t x, y;
    std::size_t rows;
    std::size_t step, width; // of the blocks
    std::size_t first, blocks;

    std::size_t across() const { return (blocks - 1) * step + width; }
    // Of the blocks from the panel's block `from` on.
    panel every_second(std::size_t from) const
    {
        return {x + from * step, y, rows, 2 * step, width, first + from, (blocks - from + 1) / 2};
    }
    // Of the one block's width.
    panel part(std::size_t from, std::size_t count) const
    {
        return {x + from, y, rows, step, count, first, blocks};
    }
    rova_pim_rows of(const rova_pim_rows &rows_of_all) const
    {
        return {rows_of_all.first + y * rows_of_all.pitch + x, rows_of_all.pitch, rows};
    }
};

// Blocks that lie far apart are summed one by one.
std::size_t blocks_together(std::size_t step, std::size_t width, std::size_t blocks)
{
    if (width > PANEL || step >= 2 * width)
        return 1;
    return step == 0 ? blocks : std::min(blocks, (PANEL - width) / step + 1);
}

template <typename VISIT>
void for_each_panel(std::size_t rows, std::size_t step, std::size_t width, std::size_t blocks,
                    const VISIT &visit)
{
    const std::size_t together = blocks_together(step, width, blocks);
    for (std::size_t y = 0; y < rows; y += PAIR_ROWS) {
        for (std::size_t first = 0; first < blocks; first += together) {
            for (std::size_t x = 0; x < width; x += PANEL)
                visit(panel{.x = first * step + x,
                            .y = y,
                            .rows = std::min(rows - y, PAIR_ROWS),
                            .step = together == 1 ? 0 : step,
                            .width = std::min(width - x, PANEL),
                            .first = first,
                            .blocks = std::min(blocks - first, together)});
        }
    }
}

// The panel's sums: of eights of bytes, of pairs where blocks begin or end in the middle of an
// eight, of bytes where they do so in the middle of a pair.
template <typename ADD> void sum_eights(const rova_pim_rows &rows, const panel &at, const ADD &add)
{
    uint64_t lanes[PANEL / 8];
    std::fill_n(lanes, at.across() / 8, uint64_t{0});
    kernels_here().add_eights(at.of(rows), at.across() / 8, lanes);
    add_blocks(lanes, at.step / 8, at.width / 8, at.blocks, add);
}

template <typename ADD> void sum_pairs(const rova_pim_rows &rows, const panel &at, const ADD &add)
{
    uint16_t lanes[PANEL / 2];
    std::fill_n(lanes, at.across() / 2, uint16_t{0});
    kernels_here().add_pairs(at.of(rows), at.across() / 2, lanes);
    add_lanes(lanes, at.step / 2, at.width / 2, at.blocks, add);
}

template <typename ADD> void sum_columns(const rova_pim_rows &rows, const panel &at, const ADD &add)
{
    uint16_t lanes[PANEL];
    uint8_t minima[PANEL] = {};
    std::fill_n(lanes, at.across(), uint16_t{0});
    kernels_here().add_columns(at.of(rows), at.across(), lanes, minima);
    add_lanes(lanes, at.step, at.width, at.blocks, add);
}

void sum_panel(const rova_pim_rows &rows, const panel &at, std::span<uint64_t> sums)
{
    const auto add = [first = sums.data() + at.first](std::size_t block, uint64_t sum) {
        first[block] += sum;
    };
    const std::size_t sizes = at.step | at.width;
    if (sizes % 8 == 0)
        return sum_eights(rows, at, add);
    if (at.blocks > 1 || at.width < 8)
        return sizes % 2 == 0 ? sum_pairs(rows, at, add) : sum_columns(rows, at, add);
    sum_panel(rows, at.part(0, at.width / 8 * 8), sums);
    sum_panel(rows, at.part(at.width / 8 * 8, at.width % 8), sums);
}

// The lanes of the panel's first block begin at `from`; its sum is the panel's first, the next
// block's `every` further on.
void add_colours(const rgb_lanes &lanes, std::size_t from, const panel &at, std::size_t every,
                 std::span<rova_pim_rgb_sums> sums)
{
    const auto add = [&](const uint16_t *colour, uint64_t rova_pim_rgb_sums::*to) {
        add_lanes(
            colour + from, at.step / 2, at.width / 2, at.blocks,
            [&](std::size_t block, uint64_t sum) { sums[at.first + block * every].*to += sum; });
    };
    add(lanes.red, &rova_pim_rgb_sums::red);
    add(lanes.green, &rova_pim_rgb_sums::green);
    add(lanes.blue, &rova_pim_rgb_sums::blue);
}

void clear(rgb_lanes &lanes, std::size_t pairs)
{
    for (uint16_t *colour : {lanes.red, lanes.green, lanes.blue})
        std::fill_n(colour, pairs, uint16_t{0});
}

void rgb_panel(const rova_pim_rows &luma, const rova_pim_rows &chroma, const panel &at,
               std::span<rova_pim_rgb_sums> sums)
{
    rgb_lanes lanes;
    clear(lanes, at.across() / 2);
    kernels_here().add_rgb(at.of(luma), at.of(chroma), at.across() / 2, lanes);
    add_colours(lanes, 0, at, 1, sums);
}

// Copies bytes, in place of those that are moved the one behind.
ROVA_INLINE void copy_moved_of(const uint8_t *__restrict at, const uint8_t *__restrict moved,
                               std::size_t count, uint8_t *__restrict out)
{
    for (std::size_t i = 0; i < count; i++) {
        const uint8_t here = at[i], next = at[i + 1];
        out[i] = moved[i] != 0 ? next : here;
    }
}

void copy_moved(const uint8_t *at, const uint8_t *moved, std::size_t count, uint8_t *out)
{
    std::size_t i = 0;
    for (; i + CHUNK < count; i += CHUNK) {
        __builtin_prefetch(at + i + AHEAD);
        copy_moved_of(at + i, moved + i, CHUNK, out + i);
    }
    for (; i < count; i++)
        out[i] = at[i + moved[i]];
}

// Every second block, the first one if `odd` is 1 and not 0, begins with the second pixel of a
// pair. Moved a byte to the left, where no other block is, its pixels lie over their chroma as
// those of the others do.
void rgb_panel_of_odd_steps(const rova_pim_rows &luma, const rova_pim_rows &chroma, std::size_t odd,
                            const panel &at, std::span<rova_pim_rgb_sums> sums)
{
    const auto start = [&](std::size_t block) { return odd + block * at.step; };
    const std::size_t across = start(at.blocks - 1) / 2 * 2 + at.width;
    const rova_pim_rows pixels = at.of(luma), colours = at.of(chroma);
    uint8_t moved[PANEL] = {}, row[PANEL];
    rgb_lanes lanes;
    clear(lanes, across / 2);
    for (std::size_t block = 1 - odd; block < at.blocks; block += 2)
        std::fill_n(moved + start(block) - 1, at.width, uint8_t{1});
    for (std::size_t y = 0; y < at.rows; y++) {
        copy_moved(pixels.first + y * pixels.pitch - odd, moved, across, row);
        kernels_here().add_rgb({row, 0, 1}, {colours.first + y * colours.pitch - odd, 0, 1},
                               across / 2, lanes);
    }
    for (std::size_t from = 0; from < std::min(at.blocks, std::size_t{2}); from++)
        add_colours(lanes, start(from) / 2, at.every_second(from), 2, sums);
}

} // namespace

void rova_pim_pixels_set_portable(bool portable)
{
    portable_only = portable;
}

// As rows, several of which are read at the same time, and one of what does not fill these.
uint64_t rova_pim_sum_bytes(std::span<const uint8_t> bytes)
{
    constexpr std::size_t ROW = 1024, ROWS = 8;
    const std::size_t count = bytes.size() / ROW / ROWS * ROWS;
    uint64_t sum = 0, rest = 0;
    rova_pim_sum_blocks({bytes.data(), ROW, count}, 0, ROW, {&sum, 1});
    rova_pim_sum_blocks({bytes.data() + count * ROW, 0, 1}, 0, bytes.size() - count * ROW,
                        {&rest, 1});
    return sum + rest;
}

void rova_pim_sum_blocks(const rova_pim_rows &rows, std::size_t step, std::size_t width,
                         std::span<uint64_t> sums)
{
    std::ranges::fill(sums, 0);
    for_each_panel(rows.count, step, width, sums.size(),
                   [&](const panel &at) { sum_panel(rows, at, sums); });
}

void rova_pim_column_stats(const rova_pim_rows &rows, std::span<uint64_t> sums,
                           std::span<uint8_t> minima)
{
    std::ranges::fill(sums, 0);
    std::ranges::fill(minima, uint8_t{255});
    for (std::size_t y = 0; y < rows.count; y += COLUMN_ROWS) {
        for (std::size_t x = 0; x < sums.size(); x += PANEL) {
            uint16_t lanes[PANEL] = {};
            const std::size_t columns = std::min(sums.size() - x, PANEL);
            const std::size_t count = std::min(rows.count - y, COLUMN_ROWS);
            kernels_here().add_columns({rows.first + y * rows.pitch + x, rows.pitch, count},
                                       columns, lanes, minima.data() + x);
            for (std::size_t i = 0; i < columns; i++)
                sums[x + i] += lanes[i];
        }
    }
}

void rova_pim_add_rgb(const uint8_t *luma, const uint8_t *chroma, std::size_t pairs,
                      rova_pim_rgb_sums &sums)
{
    rova_pim_add_rgb_blocks({luma, 0, 1}, {chroma, 0, 1}, 0, 0, pairs, {&sums, 1});
}

void rova_pim_add_rgb_blocks(const rova_pim_rows &luma, const rova_pim_rows &chroma,
                             std::size_t column, std::size_t step, std::size_t pairs,
                             std::span<rova_pim_rgb_sums> sums)
{
    for_each_panel(luma.count, step, 2 * pairs, sums.size(), [&](panel at) {
        at.x += column;
        if (at.step % 2 != 0)
            return rgb_panel_of_odd_steps(luma, chroma, at.x % 2, at, sums);
        rgb_panel(luma, {chroma.first - at.x % 2, chroma.pitch, chroma.count}, at, sums);
    });
}
