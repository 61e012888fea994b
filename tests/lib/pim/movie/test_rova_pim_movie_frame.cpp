#include "tests/lib/pim/held_records.h"
#include "tests/lib/pim/movie/movie_run.h"
#include "tests/lib/pim/movie/plain_movie.h"

#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <random>

using test::BLUE;
using test::RED;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

class MovieFrame : public test::MovieRun
{
protected:
    const rova_pim_frame_record &first() const { return cfg.frame[0]; }

    void expect_points(const rova_pim_point &p1, const rova_pim_point &p2,
                       const rova_pim_point &p3) const
    {
        const auto text = [](const rova_pim_point &p) {
            return std::to_string(p.x) + "," + std::to_string(p.y);
        };
        EXPECT_EQ(text(first().p1), text(p1));
        EXPECT_EQ(text(first().p2), text(p2));
        EXPECT_EQ(text(first().p3), text(p3));
    }
    void expect_refused(const std::string &what, int32_t refused = 1)
    {
        EXPECT_THAT(printed, HasSubstr(what));
        EXPECT_EQ(cfg.refused, refused);
        EXPECT_EQ(cfg.frameCount, 0);
        EXPECT_EQ(first().result, PIM_NO_RESULT);
    }
    // CheckMovie on the whole frame.
    void check(int32_t number)
    {
        printed = test::captured_output([&] { CheckMovie(frame.data(), WIDTH, HEIGHT, number); });
    }
};

constexpr char REFUSED[] = " ERROR :  the frame of ";

} // namespace

TEST_F(MovieFrame, AGoodRedFrameIsRecordedWithoutPoints)
{
    EXPECT_EQ(judge(10), 0);
    EXPECT_EQ(printed, " RED     : [ 10 ] ::::    10 -    13 \n"
                       " >>> Frame # = 10 \n"
                       " AREA :  (    5,     2) (   15,     7) =    11 x     6 \n\n"
                       " GOOD  ::: RED COLOR Matching OK \n");
    EXPECT_EQ(first().frame, 10);
    EXPECT_EQ(first().colour, PIM_COLOUR_CR);
    EXPECT_EQ(first().result, 1);
    expect_points({0, 0}, {0, 0}, {0, 0});
    EXPECT_EQ(first().v1 + first().v2 + first().v3 + first().vDiff + first().hDiff, 0);
    EXPECT_EQ(cfg.frameCount, 1);
    EXPECT_EQ(cfg.frameOk, 1);
}

TEST_F(MovieFrame, AGoodBlueFrameIsLookedAtInTheOtherColour)
{
    for (int32_t x = 0; x < WIDTH / 2; x++)
        cr(x, 4) = 0;
    EXPECT_EQ(judge(30), 0);
    EXPECT_THAT(printed, StartsWith(" BLUE    : [ 30 ] ::::    30 -    32 \n"));
    EXPECT_THAT(printed, HasSubstr(" GOOD  ::: BLUE COLOR Matching OK \n"));
    EXPECT_EQ(first().colour, PIM_COLOUR_CB);
    EXPECT_EQ(first().frame, 30);
}

TEST_F(MovieFrame, OfNeitherColourIsNotChecked)
{
    for (const int32_t number : {9, 14, 29, 33, -1}) {
        EXPECT_EQ(judge(number), 0);
        EXPECT_EQ(printed, " D'CARE  : [ " + std::to_string(number) +
                               " ] ::::    10 -    13 ,    30 -    32  \n");
    }
    EXPECT_EQ(cfg.frameCount, 0);
    EXPECT_EQ(rova_pim_movie_done[0] + rova_pim_movie_done[1], 0);
}

TEST_F(MovieFrame, AFrameOutOfStepIsPassedOver)
{
    for (int32_t x = 0; x < WIDTH / 2; x++)
        cr(x, 4) = 0;
    for (const int32_t number : {11, 12, 13}) {
        EXPECT_EQ(judge(number), 0) << "although it is bad";
        EXPECT_THAT(printed, HasSubstr(" GOOD  ::: RED"));
        EXPECT_THAT(printed, Not(HasSubstr("Frame #")));
    }
    EXPECT_EQ(cfg.frameCount, 0);
    EXPECT_EQ(judge(10), -1);
    EXPECT_EQ(judge(10), 0) << "it was done";
    EXPECT_EQ(judge(13), -1);
    EXPECT_EQ(cfg.frameCount, 2);
}

