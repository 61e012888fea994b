// The dust station: white charts are drawn with a known fault, the real daemon and application
// judge them, and what a person at the station sees must agree with what was drawn.
#include "tests/e2e/inspection_station.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using e2e::InspectionStation;

namespace
{

using Texts = std::vector<std::string>;

const std::string SCRIPT = std::string(EXAMPLES) + "/dust.adj";
constexpr char DISPLAY[] = "dust display_result on dust.csv";
constexpr char ONE_STILL[] = "dust set pimode\n"
                             "dust read_config\n"
                             "capture still\n"
                             "dust display_result on dust.csv\n";
constexpr int WIDTH = 1344, HEIGHT = 896, BLOCK = 16; // each quarter of whole blocks
constexpr int LCD_WIDTH = 720, LCD_HEIGHT = 480;
constexpr int MARGIN = 2; // of a frame

// Columns of a row.
enum { TOTAL = 1, STEP, STEP_FROM, STEP_TO, QUARTERS = 8, EXPOSURE = 12, LUMA, COLOUR, DUST = 26 };

class DustStation : public InspectionStation
{
public:
    // The example's, for small charts.
    DustStation() : InspectionStation("dust"), config(e2e::example_config("dust"))
    {
        config.line(18, std::to_string(WIDTH) + " " + std::to_string(HEIGHT));
        config.line(21, std::to_string(LCD_WIDTH) + " " + std::to_string(LCD_HEIGHT));
        for (const int chroma : {23, 24})
            config.line(chroma, std::to_string(e2e::picture_pitch(WIDTH) * HEIGHT));
        config.line(45, "48 400 300 100");
        config.line(46, "472 400 300 100");
        config.line(47, "896 400 300 100");
    }

    e2e::ConfigFile config;

    void write_config() const override { InspectionStation::write_config(config); }

    nlohmann::json draw(const Texts &options) const
    {
        Texts words{"--size",     std::to_string(WIDTH) + "x" + std::to_string(HEIGHT),
                    "--noise",    "1",
                    "--vignette", "3"};
        words.insert(words.end(), options.begin(), options.end());
        return draw_scene(words);
    }

    // The values of the still, once the titles were seen.
    Texts row() const
    {
        Texts cells = only_row("File, Total , SanGaRim,   ", "Name, Result, Result");
        EXPECT_GT(cells.size(), static_cast<std::size_t>(DUST));
        return cells;
    }

    // Runs a still that fails.
    void run_ng(const std::string &name) const
    {
        expect_ng(run_lines(ONE_STILL), DISPLAY, name);
        EXPECT_EQ(row()[TOTAL], "NG");
    }
    void run_ok() const
    {
        expect_ok(run_lines(ONE_STILL));
        EXPECT_EQ(row()[TOTAL], "OK");
    }
};

// Corners of a frame that was drawn, in pixels of the picture.
std::array<double, 4> corners(const std::string &text, int width = WIDTH, int height = HEIGHT)
{
    int at[4] = {};
    char colour[8] = "";
    EXPECT_EQ(
        std::sscanf(text.c_str(), "%d, %d, %d, %d, %7s", &at[0], &at[1], &at[2], &at[3], colour), 5)
        << text;
    EXPECT_STREQ(colour, "red");
    const double x = double(width) / LCD_WIDTH, y = double(height) / LCD_HEIGHT;
    return {(at[0] + MARGIN) * x, (at[1] + MARGIN) * y, (at[2] - MARGIN) * x, (at[3] - MARGIN) * y};
}

// The frame holds the spot's middle, and is no more than a block larger than the spot; on the right
// side two, since a dust ends a block behind its last mark.
void expect_frame(const std::array<double, 4> &frame, const nlohmann::json &spot)
{
    const int x = spot["x"], y = spot["y"], reach = spot["size"].get<int>() / 2 + BLOCK;
    EXPECT_LE(frame[0], x);
    EXPECT_LE(frame[1], y);
    EXPECT_GE(frame[2], x);
    EXPECT_GE(frame[3], y);
    EXPECT_GE(frame[0], x - reach);
    EXPECT_GE(frame[1], y - reach);
    EXPECT_LE(frame[2], x + reach + BLOCK);
    EXPECT_LE(frame[3], y + reach);
}

} // namespace

