#include "tests/lib/pim/dust/dust_search_run.h"

#include "tests/lib/pim/file_limit.h"
#include "tests/lib/pim/planes.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstring>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr char HEAD[] =
    " <<<<< Start Checking Dust ... >>>>> Log :,Dust  AREA , X1, Y1, X2, Y2, L1, "
    "L2, N.L3, \xA5\xC4\x31\x32 , \xA5\xC4\x32\x33, R.\xA5\xC4\x31\x32, "
    "R.\xA5\xC4\x32\x33 \n";
constexpr char END[] = " <<<<< End   Checking Dust ... >>>>>";

std::string told(const rova_pim_dust_spot &spot)
{
    return "(" + std::to_string(spot.x1) + ", " + std::to_string(spot.y1) + ") (" +
           std::to_string(spot.x2) + ", " + std::to_string(spot.y2) +
           ") = " + std::to_string(spot.min100) + ", " + std::to_string(spot.max100);
}

struct Dust : test::DustSearchRun {
    // A long step down, which is looked for with the small distance only.
    void paint_step()
    {
        cfg.tSearchArea[1].iBigRef100 = 25500;
        cfg.iBlurRef100 = 100;
        paint_blocks(20, 2, 20, 1);
    }
    void expect_refused(const std::string &report)
    {
        const rova_pim_dust_config before = cfg;
        EXPECT_EQ(check(), 0);
        EXPECT_THAT(text, HasSubstr(report));
        EXPECT_THAT(text, Not(HasSubstr("Start")));
        EXPECT_EQ(std::memcmp(&before, &cfg, sizeof(cfg)), 0) << report;
        EXPECT_TRUE(camera.logged("Dust ")) << report;
    }
};

} // namespace

TEST_F(Dust, SwitchedOffNothingIsSaid)
{
    cfg.iDustOn = 0;
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(cfg.iDustOk, PIM_NO_RESULT);
}

TEST_F(Dust, AFlatPicturePasses)
{
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(text, std::string(HEAD) + ">>>> iDCnt = 0 \n" + END);
    EXPECT_EQ(cfg.iDustOk, 1);
    EXPECT_EQ(cfg.iDustRst, 1);
    EXPECT_EQ(cfg.iDCnt, 0);
}

TEST_F(Dust, ADarkBlockIsFoundFromBothSides)
{
    paint_blocks(20, 10, 1, 1);
    cfg.iDbgLevel[1] = 1;
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(
        text,
        std::string(HEAD) +
            " BIG   >>>>> [ B ] (  128,    80) (  160,    80) = 20000 - 15000 =  5000 /   600 \n"
            "B BIG    [NG], 128, 80, 160, 80, 200.00, 150.00, - , 50.00, - , 6.00 \n"
            " SMALL >>>>> [ B ] (  144,    80) (  160,    80) = 20000 - 15000 =  5000 /   500 \n"
            "B SMALL  [NG], 144, 80, 160, 80, 200.00, 150.00, 200.00, 50.00, 50.00, 5.00 \n"
            " SMALL >>>>> [ B ] (  160,    80) (  176,    80) = 15000 - 20000 =  5000 /   500 \n"
            "B SMALL  [NG], 160, 80, 176, 80, 150.00, 200.00, 200.00, 50.00, 0.00, 5.00 \n"
            " BIG   >>>>> [ B ] (  160,    80) (  192,    80) = 15000 - 20000 =  5000 /   600 \n"
            "B BIG    [NG], 160, 80, 192, 80, 150.00, 200.00, - , 50.00, - , 6.00 \n"
            ">>>> iDCnt = 1 \n"
            " DUST[ 0] = ( 160,   80), ( 173,   87) = 150.00, 150.00 \n" +
            END);
    EXPECT_EQ(cfg.iDustOk, 0);
    EXPECT_EQ(cfg.iDustRst, 0);
    EXPECT_EQ(told(cfg.tDust[0]), "(160, 80) (173, 87) = 15000, 15000");
}

