// The motion sensor's device node and the pause between two of its samples.
#pragma once

#include "platform/sys.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <unistd.h>

inline constexpr char ROVA_GYRO_DEVICE[] = "/dev/lsm";

inline constexpr unsigned long ROVA_GYRO_READ_AXES = 0x800c6c01;
inline constexpr unsigned long ROVA_GYRO_READ_TEMPERATURE = 0x80046c03;

// One raw sample of the rates about X, Y and Z.
using rova_gyro_axes = std::array<int32_t, 3>;
static_assert(sizeof(rova_gyro_axes) == 12);

inline bool rova_gyro_read_axes(int device, rova_gyro_axes *axes)
{
    return sys_ioctl(device, ROVA_GYRO_READ_AXES, axes->data()) == 0;
}

// An interval in milliseconds as a sleep takes it: none for a negative one, 71 minutes at most.
inline useconds_t rova_gyro_pause(int milliseconds)
{
    constexpr int LONGEST = UINT_MAX / 1000;
    return static_cast<useconds_t>(std::clamp(milliseconds, 0, LONGEST)) * 1000;
}
