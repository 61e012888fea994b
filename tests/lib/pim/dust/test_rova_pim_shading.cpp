#include "lib/pim/rova_pim_pixels.h"
#include "tests/lib/pim/dust/dust_run.h"
#include "tests/lib/pim/dust/plain_shading.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>
#include <random>

using test::lines_of;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

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

std::array<int, 4> corners(const rova_pim_corners &place)
{
    return {place.x1, place.y1, place.x2, place.y2};
}

// A grey picture of 100 x 80 in blocks of 4 x 2: bands of 20 columns at the sides and of 10 rows
// below, of 6 rows above from column 8 on.
class Shading : public test::DustRun
{
protected:
    Shading()
    {
        cfg.iShadingOn = 1;
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
    std::string check() { return log_of(CheckSangGaRim); }
};

class FourQuadrants : public test::DustRun
{
protected:
    FourQuadrants()
    {
        cfg.i4xOn = 1;
        cfg.i4xDiff100 = 500;
        take(64, 32);
    }
    std::string check() { return log_of(Check4xShading); }
};

class Exposure : public test::DustRun
{
protected:
    Exposure()
    {
        cfg.iExpOn = 1;
        cfg.iExpLow = 90;
        cfg.iExpHigh = 110;
        take(64, 32);
    }
    std::string check() { return log_of(CheckExposure); }
};

class ColorShading : public test::DustRun
{
protected:
    ColorShading()
    {
        cfg.iCsOn = 1;
        cfg.fAlpha = 10;
        take(64, 32);
        place(0, {2, 10, 8, 4});
        place(1, {28, 10, 8, 4});
        place(2, {54, 10, 8, 4});
    }
    void place(int i, const rova_pim_window &window)
    {
        cfg.iWinX[i] = window.x;
        cfg.iWinY[i] = window.y;
        cfg.iWinW[i] = window.w;
        cfg.iWinH[i] = window.h;
    }
    uint8_t &chroma(int byte, int y) const { return picture->at(byte, picture->image.height + y); }
    // Every second byte of a window's rows of chroma.
    void tint(int i, int first, uint8_t value)
    {
        for (int y = cfg.iWinY[i]; y < cfg.iWinY[i] + cfg.iWinH[i]; y++) {
            for (int x = 0; x < cfg.iWinW[i]; x += 2)
                chroma(cfg.iWinX[i] + first + x, y) = value;
        }
    }
    std::string check() { return log_of(CheckColorShading); }
};

} // namespace

TEST_F(Shading, SwitchedOffDoesNothing)
{
    cfg.iShadingOn = 0;
    EXPECT_EQ(check(), "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iShadingOk, PIM_NO_RESULT);
    EXPECT_EQ(cfg.iShadingRst, PIM_NO_RESULT);
}

TEST_F(Shading, AnEvenPicturePassesInAllRegionsInTheirOrder)
{
    EXPECT_EQ(check(), std::string(SHADING_HEAD) +
                           " Shading is OK in Region A \n Shading is OK in Region C \n"
                           " Shading is OK in Region D \n Shading is OK in Region E \n" +
                           SHADING_END);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iShadingOk, 1);
    EXPECT_EQ(cfg.iShadingRst, 1);
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{}));
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
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iShadingOk, 0);
    EXPECT_EQ(cfg.iShadingRst, 0);
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{40, 2, 43, 3}));
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
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{40, 75, 43, 77}));
}

TEST_F(Shading, AFindInRegionDIsItsBlock)
{
    fill_block(4, 40, 60);
    EXPECT_THAT(check(),
                AllOf(HasSubstr(" Found Shading Area in D Region : (   4,   40)  :"),
                      HasSubstr(" D [NG], 4, 40, 7, 41 , 60.00, 100.00, 40.00, 10.00 "),
                      HasSubstr(" Shading is FAIL in Region D \n"), Not(HasSubstr("Region E"))));
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{4, 40, 7, 41}));
}

TEST_F(Shading, AFindInRegionEIsKeptFromOneColumnLeftOfItsBlock)
{
    fill_block(92, 40, 60);
    EXPECT_THAT(check(), AllOf(HasSubstr(" Found Shading Area in E Region : (  95,   40)  :"),
                               HasSubstr(" E [NG], 92, 40, 95, 41 , 60.00, 100.00, 40.00, 10.00 "),
                               HasSubstr(" Shading is FAIL in Region E \n")));
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{91, 40, 95, 41}));
}

