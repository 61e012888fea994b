// The attribute file of the acceleration sensor's driver: three numbers, such as "0, 1024, -3".
#pragma once

inline constexpr char ROVA_ACCEL_RAW_DATA_PATH[] = "/sys/devices/platform/bma_2XX/accel_raw_data";
