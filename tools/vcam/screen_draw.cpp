#include "tools/vcam/screen_draw.h"

#include "platform/virtual/root.h"
#include "platform/virtual/scene.h"
#include "platform/virtual/screen.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/picture.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

namespace vcam
{
namespace
{

constexpr int TEXT_ROWS = 8;  // from 1
constexpr int GRID_ROWS = 22; // from 0
constexpr int NOMINAL_HEIGHT = 480;
constexpr int MARGIN = 8;

} // namespace

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
    const bool on = screen.value("on", true);
    const screen_color c = on ? background_of_screen(screen) : screen_color{0, 0, 0};
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

// As the capture service delivers it; drawings tell places in the whole of it.
void screen_drawing::draw_live_view()
{
    const std::optional<std::string> live = virt::next_picture(virt::file("scene/live"), "");
    const std::optional<std::string> front = virt::picture_in_front();
    if (!live && !front)
        return;
    const std::string file = live ? "scene/live/" + *live : "scene/" + *front;
    Evas_Object *object = evas_object_image_filled_add(evas_);
    evas_object_image_file_set(object, virt::file(file).c_str(), nullptr);
    if (evas_object_image_load_error_get(object) == EVAS_LOAD_ERROR_NONE)
        add(object, 0, 0, size_.width, size_.height);
    else
        evas_object_del(object);
}

bool screen_drawing::draw_row(const screen_row &row, const char *font, int x, int y, int height)
{
    if (row.text.empty())
        return true;
    const int usual = height * 3 / 4;
    const int wanted = row.size > 0 ? row.size * size_.height / NOMINAL_HEIGHT : usual;
    const screen_color c = screen_color_of(row.color);
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
    else if (!marks_of_screen(screen).empty())
        draw_live_view();
    const bool drawn = draw_rows(screen);
    return draw_marks(screen) && drawn;
}

void save_drawing(const fs::path &path)
{
    const nlohmann::json screen = virt::read_screen();
    const screen_size size = size_of_screen(screen);
    const canvas board(size.width, size.height);
    screen_drawing drawing(board.evas());
    if (!drawing.draw(screen))
        throw failure("text has no extent: fonts are missing (fonts-dejavu-core)");
    board.save_png(path);
}

} // namespace vcam