TEST_F(Shading, ABrightBlockNeverCountsHoweverLargeTheStep)
{
    fill_block(40, 2, 255);
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(Shading, ABlockExactlyAtTheReferenceIsNotTested)
{
    cfg.iShadingRef = 60;
    fill_block(40, 2, 60);
    check();
    EXPECT_EQ(result, 0);
    for (const int32_t reference : {61, INT_MAX}) {
        cfg.iShadingRef = reference;
        check();
        EXPECT_EQ(result, -1);
    }
}

TEST_F(Shading, ADifferenceExactlyAtTheLimitPasses)
{
    cfg.iShadingDiff100 = 4000;
    fill_block(40, 2, 60);
    check();
    EXPECT_EQ(result, 0);
    cfg.iShadingDiff100 = 3999;
    check();
    EXPECT_EQ(result, -1);
}

TEST_F(Shading, TheInnermostBlockIsComparedWithOneOutsideOfTheRegion)
{
    fill_block(40, 4, 60); // the last of A's three rows of blocks
    fill_block(40, 6, 60);
    check();
    EXPECT_EQ(result, 0);
    fill_block(40, 6, 100);
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{40, 4, 43, 5}));
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
    EXPECT_EQ(result, 0);
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
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{40, 2, 43, 3}));
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
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{4, 40, 7, 41}));
    EXPECT_EQ(cfg.fShadingC, 70.0F);
    EXPECT_EQ(result, -1);
}

TEST_F(Shading, WithALogOfAnotherModeOnlyTheRegionGoesOn)
{
    cfg.iLogSave = 4;
    fill_block(40, 2, 60);
    fill_block(60, 2, 50);
    fill_block(4, 40, 60);
    const std::string log = check();
    EXPECT_EQ(count_of(log, "Found"), 2u);
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{60, 2, 63, 3}));
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
    EXPECT_EQ(result, -1);
    EXPECT_EQ(corners(cfg.tShadingPos), (std::array<int, 4>{96, 10, 99, 11}));
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
    EXPECT_EQ(cfg.iShadingOk, 0);
    fill_block(40, 2, 100);
    fill_block(4, 40, 60);
    cfg.tShadingArea[0] = {};
    cfg.iShadingOk = PIM_NO_RESULT;
    check();
    EXPECT_EQ(cfg.iShadingOk, 0);
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
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.iShadingOk, PIM_NO_RESULT);
        EXPECT_EQ(cfg.iShadingRst, PIM_NO_RESULT);
        EXPECT_TRUE(camera.logged("is not in the picture"));
    }
}

TEST_F(Shading, ABlockWithoutASizeIsRefused)
{
    for (const auto &[x, y] : {std::pair(0, 2), {4, 0}, {-4, 2}, {4, -1}, {INT_MIN, INT_MIN}}) {
        cfg.iBlockX = x;
        cfg.iBlockY = y;
        EXPECT_EQ(check(), SHADING_HEAD);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.iShadingOk, PIM_NO_RESULT);
        EXPECT_TRUE(camera.logged("Shading Block Error : " + std::to_string(x) + " x " +
                                  std::to_string(y)));
    }
}

TEST_F(Shading, APictureWithoutLumaIsRefused)
{
    picture->image.iCS = CS422_Y_ONLY;
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iShadingOk, PIM_NO_RESULT);
}

TEST_F(FourQuadrants, SwitchedOffDoesNothing)
{
    cfg.i4xOn = 0;
    EXPECT_EQ(check(), "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
}

TEST_F(FourQuadrants, ADifferenceExactlyAtTheLimitPasses)
{
    picture->fill(32, 0, 63, 15, 105);
    EXPECT_EQ(check(), " <<<<< Start Checking 4x Shading ... >>>>> Log :,Shading  AREA , L1 , L2 , "
                       "L3, L4, MAX, MIN, \xA5\xC4, Ref. \xA5\xC4"
                       " 4x AVE = 10000, 10500, 10000, 10000 \n"
                       " 4x Y      = 10500 - 10000  =  500\n"
                       " 4x Y Diff =  500 \n"
                       " OK , 100.00, 105.00, 100.00, 100.00, 105.00, 100.00 , 5.00 \n"
                       " <<<<< End   Checking 4x Shading ... >>>>>");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.i4xOk, 1);
    EXPECT_EQ(cfg.i4xRst, 1);
    EXPECT_EQ(cfg.f4xMin, 100.0F);
    EXPECT_EQ(cfg.f4xMax, 105.0F);
    EXPECT_EQ(cfg.f4xD, 5.0F);
}

