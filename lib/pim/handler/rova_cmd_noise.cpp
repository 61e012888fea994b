// noise: the test for dots, colours and lines on a grey field.
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "lib/pim/handler/rova_cmd_pim.h"
#include "lib/pim/handler/rova_pim_family.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "platform/factory_osd.h"

#include <algorithm>
#include <cstdio>

namespace
{

constinit int32_t config_status = PIM_CONFIG_MISSING;

int rova_cmd_noise_set(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_set_family_mode(record, answer, PI_MODE_NOISE);
}

int rova_cmd_noise_read_config(const cmd_data *, rova_cmd_response *answer)
{
    ROVA_LOG_INFO("%s %d : read config\n", __func__, __LINE__);
    return rova_pim_answer(answer, rova_pim_load_config(__func__, &config_status, true));
}

int rova_cmd_noise_change_iso(const cmd_data *record, rova_cmd_response *answer)
{
    rova_pim_print("%s %d : noise change iso\n", __func__, __LINE__);
    if (GetPIMode() == PI_MODE_NOISE) {
        const auto lock = rova_pim_lock_records();
        SetNoiseIso(rova_pim_number(record, 1), cfgNoise);
    } else {
        rova_pim_print("Available on Noise Test mode.");
    }
    return rova_pim_answer(answer, true);
}

template <void (*get)(int32_t *, const rova_pim_noise_config &)> int32_t value()
{
    int32_t number = PIM_NO_RESULT;
    get(&number, cfgNoise);
    return number;
}

// From a column of a picture of 5472 to one of a panel of 720, whatever the configuration has.
int32_t panel_column(int32_t position)
{
    return static_cast<int32_t>(int64_t{position} * 5 / 38);
}

void draw_lines()
{
    int32_t positions[PIM_NOISE_LINES] = {};
    int32_t count = 0;
    GetNoiseLinePositions(positions, &count, cfgNoise);
    for (int32_t i = 0; i < std::min(count, PIM_MOST_MARKS); i++) {
        char text[64];
        std::snprintf(text, sizeof(text), "%d, 0, 4, 480, red", panel_column(positions[i]) - 2);
        rova_osd_draw(FACTORY_OSD_DRAW_LINE, text);
    }
}

void print_config_error(const char *name)
{
    rova_pim_print("%s %d : display result : read config error\n", name, __LINE__);
}

bool show_verdict(const char *)
{
    static constexpr rova_pim_check CHECKS[] = {{"dot", value<GetDotNoiseOk>, nullptr},
                                                {"color", value<GetColorNoiseOk>, nullptr},
                                                {"line", value<GetLineNoiseOk>, draw_lines}};
    return rova_pim_show_verdict(value<GetNoiseTotal>(), CHECKS);
}

int rova_cmd_noise_display_result(const cmd_data *record, rova_cmd_response *answer)
{
    static constexpr rova_pim_display DISPLAY = {.name = "rova_cmd_noise_display_result",
                                                 .min_count = 2,
                                                 .status = &config_status,
                                                 .print_config_error = print_config_error,
                                                 .verdict = show_verdict};
    return rova_pim_display_result(DISPLAY, record, answer);
}

// display_result has its own order of checks: its end belongs to each of them.
constexpr rova_pim_cmd NOISE_CMDS[] = {
    // clang-format off
    {"set",            rova_cmd_noise_set,            2, nullptr},
    {"read_config",    rova_cmd_noise_read_config,    1, nullptr},
    {"change_iso",     rova_cmd_noise_change_iso,     2, nullptr},
    {"display_result", rova_cmd_noise_display_result, 0, nullptr},
    // clang-format on
};

} // namespace

int rova_cmd_noise(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_family_exec(NOISE_CMDS, record, answer);
}
