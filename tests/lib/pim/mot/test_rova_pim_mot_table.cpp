#include "tests/lib/pim/mot/mot_run.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

#include <climits>

using test::lines_of;
using test::repeated;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

constexpr char ONE_TITLE[] =
    "TIME,WIDE,AF LOG,CN_H, CN_V, LT_H, LT_V, LB_H, LB_V, RT_H, RT_V, RB_H, RB_V, Y-VAL, RESULT, "
    "W-BEST,TELE,AF LOG,CN_H, CN_V, LT_H, LT_V, LB_H, LB_V, RT_H, RT_V, RB_H, RB_V, Y-VAL, RESULT, "
    "T-BEST,Defect_Result, TOTAL \n";
constexpr char ALL_TITLE[] = " TIME,WIDE,AF LOG,TELE,AF LOG,Defect_Result, TOTAL \n";

// The wide chart has three pictures at the levels -1 to +1, of which the last is below the floors
// of 1000 and 1100 in part; the tele chart has one; no mid chart.
class Table : public test::MotRun
{
protected:
    Table()
    {
        disable(2);
        ChartResult &wide = range(0, -1, 1, 3);
        fill_level(wide, 1, {1500, 1501, 1402, 1403, 1404, 1405, 1406, 1407, 1408, 1409}, 1);
        fill_level(wide, 2, {2500, 2501, 2402, 2403, 2404, 2405, 2406, 2407, 2408, 2409}, 1);
        fill_level(wide, 3, {1000, 1001, 1100, 1101, 999, 1405, -5, 1407, 1408, 1409}, 0);
        wide.bestLevel = 0;
        ChartResult &tele = range(1, 0, 0, 1);
        fill_level(tele, 2, {1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 12345}, 0);
    }
    ChartResult &range(int chart, int32_t start, int32_t end, int32_t size)
    {
        cfg.chart[chart].afStart = start;
        cfg.chart[chart].afEnd = end;
        cfg.chart[chart].rangeSize = cfg.result[chart].picCount = size;
        return cfg.result[chart];
    }
    static void fill_level(ChartResult &result, int k, const std::array<int32_t, 10> &values,
                           int32_t ok)
    {
        for (int i = 0; i < PIM_WINDOWS; i++) {
            result.win[k][i] = values[static_cast<std::size_t>(i)];
            result.org[k][i] = result.win[k][i] + 7;
        }
        result.ok[k] = ok;
        result.afStep[k] = 1500 + k;
        result.yValue[k] = 90 + k;
    }
    std::string write(int32_t chart = 0)
    {
        return test::captured_output([&] { rova_pim_mot_write_table(chart, cfg); });
    }
    // The rows, each with `end` before its line feed.
    static std::vector<std::string> rows(const std::string &end)
    {
        const std::string none = repeated("   0,", 11) + "NG,,  ";
        return {"00:00:00,  -2,   0," + none + "  -2,   0," + none + end,
                "00:00:00,  -1,1501,1500,1501,1402,1403,1404,1405,1406,1407,1408,1409,  91,OK,,  "
                "  -1,   0," +
                    none + end,
                "00:00:00,   0,1502,2500,2501,2402,2403,2404,2405,2406,2407,2408,2409,  92,OK,0,"
                "   0,1502,1200,1200,1200,1200,1200,1200,1200,1200,1200,12345,  92,NG,,  " +
                    end,
                "00:00:00,   1,1503,1000,1001,1100,1101,1100,1405,1100,1407,1408,1409,  93,NG,,  "
                "   1,   0," +
                    none + end,
                "00:00:00,   2,   0," + none + "   2,   0," + none + end};
    }
    static std::string table(const std::string &title, const std::string &end,
                             const std::string &head = "")
    {
        std::string text = title;
        for (const std::string &row : rows(end))
            text += (text == title ? "" : head) + row + "\n";
        return text;
    }
};

} // namespace

TEST_F(Table, OfOneChart)
{
    for (int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        camera.remove(test::MOT_RESULT);
        print_mode(mode);
        allocate();
        write();
        EXPECT_EQ(file(), table(ONE_TITLE, ""));
        EXPECT_EQ(gRstFpState, 0);
        EXPECT_STREQ(pRstData, "");
        EXPECT_STREQ(pPtpTile, "");
        EXPECT_EQ(cfg.finalResult, PIM_NO_RESULT);
        EXPECT_EQ(cfg.result[0].okCount, PIM_NO_RESULT);
        EXPECT_EQ(gMallocFlag, 0);
        EXPECT_EQ(gPimaImg, nullptr);
    }
}

