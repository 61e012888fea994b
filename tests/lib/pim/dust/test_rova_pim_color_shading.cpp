#include "tests/lib/pim/dust/brightness_run.h"

#include <gmock/gmock.h>

#include <climits>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

using ColorShadingRun =
    test::BrightnessRun<CheckColorShading, &rova_pim_dust_config::iCsOn,
                        &rova_pim_dust_config::iCsOk, &rova_pim_dust_config::iCsRst>;

class ColorShading : public ColorShadingRun
{
protected:
    ColorShading()
    {
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
    // What is logged for a window's average, which goes to `sum` and `mean`.
    std::string average(const rova_pim_window &window, int32_t colour)
    {
        sum = 1;
        mean = 1;
        return log_of([&](const rova_pim_image &image, const rova_pim_dust_config &) {
            return GetWinAverage(image, window, colour, cfg.iCbOffset, &sum, &mean);
        });
    }
    void expect_no_average() const
    {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(sum, 0u);
        EXPECT_EQ(mean, 0.0F);
    }
    uint64_t sum = 0;
    float mean = 0;
};

} // namespace

TEST_F(ColorShading, SwitchedOffDoesNothing)
{
    expect_nothing_when_off();
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
    expect_passed();
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
    expect_failed();
}

TEST_F(ColorShading, LumaTakesNoPart)
{
    picture->fill(0, 0, 31, 31, 20);
    check();
    expect_passed();
    EXPECT_EQ(cfg.fCsVal, 0.0F);
    EXPECT_THAT(cfg.fCsY, ElementsAre(20, 60, 100));
}

TEST_F(ColorShading, AWindowMayTouchTheConfiguredSize)
{
    place(0, {0, 0, 64, 32});
    check();
    expect_passed();
}

TEST_F(ColorShading, AWindowOutsideOfTheConfiguredSizeHasNoVerdict)
{
    set_verdict(1);
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
        expect(-1, 1);
    }
}

TEST_F(ColorShading, AWindowWithoutPixelsIsRefused)
{
    for (const rova_pim_window &window :
         {rova_pim_window{0, 0, 0, 4}, {0, 0, 8, 0}, {5, 5, -3, 2}, {0, 0, INT_MIN, INT_MIN}}) {
        place(1, window);
        check();
        expect_refused();
        EXPECT_EQ(cfg.fCsVal, 0.0F);
    }
    EXPECT_TRUE(camera.logged("Window Error : ( 0, 0 ) 0 x 4 has no pixels"));
}

TEST_F(ColorShading, ChromaOutsideOfTheBytesIsRefused)
{
    for (const int32_t offset : {-4 - 10 * picture->image.pitch, 1 << 20, INT_MAX, INT_MIN}) {
        cfg.iCrOffset = offset;
        check();
        expect_refused();
    }
}

TEST_F(ColorShading, APictureOfAnotherFormatIsRefused)
{
    picture->image.iCS = CS420_Y_CbCr;
    EXPECT_THAT(check(), EndsWith(" tColor = 0 , iCS = 2 \n NOT Supported Color Format "));
    expect_refused();
}

TEST_F(ColorShading, AWindowsAverageCountsBytes)
{
    for (int x = 0; x < 64; x++)
        chroma(x, 3) = static_cast<uint8_t>(x);
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
    average({11, 3, 4, 1}, PIM_COLOUR_CB); // from any byte on
    EXPECT_EQ(sum, 11u + 13);
    average({11, 3, 4, 1}, PIM_COLOUR_CR);
    EXPECT_EQ(sum, 12u + 14);
    picture->at(10, 3) = 7;
    average({10, 3, 4, 1}, PIM_COLOUR_Y); // which has no offset
    EXPECT_EQ(result, 0);
    EXPECT_EQ(mean, 307.0F / 4.0F);
}

TEST_F(ColorShading, AWindowWhoseLastPixelIsNoNumberHasNoAverage)
{
    for (const rova_pim_window &window : {rova_pim_window{INT_MAX, 0, 2, 1}, {0, INT_MAX, 1, 2}}) {
        average(window, PIM_COLOUR_Y);
        expect_no_average();
    }
}

TEST_F(ColorShading, APlaneThatIsNotThereHasNoAverage)
{
    for (const int32_t colour : {-1, 3}) {
        EXPECT_EQ(average({0, 0, 4, 4}, colour), " tColor = " + std::to_string(colour) +
                                                     " , iCS = 9 \n NOT Supported Color Format ");
        expect_no_average();
    }
}
