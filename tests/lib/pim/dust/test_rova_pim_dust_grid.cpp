#include "lib/pim/dust/rova_pim_dust_grid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

namespace
{

struct Block {
    int32_t x, y;

    uint64_t count() const { return static_cast<uint64_t>(int64_t{x} * y); }
};

void expect_means(const Block &block, const std::vector<uint64_t> &sums)
{
    const rova_pim_dust_grid grid = {block.x, block.y, static_cast<int32_t>(sums.size()), 1};
    std::vector<int32_t> means(sums.size());
    rova_pim_dust_means(grid, sums, means);
    for (std::size_t i = 0; i < sums.size(); i++)
        ASSERT_EQ(means[i], static_cast<int32_t>(sums[i] * 100 / block.count()))
            << sums[i] << " of " << block.count();
}

} // namespace

TEST(PimDustGrid, MeansOfEverySum)
{
    for (const Block &block : {Block{1, 1},
                               {3, 1},
                               {7, 7},
                               {8, 8},
                               {12, 12},
                               {16, 16},
                               {13, 29},
                               {32, 32},
                               {64, 64},
                               {228, 152}}) {
        std::vector<uint64_t> sums(255 * block.count() + 1);
        std::ranges::generate(sums, [sum = uint64_t{0}]() mutable { return sum++; });
        expect_means(block, sums);
    }
}

// The sums where the means of large blocks step.
TEST(PimDustGrid, MeansOfTheLargestBlocks)
{
    for (const Block &block : {Block{5472, 3648}, {32768, 32768}, {32749, 32719}, {1 << 30, 1}}) {
        std::vector<uint64_t> sums = {0, 1};
        for (uint64_t mean = 1; mean <= 25500; mean++) {
            const uint64_t step = (mean * block.count() + 99) / 100;
            sums.push_back(step - 1);
            sums.push_back(step);
        }
        expect_means(block, sums);
    }
}

TEST(PimDustGrid, SomeMeansDifferWhereOneDoes)
{
    std::mt19937 random(1);
    const auto number = [&](int32_t from, int32_t to) {
        return std::uniform_int_distribution(from, to)(random);
    };
    int differed = 0;
    for (int round = 0; round < 3000; round++) {
        const int32_t spread = number(0, 400);
        std::vector<int32_t> means(static_cast<std::size_t>(number(0, 40))), others = means;
        bool differs = false;
        const int32_t least = number(-1, 500);
        for (std::size_t i = 0; i < means.size(); i++) {
            means[i] = number(0, 25500);
            others[i] = std::clamp(means[i] + number(-spread, spread), 0, 25500);
            differs |= std::abs(means[i] - others[i]) >= least;
        }
        ASSERT_EQ(rova_pim_dust_any_differs(means, others, least), differs) << round;
        differed += differs ? 1 : 0;
    }
    EXPECT_GT(differed, 500);
    EXPECT_LT(differed, 2500);
}

TEST(PimDustGrid, NoMeansDifferMoreThanBlackAndWhite)
{
    const std::vector<int32_t> black(9, 0), white(9, 25500);
    constexpr int32_t LARGEST = std::numeric_limits<int32_t>::max();
    EXPECT_TRUE(rova_pim_dust_any_differs(black, white, 25500));
    EXPECT_TRUE(rova_pim_dust_any_differs(white, black, 25500));
    EXPECT_FALSE(rova_pim_dust_any_differs(black, white, 25501));
    EXPECT_FALSE(rova_pim_dust_any_differs(white, black, LARGEST));
    EXPECT_TRUE(rova_pim_dust_any_differs(black, black, -LARGEST - 1));
    EXPECT_FALSE(rova_pim_dust_any_differs({}, {}, -LARGEST - 1));
}
