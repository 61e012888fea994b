#include "tests/lib/pim/dust/dust_search_run.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr char START[] = " <<<<< Start Checking Dust All ... >>>>>";
constexpr char END[] = " <<<<< End Checking Dust All ... >>>>>";

// The bands of 5 blocks that the reader lays out: A, the bottom, D and E.
struct DustAll : test::DustSearchRun {
    DustAll()
    {
        cfg.iShadingOn = cfg.i4xOn = cfg.iExpOn = 1;
        cfg.tShadingArea[0] = {40, 0, 280, 40};
        cfg.tShadingArea[1] = {40, 120, 280, 160};
        cfg.tShadingArea[2] = {0, 0, 40, 160};
        cfg.tShadingArea[3] = {280, 0, 320, 160};
        cfg.iShadingRef = 255;
        cfg.iShadingDiff100 = 900;
        cfg.i4xDiff100 = 500;
        cfg.iExpLow = 100;
        cfg.iExpHigh = 250;
        cfg.iDbgOption[1] = 1;
    }
    int check_all() { return check(CheckDustAll); }
    std::string shading_place() const
    {
        const rova_pim_corners &at = cfg.tShadingPos;
        return std::to_string(at.x1) + "," + std::to_string(at.y1) + " " + std::to_string(at.x2) +
               "," + std::to_string(at.y2);
    }
};

} // namespace

TEST_F(DustAll, ThereIsNothingToDoWithAllFourOff)
{
    cfg.iShadingOn = cfg.i4xOn = cfg.iExpOn = cfg.iDustOn = 0;
    cfg.iCsOn = 1;
    EXPECT_EQ(check_all(), 0);
    EXPECT_EQ(text, "");
}

TEST_F(DustAll, AFlatPicturePassesAllFour)
{
    EXPECT_EQ(check_all(), 0);
    EXPECT_THAT(text, AllOf(StartsWith(std::string(START) + " <<<<< Start Checking Shading Image"),
                            EndsWith(std::string(" <<<<< End   Checking Dust ... >>>>>") + END)));
    EXPECT_THAT(
        text, HasSubstr(" Shading is OK in Region A \n Shading is OK in Region D \n Shading is OK "
                        "in Region E \n <<<<< End   Checking Shading Image ... >>>>> <<<<< Start "
                        "Checking 4x Shading ... >>>>> Log :,Shading "));
    EXPECT_THAT(text, HasSubstr(" 4x AVE = 20000, 20000, 20000, 20000 \n"));
    EXPECT_THAT(text, HasSubstr(" AreaSum = 10240000 , AreaAve = 200.00 \n"));
    for (const int32_t verdict : {cfg.iShadingOk, cfg.iShadingRst, cfg.i4xOk, cfg.i4xRst,
                                  cfg.iExpOk, cfg.iExpRst, cfg.iDustOk, cfg.iDustRst})
        EXPECT_EQ(verdict, 1);
}

TEST_F(DustAll, OnlyWhatIsSwitchedOnRuns)
{
    cfg.iShadingOn = cfg.i4xOn = cfg.iExpOn = 0;
    EXPECT_EQ(check_all(), 0);
    EXPECT_THAT(text, StartsWith(std::string(START) + " <<<<< Start Checking Dust ... >>>>>"));
    EXPECT_EQ(cfg.iDustOk, 1);
    EXPECT_EQ(cfg.iShadingOk, PIM_NO_RESULT);
    EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
    EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
}

TEST_F(DustAll, RegionAComparesABlockWithTheLowerOne)
{
    paint_blocks(10, 0, 1, 1, 150);
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(shading_place(), "80,0 87,7");
    EXPECT_THAT(text, HasSubstr(" Found SangGaRim Area in A Region : (  80,    0)  : C_AVE100 = "
                                "15000, N_AVE100 = 20000, DIFF100 =  5000 \n\n A [NG], 80, 0, 87, "
                                "7 , 150.00, 200.00, 50.00, 9.00 \n Shading is FAIL in Region A \n "
                                "Shading POS : (   80,     0) (   87,     7) \n"));
    EXPECT_EQ(cfg.fShadingC, 150);
    EXPECT_EQ(cfg.fShadingN, 200);
    EXPECT_EQ(cfg.fShadingD, 50);
}

