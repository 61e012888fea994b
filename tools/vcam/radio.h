// What the open camera's radios are told, and tell: one file each below virtual/radio.
#pragma once

#include "tools/vcam/state_table.h"

#include <span>

namespace vcam
{

enum class radio_form { flag, choice, number, signal, delay, event, text, device, network };

struct radio_item {
    const char *radio; // its folder
    const char *name;  // its file
    radio_form form;
    const char *rest; // what the camera reads without a file, "" for nothing
    const char *words = "";
    const char *path = ""; // of the camera, when it is not below virtual/radio
};

// In the order in which they are shown; the items of a radio stand together.
std::span<const radio_item> radio_items();

bool radio_item_is_told(const radio_item &item);
// A row, or one for each line of a list.
void add_radio_item(state_table &table, const radio_item &item);

} // namespace vcam
