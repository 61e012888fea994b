// Commands that the camera application carries out: sent to it, and its answer passed on.
//
// Server thread.
#pragma once

#include "common/rova_cmd_data.h"

// Over the camera application's channel.  A channel that fails is NG; 1 in every case.
int rova_cmd_ipcc_exec(uint32_t cmd_type, cmd_data *record);
