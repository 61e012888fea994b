// Which of a chart's levels is the best focused one.  Any thread.
#pragma once

#include "lib/pim/mot/rova_pim_config_mot.h"

#include <cstdint>

// The values of the configuration's bestDefocusAlgorithm.
inline constexpr int32_t PIM_BEST_BY_MARGINS = 1;
inline constexpr int32_t PIM_BEST_BY_CENTRE = 2;
inline constexpr int32_t PIM_BEST_BY_LEAST_SIDE = 3;

// The index of the chart's best level by its algorithm, PIM_NO_RESULT if no level is good or the
// algorithm is none of the three.
int32_t rova_pim_mot_best_index(int32_t chart, const rova_pim_pm_config &cfg);
