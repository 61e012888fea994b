#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"
#include "tests/lib/pim/mot/mot_file.h"
#include "tests/lib/pim/numbers.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <string_view>

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using test::Numbers;

constexpr char FILE_NAME[] = "/mnt/mmc/mot_lumen1.cfg";
constexpr char DEBUG_FILE[] = "/mnt/mmc/mot_debug.txt";
constexpr char PROJECT[] = "LUMEN1";

const std::string RULE = " " + std::string(80, '=') + "\n";
const std::string START = " <<<<< CONFIG. START.... >>>>>" + std::string(51, ' ') + "\n";
const std::string END = " <<<<< CONFIG. END .... >>>>>" + std::string(52, ' ') + "\n";

class MotConfig : public testing::Test
{
protected:
    test::Camera camera;
    std::unique_ptr<rova_pim_pm_config> owned = std::make_unique<rova_pim_pm_config>();
    rova_pim_pm_config &cfg = *owned;

    MotConfig() { forget(); }
    ~MotConfig() override { forget(); }
    static void forget()
    {
        rova_pim_debug_close();
        rova_pim_buffers_free();
        gDbgPrintOnOff = 0;
        gRstPrintOpt = 0;
        cmWinW = 0;
        cmWinH = 0;
    }
    int load_text(const std::string &text)
    {
        camera.write(FILE_NAME, text);
        return rova_pim_read_config_mot(FILE_NAME, &cfg, PROJECT);
    }
    int load(const std::map<std::string, std::string> &said = {})
    {
        return load_text(test::mot_file(said));
    }
    // What a load of the file prints in the mode of the standard output.
    std::string printed(std::map<std::string, std::string> said = {})
    {
        said.try_emplace("dbgPrint", "4");
        int result = -1;
        std::string text = test::captured_output([&] { result = load(said); });
        EXPECT_EQ(result, 0);
        return text;
    }
    // The label behind `said`, which stands in the text of a load.
    void expect_label(const std::string &name, const std::string &values, const std::string &label)
    {
        EXPECT_THAT(printed({{name, values}}), HasSubstr(label)) << name << " " << values;
    }
};

// Another value for each field: running numbers, but for what decides about the reading itself.
std::string numbered_file()
{
    static const std::vector<std::string> KEPT = {"strModelName", "dbgPrint",      "debugFile",
                                                  "resultFile",   "screenOutType", "chartUsage"};
    std::vector<test::MotLine> lines = test::mot_lines();
    int next = 101;
    for (auto &[name, values] : lines) {
        if (std::ranges::find(KEPT, name) != KEPT.end())
            continue;
        const auto count = std::ranges::count(values, ' ') + 1;
        values.clear();
        for (int i = 0; i < count; i++)
            values += std::to_string(next++) + " ";
    }
    return test::mot_text(lines);
}