TEST_F(MovieFrame, TheCountersOfFramesSurviveALoad)
{
    judge_all();
    load(cfg);
    judge_all();
    EXPECT_EQ(cfg.frameCount, 0);
    EXPECT_EQ(cfg.movieResult, 0);
    load(cfg);
    cfg.redNum = 3;
    EXPECT_EQ(judge(16), 0) << "counting goes on where it stopped";
    EXPECT_EQ(cfg.frameCount, 1);
}

TEST_F(MovieFrame, TheLimitsOfTheColourAreGood)
{
    cfg.redDiffX = cfg.redDiffY = 255;
    cr(5, 2) = 200;
    cr(6, 2) = 240;
    EXPECT_EQ(judge(10), 0);
    cr(6, 2) = 241;
    EXPECT_EQ(judge(13), -1);
}

TEST_F(MovieFrame, AColourOutOfItsRangeFails)
{
    cfg.redDiffX = cfg.redDiffY = 255;
    cr(8, 3) = 199;
    EXPECT_EQ(judge(10), -1);
    EXPECT_THAT(printed, HasSubstr(" ERROR :  COLOR Value    = (    6,     6) = 199 [ 200 - 240 ] "
                                   "\n ERROR ::: RED COLOR Mis-Matching \n"));
    EXPECT_TRUE(camera.logged("ERROR ::: RED COLOR Mis-Matching"));
    EXPECT_EQ(first().result, 0);
    EXPECT_EQ(first().v1, 199);
    EXPECT_EQ(first().v2, RED);
    EXPECT_EQ(first().v3, RED);
    EXPECT_EQ(first().vDiff, 21);
    EXPECT_EQ(first().hDiff, 21);
    EXPECT_EQ(cfg.frameCount, 1);
    EXPECT_EQ(cfg.frameOk, 0);
}

TEST_F(MovieFrame, AJumpToTheRowBelowFails)
{
    for (int32_t x = X0; x <= X1; x++)
        cr(x, 6) = RED + 7;
    EXPECT_EQ(judge(10), 0) << "the greatest that is accepted";
    for (int32_t x = X0; x <= X1; x++)
        cr(x, 6) = RED + 8;
    EXPECT_EQ(judge(13), -1);
    EXPECT_THAT(printed,
                HasSubstr(" ERROR :  V. PIXEL DIFF. = (    0,     8) =   220 -   228 =     8"
                          " [     7 ] \n"));
    EXPECT_EQ(cfg.frame[1].vDiff, 8);
    EXPECT_EQ(cfg.frame[1].hDiff, 0);
    EXPECT_EQ(cfg.frame[1].v3, 228);
}

TEST_F(MovieFrame, AJumpToTheRightFails)
{
    for (int32_t y = 0; y < HEIGHT / 2; y++)
        cr(12, y) = RED - 5;
    EXPECT_EQ(judge(10), 0) << "the greatest that is accepted";
    for (int32_t y = 0; y < HEIGHT / 2; y++)
        cr(12, y) = RED - 6;
    EXPECT_EQ(judge(13), -1);
    EXPECT_THAT(printed,
                HasSubstr(" ERROR :  H. PIXEL DIFF. = (   10,     4) =   220 -   214 =     6"
                          " [     5 ] \n"));
    EXPECT_EQ(cfg.frame[1].hDiff, 6);
    EXPECT_EQ(cfg.frame[1].vDiff, 0);
    EXPECT_EQ(cfg.frame[1].v2, 214);
}

TEST_F(MovieFrame, ColourComesBeforeTheRowBelowAndThatBeforeTheRight)
{
    cr(X0, Y0) = 100;
    judge(10);
    EXPECT_THAT(printed, HasSubstr("COLOR Value"));
    EXPECT_THAT(printed, Not(HasSubstr("DIFF.")));
    EXPECT_EQ(first().vDiff, 120) << "recorded all the same";
    EXPECT_EQ(first().hDiff, 120);
    cr(X0, Y0) = RED + 8;
    judge(13);
    EXPECT_THAT(printed, HasSubstr("V. PIXEL DIFF."));
    EXPECT_THAT(printed, Not(HasSubstr("H. PIXEL")));
}

