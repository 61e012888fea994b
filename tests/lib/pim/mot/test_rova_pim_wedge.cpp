#include "lib/pim/mot/rova_pim_wedge.h"

#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/rova_pim_debug.h"
#include "tests/lib/pim/mot/plain_wedge.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

constexpr char RULE[] =
    "============================================================================ \n\n\n";

constexpr int PAPER = 120; // between ink and gap, so that a wedge is as bright as the paper
constexpr int INK = 20;
constexpr int GAP = 220;

// A picture with pages around it that end the process when they are touched.
class Picture
{
public:
    Picture(int32_t w, int32_t h)
        : w_(w), h_(h), planes_(static_cast<std::size_t>(w) * static_cast<std::size_t>(h))
    {
        fill({0, 0, w - 1, h - 1}, PAPER);
    }
    rova_pim_image image() const { return {planes_.bytes(), w_, h_, w_, CS422_Y_CbCr}; }
    void fill(const rova_pim_rect &rect, int level)
    {
        for (int32_t y = rect.y0; y <= rect.y1; y++)
            std::memset(planes_.data() + y * w_ + rect.x0, level,
                        static_cast<std::size_t>(rect.x1 - rect.x0 + 1));
    }
    void set(int32_t x, int32_t y, int level) { fill({x, y, x, y}, level); }

private:
    int32_t w_;
    int32_t h_;
    test::Planes planes_;
};

rova_pim_box box_of(int32_t x0, int32_t y0, int32_t x1, int32_t y1)
{
    return {x0, y0, x1, y1, x1 - x0 + 1, y1 - y0 + 1};
}

std::string corners(const rova_pim_box &box)
{
    const auto text = [](int32_t number) { return std::to_string(number); };
    return text(box.x0) + "," + text(box.y0) + " " + text(box.x1) + "," + text(box.y1) + " " +
           text(box.w) + "x" + text(box.h);
}

struct Wedge : testing::Test {
    test::Camera camera;
    std::unique_ptr<rova_pim_pm_config> cfg = std::make_unique<rova_pim_pm_config>();

    Wedge() { give_buffers(4000, 4000); }
    ~Wedge() override
    {
        rova_pim_buffers_free();
        gDbgPrintOnOff = 0;
    }
    // For pictures of this size: (height / 8) x (width / 4) bytes, and lines of `height`.
    static void give_buffers(int32_t width, int32_t height)
    {
        gDbgPrintOnOff = 0;
        rova_pim_buffers_free();
        rova_pim_buffers_allocate(width, height);
    }
    std::string find(const Picture &screen, int expected)
    {
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        return test::captured_output(
            [&] { EXPECT_EQ(rova_pim_find_wedges(screen.image(), 0, *cfg), expected); });
    }
    std::string measure(const Picture &full, int32_t chart = 0)
    {
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        return test::captured_output(
            [&] { EXPECT_EQ(rova_pim_measure_wedges(full.image(), chart, *cfg), 0); });
    }
};

// -- the first stage

struct ScreenNail : Wedge {
    Picture screen{160, 100};

    // Ten times the same two windows, each with bars at its lines 4 and 25.
    ScreenNail()
    {
        cfg->imageW = 320;
        cfg->imageH = 300;
        for (int i = 0; i < PIM_WINDOWS; i++)
            cfg->scrWin[i] = i % 2 == 0 ? box_of(20, 10, 49, 15) : box_of(100, 20, 105, 49);
        screen.fill({24, 10, 24, 15}, INK);
        screen.fill({45, 10, 45, 15}, INK);
        screen.fill({100, 24, 105, 24}, INK);
        screen.fill({100, 45, 105, 45}, INK);
    }
};

} // namespace

TEST_F(ScreenNail, EachWindowHasAWedgeThatIsPlacedInTheFullImage)
{
    find(screen, 0);
    EXPECT_EQ(cfg->screenW, 160);
    EXPECT_EQ(cfg->screenH, 100);
    for (int i = 0; i < PIM_WINDOWS; i += 2) {
        EXPECT_EQ(corners(cfg->scrPima[i]), "5,1 25,6 21x6");
        EXPECT_EQ(corners(cfg->orgRelPima[i]), "10,3 50,18 41x16");
        EXPECT_EQ(corners(cfg->orgWin[i]), "40,30 98,45 59x16");
        EXPECT_EQ(corners(cfg->orgAbsPima[i]), "50,33 90,48 41x16");
        EXPECT_EQ(cfg->rangeFail[i], 0);
    }
    for (int i = 1; i < PIM_WINDOWS; i += 2) {
        EXPECT_EQ(corners(cfg->scrPima[i]), "1,5 6,25 6x21");
        EXPECT_EQ(corners(cfg->orgRelPima[i]), "2,15 12,75 11x61");
        EXPECT_EQ(corners(cfg->orgWin[i]), "200,60 210,147 11x88");
        EXPECT_EQ(corners(cfg->orgAbsPima[i]), "202,75 212,135 11x61");
        EXPECT_EQ(cfg->rangeFail[i], 0);
    }
}

