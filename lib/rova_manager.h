// The daemon as the camera application sees it: started, stopped, and asked for its mode.
#pragma once

#include "common/rova_card_mode.h"

// `kind` 0 only raises the start key and returns 0; 1 starts in test mode; others let the card
// decide.  Waits up to 3 seconds for the daemon to come up.  1, or 0 when it could not be started.
int rova_launch_daemon(int kind);

// Asks the daemon to stop and waits up to 5 seconds.  1, or 0 when it did not answer.
int rova_terminate_daemon();

// 1 when a power-off was requested since the last call, else 0.
int rova_check_power_off();