TEST_F(Dust, FindsAreLoggedWithoutTheirDetailsUnlessAskedFor)
{
    paint_blocks(20, 10, 1, 1);
    check();
    EXPECT_EQ(lines_with(">>>>> ["), 0u);
    EXPECT_EQ(lines_with("[NG]"), 4u);
    cfg.iDbgLevel[1] = -1;
    check();
    EXPECT_EQ(lines_with(">>>>> ["), 4u);
}

TEST_F(Dust, PassesAreLoggedWhenAskedFor)
{
    make_picture(32, 8, 32);
    cfg.iDbgOption[2] = 1;
    check();
    EXPECT_THAT(text, HasSubstr("23 \n"
                                "*B SMALL  [OK], 0, 0, 16, 0, 200.00, 200.00, 200.00, 0.00, 0.00, "
                                "5.00 \n"
                                "*B BIG    [OK], 0, 0, 31, 0, 200.00, 200.00, - , 0.00, - , 6.00 "
                                "\n"));
    EXPECT_EQ(lines_with("[OK]"), 8u);
    cfg.iDbgOption[2] = 2;
    check();
    EXPECT_EQ(lines_with("[OK]"), 0u);
}

TEST_F(Dust, ADifferenceAtTheLimitIsAFind)
{
    cfg.iSmallOffset = 1;
    cfg.tSearchArea[1].iBigRef100 = 25500;
    paint_blocks(20, 10, 1, 1, 195);
    check();
    EXPECT_EQ(lines_with("SMALL  [NG]"), 2u);
    cfg.tSearchArea[1].iSmallRef100 = 501;
    check();
    EXPECT_EQ(lines_with("SMALL  [NG]"), 0u);
}

TEST_F(Dust, APointOutsideEverySearchAreaNeedsADifferenceOfExactly25500)
{
    cfg.tSearchArea[1] = {};
    paint(0, 0, 320, 160, 255);
    paint_blocks(20, 10, 1, 1, 1);
    check();
    EXPECT_EQ(cfg.iDCnt, 0);
    paint_blocks(10, 10, 1, 1, 0);
    check();
    EXPECT_EQ(lines_with("- SMALL  [NG]"), 2u);
    EXPECT_EQ(cfg.iDCnt, 0) << "a mark of value 0 makes no piece";
    for (rova_pim_search_area &area : cfg.tSearchArea)
        area.iSmallRef100 = area.iBigRef100 = 25501; // of no point
    check();
    EXPECT_EQ(lines_with("- SMALL  [NG]"), 2u);
    EXPECT_EQ(lines_with("- BIG    [NG]"), 2u);
    cfg.iSmallOffset = 0; // each block with itself
    check();
    EXPECT_EQ(lines_with("[NG]"), 2u);
}

TEST_F(Dust, TheLimitIsThatOfTheFarPoint)
{
    cfg.tSearchArea[1].x1 = 160;
    paint_blocks(20, 10, 1, 1);
    check();
    EXPECT_THAT(text, HasSubstr("B SMALL  [NG], 144, 80, 160, 80,"));
    cfg.tSearchArea[1].x1 = 0;
    cfg.tSearchArea[1].x2 = 160;
    check();
    EXPECT_EQ(lines_with("[NG]"), 0u);
}

TEST_F(Dust, ABlurredBorderIsNoSmallDust)
{
    paint_step();
    cfg.BlurArea[0] = {0, 0, 320, 40};
    cfg.iDbgOption[2] = 1;
    check();
    // The far side of the step is followed by the like.
    EXPECT_EQ(lines_with("[NG]"), 0u);
    EXPECT_THAT(text,
                HasSubstr("*B SMALL  [Blur], 144, 16, 160, 16, 200.00, 150.00, 150.00, 50.00, "
                          "0.00, 5.00 \n"));
    EXPECT_EQ(lines_with("[Blur]"), 2u);
    EXPECT_EQ(cfg.iDustOk, 1);
}

TEST_F(Dust, TheBlurIsThatOfTheFarPoint)
{
    paint_step();
    cfg.BlurArea[0] = {160, 0, 320, 40};
    check();
    EXPECT_EQ(lines_with("[NG]"), 0u);
    cfg.BlurArea[0] = {0, 0, 160, 40};
    check();
    EXPECT_EQ(lines_with("[NG]"), 2u);
}

