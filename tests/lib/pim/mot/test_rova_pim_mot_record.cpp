#include "tests/lib/pim/mot/mot_run.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

#include <climits>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char EXCESS[] = " ERROR ~!!!! : EXCESS the Number of Picture [ %s : %d / %d ]\n";

class Record : public test::MotRun
{
protected:
    // A picture with these values in all windows of the centre and the sides.
    std::string record(int32_t centre, int32_t side, int32_t chart = PIM_CHART_WIDE)
    {
        for (int i = 0; i < PIM_WINDOWS; i++) {
            cfg.motValue[i] = (i < 2 ? centre : side) + i;
            cfg.motOrgValue[i] = cfg.motValue[i] - 100;
        }
        return test::captured_output([&] { rova_pim_mot_record(chart, cfg); });
    }
    static std::string excess(const char *word, int taken, int size)
    {
        char text[128];
        std::snprintf(text, sizeof(text), EXCESS, word, taken, size);
        return text;
    }
    void expect_none(const ChartResult &result) const
    {
        EXPECT_EQ(cfg.bestIndex, PIM_NO_RESULT);
        EXPECT_EQ(result.bestLevel, PIM_NO_RESULT);
        EXPECT_EQ(result.bestAfStep, PIM_NO_RESULT);
        EXPECT_EQ(result.bestRemapped, PIM_NO_RESULT);
    }
};

} // namespace

TEST_F(Record, APictureIsKeptAtItsLevel)
{
    gMotExifInfo.afStep = 1520;
    cfg.yValueNow = 93;
    record(1600, 1400, PIM_CHART_TELE);
    const ChartResult &result = cfg.result[PIM_CHART_TELE];
    EXPECT_THAT(result.win[0],
                ElementsAre(1600, 1601, 1402, 1403, 1404, 1405, 1406, 1407, 1408, 1409));
    EXPECT_THAT(result.org[0],
                ElementsAre(1500, 1501, 1302, 1303, 1304, 1305, 1306, 1307, 1308, 1309));
    EXPECT_EQ(result.cen[0], 3201);
    EXPECT_EQ(result.sid[0], 11244);
    EXPECT_EQ(result.minSide[0], 1402);
    EXPECT_EQ(result.ok[0], 1);
    EXPECT_EQ(result.afStep[0], 1520);
    EXPECT_EQ(result.yValue[0], 93);
    EXPECT_EQ(result.picCount, 1);
    EXPECT_EQ(cfg.result[PIM_CHART_WIDE].picCount, 0);
}

TEST_F(Record, TheLevelsGoUpFromTheFirstOne)
{
    cfg.chart[0].afStart = -1;
    cfg.chart[0].afEnd = 1;
    cfg.chart[0].rangeSize = 3;
    for (int32_t value : {1600, 1700, 1800}) {
        gMotExifInfo.afStep = value + 1;
        cfg.yValueNow = value + 2;
        record(value, value);
    }
    const ChartResult &result = cfg.result[0];
    EXPECT_THAT(result.ok, ElementsAre(0, 1, 1, 1, 0));
    EXPECT_THAT(result.afStep, ElementsAre(0, 1601, 1701, 1801, 0));
    EXPECT_THAT(result.yValue, ElementsAre(0, 1602, 1702, 1802, 0));
    EXPECT_EQ(result.win[1][0], 1600);
    EXPECT_EQ(result.win[2][0], 1700);
    EXPECT_EQ(result.win[3][0], 1800);
    EXPECT_THAT(result.win[0], testing::Each(0));
    EXPECT_THAT(result.win[4], testing::Each(0));
    EXPECT_EQ(result.bestLevel, 1);
    EXPECT_EQ(result.bestAfStep, 4);
    EXPECT_EQ(result.bestRemapped, 10);
    EXPECT_EQ(cfg.bestIndex, 3);
}

TEST_F(Record, EveryWindowHasToReachItsLevel)
{
    cfg.chart[0].rangeSize = 5;
    for (int i = 0; i < PIM_WINDOWS; i++)
        cfg.chart[0].okLevel[i] = (i < 2 ? 1500 : 1400) + i;
    record(1500, 1400);
    EXPECT_EQ(cfg.result[0].ok[0], 1);
    for (int i = 0; i < PIM_WINDOWS; i++) {
        cfg.result[0].picCount = 0;
        cfg.chart[0].okLevel[i]++;
        record(1500, 1400);
        EXPECT_EQ(cfg.result[0].ok[0], 0) << "window " << i;
        cfg.chart[0].okLevel[i]--;
    }
}

TEST_F(Record, TheLeastSideIsAtMost9999)
{
    record(12000, 11000);
    EXPECT_EQ(cfg.result[0].minSide[0], 9999);
    record(100, -20);
    EXPECT_EQ(cfg.result[0].minSide[1], -18);
}

