#include "lib/pim/mot/rova_pim_window.h"

#include "tests/lib/pim/mot/marker_chart.h"
#include "tests/support/text.h"

#include <climits>
#include <gmock/gmock.h>
#include <string>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

// Not quite upright, so that no two origins are the same.
constexpr rova_pim_point CENTRES[PIM_MARKERS] = {{96, 70}, {100, 222}, {300, 74}, {310, 230}};

struct Window : test::Markers {
    rova_pim_box windows[PIM_WINDOWS] = {};
    std::string text;

    int place(int32_t chart = 0)
    {
        int result = 1;
        text = test::captured_output(
            [&] { result = rova_pim_place_windows(CENTRES, windows, PIM_COLOUR_CR, chart, cfg); });
        return result;
    }
    int place_live(int32_t chart = 0, int32_t colour = PIM_COLOUR_CR)
    {
        int result = 1;
        text = test::captured_output(
            [&] { result = rova_pim_place_live_windows(CENTRES, windows, colour, chart, cfg); });
        return result;
    }
    void no_offsets()
    {
        for (rova_pim_chart_config &chart : cfg.chart) {
            for (rova_pim_offset_box &window : chart.orgWin)
                window = {0, 0, 8, 8};
        }
    }
    void expect_at(int window, int32_t x, int32_t y) const
    {
        EXPECT_EQ(windows[window].x0, x) << window;
        EXPECT_EQ(windows[window].y0, y) << window;
    }
    void expect_corner_windows() const
    {
        for (int i = 2; i < PIM_WINDOWS; i++)
            expect_at(i, CENTRES[(i - 2) / 2].x, CENTRES[(i - 2) / 2].y);
    }
};

} // namespace

TEST_F(Window, TheMiddleDistancesAreTruncated)
{
    const auto [x, y] = rova_pim_marker_distance(CENTRES);
    EXPECT_EQ(x, (204 + 210) / 2);
    EXPECT_EQ(y, (156 + 152) / 2);
    const rova_pim_point back[PIM_MARKERS] = {{3, 3}, {0, 0}, {0, 0}, {0, 0}};
    EXPECT_EQ(rova_pim_marker_distance(back).x, -1);
    EXPECT_EQ(rova_pim_marker_distance(back).y, -1);
}

TEST_F(Window, MarkerWindowsAreCutToTheImage)
{
    cmWinW = 481;
    cmWinH = 240;
    const rova_pim_box inside = rova_pim_marker_window({400, 300}, cfg);
    EXPECT_EQ(inside.x0, 160);
    EXPECT_EQ(inside.x1, 640);
    EXPECT_EQ(inside.w, 480);
    EXPECT_EQ(inside.h, 240);
    const rova_pim_box corner = rova_pim_marker_window({1590, -10}, cfg);
    EXPECT_EQ(corner.x1, 1600);
    EXPECT_EQ(corner.w, 250);
    EXPECT_EQ(corner.y0, 0);
    EXPECT_EQ(corner.h, 110);
}

TEST_F(Window, EachBeginsAtItsOrigin)
{
    no_offsets();
    EXPECT_EQ(place(), 0);
    expect_at(0, (96 + 300) / 2, (70 + 74) / 2);
    expect_at(1, (96 + 100) / 2, (70 + 222) / 2);
    expect_corner_windows();
    EXPECT_EQ(place_live(), 0);
    expect_at(0, 198, 72);
    expect_at(1, 98, 146);
    expect_corner_windows();
}

TEST_F(Window, ReversedWedgesStandAtTheOtherSides)
{
    no_offsets();
    for (rova_pim_chart_config &chart : cfg.chart)
        chart.reversedPima = 1;
    for (int32_t chart : {1, 2}) {
        EXPECT_EQ(place(chart), 0);
        expect_at(0, (100 + 310) / 2, (222 + 230) / 2);
        expect_at(1, (300 + 310) / 2, (74 + 230) / 2);
        expect_corner_windows();
        EXPECT_EQ(place_live(chart), 0);
        expect_at(0, 205, 226);
        expect_at(1, 305, 152);
    }
}

TEST_F(Window, TheWideChartHasNoReversedWedges)
{
    no_offsets();
    cfg.chart[0].reversedPima = 1;
    place();
    expect_at(0, 198, 72);
    place_live();
    expect_at(1, 98, 146);
}

// 207 of 800 pixels, 154 of 600.
TEST_F(Window, OffsetAndSizeScaleWithTheMarkers)
{
    cfg.chart[0].orgWin[4] = {101, -33, 85, 41};
    place();
    const rova_pim_box &window = windows[4];
    EXPECT_EQ(window.x0, 100 + 101 * 207 / 800);
    EXPECT_EQ(window.y0, 222 - 33 * 154 / 600);
    EXPECT_EQ(window.x1, window.x0 + 85 * 207 / 800);
    EXPECT_EQ(window.y1, window.y0 + 41 * 154 / 600);
    EXPECT_EQ(window.w, 85 * 207 / 800 + 1);
    EXPECT_EQ(window.h, 41 * 154 / 600 + 1);
    EXPECT_THAT(text, HasSubstr("[ 4 ] ( 126,  214) ( 147,  224) :   22 x   11 \n\n"));
}

