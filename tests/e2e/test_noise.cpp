// The noise station: grey charts are drawn with a known fault, the real daemon and application
// judge them, and what a person at the station sees must agree with what was drawn.
#include "tests/e2e/inspection_station.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using e2e::InspectionStation;

namespace
{

using Texts = std::vector<std::string>;

const std::string SCRIPT = std::string(EXAMPLES) + "/noise.adj";
constexpr char DISPLAY[] = "noise display_result on noise.csv";
constexpr char ONE_STILL[] = "noise set pimode\n"
                             "noise read_config\n"
                             "capture still\n"
                             "noise display_result on noise.csv\n";
constexpr int WIDTH = 1368, HEIGHT = 912;
constexpr int COLUMNS = 32; // of lines in a row

// Columns of a row.
enum { TOTAL = 1, ISO, DOT, DOT_Y, COLOR = 10, RED, GREEN, BLUE, RED_GREEN, LINE = 16, LINES };

class NoiseStation : public InspectionStation
{
public:
    // The example's, for small charts.
    NoiseStation() : InspectionStation("noise"), config(e2e::example_config("noise"))
    {
        config.line(11, std::to_string(WIDTH) + " " + std::to_string(HEIGHT));
        for (const int chroma : {16, 17})
            config.line(chroma, std::to_string(e2e::picture_pitch(WIDTH) * HEIGHT));
        config.line(18, "12 8");
        config.line(19, "112 112");
    }

    e2e::ConfigFile config;

    void write_config() const override { InspectionStation::write_config(config); }

    nlohmann::json draw(const Texts &options) const
    {
        Texts words{"--size", std::to_string(WIDTH) + "x" + std::to_string(HEIGHT), "--noise", "2"};
        words.insert(words.end(), options.begin(), options.end());
        return draw_scene(words);
    }

    // The values of the still, once the titles were seen.
    Texts row() const
    {
        Texts cells = only_row("File, Total ,    , Dot Noise,", "Name, Resutl, ISO, Result   ,");
        EXPECT_EQ(cells.size(), static_cast<std::size_t>(LINES + COLUMNS));
        return cells;
    }

    // Runs a still that fails.
    void run_ng(const std::string &name) const { expect_ng(run_lines(ONE_STILL), DISPLAY, name); }
    void run_ok() const { expect_ok(run_lines(ONE_STILL)); }
};

// The walk along the columns never reads column 1, and tells each one behind it by the number
// before its own.
constexpr int told_as(int column)
{
    return column - 1;
}

// On a panel 720 pixels wide, of a picture 5472 pixels wide.
std::string line_at(int column)
{
    return std::to_string(column * 5 / 38 - 2) + ", 0, 4, 480, red";
}

void expect_values(const Texts &row, int first, int end, bool there)
{
    for (int i = first; i < end; i++)
        EXPECT_EQ(row[i] != "-", there) << i;
}

} // namespace

TEST(Noise, ACleanChartPassesInTheExampleScript)
{
    NoiseStation station;
    station.draw({});
    station.expect_ok(station.run(SCRIPT));
    const Texts row = station.row();
    for (const int verdict : {TOTAL, DOT, COLOR, LINE})
        EXPECT_EQ(row[verdict], "OK") << verdict;
    EXPECT_EQ(row[ISO], "ISO 100");
    EXPECT_NEAR(std::stod(row[DOT_Y]), 128, 0.5);
    EXPECT_NEAR(std::stod(row[RED_GREEN]), 0, 1);
    EXPECT_FALSE(station.exists("/sdcard/noise_result.txt")) << "kept for the CSV file";
}

TEST(Noise, ADotIsNamedAndEndsTheTest)
{
    NoiseStation station;
    station.draw({"--dot", "700,360,60,-100", "--column", "300,-20"});
    station.run_ng("dot");
    EXPECT_TRUE(station.drawn(30).empty()) << "a dot is not drawn";
    const Texts row = station.row();
    EXPECT_EQ(row[TOTAL], "NG");
    EXPECT_EQ(row[DOT], "NG");
    EXPECT_NEAR(std::stod(row[DOT_Y]), 128 - 100 * 60.0 * 60 / 112 / 112, 1);
    EXPECT_EQ(row[COLOR], "-");
    EXPECT_EQ(row[LINE], "-");
    expect_values(row, DOT_Y, COLOR, true);
    expect_values(row, RED, LINE, false);
}

TEST(Noise, AColourIsNamedAndEndsTheTest)
{
    NoiseStation station;
    station.draw({"--cast", "800,500,110,110,30,0,0", "--column", "300,-20"});
    station.run_ng("color");
    const Texts row = station.row();
    EXPECT_EQ(row[DOT], "OK");
    EXPECT_EQ(row[COLOR], "NG");
    EXPECT_GT(std::stod(row[RED_GREEN]), 15);
    EXPECT_GT(std::stod(row[RED]), std::stod(row[BLUE]) + 15);
    EXPECT_EQ(row[LINE], "-");
}