// Records have no gaps, and no two ways to write a float that is read from a text.
template <typename record> std::string_view bytes_of(const record &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

void expect_chart(Numbers &n, const rova_pim_chart_config &chart)
{
    n.expect(chart.afStart, chart.afEnd, chart.cz, chart.rangeSize, chart.remappedAfLevel);
    n.expect(chart.dir, chart.pos, chart.reversedPima, chart.colorMin, chart.colorMax);
    for (const rova_pim_point &point : chart.cm)
        n.expect(point.x, point.y);
    for (const rova_pim_offset_box &box : chart.orgWin)
        n.expect(box.x, box.y, box.lx, box.ly);
    n.expect(chart.ref, chart.okLevel, chart.okCntCondition, chart.bestDefocusAlgorithm);
}

// Labels of the file's lines behind the debug file's name, as good values print them.
constexpr char SETTINGS[] = " Output File Name for Test Result : /mnt/mmc/mot_result.csv \n\n"
                            " RESULT TYPE = 1 [ All Chart ]\n"
                            " MOT MODE = 1 [ ON ] \n\n"
                            " AVCS MODE = 0 [ OFF ] \n\n"
                            " Save JPEG Image = 0 [ OFF ] \n\n"
                            " Save Raw  Image = 0 [ OFF ] \n\n"
                            " Write Defocus Level = 0 [ OFF ] \n\n"
                            " Org. Result Data = 0 [ OFF ] \n\n"
                            " Color Marker Window Drawing = 0 [ OFF ] \n"
                            " PIMA Window Drawing = 0 [ OFF ] \n"
                            " Debugging Print Level = 0 0 0 0 0 0 0 0\t\n\n"
                            " Debugging Option = 0 0 0 0 0 0 0 0\t\n\n"
                            " TEST MODE = 0 [ NORMAL MODE ] \n"
                            " QA PIC. NUM = 1 \n"
                            " CCD Pixel Size  : 4.300000 \n"
                            " CCD Effective Pixel : 1.000000 \n\n"
                            " WIDE Chart Height : 3648.000000 \n"
                            " TELE Chart Height : 3648.000000 \n"
                            " MID. Chart Height : 3648.000000 \n\n"
                            " WIDE's Center Pima Height : 874.500000 \n"
                            " TELE's Center Pima Height : 874.500000 \n"
                            " MID.'s Center Pima Height : 874.500000 \n\n"
                            " Image Size : 5472 x 3648 \n\n"
                            " Screen Nail Image Size : 684 x 456 \n\n"
                            " Live View Image Size [ TV  OUT ] : 640 x 480 \n\n"
                            " Live View Image Size [ LCD OUT ] : 720 x 480 \n\n"
                            " LCD Size : 800 x 480 \n\n"
                            " SCREEN OUTPUT TYPE : 0 [ LCD OUT ] \n\n"
                            " Mead Loop : 2 \n"
                            " SUC Valley Depth : 20 \n"
                            " SUC Valley N : 8 \n"
                            " Fail Cnt : 3 \n"
                            " Binary Tree Algorithm Level : 0 \n\n"
                            " Line Data Offset : 0 \n"
                            " [ MAIN IMG ] CB Offset = 20078592 \n"
                            " [ MAIN IMG ] CR Offset = 20078592 \n"
                            " [ SCR. IMG ] CB Offset = 321024 \n"
                            " [ SRC. IMG ] CR Offset = 321024 \n"
                            " [ LIVE LCD IMG ] CB Offset = 368640 \n"
                            " [ LIVE LCD IMG ] CR Offset = 368640 \n"
                            " [ LIVE TV  IMG ] CB Offset = 307200 \n"
                            " [ LIVE TV  IMG ] CR Offset = 307200 \n"
                            " Color Searching Size [in LV Img]: 640 x 480 \n"
                            " Color Searching Size [in SCR Img]: 600 x 480 \n"
                            " Array Size : 5 x 5 [in SN Img] \n"
                            " Array Pixel Count : 20 [in SN Img]\n"
                            " AVCS OK Delay = 500 [msec] \n"
                            " MOT OK Delay = 300 [msec] \n"
                            " Color Searching Size [in FI] : 400 x 300 \n"
                            " Array Size [in FI] : 9 x 7 \n"
                            " Array Pixel Count [in FI]: 40 \n"
                            " ALPHA = 50 \n"
                            " BETA = 30 \n"
                            " Chart Usage = WIDE-[1], TELE-[0], MID-[0] \n";

constexpr char WIDE_GROUP[] = "========== WIDE Chart's Parameters ========== \n\n"
                              " AF RANGE : -2 ~ 2 [ 5], CZ = 4 \n"
                              " REMAPPED AF LEVEL : -20, -10, 0, 10, 20 \n"
                              " DIR : 0 0 0 0 0 1 1 0 1 1 \n"
                              " POS : 0 0 1 1 1 1 1 1 1 1 \n"
                              " REVERSED PIMA = 0 [ NORMAL PIMA ] \n"
                              " Color Range : 160 ~ 255 \n"
                              " CM COORDINATE :  (  437,  364 ) \n"
                              " CM COORDINATE :  (  437, 3283 ) \n"
                              " CM COORDINATE :  ( 5034,  364 ) \n"
                              " CM COORDINATE :  ( 5034, 3283 ) \n"
                              " CM DIST. : 4597 2919 \n"
                              " ORG WIN. Offset (  -363   987 ) LEN (   729 x   364 )\n"
                              " ORG WIN. Offset (  2117    74 ) LEN (   364 x   729 )\n"
                              " ORG WIN. Offset (   182  -182 ) LEN (   729 x   364 )\n"
                              " ORG WIN. Offset (  -182   182 ) LEN (   364 x   729 )\n"
                              " ORG WIN. Offset (   182  -182 ) LEN (   729 x   364 )\n"
                              " ORG WIN. Offset (  -182  -910 ) LEN (   364 x   729 )\n"
                              " ORG WIN. Offset (  -910  -182 ) LEN (   729 x   364 )\n"
                              " ORG WIN. Offset (  -182   182 ) LEN (   364 x   729 )\n"
                              " ORG WIN. Offset (  -910  -182 ) LEN (   729 x   364 )\n"
                              " ORG WIN. Offset (  -182  -910 ) LEN (   364 x   729 )\n"
                              " Ref[0] : 1000 3000 1000 3000 \n"
                              " OK CNT CONDITION = 1 \n"
                              " Best Defocuding Algorithm = 2 \n";

constexpr char ALLOCATION[] =
    " MEMORY ALLOCATION (IMAGE) : 623808 \n MEMORY ALLOCATION (LINE)  :  3648 \n";

std::string head(int dbg_print, const std::string &on)
{
    return RULE + START + RULE + " MODEL NUM = LUMEN1 : VER = v3.12 \n\n MODEL NUM = LUMEN1 \n\n" +
           " ARG. MODE = 0 \n DBG_PRINT = " + std::to_string(dbg_print) + " [" + on + "]\n" +
           " RESULT_PRINT = 2 [DIRECT PRINT]\n"
           " Debugging File Name : /mnt/mmc/mot_debug.txt \n\n";
}

} // namespace