TEST_F(MovieFrame, TheFirstBadPixelIsThatOfTheFirstRow)
{
    cr(6, 5) = 0;
    cr(14, 3) = 1;
    cr(13, 5) = 2;
    cfg.redOffY = 0;
    judge(10);
    EXPECT_EQ(first().v1, 1);
    expect_points({18, 6}, {18, 18}, {18, 6});
}

TEST_F(MovieFrame, TheSecondPointsRowIsACountOfColumns)
{
    cfg.redDiffX = cfg.redDiffY = 255;
    cr(8, 3) = 0;
    judge(10);
    expect_points({6, 6}, {6, 10}, {6, 10});
    cr(8, 3) = RED;
    cr(7, 5) = 0;
    judge(13);
    EXPECT_EQ(cfg.frame[1].p1.x, 4);
    EXPECT_EQ(cfg.frame[1].p1.y, 10);
    EXPECT_EQ(cfg.frame[1].p2.x, 4);
    EXPECT_EQ(cfg.frame[1].p2.y, 8) << "2 x (i + 2)";
    EXPECT_EQ(cfg.frame[1].p3.y, 14);
}

TEST_F(MovieFrame, NeighboursBehindTheFieldAreItsLastColumnAndRow)
{
    cfg.redOffY = 400;
    cr(X1 + 1, Y1) = cr(X1, Y1 + 1) = 0;
    EXPECT_EQ(judge(10), 0);
    cr(X1, Y1) = RED + 6;
    judge(13);
    EXPECT_EQ(cfg.frame[1].v2, RED + 6);
    EXPECT_EQ(cfg.frame[1].p1.y, 2 * Y1) << "the row of the last column";
    EXPECT_EQ(cfg.frame[1].p2.y, 2 * (X1 - X0));
    EXPECT_EQ(cfg.frame[1].p3.y, 2 * Y1);
}

TEST_F(MovieFrame, WithOffsetZeroOnlyTheRangeCounts)
{
    cfg.redOffY = 0;
    cfg.redDiffX = cfg.redDiffY = 0;
    for (int32_t y = Y0; y <= Y1; y++)
        for (int32_t x = X0; x <= X1; x++)
            cr(x, y) = (x + y) % 2 != 0 ? 200 : 240;
    EXPECT_EQ(judge(10), 0);
    cr(9, 4) = 199;
    EXPECT_EQ(judge(13), -1);
    EXPECT_EQ(cfg.frame[1].vDiff, 0);
    EXPECT_EQ(cfg.frame[1].hDiff, 0);
}

TEST_F(MovieFrame, OnlyTheOffsetOfYIsUsedInBothDirections)
{
    cr(9, 4) = 0;
    cfg.redDiffX = cfg.redDiffY = 255;
    cfg.blueOffX = cfg.redOffX = INT_MIN;
    judge(10);
    expect_points({8, 8}, {8, 12}, {8, 12});
}

TEST_F(MovieFrame, ABlueFrameHasLimitsAndDistancesOfItsOwn)
{
    for (int32_t y = 0; y < HEIGHT / 2; y++)
        cb(12, y) = BLUE - 4;
    EXPECT_EQ(judge(30), -1);
    EXPECT_THAT(printed,
                HasSubstr(" ERROR :  H. PIXEL DIFF. = (   12,     4) =   210 -   206 =     "
                          "4 [     3 ] \n"));
    for (int32_t y = 0; y < HEIGHT / 2; y++)
        cb(12, y) = y < 4 ? BLUE : BLUE - 5;
    cfg.blueDiffX = 255;
    EXPECT_EQ(judge(32), -1);
    EXPECT_THAT(printed,
                HasSubstr(" ERROR :  V. PIXEL DIFF. = (   14,     6) =   210 -   205 =     "
                          "5 [     4 ] \n"));
    EXPECT_EQ(cfg.frame[1].p3.y, 8) << "the next row";
    cfg.blueNum = 3;
    cfg.blueDiffY = 255;
    cb(5, 2) = 190;
    cb(6, 2) = 231;
    EXPECT_EQ(judge(34), -1);
    EXPECT_THAT(printed, HasSubstr(" COLOR Value    = (    2,     4) = 231 [ 190 - 230 ] \n"));
}

TEST_F(MovieFrame, EachColourHasItsPlane)
{
    cfg.cbOffset = INT_MAX;
    EXPECT_EQ(judge(10), 0);
    cfg.cbOffset = cfg.crOffset;
    cfg.crOffset = INT_MAX;
    EXPECT_EQ(judge(30), 0);
    EXPECT_EQ(cfg.frameOk, 2);
}

