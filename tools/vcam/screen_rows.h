// What the factory screen shows, as its file tells it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>

namespace vcam
{

struct screen_size {
    int width;
    int height;
};

struct screen_color {
    int r, g, b;
};

struct screen_row {
    std::string text;
    int color;
    int size; // points on a screen of 480 rows
};

screen_size size_of_screen(const nlohmann::json &screen);

// By the numbers of the screen service; white where there is no such number.
screen_color screen_color_of(int number);
screen_color background_of_screen(const nlohmann::json &screen);

// By number; "text" or "grid".
std::map<int, screen_row> rows_of_screen(const nlohmann::json &screen, const char *kind);

} // namespace vcam