TEST_F(ScreenNail, PrintsWhatItFinds)
{
    const std::string text = find(screen, 0);
    EXPECT_THAT(
        text, StartsWith(" <<  PIMA[ 0 ] RANGE LONG AXIS >> \n"
                         " <<\tPIMA[ 0 ] RANGE SHORT AXIS >> \n"
                         " SHORT ::: START -    0, END -    6 \n"
                         " LONG / SHORT =  21 / 6 = 3.5 \n"
                         " Scr.\t   PIMA [0] : (    5,    1 ) - (   25,    6 ) [   21 x    6 ] \n"
                         " Ori. REL. PIMA [0] : (   10,    3 ) - (   50,   18 ) [   41 x   16 ] \n"
                         " Scr.\t   Win  [0] : (   20,   10 ) - (   49,   15 ) [   30 x    6 ] \n"
                         " Org.\t   Win  [0] : (   40,   30 ) - (   98,   45 ) [   59 x   16 ] \n"
                         " <<  PIMA[ 1 ] RANGE LONG AXIS >> \n"));
    EXPECT_THAT(
        text,
        HasSubstr(" Org.\t   Win  [9] : (  200,   60 ) - (  210,  147 ) [   11 x   88 ] \n"
                  " Ori. ABS. PIMA [0] : (   50,   33 ) - (   90,   48 ) [   41 x   16 ] \n"
                  " Ori. ABS. PIMA [1] : (  202,   75 ) - (  212,  135 ) [   11 x   61 ] \n"));
    EXPECT_THAT(text,
                testing::EndsWith(
                    " Ori. ABS. PIMA [9] : (  202,   75 ) - (  212,  135 ) [   11 x   61 ] \n"));
    EXPECT_THAT(text, Not(HasSubstr(" *S ")));
    cfg->dbgLevel[0] = 1;
    EXPECT_THAT(find(screen, 0), HasSubstr(" [  15] -   120  [  14] -   120 \n"));
}

TEST_F(ScreenNail, AWindowsDirectionSaysWhereItsSidesAre)
{
    // Dark at the right of the right bar, in row 1.
    screen.fill({46, 11, 49, 11}, INK);
    cfg->chart[0].dir[2] = 1;
    cfg->chart[1].dir[4] = 1;
    find(screen, 0);
    EXPECT_EQ(corners(cfg->scrPima[0]), "5,1 25,6 21x6");
    EXPECT_EQ(corners(cfg->scrPima[2]), "5,2 25,6 21x5");
    EXPECT_EQ(corners(cfg->scrPima[4]), "5,1 25,6 21x6");
}

TEST_F(ScreenNail, TheDirectionIsThatOfTheChart)
{
    screen.fill({46, 11, 49, 11}, INK);
    cfg->chart[1].dir[2] = 1;
    EXPECT_EQ(rova_pim_find_wedges(screen.image(), 1, *cfg), 0);
    EXPECT_EQ(corners(cfg->scrPima[0]), "5,1 25,6 21x6");
    EXPECT_EQ(corners(cfg->scrPima[2]), "5,2 25,6 21x5");
}

TEST_F(ScreenNail, AnImplausibleBoxIsMarkedAndTheNextIsNot)
{
    screen.fill({24, 10, 24, 15}, PAPER); // no first bar
    cfg->rangeFail[1] = 1;                // of the picture before
    find(screen, 0);
    EXPECT_EQ(cfg->rangeFail[0], 1);
    EXPECT_EQ(cfg->rangeFail[1], 0);
    EXPECT_EQ(cfg->rangeFail[8], 1);
    EXPECT_EQ(corners(cfg->scrPima[0]), "1,1 25,6 25x6");
}

TEST_F(ScreenNail, OneWindowWithoutAWedgeEndsTheSearch)
{
    cfg->scrWin[3] = box_of(100, 20, 99, 49);
    EXPECT_THAT(find(screen, -1), Not(HasSubstr("ABS. PIMA")));
    EXPECT_EQ(corners(cfg->scrPima[2]), "5,1 25,6 21x6");
    EXPECT_EQ(corners(cfg->scrPima[3]), "0,0 0,0 0x0");
    EXPECT_EQ(corners(cfg->scrPima[4]), "0,0 0,0 0x0");
    EXPECT_TRUE(camera.logged("PIMA [3] : no pixels at ( 100, 20 ) - ( 99, 49 )"));
}

TEST_F(ScreenNail, AWindowOutsideOfThePictureHasNoWedge)
{
    for (const rova_pim_box &window :
         {box_of(0, 90, 29, 100), box_of(-1, 0, 28, 5), box_of(0, -1, 29, 4),
          box_of(5, 2000, 34, 2005), rova_pim_box{INT_MIN, INT_MIN, INT_MAX, INT_MAX, 0, 0},
          rova_pim_box{INT_MAX, INT_MAX, INT_MIN, INT_MIN, 0, 0}}) {
        cfg->scrWin[0] = window;
        EXPECT_THAT(find(screen, -1), StartsWith(" PIMA [0] : no pixels at ")) << window.x0;
    }
}

