#include "tools/vcam/key_driver.h"

#include "command/system/rova_adc_channels.h"
#include "command/system/rova_key_driver.h"
#include "platform/virtual/guard.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>

namespace vcam
{
namespace
{

// ------------------------------------------------------------------------- contacts

// Where a key or a dial's position lies on an analogue channel, and the level it pulls it to: the
// middle of what the line accepts.
struct contact {
    const char *name;
    int channel;
    int level;
};

constexpr contact CONTACTS[] = {
    // clang-format off
    {"m",         0,   5}, {"c1",    0,  54}, {"i",    0, 102}, {"smartauto", 0, 152},
    {"scene",     1,   5}, {"p",     1,  54}, {"a",    1, 102}, {"s",         1, 152},
    {"up",        2,   7}, {"right", 2,  43}, {"down", 2,  81}, {"left",      2, 116},
    {"ok",        2, 150},
    {"menu",      3,   6}, {"evf",   3,  30}, {"rec",  3,  61}, {"fn",        3,  91},
    {"del",       3, 120}, {"pb",    3, 151},
    // clang-format on
};

constexpr int OPEN_LEVEL = 180;  // of a channel with contacts, none closed
constexpr int DIAL_CHANNELS = 2; // 0 and 1; the keys' follow
constexpr int WIRED_CHANNELS = 4;
// What keydesc tells for a key with a line of its own: the first channel without contacts.
constexpr int NO_CHANNEL = WIRED_CHANNELS;
constexpr char MODE_AT_REST[] = "p";
constexpr char DRIVE_AT_REST[] = "single";

// ------------------------------------------------------------------------- files

std::string place(const char *path)
{
    return on_pc(path).string();
}

void put(const char *path, const std::string &text)
{
    if (!virt::write_value(place(path), text))
        throw failure(std::string(path) + " cannot be written");
}

unsigned long get(const char *path)
{
    return std::strtoul(virt::read_file(place(path)).c_str(), nullptr, 0);
}

std::string hexadecimal(uint32_t mask)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%08x", mask);
    return text;
}

// Keys of several hands change the same masks.
virt::Descriptor lock_driver()
{
    const fs::path folder = on_pc(ROVA_KEYCODE_PATH).parent_path();
    std::error_code error;
    fs::create_directories(folder, error);
    virt::Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!lock.lock())
        throw failure("'" + folder.string() + "' cannot be locked");
    return lock;
}

// The code comes last: who sees it finds the rest.
void show_event(const char *name, uint32_t code)
{
    const contact *wire = find_named(CONTACTS, name);
    const int channel = wire != nullptr ? wire->channel : NO_CHANNEL;
    put(ROVA_KEYDESC_PATH, std::to_string(channel) + " " + name);
    put(ROVA_KEYCODE_PATH, std::to_string(code));
}

// ------------------------------------------------------------------------- held keys

constexpr uint32_t S1 = find_named(rova_key_tbl, "s1")->mask;
constexpr uint32_t S2 = find_named(rova_key_tbl, "s2")->mask;

// Property 13.1.  The second contact without the first is a button that is on its way up.
int shutter_state(uint32_t held)
{
    if ((held & S2) != 0)
        return (held & S1) != 0 ? 2 : -1;
    return (held & S1) != 0 ? 1 : 0;
}

// Of several closed contacts the lowest counts.
int key_level(int channel, uint32_t held)
{
    int level = OPEN_LEVEL;
    for (const contact &wire : CONTACTS)
        if (wire.channel == channel && (held & find_named(rova_key_tbl, wire.name)->mask) != 0)
            level = std::min(level, wire.level);
    return level;
}

// Only what changes is written: the rest may have been set by hand.
void show_held(uint32_t before, uint32_t now)
{
    if (shutter_state(before) != shutter_state(now) &&
        !virt::write_number(virt::file("property/13.1"), shutter_state(now)))
        throw failure("property 13.1 cannot be written");
    for (int channel = DIAL_CHANNELS; channel < WIRED_CHANNELS; channel++)
        if (key_level(channel, before) != key_level(channel, now))
            put(rova_adc_paths[channel], std::to_string(key_level(channel, now)));
    put(ROVA_CHECK_PUSH_KEY_PATH, std::to_string(now));
    put(ROVA_PUSHED_KEYS_PATH, hexadecimal(now));
}

// ------------------------------------------------------------------------- dials

int dial_level(int channel, const char *position)
{
    const contact *wire = find_named(CONTACTS, position);
    return wire != nullptr && wire->channel == channel ? wire->level : OPEN_LEVEL;
}

// What a file reads at rest, by channel.
int level_at_rest(int channel)
{
    if (channel < DIAL_CHANNELS)
        return dial_level(channel, MODE_AT_REST);
    return channel < WIRED_CHANNELS ? OPEN_LEVEL : 0;
}

std::string value_of(const rova_dial &dial, const char *position)
{
    return std::to_string(find_named(dial.rows, position)->value) + "\n";
}

} // namespace

bool is_masked(uint32_t mask)
{
    return (get(ROVA_KEYMASK_PATH) & mask) != 0;
}

uint32_t push_key(const rova_key_row &key)
{
    const virt::Descriptor lock = lock_driver();
    const auto before = static_cast<uint32_t>(get(ROVA_PUSHED_KEYS_PATH));
    const uint32_t now = before | key.mask | (key.mask == S2 ? S1 : 0);
    show_held(before, now);
    show_event(key.name, key.code);
    return key.mask | (now & ~before);
}

void let_go(uint32_t keys)
{
    const virt::Descriptor lock = lock_driver();
    const auto before = static_cast<uint32_t>(get(ROVA_PUSHED_KEYS_PATH));
    show_held(before, before & ~keys);
}

void click(const char *name, const rova_rotary_row &direction)
{
    const virt::Descriptor lock = lock_driver();
    show_event(name, direction.code);
}

bool click_was_taken(const rova_rotary_row &direction)
{
    return get(ROVA_KEYCODE_PATH) != direction.code;
}

void move_dial(const rova_dial &dial, const rova_dial_row &position)
{
    const virt::Descriptor lock = lock_driver();
    for (int channel = 0; channel < DIAL_CHANNELS && dial.path == rova_mode_dial.path; channel++)
        put(rova_adc_paths[channel], std::to_string(dial_level(channel, position.name)));
    put(dial.path, std::to_string(position.value));
    show_event(position.name, position.code);
}

std::vector<driver_file> driver_at_rest()
{
    std::vector<driver_file> files = {
        {ROVA_KEYCODE_PATH, "0\n"},
        {ROVA_KEYMASK_PATH, "0\n"},
        {ROVA_PUSHED_KEYS_PATH, hexadecimal(0) + "\n"},
        {ROVA_CHECK_PUSH_KEY_PATH, "0\n"},
        {ROVA_KEYDESC_PATH, ""},
        {ROVA_TNLCD_STATUS_PATH, "0\n"},
        {rova_mode_dial.path, value_of(rova_mode_dial, MODE_AT_REST)},
        {rova_drive_dial.path, value_of(rova_drive_dial, DRIVE_AT_REST)},
        {ROVA_ADC_UPDATE_PATH, "0\n"},
    };
    for (int channel = 0; channel < ROVA_ADC_CHANNELS; channel++)
        files.push_back({rova_adc_paths[channel], std::to_string(level_at_rest(channel)) + "\n"});
    return files;
}

} // namespace vcam
