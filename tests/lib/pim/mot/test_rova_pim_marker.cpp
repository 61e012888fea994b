#include "lib/pim/mot/rova_pim_marker.h"

#include "tests/lib/pim/mot/marker_chart.h"
#include "tests/lib/pim/mot/plain_marker.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <memory>
#include <random>
#include <string>

using test::CHART_HEIGHT;
using test::CHART_PITCH;
using test::GREY;
using test::RED;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

bool operator==(const rova_pim_point &one, const rova_pim_point &other)
{
    return one.x == other.x && one.y == other.y;
}

namespace
{

struct ScreenNail : test::Markers {
    test::MarkerPicture picture{CS422_Y_CbCr};
    std::string text;

    int search(int32_t colour = PIM_COLOUR_CR, int32_t chart = 0)
    {
        int result = 1;
        text = test::captured_output(
            [&] { result = rova_pim_search_screen_nail(picture.image, colour, chart, cfg); });
        return result;
    }
    void expect_refused(const std::string &report)
    {
        const rova_pim_box before = cfg.scrWin[9];
        EXPECT_EQ(search(), -1) << report;
        EXPECT_TRUE(camera.logged(report)) << report;
        EXPECT_THAT(text, HasSubstr(report));
        EXPECT_EQ(std::memcmp(&before, &cfg.scrWin[9], sizeof(before)), 0);
    }
    // Where the first marker was found, with the other three in their places.
    rova_pim_point first_marker()
    {
        picture.paint(45, 220, 10, 8);
        picture.paint(145, 70, 10, 8);
        picture.paint(145, 220, 10, 8);
        search();
        EXPECT_EQ(cfg.cmCenter[1], (rova_pim_point{96, 222}));
        EXPECT_EQ(cfg.cmCenter[2], (rova_pim_point{296, 72}));
        EXPECT_EQ(cfg.cmCenter[3], (rova_pim_point{296, 222}));
        return cfg.cmCenter[0];
    }
};

// A picture and a configuration of any numbers that a search does not refuse.
class RandomSearch
{
public:
    explicit RandomSearch(uint32_t seed) : random_(seed) {}

    int number(int from, int to) { return std::uniform_int_distribution(from, to)(random_); }
    bool chance(int percent) { return number(1, 100) <= percent; }

    void configure(rova_pim_pm_config &cfg)
    {
        test::configure_markers(cfg);
        cfg.arrayW = chance(80) ? number(1, 14) : number(15, 40);
        cfg.arrayH = chance(80) ? number(1, 14) : number(15, 40);
        cfg.arrayCount = number(-1, cfg.arrayW * cfg.arrayH + 1) / number(1, 4);
        cfg.dbgLevel[2] = chance(20);
        set_sizes(cfg);
        for (rova_pim_chart_config &chart : cfg.chart) {
            chart.colorMin = number(-20, 280);
            chart.colorMax = chart.colorMin + number(-10, 150);
            for (rova_pim_point &marker : chart.cm)
                marker = {marker.x + number(-450, 450), marker.y + number(-350, 350)};
        }
    }
    // Noise around a level, with patches of other levels.
    void draw(test::MarkerPicture &picture)
    {
        const int level = number(0, 255), noise = number(0, 60);
        const int rows = picture.image.iCS == CS422_Y_CbCr ? CHART_HEIGHT : CHART_HEIGHT / 2;
        for (int y = 0; y < rows; y++) {
            for (int x = 0; x < CHART_PITCH / 2; x++)
                picture.paint(x, y, 1, 1, std::clamp(level + number(-noise, noise), 0, 255));
        }
        for (int patches = number(0, 60); patches > 0; patches--) {
            const int w = number(1, 40), h = number(1, 25);
            picture.paint(number(0, CHART_PITCH / 2 - w), number(0, rows - h), w, h,
                          number(0, 255));
        }
    }

private:
    // No size of the configuration is another one's, or the picture's own, or divides another.
    void set_sizes(rova_pim_pm_config &cfg)
    {
        cfg.imageW = number(1200, 2000);
        cfg.imageH = number(900, 1500);
        for (int32_t *size : {&cfg.screenW, &cfg.screenH, &cfg.liveLcdW, &cfg.liveLcdH})
            *size = number(250, 450);
        cfg.scrSearchW = number(0, 700);
        cfg.scrSearchH = number(0, 500);
        cfg.lvSearchW = number(50, 800);
        cfg.lvSearchH = number(50, 600);
        for (int32_t *offset : {&cfg.scrCbOffset, &cfg.scrCrOffset, &cfg.liveLcdCrOffset})
            *offset -= 2 * number(0, 3);
    }