// Columns 160 to 163 of the rows are columns 0 to 3 of the next ones.
TEST_F(ScreenNail, AWindowBesideThePictureReadsMemoryAsItLies)
{
    cfg->scrWin[0] = box_of(134, 60, 163, 65);
    screen.fill({138, 60, 138, 65}, INK);
    screen.fill({2, 61, 2, 66}, INK);
    find(screen, 0);
    EXPECT_EQ(corners(cfg->scrPima[0]), "5,1 28,6 24x6");
}

TEST_F(ScreenNail, AWindowLargerThanTheBufferIsRefused)
{
    give_buffers(40, 144); // 18 x 10 bytes hold 30 x 6
    find(screen, 0);
    give_buffers(40, 136);
    EXPECT_THAT(find(screen, -1),
                StartsWith(" PIMA [0] : no pixels at ( 20, 10 ) - ( 49, 15 ) for 170 bytes\n"));
    rova_pim_buffers_free();
    EXPECT_THAT(find(screen, -1), HasSubstr(" for 0 bytes\n"));
}

TEST_F(ScreenNail, APictureOfNoSizeIsRefused)
{
    gDbgPrintOnOff = 0;
    EXPECT_EQ(rova_pim_find_wedges({screen.image().bytes, 0, 100, 160, 9}, 0, *cfg), -1);
    EXPECT_TRUE(camera.logged("no wedges in a screen nail of 0 x 100 pixels"));
    EXPECT_EQ(rova_pim_find_wedges({screen.image().bytes, 160, -1, 160, 9}, 0, *cfg), -1);
    EXPECT_TRUE(camera.logged("no wedges in a screen nail of 160 x -1 pixels"));
}

TEST_F(ScreenNail, PlacesBeyondAnyPictureAreCut)
{
    cfg->imageW = INT_MAX;
    cfg->imageH = INT_MIN;
    find(screen, 0);
    EXPECT_EQ(corners(cfg->orgWin[0]), "268435455,-214748364 268435456,-268435456 2x-53687091");
}

namespace
{

// -- the second stage

// One lying wedge from column 96 to 205 between bars, rows 50 to 69 (five lines), its box told too
// wide at the left and too narrow at the right; the standing one mirrors it about the diagonal.
struct FullImage : Wedge {
    Picture full{400, 400};
    bool standing = false;

    FullImage()
    {
        cfg->sucValleyDepth = 100;
        cfg->sucValleyN = 5;
        cfg->failCnt = 3;
        cfg->chart[0] = chart();
        cfg->chartHeight[0] = 2;
        cfg->centerPimaHeight[0] = 1.5F;
        cfg->effectivePixel = 150;
        draw({90, 50, 95, 69}, INK);
        draw({206, 50, 211, 69}, INK);
        place(0, {100, 50, 199, 69});
        resolve(96, 150);
    }
    static rova_pim_chart_config chart()
    {
        rova_pim_chart_config chart = {};
        const int32_t ref[] = {1000, 3000, 500, 900};
        std::copy(std::begin(ref), std::end(ref), chart.ref);
        return chart;
    }
    rova_pim_rect turned(const rova_pim_rect &rect) const
    {
        return standing ? rova_pim_rect{rect.y0, rect.x0, rect.y1, rect.x1} : rect;
    }
    void draw(const rova_pim_rect &rect, int level) { full.fill(turned(rect), level); }
    void place(int index, const rova_pim_rect &rect) const
    {
        const rova_pim_rect place = turned(rect);
        cfg->orgAbsPima[index] = box_of(place.x0, place.y0, place.x1, place.y1);
    }
    // Five lines, two dark and two bright pixels each.
    void resolve(int32_t from, int32_t to)
    {
        for (int32_t y = 50; y < 70; y += 4) {
            draw({from, y, to, y + 1}, INK);
            draw({from, y + 2, to, y + 3}, GAP);
        }
    }
    void stand()
    {
        standing = true;
        full.fill({0, 0, 399, 399}, PAPER);
        draw({90, 50, 95, 69}, INK);
        draw({206, 50, 211, 69}, INK);
        place(0, {100, 50, 199, 69});
        resolve(96, 150);
    }
};

} // namespace