TEST_F(Record, TheLeastSideIsThatOfAnyWindow)
{
    for (int i = 2; i < PIM_WINDOWS; i++) {
        std::ranges::fill(cfg.motValue, 1400);
        cfg.motValue[0] = cfg.motValue[1] = 1000;
        cfg.motValue[i] = 1200;
        cfg.result[0].picCount = 0;
        rova_pim_mot_record(0, cfg);
        EXPECT_EQ(cfg.result[0].minSide[0], 1200) << "window " << i;
    }
}

TEST_F(Record, SumsStayWithinTheRecordsNumbers)
{
    std::ranges::fill(cfg.motValue, INT_MAX);
    rova_pim_mot_record(0, cfg);
    EXPECT_EQ(cfg.result[0].cen[0], INT_MAX);
    EXPECT_EQ(cfg.result[0].sid[0], INT_MAX);
    std::ranges::fill(cfg.motValue, INT_MIN);
    rova_pim_mot_record(0, cfg);
    EXPECT_EQ(cfg.result[0].cen[1], INT_MIN);
    EXPECT_EQ(cfg.result[0].sid[1], INT_MIN);
}

TEST_F(Record, EveryWindowIsPrinted)
{
    cfg.orgWin[9] = {10, 20, 109, 219, 100, 200};
    cfg.chart[0].dir[9] = 1;
    cfg.chart[0].pos[9] = 1;
    const std::string text = record(1600, 1400);
    EXPECT_THAT(text, testing::StartsWith(" Window[0] : \n"
                                          " S:(   0,   0) E:(   0,   0) SIZE: 0 x 0 \n"
                                          " Direction : 0 [ Left-->Right ] \n"
                                          " Position  : 0 [ Center ] \n"
                                          " >>>> MOT Value = 1600 \n\n"
                                          " Window[1] : \n"));
    EXPECT_THAT(text, testing::EndsWith(" Window[9] : \n"
                                        " S:(  10,  20) E:( 109, 219) SIZE: 100 x 200 \n"
                                        " Direction : 1 [ Right-->Left ] \n"
                                        " Position  : 1 [ Side ] \n"
                                        " >>>> MOT Value = 1409 \n\n"));
    cfg.chart[0].dir[9] = cfg.chart[0].pos[9] = -1;
    EXPECT_THAT(record(1600, 1400), HasSubstr(" Direction : -1 [ Right-->Left ] \n"
                                              " Position  : -1 [ Side ] \n"));
}

TEST_F(Record, APictureOverTheCountTouchesNothing)
{
    for (int i = 0; i < 5; i++)
        record(1600 + i, 1400);
    rova_pim_pm_config before = cfg;
    EXPECT_EQ(record(2900, 2900), excess("WIDE", 5, 5));
    EXPECT_TRUE(camera.logged("ERROR ~!!!! : EXCESS the Number of Picture [ WIDE : 5 / 5 ]"));
    std::ranges::copy(cfg.motValue, before.motValue);
    std::ranges::copy(cfg.motOrgValue, before.motOrgValue);
    EXPECT_EQ(std::memcmp(&before, &cfg, sizeof(cfg)), 0);
    EXPECT_EQ(cfg.result[0].bestLevel, 2);
}

TEST_F(Record, TheChartsHaveTheirWords)
{
    for (ChartResult &result : cfg.result)
        result.picCount = 6;
    EXPECT_EQ(record(1, 1, 0), excess("WIDE", 6, 5));
    EXPECT_EQ(record(1, 1, 1), excess("TELE", 6, 5));
    EXPECT_EQ(record(1, 1, 2), excess("MID.", 6, 5));
    cfg.chart[2].rangeSize = -1;
    cfg.result[2].picCount = 0;
    EXPECT_EQ(record(1, 1, 2), excess("MID.", 0, -1));
}

TEST_F(Record, ALevelOutsideOfTheFiveIsRefused)
{
    const struct {
        int32_t start;
        int32_t taken;
        int32_t size;
    } cases[] = {{-3, 0, 5}, {3, 0, 5},         {-2, 5, 6},         {INT_MIN, 0, 5},
                 {2, 1, 5},  {INT_MAX, 4, 900}, {INT_MAX, 800, 900}};
    for (const auto &[start, taken, size] : cases) {
        cfg.chart[1].afStart = start;
        cfg.chart[1].rangeSize = size;
        cfg.result[1] = {};
        cfg.result[1].picCount = taken;
        const ChartResult before = cfg.result[1];
        const std::string expected = " no AF level for picture " + std::to_string(taken + 1) +
                                     " of [ TELE ] from " + std::to_string(start) + " on\n";
        EXPECT_EQ(record(1600, 1600, 1), expected);
        EXPECT_EQ(std::memcmp(&before, &cfg.result[1], sizeof(before)), 0);
    }
    EXPECT_TRUE(camera.logged("no AF level for picture 6 of [ TELE ] from -2 on"));
}