    std::mt19937 random_;
};

} // namespace

TEST_F(ScreenNail, FourMarkersAreFoundAndTheWindowsPlaced)
{
    picture.paint_markers();
    EXPECT_EQ(search(), 0);
    EXPECT_EQ(cfg.cmCenter[0], (rova_pim_point{96, 72}));
    EXPECT_EQ(cfg.cmCenter[1], (rova_pim_point{96, 222}));
    EXPECT_EQ(cfg.cmCenter[2], (rova_pim_point{296, 72}));
    EXPECT_EQ(cfg.cmCenter[3], (rova_pim_point{296, 222}));
    EXPECT_EQ(cfg.cmDistX, 200);
    EXPECT_EQ(cfg.cmDistY, 150);
    EXPECT_EQ(cfg.cmRect[0].x0, 352);
    EXPECT_EQ(cfg.cmRect[0].y0, 276);
    EXPECT_EQ(cfg.cmRect[0].x1, 416);
    EXPECT_EQ(cfg.cmRect[0].y1, 304);
    EXPECT_EQ(cfg.cmWin[3].x0, 1200 - 240);
    EXPECT_EQ(cfg.cmWin[3].y1, 900 + 120);
    EXPECT_EQ(cfg.cmWin[3].w, 480);
    EXPECT_EQ(cfg.cmWin[3].h, 240);
    // At the right bottom marker, a quarter of the full image's size.
    EXPECT_EQ(cfg.scrWin[8].x0, 296 + 20);
    EXPECT_EQ(cfg.scrWin[8].y0, 222 - 16);
    EXPECT_EQ(cfg.scrWin[8].w, 21);
    EXPECT_EQ(cmWinW, 480);
    EXPECT_EQ(cmWinH, 240);
}

TEST_F(ScreenNail, ItsReportIsPrintedStepByStep)
{
    picture.paint_markers();
    search();
    EXPECT_THAT(text,
                StartsWith(" CHART = WIDE \n COLOR = RED \n"
                           " COLOR MAKER WINDOW SIZE : 480 x 240 \n"
                           " COLOR MARKER'S WINDOW COORDINATE !!! \n IMAGE SIZE =  400 x  300 \n"
                           " [0] COLOR MAKER'S WINDOW : (   20 ,    45) ,    60 x    60 \n"
                           " [1] COLOR MAKER'S WINDOW : (   20 ,   195) ,    60 x    60 \n"));
    EXPECT_THAT(
        text,
        HasSubstr(" [3] COLOR MAKER'S WINDOW : (  960 ,   780) , ( 1440 ,  1020) :   480 x   240 \n"
                  "        [ 0] = S(   24 ,   24 ) E(   32 ,   31 ) =      72 \n"
                  " BEST : [ 0] = S(   24 ,   24 ) E(   32 ,   31 ) \n\n"
                  " L-COORD : (   24,   24 ) , (   32,   31 ) :  8 x 7 \n"
                  " C-COORD : (   96,   72 ) \n\n"));
    EXPECT_THAT(text, HasSubstr(" XM, YM = 200 , 150 \n"
                                " LT : (  96,   72) \n LB : (  96,  222) \n"
                                " RT : ( 296,   72) \n RB : ( 296,  222) \n"
                                "[ 0 ] ( 196,   72) ( 216,   82) :   21 x   11 \n\n"));
    EXPECT_THAT(text, Not(HasSubstr("Historgram")));
    EXPECT_THAT(text, Not(HasSubstr("pCnt")));
}

