#include "tests/lib/pim/noise/noise_run.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr char TITLE[] = "File, Total ,    , Dot Noise,  ,    ,     ,    ,      ,      , Color "
                         "Noise,  ,  ,  ,    ,    , Line Noise ,  ,  ,  ,   ,    ,  ,   ,   ,  \n";
constexpr char COLUMNS[] =
    "Name, Resutl, ISO, Result   , Y,Ymax, Ymin, Yn , Ynmax, YnMin, Result     , R, G, B, R-G, "
    "B-G, Result     , X1, X2, X3, X4, X5, X6, X7, X8, X9,  \n";
const std::string HEADS = std::string(TITLE) + COLUMNS;

std::string times(const std::string &text, int count)
{
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

// Dots and colours are good, and three lines were found.
class NoiseResult : public test::NoiseRun
{
protected:
    NoiseResult()
    {
        cfg.iDotOk = cfg.iDotRst = cfg.iColorOk = cfg.iColorRst = 1;
        cfg.iLineOk = cfg.iLineRst = 0;
        cfg.fY = 128.125F;
        cfg.fYMax = 130;
        cfg.fYMin = 120.5F;
        cfg.fYnAvg = 100;
        cfg.fYnMax = 101.256F;
        cfg.fYnMin = 99;
        cfg.fR = 1.5F;
        cfg.fG = 2;
        cfg.fB = 3;
        cfg.fRG = -0.5F;
        cfg.fBG = 1;
        cfg.iLnDeNumRst = 3;
        cfg.LnDefRst[0] = 7;
        cfg.LnDefRst[1] = 70;
        cfg.LnDefRst[2] = 5400;
    }
    std::string write()
    {
        return test::captured_output([&] { WriteNoiseResult(cfg); });
    }
    static std::string row()
    {
        return "IMG_0013.JPG,NG,ISO 100,OK,128.12,130.00,120.50,100.00,101.26,99.00,"
               "OK,1.50,2.00,3.00,-0.50,1.00,NG,7,70,5400," +
               times(", ", 29) + "\n";
    }
};

} // namespace

TEST_F(NoiseResult, TheFirstRowOfAFileHasTheHeadsAboveIt)
{
    for (const int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        print_modes(PIM_DEBUG_STDOUT, mode);
        camera.remove(test::NOISE_RESULT);
        EXPECT_EQ(write(), " OUTFILE SIZE = 0 \n");
        EXPECT_EQ(file(), HEADS + row());
        EXPECT_EQ(write(), " OUTFILE SIZE = " + std::to_string((HEADS + row()).size()) + " \n");
        EXPECT_EQ(file(), HEADS + row() + row());
        EXPECT_EQ(gRstFp, nullptr);
        EXPECT_EQ(pPtpTile[0], '\0');
        EXPECT_EQ(pRstData[0], '\0');
    }
}

TEST_F(NoiseResult, AFileOfOneByteIsNewAndOneOfTwoIsNot)
{
    camera.write(test::NOISE_RESULT, "x");
    EXPECT_EQ(write(), " OUTFILE SIZE = 1 \n");
    EXPECT_EQ(file(), "x" + HEADS + row());
    camera.write(test::NOISE_RESULT, "xy");
    write();
    EXPECT_EQ(file(), "xy" + row());
}

TEST_F(NoiseResult, AKeptTextHasItsHeadsInEveryCallAndNoFile)
{
    print_modes(PIM_DEBUG_STDOUT, PIM_RESULT_KEPT);
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(write(), "");
        EXPECT_STREQ(pPtpTile, TITLE);
        EXPECT_EQ(std::string(pRstData), COLUMNS + row());
    }
    EXPECT_FALSE(camera.exists(test::NOISE_RESULT));
}

TEST_F(NoiseResult, ALongestRowFitsIntoAKeptText)
{
    print_modes(PIM_DEBUG_STDOUT, PIM_RESULT_KEPT);
    std::ranges::fill(gMotExifInfo.filename, 'n');
    say(gMotExifInfo.f_number, "28/10"); // behind a name that fills its field
    for (float *value : {&cfg.fY, &cfg.fYMax, &cfg.fYMin, &cfg.fYnAvg, &cfg.fYnMax, &cfg.fYnMin,
                         &cfg.fR, &cfg.fG, &cfg.fB, &cfg.fRG, &cfg.fBG})
        *value = -3.4e38F;
    cfg.iLnDeNumRst = PIM_NOISE_LINES;
    std::ranges::fill(cfg.LnDefRst, -2147483647);
    write();
    EXPECT_THAT(pRstData, HasSubstr(times("-2147483647,", 32) + "\n"));
    EXPECT_THAT(pRstData, HasSubstr("\n" + times("n", 64) + ",NG,"));
}

TEST_F(NoiseResult, AnyOtherModeWritesNothing)
{
    print_modes(PIM_DEBUG_STDOUT, 3);
    EXPECT_EQ(write(), "");
    EXPECT_FALSE(camera.exists(test::NOISE_RESULT));
    EXPECT_EQ(pPtpTile[0], '\0');
    EXPECT_EQ(pRstData[0], '\0');
    EXPECT_EQ(cfg.iTotal, 0);
}

