// What the inspection draws over the picture: marks, frames, a table and a gauge.
#include "platform/factory_osd.h"
#include "tools/vcam/screen_draw.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>

namespace vcam
{
namespace
{

constexpr int NOMINAL_HEIGHT = 480;
constexpr char FONT[] = "DejaVu Sans:style=Bold";
constexpr int MARK_SIZE = 110;
constexpr int TEXT_SIZE = 36;
constexpr int FRAME = 3;       // pixels of a frame's line
constexpr int GAUGE_END = 500; // distance from the target at the gauge's ends
constexpr int PLATE_MARGIN = 6;

constexpr screen_color BLACK = {0, 0, 0};
constexpr screen_color WHITE = {255, 255, 255};
constexpr screen_color GREEN = {0, 255, 0};
constexpr screen_color RED = {255, 0, 0};

// False for a text of another form.
bool read_box(const std::string &text, std::array<int, 4> &box, screen_color &color)
{
    char name[17] = "";
    const int read = std::sscanf(text.c_str(), "%d , %d , %d , %d , %16[a-z]", &box[0], &box[1],
                                 &box[2], &box[3], name);
    color = screen_color_named(name);
    return read == 5;
}

// A rectangle is told by its place and size, or, with blanks, by two corners.
bool is_told_by_corners(const std::string &text)
{
    return text.find(", ") == text.find(',');
}

// The size from one corner to the other, both included, as far as an int holds it.
int length_to(int from, int to)
{
    return static_cast<int>(std::clamp<int64_t>(int64_t{to} - from + 1, 0, INT32_MAX));
}

screen_color color_of_result(const std::string &word)
{
    return word == "OK" ? GREEN : word == "NG" ? RED : WHITE;
}

} // namespace

// Cut at the screen's borders.
void screen_drawing::fill(const box &place, const screen_color &color)
{
    const auto cut = [](int64_t at, int limit) {
        return static_cast<int>(std::clamp<int64_t>(at, 0, limit));
    };
    const int left = cut(place.x, size_.width);
    const int top = cut(place.y, size_.height);
    const int right = cut(int64_t{place.x} + place.w, size_.width);
    const int bottom = cut(int64_t{place.y} + place.h, size_.height);
    if (right <= left || bottom <= top)
        return;
    Evas_Object *object =
        add(evas_object_rectangle_add(evas_), left, top, right - left, bottom - top);
    evas_object_color_set(object, color.r, color.g, color.b, 255);
}

// Its lines lie within the place.
void screen_drawing::draw_frame(const box &place, const screen_color &color)
{
    const auto [x, y, w, h] = place;
    if (w <= 0 || h <= 0)
        return;
    const auto far_side = [](int at, int length) {
        return static_cast<int>(
            std::clamp<int64_t>(int64_t{at} + length - FRAME, INT32_MIN, INT32_MAX));
    };
    fill({x, y, w, FRAME}, color);
    fill({x, far_side(y, h), w, FRAME}, color);
    fill({x, y, FRAME, h}, color);
    fill({far_side(x, w), y, FRAME, h}, color);
}

// On a plate, to be read over any picture.
bool screen_drawing::draw_label(const label &what)
{
    if (what.text.empty())
        return true;
    Evas_Object *text = evas_object_text_add(evas_);
    evas_object_text_font_set(text, FONT, std::max(6, what.size * size_.height / NOMINAL_HEIGHT));
    evas_object_text_text_set(text, what.text.c_str());
    evas_object_color_set(text, what.color.r, what.color.g, what.color.b, 255);
    int width = 0, height = 0;
    evas_object_geometry_get(text, nullptr, nullptr, &width, &height);
    const int x = static_cast<int>(what.x * size_.width) - width / 2;
    const int y = static_cast<int>(what.y * size_.height) - height / 2;
    fill({x - PLATE_MARGIN, y, width + 2 * PLATE_MARGIN, height}, BLACK);
    evas_object_move(text, x, y);
    evas_object_raise(text);
    evas_object_show(text);
    objects_.push_back(text);
    return width > 0 && height > 0;
}

bool screen_drawing::draw_notice(const screen_mark &mark)
{
    return draw_label({mark.text, screen_color_of(notice_.color), notice_.size, 0.5, 0.5});
}

bool screen_drawing::draw_ok(const screen_mark &)
{
    return draw_label({"OK", GREEN, MARK_SIZE, 0.5, 0.4});
}

bool screen_drawing::draw_ng(const screen_mark &mark)
{
    return draw_label({"NG", RED, MARK_SIZE, 0.5, 0.4}) &&
           draw_label({mark.text, RED, TEXT_SIZE, 0.5, 0.65});
}

bool screen_drawing::draw_line(const screen_mark &mark)
{
    std::array<int, 4> at = {};
    screen_color color = {};
    if (read_box(mark.text, at, color))
        fill({at[0], at[1], at[2], at[3]}, color);
    return true;
}

bool screen_drawing::draw_rectangle(const screen_mark &mark)
{
    std::array<int, 4> at = {};
    screen_color color = {};
    if (!read_box(mark.text, at, color))
        return true;
    const auto [x, y, x2, y2] = at;
    if (is_told_by_corners(mark.text))
        draw_frame({x, y, length_to(x, x2), length_to(y, y2)}, color);
    else
        draw_frame({x, y, x2, y2}, color);
    return true;
}

// A column for each chart: its best level above its result.
bool screen_drawing::draw_table(const screen_mark &mark)
{
    static constexpr const char *CHARTS[] = {"WIDE", "TELE", "MID"};
    static constexpr double COLUMNS[] = {0.25, 0.5, 0.75};
    static constexpr double ROWS[] = {0.3, 0.48, 0.66};
    std::istringstream words(mark.text);
    std::array<std::string, 6> cells;
    for (std::string &cell : cells)
        std::getline(words, cell, ',');
    bool drawn = true;
    for (std::size_t i = 0; i < std::size(CHARTS); i++) {
        const std::string &result = cells[i + 3];
        drawn = draw_label({CHARTS[i], WHITE, TEXT_SIZE, COLUMNS[i], ROWS[0]}) && drawn;
        drawn = draw_label({cells[i], WHITE, TEXT_SIZE, COLUMNS[i], ROWS[1]}) && drawn;
        drawn =
            draw_label({result, color_of_result(result), TEXT_SIZE, COLUMNS[i], ROWS[2]}) && drawn;
    }
    return drawn;
}

// A bar with the target in its middle; the value is a stroke in its colour.
bool screen_drawing::draw_gauge(const screen_mark &mark)
{
    int value = 0, target = 0;
    char name[17] = "";
    if (std::sscanf(mark.text.c_str(), "%d , %d , %16[a-z]", &value, &target, name) != 3)
        return true;
    const int middle = size_.width / 2;
    const int half = size_.width * 2 / 5;
    const int height = size_.height / 12;
    const int top = size_.height * 3 / 4;
    const auto distance =
        static_cast<int>(std::clamp<int64_t>(int64_t{value} - target, -GAUGE_END, GAUGE_END));
    const screen_color color = screen_color_named(name);
    fill({middle - half, top, 2 * half, height}, BLACK);
    draw_frame({middle - half, top, 2 * half, height}, WHITE);
    fill({middle - 1, top - height / 2, 2, 2 * height}, WHITE);
    fill({middle + distance * (half - height) / GAUGE_END - height / 4, top, height / 2, height},
         color);
    return draw_label(
        {std::to_string(value) + " / " + std::to_string(target), color, TEXT_SIZE, 0.5, 0.6});
}

struct screen_drawing::mark_row {
    int kind;
    bool (screen_drawing::*draw)(const screen_mark &mark);
};

constexpr screen_drawing::mark_row screen_drawing::MARKS[] = {
    {FACTORY_OSD_DRAW_TEXT, &screen_drawing::draw_notice},
    {FACTORY_OSD_DRAW_OK, &screen_drawing::draw_ok},
    {FACTORY_OSD_DRAW_NG, &screen_drawing::draw_ng},
    {FACTORY_OSD_DRAW_LINE, &screen_drawing::draw_line},
    {FACTORY_OSD_DRAW_TABLE, &screen_drawing::draw_table},
    {FACTORY_OSD_DRAW_RECTANGLE, &screen_drawing::draw_rectangle},
    {FACTORY_OSD_DRAW_GAUGE, &screen_drawing::draw_gauge},
};

bool screen_drawing::draw_marks(const nlohmann::json &screen)
{
    notice_ = notice_of_screen(screen);
    bool drawn = true;
    for (const screen_mark &mark : marks_of_screen(screen)) {
        const auto row = std::ranges::find(MARKS, mark.kind, &mark_row::kind);
        if (row != std::end(MARKS))
            drawn = (this->*row->draw)(mark) && drawn;
    }
    return drawn;
}

} // namespace vcam
