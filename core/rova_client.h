// The script file and the script key as sources of commands.
#pragma once

#include "core/rova_main.h"

inline constexpr char ROVA_KEY_SCRIPT_CMD[] = "memory/rova/script_cmd";

// Main thread.  1, or 0 after logging.
int rova_init_client(rova_main_data *pdata);
int rova_deinit_client(rova_main_data *pdata);
