// Which of the picture tests the camera is prepared for.
#pragma once

#include <cstdint>

enum rova_pi_mode : int32_t {
    PI_MODE_NONE,
    PI_MODE_MOT,
    PI_MODE_DUST,
    PI_MODE_NOISE,
    PI_MODE_MOVIE
};

// The active test, a rova_pi_mode.
void SetPIMode(int32_t mode);
int32_t GetPIMode();