TEST_F(ScreenNail, ChartAndColourAreNamed)
{
    search(PIM_COLOUR_CB, 1);
    EXPECT_THAT(text, StartsWith(" CHART = TELE \n COLOR = BLUE \n"));
    search(PIM_COLOUR_CB, 2);
    EXPECT_THAT(text, StartsWith(" CHART = MID \n"));
}

TEST_F(ScreenNail, BlueMarkersAreSearchedInTheOtherPlane)
{
    picture.paint_markers();
    EXPECT_EQ(search(PIM_COLOUR_CB), -1);
    for (int32_t x : {45, 145}) {
        for (int32_t y : {70, 220})
            picture.paint(x, y, 10, 8, RED, 0);
    }
    EXPECT_EQ(search(PIM_COLOUR_CB), 0);
    EXPECT_EQ(cfg.cmCenter[3], (rova_pim_point{296, 222}));
}

TEST_F(ScreenNail, WithAMarkerMissingTheHistogramIsPrinted)
{
    picture.paint_markers();
    picture.paint(145, 220, 10, 8, GREY);
    EXPECT_EQ(search(), -1);
    EXPECT_EQ(cfg.cmCenter[3], (rova_pim_point{0, 0}));
    EXPECT_EQ(cfg.cmCenter[2], (rova_pim_point{296, 72}));
    EXPECT_THAT(text, HasSubstr(" L-COORD : (    0,    0 ) , (    0,    0 ) :  0 x 0 \n"
                                " C-COORD : (  240,  195 ) \n\n XM, YM = "));
    EXPECT_THAT(text, HasSubstr(" ColorMarker Historgram \n [   0 ] =     0   \n"));
    EXPECT_THAT(text, HasSubstr("   " + std::string(100, '*') + "\n [ 129 ] =     0   \n"));
    EXPECT_THAT(text, EndsWith(" [ 255 ] =     0   \n"));
}

// 14 by 14 boxes side by side: without a hit or a value in range the walk goes in whole boxes.
TEST_F(ScreenNail, TheHistogramRunsOverAllBoxesOfAllMarkers)
{
    search();
    EXPECT_THAT(text, HasSubstr(" [ 128 ] = " + std::to_string(4 * 14 * 14 * 16) + "   "));
}

TEST_F(ScreenNail, TheDebugLevelPrintsBoxesAndAHistogramForEachMarker)
{
    cfg.dbgLevel[2] = 1;
    picture.paint_markers();
    EXPECT_EQ(search(), 0);
    EXPECT_THAT(text,
                HasSubstr(" pA = 128 pCnt = 0 \n pA = 168 pCnt = 9 \n pA = 182 pCnt = 12 \n"));
    std::size_t histograms = 0;
    for (std::size_t at = 0; (at = text.find("Historgram", at)) != std::string::npos; at++)
        histograms++;
    EXPECT_EQ(histograms, 4u);
}

TEST_F(ScreenNail, AMarkerAtTheEdgeIsSearchedInAShorterRectangle)
{
    cfg.chart[0].cm[0] = {40, 30}; // of 60 x 60 values 35 x 38 are left
    picture.paint(10, 10, 10, 8);
    EXPECT_EQ(first_marker(), (rova_pim_point{29, 13}));
    EXPECT_THAT(text, HasSubstr(" [0] COLOR MAKER'S WINDOW : (    0 ,     0) ,    35 x    38 \n"));
    EXPECT_THAT(text, HasSubstr(" [0] COLOR MAKER'S WINDOW : (    0 ,     0) , (  280 ,   150) : "
                                "  280 x   150 \n"));
}

TEST_F(ScreenNail, AWindowNoHigherThanTheArrayHasNoGroup)
{
    picture.paint_markers();
    cfg.arrayH = 59;
    cfg.arrayCount = 1;
    cfg.chart[0].colorMin = 100; // all of the picture
    EXPECT_EQ(search(), 0);
    cfg.arrayH = 60;
    EXPECT_EQ(search(), -1);
    EXPECT_THAT(text, Not(HasSubstr("BEST")));
    cfg.arrayH = INT_MAX;
    EXPECT_EQ(search(), -1);
    cfg.arrayH = 4;
    cfg.arrayW = 60;
    EXPECT_EQ(search(), -1);
}

