// The channel to a thread of the camera application, which carries out what belongs to the
// application itself, and the picture inspection.
#pragma once

#include "lib/rova_cmd_response.h"

#include <rova/rova.h>

#include <cstdint>

inline constexpr int ROVA_APP_PROJECT = 0x59849173;
inline constexpr char ROVA_APP_SEM[] = "sem_rova_app_resp";
inline constexpr std::size_t ROVA_APP_MESSAGE_SIZE = 4;
inline constexpr int ROVA_APP_TIMEOUT_SECONDS = 360;

// Hands a command to the application's thread and waits for its answer, always for
// ROVA_APP_TIMEOUT_SECONDS; otherwise as rova_ipcc_send.
int rova_send_to_app(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);

// Whether rova_stop_app() waits for the command that runs: one that waits for something of the
// camera has to end.  Any thread.
bool rova_app_is_stopping();

// The serving end, for the camera application alone, is rova_start_app and rova_stop_app of
// rova/rova.h.  One thread starts and stops it; commands that wait when it is stopped run first.

inline constexpr int ROVA_APP_FUNC_COUNT = 7;

// What was registered by rova_register_app_func; NULL when nothing was, and for another slot.
rova_app_func rova_get_app_func(int id);
