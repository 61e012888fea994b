// What can be plugged into the open camera, comes near it or is switched on it, and where the
// camera sees that.  Nothing here uses up scripted values.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace vcam
{

enum class wire_kind {
    property,   // TYPE.NUMBER of the device service
    value,      // a file below virtual/
    tv_mode,    // the same, but the display service's while the picture is on the HDMI device
    attribute,  // a path of the camera
    number_key, // keys
    switch_key,
};

struct wire {
    const char *plug; // what a person moves: all wires of that name together
    const char *name; // what it tells
    wire_kind kind;
    const char *place;
    const char *in, *out;           // what it reads
    const char *in_word, *out_word; // what that means
};

inline constexpr char CARD_PLUG[] = "card"; // in or out
inline constexpr char LOCK_PLUG[] = "lock"; // locked or not

// In the order in which vcam state shows them; the wires of a plug stand together.
std::span<const wire> wires();

// What the camera would read now; nothing where there is nothing to read.  "" means what is neither
// in nor out.
std::optional<std::string> wire_value(const wire &wire);
std::string wire_meaning(const wire &wire, const std::string &value);

// All wires of the plug change to "in" or "out"; scripted values to come are dropped.
void move_plug(const std::string &plug, bool in);
// What nobody has told yet: all is out, but for a card that is in.
void add_wires(bool card_is_in);

// A value file as it reads from now on; scripted values to come are dropped.  Fails when it cannot
// be written.
void put_value(const std::string &place, const std::string &text);
// Its value on one line, without its line feed; nothing when there is no such file.
std::optional<std::string> look_at_value(const std::string &place);

} // namespace vcam