TEST_F(FourQuadrants, ADifferenceAboveTheLimitFails)
{
    cfg.i4xDiff100 = 499;
    for (const auto &[x, y] : {std::pair(0, 0), {32, 0}, {0, 16}, {32, 16}}) {
        picture->fill(0, 0, 63, 31, 100);
        picture->fill(x, y, x + 31, y + 15, 95);
        EXPECT_THAT(check(), HasSubstr(" 4x Y      = 10000 - 9500  =  500\n"
                                       " 4x Y Diff =  499 \n"
                                       " NG, "));
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.i4xOk, 0);
        EXPECT_EQ(cfg.i4xRst, 0);
    }
}

TEST_F(FourQuadrants, TheKeptDifferenceIsAWholeNumber)
{
    picture->at(0, 0) = 164; // 64 more among 256 pixels
    picture->at(32, 0) = 228;
    picture->fill(0, 16, 63, 31, 101);
    check();
    EXPECT_EQ(cfg.f4xMin, 100.25F);
    EXPECT_EQ(cfg.f4xMax, 101.0F);
    EXPECT_EQ(cfg.f4xD, 0.0F);
}

TEST_F(FourQuadrants, OnlyEverySecondRowIsRead)
{
    for (int y = 1; y < 32; y += 2)
        picture->fill(0, y, 31, y, 255);
    check();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.f4xMax, 100.0F);
}

TEST_F(FourQuadrants, AnOddHalfMakesTheLowerHalfStartOnAnOddRow)
{
    cfg.iImgY = 30; // the lower half: 15, 17 and so on to 29
    for (int y = 0; y < 32; y++)
        picture->fill(0, y, 63, y, static_cast<uint8_t>(y < 15 ? y % 2 * 200 : y % 2 * 100));
    EXPECT_THAT(check(), HasSubstr(" 4x AVE = 0, 0, 10666, 10666 \n")); // 8 rows by 30 * 32 / 4
}

TEST_F(FourQuadrants, TheMeansAreDividedByTheConfiguredSize)
{
    cfg.iImgX = 128;
    EXPECT_THAT(check(), HasSubstr(" 4x AVE = 5000, 5000, 5000, 5000 \n"));
}

TEST_F(FourQuadrants, TheLeastMeanIsNotAboveItsStart)
{
    cfg.iImgX = 2;
    EXPECT_THAT(check(), HasSubstr(" 4x AVE = 320000, 320000, 320000, 320000 \n"
                                   " 4x Y      = 320000 - 99900  = 220100\n"));
    EXPECT_EQ(result, -1);
}

TEST_F(FourQuadrants, ALowerHalfBehindTheBytesIsRefused)
{
    picture->image.bytes = picture->image.bytes.last(63 * 67); // up to where none may be read
    cfg.iImgY = 128;
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
}

TEST_F(FourQuadrants, APictureOfNoWidthOrOfNoUsablePitchIsRefused)
{
    for (const auto &[width, pitch] :
         {std::pair(0, 67), {-1, 67}, {64, INT_MAX}, {64, 0}, {64, -67}, {64, INT_MIN}}) {
        picture->image.width = width;
        picture->image.pitch = pitch;
        check();
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
        EXPECT_TRUE(camera.logged("[ " + std::to_string(width) + " x 32 ]"));
    }
}

TEST_F(FourQuadrants, SizesThatDivideByNothingAreRefused)
{
    for (const auto &[x, y] : {std::pair(0, 32),
                               {1, 32},
                               {64, 0},
                               {2, 3},
                               {-64, 32},
                               {64, -32},
                               {INT_MIN, INT_MAX},
                               {0, INT_MAX}}) {
        cfg.iImgX = x;
        cfg.iImgY = y;
        check();
        EXPECT_EQ(result, -1) << x << " x " << y;
        EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
    }
    EXPECT_TRUE(camera.logged("Image Size Error : 0 x 32 [ 64 x 32 ]"));
}

