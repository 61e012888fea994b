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
    void draw_live_view();
    bool draw_row(const screen_row &row, const char *font, int x, int y, int height);
    bool draw_rows(const nlohmann::json &screen);

    // In screen_marks.cpp: what is drawn over the picture.
    struct box {
        int x, y, w, h; // pixels
    };
    struct label {
        std::string text;
        screen_color color;
        int size;    // points on a screen of 480 rows
        double x, y; // of its middle, in parts of the screen
    };
    struct mark_row;
    static const mark_row MARKS[];
    void fill(const box &place, const screen_color &color);
    void draw_frame(const box &place, const screen_color &color);
    bool draw_label(const label &what);
    bool draw_marks(const nlohmann::json &screen);
    bool draw_notice(const screen_mark &mark);
    bool draw_ok(const screen_mark &mark);
    bool draw_ng(const screen_mark &mark);
    bool draw_line(const screen_mark &mark);
    bool draw_table(const screen_mark &mark);
    bool draw_rectangle(const screen_mark &mark);
    bool draw_gauge(const screen_mark &mark);

    Evas *evas_;
    screen_size size_ = {};
    screen_row notice_ = {}; // colour and size of texts in force
    std::vector<Evas_Object *> objects_;
};

// The screen of the open camera as a PNG file; needs no display.
void save_drawing(const std::filesystem::path &path);

} // namespace vcam
