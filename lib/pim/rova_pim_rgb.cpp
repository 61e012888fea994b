// Colours of pairs of pixels, whose sums are kept in 16 bits side by side, until these are full or
// the last row is in: then they are added up, block by block.
#include "lib/pim/rova_pim_lanes.h"

namespace
{

using namespace rova_pim_lanes;

// Of pairs of pixels.  The same pair's colours are not a power of two apart: the processor would
// take one's store for the other's.
struct rgb_lanes {
    uint16_t red[PANEL / 2 + CHUNK];
    uint16_t green[PANEL / 2 + CHUNK];
    uint16_t blue[PANEL / 2 + CHUNK];
};

// Pixels side by side, and a sum of two that is held in 16 bits: the one operation that compilers
// do not find for themselves.
struct narrow {
    using type = int16_t __attribute__((vector_size(16)));
    using bits = uint16_t __attribute__((vector_size(16)));

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
    using type = int16_t __attribute__((vector_size(32)));
    using bits = uint16_t __attribute__((vector_size(32)));

    static ROVA_INLINE void add_held(type &sum, const type &value)
    {
        asm("vpaddsw %1, %0, %0" : "+x"(sum) : "x"(value));
    }
};
#endif

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

#define ROVA_KERNEL(name, attribute, many, few)                                                    \
    __attribute__(attribute) void add_rgb_##name(const rova_pim_rows &luma,                        \
                                                 const rova_pim_rows &chroma, std::size_t pairs,   \
                                                 rgb_lanes &lanes)                                 \
    {                                                                                              \
        add_rgb_inline<many, few>(luma, chroma, pairs, lanes);                                     \
    }

ROVA_KERNEL(any, (), narrow, narrow)
#ifdef ROVA_WIDE
ROVA_KERNEL(wide, (target("avx2")), wide_avx, narrow_avx)
#endif

void add_rgb(const rova_pim_rows &luma, const rova_pim_rows &chroma, std::size_t pairs,
             rgb_lanes &lanes)
{
#ifdef ROVA_WIDE
    if (rova_pim_pixels_are_wide())
        return add_rgb_wide(luma, chroma, pairs, lanes);
#endif
    add_rgb_any(luma, chroma, pairs, lanes);
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
    add_rgb(at.of(luma), at.of(chroma), at.across() / 2, lanes);
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
        add_rgb({row, 0, 1}, {colours.first + y * colours.pitch - odd, 0, 1}, across / 2, lanes);
    }
    for (std::size_t from = 0; from < std::min(at.blocks, std::size_t{2}); from++)
        add_colours(lanes, start(from) / 2, at.every_second(from), 2, sums);
}

} // namespace

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
