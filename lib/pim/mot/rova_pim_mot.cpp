#include "lib/pim/mot/rova_pim_mot.h"

#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_marker.h"
#include "lib/pim/mot/rova_pim_wedge.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <span>

namespace
{

constexpr const char *CHART_WORDS[PIM_CHARTS] = {"WIDE", "TELE", "MID."};

constexpr char RULE[] =
    " ================================================================================\n";
constexpr char START[] =
    " <<<<< MOT  START.... >>>>>                                                      \n";
constexpr char END[] =
    " <<<<< MOT  END.... >>>>>                                                        \n";

constexpr int32_t PATCH = 100; // pixels of the patch whose brightness is measured, both ways

void print_banner(const char *middle)
{
    rova_pim_debug("%s", RULE);
    rova_pim_debug("%s", middle);
    rova_pim_debug("%s", RULE);
}

// The record as a picture finds it: what is not measured has the chart's least value.
void reset_picture(int32_t chart, rova_pim_pm_config &cfg)
{
    for (int i = 0; i < PIM_WINDOWS; i++)
        cfg.motValue[i] = cfg.motOrgValue[i] = rova_pim_mot_floor(cfg.chart[chart], i);
    for (auto *boxes : {&cfg.scrPima, &cfg.orgWin, &cfg.orgRelPima, &cfg.orgAbsPima})
        std::ranges::fill(*boxes, rova_pim_box{});
    std::ranges::fill(cfg.posFound, 0);
    std::ranges::fill(cfg.posCorrected, 0);
    cfg.qaResult = PIM_NO_RESULT;
}

int measure(const rova_pim_image &screen, const rova_pim_image &full, int32_t chart, int32_t colour,
            rova_pim_pm_config &cfg)
{
    if (rova_pim_search_screen_nail(screen, colour, chart, cfg) != 0) {
        rova_pim_report(" Can Not Found Color Marker in Screen Nail....!!! \n");
        return -1;
    }
    if (rova_pim_find_wedges(screen, chart, cfg) != 0) {
        rova_pim_report(" Can Not Found PIMA in SCR Nail....\n");
        return -1;
    }
    return rova_pim_measure_wedges(full, chart, cfg);
}

// The corner of the patch of brightness.
rova_pim_point patch_of(const rova_pim_pm_config &cfg)
{
    return {static_cast<int32_t>(int64_t{cfg.imageW} * 3 / 10), cfg.imageH / 5};
}

// The mean of the first PATCH by PATCH pixels of a copy that is one wider and higher; 0 where the
// picture or the buffer has no room for it.
void measure_brightness(const rova_pim_image &full, rova_pim_pm_config &cfg)
{
    constexpr std::size_t PITCH = PATCH + 1;
    const std::span<uint8_t> buffer = rova_pim_picture_buffer();
    const rova_pim_point at = patch_of(cfg);
    std::ranges::fill(buffer, uint8_t{0});
    const std::size_t copied = GetArea(full, {at.x, at.y, at.x + PATCH, at.y + PATCH}, buffer);
    int32_t sum = 0;
    if (copied == PITCH * PITCH) {
        for (std::size_t y = 0; y < PATCH; y++)
            sum = std::accumulate(&buffer[y * PITCH], &buffer[y * PITCH] + PATCH, sum);
    } else {
        rova_pim_report(" no brightness at ( %d, %d ) of %d x %d pixels with %zu bytes\n", at.x,
                        at.y, full.width, full.height, buffer.size());
    }
    cfg.yValueNow = sum / (PATCH * PATCH);
    rova_pim_debug(" Y-VALUE = %d ( %4d, %4d, %4d x %4d ) \n\n", cfg.yValueNow, at.x, at.y, PATCH,
                   PATCH);
}

// The way of a picture whose chart is there.
int process(const rova_pim_image &screen, const rova_pim_image &full, int32_t chart, int32_t colour,
            rova_pim_pm_config &cfg)
{
    reset_picture(chart, cfg);
    rova_pim_debug(" <<<<< %s CHART >>>>>  \n\n", rova_pim_mot_chart_word(chart));
    const int result = measure(screen, full, chart, colour, cfg);
    measure_brightness(full, cfg);
    if (cfg.testMode != 0)
        rova_pim_mot_write_qa_row(chart, cfg);
    else
        rova_pim_mot_record(chart, cfg);
    print_banner(END);
    return result;
}

const char *verdict_word(int32_t verdict)
{
    if (verdict == PIM_NO_RESULT)
        return "-";
    return verdict == 1 ? "OK" : "NG";
}

int32_t chart_verdict(int32_t chart, const rova_pim_pm_config &cfg)
{
    const rova_pim_chart_config &config = cfg.chart[chart];
    if (cfg.result[chart].okCount >= config.okCntCondition)
        return 1;
    return config.rangeSize < 1 ? PIM_NO_RESULT : 0;
}

} // namespace

const char *rova_pim_mot_chart_word(int32_t chart)
{
    return rova_pim_mot_is_chart(chart) ? CHART_WORDS[chart] : "-";
}

int MOT_Resol_Process(const rova_pim_image &screen, const rova_pim_image &full, int32_t chart,
                      int32_t colour, rova_pim_pm_config &cfg)
{
    if (rova_pim_mot_is_chart(chart) && cfg.chart[chart].rangeSize == 0) {
        rova_pim_report(" WRONG !!! : [ %s ] Range Size = %d  \n", CHART_WORDS[chart], 0);
        return -1;
    }
    if (rova_pim_debug_open(cfg.debugFile) != 0)
        rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.debugFile);
    print_banner(START);
    cfg.nowChart = chart;
    cfg.nowCS = screen.iCS;
    int result = -1;
    if (rova_pim_mot_is_chart(chart))
        result = process(screen, full, chart, colour, cfg);
    else
        rova_pim_report(" <<<<< INVALID INPUT PARAMTER\n");
    rova_pim_debug_close();
    return result;
}

rova_pim_mot_final GetMotFinal(const rova_pim_pm_config &cfg)
{
    const rova_pim_mot_final verdicts = {
        cfg.finalResult, {chart_verdict(0, cfg), chart_verdict(1, cfg), chart_verdict(2, cfg)}};
    const auto &[wide, tele, mid] = verdicts.chart;
    rova_pim_debug(" FINAL RESULT = %d [ %s ] \n", verdicts.finalResult,
                   verdict_word(verdicts.finalResult));
    rova_pim_debug(" RESULT = %d [ %s ] : %d [ %s ] : %d [ %s ]  \n", wide, verdict_word(wide),
                   tele, verdict_word(tele), mid, verdict_word(mid));
    return verdicts;
}

std::array<int32_t, PIM_CHARTS> GetMotBestLevels(const rova_pim_pm_config &cfg)
{
    const std::array<int32_t, PIM_CHARTS> levels = {
        cfg.result[0].bestLevel, cfg.result[1].bestLevel, cfg.result[2].bestLevel};
    rova_pim_debug(" BEST AF LEVEL = [ WIDE : %d ], [ TELE : %d ], [ MID. : %d ] \n\n", levels[0],
                   levels[1], levels[2]);
    return levels;
}
