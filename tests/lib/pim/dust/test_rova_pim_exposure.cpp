#include "tests/lib/pim/dust/brightness_run.h"

#include <gmock/gmock.h>

#include <climits>

namespace
{

using ExposureRun =
    test::BrightnessRun<CheckExposure, &rova_pim_dust_config::iExpOn, &rova_pim_dust_config::iExpOk,
                        &rova_pim_dust_config::iExpRst>;

class Exposure : public ExposureRun
{
protected:
    Exposure()
    {
        cfg.iExpLow = 90;
        cfg.iExpHigh = 110;
        take(64, 32);
    }
};

} // namespace

TEST_F(Exposure, SwitchedOffDoesNothing)
{
    expect_nothing_when_off();
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
        expect_passed();
        EXPECT_EQ(cfg.fExpY, static_cast<float>(grey));
    }
}

TEST_F(Exposure, AMeanOutsideOfTheBoundsFails)
{
    for (const int off : {-1, 1}) {
        picture->fill(0, 0, 63, 31, static_cast<uint8_t>(off < 0 ? 90 : 110));
        picture->at(5, 6) = static_cast<uint8_t>(picture->at(5, 6) + off);
        EXPECT_THAT(check(), testing::HasSubstr("  [NG], "));
        expect_failed();
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
    expect_passed();
}

TEST_F(Exposure, APictureOfNoWidthIsRefused)
{
    picture->image.width = 0;
    check();
    expect_refused();
}

TEST_F(Exposure, SizesThatDivideByNothingAreRefused)
{
    expect_sizes_refused({{0, 32}, {64, 0}, {1, 1}, {-64, 32}, {0, INT_MAX}});
    EXPECT_EQ(cfg.fExpY, 0.0F);
    EXPECT_TRUE(camera.logged("Image Size Error : 64 x 0 [ 64 x 32 ]"));
}

TEST_F(Exposure, RowsBehindTheBytesAreRefused)
{
    expect_rows_refused({66, INT_MAX});
}