// A group is at first as large as the array, so that a single hit has no size with an array of 1.
TEST_F(ScreenNail, ABoxWithoutWidthIsNoMarker)
{
    cfg.arrayW = cfg.arrayH = cfg.arrayCount = 1;
    picture.paint(45, 70, 1, 3);
    EXPECT_EQ(search(), -1);
    EXPECT_THAT(text, HasSubstr(" L-COORD : (   25,   25 ) , (   25,   27 ) :  0 x 2 \n"));
    EXPECT_EQ(cfg.cmCenter[0], (rova_pim_point{0, 0}));
    picture.paint(45, 70, 2, 3);
    EXPECT_EQ(search(), -1);
    EXPECT_EQ(cfg.cmCenter[0], (rova_pim_point{91, 71}));
}

// One more value in range than asked for is not needed here.
TEST_F(ScreenNail, TheCountNeedOnlyBeReached)
{
    cfg.arrayCount = 16;
    picture.paint_markers();
    EXPECT_EQ(search(), 0);
    cfg.arrayCount = 17;
    EXPECT_EQ(search(), -1);
}

TEST_F(ScreenNail, TheMeanHasToLieInTheRangeToo)
{
    picture.paint_markers();
    cfg.arrayCount = 1;
    cfg.chart[0].colorMin = cfg.chart[0].colorMax = RED;
    EXPECT_EQ(search(), 0);
    cfg.chart[0].colorMax = RED - 1;
    EXPECT_EQ(search(), -1);
}

TEST_F(ScreenNail, AreasWithinTwiceTheArrayAreMerged)
{
    picture.paint(30, 70, 8, 8);
    picture.paint(44, 70, 8, 8); // its first hits are 7 behind the group's end
    first_marker();
    EXPECT_THAT(text, HasSubstr(" BEST : [ 0] = S(    9 ,   24 ) E(   "));
    EXPECT_THAT(text.substr(0, text.find(" BEST")), Not(HasSubstr("[ 1] = S(")));
}

TEST_F(ScreenNail, TwiceTheArrayItselfIsTooFarForAGroup)
{
    cfg.arrayW = cfg.arrayH = cfg.arrayCount = 1;
    for (auto [x, y] : {std::pair(45, 70), {47, 70}, {45, 72}})
        picture.paint(x, y, 1, 1);
    search();
    EXPECT_THAT(text, HasSubstr("        [ 0] = S(   25 ,   25 ) E(   25 ,   25 ) =       1 \n"
                                "        [ 1] = S(   27 ,   25 ) E(   27 ,   25 ) =       1 \n"
                                "        [ 2] = S(   25 ,   27 ) E(   25 ,   27 ) =       1 \n"));
}

TEST_F(ScreenNail, AreasFurtherApartCompeteAndTheFirstGreatestWins)
{
    picture.paint(25, 70, 8, 8);
    picture.paint(50, 70, 8, 8); // just as large
    const rova_pim_point left = first_marker();
    EXPECT_THAT(text, HasSubstr(" BEST : [ 0] = "));
    picture.paint(50, 70, 10, 12); // now it is larger
    const rova_pim_point right = first_marker();
    EXPECT_THAT(text, HasSubstr(" BEST : [ 1] = "));
    EXPECT_LT(left.x, 2 * 34);
    EXPECT_GT(right.x, 2 * 50);
}

