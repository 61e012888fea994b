#include "lib/pim/rova_pim_config.h"

rova_pim_pm_config cfgPm;
rova_pim_dust_config cfgDust;
rova_pim_noise_config cfgNoise;
