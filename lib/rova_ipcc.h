// The channel to the camera application's camera stack, which carries out capture, lens and
// image-quality commands.
#pragma once

#include "lib/rova_cmd_response.h"

#include <rova/rova.h>

#include <cstdint>

inline constexpr int ROVA_IPCC_PROJECT = 0x59843123;
inline constexpr char ROVA_IPCC_SEM[] = "sem_rova_resp";
inline constexpr std::size_t ROVA_IPCC_MESSAGE_SIZE = 8;

// Hands a command to the camera application and waits for its answer: 360 seconds, 60 in ALT mode,
// 600 for `defect_pixel` and `vfpn`, without limit for `shutter`.  1, or 0 with the reason logged;
// `answer` is written on success only.  An answer that comes too late ends the wait of the next
// command.  A request to stop does not end the wait.  Any thread; one sender at a time.
int rova_ipcc_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);

// The serving end, for the process that holds the camera's handle, is rova_start_ipcc and
// rova_stop_ipcc of rova/rova.h.  One thread starts and stops it.  It fails to start also where the
// queue is there already: another process serves, or one that served was killed.

// The camera stack's completion callback: tells the sender that the answer stands in its area.
// 0, or -1.  Any thread.
int rova_ipcc_ack(void *answer);