// The strip is columns 70 to 229: bars at 25 and 136, 111 lines.  55 of them are resolved:
// 2000 x 55 / 111 = 990.  1990 x 1.5 x 400 x 150 / (400 x 2 x 111) = 2016.8.
TEST_F(FullImage, MeasuresALyingWedge)
{
    const std::string text = measure(full);
    EXPECT_EQ(cfg->imageW, 400);
    EXPECT_EQ(cfg->imageH, 400);
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "95,50 205,69 111x20");
    EXPECT_EQ(cfg->motOrgValue[0], 1990);
    EXPECT_EQ(cfg->motValue[0], 2016);
    EXPECT_EQ(cfg->posFound[0], 55);
    EXPECT_EQ(cfg->posCorrected[0], 56); // 55 x 1016 / 990
    EXPECT_THAT(text, StartsWith(" <<<< PIMA [0] >>>> \n"
                                 " Resolution = 80 \n\n"
                                 " Resolution = 55 \n\n"
                                 " Chart = 0 , Pos = 0 , Dir = 0 \n"
                                 " PIMA Len :  111 \n"
                                 " iMot[No-MG] = 1990 \n"
                                 " iMot[MG-01] = 2016 \n"
                                 " iMot[MG-02] = 2016 \n"
                                 " Range : RefStart/End =[ 1000 ~ 3000 ]"
                                 " - Start/End = [   25 ~  136 ]\n"
                                 " >>>> MOT Value = 1990 --> 2016 :   55 -->   56 \n\n" +
                                 std::string(RULE) + " <<<< PIMA [1] >>>> \n"));
    EXPECT_THAT(text, testing::EndsWith(RULE));
}

TEST_F(FullImage, MeasuresAStandingWedge)
{
    stand();
    EXPECT_THAT(measure(full), HasSubstr(" Resolution = 80 \n\n Resolution = 55 \n\n"));
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "50,95 69,205 20x111");
    EXPECT_EQ(cfg->motOrgValue[0], 1990);
    EXPECT_EQ(cfg->motValue[0], 2016);
    EXPECT_EQ(cfg->posFound[0], 55);
    EXPECT_EQ(cfg->posCorrected[0], 56);
}

// Its rows are searched, 80 of them and 30 on either side.
TEST_F(FullImage, ASquareStands)
{
    full.fill({0, 0, 399, 399}, PAPER);
    place(0, {100, 100, 179, 179});
    full.fill({100, 95, 179, 95}, INK);
    full.fill({100, 185, 179, 185}, INK);
    EXPECT_THAT(measure(full), HasSubstr(" - Start/End = [   25 ~  115 ]\n"));
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "100,95 179,184 80x90");
}

// From the bar at 136 down to line 80 of 25 to 136: 2000 x (111 - 55) / 111 = 1009 TV lines are
// told apart up to there.
TEST_F(FullImage, ADirectionTurnsTheWedgeRound)
{
    cfg->chart[0].dir[0] = 1;
    draw({96, 50, 149, 69}, PAPER);
    resolve(150, 205);
    measure(full);
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "95,50 205,69 111x20");
    EXPECT_EQ(cfg->posFound[0], 55);
    EXPECT_EQ(cfg->motOrgValue[0], 2009);
    EXPECT_EQ(cfg->motValue[0], 2036);   // 2009 x 90000 / 88800 = 2036.1
    EXPECT_EQ(cfg->posCorrected[0], 54); // 56 x 1036 / -1009 + 111
}

TEST_F(FullImage, EachWindowIsMeasuredByItsOwnDirectionAndPosition)
{
    place(4, {100, 50, 199, 69});
    cfg->chart[0].pos[4] = 1;
    cfg->chart[0].dir[4] = 1;
    const std::string text = measure(full);
    EXPECT_THAT(text, HasSubstr(" Chart = 0 , Pos = 1 , Dir = 1 \n"));
    EXPECT_EQ(cfg->motOrgValue[4], 500); // its end is not resolved
    EXPECT_EQ(cfg->motOrgValue[0], 1990);
}

TEST_F(FullImage, AnotherChartHasItsOwnNumbers)
{
    cfg->chart[2] = chart();
    cfg->chart[2].ref[1] = 1444;
    cfg->chartHeight[2] = 3;
    cfg->centerPimaHeight[2] = 1.5F;
    measure(full, 2);
    EXPECT_EQ(cfg->motOrgValue[0], 1220); // 444 x 55 / 111
    EXPECT_EQ(cfg->motValue[0], 1000);    // 824 is below the least
    cfg->chart[2].dir[0] = 1;
    place(0, {100, 50, 199, 69});
    measure(full, 2);
    EXPECT_EQ(cfg->posFound[0], 111); // its end is not resolved
}

// Defaults are no lines of the box: 0, and its length.
TEST_F(FullImage, WithoutBarsTheBoxStays)
{
    draw({90, 50, 95, 69}, PAPER);
    draw({206, 50, 211, 69}, PAPER);
    resolve(70, 150);
    EXPECT_THAT(measure(full), HasSubstr(" - Start/End = [    0 ~   99 ]\n"));
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "100,50 199,69 100x20");
    EXPECT_EQ(cfg->posFound[0], 80);

    draw({205, 50, 205, 69}, INK);
    EXPECT_THAT(measure(full), HasSubstr(" - Start/End = [    0 ~  135 ]\n"));
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "100,50 204,69 105x20");
}

