#include "tools/vcam/screen_draw.h"

#include "platform/virtual/screen.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/picture.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>

namespace vcam
{
namespace
{

constexpr int TEXT_ROWS = 8;  // from 1
constexpr int GRID_ROWS = 22; // from 0
constexpr int NOMINAL_HEIGHT = 480;
constexpr int MARGIN = 8;
constexpr int BLACK = 0;
constexpr int WHITE = 7;

struct color {
    int r, g, b;
};

// By the numbers of the screen service.
constexpr color COLORS[] = {
    {0, 0, 0},     {0, 0, 255},     {0, 255, 0},     {0, 255, 255},   {255, 0, 0},
    {255, 0, 255}, {255, 255, 0},   {255, 255, 255}, {128, 128, 128}, {0, 128, 0},
    {128, 0, 128}, {255, 192, 203}, {255, 165, 0},
};

color color_of(int number)
{
    const bool known = number >= 0 && number < static_cast<int>(std::size(COLORS));
    return COLORS[known ? number : WHITE];
}

bool is_dark(const color &c)
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
    return {std::clamp(int_of(window, "width", 720), 16, 4096),
            std::clamp(int_of(window, "height", 480), 16, 4096)};
}

std::map<int, screen_row> rows_of_screen(const nlohmann::json &screen, const char *kind)
{
    const color background = color_of(int_of(screen, "background", BLACK));
    const int contrast = is_dark(background) ? WHITE : BLACK;
    std::map<int, screen_row> rows;
    const nlohmann::json given = screen.value(kind, nlohmann::json::object());
    for (const auto &[number, value] : given.items())
        rows[std::atoi(number.c_str())] = row_of(value, contrast);
    return rows;
}

Evas_Object *screen_drawing::add(Evas_Object *object, int x, int y, int width, int height)
{
    evas_object_move(object, x, y);
    evas_object_resize(object, width, height);
    evas_object_show(object);
    objects_.push_back(object);
    return object;
}

void screen_drawing::draw_background(const nlohmann::json &screen)
{
    const color c =
        color_of(screen.value("on", true) ? int_of(screen, "background", BLACK) : BLACK);
    Evas_Object *object = add(evas_object_rectangle_add(evas_), 0, 0, size_.width, size_.height);
    evas_object_color_set(object, c.r, c.g, c.b, 255);
}

// As large as it fits, in the middle.
void screen_drawing::draw_image(const std::string &path)
{
    Evas_Object *object = evas_object_image_filled_add(evas_);
    evas_object_image_file_set(object, on_pc(path).c_str(), nullptr);
    int width = 0, height = 0;
    evas_object_image_size_get(object, &width, &height);
    if (width <= 0 || height <= 0) {
        evas_object_del(object);
        return;
    }
    const double scale = std::min(static_cast<double>(size_.width) / width,
                                  static_cast<double>(size_.height) / height);
    const int shown_width = static_cast<int>(width * scale);
    const int shown_height = static_cast<int>(height * scale);
    add(object, (size_.width - shown_width) / 2, (size_.height - shown_height) / 2, shown_width,
        shown_height);
}

bool screen_drawing::draw_row(const screen_row &row, const char *font, int x, int y, int height)
{
    if (row.text.empty())
        return true;
    const int usual = height * 3 / 4;
    const int wanted = row.size > 0 ? row.size * size_.height / NOMINAL_HEIGHT : usual;
    const color c = color_of(row.color);
    Evas_Object *object = evas_object_text_add(evas_);
    evas_object_text_font_set(object, font, std::max(6, wanted));
    evas_object_text_text_set(object, row.text.c_str());
    evas_object_color_set(object, c.r, c.g, c.b, 255);
    evas_object_move(object, x, y);
    evas_object_show(object);
    objects_.push_back(object);
    int text_width = 0, text_height = 0;
    evas_object_geometry_get(object, nullptr, nullptr, &text_width, &text_height);
    return text_width > 0 && text_height > 0;
}

bool screen_drawing::draw_rows(const nlohmann::json &screen)
{
    bool drawn = true;
    const int grid_height = size_.height / GRID_ROWS;
    for (const auto &[number, row] : rows_of_screen(screen, "grid")) {
        if (number >= 0 && number < GRID_ROWS)
            drawn = draw_row(row, "DejaVu Sans Mono", MARGIN, number * grid_height, grid_height) &&
                    drawn;
    }
    const int text_height = size_.height / TEXT_ROWS;
    for (const auto &[number, row] : rows_of_screen(screen, "text")) {
        if (number >= 1 && number <= TEXT_ROWS)
            drawn = draw_row(row, "DejaVu Sans", MARGIN, (number - 1) * text_height, text_height) &&
                    drawn;
    }
    return drawn;
}

bool screen_drawing::draw(const nlohmann::json &screen)
{
    for (Evas_Object *object : objects_)
        evas_object_del(object);
    objects_.clear();
    size_ = size_of_screen(screen);
    draw_background(screen);
    if (!screen.value("on", true))
        return true; // dark
    if (screen.contains("image") && screen["image"].is_string())
        draw_image(screen["image"].get<std::string>());
    return draw_rows(screen);
}

void save_screen(const fs::path &path)
{
    const nlohmann::json screen = virt::read_screen();
    const screen_size size = size_of_screen(screen);
    const canvas board(size.width, size.height);
    screen_drawing drawing(board.evas());
    if (!drawing.draw(screen))
        throw failure("text has no extent: fonts are missing (fonts-dejavu-core)");
    board.save_png(board.draw(), path);
}

} // namespace vcam