TEST_F(MovieFrame, AFieldOfATenthRunsFrom90To110PercentOfTheHalfSize)
{
    test::Planes large(200 * 200 * 3 / 2);
    std::fill_n(large.data(), large.bytes().size(), RED);
    const rova_pim_image picture = {large.bytes(), 200, 200, 200, CS420_Y_CbCr};
    cfg.testField = 0.1F;
    cfg.crOffset = 200 * 200;
    EXPECT_EQ(judge(10, picture), 0);
    EXPECT_THAT(printed, HasSubstr(" AREA :  (   45,    45) (   55,    55) =    11 x    11 \n"));
}

// In other orders these end a row earlier or a row later.
TEST_F(MovieFrame, TheFieldsPlaceIsCountedInSingleFloatsInTheirOrder)
{
    const struct {
        int32_t height;
        float field;
        const char *rows;
    } cases[] = {{200, 0.06F, "    47) (   10,    53)"},
                 {480, 0.475F, "    63) (   14,   177)"},
                 {720, 0.35F, "   117) (   13,   243)"}};
    test::Planes tall(40 * 720 * 3 / 2);
    std::fill_n(tall.data(), tall.bytes().size(), RED);
    for (const auto &[height, field, rows] : cases) {
        rova_pim_movie_done[0] = 0;
        cfg.testField = field;
        cfg.crOffset = WIDTH * height;
        EXPECT_EQ(judge(10, {tall.bytes(), WIDTH, height, WIDTH, CS420_Y_CbCr}), 0);
        EXPECT_THAT(printed, HasSubstr(rows));
    }
}

TEST_F(MovieFrame, AFieldOfNoSizeIsTheMiddlePixel)
{
    cfg.testField = 0;
    cr(10, 5) = 0;
    EXPECT_EQ(judge(10), -1);
    EXPECT_THAT(printed, HasSubstr(" AREA :  (   10,     5) (   10,     5) =     1 x     1 \n"));
}

TEST_F(MovieFrame, WhatLiesAroundTheFieldIsNotLookedAt)
{
    for (int32_t y = 0; y < HEIGHT / 2; y++)
        for (int32_t x = 0; x < WIDTH / 2; x++)
            if (x < X0 || x > X1 || y < Y0 || y > Y1)
                cr(x, y) = 0;
    EXPECT_EQ(judge(10), 0);
    cr(X1, Y1) = 0;
    EXPECT_EQ(judge(13), -1);
}

TEST_F(MovieFrame, AFrameBehindThe64thCountsWithoutARecord)
{
    cfg.redNum = 70;
    cfg.redInc = 1;
    cfg.redStart = 100;
    for (int32_t number = 100; number < 169; number++)
        judge(number);
    EXPECT_EQ(cfg.frameCount, 69);
    EXPECT_EQ(cfg.frameOk, 69);
    EXPECT_EQ(cfg.frame[63].frame, 163);
    EXPECT_THAT(printed, HasSubstr(" frame 168 counts without a record: there are 64 \n"));
    EXPECT_EQ(cfg.audio[0].result, PIM_NO_RESULT) << "what stands behind is whole";
    EXPECT_EQ(cfg.audio[0].index, 0);
}

TEST_F(MovieFrame, AColourSpaceWithoutColourFails)
{
    rova_pim_image picture = image();
    for (const int32_t space : {0, 7, 15, 22, -1, INT_MAX}) {
        picture.iCS = space;
        std::ranges::fill(rova_pim_movie_done, 0);
        EXPECT_EQ(judge(10, picture), -1) << space;
        EXPECT_THAT(printed, HasSubstr("NOT FOUND COLOR Marker : NG !!!! \n"));
    }
    EXPECT_EQ(cfg.frameCount, 0);
}

TEST_F(MovieFrame, AFieldThatLeavesTheFramesBytesIsRefused)
{
    const float fields[] = {1.0F, 1.5F, 3.0F, 1e9F, 3e38F, -0.5F, -1e30F, NAN, INFINITY};
    int32_t refused = 0;
    for (const float field : fields) {
        cfg.testField = field;
        rova_pim_movie_done[0] = 0;
        EXPECT_EQ(judge(10), -1) << field;
        expect_refused(REFUSED, ++refused);
    }
    EXPECT_TRUE(camera.logged("ERROR :  the frame of 40 x 20 has no field"));
    EXPECT_EQ(rova_pim_movie_done[0], 1) << "it was in step";
}

