// Starts and verdicts of the checks of brightness, for each check of its own and for the test of
// one pass.
#pragma once

#include "lib/pim/dust/rova_pim_dust.h"

#include <cstdint>

// A block's mean and that of its neighbour, and what they differ by, times 100.
struct rova_pim_shading_step {
    int32_t block;
    int32_t inner;
    int32_t difference;
};

// Logs the start and the head of the rows.
void rova_pim_start_shading();
void rova_pim_start_4x();
void rova_pim_start_exposure();

// Whether a block that is this much darker or brighter than its neighbour is a find.
bool rova_pim_is_shading(const rova_pim_shading_step &step, const rova_pim_dust_config &cfg);
// Logs a row, with two letters of verdict.
void rova_pim_log_shading(char region, const rova_pim_corners &block,
                          const rova_pim_shading_step &step, const char (&verdict)[3],
                          const rova_pim_dust_config &cfg);
// Keeps a find.
void rova_pim_keep_shading(const rova_pim_corners &at, const rova_pim_shading_step &step,
                           rova_pim_dust_config &cfg);

// Keep and log the verdict, and the end.  0 passed; -1 failed.
int rova_pim_end_shading(bool found, rova_pim_dust_config &cfg);
int rova_pim_judge_4x(const int64_t (&mean100)[4], rova_pim_dust_config &cfg);
int rova_pim_judge_exposure(uint64_t sum, float mean, rova_pim_dust_config &cfg);
