// mot: the resolution test.
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "lib/pim/handler/rova_cmd_pim.h"
#include "lib/pim/handler/rova_pim_family.h"
#include "lib/pim/mot/rova_pim_avcs.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"
#include "platform/capture.h"
#include "platform/device.h"
#include "platform/factory_osd.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>

namespace
{

constexpr int AVCS_PROPERTY_TYPE = 13;
constexpr int AVCS_PROPERTY = 4;
constexpr useconds_t AVCS_INTERVAL_US = 500000;

constinit int32_t config_status = PIM_CONFIG_MISSING;

struct chart_word {
    const char *word;
    int32_t chart;
};

constexpr chart_word CHARTS[] = {
    {"wide", PIM_CHART_WIDE}, {"mid", PIM_CHART_MID}, {"tele", PIM_CHART_TELE}};

// The chart that p[1] names; NULL for another word.
const chart_word *find_chart(const cmd_data *record)
{
    const auto found = std::ranges::find_if(
        CHARTS, [&](const chart_word &row) { return rova_pim_param_is(record, 1, row.word); });
    return found == std::end(CHARTS) ? nullptr : found;
}

bool is_mot_mode()
{
    if (GetPIMode() == PI_MODE_MOT)
        return true;
    rova_pim_print("Available on MOT mode.");
    return false;
}

int rova_cmd_mot_set(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_set_family_mode(record, answer, PI_MODE_MOT);
}

int rova_cmd_mot_read_config(const cmd_data *, rova_cmd_response *answer)
{
    return rova_pim_answer(answer, rova_pim_load_config(__func__, &config_status, true));
}

bool clear_avcs_property()
{
    int value = 0;
    int result = device_get_property(AVCS_PROPERTY_TYPE, AVCS_PROPERTY, &value);
    if (result == 0 && value == 1)
        result = device_set_property(AVCS_PROPERTY_TYPE, AVCS_PROPERTY, 0);
    if (result != 0)
        ROVA_LOG_ERR("device property (%d, %d) cannot be cleared (%d)\n", AVCS_PROPERTY_TYPE,
                     AVCS_PROPERTY, result);
    return result == 0;
}

bool avcs_on(const char *name)
{
    rova_pim_print("%s %d : avcs on\n", name, __LINE__);
    if (is_mot_mode())
        cfgPm.avcsMode = 1;
    if (rova_pim_register_image_callback_id(regPim, CAPTURE_LIVE_VIEW_ID) < 0)
        return false; // no frame would ever end the wait
    gAvcsFinished = 0;
    const bool finished = rova_pim_wait_for(gAvcsFinished, AVCS_INTERVAL_US);
    rova_pim_unregister_image_callback_id(regPim, CAPTURE_LIVE_VIEW_ID);
    if (!finished)
        ROVA_LOG_ERR("the search for the markers was stopped\n");
    return finished;
}

bool avcs_off(const char *name)
{
    rova_pim_print("%s %d : avcs off\n", name, __LINE__);
    cfgPm.avcsMode = 0;
    rova_pim_unregister_image_callback_id(regPim, CAPTURE_LIVE_VIEW_ID);
    gAvcsFinished = 0;
    rova_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    return true;
}

int rova_cmd_mot_avcs(const cmd_data *record, rova_cmd_response *answer)
{
    const bool cleared = clear_avcs_property();
    const bool done = (rova_pim_param_is(record, 1, "on") && avcs_on(__func__)) ||
                      (rova_pim_param_is(record, 1, "off") && avcs_off(__func__));
    return rova_pim_answer(answer, done && cleared);
}

int rova_cmd_mot_set_chart(const cmd_data *record, rova_cmd_response *answer)
{
    const chart_word *chart = find_chart(record);
    if (chart == nullptr)
        return rova_pim_answer(answer, false);
    rova_pim_print("%s %d : set_zoom %s\n", __func__, __LINE__, chart->word);
    stepValue = chart->chart;
    SendSetChart(chart->chart);
    return rova_pim_answer(answer, true);
}

int rova_cmd_mot_set_range(const cmd_data *record, rova_cmd_response *answer)
{
    const chart_word *chart = find_chart(record);
    if (chart == nullptr)
        return rova_pim_answer(answer, false);
    rova_pim_print("%s %d : set range %s\n", __func__, __LINE__, chart->word);
    if (is_mot_mode()) {
        const auto lock = rova_pim_lock_records();
        rova_pim_chart_config &config = cfgPm.chart[chart->chart];
        config.afStart = rova_pim_number(record, 2);
        config.afEnd = rova_pim_number(record, 3);
        config.cz = rova_pim_number(record, 4);
        config.rangeSize = rova_pim_number(record, 5);
    }
    return rova_pim_answer(answer, true);
}

void print_config_error(const char *name)
{
    rova_pim_print("%s %d : read config error\n", name, __LINE__);
}

const char *result_word(int32_t result)
{
    return result == 1 ? "OK" : result == 0 ? "NG" : "-";
}

std::string level_word(int32_t level)
{
    return level == PIM_NO_RESULT ? "-" : std::to_string(level);
}

void draw_result_table(const rova_pim_mot_final &verdicts)
{
    const auto best = GetMotBestLevels(cfgPm);
    rova_pim_print("\033[43m%4d, %4d, %4d\n", best[PIM_CHART_WIDE], best[PIM_CHART_TELE],
                   best[PIM_CHART_MID]);
    char text[64];
    std::snprintf(text, sizeof(text), "%s,%s,%s,%s,%s,%s", level_word(best[PIM_CHART_WIDE]).c_str(),
                  level_word(best[PIM_CHART_TELE]).c_str(), level_word(best[PIM_CHART_MID]).c_str(),
                  result_word(verdicts.chart[PIM_CHART_WIDE]),
                  result_word(verdicts.chart[PIM_CHART_TELE]),
                  result_word(verdicts.chart[PIM_CHART_MID]));
    rova_osd_draw(FACTORY_OSD_DRAW_CLEAR, "0");
    rova_osd_draw(FACTORY_OSD_DRAW_TABLE, text);
}

// True whatever the test found: that is on the screen and in the file.
bool show_verdict(const char *name)
{
    const rova_pim_mot_final verdicts = GetMotFinal(cfgPm);
    rova_pim_print("\033[43mFinal Result : %d // WIDE : %d, TELE : %d, MID : %d\033[0m\n",
                   verdicts.finalResult, verdicts.chart[PIM_CHART_WIDE],
                   verdicts.chart[PIM_CHART_TELE], verdicts.chart[PIM_CHART_MID]);
    if (verdicts.finalResult == PIM_NO_RESULT) {
        rova_pim_print("%s %d : display result on Final Result -99\n", name, __LINE__);
        rova_osd_draw(FACTORY_OSD_DRAW_NG, "Picture Count Wrong!!!");
        return false;
    }
    draw_result_table(verdicts);
    return true;
}

int rova_cmd_mot_display_result(const cmd_data *record, rova_cmd_response *answer)
{
    static constexpr rova_pim_display DISPLAY = {.name = "rova_cmd_mot_display_result",
                                                 .min_count = 3,
                                                 .status = &config_status,
                                                 .print_config_error = print_config_error,
                                                 .verdict = show_verdict};
    return rova_pim_display_result(DISPLAY, record, answer);
}

// display_result has its own order of checks: its end belongs to each of them.
constexpr rova_pim_cmd MOT_CMDS[] = {
    // clang-format off
    {"set",            rova_cmd_mot_set,            2, nullptr},
    {"read_config",    rova_cmd_mot_read_config,    1, nullptr},
    {"avcs",           rova_cmd_mot_avcs,           2, &config_status},
    {"set_chart",      rova_cmd_mot_set_chart,      2, &config_status},
    {"set_range",      rova_cmd_mot_set_range,      6, &config_status},
    {"display_result", rova_cmd_mot_display_result, 0, nullptr},
    // clang-format on
};

} // namespace

int rova_cmd_mot(const cmd_data *record, rova_cmd_response *answer)
{
    return rova_pim_family_exec(MOT_CMDS, record, answer);
}