TEST_F(NoiseResult, AFileThatCannotBeOpenedIsReportedAndTheTotalStands)
{
    for (const int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT}) {
        print_modes(PIM_DEBUG_STDOUT, mode);
        say(cfg.strOutFile, "/mnt/mmc/none/noise.csv");
        cfg.iTotal = 7;
        EXPECT_EQ(write(), " FILE OPEN ERROR : /mnt/mmc/none/noise.csv \n\n");
        EXPECT_EQ(cfg.iTotal, 0);
    }
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/none/noise.csv"));
}

TEST_F(NoiseResult, ACheckThatDidNotRunHasADashInEachOfItsColumns)
{
    cfg.iColorOk = cfg.iColorRst = cfg.iLineOk = cfg.iLineRst = PIM_NO_RESULT;
    write();
    EXPECT_THAT(file(), HasSubstr(",OK,ISO 100,OK,128.12,130.00,120.50,100.00,101.26,99.00," +
                                  times("-,", 6) + times("-,", 33) + "\n"));
    cfg.iDotOk = cfg.iDotRst = PIM_NO_RESULT;
    write();
    EXPECT_THAT(file(), HasSubstr("\nIMG_0013.JPG,-,ISO 100," + times("-,", 7 + 6 + 33) + "\n"));
}

TEST_F(NoiseResult, ARowWithoutFindsHasAnEmptyColumnForEachLine)
{
    cfg.iLineOk = cfg.iLineRst = 1;
    cfg.iLnDeNumRst = 0;
    write();
    EXPECT_THAT(file(), HasSubstr(",1.00,OK," + times(", ", 32) + "\n"));
}

TEST_F(NoiseResult, AVerdictThatIsNeitherGoodNorBadIsADash)
{
    cfg.iDotRst = cfg.iColorRst = cfg.iLineRst = 2;
    write();
    EXPECT_THAT(file(), HasSubstr(",ISO 100,-,128.12,"));
    EXPECT_THAT(file(), HasSubstr(",99.00,-,1.50,"));
    EXPECT_THAT(file(), HasSubstr(",1.00,-,7,70,5400,, "));
}

TEST_F(NoiseResult, TheRowHasTheCopiesOfTheVerdicts)
{
    cfg.iDotOk = cfg.iColorOk = cfg.iLineOk = PIM_NO_RESULT;
    write();
    std::string expected = row();
    expected.replace(expected.find("NG"), 2, "-"); // but for the total
    EXPECT_EQ(file(), HEADS + expected);
}

// What did not run counts as passed beside what did.
TEST_F(NoiseResult, TheTotalIsThatOfTheChecksThatRan)
{
    constexpr int32_t NONE = PIM_NO_RESULT;
    struct {
        int32_t dot, color, line, total;
    } const rows[] = {{NONE, NONE, NONE, NONE},
                      {1, NONE, NONE, 1},
                      {NONE, 0, NONE, 0},
                      {1, 1, 1, 1},
                      {1, 1, 0, 0},
                      {0, 1, NONE, 0},
                      {NONE, NONE, 1, 1}};
    for (const auto &[dot, color, line, total] : rows) {
        cfg.iDotOk = dot;
        cfg.iColorOk = color;
        cfg.iLineOk = line;
        write();
        EXPECT_EQ(cfg.iTotal, total) << dot << " " << color << " " << line;
    }
}

TEST_F(NoiseResult, WhatAnotherTestLeftToBeWrittenReachesItsFile)
{
    constexpr char OTHER[] = "/mnt/mmc/other.csv";
    print_modes(PIM_DEBUG_STDOUT, PIM_RESULT_BUFFERED);
    ASSERT_EQ(rova_pim_result_open(OTHER), 0);
    rova_pim_result_print("another test's\n");
    write();
    EXPECT_EQ(camera.read(OTHER), "another test's\n");
    EXPECT_EQ(file(), HEADS + row());
}

TEST_F(NoiseResult, TheTitleOfAnotherTestDoesNotStay)
{
    for (const int32_t mode : {PIM_RESULT_BUFFERED, PIM_RESULT_DIRECT, 3}) {
        print_modes(PIM_DEBUG_STDOUT, mode);
        say(pPtpTile, "another test's\n");
        write();
        EXPECT_STREQ(pPtpTile, "") << mode;
        EXPECT_STREQ(pRstData, "") << mode;
    }
}

TEST_F(NoiseResult, WhatAnotherTestHeldDoesNotGetIntoTheFile)
{
    print_modes(PIM_DEBUG_STDOUT, PIM_RESULT_KEPT);
    rova_pim_result_print("another test's");
    print_modes(PIM_DEBUG_STDOUT, PIM_RESULT_BUFFERED);
    write();
    EXPECT_EQ(file(), HEADS + row());
}
