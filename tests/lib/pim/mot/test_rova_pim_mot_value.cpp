#include "lib/pim/mot/rova_pim_wedge.h"
#include "lib/pim/rova_pim_debug.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>

namespace
{

// The wedge of window 2 from line 10 to 110 of its strip.  Its value is magnified by
// effectivePixel / 400: 2000 high against 4000 x 2 x 100.
struct MotValue : testing::Test {
    static constexpr int32_t INDEX = 2;
    test::Camera camera;
    std::unique_ptr<rova_pim_pm_config> cfg = std::make_unique<rova_pim_pm_config>();
    rova_pim_chart_config &chart = cfg->chart[1];

    MotValue()
    {
        const int32_t ref[] = {1000, 3000, 500, 900};
        std::copy(std::begin(ref), std::end(ref), chart.ref);
        cfg->imageW = 4000;
        cfg->imageH = 2000;
        cfg->chartHeight[1] = 2;
        cfg->centerPimaHeight[1] = 1;
        cfg->effectivePixel = 440;
        cfg->orgAbsPima[0] = {0, 0, 0, 0, 100, 40};
        cfg->orgAbsPima[INDEX] = {0, 0, 0, 0, 7, 9};
    }
    ~MotValue() override { gDbgPrintOnOff = 0; }
    void value(int32_t position, int32_t start = 10, int32_t end = 110) const
    {
        rova_pim_mot_value({start, end, position}, 1, INDEX, *cfg);
    }
    // Before and behind the correction.
    std::string values() const
    {
        return std::to_string(cfg->motOrgValue[INDEX]) + " " + std::to_string(cfg->motValue[INDEX]);
    }
    std::string positions() const
    {
        return std::to_string(cfg->posFound[INDEX]) + " " +
               std::to_string(cfg->posCorrected[INDEX]);
    }
};

} // namespace

TEST_F(MotValue, IsTheShareOfTheWedgeMagnified)
{
    value(60);
    EXPECT_EQ(values(), "2000 2200");
    EXPECT_EQ(positions(), "50 60"); // 50 x 1200 / 1000
    value(61, 10, 109);
    EXPECT_EQ(values(), "2030 2233"); // 2000 x 51 / 99
    EXPECT_EQ(positions(), "51 61");  // 51 x 1233 / 1030
}

TEST_F(MotValue, ADirectionCountsFromTheEnd)
{
    chart.dir[INDEX] = 1;
    value(60);
    EXPECT_EQ(values(), "2000 2200");
    EXPECT_EQ(positions(), "50 40"); // 50 x 1200 / -1000 + 100
    value(35);
    EXPECT_EQ(values(), "2500 2750");
    EXPECT_EQ(positions(), "25 13"); // 75 x 1750 / -1500 + 100
}

TEST_F(MotValue, AWindowAtTheSideHasOtherReferences)
{
    chart.pos[INDEX] = 1;
    value(60);
    EXPECT_EQ(values(), "700 770");
    EXPECT_EQ(positions(), "50 67"); // 50 x 270 / 200
    chart.pos[INDEX] = -1;
    value(60);
    EXPECT_EQ(values(), "700 770");
}

TEST_F(MotValue, WhatIsNotResolvedHasTheLeastValueWithoutCorrection)
{
    value(10);
    EXPECT_EQ(values(), "1000 1000");
    EXPECT_EQ(positions(), "0 0");
    chart.dir[INDEX] = 1;
    value(110);
    EXPECT_EQ(values(), "1000 1000");
    EXPECT_EQ(positions(), "100 100");
}

TEST_F(MotValue, AWedgeWithoutALengthHasTheLeastValue)
{
    for (int32_t end : {10, 9, -50}) {
        value(60, 10, end);
        EXPECT_EQ(values(), "1000 1000") << end;
        EXPECT_EQ(positions(), "50 50") << end;
    }
    value(11, 10, 11);
    EXPECT_EQ(values(), "3000 3000");
}

TEST_F(MotValue, AnImplausibleBoxHasTheLeastValue)
{
    cfg->rangeFail[INDEX] = 1;
    value(60);
    EXPECT_EQ(values(), "1000 1000");
    EXPECT_EQ(positions(), "50 50");
}

TEST_F(MotValue, NeitherValueLeavesTheReferences)
{
    value(130);
    EXPECT_EQ(values(), "3000 3000");
    EXPECT_EQ(positions(), "120 120");
    cfg->effectivePixel = 4000;
    value(60);
    EXPECT_EQ(values(), "2000 3000");
    EXPECT_EQ(positions(), "50 100");
    cfg->effectivePixel = 40;
    value(60);
    EXPECT_EQ(values(), "2000 1000");
    EXPECT_EQ(positions(), "50 0");
    chart.dir[INDEX] = 1;
    value(60);
    EXPECT_EQ(positions(), "50 100");
}

TEST_F(MotValue, ItsFractionIsCutOnce)
{
    cfg->effectivePixel = 400.39F;
    value(60);
    EXPECT_EQ(values(), "2000 2001"); // 2001.95
}