TEST_F(MotConfig, EveryLineFillsItsField)
{
    ASSERT_EQ(load_text(numbered_file()), 0);
    Numbers n;
    EXPECT_STREQ(cfg.strModelName, "LUMEN1");
    EXPECT_EQ(cfg.dbgPrint, 0);
    EXPECT_STREQ(cfg.debugFile, DEBUG_FILE);
    EXPECT_STREQ(cfg.resultFile, "/mnt/mmc/mot_result.csv");
    EXPECT_EQ(cfg.screenOutType, 0);
    EXPECT_THAT(cfg.chartUsage, Each(1));
    n.expect(cfg.argMode, cfg.rstPrint, cfg.resultType, cfg.developMode, cfg.avcsMode, cfg.saveJpeg,
             cfg.saveRaw, cfg.writeDefocus, cfg.orgResultData, cfg.cmWindowDrawing,
             cfg.pimaWindowDrawing, cfg.dbgLevel, cfg.dbgOption, cfg.testMode, cfg.qaPicNum);
    n.expect(cfg.pixelSize, cfg.effectivePixel, cfg.chartHeight, cfg.centerPimaHeight);
    n.expect(cfg.imageW, cfg.imageH, cfg.screenW, cfg.screenH, cfg.liveTvW, cfg.liveTvH,
             cfg.liveLcdW, cfg.liveLcdH, cfg.lcdW, cfg.lcdH);
    n.expect(cfg.meadLoop, cfg.sucValleyDepth, cfg.sucValleyN, cfg.failCnt, cfg.binaryTreeLevel,
             cfg.lineDataOffset);
    n.expect(cfg.mainCbOffset, cfg.mainCrOffset, cfg.scrCbOffset, cfg.scrCrOffset,
             cfg.liveLcdCbOffset, cfg.liveLcdCrOffset, cfg.liveTvCbOffset, cfg.liveTvCrOffset);
    n.expect(cfg.lvSearchW, cfg.lvSearchH, cfg.scrSearchW, cfg.scrSearchH, cfg.arrayW, cfg.arrayH,
             cfg.arrayCount, cfg.avcsOkDelay, cfg.motOkDelay);
    n.skip(5); // lines that fill none
    n.expect(cfg.alpha, cfg.beta);
    for (const rova_pim_chart_config &chart : cfg.chart)
        expect_chart(n, chart);
    EXPECT_EQ(n.next(), 101 + 77 + 3 * 96);
}