TEST_F(ScreenNail, AFullTableDropsHitsFurtherOffAndGoesOn)
{
    cfg.arrayW = cfg.arrayH = cfg.arrayCount = 1;
    for (int32_t y = 0; y < 57; y += 3) { // 19 rows of 19 groups
        for (int32_t x = 0; x < 57; x += 3)
            picture.paint(20 + x, 45 + y, 1, 1);
    }
    picture.paint(20 + 6, 45 + 50, 50, 9); // far from the first 32
    picture.paint(20 + 3, 45 + 4, 1, 1);   // near the second row's second
    search();
    EXPECT_THAT(text, HasSubstr("        [31] = S("));
    EXPECT_THAT(text, Not(HasSubstr("        [32] = S(")));
    EXPECT_THAT(text, HasSubstr("        [20] = S(    3 ,    3 ) E(    3 ,    4 ) =       2 \n"
                                "        [21]"));
    EXPECT_THAT(text, HasSubstr(" BEST : [20] = "));
    EXPECT_EQ(cfg.cmCenter[0], (rova_pim_point{0, 0}));
}

TEST_F(ScreenNail, AnotherChartOrColourSpaceIsRefused)
{
    EXPECT_EQ(search(PIM_COLOUR_CR, 3), -1);
    EXPECT_EQ(text, " Invalid Chart....3 \n");
    EXPECT_EQ(search(PIM_COLOUR_CR, -1), -1);
    EXPECT_TRUE(camera.logged("Invalid Chart....-1"));
    for (int32_t iCS : {0, 7, 15, 22, -1}) {
        picture.image.iCS = iCS;
        expect_refused("NOT FOUND COLOR Marker : NG !!!!");
        EXPECT_THAT(text, EndsWith(" NOT FOUND COLOR Marker : NG !!!! \n\n"));
    }
}

TEST_F(ScreenNail, AnotherColourHasNoPlane)
{
    EXPECT_EQ(search(3), -1);
    EXPECT_THAT(text, AllOf(StartsWith(" CHART = WIDE \n COLOR = ERROR \n"),
                            HasSubstr(" Wrong Argutment : COLOR = 3 \n")));
    EXPECT_TRUE(camera.logged("no marker can be searched in (20, 45) 60 x 60"));
    EXPECT_EQ(rova_pim_chroma_offset(cfg, 3, PIM_COLOUR_CR), 0);
    EXPECT_TRUE(camera.logged("Wrong Argutment : ImgType = 3"));
    EXPECT_EQ(rova_pim_chroma_offset(cfg, -1, PIM_COLOUR_CR), 0);
}

TEST(PimChroma, TheOffsetIsTheConfiguredOneOfPictureAndColour)
{
    auto cfg = std::make_unique<rova_pim_pm_config>();
    cfg->liveLcdCbOffset = 1;
    cfg->liveLcdCrOffset = 2;
    cfg->scrCbOffset = 3;
    cfg->scrCrOffset = 4;
    cfg->mainCbOffset = 5;
    cfg->mainCrOffset = 6;
    for (int32_t type : {0, 1, 2}) {
        EXPECT_EQ(rova_pim_chroma_offset(*cfg, type, 1), 2 * type + 1);
        EXPECT_EQ(rova_pim_chroma_offset(*cfg, type, 2), 2 * type + 2);
    }
}

// 4:4:4 has chroma, but no plane that a search could copy.
TEST_F(ScreenNail, AColourSpaceWithoutAPlaneOfTheColourIsReported)
{
    picture.image.iCS = CS444_Y_CbCr;
    expect_refused("no marker can be searched in (");
}

TEST_F(ScreenNail, SizesThatNoSearchCanWorkWithAreRefused)
{
    int32_t *const sizes[] = {&cfg.imageW,  &cfg.imageH, &cfg.screenW,
                              &cfg.screenH, &cfg.arrayW, &cfg.arrayH};
    for (int32_t *size : sizes) {
        const int32_t before = *size;
        for (int32_t bad : {0, -1, INT_MIN}) {
            *size = bad;
            expect_refused("no search for markers");
        }
        *size = before;
    }
    cfg.imageW = 65536;
    expect_refused("no search for markers: 400 x 300 of 65536 x 1200");
}

TEST_F(ScreenNail, APictureWithoutSizeIsOutOfRange)
{
    picture.image.width = -2;
    expect_refused("COLOR MARKER EXCEED IMAGE RANGE....     0 x   105 >    -1 x 300");
    EXPECT_THAT(text,
                EndsWith(" COLOR MARKER EXCEED IMAGE RANGE....     0 x   105 >    -1 x 300 \n"));
}