TEST_F(Dust, TheBackgroundIsTwoThreeAndFourSmallOffsetsOn)
{
    paint_blocks(20, 10, 1, 1, 150);
    paint_blocks(22, 10, 1, 1, 197);
    paint_blocks(24, 10, 1, 1, 196);
    paint_blocks(26, 10, 1, 1, 189);
    check();
    EXPECT_THAT(text, HasSubstr("B SMALL  [NG], 144, 80, 160, 80, 200.00, 150.00, 194.00, 50.00, "
                                "44.00, 5.00 \n"));
}

TEST_F(Dust, ABlurAtItsLimitIsAFind)
{
    paint_step();
    cfg.BlurArea[2] = {0, 0, 320, 160};
    cfg.iBlurRef100 = 1;
    check();
    EXPECT_EQ(lines_with("[NG]"), 0u);
    cfg.iBlurRef100 = 0;
    check();
    EXPECT_EQ(lines_with("[NG]"), 2u);
}

TEST_F(Dust, TheBottomStripIsNotBlurred)
{
    paint_step();
    cfg.BlurArea[1] = {0, 0, 320, 160};
    check();
    EXPECT_EQ(lines_with("[NG]"), 2u);
}

TEST_F(Dust, TheBigTestKnowsNoBlur)
{
    cfg.tSearchArea[1].iSmallRef100 = 25500;
    cfg.iBlurRef100 = 25500;
    cfg.BlurArea[0] = {0, 0, 320, 160};
    paint_blocks(20, 2, 20, 1);
    check();
    EXPECT_EQ(lines_with("BIG    [NG]"), 4u);
    EXPECT_EQ(cfg.iDCnt, 1);
}

TEST_F(Dust, AnExcludedBlockIsPassedOverAltogether)
{
    cfg.tExceptArea[0] = {0, 0, 320, 88};
    paint_blocks(20, 10, 1, 1);
    check();
    EXPECT_EQ(lines_with("[NG]"), 0u);
    // A strip at the far point of the small test stops the big one too.
    cfg.tExceptArea[0] = {144, 80, 145, 88};
    check();
    EXPECT_EQ(lines_with(" 128, 80,"), 0u);
    EXPECT_EQ(lines_with(" 144, 80,"), 0u);
    EXPECT_EQ(lines_with("[NG]"), 2u);
}

TEST_F(Dust, TheDarkerBlockIsMarked)
{
    paint(0, 80, 320, 8, 100);
    paint_blocks(20, 10, 1, 1, 150); // brighter than its neighbours, which get the marks
    check();
    EXPECT_EQ(cfg.iDCnt, 1);
    EXPECT_EQ(told(cfg.tDust[0]), "(128, 80) (205, 87) = 10000, 10000");
}

TEST_F(Dust, OfTwoBlocksThatAreEquallyDarkTheNearOneIsMarked)
{
    cfg.tSearchArea[1].iSmallRef100 = 0;
    cfg.tExceptArea[0] = {0, 0, 320, 80};
    cfg.tExceptArea[1] = {0, 88, 320, 160};
    cfg.tExceptArea[2] = {0, 80, 152, 88};
    cfg.tExceptArea[3] = {192, 80, 320, 88};
    check();
    EXPECT_EQ(lines_with("SMALL  [NG], 152, 80, 168, 80,"), 1u);
    ASSERT_EQ(cfg.iDCnt, 1);
    EXPECT_EQ(told(cfg.tDust[0]), "(152, 80) (181, 87) = 20000, 20000");
}

TEST_F(Dust, ADustSpanningTheRightEdgeStopsAtTheLastColumn)
{
    paint_blocks(39, 10, 1, 1);
    check();
    EXPECT_THAT(text, HasSubstr("B SMALL  [NG], 304, 80, 319, 80, 200.00, 150.00, 150.00,"));
    ASSERT_EQ(cfg.iDCnt, 1);
    // The far block begins where the walk stopped, and at its edge, seen from farther away.
    EXPECT_EQ(told(cfg.tDust[0]), "(312, 80) (325, 87) = 15000, 15000");
}

