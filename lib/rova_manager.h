// The daemon as the camera application sees it: started, stopped, and asked for its mode.
#pragma once

#include "common/rova_card_mode.h"

#include <rova/rova.h> // rova_launch_daemon, rova_terminate_daemon

// 1 when a power-off was requested since the last call, else 0.
int rova_check_power_off();
