#include "tests/lib/pim/movie/movie_run.h"

#include <gmock/gmock.h>

#include <climits>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

const std::string TITLE =
    "Tot. Result, Frame #, V.Result, Color, P1, P2, P3, V1, V2, V3, H.Diff, V.Diff, A.Result, "
    "Freq.Min, L.Freq., R.Freq., Freq.Max, Inten.Min, L.Inten., R.Inten., Inten.Max\n";
const std::string NO_POINTS = "\"(0, 0)\",\"(0, 0)\",\"(0, 0)\",0, 0, 0,0, 0,";
const std::string SOUND = "0.90, 1.00, 1.01, 1.10,-25.00, -20.50, -19.50, -15.00,\n";
const std::string SILENCE = "0.90, -99.00, -99.00, 1.10,-25.00, -99.00, -99.00, -15.00,\n";

std::string good_row(int frame, const char *colour, const std::string &sound = "OK," + SOUND)
{
    return "OK," + std::to_string(frame) + ",OK," + colour + "," + NO_POINTS + sound;
}
const std::string GOOD_ROWS =
    good_row(10, "RED") + good_row(13, "RED") + good_row(30, "BLUE") + good_row(32, "BLUE");

class MovieTable : public test::MovieRun
{
protected:
    void hear_all()
    {
        for (int i = 0; i < 4; i++)
            hear(1000, 1006, -20.5F, -19.5F);
    }
    struct Verdict {
        int32_t final, red, blue;
        bool operator==(const Verdict &) const = default;
    };
    static Verdict verdict()
    {
        Verdict v = {};
        GetMovieResult(&v.final, &v.red, &v.blue);
        return v;
    }
};

} // namespace

TEST_F(MovieTable, IsWrittenBehindTheLastFrameOfBothColours)
{
    hear_all();
    for (const int32_t number : {10, 13, 30}) {
        judge(number);
        EXPECT_FALSE(camera.exists(test::MOVIE_RESULT)) << number;
    }
    judge(32);
    EXPECT_EQ(file(), TITLE + GOOD_ROWS);
    EXPECT_THAT(
        printed,
        HasSubstr(" GOOD  ::: BLUE COLOR Matching OK \n"
                  " iFrameCnt = 32  iRedStartFrame  = 10,  iRedFrameNum-1  = 1 iRedFrameInc  = 3  "
                  "\n iFrameCnt = 32  iBlueStartFrame = 30,  iBlueFrameNum-1 = 1 iBlueFrameInc = 2 "
                  " \n OUTFILE SIZE = 0 \n TOT FRAME NUM = 4 , OK = 4 \n\n"
                  " MOVIE Checking OK !!! \n\n"));
    EXPECT_EQ(cfg.movieResult, 1);
    EXPECT_EQ(gRstFpState, 0);
}

TEST_F(MovieTable, MayHaveItsLastRedFrameBehindTheBlueOnes)
{
    cfg.redStart = 50;
    judge(30);
    judge(32);
    judge(50);
    EXPECT_FALSE(camera.exists(test::MOVIE_RESULT));
    judge(53);
    EXPECT_EQ(file(), TITLE + good_row(30, "BLUE", "NG," + SILENCE) +
                          good_row(32, "BLUE", "NG," + SILENCE) +
                          good_row(50, "RED", "NG," + SILENCE) +
                          good_row(53, "RED", "NG," + SILENCE));
}

TEST_F(MovieTable, IsWrittenInTheBufferedModeToo)
{
    print_mode(PIM_RESULT_BUFFERED);
    std::snprintf(pPtpTile, sizeof(pPtpTile), "of another test");
    hear_all();
    judge_all();
    EXPECT_EQ(file(), TITLE + GOOD_ROWS);
    EXPECT_STREQ(pRstData, "");
    EXPECT_STREQ(pPtpTile, "") << "nor what another test has left";
}

TEST_F(MovieTable, HasATitleOnlyInAnEmptyFile)
{
    camera.write(test::MOVIE_RESULT, "before\n");
    hear_all();
    judge_all();
    EXPECT_THAT(printed, HasSubstr(" OUTFILE SIZE = 7 \n"));
    EXPECT_EQ(file(), "before\n" + GOOD_ROWS);
}

TEST_F(MovieTable, IsKeptWithItsTitleBesideItInModeTwo)
{
    print_mode(PIM_RESULT_KEPT);
    std::snprintf(pPtpTile, sizeof(pPtpTile), "of another test");
    rova_pim_result_print("of another test");
    hear_all();
    judge_all();
    EXPECT_EQ(pPtpTile, TITLE);
    EXPECT_EQ(pRstData, GOOD_ROWS);
    EXPECT_FALSE(camera.exists(test::MOVIE_RESULT));
    EXPECT_THAT(printed, Not(HasSubstr("OUTFILE")));
}

