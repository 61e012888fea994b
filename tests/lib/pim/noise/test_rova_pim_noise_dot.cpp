#include "tests/lib/pim/noise/noise_run.h"

#include <climits>
#include <cmath>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

class DotNoise : public test::NoiseRun
{
protected:
    std::string check() { return NoiseRun::check(CheckDotNoise); }
    void expect_refused(const std::string &report)
    {
        NoiseRun::expect_refused(CheckDotNoise, report);
    }
    // Where the blocks of an axis of 64 pixels in 4 cells begin: the only bright pixels are found
    // in the first block.
    int32_t first_column()
    {
        for (int32_t x = 0; x < X; x++) {
            picture.paint(0, 0, X, Y, 128);
            picture.paint(x, 0, 1, Y, 255);
            check();
            if (cfg.fYMax > 128)
                return x;
        }
        return -1;
    }
};

} // namespace

TEST_F(DotNoise, ACleanPicturePassesWithItsAverage)
{
    blocks(2, 1, 0, 0);
    picture.paint(32, 0, 32, Y, 130);
    EXPECT_EQ(check(), " <<<<< Start Checking Dot Noise ... >>>>> NX x NY = 2 x 1 \n"
                       " DIV. X x Y = 32 x 48 \n"
                       " iBX x iBY = 16 x 24 \n"
                       " Normalizing Base = 0 [ AVERAGE ] \n\n"
                       " AREA      Y      Y.Nor      0    128.00    99.22  [ OK ]  \n"
                       "   1    130.00   100.78  [ OK ]  \n"
                       " Y-Max = 130.00 , Y-Min = 128.00, Diff = 2.00 [ 10.00 ] \n"
                       " YnormalMax - YnormalMin = 100.78 - 99.22 = 1.55 [ 10.00 ] \n"
                       " OK : NO DOT NOISE ~~~~!!!  <<<<< End  Checking Dot Noise ... >>>>>");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iDotOk, 1);
    EXPECT_EQ(cfg.iDotRst, 1);
    EXPECT_FLOAT_EQ(cfg.fY, 129);
    EXPECT_FLOAT_EQ(cfg.fYMax, 130);
    EXPECT_FLOAT_EQ(cfg.fYMin, 128);
    EXPECT_FLOAT_EQ(cfg.fYnAvg, 100);
    EXPECT_FLOAT_EQ(cfg.fYnMax, 130 * 100.0F / 129);
    EXPECT_FLOAT_EQ(cfg.fYnMin, 128 * 100.0F / 129);
}

TEST_F(DotNoise, TheFirstBlockUnderTheSpecIsStored)
{
    picture.paint(16, 0, 16, 16, 90);
    picture.paint(48, 32, 16, 16, 80);
    EXPECT_THAT(check(), HasSubstr("   1     90.00    74.48  [ NG ]  \n"));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iDotOk, 0);
    EXPECT_EQ(cfg.iDotRst, 0);
    EXPECT_FLOAT_EQ(cfg.fY, 90);
    EXPECT_FLOAT_EQ(cfg.fYMin, 80);
    EXPECT_THAT(check(), HasSubstr("  11     80.00    66.21  [ NG ]  \n"));
    EXPECT_THAT(check(), HasSubstr(" NG : FOUND DOT NOISE ERROR !!! "));
}

TEST_F(DotNoise, ABlockOfJustTheSpecPasses)
{
    both(cfg.fYSpec, 128);
    EXPECT_THAT(check(), Not(HasSubstr("NG")));
    EXPECT_EQ(result, 0);
}

// fY at 0 is how the first failing block is told, so a black one is not.
TEST_F(DotNoise, AFirstFailingBlockOfMeanZeroLeavesTheNextToBeStored)
{
    picture.paint(0, 0, 16, 16, 0);
    picture.paint(16, 0, 16, 16, 70);
    check();
    EXPECT_EQ(result, -1);
    EXPECT_FLOAT_EQ(cfg.fY, 70);
}

TEST_F(DotNoise, ABlackBlockAloneFailsWithTheAverageStored)
{
    picture.paint(0, 0, 16, 16, 0);
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iDotOk, 0);
    EXPECT_FLOAT_EQ(cfg.fY, 128.0F * 11 / 12);
}

TEST_F(DotNoise, ABlackPictureFailsWithoutNormalisedValues)
{
    picture.paint(0, 0, X, Y, 0);
    check();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.fY, 0);
    EXPECT_TRUE(std::isnan(cfg.fYnAvg));
}

TEST_F(DotNoise, TheSpecIsThatOfTheIso)
{
    cfg.fYSpec[1] = 200;
    check();
    EXPECT_EQ(result, 0);
    cfg.iIsoIdx = 1;
    check();
    EXPECT_EQ(result, -1);
}

