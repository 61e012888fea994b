#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"

#include <cstring>
#include <platform/factory_osd.h>

static constexpr int TEXT_ROWS = 8;
static constexpr int GRID_ROWS = 21;

namespace
{

struct osd_color {
    char name[16];
    uint32_t value;
};

constexpr osd_color rova_osd_color_tbl[] = {
    // clang-format off
    {"black",   0}, {"blue",   1}, {"lime",  2}, {"aqua",  3},  {"red",    4},  {"fuchsia", 5},
    {"yellow",  6}, {"white",  7}, {"gray",  8}, {"green", 9},  {"purple", 10}, {"pink",    11},
    {"orange", 12},
    // clang-format on
};

// A display and where the camera's window stands for it.
struct osd_display {
    const char *word;
    const char *log;
    int width, height, x, y;
};

constexpr osd_display displays[] = {
    {"lcd", " OSD POSITION LCD !!", 720, 480, 0, 0},
    {"evf", " OSD POSITION EVF !!", 1024, 768, 720, 0},
    {"tv", " OSD POSITION TV !!", 1280, 720, 0, 480},
};

struct osd_clear {
    const char *word;
    int (*clear)();
};

constexpr osd_clear clears[] = {
    {"all", factory_osd_clear},
    {"text", factory_osd_text_clear},
    {"grid_text", factory_osd_grid_text_clear},
};

} // namespace

static int rova_cmd_osd_clear(uint32_t cmd_type, cmd_data *record)
{
    const char *word = rova_cmd_param(record, 1);
    for (const osd_clear &row : clears) {
        if (std::strcmp(row.word, word) == 0) {
            row.clear();
            return rova_cmd_ok(cmd_type);
        }
    }
    return rova_cmd_ng(cmd_type);
}

static int rova_cmd_osd_text_size(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    factory_osd_text_size_set(rova_cmd_number(record->p[1]));
    return rova_cmd_ok(cmd_type);
}

static int set_color(uint32_t cmd_type, const cmd_data *record, int (*set)(int color))
{
    const char *name = rova_cmd_param(record, 1);
    for (const osd_color &row : rova_osd_color_tbl) {
        if (std::strcmp(row.name, name) == 0) {
            set(static_cast<int>(row.value));
            return rova_cmd_ok(cmd_type);
        }
    }
    return rova_cmd_ng(cmd_type);
}

static int rova_cmd_osd_text_color(uint32_t cmd_type, cmd_data *record)
{
    return set_color(cmd_type, record, factory_osd_text_color_set);
}

static int rova_cmd_osd_bg_color(uint32_t cmd_type, cmd_data *record)
{
    return set_color(cmd_type, record, factory_osd_background_color_set);
}

// The error names the rows of the large text for both kinds.
static bool read_row(const cmd_data *record, int last, int *row)
{
    *row = rova_cmd_number(record->p[1]);
    if (*row >= 1 && *row <= last)
        return true;
    ROVA_LOG_ERR("Error : Row must be digit number between 1 and 8.\n");
    return false;
}

static int show_words(uint32_t cmd_type, const cmd_data *record, int last_row,
                      void (*show)(int row, const char *fmt, ...))
{
    int row = 0;
    if (record->p_count < 2 || !read_row(record, last_row, &row))
        return rova_cmd_ng(cmd_type);
    char text[200] = "";
    rova_cmd_join_words(record, 2, text);
    show(row, "%s", text);
    return rova_cmd_ok(cmd_type);
}

static int rova_cmd_osd_string(uint32_t cmd_type, cmd_data *record)
{
    return show_words(cmd_type, record, TEXT_ROWS, rova_osd_printf);
}

static int rova_cmd_osd_grid_text(uint32_t cmd_type, cmd_data *record)
{
    return show_words(cmd_type, record, GRID_ROWS, rova_osd_grid_printf);
}

static void move_to_numbers(const cmd_data *record)
{
    int x = rova_cmd_number(rova_cmd_param(record, 1));
    int y = rova_cmd_number(rova_cmd_param(record, 2));
    int w = rova_cmd_number(rova_cmd_param(record, 3));
    int h = rova_cmd_number(rova_cmd_param(record, 4));
    factory_osd_window_move_resize(w, h, x, y);
    ROVA_LOG_INFO(" OSD POSITION x = %d, y = %d, w = %d, h = %d", x, y, w, h);
}

static int rova_cmd_osd_position(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);

    for (const osd_display &row : displays) {
        if (std::strcmp(row.word, record->p[1]) == 0) {
            factory_osd_window_move_resize(row.width, row.height, row.x, row.y);
            ROVA_LOG_INFO("%s", row.log);
            return rova_cmd_ok(cmd_type);
        }
    }
    move_to_numbers(record);
    return rova_cmd_ok(cmd_type);
}

static constexpr rova_cmd_entry osd_table[] = {
    {"clear", rova_cmd_osd_clear},           {"text_size", rova_cmd_osd_text_size},
    {"text_color", rova_cmd_osd_text_color}, {"bg_color", rova_cmd_osd_bg_color},
    {"string", rova_cmd_osd_string},         {"grid_text", rova_cmd_osd_grid_text},
    {"position", rova_cmd_osd_position},
};
static_assert(rova_cmd_table_is_sound(osd_table));

int rova_cmd_osd(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(osd_table, "osd", cmd_type, record);
}