TEST_F(FourQuadrants, RowsBehindThePictureReadItsChromaAndNoneBehindTheBytes)
{
    cfg.iImgY = 64;
    check();
    EXPECT_EQ(cfg.i4xOk, 1);
    for (const int rows : {66, INT_MAX}) {
        cfg.i4xOk = PIM_NO_RESULT;
        cfg.iImgY = rows;
        check();
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
    }
    EXPECT_TRUE(camera.logged("is not in the picture"));
}

TEST_F(FourQuadrants, APictureOfOneColumnHasNoLeftHalf)
{
    take(1, 32);
    cfg.iImgX = 2;
    EXPECT_THAT(check(), HasSubstr(" 4x AVE = 0, 10000, 0, 10000 \n"));
}

TEST_F(FourQuadrants, APictureWithoutLumaIsRefused)
{
    picture->image.iCS = -1;
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
}

TEST_F(Exposure, SwitchedOffDoesNothing)
{
    cfg.iExpOn = 0;
    EXPECT_EQ(check(), "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
}

TEST_F(Exposure, TheBoundsThemselvesPass)
{
    for (const int grey : {90, 110}) {
        picture->fill(0, 0, 63, 31, static_cast<uint8_t>(grey));
        const std::string mean = std::to_string(grey) + ".00";
        EXPECT_EQ(check(), " <<<<< Start Checking Exposure Image ... >>>>> Log :,Exposure  AREA , "
                           "L , R.Max, R.Min  AreaSum = " +
                               std::to_string(grey * 64 * 16) + " , AreaAve = " + mean +
                               " \n Ref. Luma Max / Mix = 110 /  90 \n  [OK], " + mean +
                               ", 110, 90 \n <<<<< End   Checking Exposure Image ... >>>>>");
        EXPECT_EQ(result, 0);
        EXPECT_EQ(cfg.iExpOk, 1);
        EXPECT_EQ(cfg.iExpRst, 1);
        EXPECT_EQ(cfg.fExpY, static_cast<float>(grey));
    }
}

TEST_F(Exposure, AMeanOutsideOfTheBoundsFails)
{
    for (const int off : {-1, 1}) {
        picture->fill(0, 0, 63, 31, static_cast<uint8_t>(off < 0 ? 90 : 110));
        picture->at(5, 6) = static_cast<uint8_t>(picture->at(5, 6) + off);
        EXPECT_THAT(check(), HasSubstr("  [NG], "));
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.iExpOk, 0);
        EXPECT_EQ(cfg.iExpRst, 0);
    }
}

TEST_F(Exposure, OnlyEverySecondRowIsRead)
{
    for (int y = 1; y < 32; y += 2)
        picture->fill(0, y, 63, y, 255);
    check();
    EXPECT_EQ(cfg.fExpY, 100.0F);
}

TEST_F(Exposure, TheMeanIsDividedByTheConfiguredSize)
{
    cfg.iImgX = 63; // 63 x 31 / 2, truncated, of 16 rows
    cfg.iImgY = 31;
    check();
    EXPECT_EQ(cfg.fExpY, 102400.0F / 976.0F);
}

TEST_F(Exposure, TheMeanIsAQuotientOfFloats)
{
    take(1024, 400);
    picture->at(0, 0) = 101; // no float has the sum of 20480001
    cfg.iExpHigh = 100;
    check();
    EXPECT_EQ(cfg.fExpY, 100.0F);
    EXPECT_EQ(result, 0);
}

TEST_F(Exposure, APictureOfNoWidthIsRefused)
{
    picture->image.width = 0;
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
}

TEST_F(Exposure, SizesThatDivideByNothingAreRefused)
{
    for (const auto &[x, y] : {std::pair(0, 32), {64, 0}, {1, 1}, {-64, 32}, {0, INT_MAX}}) {
        cfg.iImgX = x;
        cfg.iImgY = y;
        check();
        EXPECT_EQ(result, -1) << x << " x " << y;
        EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
        EXPECT_EQ(cfg.fExpY, 0.0F);
    }
    EXPECT_TRUE(camera.logged("Image Size Error : 64 x 0 [ 64 x 32 ]"));
}