TEST_F(ScreenNail, AWindowThatThePictureOrTheBufferCannotHoldIsRefused)
{
    cfg.scrCrOffset = INT_MAX;
    expect_refused("no marker can be searched in (20, 45) 60 x 60");
    cfg.scrCrOffset = -100000;
    expect_refused("no marker can be searched");
    test::configure_markers(cfg);
    rova_pim_buffers_free();
    expect_refused("no marker can be searched");
    gDbgPrintOnOff = 0;
    rova_pim_buffers_allocate(400, 240);
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    expect_refused("no marker can be searched"); // 3000 bytes of buffer
    EXPECT_TRUE(camera.logged("no room for 60 x 60 pixels in 3000 bytes"));
}

TEST_F(ScreenNail, AnyNumbersOfAConfigurationLeadToAnAnswer)
{
    std::mt19937 random(7);
    const int32_t wild[] = {INT_MIN, INT_MIN + 1, -65536, -1,          0,      1,
                            2,       399,         65535,  INT_MAX - 1, INT_MAX};
    const auto any = [&] { return wild[random() % std::size(wild)]; };
    for (int round = 0; round < 3000; round++) {
        test::configure_markers(cfg);
        rova_pim_chart_config &chart = cfg.chart[0];
        int32_t *const fields[] = {&cfg.scrSearchW,  &cfg.scrSearchH,    &cfg.arrayW,
                                   &cfg.arrayH,      &cfg.arrayCount,    &cfg.screenW,
                                   &cfg.screenH,     &cfg.imageW,        &cfg.imageH,
                                   &cfg.scrCrOffset, &chart.colorMin,    &chart.colorMax,
                                   &chart.cm[0].x,   &chart.cm[1].y,     &chart.cmDist.x,
                                   &chart.cmDist.y,  &chart.orgWin[0].x, &chart.orgWin[3].lx};
        for (int changes = 0; changes < 3; changes++)
            *fields[random() % std::size(fields)] = any();
        gDbgPrintOnOff = 0;
        EXPECT_THAT(rova_pim_search_screen_nail(picture.image, PIM_COLOUR_CR, 0, cfg),
                    testing::AnyOf(0, -1));
    }
}

TEST_F(ScreenNail, WithoutMemoryForSumsItIsRefused)
{
    picture.paint_markers();
    gDbgPrintOnOff = 0;
    test::wrap_fail("calloc", 0, ENOMEM);
    const int result = rova_pim_search_screen_nail(picture.image, PIM_COLOUR_CR, 0, cfg);
    test::wrap_clear();
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(camera.logged("no memory for boxes of 4 x 4 in 60 x 60"));
}

TEST_F(ScreenNail, MarkersWithoutConfiguredDistancePlaceNoWindows)
{
    picture.paint_markers();
    cfg.chart[0].cmDist.x = 0;
    EXPECT_EQ(search(), -1);
    EXPECT_TRUE(camera.logged("no windows: they would scale by 200 / 0, 150 / 600"));
    EXPECT_EQ(cfg.scrWin[0].w, 0);
}

TEST_F(ScreenNail, EverythingIsAsThePlainSearchHasIt)
{
    auto plain = std::make_unique<rova_pim_pm_config>();
    int found = 0;
    for (uint32_t seed = 0; seed < 300; seed++) {
        RandomSearch random(seed);
        random.configure(cfg);
        random.draw(picture);
        const int32_t colour = random.number(1, 2), chart = random.number(0, 2);
        *plain = cfg;
        int expected = 1;
        const std::string text_expected = test::captured_output([&] {
            expected = test::plain_search_screen_nail(picture.image, colour, chart, *plain);
        });
        const int result = search(colour, chart);
        ASSERT_EQ(result, expected) << seed;
        ASSERT_TRUE(text == text_expected) << seed;
        ASSERT_EQ(std::memcmp(plain.get(), &cfg, sizeof(cfg)), 0) << seed;
        found += result == 0;
    }
    EXPECT_GT(found, 20);
    EXPECT_LT(found, 280);
}

