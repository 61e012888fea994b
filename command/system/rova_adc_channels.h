// The analogue channels of the body.
#pragma once

inline constexpr int ROVA_ADC_CHANNELS = 10;

// The channels' files, one decimal level each.
using rova_adc_path = char[70];
inline constexpr rova_adc_path rova_adc_paths[ROVA_ADC_CHANNELS] = {
    "/sys/devices/platform/movra7-adc/adc0", "/sys/devices/platform/movra7-adc/adc1",
    "/sys/devices/platform/movra7-adc/adc2", "/sys/devices/platform/movra7-adc/adc3",
    "/sys/devices/platform/movra7-adc/adc4", "/sys/devices/platform/movra7-adc/adc5",
    "/sys/devices/platform/movra7-adc/adc6", "/sys/devices/platform/movra7-adc/adc7",
    "/sys/devices/platform/movra7-adc/adc8", "/sys/devices/platform/movra7-adc/adc9",
};

// 1 while the driver refreshes them.
inline constexpr char ROVA_ADC_UPDATE_PATH[] = "/sys/devices/platform/movra7-adc/update_sysfs";

// Has the driver refresh the files (1) or leave them (0).  A failure is logged, nothing more.
void rova_adc_set_update(int on);
// How long a refresh takes, in microseconds.
inline constexpr unsigned int ROVA_ADC_REFRESH_US = 12000;