TEST_F(MotValue, TheLongerSideOfWindowZeroServesAll)
{
    cfg->orgAbsPima[0] = {0, 0, 0, 0, 40, 100};
    value(60);
    EXPECT_EQ(values(), "2000 2200");
    cfg->orgAbsPima[0] = {0, 0, 0, 0, 40, 110};
    value(60);
    EXPECT_EQ(values(), "2000 2000");
}

TEST_F(MotValue, TheOriginalValueIsKeptForTwoSettings)
{
    for (int32_t setting : {0, 1, 2, 3}) {
        cfg->orgResultData = setting;
        cfg->testMode = 0;
        value(60);
        EXPECT_EQ(values(), setting == 2 ? "2000 2000" : "2000 2200") << setting;
        EXPECT_EQ(positions(), setting == 2 ? "50 50" : "50 60") << setting;
        cfg->orgResultData = 0;
        cfg->testMode = setting;
        value(60);
        EXPECT_EQ(values(), setting == 2 ? "2000 2000" : "2000 2200") << setting;
    }
}

// 2000 x 1 x 2000 x 1e32 is more than a float holds; divided by 4e35 it would be 1000.
TEST_F(MotValue, IsMagnifiedInSinglePrecisionAndInOrder)
{
    cfg->effectivePixel = 1e32F;
    cfg->chartHeight[1] = 1e30F;
    value(60);
    EXPECT_EQ(values(), "2000 3000");
    cfg->chartHeight[1] = 1e34F; // and both parts: no number
    value(60);
    EXPECT_EQ(values(), "2000 1000");
    // 1125 x 1.84 x 2000 x 440 / 800000 is 2277, and a little less with the 1.84 that a float holds
    // unless each product is cut to a float in turn.
    chart.ref[1] = 11000;
    cfg->chartHeight[1] = 2;
    cfg->effectivePixel = 440;
    cfg->centerPimaHeight[1] = 1.84F;
    value(15, 10, 410);
    EXPECT_EQ(values(), "1125 2277");
    // One more where other factors are multiplied first: heights above, then below the line.
    chart.ref[0] = 0;
    chart.ref[1] = 10000;
    cfg->effectivePixel = 300;
    cfg->orgAbsPima[0].w = 99;
    cfg->chartHeight[1] = 1.3F;
    cfg->centerPimaHeight[1] = 1.43F;
    value(1488, 0, 10000);
    EXPECT_EQ(values(), "1488 2479");
    cfg->chartHeight[1] = 1.03F;
    cfg->centerPimaHeight[1] = 1.01F;
    value(1682, 0, 10000);
    EXPECT_EQ(values(), "1682 2498");
}

TEST_F(MotValue, ASizeOfZeroIsReportedAndGivesTheLeastValue)
{
    const auto measured = [&] {
        value(60);
        return values();
    };
    cfg->imageW = 0;
    EXPECT_EQ(measured(), "2000 1000");
    EXPECT_TRUE(camera.logged("no magnification: picture 0 wide, chart 2.000000 high"));
    cfg->imageW = 4000;
    cfg->chartHeight[1] = 0;
    EXPECT_EQ(measured(), "2000 1000");
    EXPECT_TRUE(camera.logged("picture 4000 wide, chart 0.000000 high, wedge 100 long"));
    cfg->chartHeight[1] = 2;
    cfg->orgAbsPima[0] = {};
    EXPECT_EQ(measured(), "2000 1000");
    EXPECT_TRUE(camera.logged("wedge 0 long"));
}

TEST_F(MotValue, NoNumberOfTheConfigurationBreaksIt)
{
    const float no_number = std::numeric_limits<float>::quiet_NaN();
    for (float odd : {no_number, -no_number, -2.0F, HUGE_VALF, -HUGE_VALF}) {
        cfg->chartHeight[1] = odd;
        value(60);
        EXPECT_EQ(values(), "2000 1000") << odd;
    }
    cfg->chartHeight[1] = 2;
    for (int32_t least : {INT_MIN, 0, INT_MAX}) {
        for (int32_t most : {INT_MIN, 0, INT_MAX}) {
            chart.ref[0] = least;
            chart.ref[1] = most;
            value(60);
            EXPECT_LE(cfg->motOrgValue[INDEX], most);
            EXPECT_GE(cfg->motValue[INDEX], least);
        }
    }
    // The end before the start.
    chart.ref[0] = 3000;
    chart.ref[1] = 1000;
    value(60);
    EXPECT_EQ(values(), "1000 3000");
    EXPECT_EQ(positions(), "50 0");
}

TEST_F(MotValue, PrintsHowItCameAbout)
{
    chart.pos[INDEX] = 3;
    chart.dir[INDEX] = -2;
    cfg->effectivePixel = 4000;
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output([&] { value(60); }),
              " Chart = 1 , Pos = 3 , Dir = -2 \n"
              " PIMA Len :  100 \n"
              " iMot[No-MG] = 700 \n"
              " iMot[MG-01] = 7000 \n"
              " iMot[MG-02] = 900 \n"
              " Range : RefStart/End =[  500 ~  900 ] - Start/End = [   10 ~  110 ]\n"
              " >>>> MOT Value =  700 -->  900 :   50 -->    0 \n\n");
}
