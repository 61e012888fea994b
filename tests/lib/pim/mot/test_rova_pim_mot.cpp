#include "lib/pim/mot/rova_pim_mot.h"

#include "tests/lib/pim/mot/marker_chart.h"
#include "tests/lib/pim/mot/mot_run.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

#include <climits>

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr int32_t FULL_WIDTH = 1600;
constexpr int32_t FULL_HEIGHT = 1200;

constexpr char RULE[] =
    " ================================================================================\n";
constexpr char START[] =
    " <<<<< MOT  START.... >>>>>                                                      \n";
constexpr char END[] =
    " <<<<< MOT  END.... >>>>>                                                        \n";
constexpr char NO_MARKER[] = " Can Not Found Color Marker in Screen Nail....!!! \n";
constexpr char NO_WEDGE[] = " Can Not Found PIMA in SCR Nail....\n";

// A chart without wedges: what is measured in its windows is of no plausible length.
class Process : public test::MotRun
{
protected:
    test::MarkerPicture screen{CS422_Y_CbCr};
    test::Planes full{FULL_WIDTH * FULL_HEIGHT * 2};
    int result = -2;

    Process()
    {
        test::configure_markers(cfg);
        rova_pim_buffers_free();
        gDbgPrintOnOff = 0;
        rova_pim_buffers_allocate(FULL_WIDTH, FULL_HEIGHT);
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        say(cfg.resultFile, test::MOT_RESULT);
        say(cfg.debugFile, "/mnt/mmc/debug.txt");
        cfg.developMode = 1;
        cfg.effectivePixel = 1;
        cfg.bestIndex = PIM_NO_RESULT;
        for (int i = 0; i < PIM_CHARTS; i++)
            say_chart(cfg.chart[i], cfg.result[i]);
        paint({0, 0, FULL_WIDTH - 1, FULL_HEIGHT - 1}, 120);
        screen.paint_markers();
    }
    static void say_chart(rova_pim_chart_config &chart, ChartResult &record)
    {
        chart.afStart = -2;
        chart.afEnd = 2;
        chart.rangeSize = 5;
        const int32_t ref[] = {1000, 3000, 1100, 3000};
        std::ranges::copy(ref, chart.ref);
        std::fill(chart.pos + 2, chart.pos + PIM_WINDOWS, 1);
        chart.bestDefocusAlgorithm = 2;
        record.bestLevel = PIM_NO_RESULT;
    }
    rova_pim_image image() const
    {
        return {full.bytes(), FULL_WIDTH, FULL_HEIGHT, FULL_WIDTH, CS422_Y_CbCr};
    }
    void paint(const rova_pim_rect &rect, uint8_t level)
    {
        for (int32_t y = rect.y0; y <= rect.y1; y++)
            std::fill_n(full.data() + y * FULL_WIDTH + rect.x0, rect.x1 - rect.x0 + 1, level);
    }
    std::string process(int32_t chart = 0)
    {
        return test::captured_output(
            [&] { result = MOT_Resol_Process(screen.image, image(), chart, PIM_COLOUR_CR, cfg); });
    }
    void lose_a_marker() { screen.paint(120, 195, 60, 60, test::GREY); }
    void expect_floor_at(int32_t k, int32_t chart = 0) const
    {
        const ChartResult &record = cfg.result[chart];
        EXPECT_THAT(record.win[k],
                    ElementsAre(1000, 1000, 1100, 1100, 1100, 1100, 1100, 1100, 1100, 1100));
        EXPECT_THAT(record.org[k],
                    ElementsAre(1000, 1000, 1100, 1100, 1100, 1100, 1100, 1100, 1100, 1100));
    }
};

} // namespace

TEST_F(Process, AStillGoesThroughAllStages)
{
    gMotExifInfo.afStep = 1520;
    const std::string text = process(1);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(text, StartsWith(std::string(RULE) + START + RULE +
                                 " <<<<< TELE CHART >>>>>  \n\n CHART = TELE \n COLOR = RED \n"));
    const std::size_t nail = text.find(" Scr.\t   PIMA [9]");
    const std::size_t value = text.find(" >>>> MOT Value = 1100 --> 1100");
    const std::size_t brightness = text.find(" Y-VALUE = 120 (  480,  240,  100 x  100 ) \n\n");
    const std::size_t record = text.find(" Window[0] : \n");
    EXPECT_LT(nail, value);
    EXPECT_LT(value, brightness);
    EXPECT_LT(brightness, record);
    EXPECT_NE(record, std::string::npos);
    EXPECT_THAT(text, EndsWith(std::string(RULE) + END + RULE));
    expect_floor_at(0, 1);
    EXPECT_EQ(cfg.result[1].afStep[0], 1520);
    EXPECT_EQ(cfg.result[1].yValue[0], 120);
    EXPECT_EQ(cfg.result[1].picCount, 1);
    EXPECT_EQ(cfg.nowChart, 1);
    EXPECT_EQ(cfg.nowCS, 9);
    EXPECT_EQ(cfg.qaResult, PIM_NO_RESULT);
}

