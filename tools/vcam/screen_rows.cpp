#include "tools/vcam/screen_rows.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>

namespace vcam
{
namespace
{

constexpr int BLACK = 0;
constexpr int WHITE = 7;
constexpr int USUAL_SIZE = 30;

constexpr screen_color COLORS[] = {
    {0, 0, 0},     {0, 0, 255},     {0, 255, 0},     {0, 255, 255},   {255, 0, 0},
    {255, 0, 255}, {255, 255, 0},   {255, 255, 255}, {128, 128, 128}, {0, 128, 0},
    {128, 0, 128}, {255, 192, 203}, {255, 165, 0},
};

constexpr std::string_view NAMES[] = {
    "black", "blue", "lime",  "aqua",   "red",  "fuchsia", "yellow",
    "white", "gray", "green", "purple", "pink", "orange",
};
static_assert(std::size(NAMES) == std::size(COLORS));

bool is_dark(const screen_color &c)
{
    return 3 * c.r + 6 * c.g + c.b < 1275;
}

// Files may have been written by hand: what does not fit reads as its usual value.
int int_of(const nlohmann::json &object, const char *name, int usual)
{
    if (!object.is_object() || !object.contains(name) || !object[name].is_number())
        return usual;
    return object[name].get<int>();
}

screen_row row_of(const nlohmann::json &value, int color)
{
    if (value.is_string())
        return {value.get<std::string>(), color, 0};
    if (!value.is_object() || !value.contains("text") || !value["text"].is_string())
        return {"", color, 0};
    return {value["text"].get<std::string>(), int_of(value, "color", color),
            int_of(value, "size", 0)};
}

} // namespace

screen_size size_of_screen(const nlohmann::json &screen)
{
    const nlohmann::json window = screen.value("window", nlohmann::json::object());
    return {std::clamp(int_of(window, "width", 800), 16, 4096),
            std::clamp(int_of(window, "height", 480), 16, 4096)};
}

screen_color screen_color_of(int number)
{
    const bool known = number >= 0 && number < static_cast<int>(std::size(COLORS));
    return COLORS[known ? number : WHITE];
}

screen_color screen_color_named(std::string_view name)
{
    return screen_color_of(static_cast<int>(std::ranges::find(NAMES, name) - NAMES));
}

screen_color background_of_screen(const nlohmann::json &screen)
{
    return screen_color_of(int_of(screen, "background", BLACK));
}

std::map<int, screen_row> rows_of_screen(const nlohmann::json &screen, const char *kind)
{
    const int contrast = is_dark(background_of_screen(screen)) ? WHITE : BLACK;
    std::map<int, screen_row> rows;
    const nlohmann::json given = screen.value(kind, nlohmann::json::object());
    for (const auto &[number, value] : given.items())
        rows[std::atoi(number.c_str())] = row_of(value, contrast);
    return rows;
}

screen_row notice_of_screen(const nlohmann::json &screen)
{
    return {"", int_of(screen, "text_color", WHITE), int_of(screen, "text_size", USUAL_SIZE)};
}

std::vector<screen_mark> marks_of_screen(const nlohmann::json &screen)
{
    const nlohmann::json given = screen.value("drawings", nlohmann::json::array());
    std::vector<screen_mark> marks;
    for (const nlohmann::json &mark : given)
        if (mark.is_object() && mark.contains("text") && mark["text"].is_string())
            marks.push_back({int_of(mark, "kind", 0), mark["text"].get<std::string>()});
    return marks;
}

} // namespace vcam
