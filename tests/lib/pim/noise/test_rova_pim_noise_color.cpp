#include "tests/lib/pim/noise/noise_run.h"

#include <climits>

using testing::HasSubstr;

namespace
{

constexpr float GREY = 130; // red, green and blue of a luma of 128 with Cb and Cr of 128

class ColorNoise : public test::NoiseRun
{
protected:
    // 4 x 3 blocks of 10 x 10 pixels, 4 from the left and the top of their cell of 16 x 16.
    ColorNoise()
    {
        cfg.iColorOn = 1;
        blocks(4, 3, 10, 10);
    }
    std::string check() { return NoiseRun::check(CheckColorNoise); }
    void colour(int32_t block, uint8_t cb, uint8_t cr) const
    {
        const int32_t cellX = X / cfg.iNX, cellY = Y / cfg.iNY;
        const int32_t x = block % cfg.iNX * cellX, y = block / cfg.iNX * cellY;
        for (int32_t row = y; row < y + cellY; row++) {
            for (int32_t pair = x / 2; pair < (x + cellX) / 2; pair++) {
                picture.cb(pair, row) = cb;
                picture.cr(pair, row) = cr;
            }
        }
    }
    void expect_stored(float r, float g, float b, float rg, float bg) const
    {
        EXPECT_FLOAT_EQ(cfg.fR, r);
        EXPECT_FLOAT_EQ(cfg.fG, g);
        EXPECT_FLOAT_EQ(cfg.fB, b);
        EXPECT_FLOAT_EQ(cfg.fRG, rg);
        EXPECT_FLOAT_EQ(cfg.fBG, bg);
    }
    void expect_refused(const std::string &report)
    {
        NoiseRun::expect_refused(CheckColorNoise, report);
    }
    void expect_no_colours()
    {
        expect_refused(" no colours of " + std::to_string(cfg.iNX) + " x " +
                       std::to_string(cfg.iNY) + " blocks of ");
    }
};

} // namespace

TEST_F(ColorNoise, ACleanPicturePassesWithTheMeansOfItsBlocks)
{
    const std::string rule = " " + std::string(80, '=') + "\n";
    blocks(2, 1, 10, 10);
    colour(1, 129, 128);
    EXPECT_EQ(check(),
              " <<<<< Start Checking Color Noise ... >>>>> NX  x NY  = 2 x 1 = 2 \n"
              " IDX x IDY = 10 x 10 = 100 \n"
              " iBX x iBY = 12 x 20 \n" +
                  rule +
                  "  AREA    R        G        B           R-G      B-G          "
                  "       [100.00] [100.00] [100.00]    [ 10.00] [ 10.00] \n" +
                  rule +
                  " [  0 ] 130.00 : 130.00 : 130.00  :::   0.00 :   0.00  [ OK ] \n"
                  " [  1 ] 130.00 : 130.00 : 132.00  :::   0.00 :   2.00  [ OK ] \n"
                  " R-G.Max - R-G.Min =   0.00 -   0.00 =   0.00  [ OK ] \n"
                  " B-G.Max - B-G.Min =   2.00 -   0.00 =   2.00  [ OK ] \n"
                  " >>> OK : NO Color Noise ~~~ !!!  <<<<< End  Checking Color Noise ... >>>>>");
    EXPECT_EQ(result, 0);
    EXPECT_EQ(cfg.iColorOk, 1);
    EXPECT_EQ(cfg.iColorRst, 1);
    expect_stored(GREY, GREY, 131, 0, 1);
}

TEST_F(ColorNoise, TheFirstFailingBlockIsStoredWithItsDifferencesUnsigned)
{
    colour(5, 128, 118); // red 114, green 139
    colour(7, 138, 128);
    const std::string text = check();
    EXPECT_THAT(text,
                HasSubstr(" [  5 ] 114.00 : 139.00 : 130.00  ::: -25.00 :  -9.00  [ NG ] \n"));
    EXPECT_THAT(text, HasSubstr(" >>> NG : Found Color Noise ~~~ !!! "));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cfg.iColorOk, 0);
    EXPECT_EQ(cfg.iColorRst, 0);
    expect_stored(114, 139, GREY, 25, 9);
}

TEST_F(ColorNoise, EachLimitFailsABlockByItself)
{
    colour(3, 138, 138); // red 146, green 118, blue 151
    float *const limits[] = {&cfg.fRedSpec[0], &cfg.fGreenSpec[0], &cfg.fBlueSpec[0]};
    both(cfg.fRGDiffSpec, 255);
    both(cfg.fBGDiffSpec, 255);
    check();
    EXPECT_EQ(result, 0);
    for (float *limit : limits) {
        *limit = limit == &cfg.fGreenSpec[0] ? 118 : GREY; // the lowest of all blocks
        check();
        EXPECT_EQ(result, 0);
        *limit = 152;
        check();
        EXPECT_EQ(result, -1);
        *limit = 100;
    }
    for (auto *spec : {&cfg.fRGDiffSpec, &cfg.fBGDiffSpec}) {
        (*spec)[0] = 20;
        check();
        EXPECT_EQ(result, -1);
        cfg.iIsoIdx = 1;
        check();
        EXPECT_EQ(result, 0);
        cfg.iIsoIdx = 0;
        (*spec)[0] = 255;
    }
}

