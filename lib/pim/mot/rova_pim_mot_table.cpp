#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"
#include "lib/pim/rova_pim_result.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <numeric>

namespace
{

constexpr int32_t USED = 1;

// The titles of a chart's columns in the two kinds of table.
struct chart_title {
    const char *one;
    const char *all;
};

#define COLUMNS "AF LOG,CN_H, CN_V, LT_H, LT_V, LB_H, LB_V, RT_H, RT_V, RB_H, RB_V, Y-VAL, RESULT, "
constexpr chart_title TITLES[PIM_CHARTS] = {
    {"WIDE," COLUMNS "W-BEST,", "WIDE,AF LOG,"},
    {"TELE," COLUMNS "T-BEST,", "TELE,AF LOG,"},
    {"MID ," COLUMNS "M-BEST,", "MID,AF LOG,"},
};
#undef COLUMNS

bool of_all_charts(const rova_pim_pm_config &cfg)
{
    return cfg.resultType != 0;
}

// The wide and the tele chart have columns in any case.
bool has_columns(int32_t chart, const rova_pim_pm_config &cfg)
{
    return chart != PIM_CHART_MID || cfg.chartUsage[PIM_CHART_MID] == USED;
}

void print_summary(int32_t chart, const rova_pim_pm_config &cfg)
{
    const auto &[wide, tele, mid] = cfg.result;
    rova_pim_debug(" Chart       = %d [ %s ] \n", chart, rova_pim_mot_chart_word(chart));
    rova_pim_debug(" BestAfLevel = %3d %3d %3d \n", wide.bestLevel, tele.bestLevel, mid.bestLevel);
    rova_pim_debug(" RstCnt      = %3d %3d %3d \n", wide.picCount, tele.picCount, mid.picCount);
    rova_pim_debug(" RangeSize   = %3d %3d %3d \n", cfg.chart[0].rangeSize, cfg.chart[1].rangeSize,
                   cfg.chart[2].rangeSize);
}

bool is_complete(int32_t chart, const rova_pim_pm_config &cfg)
{
    const ChartResult &result = cfg.result[chart];
    return result.bestLevel != PIM_NO_RESULT || result.picCount == cfg.chart[chart].rangeSize;
}

bool is_due(int32_t chart, const rova_pim_pm_config &cfg)
{
    if (of_all_charts(cfg))
        return is_complete(0, cfg) && is_complete(1, cfg) && is_complete(2, cfg);
    if (rova_pim_mot_is_chart(chart))
        return is_complete(chart, cfg);
    rova_pim_report(" Wrong Chart ~~ !! : %d \n", chart);
    return false;
}

// What an unfinished run of rows still holds goes to its own file.
int begin_table(const rova_pim_pm_config &cfg)
{
    rova_pim_result_close();
    rova_pim_result_clear();
    std::ranges::fill(pPtpTile, '\0');
    if (of_all_charts(cfg))
        std::ranges::fill(pPtpTilefromEEPROM, '\0');
    if (of_all_charts(cfg) && cfg.rstPrint == PIM_RESULT_KEPT)
        return 0;
    return rova_pim_mot_open_result(cfg);
}

void print_all_title(const rova_pim_pm_config &cfg)
{
    std::snprintf(pPtpTilefromEEPROM, sizeof(pPtpTilefromEEPROM), "%s%s%s", TITLES[0].all,
                  TITLES[1].all, has_columns(PIM_CHART_MID, cfg) ? TITLES[2].all : "");
    rova_pim_result_print(" TIME,%s", pPtpTilefromEEPROM);
}

void print_one_title(const rova_pim_pm_config &cfg)
{
    rova_pim_result_print("TIME,%s%s%s", TITLES[0].one, TITLES[1].one,
                          has_columns(PIM_CHART_MID, cfg) ? TITLES[2].one : "");
}

void print_title(const rova_pim_pm_config &cfg)
{
    if (of_all_charts(cfg))
        print_all_title(cfg);
    else
        print_one_title(cfg);
    rova_pim_result_print("Defect_Result, TOTAL \n");
    rova_pim_mot_end_title(cfg);
}

// The verdict of each chart that takes pictures, and of them all.
void judge(rova_pim_pm_config &cfg)
{
    bool pass = true;
    for (int32_t chart = 0; chart < PIM_CHARTS; chart++) {
        const rova_pim_chart_config &config = cfg.chart[chart];
        ChartResult &result = cfg.result[chart];
        if (config.rangeSize == 0)
            continue;
        result.okCount = std::accumulate(std::begin(result.ok), std::end(result.ok), 0);
        pass = pass && config.okCntCondition <= result.okCount;
    }
    cfg.finalResult = pass ? 1 : 0;
}

bool in_range(int32_t k, const rova_pim_chart_config &config)
{
    return k > int64_t{config.afStart} + 1 && k <= int64_t{config.afEnd} + PIM_FOCUS;
}

// No value that is shown lies below the floor; levels that no picture was meant for have none.
void normalise(int32_t k, const rova_pim_chart_config &config, ChartResult &result)
{
    const bool shown = in_range(k, config) && config.rangeSize != 0;
    for (int i = 0; i < PIM_WINDOWS; i++) {
        const int32_t floor = rova_pim_mot_floor(config, i);
        if (!shown)
            result.win[k][i] = result.org[k][i] = 0;
        else if (result.win[k][i] <= floor)
            result.win[k][i] = result.org[k][i] = floor;
    }
}

const char *level_word(int32_t k, const rova_pim_chart_config &config, const ChartResult &result)
{
    if (result.ok[k] == 1)
        return "OK,";
    return config.rangeSize < 1 ? "-," : "NG,";
}

void print_chart(int32_t k, int32_t chart, rova_pim_pm_config &cfg)
{
    const rova_pim_chart_config &config = cfg.chart[chart];
    ChartResult &result = cfg.result[chart];
    rova_pim_result_print("%4d,", result.afLevel[k]);
    rova_pim_result_print("%4d,", result.afStep[k]);
    normalise(k, config, result);
    for (int i = 0; i < PIM_WINDOWS; i++)
        rova_pim_mot_print_value(result.win[k][i], result.org[k][i], cfg);
    rova_pim_result_print("%4d,", result.yValue[k]);
    rova_pim_result_print("%s", level_word(k, config, result));
    if (result.bestLevel == k - PIM_FOCUS)
        rova_pim_result_print("%d,", result.bestLevel);
    else
        rova_pim_result_print(",  ");
}

void print_row(int32_t k, rova_pim_pm_config &cfg)
{
    rova_pim_result_print("%02d:%02d:%02d,", 0, 0, 0);
    for (int32_t chart = 0; chart < PIM_CHARTS; chart++) {
        if (has_columns(chart, cfg))
            print_chart(k, chart, cfg);
    }
    if (of_all_charts(cfg))
        rova_pim_result_print(",%s", cfg.finalResult == 1 ? "OK," : "NG,");
    rova_pim_result_print("\n");
}

void print_rows(rova_pim_pm_config &cfg)
{
    const bool last_stays = !of_all_charts(cfg) && cfg.rstPrint == PIM_RESULT_KEPT;
    for (int32_t k = 0; k < PIM_LEVELS; k++) {
        if (k > 0)
            rova_pim_result_print_empty_columns(cfg.dbgOption[0]);
        print_row(k, cfg);
        if (last_stays)
            rova_pim_result_restart();
    }
}

} // namespace