TEST_F(Table, OfAllCharts)
{
    cfg.resultType = 1;
    for (int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        camera.remove(test::MOT_RESULT);
        print_mode(mode);
        allocate();
        write();
        EXPECT_EQ(file(), table(ALL_TITLE, ",NG,"));
        EXPECT_STREQ(pPtpTilefromEEPROM, "WIDE,AF LOG,TELE,AF LOG,");
        EXPECT_STREQ(pPtpTile, "");
        EXPECT_STREQ(pRstData, "");
        EXPECT_EQ(gMallocFlag, 0);
    }
}

TEST_F(Table, OfOneChartIsKeptByItsLastRow)
{
    print_mode(PIM_RESULT_KEPT);
    std::ranges::fill(pRstData, 'x');
    pRstData[sizeof(pRstData) - 1] = '\0';
    gRstCnt = 5;
    say(pPtpTilefromEEPROM, "of all charts");
    write();
    EXPECT_STREQ(pPtpTile, ONE_TITLE);
    EXPECT_STREQ(pPtpTilefromEEPROM, "of all charts");
    EXPECT_EQ(std::string(pRstData), rows("")[4] + "\n");
    EXPECT_EQ(gRstCnt, 0);
    EXPECT_TRUE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(file(), "");
    EXPECT_EQ(gRstFpState, 0);
}

TEST_F(Table, OfAllChartsIsKeptWhole)
{
    cfg.resultType = 1;
    print_mode(PIM_RESULT_KEPT);
    write();
    EXPECT_STREQ(pPtpTile, ALL_TITLE);
    EXPECT_STREQ(pPtpTilefromEEPROM, "WIDE,AF LOG,TELE,AF LOG,");
    EXPECT_EQ(std::string(pRstData), table("", ",NG,"));
    EXPECT_EQ(gRstCnt, static_cast<int32_t>(table("", ",NG,").size()));
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
}

TEST_F(Table, TheLongestTitleIsKeptWhole)
{
    cfg.chartUsage[2] = 1;
    print_mode(PIM_RESULT_DIRECT);
    write();
    print_mode(PIM_RESULT_KEPT);
    write();
    EXPECT_EQ(pPtpTile, lines_of(file())[0] + "\n");
}

TEST_F(Table, OtherModesWriteNoRow)
{
    print_mode(3);
    write();
    EXPECT_TRUE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(file(), "");
    EXPECT_STREQ(pRstData, "");
}

TEST_F(Table, TheRowsBehindTheFirstBeginWithEmptyColumns)
{
    cfg.dbgOption[0] = 3;
    write();
    EXPECT_EQ(file(), table(ONE_TITLE, "", ",,,"));
    print_mode(PIM_RESULT_KEPT);
    write();
    EXPECT_EQ(std::string(pRstData), ",,," + rows("")[4] + "\n");
}

TEST_F(Table, AMidChartHasItsColumns)
{
    cfg.chartUsage[2] = 1;
    cfg.chart[2] = cfg.chart[1];
    cfg.result[2] = cfg.result[1];
    write();
    const std::string mid_title =
        "MID ,AF LOG,CN_H, CN_V, LT_H, LT_V, LB_H, LB_V, RT_H, RT_V, RB_H, RB_V, Y-VAL, RESULT, "
        "M-BEST,Defect_Result, TOTAL ";
    EXPECT_THAT(lines_of(file())[0], testing::EndsWith("T-BEST," + mid_title));
    EXPECT_EQ(lines_of(file())[1], rows("")[0] + "  -2,   0," + repeated("   0,", 11) + "NG,,  ");
    camera.remove(test::MOT_RESULT);
    cfg.resultType = 1;
    write();
    EXPECT_EQ(lines_of(file())[0],
              " TIME,WIDE,AF LOG,TELE,AF LOG,MID,AF LOG,Defect_Result, TOTAL ");
    EXPECT_STREQ(pPtpTilefromEEPROM, "WIDE,AF LOG,TELE,AF LOG,MID,AF LOG,");
    cfg.resultType = -1;
    cfg.chartUsage[2] = 2;
    camera.remove(test::MOT_RESULT);
    write();
    EXPECT_EQ(file(), table(ALL_TITLE, ",NG,"));
}