TEST_F(Dust, ANearFindAtTheRightEdgeIsCutThere)
{
    make_picture(316, 160, 336);
    paint(312, 80, 8, 8, 150);
    cfg.iSmallOffset = cfg.iBigOffset = 0;
    cfg.tSearchArea[1].iSmallRef100 = 0;
    cfg.tExceptArea[0] = {0, 0, 312, 160};
    cfg.iPixelSave = 1;
    cfg.iPixelFrom = cfg.iPixelTo = 80;
    check();
    EXPECT_EQ(lines_with("[NG]"), 20u);
    std::string marks;
    for (int x = 0; x < 316; x++)
        marks += x < 312 ? " ,255 " : " ,  0 ";
    EXPECT_THAT(camera.read("/mnt/mmc/pixels.csv"), testing::EndsWith("\n" + marks + "\n"));
}

TEST_F(Dust, PiecesInTheFirstMarkedStripeBeyondTheFirstAreLost)
{
    paint_blocks(5, 3, 1, 1);
    paint_blocks(30, 3, 1, 1);
    check();
    EXPECT_EQ(cfg.iDCnt, 1);
    EXPECT_EQ(cfg.tDust[0].x1, 40);
    paint_blocks(30, 4, 1, 1);
    check();
    EXPECT_EQ(cfg.iDCnt, 2);
}

TEST_F(Dust, EqualOffsetsSplitAPieceBehindThatOneWidth)
{
    cfg.iSmallOffset = cfg.iBigOffset = 1;
    cfg.iBlockY = 4;          // of no account for a width
    paint_blocks(2, 3, 1, 1); // a first stripe, whose further pieces would be lost
    paint_blocks(20, 10, 1, 1);
    paint_blocks(22, 10, 1, 1); // 10 columns behind the last even one
    check();
    EXPECT_EQ(cfg.iDCnt, 3);
    for (int32_t *offset : {&cfg.iBigOffset, &cfg.iSmallOffset}) { // the wider one counts
        cfg.iSmallOffset = cfg.iBigOffset = 1;
        *offset = 2;
        check();
        EXPECT_EQ(cfg.iDCnt, 2);
    }
}

TEST_F(Dust, APieceJoinsABlobBesideItWithinTheSmallOffset)
{
    paint_blocks(5, 3, 1, 1);
    paint_blocks(7, 4, 1, 1); // 10 columns behind the last even one, of 16
    check();
    EXPECT_EQ(cfg.iDCnt, 1);
    paint_blocks(7, 4, 1, 1, WHITE);
    paint_blocks(8, 4, 1, 1);
    check();
    EXPECT_EQ(cfg.iDCnt, 2);
}

TEST_F(Dust, APieceJoinsABlobAboveItWithinTheSmallOffset)
{
    cfg.iBlockY = 4;
    paint(40, 24, 8, 4, 150);
    paint(40, 32, 8, 4, 150); // two blocks below, as the offset
    check();
    EXPECT_EQ(cfg.iDCnt, 1);
    paint(40, 32, 8, 4, WHITE);
    paint(40, 36, 8, 4, 150);
    check();
    EXPECT_EQ(cfg.iDCnt, 2);
}

TEST_F(Dust, APictureWhereEveryStripeHasPiecesDropsThemAt256Blobs)
{
    make_picture(2000, 300, 2000);
    cfg.tSearchArea[1].x2 = 2000;
    cfg.tSearchArea[1].y2 = 300;
    cfg.iBlockX = cfg.iBlockY = 2;
    cfg.iSmallOffset = cfg.iBigOffset = 1;
    for (int32_t y = 0; y < 300; y += 20)
        for (int32_t x = 20; x < 1900; x += 40)
            paint(x, y, 2, 2, 150);
    check();
    EXPECT_EQ(cfg.iDCnt, 32);
    // 1 + 47 a stripe: the list is full in the seventh.
    EXPECT_EQ(cfg.tDust[0].y1, 0);
    EXPECT_EQ(cfg.tDust[1].y1, 20);
    EXPECT_EQ(lines_with("DUST["), 32u);
}