TEST_F(MotConfig, EveryLabelIsPrintedInTheFilesOrder)
{
    EXPECT_EQ(printed({{"chartUsage", "1 0 0"}}),
              head(4, "ON") + SETTINGS + WIDE_GROUP + ALLOCATION + RULE + END + RULE);
}

TEST_F(MotConfig, TheDebugFileHoldsTheSameText)
{
    for (const char *mode : {"1", "2"}) {
        forget();
        camera.write(DEBUG_FILE, "before\n");
        ASSERT_EQ(load({{"dbgPrint", mode}, {"chartUsage", "1 0 0"}}), 0);
        EXPECT_EQ(camera.read(DEBUG_FILE), "before\n" + head(*mode - '0', "ON") + SETTINGS +
                                               WIDE_GROUP + ALLOCATION + RULE + END + RULE);
        EXPECT_EQ(gDbgFpState, 0);
        EXPECT_EQ(gDbgCnt, 0);
        EXPECT_EQ(gDbgPrintOnOff, *mode - '0');
    }
}

TEST_F(MotConfig, ADebugPrintOfZeroOpensNoFile)
{
    EXPECT_EQ(test::captured_output([&] { EXPECT_EQ(load({{"dbgPrint", "0"}}), 0); }), "");
    EXPECT_FALSE(camera.exists(DEBUG_FILE));
    EXPECT_EQ(gDbgPrintOnOff, 0);
}

TEST_F(MotConfig, OtherDebugPrintsOpenTheFileAndPrintNothing)
{
    EXPECT_EQ(printed({{"dbgPrint", "3"}}), "");
    EXPECT_TRUE(camera.exists(DEBUG_FILE));
    EXPECT_EQ(camera.read(DEBUG_FILE), "");
}

TEST_F(MotConfig, TheLoadGoesOnWithoutADebugFile)
{
    const std::string text = printed({{"debugFile", "/mnt/mmc/missing/debug.txt"}});
    EXPECT_THAT(text,
                StartsWith(" Can Not Open Debug File : /mnt/mmc/missing/debug.txt \n" + RULE));
    EXPECT_TRUE(camera.logged("Can Not Open Debug File : /mnt/mmc/missing/debug.txt"));
    EXPECT_EQ(cfg.configLoaded, 1);
    EXPECT_EQ(load({{"dbgPrint", "1"}, {"debugFile", "/mnt/mmc/missing/debug.txt"}}), 0);
}

TEST_F(MotConfig, TheSinksTakeTheirModes)
{
    ASSERT_EQ(load({{"rstPrint", "1"}}), 0);
    EXPECT_EQ(gRstPrintOpt, 1);
    EXPECT_EQ(cfg.rstPrint, 1);
}

TEST_F(MotConfig, TheSinksTakeTheirModesAtOnce)
{
    EXPECT_EQ(load_text("LUMEN1\n0\n4\n"), -1);
    EXPECT_EQ(gDbgPrintOnOff, 4);
    EXPECT_EQ(gRstPrintOpt, 0);
    EXPECT_EQ(load_text("LUMEN1\n0\n0\n2\n"), -1);
    EXPECT_EQ(gDbgPrintOnOff, 0);
    EXPECT_EQ(gRstPrintOpt, 2);
}

