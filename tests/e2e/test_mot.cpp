// The resolution station: charts are drawn with known blur, the real daemon and application judge
// them, and what a person at the station sees must agree with what was drawn.
#include "tests/e2e/mot_station.h"
#include "tests/support/text.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numbers>

using e2e::MotLevel;
using e2e::MotStation;
using e2e::MotTable;
using e2e::says;

namespace
{

constexpr int LEVELS = 5;
constexpr int WIDE = 0, TELE = 1, MID = 2;
constexpr int FLOOR = 350;
constexpr int PASS = 500; // TV lines that two passes of blur leave, and three do not
const std::string MOT_SCRIPT = std::string(EXAMPLES) + "/mot.adj";

// Sharpest at this level; a pass of blur more for each level away from it.
constexpr int SHARPEST[] = {0, 1, -1};

int blur_of(int chart, int level)
{
    return 1 + std::abs(level - SHARPEST[chart]);
}

// What is left, in levels, of the lines of a wedge where N TV lines fit the picture's height: lines
// with 200 levels between dark and bright have a wave with 4 / pi of that, a pixel takes the mean
// over its width, and a pass of blur leaves cos(pi f)^2 of a wave with f periods a pixel.  `missed`
// is 1 where the pixels lie between the wave's tops, which takes another cos(pi f) away.
double contrast(double tv_lines, int height, int blur, int missed)
{
    const double turn = std::numbers::pi * tv_lines / height / 2;
    return 200 * 4 / std::numbers::pi * std::sin(turn) / turn *
           std::pow(std::cos(turn), 2 * blur + missed);
}

// The TV lines at which no more than the configured 20 levels are left.
int resolved(int height, int blur, int missed)
{
    int tv_lines = 1;
    while (contrast(tv_lines, height, blur, missed) > 20)
        tv_lines++;
    return tv_lines;
}

// A line counts as resolved as long as nearly all of its dark lines are deep enough: the pixels lie
// well for some of them and badly for others, so the value lies between the two.  The ends of a
// wedge are found to about three pixels, and each is (high - low) / length TV lines.
void expect_resolved(int value, const nlohmann::json &chart)
{
    const int height = chart["height"], blur = chart["blur"];
    const int low = chart["tv_lines"][0], high = chart["tv_lines"][1];
    const int ends = 3 * (high - low) / chart["wedges"][0]["width"].get<int>();
    EXPECT_GE(value, resolved(height, blur, 1) - ends) << "blur " << blur;
    EXPECT_LE(value, resolved(height, blur, 0) + ends) << "blur " << blur;
}

MotStation &draw_all(MotStation &station, std::vector<nlohmann::json> &charts)
{
    for (int chart = 0; chart < 3; chart++)
        for (int level = -2; level <= 2; level++)
            charts.push_back(station.draw(blur_of(chart, level)));
    fit(station.config, charts[0], PASS);
    return station;
}

void expect_level(const MotLevel &found, int chart, int level, const nlohmann::json &drawn)
{
    SCOPED_TRACE(testing::Message() << "chart " << chart << ", level " << level);
    EXPECT_EQ(found.level, level);
    EXPECT_EQ(found.af_step, 100 + 5 * chart + level + 3) << "of the still's own file";
    for (const int value : found.values)
        expect_resolved(value, drawn);
    EXPECT_EQ(found.brightness, drawn["level"]);
    EXPECT_EQ(found.result, blur_of(chart, level) <= 2 ? "OK" : "NG");
    EXPECT_EQ(found.best, level == SHARPEST[chart] ? std::to_string(level) : "");
}

// One still of the wide chart, at level 0.
constexpr char ONE_STILL[] = "mot set pimode\n"
                             "mot read_config\n"
                             "mot set_range wide 0 0 5 1\n"
                             "mot set_range tele 0 0 0 0\n"
                             "mot set_range mid 0 0 0 0\n"
                             "mot set_chart wide\n"
                             "capture still\n"
                             "mot display_result on mot.csv\n";

using Texts = std::vector<std::string>;

// The lines of a group are left out of the file.
void leave_out(e2e::MotConfig &config, int chart)
{
    constexpr int GROUP_LINES = 27;
    for (int number = 1; number <= GROUP_LINES; number++)
        config.group_line(chart, number, "");
}

// A row of QA or tilt mode.
struct ShotRow {
    Texts exif;
    std::vector<int> values;
    std::string brightness;
    std::string result;
};

ShotRow read_shot(const std::string &line)
{
    const Texts cells = e2e::result_cells(line);
    ShotRow row;
    row.exif.assign(cells.begin(), cells.begin() + 5);
    for (std::size_t i = 5; i < 15; i++)
        row.values.push_back(std::stoi(cells.at(i)));
    row.brightness = cells.at(15);
    row.result = cells.at(16);
    return row;
}

constexpr char SHOT_TITLE[] = " FILE    , F.Num, SHTTR , ISO, 35mm F.Len , CN_H , CN_V , LT_H , "
                              "LT_V , LB_H , LB_V , RT_H , RT_V , RB_H , RB_V , Y-VAL, RESULT ";

// What follows the configuration where each still has a row of its own.
std::string shots(int count)
{
    std::string lines = "mot set pimode\nmot read_config\nmot set_chart wide\n";
    for (int i = 0; i < count; i++)
        lines += "capture still\n";
    return lines + "mot display_result on mot.csv\n";
}

} // namespace

