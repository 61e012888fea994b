#include "lib/pim/rova_pim_pixels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

// Each function against a loop that takes one byte after the other, with the instructions of this
// processor and with those that any has.

namespace
{

struct ColumnStats {
    std::vector<uint64_t> sums;
    std::vector<uint8_t> minima;

    explicit ColumnStats(std::size_t columns) : sums(columns, 7), minima(columns, 7) {}
    bool operator==(const ColumnStats &) const = default;
};

uint8_t shifted(int32_t value)
{
    return static_cast<uint8_t>(std::clamp(value >> 8, 0, 255));
}

struct Rgb {
    uint8_t red, green, blue;

    Rgb(int32_t luma, int32_t cb, int32_t cr)
        : red(shifted(298 * luma - 4768 + 408 * cr - 52096)),
          green(shifted(298 * luma - 4768 - 208 * cr - 100 * cb + 39552)),
          blue(shifted(298 * luma - 4768 + 516 * cb - 65920))
    {
    }
};

struct ColourBlocks {
    std::size_t column, step, pairs, count;

    std::size_t start(std::size_t block) const { return column + block * step; }
    // Columns up to the end of the last block, and of its chroma.
    std::size_t luma() const { return count == 0 ? 0 : start(count - 1) + 2 * pairs; }
    std::size_t chroma() const { return count == 0 ? 0 : start(count - 1) / 2 * 2 + 2 * pairs; }
};

class PimPixels : public testing::TestWithParam<bool>
{
protected:
    std::mt19937 random{1};

    PimPixels() { rova_pim_pixels_set_portable(GetParam()); }
    ~PimPixels() override { rova_pim_pixels_set_portable(false); }

    std::size_t number(std::size_t from, std::size_t to)
    {
        return std::uniform_int_distribution(from, to)(random);
    }
    // Bytes that end where the memory does, so that a sanitizer sees a read behind them.
    const uint8_t *draw(std::size_t size)
    {
        const std::size_t low = number(0, 255), high = number(low, 255);
        bytes_.emplace_back(new uint8_t[size]);
        std::generate_n(bytes_.back().get(), size,
                        [&] { return static_cast<uint8_t>(number(low, high)); });
        return bytes_.back().get();
    }
    rova_pim_rows draw_rows(std::size_t width, std::size_t most)
    {
        return draw_rows_of(width, number(0, most));
    }
    rova_pim_rows draw_rows_of(std::size_t width, std::size_t count)
    {
        const std::size_t pitch = width + number(0, 9);
        const std::size_t size = count == 0 ? 0 : (count - 1) * pitch + width;
        return {draw(size), pitch, count};
    }
    void check_colours(const ColourBlocks &blocks, std::size_t rows);

private:
    std::vector<std::unique_ptr<uint8_t[]>> bytes_;
};

INSTANTIATE_TEST_SUITE_P(Instructions, PimPixels, testing::Bool(),
                         [](const auto &portable) { return portable.param ? "Any" : "Best"; });

uint64_t plain_sum(const uint8_t *bytes, std::size_t count)
{
    uint64_t sum = 0;
    for (std::size_t i = 0; i < count; i++)
        sum += bytes[i];
    return sum;
}

std::vector<uint64_t> plain_blocks(const rova_pim_rows &rows, std::size_t step, std::size_t width,
                                   std::size_t blocks)
{
    std::vector<uint64_t> sums;
    for (std::size_t block = 0; block < blocks; block++) {
        uint64_t sum = 0;
        for (std::size_t y = 0; y < rows.count; y++)
            sum += plain_sum(rows.first + y * rows.pitch + block * step, width);
        sums.push_back(sum);
    }
    return sums;
}

std::vector<uint64_t> blocks(const rova_pim_rows &rows, std::size_t step, std::size_t width,
                             std::size_t count)
{
    std::vector<uint64_t> sums(count, 7);
    rova_pim_sum_blocks(rows, step, width, sums);
    return sums;
}

ColumnStats plain_columns(const rova_pim_rows &rows, std::size_t columns)
{
    ColumnStats stats(columns);
    for (std::size_t x = 0; x < columns; x++) {
        stats.sums[x] = 0;
        stats.minima[x] = 255;
        for (std::size_t y = 0; y < rows.count; y++) {
            stats.sums[x] += rows.first[y * rows.pitch + x];
            stats.minima[x] = std::min(stats.minima[x], rows.first[y * rows.pitch + x]);
        }
    }
    return stats;
}

ColumnStats column_stats(const rova_pim_rows &rows, std::size_t columns)
{
    ColumnStats stats(columns);
    rova_pim_column_stats(rows, stats.sums, stats.minima);
    return stats;
}

void add_plain_rgb(const uint8_t *luma, const uint8_t *chroma, std::size_t pairs,
                   rova_pim_rgb_sums &sums)
{
    for (std::size_t x = 0; x < 2 * pairs; x++) {
        const Rgb pixel(luma[x], chroma[x / 2 * 2], chroma[x / 2 * 2 + 1]);
        sums.red += pixel.red;
        sums.green += pixel.green;
        sums.blue += pixel.blue;
    }
}

bool equal(const rova_pim_rgb_sums &one, const rova_pim_rgb_sums &other)
{
    return one.red == other.red && one.green == other.green && one.blue == other.blue;
}

void PimPixels::check_colours(const ColourBlocks &blocks, std::size_t rows)
{
    const rova_pim_rows luma = draw_rows_of(blocks.luma(), rows);
    const rova_pim_rows chroma = draw_rows_of(blocks.chroma(), rows);
    std::vector<rova_pim_rgb_sums> sums(blocks.count, {1, uint64_t{1} << 40, 3}), plain = sums;
    rova_pim_add_rgb_blocks(luma, chroma, blocks.column, blocks.step, blocks.pairs, sums);
    for (std::size_t i = 0; i < blocks.count; i++) {
        const std::size_t x = blocks.start(i);
        for (std::size_t y = 0; y < rows; y++)
            add_plain_rgb(luma.first + y * luma.pitch + x,
                          chroma.first + y * chroma.pitch + x / 2 * 2, blocks.pairs, plain[i]);
    }
    ASSERT_TRUE(std::ranges::equal(sums, plain, equal))
        << blocks.pairs << " of " << blocks.step << " from " << blocks.column << ", " << rows
        << " rows";
}

} // namespace