TEST_F(Exposure, RowsBehindTheBytesAreRefused)
{
    for (const int rows : {66, INT_MAX}) {
        cfg.iImgY = rows;
        check();
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
    }
    EXPECT_TRUE(camera.logged("is not in the picture"));
}

TEST_F(ColorShading, SwitchedOffDoesNothing)
{
    cfg.iCsOn = 0;
    EXPECT_EQ(check(), "");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iCsOk, PIM_NO_RESULT);
}

TEST_F(ColorShading, ASumExactlyAtTheLimitPasses)
{
    tint(0, 1, 103); // red of the left window: 9
    tint(2, 0, 99);  // blue of the right one: 1
    const std::string format = " tColor = 0 , iCS = 9 \n tColor = 1 , iCS = 9 \n"
                               " tColor = 2 , iCS = 9 \n";
    EXPECT_EQ(check(), " <<<<< Start Checking Color Noise ... >>>>>" + format + format + format +
                           " L : Y Cb Cr =  100.00  100.00  103.00 \n"
                           " C : Y Cb Cr =  100.00  100.00  100.00 \n"
                           " R : Y Cb Cr =  100.00   99.00  100.00 \n"
                           " COLOR SHADING SUCCESS : C.V[10.00], T.V[10.00] \n"
                           " <<<<< End  Checking Color Shading ... >>>>>");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iCsOk, 1);
    EXPECT_EQ(cfg.iCsRst, 1);
    EXPECT_EQ(cfg.fCsVal, 10.0F);
    EXPECT_EQ(cfg.fCsSVal, 10.0F);
    EXPECT_THAT(cfg.fCsY, ElementsAre(100, 100, 100));
    EXPECT_THAT(cfg.fCsCb, ElementsAre(100, 100, 99));
    EXPECT_THAT(cfg.fCsCr, ElementsAre(103, 100, 100));
}

TEST_F(ColorShading, ASumAboveTheLimitFails)
{
    tint(0, 0, 102);
    tint(1, 1, 102);
    EXPECT_THAT(check(), HasSubstr(" COLOR SHADING ERROR : C.V[12.00], T.V[10.00] \n"));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iCsOk, 0);
    EXPECT_EQ(cfg.iCsRst, 0);
}

TEST_F(ColorShading, LumaTakesNoPart)
{
    picture->fill(0, 0, 31, 31, 20);
    check();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.fCsVal, 0.0F);
    EXPECT_THAT(cfg.fCsY, ElementsAre(20, 60, 100));
}

TEST_F(ColorShading, AWindowMayTouchTheConfiguredSize)
{
    place(0, {0, 0, 64, 32});
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(ColorShading, AWindowOutsideOfTheConfiguredSizeHasNoVerdict)
{
    cfg.iCsOk = cfg.iCsRst = 1;
    for (const rova_pim_window &window : {rova_pim_window{-1, 0, 8, 4},
                                          {57, 0, 8, 4},
                                          {0, -1, 8, 4},
                                          {0, 29, 8, 4},
                                          {INT_MAX, 0, INT_MAX, 4}}) {
        place(2, window);
        EXPECT_THAT(check(), StartsWith(" <<<<< Start Checking Color Noise ... >>>>>"
                                        " Win. Position Error !!!"
                                        " S(    2,   10 ) SZ(    8 x    4 ) \n"
                                        " S(   28,   10 ) SZ(    8 x    4 ) \n S("));
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.iCsOk, 1);
        EXPECT_EQ(cfg.iCsRst, 1);
    }
}

TEST_F(ColorShading, AWindowWithoutPixelsIsRefused)
{
    for (const rova_pim_window &window :
         {rova_pim_window{0, 0, 0, 4}, {0, 0, 8, 0}, {5, 5, -3, 2}, {0, 0, INT_MIN, INT_MIN}}) {
        place(1, window);
        check();
        EXPECT_EQ(result, -1);
        EXPECT_EQ(cfg.iCsOk, PIM_NO_RESULT);
        EXPECT_EQ(cfg.fCsVal, 0.0F);
    }
    EXPECT_TRUE(camera.logged("Window Error : ( 0, 0 ) 0 x 4 has no pixels"));
}

TEST_F(ColorShading, ChromaOutsideOfTheBytesIsRefused)
{
    for (const int32_t offset : {-4 - 10 * picture->image.pitch, 1 << 20, INT_MAX, INT_MIN}) {
        cfg.iCrOffset = offset;
        check();
        EXPECT_EQ(result, -1) << offset;
        EXPECT_EQ(cfg.iCsOk, PIM_NO_RESULT);
    }
}