TEST(Mot, ThreeChartsOfFiveLevelsAreJudgedAsTheyWereDrawn)
{
    MotStation station;
    std::vector<nlohmann::json> charts;
    draw_all(station, charts);
    const test::Outcome run = station.run(MOT_SCRIPT);
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_NE(run.out.find("mot.csv"), std::string::npos);

    const MotTable table = station.csv();
    ASSERT_EQ(table.verdicts, (Texts(LEVELS, "OK")));
    for (const int chart : {WIDE, TELE, MID})
        for (int k = 0; k < LEVELS; k++)
            expect_level(table.charts[chart][k], chart, k - 2, charts[5 * chart + k]);
    const Texts lines = test::lines_of(station.read("/sdcard/mot.csv"));
    EXPECT_EQ(e2e::result_cells(lines[0]).at(2), "TIME");
    for (std::size_t i = 1; i < lines.size(); i++)
        EXPECT_EQ(e2e::result_cells(lines[i]).at(2), "00:00:00") << "below its title";
    EXPECT_EQ(station.drawn(40), Texts{"0,1,-1,OK,OK,OK"});
    EXPECT_GT(station.pixels(0, 255, 0), 500) << "OK in green";
    EXPECT_EQ(station.pixels(255, 0, 0), 0) << "no NG in red";
    EXPECT_FALSE(station.exists("/sdcard/mot_result.txt")) << "kept for the CSV file";
}

TEST(Mot, TheResultFileHoldsTheTableAndTheCsvNone)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    station.config.line(4, "0");
    const test::Outcome run = station.run_lines(ONE_STILL);
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    const MotTable table = e2e::read_mot_table(station.read("/sdcard/mot_result.txt"));
    EXPECT_EQ(table.titles, (Texts{"TIME", "WIDE", "AF LOG", "TELE", "AF LOG", "MID", "AF LOG",
                                   "Defect_Result", "TOTAL"}));
    ASSERT_EQ(table.charts[WIDE].size(), 5U);
    EXPECT_EQ(table.charts[WIDE][2].best, "0");
    EXPECT_EQ(table.charts[TELE][2].result, "-") << "takes no picture";
    EXPECT_EQ(table.verdicts, Texts(LEVELS, "OK"));
    EXPECT_EQ(station.read("/sdcard/mot.csv"), "Index,CIS S/N,\r\n1,0,\r\n");
    EXPECT_EQ(station.drawn(40), (Texts{"0,-,-,OK,-,-"}));
}

TEST(Mot, LevelsThatAreAllTooBlurredHaveNoBest)
{
    MotStation station;
    fit(station.config, station.draw(4), PASS);
    EXPECT_EQ(station.run_lines(ONE_STILL).status, 0) << "there is a verdict";
    const MotTable table = station.csv();
    EXPECT_EQ(table.charts[WIDE].at(2).result, "NG");
    EXPECT_EQ(table.charts[WIDE].at(2).best, "");
    EXPECT_EQ(table.verdicts, Texts(LEVELS, "NG"));
    EXPECT_EQ(station.drawn(40), Texts{"-,-,-,NG,-,-"});
}