// The usage 1 0 1: the tele chart keeps its columns.
TEST_F(Table, ATeleChartWithoutUseHasColumnsOfNoResult)
{
    disable(1);
    cfg.chartUsage[2] = 1;
    range(2, 0, 0, 1);
    write();
    const std::string unused = repeated("   0,", 13) + "-,,  ";
    const std::string mid = "  -2,   0," + repeated("   0,", 11) + "NG,,  ";
    EXPECT_EQ(lines_of(file())[1], "00:00:00,  -2,   0," + repeated("   0,", 11) + "NG,,  " +
                                       unused + "   0,   0," + repeated("   0,", 11) + "NG,,  ");
}

TEST_F(Table, TheValuesBeforeTheirCorrectionStandBesideThem)
{
    cfg.orgResultData = 1;
    write();
    const std::string none = repeated("(   0)    0,", 10);
    EXPECT_THAT(lines_of(file())[1],
                testing::StartsWith("00:00:00,  -2,   0," + none + "   0,NG,,  "));
    EXPECT_THAT(lines_of(file())[4],
                HasSubstr(",1503,(1000) 1000,(1008) 1001,(1100) 1100,(1108) 1101,(1100) 1100,"
                          "(1412) 1405,(1100) 1100,(1414) 1407,(1415) 1408,(1416) 1409,  93,NG,"));
    cfg.orgResultData = 2;
    camera.remove(test::MOT_RESULT);
    write();
    EXPECT_EQ(file(), table(ONE_TITLE, ""));
}

TEST_F(Table, TheRecordIsNormalisedWithTheRows)
{
    cfg.result[0].win[0][3] = cfg.result[0].org[0][3] = 1700; // of a level out of range
    cfg.result[0].win[4][3] = cfg.result[0].org[4][3] = 1700;
    write();
    EXPECT_THAT(cfg.result[0].win[0], Each(0));
    EXPECT_THAT(cfg.result[0].org[0], Each(0));
    EXPECT_THAT(cfg.result[0].org[4], Each(0));
    EXPECT_THAT(cfg.result[0].org[3],
                ElementsAre(1000, 1008, 1100, 1108, 1100, 1412, 1100, 1414, 1415, 1416));
}

TEST_F(Table, AChartOfNoPicturesHasNoValues)
{
    ChartResult &tele = range(1, -2, 2, 0);
    fill_level(tele, 2, {1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200, 1200}, 0);
    write();
    EXPECT_THAT(lines_of(file())[3],
                testing::EndsWith("   0,1502," + repeated("   0,", 10) + "  92,-,,  "));
    EXPECT_THAT(tele.win[2], Each(0));
    EXPECT_THAT(tele.org[2], Each(0));
}

// Only a size of 0 takes the values; the mark follows the passes.
TEST_F(Table, AChartOfLessThanNoPicturesKeepsItsValues)
{
    cfg.chart[0].rangeSize = -1; // with a best level
    write();
    EXPECT_THAT(lines_of(file())[3], HasSubstr("2409,  92,OK,0,"));
    EXPECT_THAT(lines_of(file())[4], HasSubstr("1409,  93,-,,  "));
}

TEST_F(Table, ARangeOfAnyNumbersIsNoneOfTheLevels)
{
    for (auto [start, end] : {std::pair(INT_MAX, INT_MAX), {INT_MIN, INT_MIN}, {2, -2}}) {
        range(0, start, end, 3);
        camera.remove(test::MOT_RESULT);
        write();
        EXPECT_THAT(lines_of(file())[3],
                    HasSubstr("   0,1502," + repeated("   0,", 10) + "  92,OK,0,"));
    }
}