TEST_F(MotConfig, LabelsSayWhatAValueMeans)
{
    expect_label("rstPrint", "0", " RESULT_PRINT = 0 [BUFFER PRINT]\n");
    expect_label("rstPrint", "1", " RESULT_PRINT = 1 [DIRECT PRINT]\n");
    expect_label("resultType", "0", " RESULT TYPE = 0 [ One Time a Chart ]\n");
    expect_label("resultType", "2", " RESULT TYPE = 2 [ All Chart ]\n");
    expect_label("developMode", "2", " MOT MODE = 2 [ OFF ] \n\n");
    expect_label("avcsMode", "1", " AVCS MODE = 1 [ ON ] \n\n");
    expect_label("saveJpeg", "1", " Save JPEG Image = 1 [ ON ] \n\n");
    expect_label("saveRaw", "1", " Save Raw  Image = 1 [ ON ] \n\n");
    expect_label("writeDefocus", "1", " Write Defocus Level = 1 [ ON ] \n\n");
    expect_label("orgResultData", "1", " Org. Result Data = 1 [ ON ] \n\n");
    expect_label("cmWindowDrawing", "1", " Color Marker Window Drawing = 1 [ ON ] \n");
    expect_label("pimaWindowDrawing", "1", " PIMA Window Drawing = 1 [ ON ] \n");
    expect_label("testMode", "1", " TEST MODE = 1 [ QA MODE ] \n");
    expect_label("testMode", "2", " TEST MODE = 2 [ TILT MODE ] \n");
    expect_label("testMode", "-1", " TEST MODE = -1 [ TILT MODE ] \n");
    expect_label("screenOutType", "1", " SCREEN OUTPUT TYPE : 1 [ TV OUT ] \n\n");
    expect_label("screenOutType", "2", " SCREEN OUTPUT TYPE : 2 [ TV OUT ] \n\n");
    expect_label("WIDE.reversedPima", "1", " REVERSED PIMA = 1 [ REVERSED PIMA ] \n");
    expect_label("WIDE.reversedPima", "2", " REVERSED PIMA = 2 [ NORMAL PIMA ] \n");
}

TEST_F(MotConfig, EachChartHasAHeadingAndItsNumber)
{
    const std::string text = printed();
    for (const char *label :
         {"========== WIDE Chart's Parameters ========== \n\n",
          "========== TELE Chart's Parameters ========== \n\n",
          "========== MID  Chart's Parameters ========== \n\n", " Ref[0] : 1000 3000 1000 3000 \n",
          " Ref[1] : 1000 3000 1000 3000 \n", " Ref[2] : 1000 3000 1000 3000 \n"})
        EXPECT_THAT(text, HasSubstr(label));
}

TEST_F(MotConfig, TheMidGroupFollowsTheWideOneWhereTeleIsNotUsed)
{
    ASSERT_EQ(
        load({{"chartUsage", "1 0 1"}, {"WIDE.colorMin", "11 12"}, {"MID.colorMin", "31 32"}}), 0);
    EXPECT_EQ(cfg.chart[0].colorMin, 11);
    EXPECT_EQ(cfg.chart[2].colorMin, 31);
    const rova_pim_chart_config unused = {};
    EXPECT_TRUE(bytes_of(cfg.chart[1]) == bytes_of(unused));
    EXPECT_THAT(cfg.result[1].afLevel, Each(0));
    EXPECT_EQ(cfg.result[1].bestLevel, PIM_NO_RESULT);
}

TEST_F(MotConfig, OnlyAUsageOfOneHasAGroup)
{
    ASSERT_EQ(load({{"chartUsage", "2 0 -1"}}), 0);
    EXPECT_EQ(cfg.chart[0].rangeSize, 0);
    EXPECT_EQ(cfg.configLoaded, 1);
}

TEST_F(MotConfig, ATelevisionsSizeAndChromaTakeTheLiveViewsPlace)
{
    for (const char *type : {"1", "2", "-1"}) {
        ASSERT_EQ(load({{"screenOutType", type},
                        {"liveTvW", "640 400"},
                        {"liveTvCbOffset", "111"},
                        {"liveTvCrOffset", "222"}}),
                  0);
        EXPECT_EQ(cfg.liveLcdW, 640) << type;
        EXPECT_EQ(cfg.liveLcdH, 400) << type;
        EXPECT_EQ(cfg.liveLcdCbOffset, 111) << type;
        EXPECT_EQ(cfg.liveLcdCrOffset, 222) << type;
    }
    ASSERT_EQ(load({{"liveTvW", "640 400"}, {"liveTvCbOffset", "111"}, {"liveTvCrOffset", "222"}}),
              0);
    EXPECT_EQ(cfg.liveLcdW, 720);
    EXPECT_EQ(cfg.liveLcdH, 480);
    EXPECT_EQ(cfg.liveLcdCbOffset, 368640);
    EXPECT_EQ(cfg.liveLcdCrOffset, 368640);
}

