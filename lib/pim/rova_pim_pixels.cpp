#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>

namespace
{

uint64_t clamped(int32_t value)
{
    return static_cast<uint64_t>(std::clamp(value >> 8, 0, 255));
}

void add_pixel(int32_t luma, int32_t cb, int32_t cr, rova_pim_rgb_sums &sums)
{
    const int32_t c = 298 * luma - 4768;
    sums.red += clamped(c + 408 * cr - 52096);
    sums.green += clamped(c - 208 * cr - 100 * cb + 39552);
    sums.blue += clamped(c + 516 * cb - 65920);
}

} // namespace

void rova_pim_pixels_set_portable(bool) {}

uint64_t rova_pim_sum_bytes(std::span<const uint8_t> bytes)
{
    uint64_t sum = 0;
    for (const uint8_t byte : bytes)
        sum += byte;
    return sum;
}

void rova_pim_sum_blocks(const rova_pim_rows &rows, std::size_t step, std::size_t width,
                         std::span<uint64_t> sums)
{
    std::ranges::fill(sums, 0);
    for (std::size_t y = 0; y < rows.count; y++) {
        const uint8_t *at = rows.first + y * rows.pitch;
        for (uint64_t &sum : sums) {
            sum += rova_pim_sum_bytes({at, width});
            at += step;
        }
    }
}

void rova_pim_column_stats(const rova_pim_rows &rows, std::span<uint64_t> sums,
                           std::span<uint8_t> minima)
{
    std::ranges::fill(sums, 0);
    std::ranges::fill(minima, uint8_t{255});
    for (std::size_t y = 0; y < rows.count; y++) {
        const uint8_t *row = rows.first + y * rows.pitch;
        for (std::size_t x = 0; x < sums.size(); x++) {
            sums[x] += row[x];
            minima[x] = std::min(minima[x], row[x]);
        }
    }
}

void rova_pim_add_rgb(const uint8_t *luma, const uint8_t *chroma, std::size_t pairs,
                      rova_pim_rgb_sums &sums)
{
    for (std::size_t i = 0; i < 2 * pairs; i += 2) {
        add_pixel(luma[i], chroma[i], chroma[i + 1], sums);
        add_pixel(luma[i + 1], chroma[i], chroma[i + 1], sums);
    }
}

void rova_pim_add_rgb_blocks(const rova_pim_rows &luma, const rova_pim_rows &chroma,
                             std::size_t step, std::size_t pairs, std::span<rova_pim_rgb_sums> sums)
{
    for (std::size_t y = 0; y < luma.count; y++) {
        const uint8_t *const luma_row = luma.first + y * luma.pitch;
        const uint8_t *const chroma_row = chroma.first + y * chroma.pitch;
        for (std::size_t i = 0; i < sums.size(); i++)
            rova_pim_add_rgb(luma_row + i * step, chroma_row + i * step, pairs, sums[i]);
    }
}
