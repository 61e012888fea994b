// Commands that the camera application carries out: the record is sent to it as it stands, unread,
// and its answer is passed on.  A channel that fails is NG; 1 in every case.
//
// Server thread.
#pragma once

#include "common/rova_cmd_data.h"
#include "lib/rova_cmd_response.h"

// By the camera stack's channel.
int rova_cmd_ipcc_exec(uint32_t cmd_type, cmd_data *record);

// By the channel of the application's own thread.
int rova_cmd_app_exec(uint32_t cmd_type, cmd_data *record);

// The same, but the answer is left to the caller: 1 with the application's in `*answer`, or 0 with
// the failure logged.
int rova_cmd_app_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);
