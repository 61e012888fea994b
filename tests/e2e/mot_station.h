// A station of the resolution test: charts that are drawn for it, its configuration, and what the
// run leaves on the card and on the screen.
#pragma once

#include "tests/e2e/line.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace e2e
{

// A configuration file by the numbers of its value lines, as docs/mot-config.md counts them.
class MotConfig
{
public:
    explicit MotConfig(const std::string &text);

    void line(int number, const std::string &values); // 1 to 59
    // Of a chart's group, 0 wide, 1 tele, 2 mid; all three have one.
    void group_line(int chart, int number, const std::string &values); // 1 to 27
    std::string text() const;

private:
    std::vector<std::string> lines_;
};

std::string example_mot_config(); // the file as it is

// For the chart that vcam chart mot has told: places, sizes and TV lines; `pass` of these pass.
void fit(MotConfig &config, const nlohmann::json &chart, int pass);

// Five levels of a chart in the table.
struct MotLevel {
    int level;
    int af_step;
    std::array<int, 10> values;
    int brightness;
    std::string result;
    std::string best;
};
struct MotTable {
    std::vector<std::string> titles;
    std::vector<std::vector<MotLevel>> charts; // by chart and level
    std::vector<std::string> verdicts;         // by level
};
// Of a result file, or of the CSV file behind its index and serial number.
MotTable read_mot_table(const std::string &text);

class MotStation : public Line
{
public:
    // Small charts with the screen nail and the live view of a full-sized picture.
    MotStation();

    MotConfig config;

    // Draws the next still; what vcam chart mot tells of it.
    nlohmann::json draw(int blur, const std::vector<std::string> &options = {});

    void write_config() const;
    // Writes the configuration and runs a script, or the lines of one.
    test::Outcome run(const std::string &script) const;
    test::Outcome run_lines(const std::string &lines) const;

    MotTable csv() const { return read_mot_table(read("/sdcard/mot.csv")); }
    // What the screen shows of the inspection's drawings, such as "drawing 40: 0,0,0,OK,OK,OK".
    std::vector<std::string> drawings() const;
    // Pixels of a colour in the picture of the screen that the run has left.
    long pixels(int red, int green, int blue) const;

private:
    int stills_ = 0;
};

} // namespace e2e
