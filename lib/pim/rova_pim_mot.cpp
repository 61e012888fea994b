#include "lib/pim/rova_pim_mot.h"

#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <iterator>

namespace
{

constexpr const char *CHART_WORDS[PIM_CHARTS] = {"WIDE", "TELE", "MID."};

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
    return chart >= 0 && chart < PIM_CHARTS ? CHART_WORDS[chart] : "-";
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
