#include "tests/lib/pim/mot/mot_file.h"
#include "tests/lib/pim/mot/mot_run.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>

using test::lines_of;
using testing::HasSubstr;

namespace
{

constexpr char TITLE[] =
    " FILE    , F.Num, SHTTR , ISO, 35mm F.Len , CN_H , CN_V , LT_H , LT_V , LB_H , LB_V , RT_H , "
    "RT_V , RB_H , RB_V , Y-VAL, RESULT \n";
constexpr char EXIF[] = "IMG_0012.JPG,28/10,1/60sec,100,24mm,";
constexpr char VALUES[] = "1500,1501,1402,1403,1404,1405,1406,1407,1408,1409,";

class Qa : public test::MotRun
{
protected:
    Qa()
    {
        cfg.testMode = 1;
        cfg.qaPicNum = 3;
        say(gMotExifInfo.filename, "IMG_0012.JPG");
        say(gMotExifInfo.f_number, "28/10");
        say(gMotExifInfo.exposure, "1/60sec");
        say(gMotExifInfo.iso, "100");
        say(gMotExifInfo.focal_length, "24mm");
    }
    // A picture that just passes, of this brightness.
    std::string write(int32_t brightness, int32_t chart = 0)
    {
        for (int i = 0; i < PIM_WINDOWS; i++)
            cfg.motValue[i] = (i < 2 ? 1500 : 1400) + i;
        return write_again(brightness, chart);
    }
    std::string write_again(int32_t brightness, int32_t chart = 0)
    {
        for (int i = 0; i < PIM_WINDOWS; i++)
            cfg.motOrgValue[i] = cfg.motValue[i] + 7;
        cfg.yValueNow = brightness;
        cfg.qaResult = PIM_NO_RESULT;
        return test::captured_output([&] { rova_pim_mot_write_qa_row(chart, cfg); });
    }
    static std::string row(int32_t brightness)
    {
        return std::string(EXIF) + VALUES + "  " + std::to_string(brightness) + ",OK,\n";
    }
};

} // namespace

TEST_F(Qa, BufferedRowsReachTheFileByTheLast)
{
    print_mode(PIM_RESULT_BUFFERED);
    EXPECT_EQ(write(91), "");
    EXPECT_EQ(gRstFpState, 1);
    EXPECT_EQ(std::string(pRstData), TITLE + row(91));
    write(92);
    EXPECT_EQ(gRstFpState, 1);
    EXPECT_EQ(gMallocFlag, 1);
    write(93);
    EXPECT_EQ(file(), TITLE + row(91) + row(92) + row(93));
    EXPECT_EQ(gRstFpState, 0);
    EXPECT_EQ(gMallocFlag, 0);
    EXPECT_EQ(gPimaImg, nullptr);
    EXPECT_EQ(rova_pim_mot_qa_rows, 3);
    EXPECT_EQ(cfg.qaResult, 1);
}

TEST_F(Qa, ARowBehindTheLastIsLostAndReported)
{
    print_mode(PIM_RESULT_BUFFERED);
    cfg.qaPicNum = 1;
    write(91);
    EXPECT_EQ(write(92), " the file of 1 rows is closed, the next one is lost\n");
    EXPECT_EQ(file(), TITLE + row(91));
    EXPECT_EQ(rova_pim_mot_qa_rows, 2);
    EXPECT_EQ(cfg.qaResult, 1);
}

TEST_F(Qa, DirectRowsReachTheFileOneByOne)
{
    print_mode(PIM_RESULT_DIRECT);
    write(91);
    EXPECT_EQ(file(), TITLE + row(91));
    EXPECT_EQ(gRstFpState, 0);
    for (int32_t brightness : {92, 93, 94})
        write(brightness);
    EXPECT_EQ(file(), TITLE + row(91) + row(92) + row(93) + row(94));
    EXPECT_EQ(gMallocFlag, 1);
}

TEST_F(Qa, AKeptRowIsAloneAndTheTitleThatOfTheFirst)
{
    print_mode(PIM_RESULT_KEPT);
    say(pRstData, "before");
    gRstCnt = 6;
    write(91);
    EXPECT_STREQ(pPtpTile, TITLE);
    EXPECT_EQ(std::string(pRstData), row(91));
    EXPECT_EQ(gRstCnt, 0);
    write(92);
    EXPECT_STREQ(pPtpTile, "");
    EXPECT_EQ(std::string(pRstData), row(92));
    EXPECT_EQ(gRstCnt, 0);
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(gMallocFlag, 1);
}

TEST_F(Qa, OtherModesCountTheRowsOnly)
{
    print_mode(3);
    write(91);
    EXPECT_FALSE(camera.exists(test::MOT_RESULT));
    EXPECT_EQ(rova_pim_mot_qa_rows, 1);
    EXPECT_EQ(cfg.qaResult, 1);
}

TEST_F(Qa, EveryRowBeginsWithEmptyColumns)
{
    cfg.dbgOption[0] = 2;
    write(91);
    write(92);
    EXPECT_EQ(file(), TITLE + (",," + row(91)) + ",," + row(92));
}

TEST_F(Qa, TheShootingDataArePrintedWhereAskedFor)
{
    cfg.dbgLevel[0] = -1;
    EXPECT_EQ(write(91), " File Name = IMG_0012.JPG \n F No.     = 28/10 \n"
                         " Shttr     = 1/60sec \n ISO       = 100 \n 35mm      = 24mm \n");
}