TEST_F(Dust, ACountAtTheLimitOf32IsNG)
{
    paint_many(32);
    check();
    EXPECT_EQ(cfg.iDCnt, 32);
    EXPECT_EQ(cfg.iDustOk, 0);
    EXPECT_EQ(told(cfg.tDust[31]), "(728, 80) (741, 87) = 15000, 15000");
    EXPECT_THAT(text, HasSubstr(" DUST[31] = ( 728,   80), ( 741,   87) = 150.00, 150.00 \n"));
    paint_many(33);
    check();
    EXPECT_EQ(cfg.iDCnt, 32);
    EXPECT_EQ(lines_with("DUST["), 32u);
}

TEST_F(Dust, MergingRepeatsUntilNothingMerges)
{
    paint_hooks();
    check();
    EXPECT_EQ(cfg.iDCnt, 1);
    EXPECT_EQ(told(cfg.tDust[0]), "(32, 16) (253, 119) = 14000, 15000");
    EXPECT_THAT(text, HasSubstr(" DUST[ 0] = (  32,   16), ( 253,  119) = 140.00, 150.00 \n"));
    paint_blocks(10, 0, 1, 4); // touches only what the second pass makes
    check();
    EXPECT_EQ(cfg.iDCnt, 1);
    EXPECT_EQ(cfg.tDust[0].y1, 0);
}

TEST_F(Dust, ABlockThatLeavesThePictureReadsMemoryAsItLies)
{
    make_picture(60, 20, 64, 4);
    cfg.tSearchArea[1].x2 = 64;
    cfg.iSmallOffset = cfg.iBigOffset = 1;
    paint(60, 0, 4, 8, 0);     // beside the picture
    paint(0, 20, 64, 4, 0);    // below it
    paint(8, 20, 8, 4, WHITE); // but here
    check();
    EXPECT_THAT(text,
                HasSubstr("B SMALL  [NG], 48, 0, 56, 0, 200.00, 100.00, 100.00, 100.00, 0.00, "
                          "5.00 \n"));
    EXPECT_THAT(text,
                HasSubstr("B SMALL  [NG], 0, 16, 8, 16, 100.00, 200.00, 100.00, 100.00, 100.00, "
                          "5.00 \n"));
}

TEST_F(Dust, NoByteBehindThePictureIsRead)
{
    test::Planes planes(64 * 23 + 64);
    image = {planes.bytes(), 60, 20, 64, CS422_Y_CbCr};
    check();
    EXPECT_NE(cfg.iDustOk, PIM_NO_RESULT);
    cfg.iDustOk = PIM_NO_RESULT;
    image.bytes = planes.bytes().first(64 * 23 + 63);
    expect_refused(" Dust Block Error : 8 x 8 [ 60 x 20, STRIDE = 64, CS = 9, 1535 bytes ] \n");
}

TEST_F(Dust, SizesWithoutBlocksAreRefused)
{
    for (const int32_t size : {0, -1, INT_MIN, INT_MAX, 161}) {
        cfg.iBlockX = 8;
        cfg.iBlockY = size;
        expect_refused(" Dust Block Error : 8 x " + std::to_string(size) + " [ 320 x 160");
        cfg.iBlockY = 8;
        cfg.iBlockX = size == 161 ? 321 : size;
        expect_refused(" Dust Block Error : " + std::to_string(cfg.iBlockX) + " x 8 [ 320 x 160");
    }
}

TEST_F(Dust, ABlockLargerThanThePictureIsRefusedThoughItsBytesAreThere)
{
    make_picture(320, 160, 336, 200);
    cfg.iBlockY = 161;
    expect_refused(" Dust Block Error : 8 x 161 [ 320 x 160");
    cfg.iBlockY = 8;
    cfg.iBlockX = 321;
    expect_refused(" Dust Block Error : 321 x 8 [ 320 x 160");
    cfg.iBlockX = 320;
    cfg.iBlockY = 160;
    check();
    EXPECT_EQ(cfg.iDustOk, 1);
}