TEST_F(DustAll, TheLowestBlockOfRegionAHasNoNeighbourInTheRegion)
{
    paint_blocks(10, 5, 1, 1, 250);
    cfg.iDustOn = 0;
    EXPECT_EQ(check_all(), 0);
    paint_blocks(10, 4, 1, 1, 250);
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(shading_place(), "80,24 87,31") << "block 3 with block 4 below";
}

TEST_F(DustAll, TheBottomRegionIsNeverTested)
{
    cfg.iDustOn = 0;
    paint_blocks(10, 19, 1, 1, 0);
    EXPECT_EQ(check_all(), 0);
    EXPECT_EQ(cfg.iShadingOk, 1);
    EXPECT_THAT(text, Not(HasSubstr("Region B")));
}

TEST_F(DustAll, RegionsDAndECompareTheLeftNeighbourWithABlockAndTellTheBlock)
{
    for (const char region : {'D', 'E'}) {
        const int32_t column = region == 'D' ? 1 : 36;
        make_picture(320, 160, 336);
        paint_blocks(column, 10, 1, 1, 150);
        EXPECT_EQ(check_all(), -1);
        // A dark block has a bright one to the left: the find is where it is the left one itself,
        // unless its left one is darker than the limit too, which is so here.
        EXPECT_EQ(cfg.tShadingPos.x1, column * 8) << region;
        EXPECT_EQ(cfg.fShadingC, 200);
        EXPECT_EQ(cfg.fShadingN, 150);
        cfg.iShadingRef = 200; // bright blocks are not tested
        EXPECT_EQ(check_all(), -1);
        EXPECT_EQ(cfg.tShadingPos.x1, (column + 1) * 8) << region;
        EXPECT_EQ(cfg.fShadingC, 150);
        EXPECT_EQ(cfg.fShadingN, 200);
        EXPECT_THAT(text, HasSubstr(std::string("Area in ") + region + " Region"));
        cfg.iShadingRef = 255;
    }
}

TEST_F(DustAll, ABlockAtTheEdgeOfARegionHasNoNeighbourInIt)
{
    cfg.iDustOn = 0;
    for (const int32_t column : {5, 34}) { // right of D, left of E
        make_picture(320, 160, 336);
        paint_blocks(column, 10, 1, 1, 150);
        EXPECT_EQ(check_all(), 0) << column;
    }
}

TEST_F(DustAll, ShadingIsLookedForOnlyUntilTheFirstFindInTheOrderOfTheRows)
{
    cfg.iLogSave = 1; // which lets the separate check go on
    paint_blocks(2, 3, 1, 1, 150);
    paint_blocks(10, 4, 1, 1, 150);
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(lines_with("Found SangGaRim"), 1u);
    EXPECT_EQ(shading_place(), "16,24 23,31") << "D before A, which is tested from block 3 on too";
}

TEST_F(DustAll, BlocksThatPassAreLoggedWhenAskedFor)
{
    cfg.iDbgOption[2] = 1;
    cfg.iDustOn = 0;
    check_all();
    EXPECT_EQ(lines_with("A [OK]"), 30u * 4);
    EXPECT_EQ(lines_with("D [OK]"), 20u * 4);
    EXPECT_EQ(lines_with("E [OK]"), 20u * 4);
}

TEST_F(DustAll, AShadingAtItsLimitsPasses)
{
    paint_blocks(10, 0, 1, 1, 191);
    cfg.iDustOn = 0;
    EXPECT_EQ(check_all(), 0);
    cfg.iShadingDiff100 = 899;
    EXPECT_EQ(check_all(), -1);
    cfg.iShadingRef = 191;
    EXPECT_EQ(check_all(), 0);
}

TEST_F(DustAll, AShadingOfTheFirstColumnAlone)
{
    cfg.iDustOn = 0;
    paint_blocks(0, 0, 1, 20, 191); // each row is as the others
    EXPECT_EQ(check_all(), 0);
    cfg.iShadingDiff100 = 899;
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(shading_place(), "8,0 15,7");
}

TEST_F(DustAll, AShadingOfTheFirstRowAlone)
{
    cfg.iDustOn = 0;
    cfg.tShadingArea[0] = {0, 0, 320, 40};
    cfg.tShadingArea[2] = {};
    paint_blocks(0, 0, 1, 1, 191); // with no such step along the row
    paint_blocks(1, 0, 1, 1, 196);
    EXPECT_EQ(check_all(), 0);
    cfg.iShadingDiff100 = 899;
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(shading_place(), "0,0 7,7");
}