TEST_F(FullImage, BarsAreSearchedFromThirtyInsideToTwentyNineOutside)
{
    const struct {
        int32_t left, right;
        const char *found;
    } rows[] = {
        {130, 170, "130,50 169,69"}, // the first lines looked at
        {131, 169, "100,50 199,69"}, // before those
        {71, 229, "71,50 228,69"},   // the last ones
        {70, 230, "100,50 199,69"},  // behind those
        {99, 200, "99,50 199,69"},   // beside the box
        {100, 199, "100,50 198,69"}, // its own lines
    };
    for (const auto &row : rows) {
        full.fill({0, 0, 399, 399}, PAPER);
        draw({row.left, 50, row.left, 69}, INK);
        draw({row.right, 50, row.right, 69}, INK);
        place(0, {100, 50, 199, 69});
        measure(full);
        EXPECT_THAT(corners(cfg->orgAbsPima[0]), StartsWith(row.found)) << row.left;
    }
}

TEST_F(FullImage, TheBarNextToTheMiddleCounts)
{
    draw({100, 50, 100, 69}, INK);
    draw({200, 50, 200, 69}, INK);
    measure(full);
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "100,50 199,69 100x20");
}

// The middle line is number 80 of 160, column 150.  80 per cent of 119 are 95.
TEST_F(FullImage, ABarIsBelowEightyPerCentOfTheMiddleLine)
{
    full.fill({0, 0, 399, 399}, PAPER);
    draw({150, 50, 150, 69}, 119);
    draw({95, 50, 95, 69}, 94);
    draw({98, 50, 98, 69}, 95);
    draw({206, 50, 206, 69}, 95);
    draw({206, 50, 206, 50}, 94); // 1899 / 20 = 94
    measure(full);
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "95,50 205,69 111x20");
}

// Bars cross: the box is of negative length, and its value the least.
TEST_F(FullImage, BarsThatCrossMeasureNothing)
{
    full.fill({0, 0, 399, 399}, PAPER);
    place(0, {100, 50, 120, 59});
    draw({125, 50, 125, 59}, INK); // within 30 of both ends
    draw({95, 50, 95, 59}, INK);
    EXPECT_THAT(measure(full), HasSubstr(" - Start/End = [   55 ~   25 ]\n"));
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "125,50 94,59 -30x10");
    EXPECT_EQ(cfg->motOrgValue[0], 1000);
    EXPECT_EQ(cfg->motValue[0], 1000);
}

TEST_F(FullImage, AnImplausibleBoxGetsTheLeastValue)
{
    cfg->rangeFail[0] = 1;
    measure(full);
    EXPECT_EQ(cfg->motOrgValue[0], 1000);
    EXPECT_EQ(cfg->motValue[0], 1000);
    EXPECT_EQ(cfg->posFound[0], 55);
    EXPECT_EQ(cfg->posCorrected[0], 55);
}

TEST_F(FullImage, AWedgeResolvedToItsEndGetsTheTopValue)
{
    resolve(96, 205);
    cfg->effectivePixel = 1;
    cfg->orgResultData = 2;
    measure(full);
    EXPECT_EQ(cfg->posFound[0], 111);
    EXPECT_EQ(cfg->motOrgValue[0], 3000);
    EXPECT_EQ(cfg->motValue[0], 3000);
}

TEST_F(FullImage, AnEmptyBoxMeasuresNothing)
{
    for (int32_t dir : {0, 1}) {
        cfg->chart[0].dir[0] = dir;
        place(0, {100, 50, 199, 49});
        EXPECT_THAT(measure(full), HasSubstr(" - Start/End = [    0 ~   99 ]\n"));
        EXPECT_EQ(cfg->motValue[0], 1000) << dir;
        EXPECT_EQ(cfg->posFound[0], dir == 0 ? 0 : 99);
        place(0, {100, 50, 99, 69});
        EXPECT_THAT(measure(full), HasSubstr(" - Start/End = [    0 ~   19 ]\n"));
        EXPECT_EQ(cfg->motValue[0], 1000) << dir;
        place(0, {300, 300, 100, 50});
        EXPECT_THAT(measure(full), HasSubstr(" PIMA [0] : no pixels at "));
        EXPECT_EQ(cfg->motValue[0], 1000) << dir;
    }
}

TEST_F(FullImage, AStripOutsideOfThePictureMeasuresNothing)
{
    const rova_pim_rect places[] = {
        {29, 0, 99, 9},                         // the margin begins before the picture
        {300, 380, 399, 399},                   // and ends behind it
        {100, 390, 199, 405}, {10, 29, 19, 99}, // standing
        {380, 330, 389, 385}, {1 << 28, 50, (1 << 28) + 99, 69},
    };
    for (const rova_pim_rect &rect : places) {
        place(0, rect);
        cfg->sucValleyN = 0; // each line would do
        EXPECT_THAT(measure(full), StartsWith(" <<<< PIMA [0] >>>> \n PIMA [0] : no pixels at "))
            << rect.x0;
        EXPECT_EQ(cfg->motValue[0], 1000) << rect.x0;
        EXPECT_EQ(cfg->posFound[0], 0) << rect.x0;
    }
    EXPECT_TRUE(camera.logged("PIMA [0] : no pixels at"));
}

