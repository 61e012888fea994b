#include "tests/lib/pim/dust/brightness_run.h"

#include <gmock/gmock.h>

#include <climits>

using testing::HasSubstr;

namespace
{

using FourQuadrantsRun =
    test::BrightnessRun<Check4xShading, &rova_pim_dust_config::i4xOn, &rova_pim_dust_config::i4xOk,
                        &rova_pim_dust_config::i4xRst>;

class FourQuadrants : public FourQuadrantsRun
{
protected:
    FourQuadrants()
    {
        cfg.i4xDiff100 = 500;
        take(64, 32);
    }
};

} // namespace

TEST_F(FourQuadrants, SwitchedOffDoesNothing)
{
    expect_nothing_when_off();
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
    expect_passed();
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
        expect_failed();
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
    expect_passed();
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
    expect_failed();
}

TEST_F(FourQuadrants, ALowerHalfBehindTheBytesIsRefused)
{
    picture->image.bytes = picture->image.bytes.last(63 * 67); // up to where none may be read
    cfg.iImgY = 128;
    check();
    expect_refused();
}

TEST_F(FourQuadrants, APictureOfNoWidthOrOfNoUsablePitchIsRefused)
{
    for (const auto &[width, pitch] :
         {std::pair(0, 67), {-1, 67}, {64, INT_MAX}, {64, 0}, {64, -67}, {64, INT_MIN}}) {
        picture->image.width = width;
        picture->image.pitch = pitch;
        check();
        expect_refused();
        EXPECT_TRUE(camera.logged("[ " + std::to_string(width) + " x 32 ]"));
    }
}

TEST_F(FourQuadrants, SizesThatDivideByNothingAreRefused)
{
    expect_sizes_refused({{0, 32},
                          {1, 32},
                          {64, 0},
                          {2, 3},
                          {-64, 32},
                          {64, -32},
                          {INT_MIN, INT_MAX},
                          {0, INT_MAX}});
    EXPECT_TRUE(camera.logged("Image Size Error : 0 x 32 [ 64 x 32 ]"));
}

TEST_F(FourQuadrants, RowsBehindThePictureReadItsChromaAndNoneBehindTheBytes)
{
    cfg.iImgY = 64;
    check();
    expect_passed();
    expect_rows_refused({66, INT_MAX});
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
    expect_refused();
}