TEST_P(PimPixels, SumsOfBytes)
{
    for (int round = 0; round < 2000; round++) {
        const std::size_t count = number(0, number(0, 5000)), offset = number(0, 40);
        const uint8_t *bytes = draw(offset + count) + offset;
        ASSERT_EQ(rova_pim_sum_bytes({bytes, count}), plain_sum(bytes, count)) << count;
    }
}

TEST_P(PimPixels, SumsOfTheBrightestBytesOfALargePlane)
{
    const std::vector<uint8_t> plane(20'000'003, 255);
    EXPECT_EQ(rova_pim_sum_bytes(plane), plane.size() * 255);
}

TEST_P(PimPixels, SumsOfBlocksOfAnySizeAndStep)
{
    for (int round = 0; round < 2000; round++) {
        const std::size_t width = number(0, number(0, 90)), step = number(0, 2 * width + 9);
        const std::size_t count = number(0, 30);
        const std::size_t across = count == 0 ? 0 : (count - 1) * step + width;
        const rova_pim_rows rows = draw_rows(across, number(0, 40));
        ASSERT_EQ(blocks(rows, step, width, count), plain_blocks(rows, step, width, count))
            << width << " of " << step << ", " << rows.count << " rows of " << rows.pitch;
    }
}

TEST_P(PimPixels, SumsOfBlocksThatLieSideBySide)
{
    for (const std::size_t side : {4, 8, 12, 16, 24, 32, 40, 64, 96, 456}) {
        for (int round = 0; round < 20; round++) {
            const std::size_t count = number(1, 40);
            const rova_pim_rows rows = draw_rows(count * side, side + 3);
            ASSERT_EQ(blocks(rows, side, side, count), plain_blocks(rows, side, side, count))
                << side;
        }
    }
}

// 8192 bytes are summed side by side: here the last block is alone.
TEST_P(PimPixels, SumsOfOneBlockMoreThanIsSummedAtTheSameTime)
{
    for (int round = 0; round < 100; round++) {
        const std::size_t width = number(1, 200), step = number((width + 1) / 2, 2 * width - 1);
        const std::size_t count = ((8192 - width) / step + 1) * number(1, 2) + 1;
        const rova_pim_rows rows = draw_rows((count - 1) * step + width, 3);
        ASSERT_EQ(blocks(rows, step, width, count), plain_blocks(rows, step, width, count))
            << width << " of " << step;
    }
}