TEST_F(Record, AlgorithmsOfKeysDecideAndWriteWithTheLastPictureOnly)
{
    for (int32_t algorithm : {2, 3}) {
        cfg.chart[0].bestDefocusAlgorithm = algorithm;
        cfg.result[0].picCount = 0;
        camera.remove(test::MOT_RESULT);
        for (int32_t i = 0; i < 4; i++)
            EXPECT_THAT(record(1600 - i, 1500), Not(HasSubstr("CHART")));
        EXPECT_FALSE(camera.exists(test::MOT_RESULT));
        EXPECT_THAT(record(1590, 1500),
                    HasSubstr(" [ WIDE CHART ] Final GOOD AF Level = -2, AF Step = -4 \n"));
        EXPECT_TRUE(camera.exists(test::MOT_RESULT));
        EXPECT_EQ(cfg.bestIndex, 0);
        EXPECT_EQ(cfg.result[0].bestLevel, -2);
        EXPECT_EQ(cfg.result[0].bestAfStep, -4);
        EXPECT_EQ(cfg.result[0].bestRemapped, -20);
    }
}

TEST_F(Record, TheLeastSideBeatsAGreaterCentre)
{
    for (int32_t algorithm : {2, 3}) {
        cfg.chart[0].bestDefocusAlgorithm = algorithm;
        cfg.result[0].picCount = 0;
        for (int32_t i = 0; i < 5; i++)
            record(1600 - 10 * i, 1500 + 10 * i);
        EXPECT_EQ(cfg.result[0].bestLevel, algorithm == 2 ? -2 : 2);
    }
}

TEST_F(Record, WithoutAGoodLevelThereIsNone)
{
    const struct {
        int chart;
        const char *word;
    } charts[] = {{0, "WIDE"}, {1, "TELE"}, {2, "MID."}};
    for (const auto &[chart, word] : charts) {
        std::string text;
        for (int i = 0; i < 5; i++)
            text = record(1499 - 1, 1399 - 9, chart);
        EXPECT_THAT(text, HasSubstr(" [ " + std::string(word) +
                                    " CHART ] All NG in Full AF Level = -99, AF Step = -99 \n"));
        expect_none(cfg.result[chart]);
    }
    EXPECT_NE(file(), "");
}

TEST_F(Record, AlgorithmOneDecidesQuietlyAndAsksForTheTableEveryTime)
{
    cfg.chart[0].bestDefocusAlgorithm = 1;
    cfg.dbgLevel[1] = 1;
    for (int i = 0; i < 4; i++) {
        EXPECT_THAT(record(1600, 1500), HasSubstr(" Chart       = 0 [ WIDE ] \n"));
        EXPECT_FALSE(camera.exists(test::MOT_RESULT));
        EXPECT_EQ(cfg.bestIndex, PIM_NO_RESULT);
    }
    const std::string last = record(1600, 1500);
    EXPECT_THAT(last, HasSubstr(" BestAfLevel =   0 -99 -99 \n"));
    EXPECT_THAT(last, Not(HasSubstr("GOOD AF Level")));
    EXPECT_TRUE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(cfg.bestIndex, 2);
}

TEST_F(Record, AlgorithmOneWithoutAGoodLevelWritesTheTable)
{
    cfg.chart[0].bestDefocusAlgorithm = 1;
    for (int i = 0; i < 5; i++)
        record(1000, 1000);
    expect_none(cfg.result[0]);
    EXPECT_NE(file(), "");
}

TEST_F(Record, OtherAlgorithmsDecideAndWriteNothing)
{
    for (int32_t algorithm : {0, 4, -1}) {
        cfg.chart[0].bestDefocusAlgorithm = algorithm;
        cfg.result[0].picCount = 0;
        for (int i = 0; i < 5; i++)
            record(1600, 1500);
        EXPECT_EQ(cfg.result[0].picCount, 5);
        expect_none(cfg.result[0]);
        EXPECT_FALSE(camera.exists(test::MOT_RESULT));
    }
}

// The choice of the chart in hand is one for all: only a chart's first picture clears it.
TEST_F(Record, AChoiceStandsUntilAChartsFirstPicture)
{
    cfg.bestIndex = 4;
    cfg.chart[0].rangeSize = 2;
    cfg.result[0].picCount = 1;
    record(1600, 1500);
    EXPECT_EQ(cfg.bestIndex, 4);
    EXPECT_EQ(cfg.result[0].bestLevel, PIM_NO_RESULT);
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
    record(1600, 1500, 1);
    EXPECT_EQ(cfg.bestIndex, PIM_NO_RESULT);
}

TEST_F(Record, AChartOfOnePictureIsDecidedAtOnce)
{
    cfg.chart[0].afStart = cfg.chart[0].afEnd = 0;
    cfg.chart[0].rangeSize = 1;
    record(1600, 1500);
    EXPECT_EQ(cfg.result[0].bestLevel, 0);
    EXPECT_EQ(cfg.result[0].bestAfStep, 0);
    EXPECT_EQ(cfg.bestIndex, 2);
}
