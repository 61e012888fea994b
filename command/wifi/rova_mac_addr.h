// A radio's MAC address: an item of 12 characters in the adjustment data, and the same with colons
// in a file for the radio's driver.  Server thread.
#pragma once

#include "common/rova_cmd_data.h"

#include <string>

struct rova_mac_addr {
    const char *family; // the command's first word
    const char *radio;  // in messages and on the screen
    uint64_t item;
    bool (*write_file)(const std::string &with_colons);
    const char *csv;
    const char *csv_heading;
};

// The handlers of addr_set and addr_get: they answer, and return 1.
int rova_mac_addr_set(const rova_mac_addr &address, uint32_t cmd_type, const cmd_data *record);
int rova_mac_addr_get(const rova_mac_addr &address, uint32_t cmd_type, const cmd_data *record);

// The item's text; shorter than 12 characters when it was never set, empty when it cannot be read.
std::string rova_mac_addr_read(const rova_mac_addr &address);
