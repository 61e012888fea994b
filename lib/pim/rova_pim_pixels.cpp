// Rows are read several at a time, and the sums of their bytes kept side by side, of eight bytes or
// of fewer, until these are full or the last row is in: then they are added up, block by block.
#include "lib/pim/rova_pim_lanes.h"

namespace
{

using namespace rova_pim_lanes;

constexpr std::size_t COLUMN_ROWS = 256; // rows whose bytes have sums of 16 bits

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

// Sums of eights of bytes side by side, and the operation that compilers do not find for
// themselves.
struct narrow {
    using eights = uint64_t __attribute__((vector_size(16)));

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
};

#ifdef ROVA_WIDE
struct wide_avx {
    using eights = uint64_t __attribute__((vector_size(32)));

    static ROVA_INLINE void add_eights(eights &sums, const uint8_t *at)
    {
        eights bytes;
        std::memcpy(&bytes, at, sizeof(bytes));
        asm("vpsadbw %1, %0, %0" : "+x"(bytes) : "x"(eights{}));
        sums += bytes;
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

// The inner loops, for the processor at hand.
struct kernels {
    void (*add_eights)(const rova_pim_rows &rows, std::size_t eights, uint64_t *lanes);
    void (*add_pairs)(const rova_pim_rows &rows, std::size_t pairs, uint16_t *lanes);
    void (*add_columns)(const rova_pim_rows &rows, std::size_t columns, uint16_t *lanes,
                        uint8_t *minima);
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

#define ROVA_KERNELS(name, attribute, vector)                                                      \
    __attribute__(attribute) void add_eights_##name(const rova_pim_rows &rows, std::size_t eights, \
                                                    uint64_t *lanes)                               \
    {                                                                                              \
        add_eights_inline<vector>(rows, eights, lanes);                                            \
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
    constexpr kernels KERNELS_##name = {add_eights_##name, add_pairs_##name, add_columns_##name};

ROVA_KERNELS(any, (), narrow)
#ifdef ROVA_WIDE
ROVA_KERNELS(wide, (target("avx2")), wide_avx)
#endif

const kernels &kernels_here()
{
#ifdef ROVA_WIDE
    if (rova_pim_pixels_are_wide())
        return KERNELS_wide;
#endif
    return KERNELS_any;
}

bool portable_only = false;

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
    // Neither part comes here again, since a single block has no step.
    sum_panel(rows, at.part(0, at.width / 8 * 8), sums);
    sum_panel(rows, at.part(at.width / 8 * 8, at.width % 8), sums);
}

} // namespace

void rova_pim_pixels_set_portable(bool portable)
{
    portable_only = portable;
}

bool rova_pim_pixels_are_wide()
{
#ifdef ROVA_WIDE
    static const bool wide = __builtin_cpu_supports("avx2") != 0;
    return wide && !portable_only;
#else
    return false;
#endif
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
