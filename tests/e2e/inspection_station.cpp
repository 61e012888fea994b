#include "tests/e2e/inspection_station.h"
#include "tests/support/text.h"

#include <algorithm>
#include <climits>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <png.h>
#include <sstream>
#include <stdexcept>

namespace e2e
{
namespace
{

constexpr int PITCH_ALIGN = 64; // of a picture's rows

bool is_remark(const std::string &line)
{
    return line.empty() || line.starts_with("//") || line.starts_with("/*") ||
           line.starts_with("*");
}

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;
};

Picture read_png(const std::string &path)
{
    png_image png = {};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&png, path.c_str()) == 0)
        return {};
    png.format = PNG_FORMAT_RGB;
    Picture picture = {static_cast<int>(png.width), static_cast<int>(png.height),
                       std::vector<unsigned char>(PNG_IMAGE_SIZE(png))};
    png_image_finish_read(&png, nullptr, picture.rgb.data(), 0, nullptr);
    return picture;
}

} // namespace

ConfigFile::ConfigFile(const std::string &text)
{
    for (const std::string &line : test::lines_of(text))
        if (!is_remark(line))
            lines_.push_back(line);
}

void ConfigFile::line(int number, const std::string &values)
{
    lines_.at(static_cast<std::size_t>(number - 1)) = values;
}

std::string ConfigFile::text() const
{
    std::string text;
    for (const std::string &line : lines_)
        text += line + "\n";
    return text;
}

std::string example_config(const std::string &test)
{
    const std::string path = std::string(EXAMPLES) + "/../config/" + test + "_lumen1.cfg";
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error("no " + path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

InspectionStation::InspectionStation(const std::string &test) : test_(test) {}

nlohmann::json InspectionStation::draw_scene(const std::vector<std::string> &options) const
{
    std::vector<std::string> words{"chart", test_, "--out", path("/virtual/scene/scene.png")};
    words.insert(words.end(), options.begin(), options.end());
    const test::Outcome drawing = vcam(words);
    if (drawing.status != 0)
        throw std::runtime_error(drawing.err);
    return nlohmann::json::parse(drawing.out);
}

test::Outcome InspectionStation::run(const std::string &script) const
{
    write_config();
    return vcam({"run", "--png", path("/screen.png"), script});
}

test::Outcome InspectionStation::run_lines(const std::string &lines) const
{
    write("/lines.adj", lines);
    return run(path("/lines.adj"));
}

void InspectionStation::write_config(const ConfigFile &config) const
{
    write("/sdcard/" + test_ + "_lumen1.cfg", config.text());
}

std::vector<std::string> InspectionStation::drawings() const
{
    std::vector<std::string> shown;
    for (const std::string &line : test::lines_of(vcam({"screen", "--text"}).out))
        if (line.starts_with("drawing "))
            shown.push_back(line);
    return shown;
}

std::vector<std::string> InspectionStation::drawn(int kind) const
{
    std::vector<std::string> texts;
    for (const nlohmann::json &call : calls("factory_osd_draw"))
        if (call["args"][0] == kind)
            texts.push_back(call["args"][1]);
    return texts;
}

long InspectionStation::pixels(int red, int green, int blue) const
{
    return pixels(red, green, blue, {0, 0, INT_MAX, INT_MAX});
}

long InspectionStation::pixels(int red, int green, int blue, const ScreenBox &part) const
{
    const Picture picture = read_png(path("/screen.png"));
    if (picture.rgb.empty())
        return -1;
    long count = 0;
    for (int y = 0; y < picture.height; y++)
        for (int x = 0; x < picture.width; x++) {
            const auto *at = &picture.rgb[3 * (static_cast<std::size_t>(y) * picture.width + x)];
            const bool inside =
                x >= part.x && x - part.x < part.w && y >= part.y && y - part.y < part.h;
            count += inside && at[0] == red && at[1] == green && at[2] == blue;
        }
    return count;
}

void InspectionStation::expect_ok(const test::Outcome &run) const
{
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(drawn(10), std::vector<std::string>{""});
    EXPECT_TRUE(drawn(20).empty());
    EXPECT_GT(pixels(0, 255, 0), 100) << "OK in green";
    EXPECT_EQ(pixels(255, 0, 0), 0) << "no NG in red";
}

void InspectionStation::expect_ng(const test::Outcome &run, const std::string &display,
                                  const std::string &words) const
{
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(says(run, "NG", display)) << run.out << run.err;
    EXPECT_EQ(drawn(20), std::vector<std::string>{words});
    EXPECT_TRUE(drawn(10).empty());
    EXPECT_GT(pixels(255, 0, 0), 100) << "NG in red";
    EXPECT_EQ(pixels(0, 255, 0), 0) << "no OK in green";
}

std::vector<std::string> InspectionStation::only_row(const std::string &title,
                                                     const std::string &columns) const
{
    const std::vector<std::string> lines = test::lines_of(read("/sdcard/" + test_ + ".csv"));
    if (lines.size() != 3)
        throw std::runtime_error("no result of a still");
    EXPECT_TRUE(lines[0].starts_with("Index,CIS S/N," + title)) << lines[0];
    EXPECT_TRUE(lines[1].starts_with("1,0," + columns)) << lines[1];
    std::vector<std::string> cells = result_cells(lines[2]);
    EXPECT_EQ(cells[0], "IMG_0001.JPG");
    return cells;
}

std::string InspectionStation::pc(const std::string &words) const
{
    return vcam({"pc", "--timeout", "60", words}).out;
}

int picture_pitch(int width)
{
    return (width + PITCH_ALIGN - 1) / PITCH_ALIGN * PITCH_ALIGN;
}

std::vector<std::string> result_cells(const std::string &row)
{
    std::vector<std::string> cells(1);
    bool quoted = false;
    for (const char c : row) {
        quoted = quoted != (c == '"');
        if (c == ',' && !quoted)
            cells.emplace_back();
        else if (c != '"')
            cells.back() += c;
    }
    for (std::string &cell : cells) {
        cell.erase(0, cell.find_first_not_of(' '));
        cell.erase(cell.find_last_not_of(" \r") + 1);
    }
    if (cells.back().empty())
        cells.pop_back();
    return cells;
}

bool says(const test::Outcome &run, const std::string &result, const std::string &command)
{
    return std::ranges::any_of(test::lines_of(run.out), [&](const std::string &line) {
        return line.find(" " + result + " ") != std::string::npos && line.ends_with("  " + command);
    });
}

} // namespace e2e