TEST_F(DustAll, AFindSkipsTheLaterStages)
{
    paint_blocks(10, 0, 1, 1, 150);
    check_all();
    EXPECT_EQ(cfg.iShadingOk, 0);
    EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
    EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
    EXPECT_EQ(cfg.iDustOk, PIM_NO_RESULT);
    EXPECT_THAT(text, EndsWith(std::string(" <<<<< End   Checking Shading Image ... >>>>>") + END));
}

TEST_F(DustAll, A4xFailureSkipsTheLaterStages)
{
    paint(160, 80, 160, 80, 190);
    cfg.iShadingOn = 0;
    EXPECT_EQ(check_all(), -1);
    EXPECT_THAT(text, HasSubstr(" 4x AVE = 20000, 20000, 20000, 19000 \n"));
    EXPECT_EQ(cfg.i4xOk, 0);
    EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
    EXPECT_EQ(cfg.iDustOk, PIM_NO_RESULT);
}

TEST_F(DustAll, AnExposureFailureSkipsTheDust)
{
    cfg.iExpLow = 201;
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(cfg.i4xOk, 1);
    EXPECT_EQ(cfg.iExpOk, 0);
    EXPECT_EQ(cfg.iDustOk, PIM_NO_RESULT);
}

TEST_F(DustAll, A4xSumHasTheWholeBlocksWhoseCornerLiesInTheQuadrant)
{
    cfg.iShadingOn = cfg.iExpOn = cfg.iDustOn = 0;
    cfg.iBlockX = cfg.iBlockY = 64; // 5 columns and 3 rows: 3 and 2 begin before the middle
    make_picture(320, 160, 320, 32);
    check_all();
    EXPECT_THAT(text, HasSubstr(" 4x AVE = 38400, 25600, 19200, 12800 \n"));
}

TEST_F(DustAll, A4xMeanIsDividedByHalvesThatAreCut)
{
    cfg.iImgX = 321;
    check_all();
    EXPECT_THAT(text, HasSubstr(" 4x AVE = 20000, 20000, 20000, 20000 \n"));
}

TEST_F(DustAll, TheExposureIsAnIntegerMean)
{
    cfg.iShadingOn = cfg.i4xOn = cfg.iDustOn = 0;
    paint(0, 0, 320, 159, 201);
    check_all();
    EXPECT_EQ(cfg.fExpY, 200);
    EXPECT_THAT(text, HasSubstr(" AreaSum = 10290880 , AreaAve = 200.00 \n"));
}

TEST_F(DustAll, TheColourShadingNeverRuns)
{
    cfg.iCsOn = 1;
    cfg.iCsOk = cfg.iCsRst = PIM_NO_RESULT;
    check_all();
    EXPECT_THAT(text, Not(HasSubstr("Color")));
    EXPECT_EQ(cfg.iCsOk, PIM_NO_RESULT);
}

TEST_F(DustAll, ADustIsToldAsItWasFound)
{
    paint_blocks(20, 10, 1, 1);
    cfg.tDust[0].min100 = 77;
    cfg.tDust[0].max100 = 88;
    EXPECT_EQ(check_all(), 0);
    EXPECT_EQ(cfg.iDustOk, 0);
    EXPECT_EQ(cfg.iDCnt, 1);
    EXPECT_THAT(text, HasSubstr(">>>> iDCnt = 1 \n DUST[0] = ( 160,   80), ( 166,   80) \n"));
    EXPECT_EQ(cfg.tDust[0].x2, 166);
    EXPECT_EQ(cfg.tDust[0].y2, 80);
    EXPECT_EQ(cfg.tDust[0].min100, 77) << "this path has no extremes";
    EXPECT_EQ(cfg.tDust[0].max100, 88);
}

TEST_F(DustAll, ABlackMarkCounts)
{
    paint_blocks(20, 10, 1, 1, 0);
    check_all();
    EXPECT_EQ(cfg.iDCnt, 1);
    check();
    EXPECT_EQ(cfg.iDCnt, 0) << "but not in the check alone";
}