TEST_F(Table, EachBestLevelIsMarked)
{
    for (int32_t level = -2; level <= 2; level++) {
        cfg.result[0].bestLevel = level;
        camera.remove(test::MOT_RESULT);
        write();
        for (int k = 0; k < PIM_LEVELS; k++) {
            const std::string mark = k - 2 == level ? std::to_string(level) + "," : ",  ";
            const std::string row = lines_of(file())[static_cast<std::size_t>(k) + 1];
            EXPECT_THAT(row, testing::ContainsRegex("(OK|NG)," + mark + " +" +
                                                    std::to_string(k - 2) + ","));
        }
    }
}

TEST_F(Table, AnUnfinishedChartHasNone)
{
    cfg.result[1].picCount = 0;
    EXPECT_EQ(write(1), "");
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(gMallocFlag, 1);
    cfg.result[1].bestLevel = 1;
    write(1);
    EXPECT_EQ(lines_of(file()).size(), 6u);
}

TEST_F(Table, OfAllChartsWaitsForTheLast)
{
    cfg.resultType = 1;
    for (int chart : {0, 1}) {
        const ChartResult before = cfg.result[chart];
        cfg.result[chart].picCount = 0;
        cfg.result[chart].bestLevel = PIM_NO_RESULT;
        write();
        EXPECT_FALSE(camera.exists(test::MOT_RESULT)) << chart;
        EXPECT_EQ(cfg.finalResult, PIM_NO_RESULT);
        cfg.result[chart] = before;
    }
    cfg.chartUsage[2] = 1;
    cfg.chart[2].rangeSize = 1;
    write();
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(gMallocFlag, 1);
    cfg.result[2].picCount = 1;
    write();
    EXPECT_TRUE(camera.exists(test::MOT_RESULT));
}

TEST_F(Table, AWrongChartIsReported)
{
    for (int32_t chart : {3, -1, 99}) {
        EXPECT_EQ(write(chart), " Wrong Chart ~~ !! : " + std::to_string(chart) + " \n");
        EXPECT_TRUE(camera.logged("Wrong Chart ~~ !! : " + std::to_string(chart)));
    }
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
}

TEST_F(Table, TheSummaryIsPrintedWhereAskedFor)
{
    EXPECT_EQ(write(1), "");
    cfg.dbgLevel[1] = 1;
    EXPECT_EQ(write(1), " Chart       = 1 [ TELE ] \n"
                        " BestAfLevel =   0 -99 -99 \n"
                        " RstCnt      =   3   1   0 \n"
                        " RangeSize   =   3   1   0 \n");
    cfg.dbgLevel[1] = -1;
    EXPECT_THAT(write(2), HasSubstr("= 2 [ MID. ] "));
    EXPECT_THAT(write(7), HasSubstr("= 7 [ - ] "));
}

TEST_F(Table, AFileThatCannotBeOpenedIsReportedAndNothingWritten)
{
    for (int32_t type : {0, 1}) {
        for (const char *path : {"", "/mnt/mmc/missing/result.csv"}) {
            cfg.resultType = type;
            say(cfg.resultFile, path);
            say(pPtpTile, "of before");
            say(pPtpTilefromEEPROM, "of before");
            EXPECT_EQ(write(), " FILE OPEN ERROR : " + std::string(path) + " \n\n");
            EXPECT_STREQ(pPtpTile, "");
            EXPECT_STREQ(pPtpTilefromEEPROM, type == 1 ? "" : "of before");
            EXPECT_STREQ(pRstData, "");
            EXPECT_EQ(gMallocFlag, 1);
            EXPECT_EQ(cfg.finalResult, PIM_NO_RESULT);
            EXPECT_EQ(cfg.result[0].org[3][0], 1007);
        }
    }
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/missing/result.csv"));
}

TEST_F(Table, ATableWithoutBuffersIsWritten)
{
    rova_pim_buffers_free();
    write();
    EXPECT_EQ(file(), table(ONE_TITLE, ""));
    EXPECT_EQ(gMallocFlag, 0);
}

TEST_F(Table, TablesAreAppended)
{
    write();
    write(1);
    EXPECT_EQ(file(), table(ONE_TITLE, "") + table(ONE_TITLE, ""));
}