TEST_F(MovieTable, ThatIsKeptHoldsWholeRowsOnly)
{
    print_mode(PIM_RESULT_KEPT);
    cfg.redStart = 0;
    cfg.redInc = 1;
    cfg.redNum = 60;
    cfg.blueStart = 20;
    cfg.blueNum = 0;
    for (int32_t number = 0; number < 60; number++)
        judge(number);
    const std::vector<std::string> rows = test::lines_of(pRstData);
    EXPECT_GT(rows.size(), 20U);
    for (std::size_t i = 0; i < rows.size(); i++)
        EXPECT_THAT(rows[i] + "\n", StartsWith("NG," + std::to_string(i) + ",OK,RED,"));
    EXPECT_THAT(rows.back() + "\n", testing::EndsWith(SILENCE));
    EXPECT_TRUE(camera.logged("no room for a piece of the result"));
}

TEST_F(MovieTable, IsWrittenOnceUntilTheNextLoad)
{
    judge_all();
    const std::string once = file();
    judge(32);
    EXPECT_EQ(file(), once);
    load(cfg);
    print_mode(PIM_RESULT_DIRECT);
    judge(32);
    EXPECT_EQ(file(), once) << "no row, since no frame is in step any more";
    EXPECT_EQ(cfg.tableDone, 1);
}

TEST_F(MovieTable, FollowsAFrameThatIsOutOfStep)
{
    judge(10);
    judge(13);
    judge(30);
    judge(31);
    EXPECT_FALSE(camera.exists(test::MOVIE_RESULT));
    cfg.blueNum = 1;
    judge(30);
    EXPECT_THAT(file(), StartsWith(TITLE + "NG,10,OK,RED,")) << "three frames of four";
    EXPECT_EQ(verdict(), (Verdict{0, 1, 1}));
}

TEST_F(MovieTable, ShowsTheFirstBadPixelOfAFrame)
{
    cfg.redDiffX = cfg.redDiffY = 255;
    cr(8, 3) = 100;
    hear_all();
    judge_all();
    EXPECT_THAT(file(), StartsWith(TITLE +
                                   "NG,10,NG,RED,\"(6, 6)\",\"(6, 10)\",\"(6, 10)\",100, 220, "
                                   "220,120, 120,OK," +
                                   SOUND));
    EXPECT_THAT(file(), HasSubstr("NG,30,OK,BLUE," + NO_POINTS));
    EXPECT_EQ(cfg.movieResult, 0);
    EXPECT_THAT(printed, HasSubstr(" TOT FRAME NUM = 4 , OK = 2 \n\n MOVIE Checking ERR !!! \n\n"));
    EXPECT_EQ(verdict(), (Verdict{0, 0, 1}));
}

TEST_F(MovieTable, ARowHasItsOwnSoundAndTheVerdictOfAll)
{
    for (const int32_t left : {1010, 500, 1030, 1040})
        hear(left, 1000, -20.5F, -19.5F);
    judge_all();
    const std::vector<std::string> rows = test::lines_of(file());
    ASSERT_EQ(rows.size(), 5U);
    const char *lefts[] = {"1.01", "0.50", "1.03", "1.04"};
    for (std::size_t i = 0; i < 4; i++)
        EXPECT_THAT(rows[i + 1], HasSubstr("0, 0,NG,0.90, " + std::string(lefts[i]) + ", 1.00"));
}

TEST_F(MovieTable, TheVerticalDifferenceStandsBeforeTheHorizontalOne)
{
    cfg.redMin = 0;
    cfg.redDiffX = 255;
    cr(8, 3) = 100;
    cr(10, 3) = 101;
    judge_all();
    EXPECT_THAT(file(), HasSubstr("100, 101, 220,120, 1,")) << "other than the title says";
}

TEST_F(MovieTable, GetMovieResultTellsTheColourThatFailed)
{
    EXPECT_EQ(verdict(), (Verdict{PIM_NO_RESULT, 1, 1}));
    cb(8, 3) = 100;
    judge_all();
    EXPECT_EQ(verdict(), (Verdict{0, 1, 0}));
    cfg.movieResult = 1;
    EXPECT_EQ(verdict(), (Verdict{1, 1, 1})) << "the records count when the total has failed";
    cfg.movieResult = 0;
    cfg.frame[0].result = 0;
    EXPECT_EQ(verdict(), (Verdict{0, 0, 0}));
    for (const int32_t other : {0, 2}) {
        cfg.enableTest = other;
        EXPECT_EQ(verdict(), (Verdict{PIM_NO_RESULT, 1, 1})) << other;
    }
}

TEST_F(MovieTable, TheSoundCountsOnlyInAudioTestOne)
{
    const struct {
        int32_t audio_test;
        int32_t audio_result;
        int32_t total;
    } cases[] = {{0, 0, 1}, {1, 1, 1}, {1, 0, 0}, {1, PIM_NO_RESULT, 0}, {2, 1, 0}, {-1, 1, 0}};
    for (const auto &[audio_test, audio_result, total] : cases) {
        load(cfg);
        std::ranges::fill(rova_pim_movie_done, 0);
        cfg.audioTest = audio_test;
        cfg.audioResult = audio_result;
        judge_all();
        EXPECT_EQ(cfg.movieResult, total) << audio_test << " " << audio_result;
    }
}