TEST_F(Dust, PicturesWithoutPixelsAreRefused)
{
    const rova_pim_image good = image;
    for (const int32_t none : {0, -1, INT_MIN}) {
        image.width = none;
        expect_refused(" Dust Block Error : 8 x 8 [ " + std::to_string(none) + " x 160");
        image = good;
        image.height = none;
        expect_refused(" Dust Block Error : 8 x 8 [ 320 x " + std::to_string(none));
        image = good;
        image.pitch = none;
        expect_refused("STRIDE = " + std::to_string(none));
        image = good;
    }
    image.iCS = CS420_Y_CbCr + 100;
    expect_refused("CS = 102, ");
    image = good;
    image.height = INT_MAX;
    expect_refused(" Dust Block Error : 8 x 8 [ 320 x 2147483647");
    image = good;
    image.width = image.height = 25000; // would read each byte many times
    image.pitch = 1;
    expect_refused(" Dust Block Error : 8 x 8 [ 25000 x 25000, STRIDE = 1");
}

TEST_F(Dust, NegativeOffsetsAreRefused)
{
    cfg.iSmallOffset = -1;
    expect_refused(" Dust Offset Error : -1, 4 \n");
    cfg.iSmallOffset = 2;
    cfg.iBigOffset = INT_MIN;
    expect_refused(" Dust Offset Error : 2, -2147483648 \n");
}

TEST_F(Dust, AnOffsetOfAnySizeEndsAtTheLastColumn)
{
    cfg.iSmallOffset = cfg.iBigOffset = INT_MAX;
    paint_blocks(39, 10, 1, 1);
    check();
    EXPECT_EQ(lines_with("[NG]"), 78u);
    EXPECT_EQ(cfg.iDCnt, 0) << "the one marked column is odd: no piece";
}

TEST_F(Dust, WithoutAnOffsetABlockIsComparedWithItself)
{
    cfg.iSmallOffset = cfg.iBigOffset = 0;
    paint_blocks(20, 10, 1, 1);
    check();
    EXPECT_EQ(cfg.iDustOk, 1);
}

TEST_F(Dust, TheMeanOfALargeBlockDoesNotOverflow)
{
    make_picture(640, 300, 640);
    paint(0, 0, 640, 300, 255);
    paint(0, 0, 320, 300, 254);
    cfg.tSearchArea[1].x2 = 640;
    cfg.tSearchArea[1].iSmallRef100 = 100;
    cfg.tSearchArea[1].y2 = 300;
    cfg.iBlockX = 320;
    cfg.iBlockY = 300;
    cfg.iSmallOffset = cfg.iBigOffset = 1;
    check();
    EXPECT_THAT(text, HasSubstr("B SMALL  [NG], 0, 0, 320, 0, 254.00, 255.00, 255.00, 1.00, 0.00, "
                                "1.00 \n"));
    EXPECT_EQ(told(cfg.tDust[0]), "(0, 0) (637, 299) = 25400, 25400");
}

TEST_F(Dust, TheLumaOfInterleavedPicturesIsEverySecondByte)
{
    for (const int32_t iCS : {CS422_YCbYCr, CS422_CbYCrY}) {
        make_picture(160, 160, 320);
        image.iCS = iCS;
        const bool second = iCS == CS422_CbYCrY;
        for (std::size_t i = 0; i < bytes().size(); i++)
            bytes()[i] = (i % 2 == 1) == second ? WHITE : static_cast<uint8_t>(i);
        check();
        EXPECT_EQ(cfg.iDustOk, 1);
        paint(160, 80, 16, 8, 150);
        check();
        EXPECT_EQ(cfg.iDCnt, 1);
        EXPECT_EQ(told(cfg.tDust[0]), "(80, 80) (93, 87) = 15000, 15000");
    }
}