TEST_F(MotConfig, TheLevelsGetTheirDefocusSteps)
{
    ASSERT_EQ(load({{"TELE.afStart", "-1 1 7 3"}, {"TELE.remappedAfLevel", "1 2 3 4 5"}}), 0);
    EXPECT_THAT(cfg.chart[1].defocus, ElementsAre(-7, -7, 0, 7, 7));
    EXPECT_THAT(cfg.result[1].afLevel, ElementsAre(-2, -1, 0, 1, 2));
    EXPECT_THAT(cfg.result[1].remapped, ElementsAre(1, 2, 3, 4, 5));
    EXPECT_THAT(cfg.result[1].defocus, ElementsAre(-7, -7, 0, 7, 7));
    EXPECT_THAT(cfg.chart[0].defocus, ElementsAre(-4, -4, 0, 4, 4));
}

TEST_F(MotConfig, TheMarkersDistanceIsTheTruncatedMean)
{
    ASSERT_EQ(load({{"WIDE.cm[0]", "10 20"},
                    {"WIDE.cm[1]", "11 220"},
                    {"WIDE.cm[2]", "110 21"},
                    {"WIDE.cm[3]", "112 220"}}),
              0);
    EXPECT_EQ(cfg.chart[0].cmDist.x, 100);
    EXPECT_EQ(cfg.chart[0].cmDist.y, 199);
    ASSERT_EQ(load({{"WIDE.cm[0]", "4 5"},
                    {"WIDE.cm[1]", "0 0"},
                    {"WIDE.cm[2]", "1 0"},
                    {"WIDE.cm[3]", "0 0"}}),
              0);
    EXPECT_EQ(cfg.chart[0].cmDist.x, -1);
    EXPECT_EQ(cfg.chart[0].cmDist.y, -2);
}

TEST_F(MotConfig, TheFirstLoadExpectsMarkersInWindowsOfNoSize)
{
    ASSERT_EQ(load(), 0);
    const rova_pim_box &box = cfg.chart[0].cmExpected[3];
    EXPECT_THAT((std::array{box.x0, box.y0, box.x1, box.y1, box.w, box.h}),
                ElementsAre(5034, 3283, 5034, 3283, 0, 0));
}

TEST_F(MotConfig, ALaterLoadExpectsMarkersInWindowsOfTheLastSearch)
{
    cmWinW = 601;
    cmWinH = 900;
    ASSERT_EQ(load(), 0);
    const rova_pim_box &lt = cfg.chart[0].cmExpected[0];
    EXPECT_THAT((std::array{lt.x0, lt.y0, lt.x1, lt.y1, lt.w, lt.h}),
                ElementsAre(137, 0, 737, 814, 600, 814));
    const rova_pim_box &rb = cfg.chart[2].cmExpected[3];
    EXPECT_THAT((std::array{rb.x0, rb.y0, rb.x1, rb.y1, rb.w, rb.h}),
                ElementsAre(4734, 2833, 5334, 3648, 600, 815));
}

TEST_F(MotConfig, TheResultsAreReset)
{
    std::memset(&cfg, 0x5a, sizeof(cfg));
    ASSERT_EQ(load(), 0);
    for (const ChartResult &result : cfg.result) {
        EXPECT_EQ(result.bestLevel, -99);
        EXPECT_EQ(result.bestAfStep, -99);
        EXPECT_EQ(result.bestRemapped, -99);
        EXPECT_EQ(result.okCount, -99);
        EXPECT_EQ(result.picCount, 0);
        EXPECT_THAT(result.ok, Each(0));
        EXPECT_THAT(result.yValue, Each(0));
    }
    EXPECT_EQ(cfg.finalResult, -99);
    EXPECT_EQ(cfg.configLoaded, 1);
    EXPECT_EQ(cfg.liveResult, 0);
    EXPECT_THAT(cfg.motValue, Each(0));
}