// The margin's ten columns before column 0 are the last ones of the rows above.
TEST_F(FullImage, AStripBesideThePictureReadsMemoryAsItLies)
{
    full.fill({0, 0, 399, 399}, PAPER);
    draw({395, 49, 395, 68}, INK);
    draw({120, 50, 120, 69}, INK);
    place(0, {20, 50, 119, 69});
    measure(full);
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "-5,50 119,69 125x20");
}

// 160 x 20 pixels, and lines of 20.
TEST_F(FullImage, AStripLargerThanTheBufferMeasuresNothing)
{
    give_buffers(128, 800); // 100 x 32 bytes
    measure(full);
    EXPECT_EQ(cfg->motOrgValue[0], 1990);
    give_buffers(128, 792);
    place(0, {100, 50, 199, 69});
    EXPECT_THAT(measure(full), HasSubstr(" PIMA [0] : no pixels at ( 70, 50 ) - ( 229, 69 )"
                                         " for 3168 bytes\n"));
    EXPECT_EQ(cfg->motOrgValue[0], 1000);
    EXPECT_EQ(cfg->motValue[0], 1000);
    rova_pim_buffers_free();
    EXPECT_THAT(measure(full), HasSubstr(" for 0 bytes\n"));
    EXPECT_EQ(cfg->motValue[0], 1000);
}

TEST_F(FullImage, ALineLongerThanTheBufferMeasuresNothing)
{
    give_buffers(40000, 20);
    measure(full);
    EXPECT_EQ(cfg->motOrgValue[0], 1990);
    give_buffers(40000, 19);
    place(0, {100, 50, 199, 69});
    EXPECT_THAT(measure(full), HasSubstr(" PIMA [0] : no room for a line of 20 pixels in 19\n"));
    EXPECT_EQ(corners(cfg->orgAbsPima[0]), "95,50 205,69 111x20");
    EXPECT_EQ(cfg->motOrgValue[0], 1000);
    EXPECT_EQ(cfg->posFound[0], 0);
    EXPECT_TRUE(camera.logged("PIMA [0] : no room for a line of 20 pixels in 19"));
}

TEST_F(FullImage, EndlessBisectionIsRefused)
{
    cfg->binaryTreeLevel = 64;
    measure(full);
    EXPECT_EQ(cfg->motOrgValue[0], 1990);
    for (int32_t level : {65, INT_MAX}) {
        cfg->binaryTreeLevel = level;
        place(0, {100, 50, 199, 69});
        EXPECT_THAT(measure(full), HasSubstr(" PIMA [0] : Binary Tree Algorithm Level " +
                                             std::to_string(level) + " is above 64\n"));
        EXPECT_EQ(cfg->motOrgValue[0], 1000);
    }
}

TEST_F(FullImage, EachLineWalkedIsPrintedAtLevelOne)
{
    cfg->dbgLevel[0] = 1;
    EXPECT_THAT(measure(full), StartsWith(" <<<< PIMA [0] >>>> \n"
                                          " (X, Resol, CntS/F) = (   25 ,   0 ,   0,   0)\n"
                                          " (X, Resol, CntS/F) = (   26 ,   5 ,   0,   1)\n"));
    stand();
    EXPECT_THAT(measure(full), HasSubstr(" (Y, Resol, CntS/F) = (   26 ,   5 ,   0,   1)\n"));
}

namespace
{

// -- drawn wedges

// Nine lines whose contrast falls evenly from 200 levels at the first end to none at the other, by
// `at` of `length` lines.
int ink_at(int32_t at, int32_t length)
{
    return INK + 100 * at / length;
}

// (depth, rounds): the last line whose contrast is at least the depth.
class DrawnWedge : public FullImage,
                   public testing::WithParamInterface<std::tuple<int32_t, int32_t>>
{
protected:
    static constexpr int32_t FIRST = 96, LAST = 345, LENGTH = LAST - FIRST + 1;

    DrawnWedge()
    {
        cfg->sucValleyN = 9;
        cfg->failCnt = 4;
        std::tie(cfg->sucValleyDepth, cfg->binaryTreeLevel) = GetParam();
    }
    void draw_wedge(bool reversed)
    {
        full.fill({0, 0, 399, 399}, PAPER);
        draw({90, 40, 95, 93}, INK);
        draw({346, 40, 351, 93}, INK);
        for (int32_t i = 0; i < LENGTH; i++) {
            const int ink = ink_at(i, LENGTH);
            const int32_t x = reversed ? LAST - i : FIRST + i;
            for (int32_t y = 40; y < 94; y += 6) {
                draw({x, y, x, y + 2}, ink);
                draw({x, y + 3, x, y + 5}, 2 * PAPER - ink);
            }
        }
        place(0, {100, 40, 340, 93});
        cfg->chart[0].dir[0] = reversed;
    }
    // From the bar, which is line 0.
    int32_t expected() const
    {
        int32_t last = 0;
        for (int32_t i = 0; i < LENGTH; i++) {
            if (2 * (PAPER - ink_at(i, LENGTH)) >= cfg->sucValleyDepth)
                last = i + 1;
        }
        return last;
    }
};

} // namespace

