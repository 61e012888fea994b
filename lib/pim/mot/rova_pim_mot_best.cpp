#include "lib/pim/mot/rova_pim_mot_best.h"

#include "lib/pim/mot/rova_pim_mot.h"

#include <algorithm>

namespace
{

using level_values = int32_t[PIM_LEVELS];

// A level that may be chosen.
struct candidate {
    int32_t k;
    bool good;
};

candidate passing(const ChartResult &result, int32_t k)
{
    return {k, result.ok[k] == 1};
}

int32_t better_of(const ChartResult &result, int32_t minus, int32_t plus)
{
    if (result.cen[minus] != result.cen[plus])
        return result.cen[minus] > result.cen[plus] ? minus : plus;
    return result.sid[minus] > result.sid[plus] ? minus : plus;
}

int32_t choose(const ChartResult &result, candidate minus, candidate plus, int32_t otherwise)
{
    if (minus.good && plus.good)
        return better_of(result, minus.k, plus.k);
    if (minus.good)
        return minus.k;
    return plus.good ? plus.k : otherwise;
}

// -- by margins

// What a side window has to spare above its pass level, and what a neighbour has to gain.
class Margins
{
public:
    Margins(int32_t chart, const rova_pim_pm_config &cfg)
        : result_(cfg.result[chart]), levels_(cfg.chart[chart].okLevel), alpha_(cfg.alpha),
          beta_(cfg.beta)
    {
    }

    bool spare(int i) const { return result_.win[PIM_FOCUS][i] >= int64_t{alpha_} + levels_[i]; }
    bool all_sides_spare() const
    {
        for (int i = PIM_FIRST_SIDE; i < PIM_WINDOWS; i++) {
            if (!spare(i))
                return false;
        }
        return true;
    }
    // A passing neighbour that gains in the centre and on every side with nothing to spare.
    candidate gaining(int32_t k) const
    {
        bool good = result_.ok[k] == 1 && gains(k, 0) && gains(k, 1);
        for (int i = PIM_FIRST_SIDE; i < PIM_WINDOWS; i++)
            good = good && (spare(i) || gains(k, i));
        return {k, good};
    }

private:
    bool gains(int32_t k, int i) const
    {
        return result_.win[k][i] >= int64_t{result_.win[PIM_FOCUS][i]} + beta_;
    }

    const ChartResult &result_;
    const int32_t (&levels_)[PIM_WINDOWS];
    int32_t alpha_;
    int32_t beta_;
};

// From the focus outwards.
int32_t nearest_passing(const ChartResult &result)
{
    const int32_t outer = choose(result, passing(result, 0), passing(result, 4), PIM_NO_RESULT);
    return choose(result, passing(result, 1), passing(result, 3), outer);
}

int32_t best_by_margins(int32_t chart, const rova_pim_pm_config &cfg)
{
    const ChartResult &result = cfg.result[chart];
    if (result.ok[PIM_FOCUS] != 1)
        return nearest_passing(result);
    const Margins margins(chart, cfg);
    if (margins.all_sides_spare())
        return PIM_FOCUS;
    return choose(result, margins.gaining(1), margins.gaining(3), PIM_FOCUS);
}

// -- by keys

// None is farther than any level.
int32_t distance(int32_t k)
{
    return std::max(k - PIM_FOCUS, PIM_FOCUS - k);
}

int32_t best_by_keys(const ChartResult &result, const level_values &first,
                     const level_values &second)
{
    int32_t best = PIM_NO_RESULT, best_first = 0, best_second = 0;
    for (int32_t k = 0; k < PIM_LEVELS; k++) {
        if (result.ok[k] != 1)
            continue;
        bool wins = distance(k) < distance(best);
        if (first[k] != best_first)
            wins = first[k] > best_first;
        else if (second[k] != best_second)
            wins = second[k] > best_second;
        if (wins) {
            best = k;
            best_first = first[k];
            best_second = second[k];
        }
    }
    return best;
}

} // namespace

int32_t rova_pim_mot_best_index(int32_t chart, const rova_pim_pm_config &cfg)
{
    const ChartResult &result = cfg.result[chart];
    switch (cfg.chart[chart].bestDefocusAlgorithm) {
    case PIM_BEST_BY_MARGINS:
        return best_by_margins(chart, cfg);
    case PIM_BEST_BY_CENTRE:
        return best_by_keys(result, result.cen, result.sid);
    case PIM_BEST_BY_LEAST_SIDE:
        return best_by_keys(result, result.minSide, result.cen);
    default:
        return PIM_NO_RESULT;
    }
}
