#include "lib/pim/mot/rova_pim_mot.h"
#include "lib/pim/mot/rova_pim_mot_best.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <climits>
#include <iterator>

namespace
{

constexpr int32_t SIDE_LIMIT = 9999; // no least side value is above

// The sum of the windows from `from` to `to` - 1, at most what the record keeps.
int32_t sum_of(const int32_t (&values)[PIM_WINDOWS], int from, int to)
{
    int64_t sum = 0;
    for (int i = from; i < to; i++)
        sum += values[i];
    return static_cast<int32_t>(std::clamp<int64_t>(sum, INT32_MIN, INT32_MAX));
}

// The level of the next picture, PIM_NO_RESULT with a report where there is none.
int32_t next_index(int32_t chart, const rova_pim_pm_config &cfg)
{
    const int32_t taken = cfg.result[chart].picCount;
    const rova_pim_chart_config &config = cfg.chart[chart];
    const char *word = rova_pim_mot_chart_word(chart);
    if (taken >= config.rangeSize) {
        rova_pim_report(" ERROR ~!!!! : EXCESS the Number of Picture [ %s : %d / %d ]\n", word,
                        taken, config.rangeSize);
        return PIM_NO_RESULT;
    }
    const int64_t k = int64_t{taken} + PIM_FOCUS + config.afStart;
    if (k < 0 || k >= PIM_LEVELS) {
        rova_pim_report(" no AF level for picture %d of [ %s ] from %d on\n", taken + 1, word,
                        config.afStart);
        return PIM_NO_RESULT;
    }
    return static_cast<int32_t>(k);
}

void print_window(int i, const rova_pim_chart_config &config, const rova_pim_pm_config &cfg)
{
    const rova_pim_box &window = cfg.orgWin[i];
    rova_pim_debug(" Window[%d] : \n", i);
    rova_pim_debug(" S:(%4d,%4d) E:(%4d,%4d) SIZE: %d x %d \n", window.x0, window.y0, window.x1,
                   window.y1, window.w, window.h);
    rova_pim_debug(" Direction : %d [ %s ] \n", config.dir[i],
                   config.dir[i] == 0 ? "Left-->Right" : "Right-->Left");
    rova_pim_debug(" Position  : %d [ %s ] \n", config.pos[i],
                   config.pos[i] == 0 ? "Center" : "Side");
    rova_pim_debug(" >>>> MOT Value = %d \n\n", cfg.motValue[i]);
}

void record_level(int32_t k, const rova_pim_chart_config &config, const rova_pim_pm_config &cfg,
                  ChartResult &result)
{
    for (int i = 0; i < PIM_WINDOWS; i++)
        print_window(i, config, cfg);
    const auto &values = result.win[k];
    std::ranges::copy(cfg.motValue, result.win[k]);
    std::ranges::copy(cfg.motOrgValue, result.org[k]);
    result.cen[k] = sum_of(values, 0, PIM_FIRST_SIDE);
    result.sid[k] = sum_of(values, PIM_FIRST_SIDE, PIM_WINDOWS);
    result.minSide[k] =
        std::min(SIDE_LIMIT, *std::min_element(values + PIM_FIRST_SIDE, std::end(values)));
    const bool passes = std::ranges::equal(values, config.okLevel, std::ranges::greater_equal());
    result.ok[k] = passes ? 1 : 0;
    result.afStep[k] = gMotExifInfo.afStep;
    result.yValue[k] = cfg.yValueNow;
}

void print_choice(int32_t chart, const ChartResult &result)
{
    const char *word = rova_pim_mot_chart_word(chart);
    if (result.bestLevel != PIM_NO_RESULT)
        rova_pim_debug(" [ %s CHART ] Final GOOD AF Level = %d, AF Step = %d \n", word,
                       result.bestLevel, result.bestAfStep);
    else
        rova_pim_debug(" [ %s CHART ] All NG in Full AF Level = %d, AF Step = %d \n", word,
                       result.bestLevel, result.bestAfStep);
}

void choose_best(int32_t chart, rova_pim_pm_config &cfg)
{
    const rova_pim_chart_config &config = cfg.chart[chart];
    ChartResult &result = cfg.result[chart];
    const int32_t k = rova_pim_mot_best_index(chart, cfg);
    const bool found = k != PIM_NO_RESULT;
    cfg.bestIndex = k;
    result.bestLevel = found ? k - PIM_FOCUS : PIM_NO_RESULT;
    result.bestAfStep = found ? config.defocus[k] : PIM_NO_RESULT;
    result.bestRemapped = found ? config.remappedAfLevel[k] : PIM_NO_RESULT;
    if (config.bestDefocusAlgorithm != PIM_BEST_BY_MARGINS)
        print_choice(chart, result);
}

// The best level and the table, as far as the chart's algorithm has them at this picture.
void conclude(int32_t chart, rova_pim_pm_config &cfg)
{
    const int32_t algorithm = cfg.chart[chart].bestDefocusAlgorithm;
    if (algorithm < PIM_BEST_BY_MARGINS || algorithm > PIM_BEST_BY_LEAST_SIDE)
        return;
    const bool complete = cfg.result[chart].picCount == cfg.chart[chart].rangeSize;
    const bool due = cfg.bestIndex == PIM_NO_RESULT && complete;
    if (due)
        choose_best(chart, cfg);
    if (due || algorithm == PIM_BEST_BY_MARGINS)
        rova_pim_mot_write_table(chart, cfg);
}

} // namespace

void rova_pim_mot_record(int32_t chart, rova_pim_pm_config &cfg)
{
    ChartResult &result = cfg.result[chart];
    const int32_t k = next_index(chart, cfg);
    if (k == PIM_NO_RESULT)
        return;
    record_level(k, cfg.chart[chart], cfg, result);
    if (result.picCount == 0)
        cfg.bestIndex = PIM_NO_RESULT;
    result.picCount++;
    conclude(chart, cfg);
}