// A mean difference of 0.04, just short of it as a float.
TEST_F(ColorNoise, DifferencesAreCutToHundredthsBeforeTheyAreCompared)
{
    picture.cr(2, 4) = 129; // two of 100 pixels with a red of 132
    both(cfg.fRGDiffSpec, 0.03F);
    EXPECT_THAT(check(), HasSubstr(" [  0 ] 130.04 : 130.00 : 130.00  :::   0.04 :   0.00  [ OK"));
    EXPECT_EQ(result, 0);
    both(cfg.fRGDiffSpec, 0.0299F);
    check();
    EXPECT_EQ(result, -1);
    expect_stored(130.04F, GREY, GREY, 0.03F, 0);
}

// 130 of each of 360 x 400 pixels but three with 129: 18719997, which is no float.
TEST_F(ColorNoise, AMeanIsTheFloatOfASumByTheFloatOfACount)
{
    const test::NoisePicture large(362, 402, 362);
    for (const int32_t x : {7, 9, 11})
        large.luma(x, 7) = 127;
    blocks(1, 1, 360, 400);
    cfg.iCbOffset = cfg.iCrOffset = large.chroma();
    test::captured_output([&] { result = CheckColorNoise(large.image, cfg); });
    EXPECT_EQ(result, 0);
    for (const float mean : {cfg.fR, cfg.fG, cfg.fB})
        EXPECT_EQ(mean, 18719996.0F / 144000.0F);
}

// The maximum of red begins with the first block's blue, and that of blue with 0.
TEST_F(ColorNoise, TheRangesOfASingleBlockAreNoRanges)
{
    blocks(1, 1, 10, 10);
    for (auto *spec : {&cfg.fRGDiffSpec, &cfg.fBGDiffSpec})
        both(*spec, 99);
    colour(0, 138, 138); // red - green 28, blue - green 33
    EXPECT_THAT(check(), HasSubstr(" R-G.Max - R-G.Min =  33.00 -  28.00 =   5.00  [ OK ] \n"
                                   " B-G.Max - B-G.Min =   0.00 -  33.00 = -33.00  [ OK ] \n"));
    EXPECT_FLOAT_EQ(cfg.fRGRange, 5);
    EXPECT_FLOAT_EQ(cfg.fBGRange, -33);
}

TEST_F(ColorNoise, ABlockOfLessRedThanTheFirstReplacesTheMaximumOfRed)
{
    blocks(4, 1, 10, 10);
    colour(0, 128, 129); // red - green 2, blue - green 0
    colour(2, 131, 128); // 1
    both(cfg.fRGMaxMinSpec, -2);
    EXPECT_THAT(check(), HasSubstr(" R-G.Max - R-G.Min =   0.00 -   2.00 =  -2.00  [ OK ] \n"));
    both(cfg.fRGMaxMinSpec, -2.1F);
    EXPECT_THAT(check(), HasSubstr(" R-G.Max - R-G.Min =   0.00 -   2.00 =  -2.00  [ NG ] \n"));
    EXPECT_EQ(result, 0); // which is only printed
    both(cfg.fRGMaxMinSpec, 10);
    colour(3, 133, 128); // 2: above the maximum, not below the first
    EXPECT_THAT(check(), HasSubstr(" R-G.Max - R-G.Min =   2.00 -   2.00 =   0.00  [ OK ] \n"));
}

TEST_F(ColorNoise, ABlockOfMoreBlueThanTheFirstReplacesTheMaximumOfBlue)
{
    blocks(4, 1, 10, 10);
    both(cfg.fBGDiffSpec, 99);
    both(cfg.fBGMaxMinSpec, 8);
    colour(0, 130, 128); // blue - green 4
    colour(1, 134, 128); // 14
    colour(2, 133, 128); // 12: below the maximum, but above the first
    colour(3, 130, 128);
    EXPECT_THAT(check(), HasSubstr(" B-G.Max - B-G.Min =  12.00 -   4.00 =   8.00  [ OK ] \n"));
    both(cfg.fBGMaxMinSpec, 7.9F);
    EXPECT_THAT(check(), HasSubstr("12.00 -   4.00 =   8.00  [ NG ] \n"));
    EXPECT_EQ(result, 0); // which is only printed
}