void rova_pim_mot_print_value(int32_t value, int32_t org, const rova_pim_pm_config &cfg)
{
    if (cfg.orgResultData == 1)
        rova_pim_result_print("(%4d) %4d,", org, value);
    else
        rova_pim_result_print("%4d,", value);
}

void rova_pim_mot_end_title(const rova_pim_pm_config &cfg)
{
    if (cfg.rstPrint != PIM_RESULT_KEPT)
        return;
    std::copy_n(pRstData, sizeof(pPtpTile) - 1, pPtpTile);
    rova_pim_result_clear();
}

int rova_pim_mot_open_result(const rova_pim_pm_config &cfg)
{
    if (rova_pim_result_open(cfg.resultFile) == 0)
        return 0;
    rova_pim_report(" FILE OPEN ERROR : %s \n\n", cfg.resultFile);
    return -1;
}

void rova_pim_mot_write_table(int32_t chart, rova_pim_pm_config &cfg)
{
    if (cfg.dbgLevel[1] != 0)
        print_summary(chart, cfg);
    if (!is_due(chart, cfg) || begin_table(cfg) != 0)
        return;
    print_title(cfg);
    if (of_all_charts(cfg))
        judge(cfg);
    print_rows(cfg);
    rova_pim_buffers_free(); // nothing, where another table has freed them
    rova_pim_result_close();
}