TEST_F(Table, EveryChartWithPicturesHasToPassOften)
{
    cfg.resultType = 1;
    const struct {
        int32_t wide, tele; // passes asked for: there are 2 and 0
        int32_t verdict;
    } cases[] = {{2, 0, 1}, {3, 0, 0}, {2, 1, 0}, {0, 0, 1}, {3, 1, 0}};
    for (const auto &[wide, tele, verdict] : cases) {
        cfg.chart[0].okCntCondition = wide;
        cfg.chart[1].okCntCondition = tele;
        cfg.chart[2].okCntCondition = 5;
        camera.remove(test::MOT_RESULT);
        write();
        EXPECT_EQ(cfg.finalResult, verdict) << wide << " " << tele;
        EXPECT_EQ(cfg.result[0].okCount, 2);
        EXPECT_EQ(cfg.result[1].okCount, 0);
        EXPECT_EQ(cfg.result[2].okCount, PIM_NO_RESULT);
        EXPECT_EQ(file(), table(ALL_TITLE, verdict == 1 ? ",OK," : ",NG,"));
    }
    ChartResult &mid = range(2, 0, 0, 1);
    cfg.chart[0].okCntCondition = cfg.chart[1].okCntCondition = 0;
    write();
    EXPECT_EQ(cfg.finalResult, 0);
    EXPECT_EQ(mid.okCount, 0);
    mid.ok[2] = 1;
    cfg.chart[2].okCntCondition = 1;
    write();
    EXPECT_EQ(cfg.finalResult, 1);
}

TEST_F(Table, AChartOfLessThanNoPicturesIsJudged)
{
    cfg.resultType = 1;
    cfg.chart[0].rangeSize = cfg.result[0].picCount = -1;
    cfg.chart[0].okCntCondition = 3;
    cfg.chart[1].okCntCondition = 0;
    write();
    EXPECT_EQ(cfg.result[0].okCount, 2);
    EXPECT_EQ(cfg.finalResult, 0);
}

// Numbers that are far too long for the buffer: a file has them all, a kept text ends with what it
// has room for.
TEST_F(Table, ATextLargerThanTheBufferIsWholeInAFileAndCutWhereKept)
{
    cfg.orgResultData = cfg.resultType = cfg.chartUsage[2] = 1;
    for (int chart = 0; chart < PIM_CHARTS; chart++) {
        ChartResult &result = range(chart, -2, 2, 5);
        cfg.chart[chart].ref[0] = cfg.chart[chart].ref[2] = INT_MIN;
        for (int k = 0; k < PIM_LEVELS; k++)
            fill_level(result, k,
                       {INT_MIN + 1, INT_MIN + 1, INT_MIN + 1, INT_MIN + 1, INT_MIN + 1,
                        INT_MIN + 1, INT_MIN + 1, INT_MIN + 1, INT_MIN + 1, INT_MIN + 1},
                       1);
    }
    print_mode(PIM_RESULT_BUFFERED);
    write();
    ASSERT_EQ(lines_of(file()).size(), 6u);
    const std::string value = "(-2147483640) -2147483647,";
    for (std::size_t row = 1; row < 6; row++)
        EXPECT_THAT(lines_of(file())[row], HasSubstr(repeated(value, 10)));
    const std::string whole = file();

    print_mode(PIM_RESULT_KEPT);
    cfg.finalResult = PIM_NO_RESULT;
    write();
    EXPECT_LT(std::strlen(pRstData), sizeof(pRstData));
    EXPECT_GT(std::strlen(pRstData), sizeof(pRstData) - value.size() - 20);
    EXPECT_TRUE(camera.logged("no room for a piece of the result behind"));
    EXPECT_NE(cfg.finalResult, PIM_NO_RESULT);
}

TEST_F(Table, EmptyColumnsThatNoBufferHoldsAreRefused)
{
    cfg.dbgOption[0] = 4095;
    write();
    EXPECT_EQ(file(), table(ONE_TITLE, "", std::string(4095, ',')));
    for (int32_t columns : {4096, INT_MAX}) {
        camera.remove(test::MOT_RESULT);
        cfg.dbgOption[0] = columns;
        EXPECT_THAT(write(), HasSubstr("refused " + std::to_string(columns) +
                                       " empty columns in the result: more than 4095\n"));
        EXPECT_EQ(file(), table(ONE_TITLE, ""));
    }
    cfg.dbgOption[0] = INT_MIN;
    camera.remove(test::MOT_RESULT);
    EXPECT_EQ(write(), "");
    EXPECT_EQ(file(), table(ONE_TITLE, ""));
}