TEST_F(Window, InTheLiveViewTheyScaleByTheConfiguredSizes)
{
    cfg.liveLcdW = 720;
    cfg.liveLcdH = 240;
    cfg.chart[0].orgWin[4] = {101, -33, 85, 41};
    place_live();
    const rova_pim_box &window = windows[4];
    EXPECT_EQ(window.x0, 100 + 101 * 720 / 1600);
    EXPECT_EQ(window.y0, 222 - 33 * 240 / 1200);
    EXPECT_EQ(window.w, 85 * 720 / 1600 + 1);
    EXPECT_EQ(window.h, 41 * 240 / 1200 + 1);
    EXPECT_THAT(text, testing::StartsWith(" WIDE CHART \n RED COLOR \n [ 0 ] ("));
    place_live(2, PIM_COLOUR_CB);
    EXPECT_THAT(text, testing::StartsWith(" MID CHART \n BLUE COLOR \n"));
}

TEST_F(Window, EachChartHasItsOwnOffsetsAndDistance)
{
    for (int32_t chart : {1, 2}) {
        cfg.chart[chart].orgWin[3] = {40 * chart, 30, 16, 12};
        cfg.chart[chart].cmDist = {400 * chart, 300};
        EXPECT_EQ(place(chart), 0);
        expect_at(3, 96 + 40 * 207 / 400, 70 + 30 * 154 / 300);
        EXPECT_EQ(windows[3].w, 16 * 207 / 400 / chart + 1);
        EXPECT_EQ(place_live(chart), 0);
        expect_at(3, 96 + 40 * chart / 4, 70 + 30 / 4);
        EXPECT_EQ(windows[3].h, 12 / 4 + 1);
    }
}

TEST_F(Window, WhatLiesBeforeThePictureIsCutOff)
{
    cfg.chart[0].orgWin[2] = {-400, -320, 400, 320};
    place(); // at 96 - 103, 70 - 82
    EXPECT_EQ(windows[2].x0, 0);
    EXPECT_EQ(windows[2].x1, -7 + 103);
    EXPECT_EQ(windows[2].w, 104 - 7);
    EXPECT_EQ(windows[2].y0, 0);
    EXPECT_EQ(windows[2].y1, -12 + 82);
    EXPECT_EQ(windows[2].h, 83 - 12);
    place_live();
    EXPECT_EQ(windows[2].x0, 0);
    EXPECT_EQ(windows[2].w, 101 - 4);
    EXPECT_EQ(windows[2].h, 81 - 10);
    EXPECT_THAT(text, HasSubstr(" [ 2 : PIMA ] Invalid X's Position ~~~ ! \n"
                                " [ 2 : PIMA ] Invalid Y's Position ~~~ ! \n"
                                " [ 2 ] (   0,    0) (  96,   70) :   97 x   71 \n\n"));
    EXPECT_THAT(text, Not(HasSubstr("[ 3 : PIMA ]")));
    cfg.chart[0].orgWin[2] = {-384, -280, 400, 320}; // at 0, 0
    place_live();
    EXPECT_THAT(text, AllOf(HasSubstr(" [ 2 ] (   0,    0) ( 100,   80) :  101 x   81 \n\n"),
                            Not(HasSubstr("Invalid"))));
}

TEST_F(Window, AnotherChartPlacesNothing)
{
    for (int32_t chart : {3, -1, INT_MAX}) {
        EXPECT_EQ(place(chart), -1);
        EXPECT_EQ(text, " Invalid Color Argument....\n\n\n");
        EXPECT_EQ(place_live(chart), -1);
        EXPECT_EQ(text, " Invalid Color Argument....\n");
        EXPECT_EQ(windows[9].w, 0);
    }
}

TEST_F(Window, NothingIsDividedByZero)
{
    cfg.chart[0].cmDist = {800, 0};
    EXPECT_EQ(place(), -1);
    EXPECT_TRUE(camera.logged("no windows: they would scale by 207 / 800, 154 / 0"));
    cfg.imageW = 0;
    EXPECT_EQ(place_live(), -1);
    EXPECT_EQ(windows[9].w, 0);
}

TEST_F(Window, GreatNumbersAreCutTo32Bits)
{
    cfg.chart[0].cmDist = {1, -1};
    for (rova_pim_offset_box &window : cfg.chart[0].orgWin)
        window = {INT_MIN, INT_MAX, INT_MAX, INT_MIN};
    EXPECT_EQ(place(), 0);
    cfg.imageW = cfg.imageH = 1;
    cfg.liveLcdW = INT_MAX;
    cfg.liveLcdH = INT_MIN;
    EXPECT_EQ(place_live(), 0);
    EXPECT_EQ(windows[2].x0, 0);
}
