#include "tests/lib/pim/dust/brightness_run.h"

#include <gmock/gmock.h>

#include <array>
#include <climits>

using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char SHADING_HEAD[] =
    " <<<<< Start Checking Shading Image ... >>>>> Log :,SangGaRim  AREA , X1 , Y1 , X2, Y2, L1, "
    "L2, \xA5\xC4, Ref. \xA5\xC4";
constexpr char SHADING_END[] = " <<<<< End   Checking Shading Image ... >>>>>";

std::size_t count_of(const std::string &text, const std::string &part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

using ShadingRun =
    test::BrightnessRun<CheckSangGaRim, &rova_pim_dust_config::iShadingOn,
                        &rova_pim_dust_config::iShadingOk, &rova_pim_dust_config::iShadingRst>;

// A grey picture of 100 x 80 in blocks of 4 x 2: bands of 20 columns at the sides and of 10 rows
// below, of 6 rows above from column 8 on.
class Shading : public ShadingRun
{
protected:
    Shading()
    {
        cfg.iBlockX = 4;
        cfg.iBlockY = 2;
        cfg.iShadingU = 3;
        cfg.iShadingL = 2;
        cfg.iShadingRef = 90;
        cfg.iShadingDiff100 = 1000;
        take(100, 80);
        test::lay_shading(cfg);
    }
    void fill_block(int x, int y, uint8_t grey)
    {
        picture->fill(x, y, x + cfg.iBlockX - 1, y + cfg.iBlockY - 1, grey);
    }
    void expect_place(const std::array<int, 4> &corners) const
    {
        const auto [x1, y1, x2, y2] = cfg.tShadingPos;
        EXPECT_EQ((std::array<int, 4>{x1, y1, x2, y2}), corners);
    }
};

} // namespace

TEST_F(Shading, SwitchedOffDoesNothing)
{
    expect_nothing_when_off();
}

TEST_F(Shading, AnEvenPicturePassesInAllRegionsInTheirOrder)
{
    EXPECT_EQ(check(), std::string(SHADING_HEAD) +
                           " Shading is OK in Region A \n Shading is OK in Region C \n"
                           " Shading is OK in Region D \n Shading is OK in Region E \n" +
                           SHADING_END);
    expect_passed();
    expect_place({});
}

TEST_F(Shading, AFindInRegionAIsLoggedAndKept)
{
    fill_block(40, 2, 60);
    EXPECT_EQ(check(),
              std::string(SHADING_HEAD) +
                  " Found Shading Area in A Region : (  40,    2)  : C_AVE100 =  6000, N_AVE100 = "
                  "10000, DIFF100 =  4000 \n"
                  " A [NG], 40, 2, 43, 3 , 60.00, 100.00, 40.00, 10.00 \n"
                  " Shading is FAIL in Region A \n"
                  " Shading POS : (   40,     2) (   43,     3) \n" +
                  SHADING_END);
    expect_failed();
    expect_place({40, 2, 43, 3});
    EXPECT_EQ(cfg.fShadingC, 60.0F);
    EXPECT_EQ(cfg.fShadingN, 100.0F);
    EXPECT_EQ(cfg.fShadingD, 40.0F);
}

TEST_F(Shading, TheKeptDifferenceIsAWholeNumber)
{
    fill_block(40, 2, 60);
    picture->at(40, 2) = 67; // a mean of 60.875, of which two places stay
    check();
    EXPECT_EQ(cfg.fShadingC, 60.87F);
    EXPECT_EQ(cfg.fShadingN, 100.0F);
    EXPECT_EQ(cfg.fShadingD, 39.0F);
}

TEST_F(Shading, TheKeptDifferenceIsThatOfTheFloats)
{
    fill_block(40, 2, 16);
    picture->at(40, 2) = 17;
    fill_block(40, 4, 32);
    picture->at(40, 4) = 33;
    EXPECT_THAT(check(), HasSubstr(" C_AVE100 =  1612, N_AVE100 =  3212, DIFF100 =  1600 \n"));
    EXPECT_EQ(cfg.fShadingD, 15.0F); // 32.12 is less than 16 above 16.12
}

TEST_F(Shading, AFindInRegionCIsKeptFromOneRowAboveItsBlock)
{
    fill_block(40, 76, 60);
    EXPECT_THAT(check(),
                AllOf(HasSubstr(" Found Shading Area in C Region : (  40,   77)  :"),
                      HasSubstr(" C [NG], 40, 76, 43, 77 , 60.00, 100.00, 40.00, 10.00 "),
                      HasSubstr(" Shading is OK in Region A \n"),
                      HasSubstr(" Shading is FAIL in Region C \n"), Not(HasSubstr("Region D"))));
    expect_place({40, 75, 43, 77});
}

