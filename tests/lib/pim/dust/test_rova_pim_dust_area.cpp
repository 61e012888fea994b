#include "lib/pim/dust/rova_pim_dust.h"

#include <gtest/gtest.h>

namespace
{

struct DustAreas : testing::Test {
    rova_pim_dust_config cfg = {};

    void search(int i, const rova_pim_corners &at)
    {
        cfg.tSearchArea[i] = {.iPercent = 0,
                              .x1 = at.x1,
                              .y1 = at.y1,
                              .x2 = at.x2,
                              .y2 = at.y2,
                              .fSmallRef = 0,
                              .iSmallRef100 = 100 + i,
                              .fBigRef = 0,
                              .iBigRef100 = 200 + i};
    }
};

} // namespace

TEST_F(DustAreas, AnAreaHasItsUpperLeftEdgesOnly)
{
    search(2, {10, 20, 30, 40});
    for (const auto &[x, y] : {std::pair{10, 20}, {29, 39}, {10, 39}, {29, 20}}) {
        EXPECT_EQ(GetSmallRef(x, y, cfg), 102);
        EXPECT_EQ(GetBigRef(x, y, cfg), 202);
        EXPECT_EQ(GetAreaMark(x, y, cfg), 'C');
    }
    for (const auto &[x, y] : {std::pair{9, 20}, {10, 19}, {30, 39}, {29, 40}})
        EXPECT_EQ(GetAreaMark(x, y, cfg), '-');
}

TEST_F(DustAreas, APointOutsideEverySearchAreaHasTheGreatestLimit)
{
    EXPECT_EQ(GetSmallRef(0, 0, cfg), 25500);
    EXPECT_EQ(GetBigRef(0, 0, cfg), 25500);
    EXPECT_EQ(GetAreaMark(0, 0, cfg), '-');
    EXPECT_EQ(GetShadingMark(0, 0, cfg), '-');
}

TEST_F(DustAreas, OfTwoSearchAreasTheLaterWins)
{
    for (int i = 0; i < PIM_SEARCH_AREAS; i++) {
        search(i, {0, 0, 10, 10});
        EXPECT_EQ(GetSmallRef(5, 5, cfg), 100 + i);
        EXPECT_EQ(GetBigRef(5, 5, cfg), 200 + i);
        EXPECT_EQ(GetAreaMark(5, 5, cfg), "ABCDE"[i]);
    }
}

TEST_F(DustAreas, TheBottomBlurStripIsNotLookedAt)
{
    cfg.iBlurRef100 = 77;
    for (int i = 0; i < PIM_BLUR_AREAS; i++) {
        cfg.BlurArea[i] = {3, 3, 6, 6};
        EXPECT_EQ(GetBlurRef(3, 5, cfg), i == 1 ? -25500 : 77) << i;
        EXPECT_EQ(GetBlurRef(6, 5, cfg), -25500);
        EXPECT_EQ(GetBlurRef(5, 6, cfg), -25500);
        cfg.BlurArea[i] = {};
    }
    EXPECT_EQ(GetBlurRef(0, 0, cfg), -25500);
}

TEST_F(DustAreas, TheShadingMarkOfTheBottomIsB)
{
    const char *marks = "ABDE";
    for (int i = 0; i < PIM_SHADING_AREAS; i++) {
        cfg.tShadingArea[i] = {0, 0, 10, 10};
        EXPECT_EQ(GetShadingMark(9, 9, cfg), marks[i]);
        EXPECT_EQ(GetShadingMark(10, 9, cfg), '-');
        EXPECT_EQ(GetShadingMark(9, 10, cfg), '-');
    }
}

TEST_F(DustAreas, OneOfTwoPointsInAnExcludedStripIsEnough)
{
    cfg.tExceptArea[3] = {10, 0, 20, 5};
    EXPECT_TRUE(IsExceptArea(10, 4, 100, 4, cfg));
    EXPECT_TRUE(IsExceptArea(0, 4, 19, 4, cfg));
    EXPECT_TRUE(IsExceptArea(0, 5, 19, 4, cfg));
    EXPECT_FALSE(IsExceptArea(0, 4, 19, 5, cfg));
    EXPECT_FALSE(IsExceptArea(9, 4, 20, 4, cfg)); // only what lies between them is inside
    EXPECT_FALSE(IsExceptArea(10, 5, 19, 5, cfg));
}
