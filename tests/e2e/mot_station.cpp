#include "tests/e2e/mot_station.h"
#include "tests/support/text.h"

#include <algorithm>
#include <stdexcept>

namespace e2e
{
namespace
{

constexpr int HEAD_LINES = 59;
constexpr int GROUP_LINES = 27;
constexpr int CHARTS = 3;
constexpr std::size_t CHART_COLUMNS = 15;

std::string joined(const std::vector<int> &numbers)
{
    std::string text;
    for (const int number : numbers)
        text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
}

// A marker is found some pixels beside its place, and a bar must stay in the window all the same:
// it is longer than what the chart tells.
std::vector<int> window_of(const nlohmann::json &wedge)
{
    const nlohmann::json &around = wedge["around"];
    std::vector<int> window{wedge["offset"][0], wedge["offset"][1], around["width"],
                            around["height"]};
    const std::size_t axis = window[3] > window[2] ? 1 : 0;
    const int more = window[2 + axis] / 30;
    window[axis] -= more;
    window[2 + axis] += 2 * more;
    return window;
}

void fit_markers(MotConfig &config, int group, const nlohmann::json &chart)
{
    for (int i = 0; i < 4; i++)
        config.group_line(group, 9 + i, joined(chart["markers"][i]["centre"]));
    for (int i = 0; i < 10; i++)
        config.group_line(group, 13 + i, joined(window_of(chart["wedges"][i])));
}

MotLevel level_of(const std::string *cells)
{
    MotLevel level{.level = std::stoi(cells[0]),
                   .af_step = std::stoi(cells[1]),
                   .values = {},
                   .brightness = std::stoi(cells[12]),
                   .result = cells[13],
                   .best = cells[14]};
    for (std::size_t i = 0; i < level.values.size(); i++)
        level.values[i] = std::stoi(cells[2 + i]);
    return level;
}

} // namespace

MotConfig::MotConfig(const std::string &text) : ConfigFile(text)
{
    if (lines_.size() != HEAD_LINES + CHARTS * GROUP_LINES)
        throw std::invalid_argument("not a configuration of three charts");
}

void MotConfig::group_line(int chart, int number, const std::string &values)
{
    line(HEAD_LINES + GROUP_LINES * chart + number, values);
}

void fit(MotConfig &config, const nlohmann::json &chart, int pass)
{
    const int width = chart["width"], height = chart["height"];
    const int low = chart["tv_lines"][0], high = chart["tv_lines"][1];
    config.line(21, std::to_string(width));
    for (int i = 0; i < CHARTS; i++) {
        config.line(22 + i, std::to_string(height));
        config.line(25 + i, std::to_string(chart["wedges"][0]["width"].get<int>()));
        fit_markers(config, i, chart);
        config.group_line(i, 23, joined({low, high, low, high}));
        config.group_line(i, 24, joined({pass, pass}));
        config.group_line(i, 25, joined(std::vector<int>(8, pass)));
    }
    config.line(28, joined({width, height}));
    config.line(36, std::to_string(chart["lines"].get<int>() - 1));
    for (const int chroma : {40, 41})
        config.line(chroma, std::to_string(picture_pitch(width) * height));
    for (const int search : {48, 49})
        config.line(search, joined({width / 9, height / 8}));
}

MotTable read_mot_table(const std::string &text)
{
    MotTable table;
    table.charts.resize(CHARTS);
    const std::vector<std::string> lines = test::lines_of(text);
    for (const std::string &line : lines) {
        std::vector<std::string> cells = result_cells(line);
        const auto time = std::ranges::find(cells, "00:00:00");
        if (time == cells.end()) {
            table.titles = cells;
            continue;
        }
        cells.erase(cells.begin(), time + 1);
        if (cells.size() < CHARTS * CHART_COLUMNS + 2)
            throw std::invalid_argument("a row is too short: " + line);
        for (std::size_t i = 0; i < CHARTS; i++)
            table.charts[i].push_back(level_of(&cells[i * CHART_COLUMNS]));
        table.verdicts.push_back(cells[CHARTS * CHART_COLUMNS + 1]);
    }
    return table;
}

MotStation::MotStation() : InspectionStation("mot"), config(example_config("mot"))
{
    for (const char *who : {"screen", "live"}) {
        write(std::string("/virtual/capture/") + who + "_width", "684\n");
        write(std::string("/virtual/capture/") + who + "_height", "456\n");
    }
}

nlohmann::json MotStation::draw(int blur, const std::vector<std::string> &options)
{
    const std::string name = "/virtual/scene/" + std::to_string(100 + ++stills_) + ".png";
    // Lines that are as broad as those of a large picture must be fewer to leave the window bright.
    std::vector<std::string> words{"chart",   "mot",     "--size", "1368x912", "--range",
                                   "350,900", "--lines", "5",      "--blur",   std::to_string(blur),
                                   "--out",   path(name)};
    words.insert(words.end(), options.begin(), options.end());
    const test::Outcome drawn = vcam(words);
    if (drawn.status != 0)
        throw std::runtime_error(drawn.err);
    write(name + ".txt", "af_step " + std::to_string(100 + stills_) + "\n");
    return nlohmann::json::parse(drawn.out);
}

} // namespace e2e