TEST_F(Qa, ValuesAtOrBelowTheFloorTakeIt)
{
    const int32_t values[] = {1000, 999, 1100, 1099, 1101, -5, 1400, 1400, 1400, 1400};
    std::ranges::copy(values, cfg.motValue);
    write_again(91);
    EXPECT_EQ(lines_of(file())[1],
              std::string(EXIF) + "1000,1000,1100,1100,1101,1100,1400,1400,1400,1400,  91,NG,");
    EXPECT_THAT(cfg.motValue,
                testing::ElementsAre(1000, 1000, 1100, 1100, 1101, 1100, 1400, 1400, 1400, 1400));
    EXPECT_THAT(cfg.motOrgValue,
                testing::ElementsAre(1000, 1000, 1100, 1100, 1108, 1100, 1407, 1407, 1407, 1407));
    EXPECT_EQ(cfg.qaResult, 0);
}

// A window is judged by the floor that it takes.
TEST_F(Qa, AFloorAtThePassLevelPasses)
{
    std::ranges::fill(cfg.motValue, 0);
    std::fill_n(cfg.chart[0].okLevel, 2, 1000);
    std::fill(cfg.chart[0].okLevel + 2, cfg.chart[0].okLevel + PIM_WINDOWS, 1100);
    write_again(91);
    EXPECT_EQ(cfg.qaResult, 1);
}

TEST_F(Qa, TheFloorsAndLevelsAreThoseOfTheChart)
{
    cfg.chart[2].ref[0] = 1501;
    cfg.chart[2].ref[2] = 1403;
    write(91, 2);
    EXPECT_THAT(lines_of(file())[1],
                HasSubstr(",1501,1501,1403,1403,1404,1405,1406,1407,1408,1409,"));
    EXPECT_EQ(cfg.qaResult, 1);
    cfg.chart[2].okLevel[9] = 1410;
    write(91, 2);
    EXPECT_EQ(cfg.qaResult, 0);
}

TEST_F(Qa, EveryWindowHasToPass)
{
    for (int i = 0; i < PIM_WINDOWS; i++) {
        for (int w = 0; w < PIM_WINDOWS; w++)
            cfg.motValue[w] = cfg.chart[0].okLevel[w] - (w == i ? 1 : 0);
        write_again(91);
        EXPECT_EQ(cfg.qaResult, 0) << i;
    }
    std::ranges::copy(cfg.chart[0].okLevel, cfg.motValue);
    write_again(91);
    EXPECT_EQ(cfg.qaResult, 1);
}

TEST_F(Qa, TheValuesBeforeTheirCorrectionStandBesideThem)
{
    cfg.orgResultData = 1;
    write(91);
    EXPECT_EQ(lines_of(file())[1],
              std::string(EXIF) + "(1507) 1500,(1508) 1501,(1409) 1402,(1410) 1403,(1411) 1404,"
                                  "(1412) 1405,(1413) 1406,(1414) 1407,(1415) 1408,(1416) 1409,"
                                  "  91,OK,");
}

TEST_F(Qa, AFileThatCannotBeOpenedIsReportedAndNoRowCounted)
{
    for (int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        print_mode(mode);
        say(cfg.resultFile, "");
        EXPECT_EQ(write(91), " FILE OPEN ERROR :  \n\n");
        EXPECT_EQ(rova_pim_mot_qa_rows, 0);
    }
    say(cfg.resultFile, test::MOT_RESULT);
    write(92);
    EXPECT_EQ(file(), TITLE + row(92));
}

// Rows of a run that ended early stay in their own file.
TEST_F(Qa, ATableBehindUnfinishedRowsLosesNone)
{
    print_mode(PIM_RESULT_BUFFERED);
    write(91);
    cfg.testMode = 0;
    cfg.result[0].picCount = 5;
    say(cfg.resultFile, "/mnt/mmc/table.csv");
    rova_pim_mot_write_table(0, cfg);
    EXPECT_EQ(file(), TITLE + row(91));
    EXPECT_EQ(lines_of(camera.read("/mnt/mmc/table.csv")).size(), 6u);
}

// The next load may want another kind of result, or none in a file.
TEST_F(Qa, ALoadWritesOutTheRowsThatWaitForTheLast)
{
    SetPIMode(PI_MODE_MOT);
    print_mode(PIM_RESULT_BUFFERED);
    write(91);
    const std::string kept = test::mot_file({{"rstPrint", "2"}, {"testMode", "1"}});
    camera.write("/mnt/mmc/mot_lumen1.cfg", kept);
    EXPECT_EQ(rova_pim_read_config("LUMEN1", "lumen1"), 0);
    EXPECT_EQ(file(), TITLE + row(91));
    EXPECT_STREQ(pRstData, "");
    SetPIMode(PI_MODE_NONE);
}

TEST_F(Qa, RowsGoOnInTheirFileBehindALoad)
{
    SetPIMode(PI_MODE_MOT);
    print_mode(PIM_RESULT_BUFFERED);
    write(91);
    camera.write("/mnt/mmc/mot_lumen1.cfg", test::mot_file({{"rstPrint", "0"},
                                                            {"testMode", "1"},
                                                            {"qaPicNum", "2"},
                                                            {"resultFile", test::MOT_RESULT}}));
    EXPECT_EQ(rova_pim_read_config("LUMEN1", "lumen1"), 0);
    write(92);
    EXPECT_EQ(file(), TITLE + row(91) + row(92));
    EXPECT_EQ(gRstFpState, 0);
    SetPIMode(PI_MODE_NONE);
}

TEST_F(Qa, ALoadLeavesAKeptRowForTheDisplay)
{
    SetPIMode(PI_MODE_MOT);
    print_mode(PIM_RESULT_KEPT);
    write(91);
    camera.write("/mnt/mmc/mot_lumen1.cfg", test::mot_file());
    EXPECT_EQ(rova_pim_read_config("LUMEN1", "lumen1"), 0);
    EXPECT_EQ(std::string(pRstData), row(91));
    SetPIMode(PI_MODE_NONE);
}