namespace
{

struct LiveView : test::Markers {
    test::MarkerPicture picture{CS420_Y_CbCr};
    std::string text;

    void search(int32_t colour = PIM_COLOUR_CR)
    {
        text =
            test::captured_output([&] { rova_pim_search_live_view(picture.image, colour, cfg); });
    }
    std::vector<int32_t> flags() const
    {
        return {std::begin(cfg.iCmFoundFlag), std::end(cfg.iCmFoundFlag)};
    }
};

} // namespace

// Boxes with more than 12 values in range lie in the patch; of the rows every fourth is visited.
TEST_F(LiveView, FourMarkersAreFoundAndTheWindowsPlaced)
{
    picture.paint_markers(25, 10);
    search();
    EXPECT_EQ(cfg.liveResult, 1);
    EXPECT_THAT(flags(), testing::ElementsAre(1, 1, 1, 1));
    EXPECT_EQ(cfg.cmCenter[0], (rova_pim_point{100, 72}));
    EXPECT_EQ(cfg.cmCenter[3], (rova_pim_point{300, 222}));
    EXPECT_EQ(cfg.scrWin[9].x0, 300 + 22);
    EXPECT_EQ(cfg.scrWin[9].y0, 222 - 18);
    EXPECT_EQ(cfg.scrWin[9].w, 21);
    EXPECT_EQ(cmWinW, 480);
    EXPECT_THAT(text, AllOf(HasSubstr(" CHART = WIDE \n COLOR = RED \n"),
                            HasSubstr(" L-COORD : (   25,   12 ) , (   35,   16 ) :  10 x 4 \n"
                                      " C-COORD : (  100,   72 ) \n\n"),
                            HasSubstr(" iCmFoundFlag[3] = 1 \n [ LIVE VIEW ] FOUND COLOR Marker : "
                                      "OK !!!! \n\n LT : ( 100,   72) \n"),
                            HasSubstr(" WIDE CHART \n RED COLOR \n [ 0 ] ( 200,   72) "),
                            HasSubstr("PIM_SUCC,")));
}

TEST_F(LiveView, AMissingMarkerIsToldByItsFlag)
{
    picture.paint_markers(25, 10);
    picture.paint(145, 22, 10, 20, GREY);
    picture.paint(145, 22, 20, 28, GREY);
    search();
    EXPECT_EQ(cfg.liveResult, 0);
    EXPECT_THAT(flags(), testing::ElementsAre(1, 1, 0, 1));
    EXPECT_THAT(text, AllOf(HasSubstr(" L-COORD : ( 9999, 9999 ) , (    0,    0 ) : "),
                            HasSubstr(" NOT FOUND COLOR Marker : NG !!!! \n"), HasSubstr("PIM_ERR"),
                            Not(HasSubstr("Historgram"))));
    picture.paint_markers(25, 10);
    search();
    EXPECT_EQ(cfg.liveResult, 1);
}

// As many as asked for are enough in the screen nail only.
TEST_F(LiveView, TheCountHasToBeExceeded)
{
    picture.paint_markers(25, 10);
    cfg.arrayCount = 15;
    search();
    EXPECT_EQ(cfg.liveResult, 1);
    cfg.arrayCount = 16;
    search();
    EXPECT_EQ(cfg.liveResult, 0);
    cfg.arrayCount = INT_MAX;
    search();
    EXPECT_EQ(cfg.liveResult, 0);
}

// Hits at the first position only end where they begin.
TEST_F(LiveView, AGreatestPositionOfZeroIsNone)
{
    cfg.arrayCount = 15;
    picture.paint_markers(25, 10);
    picture.paint(20, 22, 60, 30, GREY);
    picture.paint(20, 22, 4, 8);
    search();
    EXPECT_THAT(text, HasSubstr(" L-COORD : (    0,    0 ) , (    0,    8 ) :  0 x 8 \n"));
    EXPECT_THAT(flags(), testing::ElementsAre(0, 1, 1, 1));
}

