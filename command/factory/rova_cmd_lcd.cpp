#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <platform/factory_osd.h>
#include <platform/sys.h>
#include <strings.h>
#include <unistd.h>

static constexpr char PICTURE_DIR[] = "/usr/apps/com.halvex.lumen-app/res/edje/images/lcd/fix/";
static constexpr char FRAMEBUFFER[] = "/dev/fb0";
static constexpr unsigned long REQUEST_HSWAP = 0x40087410;
static constexpr unsigned long REQUEST_VSWAP = 0x40087411;

namespace
{

struct picture {
    const char *word;
    const char *file;
};

constexpr picture pictures[] = {
    {"gradation", "product_sample_1.png"},
    {"oil", "product_sample_2.png"},
    {"xbar", "product_sample_3.png"},
    {"resolution", "lcd_3.png"},
};

// The framebuffer driver's record.
struct swap_request {
    uint32_t layer; // 0 graphic, 1 video
    uint32_t state; // 1 on
};
static_assert(sizeof(swap_request) == 8);

} // namespace

static void draw_picture(const char *word)
{
    for (const picture &row : pictures) {
        if (std::strcmp(row.word, word) != 0)
            continue;
        char path[256];
        std::snprintf(path, sizeof(path), "%s%s", PICTURE_DIR, row.file);
        factory_osd_image_draw(path);
    }
}

// A word that names no picture draws nothing and is no failure.
static int rova_cmd_lcd_draw(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count == 0)
        return rova_cmd_ng(cmd_type);

    const char *word = rova_cmd_param(record, 1);
    if (std::strcmp(word, "off") == 0)
        factory_osd_image_clear();
    else
        draw_picture(word);
    return rova_cmd_ok(cmd_type);
}

static bool read_swap(const cmd_data *record, const char *subcommand, swap_request *request)
{
    const char *layer = rova_cmd_param(record, 1);
    bool video = strcasecmp(layer, "video") == 0;
    if (record->p_count < 3 || (!video && strcasecmp(layer, "graphic") != 0)) {
        ROVA_LOG_ERR("Not found on lcd %s command table \n", subcommand);
        return false;
    }
    uint8_t on = 0;
    bool known = rova_cmd_on_off(record->p[2], &on);
    *request = {video ? 1U : 0U, on};
    return known;
}

static bool swap(int fd, const cmd_data *record, const char *subcommand, unsigned long code)
{
    swap_request request = {};
    if (!read_swap(record, subcommand, &request))
        return false;
    if (sys_ioctl(fd, code, &request) >= 0)
        return true;
    ROVA_LOG_ERR("failed to ioctl %s (%s) \n", FRAMEBUFFER, rova_reason());
    return false;
}

static int open_and_swap(uint32_t cmd_type, const cmd_data *record, const char *subcommand,
                         unsigned long code)
{
    int fd = sys_open(FRAMEBUFFER, O_RDWR, 0);
    if (fd < 0) {
        ROVA_LOG_ERR("failed to open %s (%s) \n", FRAMEBUFFER, rova_reason());
        return rova_cmd_ng(cmd_type);
    }
    bool swapped = swap(fd, record, subcommand, code);
    close(fd);
    return rova_cmd_answer(cmd_type, swapped);
}

static int rova_cmd_lcd_hswap(uint32_t cmd_type, cmd_data *record)
{
    return open_and_swap(cmd_type, record, "hswap", REQUEST_HSWAP);
}

static int rova_cmd_lcd_vswap(uint32_t cmd_type, cmd_data *record)
{
    return open_and_swap(cmd_type, record, "vswap", REQUEST_VSWAP);
}

static constexpr rova_cmd_entry lcd_table[] = {
    {"draw", rova_cmd_lcd_draw},
    {"hswap", rova_cmd_lcd_hswap},
    {"vswap", rova_cmd_lcd_vswap},
};
static_assert(rova_cmd_table_is_sound(lcd_table));

int rova_cmd_lcd(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(lcd_table, "lcd", cmd_type, record);
}