TEST(Mot, AChartWithoutMarkersHasTheFloorEverywhereAndNg)
{
    MotStation station;
    fit(station.config, station.draw(1, {"--marker", "220,220,220"}), PASS);
    EXPECT_EQ(station.run_lines(ONE_STILL).status, 0) << "there is a verdict";
    EXPECT_TRUE(station.tells("Can Not Found Color Marker in Screen Nail....!!!"));
    const MotTable table = station.csv();
    const MotLevel &level = table.charts[WIDE].at(2);
    for (const int value : level.values)
        EXPECT_EQ(value, FLOOR);
    EXPECT_EQ(level.brightness, 220) << "is measured all the same";
    EXPECT_EQ(level.result, "NG");
    EXPECT_EQ(table.verdicts, Texts(LEVELS, "NG"));
    EXPECT_EQ(station.drawn(40), Texts{"-,-,-,NG,-,-"});
    EXPECT_GT(station.pixels(255, 0, 0), 100) << "NG in red";
    EXPECT_EQ(station.pixels(0, 255, 0), 0) << "no OK in green";
}

TEST(Mot, TheConfigurationOfAnotherModelIsRefusedAndTheScriptEnds)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    station.config.line(1, "LUMEN2");
    const test::Outcome run = station.run_lines(ONE_STILL);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(says(run, "OK", "mot set pimode")) << run.out;
    EXPECT_TRUE(says(run, "NG", "mot read_config")) << run.out;
    EXPECT_TRUE(station.tells("MODEL NUMBER IS WRONG.....!!!!  LUMEN1 : LUMEN2"));
    EXPECT_FALSE(station.exists("/virtual/app/still_number")) << "no still was taken";
    EXPECT_FALSE(station.exists("/sdcard/mot.csv"));
}

TEST(Mot, ThePcIsAnsweredAndTheScreenShowsTheTableUntilItIsCleared)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    station.write_config();
    station.start();
    EXPECT_EQ(station.pc("mot set pimode"), e2e::PC_OK);
    EXPECT_EQ(station.pc("mot set_chart wide"), e2e::PC_NG) << "without a configuration";
    const std::vector<std::string> lines = test::lines_of(ONE_STILL);
    for (std::size_t i = 1; i + 1 < lines.size(); i++)
        EXPECT_EQ(station.pc(lines[i]), e2e::PC_OK) << lines[i];
    const std::string told = station.pc(lines.back());
    EXPECT_EQ(told, "0x10000002 0x00000000 0x00010000 OK\n/sdcard/mot.csv\n" +
                        station.read("/sdcard/mot.csv"));
    EXPECT_EQ(e2e::read_mot_table(told).charts[WIDE].at(2).best, "0");
    EXPECT_EQ(station.drawings(), Texts{"drawing 40: 0,-,-,OK,-,-"});
    EXPECT_EQ(station.pc("mot display_result off mot.csv"), e2e::PC_OK);
    EXPECT_TRUE(station.drawings().empty());
    station.stop();
}

TEST(Mot, TooFewStillsGiveNoVerdict)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    std::string lines = ONE_STILL;
    lines.replace(lines.find("0 0 5 1"), 7, "0 1 5 2");
    const test::Outcome run = station.run_lines(lines);
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(says(run, "NG", "mot display_result on mot.csv")) << run.out;
    EXPECT_EQ(station.drawn(20), Texts{"Picture Count Wrong!!!"});
    EXPECT_TRUE(station.drawn(40).empty());
}

TEST(Mot, AStillTooManyIsLeftOutAndToldInTheLog)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    std::string lines = ONE_STILL;
    lines.replace(lines.find("capture still"), 13, "capture still\ncapture still");
    EXPECT_EQ(station.run_lines(lines).status, 0);
    EXPECT_TRUE(station.tells("EXCESS the Number of Picture [ WIDE : 1 / 1 ]"));
    EXPECT_EQ(station.drawn(40), Texts{"0,-,-,OK,-,-"});
}