TEST_F(Dust, PixelDataHasTheStripesOfItsRange)
{
    make_picture(10, 24, 10);
    cfg.iBlockX = 5;
    cfg.iBlockY = 4;
    cfg.iSmallOffset = 1;
    cfg.iBigOffset = 0;
    cfg.iPixelSave = 1;
    cfg.iPixelFrom = 5; // the stripe that begins at 4 is outside
    cfg.iPixelTo = 8;   // both ends belong to it
    paint(5, 8, 5, 1, 100);
    check();
    EXPECT_EQ(camera.read("/mnt/mmc/pixels.csv"),
              "[0008] \n"
              " ,20000  ,20000  ,20000  ,20000  ,20000  ,10000  ,10000  ,10000  ,10000  ,10000 \n"
              " ,20000  ,20000  ,20000  ,20000  ,20000  ,17500  ,17500  ,17500  ,17500  ,17500 \n"
              " ,2500  ,2500  ,2500  ,2500  ,2500  ,  0  ,  0  ,  0  ,  0  ,  0 \n"
              " ,  0  ,  0  ,  0  ,  0  ,  0  ,  0  ,  0  ,  0  ,  0  ,  0 \n"
              " ,255  ,255  ,255  ,255  ,255  ,  0  ,  0  ,  0  ,  0  ,  0 \n");
    const std::string first = camera.read("/mnt/mmc/pixels.csv");
    cfg.iPixelSave = 2;
    check();
    EXPECT_EQ(camera.read("/mnt/mmc/pixels.csv"), first) << "not behind what was there";
    camera.remove("/mnt/mmc/pixels.csv");
    check();
    EXPECT_EQ(camera.read("/mnt/mmc/pixels.csv"), first) << "any number but 0";
    cfg.iPixelSave = 0;
    camera.remove("/mnt/mmc/pixels.csv");
    check();
    EXPECT_FALSE(camera.exists("/mnt/mmc/pixels.csv"));
}

TEST_F(Dust, TheMarksOfEachRunAreABitmapOfItsOwn)
{
    cfg.iBmpSave = 1;
    paint_blocks(20, 10, 1, 1);
    check();
    const std::string first = test::bitmap_of(text);
    check();
    const std::string second = test::bitmap_of(text);
    EXPECT_EQ(test::number_of(second), test::number_of(first) + 1);
    cfg.iBmpSave = 2;
    check();
    EXPECT_EQ(camera.read(test::bitmap_of(text)), camera.read(first)) << "any number but 0";
    EXPECT_THAT(first, StartsWith("/mnt/mmc/marks_"));
    EXPECT_GE(test::number_of(first), 1) << "raised before the name is made";
    const std::string file = camera.read(first);
    EXPECT_EQ(camera.read(second), file);
    ASSERT_EQ(file.size(), 1078u + 320 * 160);
    std::size_t marks = 0;
    for (int32_t y = 0; y < 160; y++) {
        for (int32_t x = 0; x < 320; x++) {
            const bool marked = y / 8 == 10 && x / 8 == 20;
            const char byte = file[1078 + static_cast<std::size_t>(320 * (159 - y) + x)];
            marks += byte == (marked ? '\0' : '\xff') ? 1 : 0;
        }
    }
    EXPECT_EQ(marks, 320u * 160);
}

TEST_F(Dust, ALastStripeThatIsCutHasItsRowsOnly)
{
    make_picture(320, 157, 320, 3);
    cfg.iBmpSave = 1;
    check();
    EXPECT_EQ(camera.read(test::bitmap_of(text)).size(), 1078u + 320 * 157);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Dust, FilesThatCannotBeOpenedAreReportedAndTheRunGoesOn)
{
    cfg.iBmpSave = cfg.iPixelSave = 1;
    say(cfg.strPixelFile, "/no/such/pixels.csv");
    say(cfg.strBmpFile, "/no/such/marks_0000.bmp");
    paint_blocks(20, 10, 1, 1);
    check();
    EXPECT_THAT(text, HasSubstr(" FILE OPEN ERROR : /no/such/pixels.csv \n"));
    EXPECT_THAT(text, HasSubstr(" FILE OPEN ERROR : " + test::bitmap_of(text) + " \n"));
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /no/such/pixels.csv"));
    EXPECT_EQ(cfg.iDCnt, 1);
}

TEST_F(Dust, ABitmapThatCannotBeWrittenIsRemoved)
{
    cfg.iBmpSave = 1;
    {
        test::FileLimit limit(20000);
        check();
    }
    EXPECT_FALSE(camera.exists(test::bitmap_of(text)));
    EXPECT_EQ(cfg.iDustOk, 1);
    const std::vector<std::string> log = test::lines_of(camera.platform_log());
    EXPECT_EQ(
        std::ranges::count_if(
            log, [](const std::string &line) { return line.find(" row ") != std::string::npos; }),
        1)
        << "the other rows are not tried";
}