// Narrower and wider than what is summed at the same time.
TEST_P(PimPixels, SumsOfOneBlockOfAnyWidth)
{
    for (int round = 0; round < 400; round++) {
        const std::size_t width = number(0, number(0, 20'000)), step = number(0, 20);
        const rova_pim_rows rows = draw_rows(width, 20);
        ASSERT_EQ(blocks(rows, step, width, 1), plain_blocks(rows, step, width, 1))
            << width << ", " << rows.count << " rows of " << rows.pitch;
    }
}

// Sums of few bits are full with so many of the brightest bytes.
TEST_P(PimPixels, SumsOfTheBrightestBlocksOfAnyHeight)
{
    const std::vector<uint8_t> plane(64 * 1200, 255);
    for (const std::size_t height : {63, 64, 65, 127, 128, 129, 255, 256, 257, 258, 1200}) {
        const rova_pim_rows rows = {plane.data(), 64, height};
        for (const std::size_t width : {1, 7, 8, 15, 16, 32, 64})
            ASSERT_EQ(blocks(rows, width, width, 64 / width),
                      std::vector<uint64_t>(64 / width, 255 * width * height))
                << width << " x " << height;
    }
}

TEST_P(PimPixels, StatisticsOfColumns)
{
    for (int round = 0; round < 400; round++) {
        const std::size_t columns = number(0, 300);
        const rova_pim_rows rows = draw_rows(columns, number(0, 300));
        ASSERT_EQ(column_stats(rows, columns), plain_columns(rows, columns))
            << columns << " x " << rows.count;
    }
}

TEST_P(PimPixels, StatisticsOfTheBrightestColumnsOfAnyHeight)
{
    const std::vector<uint8_t> plane(100 * 1030, 255);
    for (const std::size_t height : {1, 7, 8, 255, 256, 257, 264, 512, 1030}) {
        const ColumnStats stats = column_stats({plane.data(), 100, height}, 100);
        ASSERT_EQ(stats.sums, std::vector<uint64_t>(100, 255 * height)) << height;
        ASSERT_EQ(stats.minima, std::vector<uint8_t>(100, 255)) << height;
    }
}

TEST_P(PimPixels, ColumnsWithoutRowsHaveNoSumAndTheBrightestMinimum)
{
    const ColumnStats stats = column_stats({nullptr, 0, 0}, 100);
    EXPECT_EQ(stats.sums, std::vector<uint64_t>(100, 0));
    EXPECT_EQ(stats.minima, std::vector<uint8_t>(100, 255));
}

TEST_P(PimPixels, ColoursOfAnyNumberOfPairs)
{
    for (int round = 0; round < 2000; round++) {
        const std::size_t pairs = number(0, number(0, 2000)), offset = number(0, 40);
        const uint8_t *luma = draw(offset + 2 * pairs) + offset, *chroma = draw(2 * pairs);
        rova_pim_rgb_sums sums = {1, uint64_t{1} << 40, 3}, plain = sums;
        rova_pim_add_rgb(luma, chroma, pairs, sums);
        add_plain_rgb(luma, chroma, pairs, plain);
        ASSERT_TRUE(equal(sums, plain)) << pairs;
    }
}

TEST_P(PimPixels, ColoursOfBlocksOfAnySizeAndStep)
{
    for (int round = 0; round < 1000; round++) {
        const std::size_t pairs = number(0, number(0, 40));
        check_colours({number(0, 5), 2 * number(0, 2 * pairs + 3), pairs, number(0, 20)},
                      number(0, 40));
    }
}

TEST_P(PimPixels, ColoursOfBlocksOfAnySizeAndOddStep)
{
    for (int round = 0; round < 2000; round++) {
        const std::size_t pairs = number(0, number(0, 40));
        const std::size_t step = 2 * (pairs + number(0, number(0, pairs + 3))) + 1;
        check_colours({number(0, 5), step, pairs, number(0, 20)}, number(0, 40));
    }
}

// More blocks than are summed at the same time, and more rows.
TEST_P(PimPixels, ColoursOfManyBlocksSideBySide)
{
    for (const std::size_t side : {2, 3, 9, 16, 57, 58, 227, 4095, 9000, 9001})
        check_colours({number(0, 5), side, side / 2, 20000 / side}, 130);
}

TEST_P(PimPixels, ColoursOfTheBrightestBlocksOfAnyHeight)
{
    const std::vector<uint8_t> luma(64 * 1200, 255), chroma(64 * 1200, 128);
    for (const std::size_t height : {63, 64, 65, 127, 128, 129, 255, 256, 257, 258, 1200}) {
        for (const std::size_t pairs : {1, 4, 8, 16, 32}) {
            rova_pim_rgb_sums sums = {};
            rova_pim_add_rgb_blocks({luma.data(), 64, height}, {chroma.data(), 64, height}, 0, 2,
                                    pairs, {&sums, 1});
            const uint64_t all = 255 * 2 * pairs * height;
            ASSERT_TRUE(equal(sums, {all, all, all})) << pairs << " x " << height;
        }
    }
}

// Every luma with every pair of chroma values, in a row that takes all the ways of adding: many
// pairs at once, a few, and one.
TEST_P(PimPixels, ColoursOfEveryPixelThereIs)
{
    constexpr std::size_t PAIRS = 16 + 8 + 1;
    std::array<uint8_t, 2 * PAIRS> luma, chroma;
    for (int pixel = 0; pixel < 1 << 24; pixel++) {
        const int y = pixel & 255, cb = pixel >> 8 & 255, cr = pixel >> 16;
        luma.fill(static_cast<uint8_t>(y));
        for (std::size_t i = 0; i < chroma.size(); i++)
            chroma[i] = static_cast<uint8_t>(i % 2 == 0 ? cb : cr);
        rova_pim_rgb_sums sums = {};
        rova_pim_add_rgb(luma.data(), chroma.data(), PAIRS, sums);
        const Rgb plain(y, cb, cr);
        const std::size_t pixels = luma.size();
        ASSERT_TRUE(equal(sums, {pixels * plain.red, pixels * plain.green, pixels * plain.blue}))
            << y << ' ' << cb << ' ' << cr;
    }
}
