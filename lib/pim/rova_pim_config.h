// The records of the picture tests: configuration and results in one, kept for the life of the
// process.  Written by the command thread while no callback is registered, then read by the capture
// service's thread.
#pragma once

#include <cstdint>

struct rova_pim_pm_config {
    int32_t developMode; // 1: CheckMain runs the MOT test
    int32_t saveRaw;     // 1: stills are dumped, those of the dust and noise tests too
};

struct rova_pim_dust_config {
    int32_t RunDustFunc; // 1: the test runs
};

struct rova_pim_noise_config {
    int32_t RunNoiseFunc; // 1: the test runs
};

extern rova_pim_pm_config cfgPm;
extern rova_pim_dust_config cfgDust;
extern rova_pim_noise_config cfgNoise;
