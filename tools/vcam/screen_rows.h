// What the factory screen shows, as its file tells it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>
#include <string_view>
#include <vector>

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

// By the screen service's words, such as "red"; white where there is no such word.
screen_color screen_color_named(std::string_view name);

// By number; "text" or "grid".
std::map<int, screen_row> rows_of_screen(const nlohmann::json &screen, const char *kind);

// What was drawn over the picture, in its order: a kind of platform/factory_osd.h and its text.
struct screen_mark {
    int kind;
    std::string text;
};

// Colour and size that texts are drawn in now; no text.
screen_row notice_of_screen(const nlohmann::json &screen);

std::vector<screen_mark> marks_of_screen(const nlohmann::json &screen);

} // namespace vcam
