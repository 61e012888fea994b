// A station of the resolution test: charts that are drawn for it, its configuration, and what the
// run leaves on the card and on the screen.
#pragma once

#include "tests/e2e/inspection_station.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace e2e
{

class MotConfig : public ConfigFile
{
public:
    explicit MotConfig(const std::string &text);

    // Of a chart's group, 0 wide, 1 tele, 2 mid; all three have one.
    void group_line(int chart, int number, const std::string &values); // 1 to 27
};

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

class MotStation : public InspectionStation
{
public:
    // Small charts with the screen nail and the live view of a full-sized picture.
    MotStation();

    MotConfig config;

    // Draws the next still; what vcam chart mot tells of it.
    nlohmann::json draw(int blur, const std::vector<std::string> &options = {});

    void write_config() const override { InspectionStation::write_config(config); }

    MotTable csv() const { return read_mot_table(read("/sdcard/mot.csv")); }

private:
    int stills_ = 0;
};

} // namespace e2e