TEST_F(DotNoise, RangesOverTheirLimitsAreOnlyPrinted)
{
    picture.paint(0, 0, 16, 16, 140);
    EXPECT_THAT(check(), HasSubstr(", Diff = 12.00 [ 10.00 ] \n NG : Y.Max - Y.Min Error  ~ !!! "));
    EXPECT_EQ(result, 0);
    both(cfg.fNormMaxMinSpec, 9);
    EXPECT_THAT(check(), HasSubstr(" [ 9.00 ] \n NG : Dot Noise Error : Normalize Error ~~~ !!! "));
    EXPECT_EQ(result, 0);
    both(cfg.fYMaxMinSpec, 12);
    EXPECT_THAT(check(), Not(HasSubstr("Y.Max - Y.Min Error")));
}

// So large a sum has no odd floats: the one pixel that is brighter is lost.
TEST_F(DotNoise, AMeanIsTheFloatOfASumByTheFloatOfACount)
{
    const test::NoisePicture large(300, 399, 300, 200);
    large.luma(7, 7) = 201;
    blocks(1, 1, 0, 0);
    test::captured_output([&] { result = CheckDotNoise(large.image, cfg); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.fYMax, 200);
    EXPECT_EQ(cfg.fY, 200) << "the average, too";
}

// Not the geometric centre, where four blocks meet.
TEST_F(DotNoise, TheCentreOfAnEvenGridIsTheBlockAtHalfTheCount)
{
    blocks(4, 2, 0, 0);
    picture.paint(0, 24, 16, 24, 200); // block 4
    for (const int32_t base : {1, 7, -1}) {
        cfg.iNormBase = base;
        EXPECT_THAT(check(),
                    HasSubstr(" Normalizing Base = " + std::to_string(base) + " [ CENTER ] \n\n"));
        EXPECT_FLOAT_EQ(cfg.fYnMax, 100);
        EXPECT_FLOAT_EQ(cfg.fYnMin, 64);
    }
}

TEST_F(DotNoise, TheLastColumnOfWholeCellsIsWiderWhereTheWidthDoesNotDivide)
{
    blocks(3, 1, 0, 0); // of 21 pixels, the last of 22
    picture.paint(63, 0, 1, Y, 128 + 22);
    check();
    EXPECT_FLOAT_EQ(cfg.fYMax, 129);
    EXPECT_FLOAT_EQ(cfg.fY, 128 + 22.0F / 64);
}

TEST_F(DotNoise, TheLastRowOfWholeCellsIsHigherWhereTheHeightDoesNotDivide)
{
    blocks(1, 5, 0, 0); // of 9 rows, the last of 12
    picture.paint(0, 47, X, 1, 128 + 12);
    check();
    EXPECT_FLOAT_EQ(cfg.fYMax, 129);
}

// Rows of the block's height then, the last up to the picture's end.
TEST_F(DotNoise, WithoutAConfiguredWidthTheHeightAloneDoesNotMakeBlocks)
{
    blocks(4, 3, 0, 10);
    picture.paint(0, 10, X, 10, 150);
    check();
    EXPECT_FLOAT_EQ(cfg.fYMax, 150);
    picture.paint(0, 10, X, 10, 128);
    picture.paint(0, 47, X, 1, 128 + 28); // of the last row's 28
    check();
    EXPECT_FLOAT_EQ(cfg.fYMax, 129);
}

TEST_F(DotNoise, AnEvenRestPutsBlocksAtTheMiddleOfTheirCellAndAnOddOneAtItsInset)
{
    const std::pair<int32_t, int32_t> rests[] = {{14, 2}, {13, 2}, {12, 8}, {11, 8},
                                                 {10, 4}, {9, 4},  {8, 8},  {2, 8}};
    for (const auto &[div, begin] : rests) {
        blocks(4, 1, div, 1);
        EXPECT_EQ(first_column(), begin) << div;
    }
}

TEST_F(DotNoise, TheInsetOfRowsIsThatOfColumns)
{
    blocks(4, 3, 16, 10);
    EXPECT_THAT(check(), HasSubstr(" iBX x iBY = 8 x 4 \n"));
    blocks(4, 3, 15, 9);
    EXPECT_THAT(check(), HasSubstr(" iBX x iBY = 8 x 4 \n"));
    blocks(4, 3, 16, 0);
    EXPECT_THAT(check(), HasSubstr(" DIV. X x Y = 16 x 16 \n iBX x iBY = 8 x 8 \n"));
}

TEST_F(DotNoise, ABlockThatLeavesThePictureReadsTheMemoryAsItLies)
{
    blocks(4, 3, 16, 16); // the last to column 71 and row 55, past the pitch and into the chroma
    for (int32_t y = 0; y < 8; y++)
        std::fill_n(&picture.byte(picture.chroma() + y * PITCH), PITCH, uint8_t{200});
    check();
    EXPECT_EQ(result, 0);
    // Half of the last block: of its 8 last rows 14 columns and, behind the pitch, the 2 first ones
    // of the next row, so of row 47 too.
    EXPECT_FLOAT_EQ(cfg.fYMax, 164);
}

TEST_F(DotNoise, ABlockThatLeavesThePlanesIsRefused)
{
    blocks(4, 3, 16, 16);
    const std::span<const uint8_t> bytes = picture.image.bytes;
    const std::size_t last = 55 * PITCH + 71;
    picture.image.bytes = bytes.first(last);
    expect_refused(" blocks of 16 x 16 leave the 3921 bytes of the picture \n");
    picture.image.bytes = bytes.first(last + 1);
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(DotNoise, ABlockLargerThanItsCellIsRefused)
{
    blocks(4, 3, 17, 16);
    expect_refused(" Block Size Error : 17 x 16 [ 16 x 16 ] \n");
    blocks(4, 3, 16, 17);
    expect_refused(" Block Size Error : 16 x 17 [ 16 x 16 ] \n");
    EXPECT_THAT(check(), StartsWith(" <<<<< Start Checking Dot Noise ... >>>>>"));
    EXPECT_THAT(check(), Not(HasSubstr("End ")));
}

TEST_F(DotNoise, AGridThatThePictureHasNoPixelsForIsRefused)
{
    for (const auto &[nx, ny] :
         {std::pair(0, 3), {4, 0}, {-1, 3}, {INT_MIN, 1}, {65, 1}, {1, 49}, {INT_MAX, INT_MAX}}) {
        blocks(nx, ny, 0, 0);
        expect_refused(" no " + std::to_string(nx) + " x " + std::to_string(ny) +
                       " blocks of 0 x 0 in a picture of 64 x 48 \n");
    }
    blocks(4, 3, -1, 0);
    expect_refused(" no 4 x 3 blocks of -1 x 0 in a picture of 64 x 48 \n");
    blocks(4, 3, 0, INT_MIN);
    expect_refused(" no 4 x 3 blocks of 0 x -2147483648 in a picture of 64 x 48 \n");
}

// Rows that overlap have more pixels than there are bytes.
TEST_F(DotNoise, AGridOfMoreBlocksThanThePictureHasBytesIsRefused)
{
    picture.image.pitch = 1;
    picture.image.bytes = picture.image.bytes.first(X + Y);
    blocks(X, Y, 0, 0);
    expect_refused(" no 64 x 48 blocks of 0 x 0 in a picture of 64 x 48 \n");
    blocks(7, 16, 0, 0); // as many
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(DotNoise, ABlockForEachPixelIsTheFinestGrid)
{
    blocks(64, 48, 0, 0);
    picture.luma(63, 47) = 129;
    check();
    EXPECT_EQ(result, 0);
    EXPECT_FLOAT_EQ(cfg.fYMax, 129);
}

TEST_F(DotNoise, APictureOfAnySizesIsRefusedWhereItsBytesDoNotReach)
{
    blocks(1, 1, 0, 0);
    picture.image.width = INT_MAX;
    expect_refused(" blocks of 2147483647 x 48 leave the 6720 bytes of the picture \n");
    blocks(2, 1, INT_MAX / 2, 3);
    expect_refused(" blocks of 1073741823 x 3 leave the 6720 bytes of the picture \n");
    picture.image.height = 0;
    expect_refused(" Block Size Error : 1073741823 x 3 [ 1073741823 x 0 ] \n");
    blocks(2, 1, 0, 0);
    expect_refused(" no 2 x 1 blocks of 0 x 0 in a picture of 2147483647 x 0 \n");
}

TEST_F(DotNoise, OtherColourSpacesHaveTheirLumaElsewhere)
{
    picture.image.width = 32;
    for (int32_t x = 0; x < X; x += 2)
        picture.paint(x, 0, 1, Y, 200);
    blocks(2, 2, 0, 0);
    picture.image.iCS = CS422_YCbYCr;
    check();
    EXPECT_FLOAT_EQ(cfg.fY, 200);
    picture.image.iCS = CS422_CbYCrY;
    check();
    EXPECT_FLOAT_EQ(cfg.fY, 128);
    picture.image.iCS = CS420_Y_CbCr;
    check();
    EXPECT_FLOAT_EQ(cfg.fY, 164);
    picture.image.iCS = CS422_Y_Cb_Cr;
    expect_refused(" blocks of 16 x 24 leave the 6720 bytes of the picture \n");
}
