#include "lib/pim/mot/rova_pim_range.h"

#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr int32_t INDEX = 3;

// A window of level 100, with darker columns and spots.
class Window
{
public:
    Window(int32_t w, int32_t h) : w_(w), h_(h), pixels_(static_cast<std::size_t>(w * h), 100) {}

    Window &column(int32_t x, int value = 0)
    {
        for (int32_t y = 0; y < h_; y++)
            spot(x, y, value);
        return *this;
    }
    Window &spot(int32_t x, int32_t y, int value = 0)
    {
        pixels_[static_cast<std::size_t>(y * w_ + x)] = static_cast<uint8_t>(value);
        return *this;
    }
    Window turned() const
    {
        Window other(h_, w_);
        for (int32_t y = 0; y < h_; y++) {
            for (int32_t x = 0; x < w_; x++)
                other.spot(y, x, pixels_[static_cast<std::size_t>(y * w_ + x)]);
        }
        return other;
    }
    rova_pim_strip strip() const { return {pixels_, w_, h_}; }

private:
    int32_t w_;
    int32_t h_;
    std::vector<uint8_t> pixels_;
};

using Range = std::vector<int32_t>; // along the longer axis, along the shorter one, fail

Range search_one(const rova_pim_strip &window, int32_t dir)
{
    const rova_pim_range range = rova_pim_search_range(window, INDEX, dir, false);
    return {range.long_start, range.long_end, range.short_start, range.short_end, range.fail};
}

// The same lying and standing.
Range search(const Window &window, int32_t dir)
{
    const Range range = search_one(window.strip(), dir);
    EXPECT_EQ(search_one(window.turned().strip(), dir), range);
    return range;
}

struct RangeSearch : testing::Test {
    ~RangeSearch() override { gDbgPrintOnOff = 0; }
    static std::string printed(const Window &window, int32_t dir, bool trace = false)
    {
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        return test::captured_output(
            [&] { rova_pim_search_range(window.strip(), INDEX, dir, trace); });
    }
};

} // namespace

TEST_F(RangeSearch, AWindowWithoutPixelsHasNoRange)
{
    for (const rova_pim_strip window : {rova_pim_strip{{}, 0, 0}, rova_pim_strip{{}, 20, 0},
                                        rova_pim_strip{{}, 0, 20}, rova_pim_strip{{}, -5, 20}}) {
        const rova_pim_range range = rova_pim_search_range(window, INDEX, 0, true);
        EXPECT_EQ(range.short_start, PIM_NO_RESULT);
        EXPECT_EQ(range.short_end, PIM_NO_RESULT);
        EXPECT_FALSE(range.fail);
    }
}

// 17 lines are more than twice 4 and a rest: no second search.
TEST_F(RangeSearch, FindsTheBarsOfASlenderWedge)
{
    const Window window = Window(24, 4).column(3).column(20);
    EXPECT_THAT(search(window, 0), ElementsAre(3, 20, 0, 4, 0));
    EXPECT_THAT(search(window, 1), ElementsAre(3, 20, 0, 4, 0));
    EXPECT_EQ(printed(window, 0), " <<  PIMA[ 3 ] RANGE LONG AXIS >> \n"
                                  " <<\tPIMA[ 3 ] RANGE SHORT AXIS >> \n"
                                  " SHORT ::: START -    0, END -    4 \n"
                                  " LONG / SHORT =  17 / 4 = 4.2 \n");
}

TEST_F(RangeSearch, TheFirstBarFromTheCentreCounts)
{
    EXPECT_THAT(search(Window(24, 4).column(2).column(5).column(18).column(21), 0),
                ElementsAre(5, 18, 0, 4, 0));
    // Beside the centre, lines 11 and 12.
    EXPECT_THAT(search(Window(24, 4).column(10).column(13), 0), ElementsAre(10, 13, 0, 4, 1));
    EXPECT_THAT(search(Window(24, 4).column(0).column(23), 1), ElementsAre(0, 23, 0, 4, 0));
}

// Of an odd number of lines the middle one is the first on both sides.
TEST_F(RangeSearch, AnOddNumberOfLinesHasOneCentre)
{
    EXPECT_THAT(search(Window(25, 4).column(12, 40), 0), ElementsAre(0, 25, 0, 4, 1));
    EXPECT_THAT(search(Window(25, 4).column(12, 40).column(1, 30).column(24, 35), 0),
                ElementsAre(1, 24, 0, 4, 0));
}

