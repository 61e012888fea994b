#include "tools/vcam/wire.h"

#include "command/system/rova_adc_channels.h"
#include "common/rova_ptp_keys.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/verb.h"

#include <cstring>

namespace vcam
{
namespace
{

using enum wire_kind;

constexpr char USB_SPEED[] =
    "/sys/devices/platform/movrax-drd.0/movrax-ss-udc.0/udc/movrax-ss-udc.0/current_speed";
constexpr char GRIP_LOCK[] = "/sys/devices/platform/m7-keys/vgrip_connect";
constexpr char GRIP_BATTERY[] = "memory/sysman/vgrip_battery_detect";

// Drivers differ in which number means "in".
constexpr wire WIRES[] = {
    // clang-format off
    {CARD_PLUG, "card",       property,   "11.0", "1", "0", "in", "out"},
    {LOCK_PLUG, "card lock",  property,   "11.1", "1", "0", "locked", "unlocked"},
    {"usb",     "usb",        property,   "2.4",  "1", "0", "in", "out"},
    {"usb",     "usb status", number_key, ROVA_KEY_USB_STATUS, "2", "0", "available", "disconnected"},
    {"usb",     "usb speed",  attribute,  USB_SPEED, "high-speed", "UNKNOWN", "USB 2", "no link"},
    {"hdmi",    "hdmi",       value,      "display/hdmi_connect_state", "1", "0", "in", "out"},
    {"hdmi",    "tv mode",    tv_mode,    "display/tv_mode", "1", "0", "panel, device in", "panel"},
    {"earjack", "earjack",    property,   "2.1",  "0", "1", "in", "out"},
    {"mic",     "mic",        property,   "2.2",  "0", "1", "in", "out"},
    {"release", "release",    property,   "2.15", "1", "0", "in", "out"},
    {"remote",  "remote",     property,   "2.19", "1", "0", "in", "out"},
    {"nfc",     "nfc",        property,   "2.14", "1", "0", "in", "out"},
    {"proximity", "proximity", property,  "2.13", "1", "0", "near", "far"},
    {"grip",    "grip",       attribute,  rova_adc_paths[9], "180", "0", "in", "out"},
    {"grip",    "grip lock",  attribute,  GRIP_LOCK, "1", "0", "on", "off"},
    {"grip-battery", "grip battery", switch_key, GRIP_BATTERY, "true", "false", "in", "out"},
    // clang-format on
};

constexpr int PICTURE_ON_HDMI = 1;

bool picture_is_on_hdmi()
{
    const std::string state = look_at_value(virt::file("display/hdmi_state")).value_or("");
    return to_number(state) == PICTURE_ON_HDMI;
}

bool is_key(const wire &wire)
{
    return wire.kind == number_key || wire.kind == switch_key;
}

std::string place_of(const wire &wire)
{
    switch (wire.kind) {
    case property:
        return virt::file(std::string("property/") + wire.place);
    case attribute:
        return on_pc(wire.place);
    case number_key:
    case switch_key:
        return virt::key_place(wire.place);
    default:
        return virt::file(wire.place);
    }
}

std::optional<std::string> told_value(const wire &wire)
{
    if (!is_key(wire))
        return look_at_value(place_of(wire));
    const std::optional<virt::Key> key = virt::get_key(wire.place);
    return key ? std::optional(key->value()) : std::nullopt;
}

// Numbers may be written in several ways.
bool are_same(const std::string &value, const char *other)
{
    return value == other || (to_number(value) && to_number(value) == to_number(other));
}

void put_key(const wire &wire, const std::string &text)
{
    virt::end_play(place_of(wire));
    const bool written = wire.kind == switch_key ? virt::set_bool(wire.place, text == "true")
                                                 : virt::set_int(wire.place, read_word32(text));
    if (!written)
        throw failure(std::string("key ") + wire.place + " cannot be written");
}

void move_wire(const wire &wire, bool in)
{
    const char *text = in ? wire.in : wire.out;
    if (wire.kind == tv_mode && picture_is_on_hdmi())
        return;
    if (is_key(wire))
        put_key(wire, text);
    else
        put_value(place_of(wire), text);
}

} // namespace

std::span<const wire> wires()
{
    return WIRES;
}

std::optional<std::string> wire_value(const wire &wire)
{
    const std::optional<std::string> value = told_value(wire);
    return value || is_key(wire) || wire.kind == attribute ? value : "0";
}

std::string wire_meaning(const wire &wire, const std::string &value)
{
    if (wire.kind == tv_mode && picture_is_on_hdmi())
        return "hdmi";
    return are_same(value, wire.in) ? wire.in_word : are_same(value, wire.out) ? wire.out_word : "";
}

void move_plug(const std::string &plug, bool in)
{
    for (const wire &wire : WIRES)
        if (plug == wire.plug)
            move_wire(wire, in);
}

void add_wires(bool card_is_in)
{
    for (const wire &wire : WIRES)
        if (!told_value(wire))
            move_wire(wire, card_is_in && std::strcmp(wire.plug, CARD_PLUG) == 0);
}

void put_value(const std::string &place, const std::string &text)
{
    virt::end_play(place);
    if (!virt::write_value(place, text))
        throw failure("'" + place + "' cannot be written");
}

std::optional<std::string> look_at_value(const std::string &place)
{
    const std::optional<std::string> text = read_file(place);
    if (!text)
        return std::nullopt;
    return text->substr(0, text->find('\n'));
}

} // namespace vcam