TEST_F(MovieFrame, APlaneOutsideOfTheFrameIsRefused)
{
    int32_t refused = 0;
    for (const int32_t offset : {WIDTH * HEIGHT + 3 * WIDTH, -200, INT_MIN, INT_MAX}) {
        cfg.crOffset = offset;
        rova_pim_movie_done[0] = 0;
        EXPECT_EQ(judge(10), -1) << offset;
        expect_refused(REFUSED, ++refused);
    }
}

TEST_F(MovieFrame, ANeighbourInFrontOfTheFieldIsRefused)
{
    int32_t refused = 0;
    for (const int32_t off : {-2, -400, INT_MIN}) {
        cfg.redOffY = off;
        rova_pim_movie_done[0] = 0;
        EXPECT_EQ(judge(10), -1) << off;
        expect_refused(REFUSED, ++refused);
    }
    cfg.redOffY = -1;
    rova_pim_movie_done[0] = 0;
    EXPECT_EQ(judge(10), 0) << "less than a value";
    cfg.redOffY = INT_MAX;
    EXPECT_EQ(judge(13), 0);
}

TEST_F(MovieFrame, AFieldInsideOutIsRefusedInBothDirections)
{
    cfg.testField = -0.5F;
    EXPECT_EQ(judge(10, {frame.bytes(), 1, HEIGHT, WIDTH, CS420_Y_CbCr}), -1);
    expect_refused("=     1 x    -4");
    EXPECT_EQ(judge(13, {frame.bytes(), WIDTH, 1, WIDTH, CS420_Y_CbCr}), -1);
    expect_refused("=    -9 x     1", 2);
}

TEST_F(MovieFrame, ANeighbourInTheRowAboveAloneIsRefused)
{
    test::Planes planes(40 * 20 * 2);
    cfg.redOffY = -1; // half a value in a row
    EXPECT_EQ(judge(10, {planes.bytes(), WIDTH, HEIGHT, WIDTH, CS422_Y_CbCr}), -1);
    expect_refused(REFUSED);
}

TEST_F(MovieFrame, AFieldThatIsWiderThanTheFrameIsRefused)
{
    const rova_pim_image flat = {frame.bytes(), WIDTH, 1, WIDTH, CS420_Y_CbCr};
    cfg.testField = 2.2F;
    EXPECT_EQ(judge(10, flat), -1);
    EXPECT_THAT(printed, HasSubstr("=    45 x     1"));
    expect_refused(REFUSED);
}

TEST_F(MovieFrame, AFieldThatLeavesThePictureReadsMemoryAsItLies)
{
    cfg.testField = 1.0F; // one row and one column more than the plane has
    cfg.crOffset = WIDTH * HEIGHT - WIDTH - 2;
    cfg.redMin = 0;
    cfg.redMax = 255;
    cfg.redOffY = cfg.redDiffX = cfg.redDiffY = 0;
    EXPECT_EQ(judge(10), 0);
    EXPECT_THAT(printed, HasSubstr(" AREA :  (    0,     0) (   20,    10) =    21 x    11 \n"));
    EXPECT_EQ(judge(13, {frame.bytes().first(frame.bytes().size() - 1), WIDTH, HEIGHT, WIDTH,
                         CS420_Y_CbCr}),
              -1)
        << "the last value is the byte that is missing";
}

TEST_F(MovieFrame, TheDebugFileIsOpenedForEachFrame)
{
    cfg.dbgPrint = gDbgPrintOnOff = PIM_DEBUG_BUFFERED;
    judge(10);
    const std::string once = camera.read(test::MOVIE_DEBUG);
    EXPECT_THAT(once, StartsWith(" RED     : [ 10 ]"));
    judge(11);
    EXPECT_THAT(camera.read(test::MOVIE_DEBUG), StartsWith(once + " RED     : [ 11 ]"));
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_EQ(printed, "");
}

TEST_F(MovieFrame, ADebugFileThatCannotBeOpenedIsReportedAndTheTestGoesOn)
{
    cfg.dbgPrint = 1;
    std::snprintf(cfg.debugFile, sizeof(cfg.debugFile), "/mnt/mmc/none/debug.txt");
    EXPECT_EQ(judge(10), 0);
    EXPECT_THAT(printed, HasSubstr(" Can Not Open Debug File : /mnt/mmc/none/debug.txt \n"));
    EXPECT_EQ(cfg.frameOk, 1);
}