TEST_F(RangeSearch, ABarIsBelowNinetyPerCentOfTheCentre)
{
    EXPECT_THAT(search(Window(24, 4).column(3, 89).column(20, 90).column(22, 89), 0),
                ElementsAre(3, 22, 0, 4, 0));
    // The centre is the line before the middle: 55 x 9 / 10 = 49.
    EXPECT_THAT(search(Window(24, 4).column(11, 55).column(3, 49).column(2, 48).column(20, 48), 0),
                ElementsAre(2, 20, 0, 4, 0));
    // A mean is cut: 359 / 4 = 89.
    EXPECT_THAT(search(Window(24, 4).column(3).column(20, 90).spot(20, 2, 89), 0),
                ElementsAre(3, 20, 0, 4, 0));
}

TEST_F(RangeSearch, WithoutBarsTheRangeIsTheWindow)
{
    EXPECT_THAT(search(Window(24, 4), 0), ElementsAre(0, 24, 0, 4, 1));
    EXPECT_THAT(search(Window(24, 4).column(3), 0), ElementsAre(3, 24, 0, 4, 0));
    EXPECT_THAT(search(Window(24, 4).column(20), 1), ElementsAre(0, 20, 0, 4, 0));
}

// The band of the sides is on the side of the wedge's first end, and empty without a bar there.
TEST_F(RangeSearch, AnEmptyBandFails)
{
    EXPECT_THAT(search(Window(24, 4).column(20), 0), ElementsAre(0, 20, 0, 4, 1));
    EXPECT_THAT(search(Window(24, 4).column(3), 1), ElementsAre(3, 24, 0, 4, 1));
    EXPECT_THAT(search(Window(24, 4).column(0).column(20), 0), ElementsAre(0, 20, 0, 4, 1));
    EXPECT_THAT(printed(Window(24, 4).column(20), 0, true),
                HasSubstr(" RANGE SHORT AXIS >> \n SHORT ::: START -    0, END -    4 \n"));
}

// 13 lines are twice 6 and a rest.
TEST_F(RangeSearch, AStoutWedgeIsSearchedAgain)
{
    const Window window = Window(20, 6).column(3).column(16);
    EXPECT_THAT(search(window, 0), ElementsAre(3, 16, 0, 6, 0));
    EXPECT_EQ(printed(window, 0), " <<  PIMA[ 3 ] RANGE LONG AXIS >> \n"
                                  " <<\tPIMA[ 3 ] RANGE SHORT AXIS >> \n"
                                  " SHORT ::: START -    0, END -    6 \n"
                                  " LONG / SHORT =  13 / 6 = 2.1 \n"
                                  " <<  PIMA[ 3 ] RANGE LONG AXIS >> \n"
                                  " LONG  ::: START -    3, END -   16 \n\n");
}

// The quotient decides: 17 / 6 is 2, 18 / 6 is 3.
TEST_F(RangeSearch, AQuotientAboveTwoIsSlender)
{
    EXPECT_THAT(printed(Window(24, 6).column(3).column(20), 0), HasSubstr(" LONG  ::: "));
    EXPECT_THAT(printed(Window(24, 6).column(3).column(21), 0), Not(HasSubstr(" LONG  ::: ")));
}

// Sides that are dark in front of the wedge only.
Window with_sides(int32_t from, int32_t to)
{
    Window window = Window(20, 8).column(3).column(16);
    for (int32_t x = from; x < to; x++)
        window.spot(x, 1).spot(x, 6);
    return window;
}

TEST_F(RangeSearch, TheSidesAreSearchedInFrontOfTheWedge)
{
    EXPECT_THAT(search(with_sides(0, 3), 0), ElementsAre(3, 16, 1, 6, 0));
    EXPECT_THAT(search(with_sides(0, 3), 1), ElementsAre(3, 16, 0, 8, 0));
    EXPECT_THAT(search(with_sides(17, 20), 1), ElementsAre(3, 16, 1, 6, 0));
    EXPECT_THAT(search(with_sides(17, 20), -1), ElementsAre(3, 16, 1, 6, 0));
    EXPECT_THAT(search(with_sides(17, 20), 0), ElementsAre(3, 16, 0, 8, 0));
}

// For a direction of 0 the band ends before the bar's line; for another it begins with that line,
// which is bright in rows 1 and 6 and so hides them.
TEST_F(RangeSearch, TheBandHoldsTheBarOfTheFarEndOnly)
{
    Window window = Window(20, 8).column(3, 60).column(16, 60);
    for (int32_t x : {0, 1, 2, 17, 18, 19})
        window.spot(x, 1, 85).spot(x, 6, 85);
    window.spot(3, 1, 100).spot(3, 6, 100).spot(16, 1, 100).spot(16, 6, 100);
    // Columns 0 to 2: 85 against a centre of 100.
    EXPECT_THAT(search(window, 0), ElementsAre(3, 16, 1, 6, 0));
    // Columns 16 to 19: (3 x 85 + 100) / 4 = 88 against (3 x 100 + 60) / 4 = 90, which is 81.
    EXPECT_THAT(search(window, 1), ElementsAre(3, 16, 0, 8, 0));
}