TEST_F(MotConfig, AFailedLoadLeavesAClearedRecord)
{
    ASSERT_EQ(load(), 0);
    camera.remove(FILE_NAME);
    EXPECT_EQ(rova_pim_read_config_mot(FILE_NAME, &cfg, PROJECT), -1);
    const auto cleared = std::make_unique<rova_pim_pm_config>();
    EXPECT_TRUE(bytes_of(cfg) == bytes_of(*cleared));
}

TEST_F(MotConfig, AnotherModelsFileIsNotReadFurther)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output([&] {
                  EXPECT_EQ(load({{"strModelName", "LUMEN2"}, {"rstPrint", "1"}}), -1);
              }),
              " MODEL NUMBER IS WRONG.....!!!!  LUMEN1 : LUMEN2 \n");
    EXPECT_TRUE(camera.logged("MODEL NUMBER IS WRONG.....!!!!  LUMEN1 : LUMEN2"));
    EXPECT_EQ(cfg.configLoaded, 0);
    EXPECT_EQ(cfg.resultType, 0);
    EXPECT_EQ(gRstPrintOpt, 0);
    EXPECT_EQ(gMallocFlag, 0);
}

TEST_F(MotConfig, AModelIsComparedWholeAndByCase)
{
    for (const char *name : {"lumen1", "LUMEN", "LUMEN11"})
        EXPECT_EQ(load({{"strModelName", name}}), -1) << name;
    EXPECT_EQ(load({{"strModelName", "LUMEN1 remark"}}), 0);
}

TEST_F(MotConfig, AModelWithABlankNeverMatches)
{
    camera.write(FILE_NAME, test::mot_file({{"strModelName", "Body 2"}}));
    EXPECT_EQ(rova_pim_read_config_mot(FILE_NAME, &cfg, "Body 2"), -1);
    EXPECT_TRUE(camera.logged("MODEL NUMBER IS WRONG.....!!!!  Body 2 : Body"));
}

TEST_F(MotConfig, MissingArgumentsAreNamed)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    EXPECT_EQ(test::captured_output(
                  [] { EXPECT_EQ(rova_pim_read_config_mot(nullptr, nullptr, nullptr), -1); }),
              " Read Config Error ~~~ !!! \n inCfg        = NULL \n pCfgPm     = NULL \n"
              " strModelName = NULL \n");
    EXPECT_TRUE(camera.logged("Read Config Error ~~~ !!!"));
    EXPECT_EQ(test::captured_output(
                  [&] { EXPECT_EQ(rova_pim_read_config_mot(FILE_NAME, nullptr, PROJECT), -1); }),
              " Read Config Error ~~~ !!! \n inCfg        = /mnt/mmc/mot_lumen1.cfg \n"
              " pCfgPm     = NULL \n strModelName = LUMEN1 \n");
}

TEST_F(MotConfig, AFileWithCarriageReturnsIsTheSame)
{
    ASSERT_EQ(load(), 0);
    const rova_pim_pm_config plain = cfg;
    ASSERT_EQ(load_text(test::mot_text(test::mot_lines(), "\r\n")), 0);
    EXPECT_TRUE(bytes_of(cfg) == bytes_of(plain));
    std::string bare = "\r\n";
    for (const auto &[name, values] : test::mot_lines())
        bare += values + "\r\n";
    ASSERT_EQ(load_text(bare), 0);
    EXPECT_TRUE(bytes_of(cfg) == bytes_of(plain));
}

TEST_F(MotConfig, ALineOfBlanksStandsForZero)
{
    ASSERT_EQ(load({{"alpha", "      "}}), 0);
    EXPECT_EQ(cfg.alpha, 0);
    EXPECT_EQ(cfg.beta, 30);
    std::string text = test::mot_file();
    const std::size_t alpha = text.find("50   // alpha");
    text.replace(alpha, std::string("50   // alpha").size(), "   ");
    ASSERT_EQ(load_text(text), 0);
    EXPECT_EQ(cfg.alpha, 0);
    EXPECT_EQ(cfg.beta, 30);
}