TEST(Mot, AStillOfAnotherSizeThanConfiguredGivesNoValueAndNoCrash)
{
    MotStation station;
    const nlohmann::json chart = station.draw(1);
    fit(station.config, chart, PASS);
    station.config.line(28, "5472 3648");
    EXPECT_EQ(station.run_lines(ONE_STILL).status, 0) << "there is a verdict";
    EXPECT_EQ(station.csv().verdicts, Texts(LEVELS, "NG"));
    EXPECT_EQ(station.csv().charts[WIDE].at(2).values[0], FLOOR);
}

class MotAlgorithm : public testing::TestWithParam<const char *>
{
};

INSTANTIATE_TEST_SUITE_P(Each, MotAlgorithm, testing::Values("1", "2", "3"));

// The fourth of five stills.
TEST_P(MotAlgorithm, FindsTheLevelThatIsSharpest)
{
    MotStation station;
    std::string lines = "mot set pimode\nmot read_config\nmot set_chart wide\n";
    for (int level = -2; level <= 2; level++) {
        fit(station.config, station.draw(blur_of(TELE, level)), PASS);
        lines += "capture still\n";
    }
    station.config.line(57, "200"); // no level has so much to spare
    station.config.line(59, "1 0 0");
    leave_out(station.config, TELE);
    leave_out(station.config, MID);
    station.config.group_line(WIDE, 27, GetParam());
    EXPECT_EQ(station.run_lines(lines + "mot display_result on mot.csv\n").status, 0);
    EXPECT_EQ(station.drawn(40), Texts{"1,-,-,OK,-,-"});
}

TEST(Mot, AnotherAlgorithmDecidesNothing)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    station.config.group_line(WIDE, 27, "4");
    EXPECT_EQ(station.run_lines(ONE_STILL).status, 1);
    EXPECT_EQ(station.drawn(20), Texts{"Picture Count Wrong!!!"});
    EXPECT_EQ(station.read("/sdcard/mot.csv"), "Index,CIS S/N,\r\n1,0,\r\n");
}

TEST(Mot, TheMidChartsGroupFollowsTheWideOnesWhereTeleIsNotUsed)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    station.config.line(59, "1 0 1");
    leave_out(station.config, TELE);
    EXPECT_EQ(station
                  .run_lines("mot set pimode\nmot read_config\nmot set_range wide 0 0 0 0\n"
                             "mot set_range mid 0 0 5 1\nmot set_chart mid\ncapture still\n"
                             "mot display_result on mot.csv\n")
                  .status,
              0);
    EXPECT_EQ(station.drawn(40), Texts{"-,-,0,-,-,OK"});
    EXPECT_EQ(station.csv().charts[MID].at(2).result, "OK");
    EXPECT_EQ(station.csv().charts[TELE].at(2).result, "-");
}

TEST(Mot, AMidChartThatIsNotUsedHasNoColumns)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    station.config.line(59, "1 0 0");
    leave_out(station.config, TELE);
    leave_out(station.config, MID);
    EXPECT_EQ(station
                  .run_lines("mot set pimode\nmot read_config\nmot set_range wide 0 0 5 1\n"
                             "mot set_chart wide\ncapture still\n"
                             "mot display_result on mot.csv\n")
                  .status,
              0);
    EXPECT_EQ(station.drawn(40), Texts{"0,-,-,OK,-,-"});
    const std::string csv = station.read("/sdcard/mot.csv");
    EXPECT_TRUE(
        csv.starts_with("Index,CIS S/N, TIME,WIDE,AF LOG,TELE,AF LOG,Defect_Result, TOTAL "))
        << csv;
    EXPECT_EQ(csv.find("MID"), std::string::npos);
}