TEST_F(ColorShading, APictureOfAnotherFormatIsRefused)
{
    picture->image.iCS = CS420_Y_CbCr;
    EXPECT_THAT(check(), EndsWith(" tColor = 0 , iCS = 2 \n NOT Supported Color Format "));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iCsOk, PIM_NO_RESULT);
}

TEST_F(ColorShading, AWindowsAverageCountsBytes)
{
    for (int x = 0; x < 64; x++)
        chroma(x, 3) = static_cast<uint8_t>(x);
    uint64_t sum = 0;
    float mean = 0;
    const auto average = [&](const rova_pim_window &window, int32_t colour) {
        return log_of([&](const rova_pim_image &image, const rova_pim_dust_config &) {
            return GetWinAverage(image, window, colour, cfg.iCbOffset, &sum, &mean);
        });
    };
    EXPECT_EQ(average({10, 3, 5, 1}, PIM_COLOUR_CB), " tColor = 1 , iCS = 9 \n");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(sum, 10u + 12 + 14);
    EXPECT_EQ(mean, 12.0F);
    average({10, 3, 5, 1}, PIM_COLOUR_CR);
    EXPECT_EQ(sum, 11u + 13 + 15);
    average({10, 3, 4, 1}, PIM_COLOUR_CB);
    EXPECT_EQ(sum, 10u + 12);
    average({10, 3, 4, 1}, PIM_COLOUR_CR);
    EXPECT_EQ(sum, 11u + 13);
    picture->at(10, 3) = 7;
    average({10, 3, 4, 1}, PIM_COLOUR_Y); // which has no offset
    EXPECT_EQ(result, 0);
    EXPECT_EQ(mean, 307.0F / 4.0F);
}

TEST_F(ColorShading, AWindowWhoseLastPixelIsNoNumberHasNoAverage)
{
    for (const rova_pim_window &window : {rova_pim_window{INT_MAX, 0, 2, 1}, {0, INT_MAX, 1, 2}}) {
        uint64_t sum = 1;
        float mean = 1;
        log_of([&](const rova_pim_image &image, auto &) {
            return GetWinAverage(image, window, PIM_COLOUR_Y, 0, &sum, &mean);
        });
        EXPECT_EQ(result, -1);
        EXPECT_EQ(sum, 0u);
        EXPECT_EQ(mean, 0.0F);
    }
}

TEST_F(ColorShading, APlaneThatIsNotThereHasNoAverage)
{
    for (const int32_t colour : {-1, 3}) {
        uint64_t sum = 1;
        float mean = 1;
        const std::string log = log_of([&](const rova_pim_image &image, auto &) {
            return GetWinAverage(image, {0, 0, 4, 4}, colour, 0, &sum, &mean);
        });
        EXPECT_EQ(log, " tColor = " + std::to_string(colour) +
                           " , iCS = 9 \n NOT Supported Color Format ");
        EXPECT_EQ(result, -1);
        EXPECT_EQ(sum, 0u);
        EXPECT_EQ(mean, 0.0F);
    }
}

namespace
{

// Pictures and configurations of all kinds, small ones; some of them ask for too much.
class AsPlain : public test::DustRun
{
protected:
    std::mt19937 random{20261122};

    int pick(int from, int to) { return std::uniform_int_distribution(from, to)(random); }
    bool often() { return pick(0, 9) != 0; }

    ~AsPlain() override { rova_pim_pixels_set_portable(false); }

