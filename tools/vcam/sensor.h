// The sensor service, vcam sensord: a process of its own beside the daemon.
#pragma once

#include "tools/vcam/companion.h"

#include <cstddef>
#include <string>

namespace vcam
{

const companion_kind &sensor_kind();

// The queue of its requests; -1 when there is none.
int sensor_requests();

// What the acceleration sensor's driver tells in a position, by its place in ROVA_SENSOR_POSITIONS.
std::string accel_raw_data(std::size_t position);

} // namespace vcam