TEST(Noise, ALineIsNamedAndDrawnAtItsPlace)
{
    NoiseStation station;
    station.draw({"--column", "1000,-20"});
    station.run_ng("line");
    EXPECT_EQ(station.drawn(30), (Texts(2, line_at(told_as(1000))))) << "its two edges";
    EXPECT_EQ(station.pixels(255, 0, 0, {129, 0, 4, 100}), 400) << "above the mark";
    EXPECT_EQ(station.pixels(255, 0, 0, {0, 0, 800, 100}), 400) << "nothing beside it";
    const Texts row = station.row();
    EXPECT_EQ(row[COLOR], "OK");
    EXPECT_EQ(row[LINE], "NG");
    EXPECT_EQ(row[LINES], "999");
    EXPECT_EQ(row[LINES + 1], "999");
    EXPECT_EQ(row[LINES + 2], "");
}

TEST(Noise, LinesAreToldInTheirOrder)
{
    NoiseStation station;
    station.draw({"--column", "1200,20", "--column", "400,-15", "--dot", "800,300,1,-100"});
    station.run_ng("line");
    // The edges of a bright column are told by the darker columns beside it.
    EXPECT_EQ(station.drawn(30),
              (Texts{line_at(told_as(400)), line_at(told_as(400)), line_at(told_as(800)),
                     line_at(told_as(1199)), line_at(told_as(1201))}));
}

TEST(Noise, MoreLinesThanThereIsRoomForAreDrawnInPart)
{
    NoiseStation station;
    Texts options;
    for (int i = 1; i <= 20; i++) {
        options.emplace_back("--column");
        options.push_back(std::to_string(60 * i) + ",-20");
    }
    station.draw(options);
    station.config.line(23, "0"); // so many columns make blocks darker
    station.run_ng("line");
    EXPECT_EQ(station.drawn(30).size(), 18U);
    const Texts row = station.row();
    EXPECT_EQ(row[LINES + COLUMNS - 1], "959") << "the last of 32";
    EXPECT_EQ(row[DOT], "-") << "is off";
}

// The still brings its ISO along, and with it the limits: 2 and 4 levels between columns.
TEST(Noise, TheIsoOfTheStillChoosesTheLimits)
{
    NoiseStation station;
    station.draw({"--column", "1000,-3"});
    station.run_ng("line");
    EXPECT_EQ(station.row()[ISO], "ISO 100");

    NoiseStation other;
    other.draw({"--column", "1000,-3"});
    other.write("/virtual/scene/scene.png.txt", "iso 1600\n");
    other.run_ok();
    EXPECT_EQ(other.row()[ISO], "ISO 1600");
}

TEST(Noise, WithAllChecksOffThereIsNoVerdict)
{
    NoiseStation station;
    station.draw({});
    for (const int check : {23, 27, 35})
        station.config.line(check, "0");
    station.run_ng("-99");
    const Texts row = station.row();
    for (const int verdict : {TOTAL, DOT, COLOR, LINE})
        EXPECT_EQ(row[verdict], "-") << verdict;
}

TEST(Noise, WithoutAStillThereIsNoVerdict)
{
    NoiseStation station;
    const test::Outcome run = station.run_lines(
        "noise set pimode\nnoise read_config\nnoise display_result on noise.csv\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(station.drawn(2), Texts{"Capture was not conducted!"});
    EXPECT_FALSE(station.exists("/sdcard/noise.csv"));
}

TEST(Noise, ThePcIsAnsweredAndTheScreenShowsTheLinesUntilItIsCleared)
{
    NoiseStation station;
    station.draw({"--column", "1000,-20"});
    station.write_config();
    station.start();
    for (const char *line :
         {"noise set pimode", "noise read_config", "noise change_iso 1600", "capture still"})
        EXPECT_EQ(station.pc(line), e2e::PC_OK) << line;
    const std::string told = station.pc(DISPLAY);
    EXPECT_EQ(told.substr(0, 10), "0x10000002") << told;
    EXPECT_NE(told.find(" NG\n"), std::string::npos) << told;
    EXPECT_NE(told.find(",ISO 100,"), std::string::npos) << "of the still: " << told;
    const std::string line = "drawing 30: " + line_at(told_as(1000));
    EXPECT_EQ(station.drawings(), (Texts{line, line, "drawing 20: line"}));
    EXPECT_EQ(station.pc("noise display_result off"), e2e::PC_OK);
    EXPECT_TRUE(station.drawings().empty());
    station.stop();
}

// The example is for the chart as vcam draws it when it is told nothing.
TEST(Noise, TheExampleConfigurationFitsTheUsualChart)
{
    NoiseStation station;
    station.config = e2e::ConfigFile(e2e::example_config("noise"));
    // The wait for the still is of camera time; a picture of this size may take a slow PC seconds.
    station.write("/virtual/speed", "1");
    station.draw_scene({"--noise", "2"});
    station.run_ok();

    NoiseStation other;
    other.config = station.config;
    other.write("/virtual/speed", "1");
    other.draw_scene({"--noise", "2", "--column", "4000,-10"});
    other.run_ng("line");
    EXPECT_EQ(other.drawn(30), (Texts(2, line_at(told_as(4000)))));
}
