#include "lib/pim/dust/rova_pim_dust_grid.h"

#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_pixels.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace
{

constexpr std::size_t LARGEST_PICTURE = std::size_t{1} << 30; // bytes

int32_t blocks_in(int32_t pixels, int32_t block)
{
    return static_cast<int32_t>((int64_t{pixels} + block - 1) / block);
}

// The picture's bytes have its pixels, and positions a block farther are numbers of 32 bits.
bool last_block_fits(const rova_pim_image &image, const rova_pim_dust_grid &grid, int64_t step)
{
    const auto size = static_cast<int64_t>(std::min(image.bytes.size(), LARGEST_PICTURE));
    const int64_t x = int64_t{grid.columns} * grid.blockX;
    const int64_t y = int64_t{grid.rows} * grid.blockY;
    return (y - 1) * image.pitch + x * step <= size;
}

// One for each pixel at least: what is worked out stays within what was delivered.
bool has_bytes(const rova_pim_image &image)
{
    return static_cast<uint64_t>(int64_t{image.width} * image.height) <= image.bytes.size();
}

bool lay(const rova_pim_image &image, rova_pim_dust_grid *grid)
{
    const int32_t step = rova_pim_luma_step(image.iCS);
    if (step == 0 || image.width <= 0 || image.height <= 0 || image.pitch <= 0 ||
        grid->blockX <= 0 || grid->blockY <= 0 || grid->blockX > image.width ||
        grid->blockY > image.height || !has_bytes(image))
        return false;
    grid->columns = blocks_in(image.width, grid->blockX);
    grid->rows = blocks_in(image.height, grid->blockY);
    return last_block_fits(image, *grid, step);
}

} // namespace

int rova_pim_dust_grid_of(const rova_pim_image &image, int32_t blockX, int32_t blockY,
                          rova_pim_dust_grid *grid)
{
    *grid = {blockX, blockY, 0, 0};
    if (lay(image, grid))
        return 0;
    rova_pim_report(" Dust Block Error : %d x %d [ %d x %d, STRIDE = %d, CS = %d, %zu bytes ] \n",
                    blockX, blockY, image.width, image.height, image.pitch, image.iCS,
                    image.bytes.size());
    return -1;
}

void rova_pim_dust_sums(const rova_pim_image &image, const rova_pim_dust_grid &grid, int32_t row,
                        std::span<uint64_t> sums)
{
    const int32_t y = row * grid.blockY;
    if (rova_pim_luma_step(image.iCS) == 1) {
        const auto pitch = static_cast<std::size_t>(image.pitch);
        const auto width = static_cast<std::size_t>(grid.blockX);
        rova_pim_sum_blocks({image.bytes.data() + static_cast<std::size_t>(y) * pitch, pitch,
                             static_cast<std::size_t>(grid.blockY)},
                            width, width, sums);
        return;
    }
    int32_t x = 0;
    for (uint64_t &sum : sums) {
        sum = GetAreaSum(image, {x, y, x + grid.blockX - 1, y + grid.blockY - 1}).sum;
        x += grid.blockX;
    }
}

// Truncated, the quotient of integers is that of the dividend and a half.  The dividend, of a
// picture of 2^30 bytes at most, is below 2^45, so this quotient is more than a 2^47th of itself
// away from an integer, and the errors of a product in its place are below a 2^50th.  A division
// takes many times longer, and so does the conversion of 64 bits: behind the bits of 2^52 a sum is
// a double's mantissa.
void rova_pim_dust_means(const rova_pim_dust_grid &grid, std::span<const uint64_t> sums,
                         std::span<int32_t> means)
{
    constexpr uint64_t TWO_52_BITS = 0x4330000000000000;
    constexpr double TWO_52 = 0x1p52;
    const double count = static_cast<double>(int64_t{grid.blockX} * grid.blockY);
    const double factor = 100 / count, half = 0.5 / count;
    const uint64_t *__restrict from = sums.data();
    int32_t *__restrict to = means.data();
    for (std::size_t i = 0; i < sums.size(); i++) {
        const double sum = std::bit_cast<double>(from[i] | TWO_52_BITS) - TWO_52;
        to[i] = static_cast<int32_t>(sum * factor + half);
    }
}

bool rova_pim_dust_any_differs(std::span<const int32_t> means, std::span<const int32_t> others,
                               int32_t least)
{
    int32_t differs = 0; // of the means' size: as many are compared at once as possible
    for (std::size_t i = 0; i < means.size(); i++)
        differs |= std::abs(means[i] - others[i]) >= least ? 1 : 0;
    return differs != 0;
}
