// The channel to the camera application's camera stack, which carries out capture, lens and
// image-quality commands.
#pragma once

#include "lib/rova_cmd_response.h"

#include <cstdint>

inline constexpr int ROVA_IPCC_PROJECT = 0x59843123;
inline constexpr char ROVA_IPCC_SEM[] = "sem_rova_resp";
inline constexpr std::size_t ROVA_IPCC_MESSAGE_SIZE = 8;

// Hands a command to the camera application and waits for its answer: 360 seconds, 60 in ALT mode,
// 600 for `defect_pixel` and `vfpn`, without limit for `shutter`.  1, or 0 with the reason logged;
// `answer` is written on success only.  An answer that comes too late ends the wait of the next
// command.  A request to stop does not end the wait.  Any thread; one sender at a time.
int rova_ipcc_send(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);