TEST_F(Process, AChartOfNoPicturesIsRefused)
{
    const struct {
        int32_t chart;
        const char *word;
    } cases[] = {{0, "WIDE"}, {1, "TELE"}, {2, "MID."}};
    for (const auto &[chart, word] : cases) {
        cfg.chart[chart].rangeSize = 0;
        const std::string expected = "WRONG !!! : [ " + std::string(word) + " ] Range Size = 0";
        EXPECT_EQ(process(chart), " " + expected + "  \n");
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(camera.logged(expected));
        EXPECT_EQ(cfg.result[chart].picCount, 0);
    }
    EXPECT_FALSE(camera.exists("/mnt/mmc/debug.txt"));
}

// Only a size of 0 keeps a chart out; with one below, every picture is over the count.
TEST_F(Process, AChartOfLessThanNoPicturesDropsThem)
{
    cfg.chart[1].rangeSize = -1;
    EXPECT_THAT(process(1), HasSubstr(" Y-VALUE = 120 (  480,  240,  100 x  100 ) \n\n ERROR ~!!!! "
                                      ": EXCESS the Number of Picture [ TELE : 0 / -1 ]\n"));
    EXPECT_EQ(cfg.result[1].picCount, 0);
}

TEST_F(Process, AChartThatThereIsNoneOfIsRefused)
{
    for (int32_t chart : {3, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(process(chart),
                  std::string(RULE) + START + RULE + " <<<<< INVALID INPUT PARAMTER\n");
        EXPECT_EQ(result, -1);
        EXPECT_EQ(gDbgFpState, 0);
        EXPECT_EQ(cfg.nowChart, chart);
    }
    EXPECT_TRUE(camera.logged("<<<<< INVALID INPUT PARAMTER"));
}

TEST_F(Process, WithoutAMarkerThePictureCountsWithTheFloor)
{
    lose_a_marker();
    std::ranges::fill(cfg.motValue, 2900); // of the picture before
    std::ranges::fill(cfg.motOrgValue, 2900);
    const std::string text = process(2);
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text, StartsWith(std::string(RULE) + START + RULE + " <<<<< MID. CHART >>>>>"));
    EXPECT_THAT(text, HasSubstr(std::string(NO_MARKER) + " Y-VALUE = 120 "));
    EXPECT_THAT(text, Not(HasSubstr("PIMA [")));
    EXPECT_THAT(text, Not(HasSubstr(NO_WEDGE)));
    EXPECT_TRUE(camera.logged("Can Not Found Color Marker in Screen Nail....!!!"));
    expect_floor_at(0, 2);
    EXPECT_EQ(cfg.result[2].picCount, 1);
    EXPECT_EQ(cfg.result[2].yValue[0], 120);
}

TEST_F(Process, WithoutAWedgeThePictureCountsWithTheFloor)
{
    cfg.chart[0].orgWin[9].ly = -8; // a window of no height
    const std::string text = process();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text, HasSubstr(std::string(NO_WEDGE) + " Y-VALUE = 120 "));
    EXPECT_THAT(text, Not(HasSubstr(NO_MARKER)));
    EXPECT_THAT(text, Not(HasSubstr("<<<< PIMA [0] >>>>")));
    EXPECT_TRUE(camera.logged("Can Not Found PIMA in SCR Nail...."));
    expect_floor_at(0);
    EXPECT_EQ(cfg.result[0].picCount, 1);
}

TEST_F(Process, EachPictureBeginsAnew)
{
    lose_a_marker();
    for (auto *boxes : {&cfg.scrPima, &cfg.orgWin, &cfg.orgRelPima, &cfg.orgAbsPima})
        std::ranges::fill(*boxes, rova_pim_box{1, 2, 3, 4, 5, 6});
    std::ranges::fill(cfg.posFound, 7);
    std::ranges::fill(cfg.posCorrected, 8);
    cfg.qaResult = 1;
    process();
    for (auto *boxes : {&cfg.scrPima, &cfg.orgWin, &cfg.orgRelPima, &cfg.orgAbsPima}) {
        for (const rova_pim_box &box : *boxes)
            EXPECT_EQ(std::max({box.x0, box.y0, box.x1, box.y1, box.w, box.h}), 0);
    }
    EXPECT_THAT(cfg.posFound, Each(0));
    EXPECT_THAT(cfg.posCorrected, Each(0));
    EXPECT_EQ(cfg.qaResult, PIM_NO_RESULT);
}