TEST(Mot, InQaModeEveryStillHasARowInTheFile)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    const nlohmann::json blurred = station.draw(4);
    station.config.line(4, "0");
    station.config.line(17, "0 0 0 0 0 0 0 0");
    station.config.line(18, "1");
    station.config.line(19, "2");
    EXPECT_EQ(station.run_lines(shots(2)).status, 1) << "there is no verdict of charts";
    EXPECT_EQ(station.drawn(20), Texts{"Picture Count Wrong!!!"});
    const Texts lines = test::lines_of(station.read("/sdcard/mot_result.txt"));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], SHOT_TITLE);
    const ShotRow sharp = read_shot(lines[1]), soft = read_shot(lines[2]);
    EXPECT_EQ(sharp.exif, (Texts{"IMG_0001.JPG", "28/10", "1/125sec", "100", "50mm"}));
    EXPECT_EQ(soft.exif[0], "IMG_0002.JPG");
    EXPECT_EQ(sharp.result, "OK");
    EXPECT_EQ(soft.result, "NG");
    EXPECT_EQ(sharp.brightness, std::to_string(blurred["level"].get<int>()));
    for (const int value : soft.values)
        expect_resolved(value, blurred);
}

// A tilted camera is measured without the correction by the size of the chart.
TEST(Mot, InTiltModeTheValuesAreNotCorrected)
{
    MotStation station;
    const nlohmann::json chart = station.draw(2);
    fit(station.config, chart, PASS);
    station.config.line(17, "0 0 0 0 0 0 0 0");
    station.config.line(18, "2");
    station.config.line(25, "1"); // a middle wedge that is far too long: values would be the floor
    EXPECT_EQ(station.run_lines(shots(1)).status, 1) << "there is no verdict of charts";
    const Texts lines = test::lines_of(station.read("/sdcard/mot.csv"));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].starts_with(std::string("Index,CIS S/N,") + SHOT_TITLE)) << lines[0];
    const ShotRow row = read_shot(lines[1].substr(lines[1].find("0,") + 2));
    for (const int value : row.values)
        expect_resolved(value, chart);
}

TEST(Mot, TheAlignmentEndsWhenAllMarkersAreInView)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    const test::Outcome run = station.run_lines(
        "mot set pimode\nmot read_config\nmot avcs on\nmot display_result off x\n");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    const Texts frames = station.drawn(50);
    ASSERT_EQ(frames.size(), 4U);
    for (const std::string &frame : frames)
        EXPECT_TRUE(frame.ends_with(",green")) << frame;
    EXPECT_EQ(station.drawn(10), Texts{""});
    EXPECT_TRUE(station.drawn(20).empty());
}

// A search leaves its size behind, from which the next load makes the frames: 152 x 114 of 1368 x
// 912 pixels around the first marker, on a panel of 720 x 480.
TEST(Mot, TheFramesHaveTheSizeOfTheSearchBeforeTheLoad)
{
    MotStation station;
    fit(station.config, station.draw(1), PASS);
    EXPECT_EQ(station
                  .run_lines("mot set pimode\nmot read_config\nmot avcs on\nmot read_config\n"
                             "mot avcs on\nmot display_result off x\n")
                  .status,
              0);
    const Texts frames = station.drawn(50);
    ASSERT_EQ(frames.size(), 8U);
    EXPECT_EQ(frames[0], "57,47,0,0,green") << "around a point";
    EXPECT_EQ(frames[4], "17,17,80,60,green");
}

// The example is for the chart as vcam draws it when it is told nothing.
TEST(Mot, TheExampleConfigurationFitsTheUsualChart)
{
    MotStation station;
    const std::string picture = station.path("/virtual/scene/chart.png");
    const test::Outcome drawing = station.vcam({"chart", "mot", "--blur", "2", "--out", picture});
    ASSERT_EQ(drawing.status, 0) << drawing.err;
    const nlohmann::json chart = nlohmann::json::parse(drawing.out);
    station.write("/sdcard/mot_lumen1.cfg", e2e::example_config("mot"));
    // The wait for the still is of camera time; a picture of this size may take a slow PC seconds.
    station.write("/virtual/speed", "1");
    station.write("/lines.adj", ONE_STILL);
    EXPECT_EQ(station.vcam({"run", station.path("/lines.adj")}).status, 0);
    const MotTable table = station.csv();
    ASSERT_EQ(table.charts[WIDE].size(), 5U);
    for (const int value : table.charts[WIDE][2].values)
        expect_resolved(value, chart);
    EXPECT_EQ(table.charts[WIDE][2].result, "OK");
    EXPECT_EQ(station.drawn(40), Texts{"0,-,-,OK,-,-"});
}
