// The PC as a source of commands: requests through the PTP keys, and the USB side.
#pragma once

#include "core/rova_main.h"
#include "platform/vconf.h"

inline constexpr char ROVA_KEY_PTP_ACTIVATION[] = "memory/rova/ptp_activation";

// Main thread.  1, or 0 after logging.
int rova_ptp_init(rova_main_data *pdata);
int rova_ptp_deinit(rova_main_data *pdata);

// Watches memory/rova/ptp_activation; main loop.
void rova_ptp_activation_cb(keynode_t *key, void *user_data);