TEST_F(Shading, AFindInRegionDIsItsBlock)
{
    fill_block(4, 40, 60);
    EXPECT_THAT(check(),
                AllOf(HasSubstr(" Found Shading Area in D Region : (   4,   40)  :"),
                      HasSubstr(" D [NG], 4, 40, 7, 41 , 60.00, 100.00, 40.00, 10.00 "),
                      HasSubstr(" Shading is FAIL in Region D \n"), Not(HasSubstr("Region E"))));
    expect_place({4, 40, 7, 41});
}

TEST_F(Shading, AFindInRegionEIsKeptFromOneColumnLeftOfItsBlock)
{
    fill_block(92, 40, 60);
    EXPECT_THAT(check(), AllOf(HasSubstr(" Found Shading Area in E Region : (  95,   40)  :"),
                               HasSubstr(" E [NG], 92, 40, 95, 41 , 60.00, 100.00, 40.00, 10.00 "),
                               HasSubstr(" Shading is FAIL in Region E \n")));
    expect_place({91, 40, 95, 41});
}

TEST_F(Shading, ABrightBlockNeverCountsHoweverLargeTheStep)
{
    fill_block(40, 2, 255);
    check();
    expect_passed();
}

TEST_F(Shading, ABlockExactlyAtTheReferenceIsNotTested)
{
    cfg.iShadingRef = 60;
    fill_block(40, 2, 60);
    check();
    expect_passed();
    for (const int32_t reference : {61, INT_MAX}) {
        cfg.iShadingRef = reference;
        check();
        expect_failed();
    }
}

TEST_F(Shading, ADifferenceExactlyAtTheLimitPasses)
{
    cfg.iShadingDiff100 = 4000;
    fill_block(40, 2, 60);
    check();
    expect_passed();
    cfg.iShadingDiff100 = 3999;
    check();
    expect_failed();
}

TEST_F(Shading, TheInnermostBlockIsComparedWithOneOutsideOfTheRegion)
{
    fill_block(40, 4, 60); // the last of A's three rows of blocks
    fill_block(40, 6, 60);
    check();
    expect_passed();
    fill_block(40, 6, 100);
    check();
    expect_failed();
    expect_place({40, 4, 43, 5});
}

TEST_F(Shading, TheTestOfRegionsCAndEEndsAboveTheirInnerLimit)
{
    cfg.iDbgOption[2] = 1;
    cfg.tShadingArea[0] = cfg.tShadingArea[2] = {};
    cfg.tShadingArea[1] = {40, 75, 44, 80};  // starts at the rows 79 and 77, not at 75
    cfg.tShadingArea[3] = {87, 40, 100, 42}; // and at the columns 99, 95 and 91, not at 87
    const std::string log = check();
    EXPECT_EQ(count_of(log, " C [OK], "), 2u);
    EXPECT_EQ(count_of(log, " E [OK], "), 3u);
    EXPECT_THAT(log,
                AllOf(HasSubstr("C [OK], 40, 76, 43, 77 "), HasSubstr("E [OK], 88, 40, 91, 41 ")));
}

TEST_F(Shading, BlocksThatPassAreLoggedIfWanted)
{
    cfg.iDbgOption[2] = 1;
    fill_block(40, 2, 95);
    const std::string log = check();
    expect_passed();
    EXPECT_THAT(log, HasSubstr(" A [OK], 40, 2, 43, 3 , 95.00, 100.00, 5.00, 10.00 \n"));
    EXPECT_EQ(count_of(log, " A [OK], "), 18u * 3); // columns 8 to 79
    EXPECT_EQ(count_of(log, " C [OK], "), 15u * 5); // columns 20 to 79
    EXPECT_EQ(count_of(log, " D [OK], "), 40u * 5);
    EXPECT_EQ(count_of(log, " E [OK], "), 40u * 5);
    cfg.iDbgOption[2] = 2;
    EXPECT_EQ(count_of(check(), "[OK]"), 0u);
}

TEST_F(Shading, WithoutALogTheRegionEndsAtItsFirstFind)
{
    fill_block(40, 2, 60);
    fill_block(60, 2, 50);
    fill_block(4, 40, 60);
    const std::string log = check();
    EXPECT_EQ(count_of(log, "Found"), 1u);
    expect_place({40, 2, 43, 3});
    EXPECT_THAT(log, Not(HasSubstr("Region C")));
}

