// The channel to a thread of the camera application, which carries out what belongs to the
// application itself, and the picture inspection.
#pragma once

#include "lib/rova_cmd_response.h"

#include <cstdint>

inline constexpr int ROVA_APP_PROJECT = 0x59849173;
inline constexpr char ROVA_APP_SEM[] = "sem_rova_app_resp";
inline constexpr std::size_t ROVA_APP_MESSAGE_SIZE = 4;
inline constexpr int ROVA_APP_TIMEOUT_SECONDS = 360;

// Hands a command to the application's thread and waits for its answer, always for
// ROVA_APP_TIMEOUT_SECONDS; otherwise as rova_ipcc_send.
int rova_send_to_app(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);

// The serving end, for the camera application alone.  One thread starts and stops it.

// The application's own commands: non-zero when it has carried the command out and written the
// answer, 0 when it is not one of its own.  `record` and `answer` stand in the channel's areas; an
// answer that is left alone is a plain OK.  Runs on the application thread.
using rova_app_exec = int (*)(const cmd_data *record, rova_cmd_response *answer);

// Makes the channel and its thread.  1, also when it runs already; 0 with the reason logged and all
// undone, as when the queue is there already: another process serves, or one that served was
// killed.
int rova_start_app(rova_app_exec exec);

// Waits for the command in progress; those that wait behind it run first, too.  1.
int rova_stop_app();

inline constexpr int ROVA_APP_FUNC_COUNT = 7;

// A function of the application that the inspection calls, in slot `id`, 0 to 6.  Its real type
// belongs to the slot.  1, or 0 for another slot.  Any thread.
using rova_app_func = void (*)(void);
int rova_register_app_func(int id, rova_app_func function);
// What was registered; NULL when nothing was, and for another slot.
rova_app_func rova_get_app_func(int id);
