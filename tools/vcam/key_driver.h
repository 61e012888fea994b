// The key driver of the open camera: what its attribute files show when somebody presses a key,
// turns a switch or moves a dial.  Nothing here uses up scripted values.
#pragma once

#include "command/system/rova_key_tbl.h"
#include "command/system/rova_rotary_tbl.h"
#include "lib/rova_dial_tbl.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace vcam
{

// The row of that name, or NULL.
template <typename Rows> constexpr const auto *find_named(const Rows &rows, std::string_view name)
{
    const auto found =
        std::ranges::find_if(rows, [&](const auto &row) { return name == row.name; });
    return found == std::end(rows) ? nullptr : &*found;
}

// The driver keeps a masked key or switch to itself.
bool is_masked(uint32_t mask);

// A key goes down; gives the bits of what goes up with it, for let_go(): a shutter button that is
// pressed fully closes the first contact too, unless that is closed already.  Of two that press one
// key the first to let go lifts it, so one that somebody killed has left down comes up again.
uint32_t push_key(const rova_key_row &key);
void let_go(uint32_t keys);

// One click of a switch: one that nobody has taken yet is lost by it.
void click(const char *name, const rova_rotary_row &direction);
bool click_was_taken(const rova_rotary_row &direction);

void move_dial(const rova_dial &dial, const rova_dial_row &position);

// The driver's files, with nothing pressed and the mode dial at "p".
struct driver_file {
    std::string path;
    std::string text;
};
std::vector<driver_file> driver_at_rest();

} // namespace vcam