TEST_F(LiveView, AllHitsOfAMarkerAreInOneBox)
{
    picture.paint_markers(25, 10);
    picture.paint(20 + 50, 22 + 2, 6, 6);
    search();
    EXPECT_EQ(cfg.liveResult, 1);
    EXPECT_THAT(text, HasSubstr(" L-COORD : (   25,    "));
    EXPECT_GT(cfg.cmCenter[0].x, 100);
}

TEST_F(LiveView, TheColourChoosesTheChart)
{
    search(PIM_COLOUR_CB);
    EXPECT_THAT(text, HasSubstr(" CHART = TELE \n COLOR = BLUE \n"));
    search(7);
    EXPECT_THAT(text, HasSubstr(" CHART = MID \n COLOR = RED \n"));
    picture.paint_markers(25, 10);
    for (int chart : {0, 1})
        std::ranges::fill(cfg.chart[chart].cm, rova_pim_point{0, 0});
    cfg.chart[2].orgWin[9].lx = 160;
    search(7);
    EXPECT_EQ(cfg.liveResult, 1);
    EXPECT_EQ(cfg.scrWin[9].w, 41);
}

TEST_F(LiveView, TheDebugFileIsOpenForTheSearch)
{
    gDbgPrintOnOff = PIM_DEBUG_BUFFERED;
    cfg.dbgPrint = 1;
    std::strcpy(cfg.debugFile, "/mnt/mmc/debug.txt");
    camera.write("/mnt/mmc/debug.txt", "before\n");
    search();
    EXPECT_EQ(text, "");
    EXPECT_EQ(gDbgFpState, 0);
    EXPECT_THAT(camera.read("/mnt/mmc/debug.txt"),
                AllOf(StartsWith("before\n <<<<< LIVE VIEW START"), HasSubstr("PIM_ERR"),
                      EndsWith("LIVE VIEW END .... >>>>> \n")));
    std::strcpy(cfg.debugFile, "/mnt/mmc/no/such/folder");
    search();
    EXPECT_TRUE(camera.logged("Can Not Open Debug File : /mnt/mmc/no/such/folder"));
}

TEST_F(LiveView, WhatCannotBeSearchedIsNotFound)
{
    picture.paint_markers(25, 10);
    search();
    ASSERT_EQ(cfg.liveResult, 1);
    picture.image.iCS = 22;
    search();
    EXPECT_EQ(cfg.liveResult, 0);
    EXPECT_THAT(flags(), testing::ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(text, HasSubstr(" NOT FOUND COLOR Marker : NG !!!! \n\n"));
    picture.image.iCS = CS420_Y_CbCr;
    cfg.liveLcdW = 0;
    search();
    EXPECT_TRUE(camera.logged("no search for markers: 0 x 300 of 1600 x 1200"));
    EXPECT_THAT(text, HasSubstr("PIM_ERR"));
    test::configure_markers(cfg);
    cfg.liveLcdCrOffset = INT_MAX;
    search();
    EXPECT_THAT(flags(), testing::ElementsAre(0, 0, 0, 0));
    test::configure_markers(cfg);
    picture.image.width = -2;
    search();
    EXPECT_THAT(
        text, HasSubstr(" COLOR MARKER EXCEED IMAGE RANGE [0]....     0 x    52 >    -1 x 150 \n"));
    EXPECT_THAT(flags(), testing::ElementsAre(0, 0, 0, 0));
}

TEST_F(LiveView, EverythingIsAsThePlainSearchHasIt)
{
    auto plain = std::make_unique<rova_pim_pm_config>();
    int found = 0;
    for (uint32_t seed = 1000; seed < 1300; seed++) {
        RandomSearch random(seed);
        random.configure(cfg);
        random.draw(picture);
        *plain = cfg;
        const std::string expected =
            test::captured_output([&] { test::plain_search_live_view(picture.image, *plain); });
        search();
        ASSERT_TRUE(text == expected) << seed;
        ASSERT_EQ(std::memcmp(plain.get(), &cfg, sizeof(cfg)), 0) << seed;
        found += cfg.liveResult;
    }
    EXPECT_GT(found, 20);
    EXPECT_LT(found, 280);
}