// Rows 1 to 5 hold no dark pixel of column 3, and the sum over them is divided by 8: 500 / 8 = 62,
// of which 90 per cent are 55.
TEST_F(RangeSearch, TheSecondSearchLooksBetweenTheSides)
{
    Window window = Window(20, 8).column(16);
    window.spot(3, 0).spot(3, 7);
    for (int32_t x = 17; x < 20; x++)
        window.spot(x, 1).spot(x, 6);
    // No line before the centre is dark there: the start becomes the sides' start.
    EXPECT_THAT(search(window, 1), ElementsAre(1, 16, 1, 6, 0));
    // (5 x 100 - 60) / 8 = 55 is not below, (5 x 100 - 70) / 8 = 53 is.
    EXPECT_THAT(search(Window(window).spot(5, 1, 40), 1), ElementsAre(1, 16, 1, 6, 0));
    EXPECT_THAT(search(Window(window).spot(2, 1, 30), 1), ElementsAre(2, 16, 1, 6, 0));
}

TEST_F(RangeSearch, TheSecondSearchMayLoseTheEnd)
{
    Window window = Window(20, 8).column(3);
    window.spot(16, 0).spot(16, 7);
    for (int32_t x = 0; x < 3; x++)
        window.spot(x, 1).spot(x, 6);
    // 20 - 3 = 17 of 20 lines.
    EXPECT_THAT(search(window, 0), ElementsAre(3, 20, 1, 6, 0));
}

TEST_F(RangeSearch, TheLengthOfAStoutWedgeIsPlausible)
{
    // Two thirds of 20 are 13.
    EXPECT_THAT(search(Window(20, 8).column(3).column(16), 0), ElementsAre(3, 16, 0, 8, 0));
    EXPECT_THAT(search(Window(20, 8).column(4).column(16), 0), ElementsAre(4, 16, 0, 8, 1));
    // 95 per cent of 40 are 38.
    EXPECT_THAT(search(Window(40, 20).column(1).column(39), 0), ElementsAre(1, 39, 0, 20, 0));
    EXPECT_THAT(search(Window(40, 20).column(1), 0), ElementsAre(1, 40, 0, 20, 1));
    // 95 per cent of 50 are 47.
    EXPECT_THAT(search(Window(50, 20).column(1).column(48), 0), ElementsAre(1, 48, 0, 20, 0));
    EXPECT_THAT(search(Window(50, 20).column(1).column(49), 0), ElementsAre(1, 49, 0, 20, 1));
    // A band that was empty is not made good.
    EXPECT_THAT(search(Window(20, 8).column(16), 0), ElementsAre(0, 16, 0, 8, 1));
}

// A square's longer axis is its height.
TEST_F(RangeSearch, ASquareStands)
{
    const Window window = Window(9, 9).column(1).column(8);
    EXPECT_THAT(search_one(window.turned().strip(), 0), ElementsAre(1, 8, 0, 9, 0));
    EXPECT_THAT(search_one(window.strip(), 0), ElementsAre(0, 9, 0, 9, 1));
}

TEST_F(RangeSearch, TheSmallestWindowIsSearched)
{
    EXPECT_THAT(search_one(Window(1, 1).strip(), 0), ElementsAre(0, 1, 0, 1, 1));
    EXPECT_THAT(search_one(Window(2, 1).strip(), 1), ElementsAre(0, 2, 0, 1, 1));
    EXPECT_THAT(search_one(Window(3, 1).column(0).column(2).strip(), 0),
                ElementsAre(0, 2, 0, 1, 1));
}

TEST_F(RangeSearch, TraceTellsEachStep)
{
    const Window window = Window(8, 2).column(1, 30).column(6, 20);
    EXPECT_EQ(printed(window, 0, true), " <<  PIMA[ 3 ] RANGE LONG AXIS >> \n"
                                        " [   4] -   100  [   3] -   100 \n"
                                        " [   5] -   100  [   2] -   100 \n"
                                        " [   6] -    20  [   1] -    30  *S  *E \n"
                                        " [   7] -   100  [   0] -   100 \n"
                                        " <<\tPIMA[ 3 ] RANGE SHORT AXIS >> \n"
                                        " [   1] -   100  [   0] -   100 \n"
                                        " SHORT ::: START -    0, END -    2 \n"
                                        " LONG / SHORT =  5 / 2 = 2.5 \n"
                                        " <<  PIMA[ 3 ] RANGE LONG AXIS >> \n"
                                        " [   4] -   100  [   3] -   100 \n"
                                        " [   5] -   100  [   2] -   100 \n"
                                        " [   6] -    20  [   1] -    30  *S  *E \n"
                                        " [   7] -   100  [   0] -   100 \n"
                                        " LONG  ::: START -    1, END -    6 \n\n");
}