TEST_F(MovieTable, AllFramesMustHaveBeenCheckedAndGood)
{
    cfg.totalFrames = 5;
    judge_all();
    EXPECT_EQ(cfg.movieResult, 0);
}

TEST_F(MovieTable, WhatAnotherTestHasLeftGoesToItsOwnFile)
{
    print_mode(PIM_RESULT_BUFFERED);
    rova_pim_result_open("/mnt/mmc/other.csv");
    rova_pim_result_print("of another test\n");
    hear_all();
    judge_all();
    EXPECT_EQ(camera.read("/mnt/mmc/other.csv"), "of another test\n");
    EXPECT_EQ(file(), TITLE + GOOD_ROWS);
}

TEST_F(MovieTable, GoodFramesDoNotMakeUpForABadOneTooMany)
{
    cfg.totalFrames = 3;
    cr(8, 3) = 0;
    judge(10);
    cr(8, 3) = test::RED;
    for (const int32_t number : {13, 30, 32})
        judge(number);
    EXPECT_EQ(cfg.frameOk, 3);
    EXPECT_EQ(cfg.movieResult, 0);
}

TEST_F(MovieTable, AFileThatCannotBeOpenedLeavesNoTable)
{
    std::snprintf(cfg.resultFile, sizeof(cfg.resultFile), "/mnt/mmc/none/movie.csv");
    judge_all();
    EXPECT_THAT(printed, HasSubstr(" FILE OPEN ERROR : /mnt/mmc/none/movie.csv \n\n"));
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/none/movie.csv"));
    EXPECT_EQ(cfg.movieResult, PIM_NO_RESULT);
    EXPECT_EQ(cfg.tableDone, 0);
}

TEST_F(MovieTable, EmptyColumnsStandInFrontOfAllRowsButTheFirst)
{
    cfg.dbgOption[0] = 3;
    hear_all();
    judge_all();
    EXPECT_EQ(file(), TITLE + good_row(10, "RED") + ",,," + good_row(13, "RED") + ",,," +
                          good_row(30, "BLUE") + ",,," + good_row(32, "BLUE"));
}

TEST_F(MovieTable, EmptyColumnsThatCannotBeAreRefused)
{
    cfg.dbgOption[0] = INT_MAX;
    hear_all();
    judge_all();
    EXPECT_EQ(file(), TITLE + GOOD_ROWS);
    EXPECT_TRUE(camera.logged("refused 2147483647 empty columns"));
}

// No frame gets this result; the form is kept.
TEST_F(MovieTable, ARecordOf99HasDashes)
{
    judge(10);
    cfg.frame[0].result = 99;
    judge(13);
    judge(30);
    judge(32);
    EXPECT_THAT(file(),
                StartsWith(TITLE + "OK,10,-,-,-, -, -,-, -, -,-, -,-,-, -, -, -,-, -, -, -,\n"
                                   "OK,13,OK,RED,"));
}

TEST_F(MovieTable, Has64RowsOfMoreFrames)
{
    cfg.redStart = 0;
    cfg.redInc = 1;
    cfg.redNum = 70;
    cfg.blueStart = 0;
    cfg.blueNum = 0;
    cfg.totalFrames = 70;
    for (int i = 0; i < 64; i++)
        hear(1, 1, 0, 0); // what lies behind the frames' records
    for (int32_t number = 0; number < 70; number++)
        judge(number);
    EXPECT_EQ(test::lines_of(file()).size(), 65U);
    EXPECT_EQ(cfg.movieResult, 1);
    EXPECT_EQ(verdict(), (Verdict{1, 1, 1}));
    cfg.movieResult = 0;
    EXPECT_EQ(verdict(), (Verdict{0, 1, 1})) << "of those that are recorded";
}

TEST_F(MovieTable, FramesOfAnyNumbersAreCountedWithoutOverflow)
{
    const struct {
        int32_t numbers;
        int32_t frame;
        int32_t count;
    } cases[] = {{INT_MIN, INT_MIN, 1}, {INT_MIN, INT_MAX, 0}, {INT_MAX, INT_MAX, 1},
                 {INT_MAX, INT_MIN, 0}, {-1, -1, 1},           {-1, 2, 0}};
    for (const auto &[numbers, number, count] : cases) {
        load(cfg);
        rova_pim_movie_done[0] = 0;
        cfg.redStart = cfg.redNum = cfg.redInc = numbers;
        cfg.blueStart = cfg.blueNum = cfg.blueInc = numbers;
        EXPECT_EQ(judge(number), 0) << numbers << " " << number;
        EXPECT_EQ(cfg.frameCount, count) << numbers << " " << number;
    }
}

TEST_F(MovieTable, AnUnknownModePrintsNothing)
{
    print_mode(3);
    judge_all();
    EXPECT_FALSE(camera.exists(test::MOVIE_RESULT));
    EXPECT_EQ(cfg.tableDone, 1);
    EXPECT_STREQ(pRstData, "");
}