TEST_F(Shading, WithALogTheWalkGoesOnAndLaterFindsStay)
{
    cfg.iLogSave = 1;
    fill_block(40, 2, 60);
    fill_block(60, 2, 50);
    fill_block(4, 40, 70);
    const std::string log = check();
    EXPECT_EQ(count_of(log, "Found"), 3u);
    EXPECT_THAT(log, AllOf(HasSubstr(" Shading is FAIL in Region A \n"),
                           HasSubstr(" Shading is OK in Region C \n"),
                           HasSubstr(" Shading is FAIL in Region D \n"),
                           HasSubstr(" Shading is OK in Region E \n"),
                           HasSubstr(" Shading POS : (    4,    40) (    7,    41) \n")));
    expect_place({4, 40, 7, 41});
    EXPECT_EQ(cfg.fShadingC, 70.0F);
    expect_failed();
}

TEST_F(Shading, WithALogOfAnotherModeOnlyTheRegionGoesOn)
{
    cfg.iLogSave = 4;
    fill_block(40, 2, 60);
    fill_block(60, 2, 50);
    fill_block(4, 40, 60);
    const std::string log = check();
    EXPECT_EQ(count_of(log, "Found"), 2u);
    expect_place({60, 2, 63, 3});
    EXPECT_THAT(log, Not(HasSubstr("Region C")));
}

TEST_F(Shading, ABlockThatLeavesThePictureReadsMemoryAsItLies)
{
    cfg.tShadingArea[0] = {};
    cfg.tShadingArea[1] = {};
    cfg.tShadingArea[3] = {};
    cfg.tShadingArea[2] = {96, 10, 100, 12}; // its inner neighbour is the spare, and the next row
    picture->fill(96, 10, 99, 11, 50);
    for (int y : {10, 11}) {
        std::fill_n(&picture->at(99, y) + 1, 3, uint8_t{200});
        picture->at(0, y + 1) = 40;
    }
    check();
    expect_failed();
    expect_place({96, 10, 99, 11});
    EXPECT_EQ(cfg.fShadingN, 160.0F);
}

TEST_F(Shading, AMeanOfALargeBlockIsTakenInSixtyFourBits)
{
    take(1000, 450, 200);
    cfg.iBlockX = 500;
    cfg.iBlockY = 450;
    picture->fill(0, 0, 499, 449, 150);
    cfg.iShadingRef = 200;
    cfg.tShadingArea[0] = cfg.tShadingArea[1] = cfg.tShadingArea[3] = {};
    cfg.tShadingArea[2] = {0, 0, 1, 1};
    EXPECT_THAT(check(), HasSubstr(" C_AVE100 = 15000, N_AVE100 = 20000, DIFF100 =  5000 \n"));
}

TEST_F(Shading, WhatFollowsAFindIsNotReadWithoutALog)
{
    cfg.tShadingArea[0] = {40, 2, INT_MAX, 4};
    cfg.tShadingArea[2] = {4, 40, 8, INT_MAX};
    fill_block(40, 2, 60);
    check();
    expect_failed();
    fill_block(40, 2, 100);
    fill_block(4, 40, 60);
    cfg.tShadingArea[0] = {};
    set_verdict(PIM_NO_RESULT);
    check();
    expect_failed();
    EXPECT_FALSE(camera.logged("is not in the picture"));
}

TEST_F(Shading, ABlockThatLeavesTheBytesIsRefused)
{
    for (const rova_pim_corners &area : {rova_pim_corners{0, 159, 4, 160},
                                         {-4, 0, 4, 2},
                                         {0, -1, 4, 4},
                                         {INT_MAX - 1, 0, INT_MAX, 10},
                                         {INT_MIN, 0, INT_MAX, 10},
                                         {0, INT_MAX - 1, 4, INT_MAX}}) {
        cfg.tShadingArea[0] = area;
        EXPECT_EQ(check(), SHADING_HEAD);
        expect_refused();
        EXPECT_TRUE(camera.logged("is not in the picture"));
    }
}

TEST_F(Shading, ABlockWithoutASizeIsRefused)
{
    for (const auto &[x, y] : {std::pair(0, 2), {4, 0}, {-4, 2}, {4, -1}, {INT_MIN, INT_MIN}}) {
        cfg.iBlockX = x;
        cfg.iBlockY = y;
        EXPECT_EQ(check(), SHADING_HEAD);
        expect_refused();
        EXPECT_TRUE(camera.logged("Shading Block Error : " + std::to_string(x) + " x " +
                                  std::to_string(y)));
    }
}

TEST_F(Shading, APictureWithoutLumaIsRefused)
{
    picture->image.iCS = CS422_Y_ONLY;
    check();
    expect_refused();
}
