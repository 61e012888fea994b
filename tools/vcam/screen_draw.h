// The factory screen as its operator sees it, drawn on an EFL canvas.
#pragma once

#include "tools/vcam/screen_rows.h"

#include <Evas.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vcam
{

class screen_drawing
{
public:
    explicit screen_drawing(Evas *evas) : evas_(evas) {}

    // Replaces what was drawn before.  False when text has no extent: then no fonts are installed.
    bool draw(const nlohmann::json &screen);

private:
    Evas_Object *add(Evas_Object *object, int x, int y, int width, int height);
    void draw_background(const nlohmann::json &screen);
    void draw_image(const std::string &path);
    bool draw_row(const screen_row &row, const char *font, int x, int y, int height);
    bool draw_rows(const nlohmann::json &screen);

    Evas *evas_;
    screen_size size_ = {};
    std::vector<Evas_Object *> objects_;
};

// The screen of the open camera as a PNG file; needs no display.
void save_drawing(const std::filesystem::path &path);

} // namespace vcam