TEST(Dust, ACleanChartPassesInTheExampleScript)
{
    DustStation station;
    station.draw({});
    station.expect_ok(station.run(SCRIPT));
    const Texts row = station.row();
    for (const int verdict : {TOTAL, STEP, QUARTERS, EXPOSURE, COLOUR, DUST})
        EXPECT_EQ(row[verdict], "OK") << verdict;
    EXPECT_NEAR(std::stod(row[LUMA]), 220, 5);
    EXPECT_FALSE(station.exists("/sdcard/dust_result.txt")) << "kept for the CSV file";
}

TEST(Dust, AStepInTheBorderIsNamedWithItsPlace)
{
    DustStation station;
    station.draw({"--step", "0,400,32,160,-60"});
    station.run_ng("Corner");
    // The block at (16, 400) is the last dark one on the way inwards.
    EXPECT_EQ(station.drawn(50), Texts{"6, 212, 14, 220, red"});
    EXPECT_EQ(station.pixels(255, 0, 0, {0, 200, 30, 30}), 9 * 9 - 3 * 3) << "a frame there";
    EXPECT_EQ(station.pixels(255, 0, 0, {6, 212, 9, 9}), 9 * 9 - 3 * 3);
    const Texts row = station.row();
    EXPECT_EQ(row[STEP], "NG");
    EXPECT_EQ(row[STEP_FROM], "(16, 400)");
    EXPECT_EQ(row[STEP_TO], "(31, 415)");
    for (const int verdict : {QUARTERS, EXPOSURE, COLOUR, DUST})
        EXPECT_EQ(row[verdict], "-") << verdict;
}

TEST(Dust, ADarkQuarterIsNamed)
{
    DustStation station;
    station.draw({"--step", "672,0,672,448,-20"});
    station.run_ng("4xShading");
    const Texts row = station.row();
    EXPECT_EQ(row[STEP], "OK");
    EXPECT_EQ(row[QUARTERS], "NG");
    EXPECT_NEAR(std::stod(row[QUARTERS + 3]), 20, 1.5);
    EXPECT_EQ(row[EXPOSURE], "-");
}

TEST(Dust, AChartThatIsTooDarkIsNamed)
{
    DustStation station;
    station.draw({"--level", "190"});
    station.run_ng("Exposure");
    const Texts row = station.row();
    EXPECT_EQ(row[QUARTERS], "OK");
    EXPECT_EQ(row[EXPOSURE], "NG");
    EXPECT_NEAR(std::stod(row[LUMA]), 188, 2);
    EXPECT_EQ(row[DUST], "-");
}

TEST(Dust, SpotsAreNamedAndFramedAtTheirPlaces)
{
    DustStation station;
    const nlohmann::json chart =
        station.draw({"--spot", "300,200,60,60", "--spot", "1000,700,80,50"});
    station.run_ng("Dust");
    const Texts frames = station.drawn(50);
    ASSERT_EQ(frames.size(), 2U);
    for (std::size_t i = 0; i < frames.size(); i++)
        expect_frame(corners(frames[i]), chart["spots"][i]);
    EXPECT_GT(station.pixels(255, 0, 0, {500, 340, 80, 80}), 100) << "around the second one";
    EXPECT_EQ(station.pixels(255, 0, 0, {580, 0, 140, 480}), 0) << "and no larger";
    const Texts row = station.row();
    EXPECT_EQ(row[DUST], "NG");
    EXPECT_EQ(row[COLOUR], "OK") << "is looked at all the same";
}

TEST(Dust, ATintOfOneSideIsNamed)
{
    DustStation station;
    station.draw({"--cast", "48,300,400,100,20,-10,0"});
    station.run_ng("Color Shade");
    const Texts row = station.row();
    EXPECT_EQ(row[COLOUR], "NG");
    EXPECT_EQ(row[DUST], "OK");
}