// From (480, 240) on, 100 by 100: what lies beside and below is not counted.
TEST_F(Process, TheBrightnessIsThatOfThePatch)
{
    paint({0, 0, FULL_WIDTH - 1, FULL_HEIGHT - 1}, 255);
    paint({480, 240, 579, 339}, 80);
    paint({480, 240, 580, 240}, 81); // 100 of its pixels inside: 0.01 more
    process();
    EXPECT_EQ(cfg.yValueNow, 80);
    paint({480, 240, 579, 339}, 200);
    paint({579, 339, 579, 339}, 199);
    process();
    EXPECT_EQ(cfg.yValueNow, 199); // 199.9999
}

TEST_F(Process, BehindThePatchThePictureBufferIsClear)
{
    lose_a_marker();
    const std::span<uint8_t> buffer = rova_pim_picture_buffer();
    std::ranges::fill(buffer, uint8_t{77});
    process();
    EXPECT_THAT(buffer.first(101 * 101), Each(120));
    EXPECT_THAT(buffer.subspan(101 * 101), Each(0));
}

TEST_F(Process, ThePatchFollowsTheSizeOfThePicture)
{
    cfg.imageW = cfg.imageH = 0;
    EXPECT_THAT(process(), HasSubstr(" Y-VALUE = 120 (    0,    0,  100 x  100 ) \n\n"));
    EXPECT_EQ(result, -1); // no markers with these sizes
    cfg.imageW = 999;
    cfg.imageH = 999;
    lose_a_marker();
    EXPECT_THAT(process(), HasSubstr(" Y-VALUE = 120 (  299,  199,  100 x  100 ) \n\n"));
}

TEST_F(Process, APatchOutsideOfThePictureHasNoBrightness)
{
    lose_a_marker();
    for (auto [w, h] : {std::pair(FULL_WIDTH, 20000), {INT_MAX, INT_MAX}, {-1600, -1200}}) {
        cfg.imageW = w;
        cfg.imageH = h;
        cfg.yValueNow = 99;
        cfg.result[0].picCount = 0;
        EXPECT_THAT(process(), HasSubstr(" no brightness at ( "));
        EXPECT_EQ(cfg.yValueNow, 0);
        EXPECT_EQ(cfg.result[0].picCount, 1);
    }
    EXPECT_TRUE(camera.logged("no brightness at ( 480, 4000 ) of 1600 x 1200 pixels"));
}

TEST_F(Process, WithoutBuffersNothingIsMeasuredAndThePictureCounts)
{
    rova_pim_buffers_free();
    const std::string text = process();
    EXPECT_EQ(result, -1);
    EXPECT_THAT(text,
                HasSubstr(" no brightness at ( 480, 240 ) of 1600 x 1200 pixels with 0 bytes"));
    expect_floor_at(0);
    EXPECT_EQ(cfg.yValueNow, 0);
}

TEST_F(Process, ABufferTooSmallForThePatchIsNotWritten)
{
    rova_pim_buffers_free();
    gDbgPrintOnOff = 0;
    rova_pim_buffers_allocate(640, 480); // 60 x 160 bytes, 601 too few
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_THAT(process(), HasSubstr("pixels with 9600 bytes"));
    EXPECT_EQ(cfg.yValueNow, 0);
    EXPECT_EQ(cfg.result[0].picCount, 1);
}

TEST_F(Process, TheDebugFileHasEveryPictureAndIsClosed)
{
    for (int32_t mode : {PIM_DEBUG_BUFFERED, PIM_DEBUG_DIRECT}) {
        camera.remove("/mnt/mmc/debug.txt");
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        const std::string first = process(), second = process();
        gDbgPrintOnOff = mode;
        cfg.result[0].picCount = 0;
        EXPECT_EQ(process(), "");
        EXPECT_EQ(process(), "");
        const std::string text = camera.read("/mnt/mmc/debug.txt");
        EXPECT_EQ(text, first + second);
        EXPECT_THAT(text, EndsWith(std::string(END) + RULE));
        cfg.result[0].picCount = 0;
        EXPECT_EQ(gDbgFpState, 0);
        EXPECT_EQ(gDbgCnt, 0);
    }
}

TEST_F(Process, ADebugFileThatCannotBeOpenedStopsNothing)
{
    for (const char *path : {"", "/mnt/mmc/missing/debug.txt"}) {
        say(cfg.debugFile, path);
        EXPECT_THAT(process(),
                    StartsWith(" FILE OPEN ERROR : " + std::string(path) + " \n\n" + RULE));
        EXPECT_EQ(result, 0);
    }
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/missing/debug.txt"));
    EXPECT_EQ(cfg.result[0].picCount, 2);
}