// Unlike a dot's: the blocks of the last row leave the planes.
TEST_F(ColorNoise, WholeCellsAreInsetAsOtherBlocksAre)
{
    blocks(4, 3, 0, 10);
    EXPECT_THAT(check(), HasSubstr(" IDX x IDY = 16 x 10 = 160 \n iBX x iBY = 8 x 4 \n"));
    EXPECT_EQ(result, 0);
    blocks(4, 3, 0, 0);
    expect_no_colours();
    EXPECT_EQ(NoiseRun::check(CheckDotNoise).find("leave"), std::string::npos);
    EXPECT_EQ(result, 0);
}

TEST_F(ColorNoise, ABlockThatLeavesThePictureReadsTheMemoryAsItLies)
{
    blocks(4, 1, 16, 10); // the last from column 56, rows 20 to 29; behind the pitch the next row
    both(cfg.fRGDiffSpec, 0.1F);
    for (int32_t y = 21; y <= 30; y++)
        picture.cr(0, y) = 138; // two pixels of each row are 24 redder
    check();
    EXPECT_EQ(result, -1);
    EXPECT_FLOAT_EQ(cfg.fR, GREY + 2);
    EXPECT_FLOAT_EQ(cfg.fG, GREY - 1);
}

TEST_F(ColorNoise, InCellsOfOddWidthAPairMayBeginBeforeItsBlock)
{
    blocks(3, 1, 11, 10); // block 1 from column 27, rows 20 to 29: pairs 13 to 17
    both(cfg.fRGDiffSpec, 0.1F);
    for (int32_t y = 20; y < 30; y++)
        picture.cr(13, y) = 129;
    check();
    EXPECT_EQ(result, -1);
    EXPECT_FLOAT_EQ(cfg.fR, 130.4F);
    for (int32_t y = 20; y < 30; y++)
        std::swap(picture.cr(13, y), picture.cr(18, y));
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(ColorNoise, CbAndCrMayLieInPlanesOfTheirOwn)
{
    blocks(1, 1, 10, 10); // pairs 14 to 18, rows 20 to 29
    cfg.iCrOffset += 2;
    for (int32_t y = 20; y < 30; y++)
        picture.cr(19, y) = 129;
    check();
    EXPECT_FLOAT_EQ(cfg.fR, 130.4F);
    cfg.iCrOffset -= 2;
    check();
    EXPECT_FLOAT_EQ(cfg.fR, GREY);
}

TEST_F(ColorNoise, InColourSpacesOfHalfTheRowsTwoRowsOfPixelsShareTheirChroma)
{
    picture.image.iCS = CS420_Y_CbCr;
    blocks(1, 1, 10, 13); // rows 18 to 29 of 30, and 9 to 14 of chroma
    picture.cr(14, 9) = 129;
    picture.paint(0, 30, X, 1, 255);
    check();
    EXPECT_EQ(result, 0);
    EXPECT_FLOAT_EQ(cfg.fR, (116 * 130 + 4 * 132) / 120.0F);
}

TEST_F(ColorNoise, ABlockLargerThanItsCellIsRefused)
{
    blocks(4, 3, 17, 16);
    expect_refused(" Block Size Error : 17 x 16 [ 16 x 16 ] \n");
}

TEST_F(ColorNoise, AGridThatThePictureHasNoPixelsForIsRefused)
{
    blocks(0, 3, 10, 10);
    expect_refused(" no 0 x 3 blocks of 10 x 10 in a picture of 64 x 48 \n");
}

TEST_F(ColorNoise, BlocksWithoutAPairOfPixelsAreRefused)
{
    blocks(4, 3, 1, 10);
    expect_no_colours();
    picture.image.iCS = CS420_Y_CbCr;
    blocks(4, 3, 10, 1);
    expect_no_colours();
}

TEST_F(ColorNoise, ChromaOutsideOfThePlanesIsRefused)
{
    for (int32_t *offset : {&cfg.iCbOffset, &cfg.iCrOffset}) {
        const int32_t good = *offset;
        for (const int32_t bad : {INT_MIN, -4 * PITCH - 9, 2 * good, INT_MAX}) {
            *offset = bad;
            expect_no_colours();
        }
        *offset = good;
    }
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(ColorNoise, LumaOutsideOfThePlanesIsRefusedWhereverItsChromaLies)
{
    constexpr std::size_t LAST = 45 * PITCH + 61; // of the last block, in columns 52 to 61
    const std::span<const uint8_t> bytes = picture.image.bytes;
    cfg.iCbOffset = cfg.iCrOffset = -PITCH; // the row above, as grey as the chroma
    picture.image.bytes = bytes.first(LAST);
    expect_no_colours();
    picture.image.bytes = bytes.first(LAST + 1);
    check();
    EXPECT_EQ(result, 0);
}

TEST_F(ColorNoise, ColourSpacesWithoutLumaOrAPairForEachTwoPixelsAreRefused)
{
    for (const int32_t iCS : {-1, 0, 4, 8, 10, 14, 15, 22}) {
        picture.image.iCS = iCS;
        expect_no_colours();
    }
}