TEST_F(DustAll, BlobsAreMergedInOnePass)
{
    cfg.iShadingOn = cfg.i4xOn = 0; // which a hook fails
    paint_hooks();
    check_all();
    EXPECT_EQ(cfg.iDCnt, 2);
    check();
    EXPECT_EQ(cfg.iDCnt, 1) << "the check alone goes on";
}

TEST_F(DustAll, TheCountIsNotLimitedAndTheFirst32AreStored)
{
    cfg.iShadingOn = 0;
    paint_many(41);
    check_all();
    EXPECT_EQ(cfg.iDCnt, 41);
    EXPECT_EQ(cfg.iDustOk, 0);
    EXPECT_EQ(lines_with(" DUST["), 32u);
    EXPECT_EQ(cfg.tDust[31].x1, (1 + 30 * 3) * 8);
}

TEST_F(DustAll, ItsBitmapsHaveACounterOfTheirOwn)
{
    cfg.iBmpSave = 1;
    check_all();
    const int all = test::number_of(test::bitmap_of(text));
    check();
    check();
    const int alone = test::number_of(test::bitmap_of(text));
    cfg.iBmpSave = 0;
    check_all();
    cfg.iBmpSave = 1;
    check_all();
    EXPECT_EQ(test::number_of(test::bitmap_of(text)), all + 1);
    check();
    EXPECT_EQ(test::number_of(test::bitmap_of(text)), alone + 1);
}

TEST_F(DustAll, TheFirstBitmapOfEitherPathIsNumberOne)
{
    cfg.iBmpSave = 1;
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process in which none was made
    EXPECT_EXIT(
        {
            check_all();
            const int all = test::number_of(test::bitmap_of(text));
            check();
            std::filesystem::remove_all(camera.root());
            std::fprintf(stderr, "%d %d\n", all, test::number_of(test::bitmap_of(text)));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "1 1");
}

TEST_F(DustAll, SizesThatDoNotFitAreRefused)
{
    for (const int32_t size : {0, -1, INT_MIN, INT_MAX, 161}) {
        cfg.iBlockY = size;
        const rova_pim_dust_config before = cfg;
        EXPECT_EQ(check_all(), -1);
        EXPECT_THAT(text, StartsWith(" Dust Block Error : 8 x " + std::to_string(size) + " [ "));
        EXPECT_EQ(std::memcmp(&before, &cfg, sizeof(cfg)), 0);
    }
    cfg.iBlockY = 8;
    cfg.iBigOffset = -1;
    EXPECT_EQ(check_all(), -1);
    EXPECT_EQ(text, " Dust Offset Error : 2, -1 \n");
    cfg.iDustOn = 0; // which is what the offsets are for
    EXPECT_EQ(check_all(), 0);
}

TEST_F(DustAll, SumsAreDividedByLargeSizesInSixtyFourBits)
{
    cfg.iShadingOn = cfg.iDustOn = 0;
    cfg.iImgX = cfg.iImgY = 1 << 17; // products of them are 0 in 32 bits
    cfg.iExpLow = 0;
    EXPECT_EQ(check_all(), 0);
    EXPECT_THAT(text, HasSubstr(" AreaSum = 10240000 , AreaAve = 0.00 \n"));
    EXPECT_EQ(cfg.i4xOk, 1);
    EXPECT_EQ(cfg.iExpOk, 1);
}

TEST_F(DustAll, SizesOfThePictureThatDivideNothingAreRefused)
{
    cfg.iShadingOn = 0;
    for (const int32_t size : {0, -1, INT_MIN}) {
        cfg.iImgX = size;
        EXPECT_EQ(check_all(), -1);
        EXPECT_THAT(text, HasSubstr(" Image Size Error : " + std::to_string(size) + " x 160 \n"));
        EXPECT_EQ(cfg.i4xOk, PIM_NO_RESULT);
        cfg.i4xOn = 0;
        EXPECT_EQ(check_all(), -1);
        EXPECT_THAT(text, HasSubstr(" Image Size Error : " + std::to_string(size) + " x 160 \n"));
        EXPECT_EQ(cfg.iExpOk, PIM_NO_RESULT);
        cfg.i4xOn = 1;
    }
    EXPECT_EQ(cfg.iDustOk, PIM_NO_RESULT);
}