TEST_F(Process, InQaAndTiltModeAPictureIsARow)
{
    for (int32_t mode : {1, 2}) {
        cfg.testMode = mode;
        process();
        EXPECT_EQ(result, 0);
        EXPECT_EQ(cfg.qaResult, 1); // pass levels of 0
        EXPECT_EQ(rova_pim_mot_qa_rows, mode);
    }
    EXPECT_EQ(cfg.result[0].picCount, 0);
    EXPECT_THAT(file(),
                EndsWith(",,,,,1000,1000,1100,1100,1100,1100,1100,1100,1100,1100, 120,OK,\n"));
}

TEST_F(Process, ARunOfAllLevelsAndChartsEndsInItsTable)
{
    cfg.resultType = 1;
    cfg.chartUsage[2] = 1;
    for (rova_pim_chart_config &chart : cfg.chart)
        chart.okCntCondition = 5;
    for (int32_t chart : {0, 1, 2}) {
        EXPECT_FALSE(camera.exists(test::MOT_RESULT));
        for (int i = 0; i < 5; i++)
            process(chart);
        EXPECT_EQ(result, 0);
    }
    EXPECT_EQ(test::lines_of(file()).size(), 6u);
    EXPECT_EQ(cfg.finalResult, 1);
    EXPECT_EQ(gMallocFlag, 0);
    const std::string before = file();
    EXPECT_THAT(process(0), HasSubstr("EXCESS the Number of Picture [ WIDE : 5 / 5 ]"));
    EXPECT_EQ(file(), before);
    EXPECT_EQ(cfg.result[0].bestLevel, 0);
}

TEST_F(Process, CheckMainRunsItInMotMode)
{
    SetPIMode(PI_MODE_MOT);
    rova_pim_set_test(PI_MODE_MOT, nullptr);
    const auto nail = rova_pim_address(screen.planes.data());
    test::captured_output([&] {
        CheckMain(FULL_WIDTH, FULL_HEIGHT, FULL_WIDTH, FULL_HEIGHT, full.address(), 0,
                  test::CHART_PITCH, test::CHART_HEIGHT, test::CHART_WIDTH, test::CHART_HEIGHT,
                  nail, 0, 2, 0, 12);
    });
    SetPIMode(PI_MODE_NONE);
    EXPECT_EQ(cfg.result[2].picCount, 1);
    EXPECT_EQ(cfg.result[2].yValue[0], 120);
    EXPECT_EQ(cfg.cmDistX, 200);
}

namespace
{

class Getters : public test::MotRun
{
protected:
    rova_pim_mot_final verdicts = {};

    std::string get()
    {
        return test::captured_output([&] { verdicts = GetMotFinal(cfg); });
    }
};

} // namespace

TEST_F(Getters, TheVerdictsAreThoseOfTheRunAndItsCharts)
{
    cfg.finalResult = 0;
    cfg.result[0].okCount = 2;
    cfg.result[1].okCount = 1;
    disable(2);
    EXPECT_EQ(get(), " FINAL RESULT = 0 [ NG ] \n RESULT = 1 [ OK ] : 0 [ NG ] : -99 [ - ]  \n");
    EXPECT_EQ(verdicts.finalResult, 0);
    EXPECT_THAT(verdicts.chart, ElementsAre(1, 0, -99));
    cfg.finalResult = 1;
    cfg.result[1].okCount = 3;
    EXPECT_EQ(get(), " FINAL RESULT = 1 [ OK ] \n RESULT = 1 [ OK ] : 1 [ OK ] : -99 [ - ]  \n");
}

TEST_F(Getters, AChartOfLessThanNoPicturesPassesByItsCount)
{
    cfg.chart[0].rangeSize = cfg.chart[1].rangeSize = -1;
    cfg.result[0].okCount = 2;
    cfg.result[1].okCount = 1;
    get();
    EXPECT_THAT(verdicts.chart, ElementsAre(1, -99, 0));
}

TEST_F(Getters, WithoutATableOfAllChartsThereIsNoVerdict)
{
    cfg.chart[1].rangeSize = -1;
    EXPECT_EQ(get(), " FINAL RESULT = -99 [ - ] \n RESULT = 0 [ NG ] : -99 [ - ] : 0 [ NG ]  \n");
    EXPECT_EQ(verdicts.finalResult, -99);
}

TEST_F(Getters, TheBestLevelsAreThoseOfTheCharts)
{
    cfg.result[0].bestLevel = -2;
    cfg.result[2].bestLevel = 1;
    std::array<int32_t, PIM_CHARTS> levels = {};
    EXPECT_EQ(test::captured_output([&] { levels = GetMotBestLevels(cfg); }),
              " BEST AF LEVEL = [ WIDE : -2 ], [ TELE : -99 ], [ MID. : 1 ] \n\n");
    EXPECT_THAT(levels, ElementsAre(-2, -99, 1));
}