// ------------------------------------------------------------------------- CheckMovie

TEST_F(MovieFrame, CheckMovieTellsTheFrameIfAsked)
{
    cfg.dbgOption[6] = 1;
    char address[16];
    std::snprintf(address, sizeof(address), "0x%08x", frame.address());
    check(10);
    EXPECT_THAT(printed, testing::MatchesRegex(
                             std::string("\033\\[43mCheckMovie [0-9]+ : ") + address +
                             ", 40 x 20, frame = 10, enableTest = 1, enableSaveRaw = 0, "
                             "enableSaveErrRaw = 0\033\\[0m\n(.|\n)*\033\\[42mCheckMovie [0-9]+ : "
                             "frame  10 returnValue = 0\033\\[0m\n"));
    cfg.dbgOption[6] = 2;
    check(13);
    EXPECT_THAT(printed, Not(HasSubstr("\033[43m")));
}

TEST_F(MovieFrame, CheckMovieWaitsForWhoHasTheRecords)
{
    EXPECT_FALSE(
        test::changes_held_records([&] { check(10); }, [&] { return cfg.frameCount != 0; }));
    EXPECT_EQ(cfg.frameCount, 1);
}

TEST_F(MovieFrame, CheckMovieReadsNoByteBehindTheFrame)
{
    cfg.testField = 0.9F;
    cfg.crOffset -= 1; // so that the last value is the frame's last byte but one
    check(10);
    EXPECT_EQ(cfg.frameCount, 1);
    frame.forbid();
    cfg.enableTest = 0;
    check(13);
    EXPECT_EQ(cfg.frameCount, 1) << "not even looked at";
}

TEST_F(MovieFrame, WithoutTheVideoCheckAllResultsStay)
{
    cfg.enableTest = 2;
    cfg.enableSaveErrRaw = 1;
    for (const int32_t number : {10, 13, 30, 32})
        check(number);
    int32_t final = 0, red = 0, blue = 0;
    GetMovieResult(&final, &red, &blue);
    EXPECT_EQ(final, PIM_NO_RESULT);
    EXPECT_EQ(red, 1);
    EXPECT_EQ(blue, 1);
    EXPECT_EQ(cfg.movieResult, PIM_NO_RESULT);
    EXPECT_EQ(cfg.audioResult, PIM_NO_RESULT);
    EXPECT_FALSE(camera.exists(test::MOVIE_RESULT)) << "no table";
    EXPECT_FALSE(camera.exists("/mnt/mmc/MovieErrRawDump010C.raw"));
}

TEST_F(MovieFrame, EachFrameIsDumpedIfAsked)
{
    cfg.enableSaveRaw = cfg.enableSaveErrRaw = 1;
    cr(10, 5) = 0;
    check(10);
    cfg.enableTest = 0;
    check(1234);
    const std::string bytes(frame.bytes().begin(), frame.bytes().end());
    EXPECT_EQ(camera.read("/mnt/mmc/MovieRawDump010C.raw"), bytes);
    EXPECT_EQ(camera.read("/mnt/mmc/MovieRawDump1234C.raw"), bytes);
    EXPECT_FALSE(camera.exists("/mnt/mmc/MovieErrRawDump010C.raw")) << "once is enough";
    cfg.enableTest = 1;
    cfg.enableSaveRaw = 2;
    check(13);
    EXPECT_FALSE(camera.exists("/mnt/mmc/MovieRawDump013C.raw"));
}

TEST_F(MovieFrame, AFailedFrameIsDumpedIfOnlyThoseAre)
{
    cfg.enableSaveErrRaw = 1;
    check(10);
    EXPECT_FALSE(camera.exists("/mnt/mmc/MovieErrRawDump010C.raw"));
    cr(10, 5) = 0;
    check(13);
    EXPECT_EQ(camera.read("/mnt/mmc/MovieErrRawDump013C.raw"),
              std::string(frame.bytes().begin(), frame.bytes().end()));
    cfg.enableSaveErrRaw = 2;
    cb(10, 5) = 0;
    check(30);
    EXPECT_FALSE(camera.exists("/mnt/mmc/MovieErrRawDump030C.raw"));
}