TEST_P(DrawnWedge, IsResolvedAsFarAsItsContrastGoes)
{
    for (bool stands : {false, true}) {
        standing = stands;
        draw_wedge(false);
        measure(full);
        EXPECT_EQ(cfg->posFound[0], expected()) << stands;
        EXPECT_EQ(cfg->motOrgValue[0], 1000 + 2000 * expected() / 251) << stands;
        draw_wedge(true);
        measure(full);
        // The bar at the far end is a line further on.
        EXPECT_EQ(cfg->posFound[0], 251 - expected()) << stands;
        EXPECT_EQ(cfg->motOrgValue[0], 1000 + 2000 * expected() / 251) << stands;
    }
}

INSTANTIATE_TEST_SUITE_P(Wedge, DrawnWedge,
                         testing::Combine(testing::Values(20, 90, 100, 150, 199),
                                          testing::Values(0, 1, 3, 6, 20)));

// -- both stages

TEST_F(Wedge, IsFoundInTheScreenNailAndMeasuredInTheFullImage)
{
    constexpr int32_t SCALE = 5;
    Picture full(1000, 800), screen(200, 160);
    cfg->sucValleyDepth = 100;
    cfg->sucValleyN = 5;
    cfg->failCnt = 4;
    cfg->chartHeight[0] = 1;
    cfg->imageW = 1000;
    cfg->imageH = 800;
    cfg->testMode = 2; // as measured
    // A wedge of 400 columns between bars of 20, 40 rows high, resolved for the first half.
    cfg->chart[0].ref[0] = cfg->chart[0].ref[2] = 1000;
    cfg->chart[0].ref[1] = cfg->chart[0].ref[3] = 3000;
    full.fill({200, 100, 219, 139}, INK);
    full.fill({620, 100, 639, 139}, INK);
    for (int32_t y = 100; y < 140; y += 8) {
        full.fill({220, y, 419, y + 3}, INK);
        full.fill({220, y + 4, 419, y + 7}, GAP);
    }
    for (int32_t y = 0; y < 160; y++) {
        for (int32_t x = 0; x < 200; x++) {
            const rova_pim_rect part = {x * SCALE, y * SCALE, x * SCALE + 4, y * SCALE + 4};
            screen.set(x, y, static_cast<int>(GetAreaSum(full.image(), part).sum / 25));
        }
    }
    for (int i = 0; i < PIM_WINDOWS; i++)
        cfg->scrWin[i] = box_of(38, 18, 129, 29);
    find(screen, 0);
    EXPECT_EQ(corners(cfg->scrPima[0]), "6,1 86,12 81x12");
    EXPECT_EQ(corners(cfg->orgAbsPima[9]), "220,95 620,150 401x56");
    measure(full);
    for (int i = 0; i < PIM_WINDOWS; i++) {
        EXPECT_EQ(corners(cfg->orgAbsPima[i]), "219,95 619,150 401x56") << i;
        EXPECT_EQ(cfg->posFound[i], 200) << i;
        EXPECT_EQ(cfg->motValue[i], 1997) << i; // 2000 x 200 / 401
    }
}

namespace
{

// A chart nobody would print: bars, sides and stripes of any brightness, some noise, and any
// configuration.  The full image is three times the screen nail.
class RandomChart
{
public:
    static constexpr int32_t W = 160, H = 120, SCALE = 3;
    Picture screen{W, H};
    Picture full{W * SCALE, H *SCALE};

    explicit RandomChart(uint32_t seed) : random_(seed) {}