TEST_F(MotConfig, AFileThatEndsEarlyFails)
{
    const std::string whole = test::mot_file();
    std::size_t end = 0;
    int loads = 0;
    while ((end = whole.find('\n', end)) != std::string::npos && end + 1 < whole.size()) {
        forget();
        EXPECT_EQ(load_text(whole.substr(0, ++end)), -1) << end;
        EXPECT_EQ(cfg.configLoaded, 0) << end;
        EXPECT_EQ(gMallocFlag, 0) << end;
        EXPECT_TRUE(camera.logged("FILE SIZE ERROR : " + std::to_string(end) + " - " + FILE_NAME));
        loads++;
    }
    EXPECT_EQ(loads, 2 + 59 + 3 * 27 - 1);
}

TEST_F(MotConfig, AFailedLoadClosesTheDebugFile)
{
    std::string text = test::mot_file({{"dbgPrint", "1"}});
    text.resize(text.rfind('\n', text.size() - 2) + 1);
    EXPECT_EQ(load_text(text), -1);
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_THAT(
        camera.read(DEBUG_FILE),
        EndsWith(" FILE SIZE ERROR : " + std::to_string(text.size()) + " - " + FILE_NAME + " \n"));
    EXPECT_THAT(camera.read(DEBUG_FILE), Not(HasSubstr("CONFIG. END")));
}

TEST_F(MotConfig, TheBuffersOfTheFirstLoadAreKept)
{
    ASSERT_EQ(load({{"imageW", "640 480"}}), 0);
    EXPECT_EQ(rova_pim_picture_buffer().size(), 9600u);
    EXPECT_EQ(rova_pim_line_buffer().size(), 480u);
    const std::string text = printed({{"imageW", "5472 3648"}});
    EXPECT_THAT(text, Not(HasSubstr("MEMORY ALLOCATION")));
    EXPECT_EQ(cfg.imageW, 5472);
    EXPECT_EQ(rova_pim_picture_buffer().size(), 9600u);
}

TEST_F(MotConfig, ASizeWithoutBuffersFailsTheLoad)
{
    for (const char *size : {"0 3648", "-5 10", "2147483647 2147483647", "x"}) {
        EXPECT_EQ(load({{"imageW", size}}), -1) << size;
        EXPECT_EQ(cfg.configLoaded, 0) << size;
        EXPECT_EQ(gMallocFlag, 0) << size;
    }
    EXPECT_TRUE(camera.logged("no buffers for pictures of 2147483647 x 2147483647"));
}

TEST_F(MotConfig, TheGreatestNumbersAreDerivedFrom)
{
    cmWinW = INT_MAX;
    cmWinH = INT_MIN;
    ASSERT_EQ(load({{"WIDE.afStart", "0 0 -2147483648 0"},
                    {"WIDE.cm[0]", "-2147483648 2147483647"},
                    {"WIDE.cm[1]", "-2147483648 -2147483648"},
                    {"WIDE.cm[2]", "2147483647 2147483647"},
                    {"WIDE.cm[3]", "2147483647 -2147483648"}}),
              0);
    EXPECT_EQ(cfg.chart[0].cmDist.x, -1); // (2^33 - 2) / 2, cut to 32 bits
    EXPECT_EQ(cfg.chart[0].cmDist.y, 1);
    EXPECT_EQ(cfg.chart[0].defocus[0], INT_MIN);
    for (const rova_pim_box &box : cfg.chart[0].cmExpected) {
        EXPECT_THAT(box.x0, testing::AllOf(testing::Ge(0), testing::Le(5472)));
        EXPECT_THAT(box.y1, testing::AllOf(testing::Ge(0), testing::Le(3648)));
    }
}

TEST_F(MotConfig, AnEmptyOrUnreadableFileIsReported)
{
    EXPECT_EQ(load_text(""), -1);
    EXPECT_TRUE(camera.logged("FILE SIZE ERROR : 0 - /mnt/mmc/mot_lumen1.cfg"));
    camera.fault("sys_fopen", "0 on mot_lumen1");
    EXPECT_EQ(load(), -1);
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/mot_lumen1.cfg"));
}