TEST_F(MovieFrame, ADumpThatCannotBeOpenedIsPrinted)
{
    cfg.enableSaveRaw = 1;
    camera.fault("sys_open", "-1");
    check(10);
    EXPECT_THAT(printed, testing::ContainsRegex("CheckMovie, [0-9]+: file open error. fp -1\n"));
    EXPECT_EQ(cfg.frameOk, 1);
}

TEST_F(MovieFrame, ADumpThatCannotBeWrittenIsLoggedOnly)
{
    cfg.enableSaveRaw = 1;
    camera.fault("sys_write", "-1");
    check(10);
    EXPECT_THAT(printed, Not(HasSubstr("file open error")));
    EXPECT_TRUE(camera.logged("failed to write /mnt/mmc/MovieRawDump010C.raw"));
    EXPECT_EQ(cfg.frameOk, 1);
}

TEST_F(MovieFrame, AFrameThatCannotBeIsRefused)
{
    const struct {
        const uint8_t *y;
        int32_t width, height;
    } frames[] = {{nullptr, WIDTH, HEIGHT},          {frame.data(), 0, HEIGHT},
                  {frame.data(), WIDTH, 0},          {frame.data(), -WIDTH, HEIGHT},
                  {frame.data(), WIDTH, -HEIGHT},    {frame.data(), INT_MIN, INT_MIN},
                  {frame.data(), INT_MAX, INT_MAX},  {frame.data(), 65536, 65536},
                  {rova_pim_plane(0xffffffff), 2, 2}};
    int32_t refused = 0;
    for (const auto &[y, width, height] : frames) {
        printed = test::captured_output(
            [y = y, width = width, height = height] { CheckMovie(y, width, height, 10); });
        expect_refused(" ERROR :  no frame 10 of " + std::to_string(width) + " x ", ++refused);
    }
    EXPECT_EQ(rova_pim_movie_done[0], 0);
    EXPECT_TRUE(camera.logged("ERROR :  no frame 10 of 40 x 20 at 0x00000000"));
}

TEST_F(MovieFrame, TheFramesOfASecondIsTheSeventhDebugOption)
{
    cfg.dbgOption[7] = 25;
    EXPECT_EQ(GetMovieDebugValue7(), 25);
}

// ------------------------------------------------------------------------- the plain search

namespace
{

void randomise(rova_pim_movie_config &cfg, std::mt19937 &random)
{
    const auto below = [&](int32_t end) {
        return static_cast<int32_t>(random() % static_cast<uint32_t>(end));
    };
    cfg.testField = static_cast<float>(below(1100)) / 1000.0F;
    cfg.redOffY = below(12);
    cfg.redMin = below(4);
    cfg.redMax = 10 - below(4);
    cfg.redDiffX = below(14);
    cfg.redDiffY = below(14);
}

} // namespace

TEST_F(MovieFrame, AgreesWithThePlainSearch)
{
    std::mt19937 random(7);
    int32_t failed = 0;
    int32_t refused = 0;
    constexpr int32_t SPACES[] = {CS420_Y_CbCr, CS420_Y_CbCr, CS420_Y_CrCb, CS422_Y_CbCr};
    for (int round = 0; round < 3000; round++) {
        load(cfg);
        randomise(cfg, random);
        rova_pim_movie_done[0] = 0;
        const auto width = static_cast<int32_t>(random() % 30 + 1);
        const auto height = static_cast<int32_t>(random() % 30 + 1);
        const auto pitch = width + static_cast<int32_t>(random() % 3);
        test::Planes planes(static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height) * 2);
        for (std::size_t i = 0; i < planes.bytes().size(); i++)
            planes.data()[i] = random() % 20 != 0 ? 5 : static_cast<uint8_t>(random() % 11);
        cfg.crOffset = pitch * height;
        const rova_pim_image picture = {planes.bytes(), width, height, pitch, SPACES[round % 4]};
        const test::PlainMovie plain = test::plain_movie(10, picture, cfg);
        EXPECT_EQ(judge(10, picture), plain.result);
        EXPECT_THAT(printed, HasSubstr(plain.text)) << round;
        EXPECT_EQ(test::movie_text(cfg.frame[0]), test::movie_text(plain.record)) << round;
        EXPECT_EQ(cfg.frameCount, plain.refused ? 0 : 1);
        failed += plain.result != 0;
        refused += plain.refused;
    }
    EXPECT_GT(failed, 500);
    EXPECT_LT(failed, 2500);
    EXPECT_GT(refused, 20);
}
