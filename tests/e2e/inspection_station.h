// A station of a picture test: scenes that are drawn for it, its configuration, and what a run
// leaves on the card and on the screen.
#pragma once

#include "tests/e2e/line.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace e2e
{

// A configuration file by the numbers of its value lines, as its page in docs/ counts them.
class ConfigFile
{
public:
    explicit ConfigFile(const std::string &text);

    void line(int number, const std::string &values); // from 1
    std::string text() const;

protected:
    std::vector<std::string> lines_;
};

// The example of a test, such as "noise", as it is.
std::string example_config(const std::string &test);

struct ScreenBox {
    int x, y, w, h;
};

class InspectionStation : public Line
{
public:
    explicit InspectionStation(const std::string &test);

    // Draws the scene that the next still takes; what vcam chart TEST tells of it.
    nlohmann::json draw_scene(const std::vector<std::string> &options) const;
    // Writes the configuration and runs a script, or the lines of one.
    test::Outcome run(const std::string &script) const;
    test::Outcome run_lines(const std::string &lines) const;
    virtual void write_config() const = 0;

    // What the screen shows of the inspection's drawings, such as "drawing 40: 0,0,0,OK,OK,OK".
    std::vector<std::string> drawings() const;
    // Texts of the drawings that the screen was given, by kind.
    std::vector<std::string> drawn(int kind) const;
    // Pixels of a colour in the picture of the screen that the run has left, or in a part of it; -1
    // without a picture.
    long pixels(int red, int green, int blue) const;
    long pixels(int red, int green, int blue, const ScreenBox &part) const;
    // The run passed and shows the green mark alone; it failed in `display` and shows these words
    // in red.
    void expect_ok(const test::Outcome &run) const;
    void expect_ng(const test::Outcome &run, const std::string &display,
                   const std::string &words) const;
    // The cells of the test's CSV file with one still, whose two lines of heads begin so.
    std::vector<std::string> only_row(const std::string &title, const std::string &columns) const;

    // What a computer is answered when it sends a command to the daemon that was started.
    std::string pc(const std::string &words) const;

protected:
    void write_config(const ConfigFile &config) const;

private:
    std::string test_;
};

inline constexpr char PC_OK[] = "0x10000002 0x00000000 0x00000000 OK\n";
inline constexpr char PC_NG[] = "0x10000002 0x00000001 0x00000000 NG\n";

// Bytes of a row of a picture.
int picture_pitch(int width);

// Cells of a row of a result, without quotation marks and the blanks around them; what stands
// behind the last comma is one when it is not empty.
std::vector<std::string> result_cells(const std::string &row);

// Whether the run's output has this command with this result.
bool says(const test::Outcome &run, const std::string &result, const std::string &command);

} // namespace e2e