    void paint()
    {
        const int base = pick(0, 255), noise = pick(0, 40);
        for (uint8_t *byte = picture->planes.data(); byte != &*picture->planes.bytes().end();
             byte++)
            *byte = static_cast<uint8_t>(std::clamp(base + pick(-noise, noise), 0, 255));
        for (int i = pick(0, 4); i > 0; i--) {
            const int x = pick(0, cfg.iImgX - 1), y = pick(0, cfg.iImgY - 1);
            picture->fill(x, y, std::min(x + 8, cfg.iImgX - 1), std::min(y + 8, cfg.iImgY - 1),
                          static_cast<uint8_t>(pick(0, 255)));
        }
    }
    void draw()
    {
        take(pick(1, 90), pick(1, 70), 0, pick(0, 9));
        paint();
        constexpr int32_t SPACES[] = {CS422_Y_CbCr, CS422_Y_CbCr, CS422_Y_CbCr,
                                      CS422_YCbYCr, CS422_CbYCrY, CS422_Y_ONLY};
        picture->image.iCS = SPACES[pick(0, 5)];
        if (!often())
            cfg.iImgX = pick(0, 200);
        if (!often())
            cfg.iImgY = pick(0, 200);
        cfg.iShadingOn = cfg.i4xOn = cfg.iExpOn = cfg.iCsOn = often() ? 1 : 0;
        cfg.iLogSave = pick(0, 4);
        cfg.iDbgOption[2] = pick(0, 1);
        cfg.i4xDiff100 = pick(0, 6000);
        cfg.iExpLow = pick(0, 140);
        cfg.iExpHigh = pick(100, 255);
        draw_bands();
        draw_windows();
    }
    void draw_bands()
    {
        cfg.iBlockX = pick(1, 9);
        cfg.iBlockY = pick(1, 9);
        cfg.iShadingU = pick(0, 8);
        cfg.iShadingL = pick(0, 8);
        cfg.iShadingRef = pick(0, 256);
        cfg.iShadingDiff100 = pick(0, 9000);
        test::lay_shading(cfg);
        if (!often())
            cfg.tShadingArea[pick(0, 3)] = {pick(-20, 90), pick(-20, 90), pick(-20, 90),
                                            pick(-20, 90)};
    }
    void draw_windows()
    {
        for (int i = 0; i < 3; i++) {
            cfg.iWinX[i] = pick(often() ? 0 : -2, cfg.iImgX);
            cfg.iWinY[i] = pick(often() ? 0 : -2, cfg.iImgY);
            cfg.iWinW[i] = pick(often() ? 1 : -2, std::max(1, cfg.iImgX - cfg.iWinX[i]));
            cfg.iWinH[i] = pick(often() ? 1 : -2, std::max(1, cfg.iImgY - cfg.iWinY[i]));
        }
        if (!often())
            cfg.iCrOffset = pick(-2000, 12000);
        cfg.fAlpha = static_cast<float>(pick(0, 900)) / 7.0F;
    }
    using check_fn = int (*)(const rova_pim_image &, rova_pim_dust_config &);
    // Runs both from the same record; false where the plain one found a byte missing.
    bool compare(check_fn engine, check_fn plain)
    {
        const rova_pim_dust_config before = cfg;
        const std::string log = log_of(engine);
        const rova_pim_dust_config after = cfg;
        const int returned = result;
        cfg = before;
        bool refused = false;
        const std::string expected = log_of([&](const rova_pim_image &image, auto &record) {
            try {
                return plain(image, record);
            } catch (const test::PlainRefusal &) {
                refused = true;
                return -1;
            }
        });
        EXPECT_EQ(returned, result);
        EXPECT_EQ(log, expected);
        EXPECT_EQ(std::memcmp(&after, &cfg, sizeof(cfg)), 0);
        return !refused;
    }
    void compare_many(check_fn engine, check_fn plain)
    {
        const rova_pim_dust_config first = cfg;
        int whole = 0, passed = 0;
        for (int i = 0; i < 600 && !HasFailure(); i++) {
            SCOPED_TRACE(i);
            cfg = first;
            rova_pim_pixels_set_portable(i % 2 != 0);
            draw();
            whole += compare(engine, plain) ? 1 : 0;
            passed += result == 0 ? 1 : 0;
        }
        EXPECT_GT(whole, 200);
        EXPECT_LT(whole, 600);
        EXPECT_GT(passed, 60);
        EXPECT_GT(whole, passed);
    }
};

} // namespace

TEST_F(AsPlain, ShadingIsFound)
{
    compare_many(CheckSangGaRim, test::plain_shading);
}

TEST_F(AsPlain, QuadrantsAreJudged)
{
    compare_many(Check4xShading, test::plain_4x_shading);
}

TEST_F(AsPlain, ExposureIsJudged)
{
    compare_many(CheckExposure, test::plain_exposure);
}

TEST_F(AsPlain, ColorShadingIsJudged)
{
    compare_many(CheckColorShading, test::plain_color_shading);
}
