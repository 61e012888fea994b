// dust: the test for dust, shading and exposure on a white field.
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/handler/rova_cmd_pim.h"
#include "lib/pim/handler/rova_pim_family.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_reader.h"
#include "platform/factory_osd.h"

#include <algorithm>
#include <cstdio>

namespace
{

constexpr int32_t MARGIN = 2; // between a find and the frame around it

constinit int32_t config_status = PIM_CONFIG_MISSING;

int rova_cmd_dust_set(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_set_family_mode(record, answer, PI_MODE_DUST);
}

int rova_cmd_dust_read_config(const cmd_data *, rova_cmd_response *answer)
{
    ROVA_LOG_INFO("%s %d : read config\n", __func__, __LINE__);
    return rova_pim_answer(answer, rova_pim_load_config(__func__, &config_status, true));
}

template <void (*get)(int32_t *, const rova_pim_dust_config &)> int32_t value()
{
    int32_t number = PIM_NO_RESULT;
    get(&number, cfgDust);
    return number;
}

// In pixels of the LCD: where the configuration has not had that done already.
rova_pim_corners on_lcd(const rova_pim_corners &place)
{
    return cfgDust.iDbgOption[3] == 1 ? place : rova_pim_dust_on_lcd(place, cfgDust);
}

// In 64 bits, since a configuration may have an LCD of any size.
rova_pim_corners moved(const rova_pim_corners &place, int64_t first, int64_t second)
{
    return {rova_pim_narrow(place.x1 + first), rova_pim_narrow(place.y1 + first),
            rova_pim_narrow(place.x2 + second), rova_pim_narrow(place.y2 + second)};
}

// By corners: with blanks, not as the markers' windows are told.
void draw_corners(const rova_pim_corners &place)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%d, %d, %d, %d, red", place.x1, place.y1, place.x2,
                  place.y2);
    rova_osd_draw(FACTORY_OSD_DRAW_RECTANGLE, text);
}

void draw_step()
{
    int32_t pos[4] = {};
    GetShadingPosition(pos, cfgDust);
    draw_corners(moved(on_lcd({pos[0], pos[1], pos[2], pos[3]}), -MARGIN, -MARGIN));
}

void draw_dust()
{
    rova_pim_corners positions[PIM_DUST] = {};
    int32_t count = 0;
    GetDustPositions(positions, &count, cfgDust);
    for (int32_t i = 0; i < std::min(count, PIM_MOST_MARKS); i++)
        draw_corners(moved(on_lcd(positions[i]), -MARGIN, MARGIN));
}

void print_config_error(const char *name)
{
    rova_pim_print("%s %d : display result : read config error\n", name, __LINE__);
}

bool show_verdict(const char *name)
{
    static constexpr rova_pim_check CHECKS[] = {{"Corner", value<GetShadingOk>, draw_step},
                                                {"4xShading", value<Get4xShadingOk>, nullptr},
                                                {"Exposure", value<GetExposureOk>, nullptr},
                                                {"Dust", value<GetDustOk>, draw_dust},
                                                {"Color Shade", value<GetColorShadingOk>, nullptr}};
    const int32_t total = value<GetDustTotal>();
    rova_pim_print("%s, %d, final %d \n", name, __LINE__, total);
    return rova_pim_show_verdict(total, CHECKS);
}

int rova_cmd_dust_display_result(const cmd_data *record, rova_cmd_response *answer)
{
    static constexpr rova_pim_display DISPLAY = {.name = "rova_cmd_dust_display_result",
                                                 .min_count = 2,
                                                 .status = &config_status,
                                                 .print_config_error = print_config_error,
                                                 .verdict = show_verdict};
    return rova_pim_display_result(DISPLAY, record, answer);
}

// display_result has its own order of checks: its end belongs to each of them.
constexpr rova_pim_cmd DUST_CMDS[] = {
    // clang-format off
    {"set",            rova_cmd_dust_set,            2, nullptr},
    {"read_config",    rova_cmd_dust_read_config,    1, nullptr},
    {"display_result", rova_cmd_dust_display_result, 0, nullptr},
    // clang-format on
};

} // namespace

int rova_cmd_dust(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_family_exec(DUST_CMDS, record, answer);
}