TEST(Dust, OnePassOfAllChecksFindsTheSame)
{
    const struct {
        Texts options;
        const char *name;
    } rows[] = {{{"--step", "0,400,32,160,-60"}, "Corner"},
                {{"--step", "672,0,672,448,-20"}, "4xShading"},
                {{"--level", "190"}, "Exposure"},
                {{"--spot", "300,200,60,60"}, "Dust"}};
    for (const auto &row : rows) {
        DustStation station;
        station.config.line(17, "0 1 0 0 0 0 0 0");
        station.config.line(44, "0");
        station.draw(row.options);
        station.run_ng(row.name);
    }
    DustStation station;
    station.config.line(17, "0 1 0 0 0 0 0 0");
    station.config.line(44, "0");
    station.draw({});
    station.run_ok();
}

// It never looks at the colours, so their check counts as one that did not pass.
TEST(Dust, OnePassOfAllChecksNeverPassesWithColourShadingOn)
{
    DustStation station;
    station.config.line(17, "0 1 0 0 0 0 0 0");
    station.draw({});
    station.run_ng("-99");
    EXPECT_EQ(station.row()[COLOUR], "-");
    EXPECT_EQ(station.row()[DUST], "OK");
}

TEST(Dust, MarksAreLeftAsABitmap)
{
    DustStation station;
    station.config.line(14, "1");
    station.draw({"--spot", "300,200,60,60"});
    station.run_ng("Dust");
    const std::string bitmap = station.read("/sdcard/dust_0001.bmp");
    ASSERT_EQ(bitmap.size(), 1078U + WIDTH * HEIGHT);
    const auto mark = [&](std::size_t x, std::size_t y) {
        return static_cast<unsigned char>(bitmap[1078 + WIDTH * (HEIGHT - 1 - y) + x]);
    };
    EXPECT_EQ(mark(300, 200), 0) << "the dust";
    EXPECT_EQ(mark(700, 600), 255);
}

TEST(Dust, ThePcIsAnsweredAndTheScreenShowsTheFramesUntilItIsCleared)
{
    DustStation station;
    const nlohmann::json chart = station.draw({"--spot", "300,200,60,60"});
    station.write_config();
    station.start();
    for (const char *line : {"dust set pimode", "dust read_config", "capture still"})
        EXPECT_EQ(station.pc(line), e2e::PC_OK) << line;
    const std::string told = station.pc(DISPLAY);
    EXPECT_NE(told.find(" NG\n"), std::string::npos) << told;
    const Texts shown = station.drawings();
    ASSERT_EQ(shown.size(), 2U);
    expect_frame(corners(shown[0].substr(std::string("drawing 50: ").size())), chart["spots"][0]);
    EXPECT_EQ(shown[1], "drawing 20: Dust");
    EXPECT_EQ(station.pc("dust display_result off"), e2e::PC_OK);
    EXPECT_TRUE(station.drawings().empty());
    station.stop();
}

// The example is for the chart as vcam draws it when it is told nothing.
TEST(Dust, TheExampleConfigurationFitsTheUsualChart)
{
    DustStation station;
    station.config = e2e::ConfigFile(e2e::example_config("dust"));
    // The wait for the still is of camera time; a picture of this size may take a slow PC seconds.
    station.write("/virtual/speed", "1");
    station.draw_scene({"--noise", "1", "--vignette", "3"});
    station.run_ok();

    DustStation other;
    other.config = station.config;
    other.write("/virtual/speed", "1");
    const nlohmann::json chart =
        other.draw_scene({"--noise", "1", "--vignette", "3", "--spot", "4000,1000,80,40"});
    other.run_ng("Dust");
    ASSERT_EQ(other.drawn(50).size(), 1U);
    expect_frame(corners(other.drawn(50)[0], 5472, 3648), chart["spots"][0]);
}