    void configure(rova_pim_pm_config &cfg)
    {
        cfg.imageW = W * SCALE;
        cfg.imageH = H * SCALE;
        for (int32_t *level : {&cfg.dbgLevel[0], &cfg.testMode, &cfg.orgResultData, &cfg.meadLoop})
            *level = number(0, 2);
        cfg.sucValleyDepth = number(0, 60);
        cfg.sucValleyN = number(1, 3);
        cfg.failCnt = number(0, 9);
        cfg.binaryTreeLevel = number(0, 7);
        cfg.lineDataOffset = number(0, 4);
        cfg.effectivePixel = real(50, 400);
        for (rova_pim_chart_config &chart : cfg.chart) {
            for (int i : {0, 2}) {
                chart.ref[i] = number(0, 2000);
                chart.ref[i + 1] = chart.ref[i] + number(-100, 2000);
            }
            for (int i = 0; i < PIM_WINDOWS; i++) {
                chart.dir[i] = number(-1, 1);
                chart.pos[i] = number(-1, 1);
            }
        }
        for (int i = 0; i < PIM_CHARTS; i++) {
            cfg.chartHeight[i] = real(1, 3);
            cfg.centerPimaHeight[i] = real(1, 3);
        }
    }
    void draw(rova_pim_pm_config &cfg)
    {
        noise(screen, W, H);
        noise(full, W * SCALE, H * SCALE);
        for (rova_pim_box &window : cfg.scrWin) {
            const int32_t w = number(3, 60), h = number(3, 40);
            const int32_t x = number(10, W - 11 - w), y = number(10, H - 11 - h);
            window = box_of(x, y, x + w - 1, y + h - 1);
            draw_wedge(window, w > h);
        }
    }
    int32_t number(int32_t from, int32_t to)
    {
        return std::uniform_int_distribution(from, to)(random_);
    }

private:
    float real(float from, float to) { return std::uniform_real_distribution(from, to)(random_); }
    void noise(Picture &picture, int32_t w, int32_t h)
    {
        for (int32_t y = 0; y < h; y++) {
            for (int32_t x = 0; x < w; x++)
                picture.set(x, y, number(PAPER - 3, PAPER + 3));
        }
    }
    // One line across the window, in both pictures.
    void bar(const rova_pim_box &window, bool lying, int32_t at, int32_t level)
    {
        rova_pim_rect part = {window.x0, window.y0, window.x1, window.y1};
        if (lying)
            part.x0 = part.x1 = window.x0 + at;
        else
            part.y0 = part.y1 = window.y0 + at;
        screen.fill(part, level);
        full.fill({part.x0 * SCALE, part.y0 * SCALE, part.x1 * SCALE + 2, part.y1 * SCALE + 2},
                  level);
    }
    // Lines of less and less contrast.
    void stripes(const rova_pim_box &window, bool lying, int32_t from, int32_t to)
    {
        const int32_t across = (lying ? window.h : window.w) * SCALE, width = number(1, 4);
        for (int32_t i = from * SCALE; i < to * SCALE; i++) {
            const int32_t contrast = number(80, 100) - 80 * (i - from * SCALE) / (to * SCALE);
            for (int32_t j = 0; j < across; j++) {
                const int level = PAPER + (j / width % 2 == 0 ? contrast : -contrast);
                full.set(window.x0 * SCALE + (lying ? i : j), window.y0 * SCALE + (lying ? j : i),
                         level);
            }
        }
    }
    void draw_wedge(const rova_pim_box &window, bool lying)
    {
        const int32_t length = std::max(window.w, window.h);
        const int32_t first = number(0, length / 3), last = number(length / 2 + 1, length - 1);
        stripes(window, lying, first, last);
        bar(window, lying, first, number(0, PAPER));
        bar(window, lying, last, number(0, PAPER));
        const rova_pim_rect side = {window.x0, window.y0, window.x1, window.y0};
        if (lying && number(0, 1) == 1)
            screen.fill(side, number(0, PAPER));
    }

    std::mt19937 random_;
};

} // namespace

TEST_F(Wedge, OfAnyPictureIsWhatThePlainSearchSays)
{
    int values = 0, corrected = 0, plausible = 0;
    for (uint32_t seed = 1; seed <= 60; seed++) {
        RandomChart random(seed);
        *cfg = {};
        random.configure(*cfg);
        random.draw(*cfg);
        const int32_t chart = random.number(0, 2);
        const auto plain = std::make_unique<rova_pim_pm_config>(*cfg);
        gDbgPrintOnOff = PIM_DEBUG_STDOUT;
        const std::string text = test::captured_output([&] {
            EXPECT_EQ(rova_pim_find_wedges(random.screen.image(), chart, *cfg), 0);
            EXPECT_EQ(rova_pim_measure_wedges(random.full.image(), chart, *cfg), 0);
        });
        const std::string told = test::captured_output([&] {
            test::plain_find_wedges(random.screen.image(), chart, *plain);
            test::plain_measure_wedges(random.full.image(), chart, *plain);
        });
        ASSERT_TRUE(text == told) << seed;
        ASSERT_EQ(std::memcmp(cfg.get(), plain.get(), sizeof(*cfg)), 0) << seed;
        for (int i = 0; i < PIM_WINDOWS; i++) {
            const auto &ref = cfg->chart[chart].ref;
            const int32_t least = ref[cfg->chart[chart].pos[i] == 0 ? 0 : 2];
            values += cfg->motOrgValue[i] > least;
            corrected += cfg->motValue[i] != cfg->motOrgValue[i] && cfg->motValue[i] > least;
            plausible += cfg->rangeFail[i] == 0;
        }
    }
    // Of 600.
    EXPECT_GT(plausible, 150);
    EXPECT_GT(values, 100);
    EXPECT_GT(corrected, 20);
}
