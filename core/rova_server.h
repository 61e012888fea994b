// The server thread, on which every command runs.
#pragma once

#include "core/rova_main.h"

// Main thread.  1, or 0 after logging.
int rova_init_server(rova_main_data *pdata);
int rova_deinit_server(rova_main_data *pdata);
