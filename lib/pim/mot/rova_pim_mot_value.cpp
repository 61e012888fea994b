#include "lib/pim/mot/rova_pim_wedge.h"
#include "lib/pim/rova_pim_debug.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace
{

int32_t narrow(int64_t value)
{
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

// The TV lines at the chart's two ends of the wedge.
struct reference {
    int32_t least;
    int32_t most;
};

reference reference_of(const rova_pim_chart_config &chart, int32_t index)
{
    return chart.pos[index] == 0 ? reference{chart.ref[0], chart.ref[1]}
                                 : reference{chart.ref[2], chart.ref[3]};
}

// The wedge from its beginning, in lines of the strip.
struct wedge_part {
    int64_t length;
    int64_t resolved;
    bool reversed;
};

// Above the least value; 0 where the wedge has no length or no plausible one.
int64_t gain(const wedge_part &part, reference ref, bool fail)
{
    if (fail || part.length < 1)
        return 0;
    const int64_t from_coarse = part.reversed ? part.length - part.resolved : part.resolved;
    return (int64_t{ref.most} - ref.least) * from_coarse / part.length;
}

// Cut towards 0; what no integer holds becomes the greatest or the least, what is no number the
// least.
int32_t towards_zero(float value)
{
    constexpr float TOO_MUCH = 2147483648.0F; // one above INT32_MAX
    if (std::isnan(value) || value <= -TOO_MUCH)
        return INT32_MIN;
    return value >= TOO_MUCH ? INT32_MAX : static_cast<int32_t>(value);
}

// What the value would be with the chart as large in the picture as its configuration says, judged
// by the length of the centre wedge.  `least` with a report where a size is 0.
int32_t magnified(int32_t value, int32_t least, int32_t chart, int32_t length,
                  const rova_pim_pm_config &cfg)
{
    const float height = static_cast<float>(cfg.imageH), width = static_cast<float>(cfg.imageW);
    const float size = static_cast<float>(value) * cfg.centerPimaHeight[chart] * height;
    const float drawn = width * cfg.chartHeight[chart] * static_cast<float>(length);
    if (drawn == 0.0F) {
        rova_pim_report(" no magnification: picture %d wide, chart %f high, wedge %d long\n",
                        cfg.imageW, static_cast<double>(cfg.chartHeight[chart]), length);
        return least;
    }
    return towards_zero(size * cfg.effectivePixel / drawn);
}

int32_t corrected_value(int32_t value, reference ref, int32_t chart, const rova_pim_pm_config &cfg)
{
    const int32_t length = std::max(cfg.orgAbsPima[0].w, cfg.orgAbsPima[0].h);
    rova_pim_debug(" PIMA Len : %4d \n", length);
    rova_pim_debug(" iMot[No-MG] = %d \n", value);
    const int32_t magnified_value =
        value == ref.least ? ref.least : magnified(value, ref.least, chart, length, cfg);
    rova_pim_debug(" iMot[MG-01] = %d \n", magnified_value);
    const int32_t corrected = std::max(std::min(magnified_value, ref.most), ref.least);
    rova_pim_debug(" iMot[MG-02] = %d \n", corrected);
    return corrected;
}

// Where a wedge that is not magnified would have been resolved to the same value.
int64_t corrected_position(const wedge_part &part, reference ref, int32_t value, int32_t corrected)
{
    if (value == ref.least)
        return part.resolved;
    const int64_t wanted = int64_t{corrected} - ref.least;
    const int64_t found = int64_t{value} - ref.least;
    if (part.reversed)
        return (part.length - part.resolved) * wanted / -found + part.length;
    return part.resolved * wanted / found;
}

} // namespace

void rova_pim_mot_value(const rova_pim_resolved &resolved, int32_t chart, int32_t index,
                        rova_pim_pm_config &cfg)
{
    const rova_pim_chart_config &config = cfg.chart[chart];
    const int32_t dir = config.dir[index];
    rova_pim_debug(" Chart = %d , Pos = %d , Dir = %d \n", chart, config.pos[index], dir);
    const reference ref = reference_of(config, index);
    const wedge_part part = {int64_t{resolved.end} - resolved.start,
                             int64_t{resolved.position} - resolved.start, dir != 0};
    const bool fail = cfg.rangeFail[index] != 0;
    const int32_t value = narrow(std::min<int64_t>(ref.least + gain(part, ref, fail), ref.most));
    const int32_t corrected = corrected_value(value, ref, chart, cfg);

    const bool keep_value = cfg.orgResultData == 2 || cfg.testMode == 2;
    cfg.motOrgValue[index] = value;
    cfg.motValue[index] = keep_value ? value : corrected;
    cfg.posFound[index] = narrow(part.resolved);
    cfg.posCorrected[index] = narrow(corrected_position(part, ref, value, cfg.motValue[index]));
    rova_pim_debug(" Range : RefStart/End =[ %4d ~ %4d ] - Start/End = [ %4d ~ %4d ]\n", ref.least,
                   ref.most, resolved.start, resolved.end);
    rova_pim_debug(" >>>> MOT Value = %4d --> %4d : %4d --> %4d \n\n", value, cfg.motValue[index],
                   cfg.posFound[index], cfg.posCorrected[index]);
}
