// The families of the wireless table: one file each, named after the word; and their log line.
#pragma once

#include "common/rova_cmd_data.h"
#include "common/rova_log.h"

int rova_cmd_wifi(uint32_t cmd_type, cmd_data *record);
int rova_cmd_bluetooth(uint32_t cmd_type, cmd_data *record);
int rova_cmd_nfc(uint32_t cmd_type, cmd_data *record);

// A green line under the radios' own tag.  What goes wrong is told as everywhere, by ROVA_LOG_ERR.
#define ROVA_LOG_RADIO(fmt, ...)                                                                   \
    rova_log_line(rova_log_kind::conn, rova_log_site{ROVA_TAG_CONN, __FILE__, __func__, __LINE__}, \
                  stdout, "\033[32m" fmt __VA_OPT__(, ) __VA_ARGS__)
