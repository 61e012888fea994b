// vcam radio: shows and sets the state of the three radios.
#include "tools/vcam/radio.h"

#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <regex>

namespace vcam
{
namespace
{

using enum radio_form;

constexpr char SWITCH[] = "off on";
constexpr char NONE[] = "none"; // instead of the lines of a list

constexpr radio_item ITEMS[] = {
    // clang-format off
    {"bluetooth", "adapter",        flag,    "0", SWITCH},
    {"bluetooth", "devices",        device,  ""},
    {"bluetooth", "delay",          delay,   "0"},
    {"bluetooth", "result",         number,  "0"},
    {"bluetooth", "event",          event,   ""},
    {"bluetooth", "discoverable",   flag,    "0", SWITCH},
    {"bluetooth", "test_mode",      flag,    "0", SWITCH},
    {"wifi",      "driver",         choice,  "none", "none test station"},
    {"wifi",      "dut",            flag,    "0", "closed open"},
    {"wifi",      "mode",           choice,  "idle", "idle tx rx"},
    {"wifi",      "delay",          delay,   "0"},
    {"wifi",      "band",           number,  ""},
    {"wifi",      "band_width",     number,  ""},
    {"wifi",      "channel",        number,  ""},
    {"wifi",      "data_rate",      number,  ""},
    {"wifi",      "preamble",       number,  ""},
    {"wifi",      "short_gi",       number,  ""},
    {"wifi",      "tx_gain",        number,  ""},
    {"wifi",      "payload_length", number,  ""},
    {"wifi",      "burst_interval", number,  ""},
    {"wifi",      "error_frames",   number,  "0"},
    {"wifi",      "good_frames",    number,  "0"},
    {"wifi",      "rssi",           signal,  "0"},
    {"wifi",      "access_points",  network, ""},
    {"wifi",      "ssid",           text,    ""},
    {"wifi",      "status",         number,  ""},
    {"nfc",       "manager",        flag,    "0", "stopped started"},
    {"nfc",       "chip",           flag,    "0", SWITCH},
    {"nfc",       "delay",          delay,   "0"},
    {"nfc",       "result",         number,  "0"},
    {"nfc",       "tag",            text,    "", "", "/opt/etc/nfctag.info"},
    // clang-format on
};

// What a value has to look like, and what it counts.  Nine digits are what every reader holds.
struct form_row {
    radio_form form;
    const char *pattern;
    const char *wanted;
    const char *unit;
};

constexpr form_row FORMS[] = {
    // clang-format off
    {flag,    "[01]",                      "one of",                                     ""},
    {choice,  "[a-z]+",                    "one of",                                     ""},
    {number,  "-?[0-9]{1,9}",              "a number of nine digits at most",            ""},
    {signal,  "-?[0-9]{1,9}",              "a number of nine digits at most",            "dBm"},
    {delay,   "[0-9]{1,9}|never",          "milliseconds or never",                      "ms"},
    {event,   "[0-9]{1,9}( -?[0-9]{1,9})?",
                                           "the number of an event, and its result",     ""},
    {text,    "[^\n]*",                    "a line of text",                             ""},
    {device,  "([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}( [^\n]*)?",
                                           "an address with colons, a blank and a name", ""},
    {network, "(2\\.4|5) -?[0-9]{1,9} [^\n]+",
                                           "2.4 or 5, the signal in dBm, and a name",    ""},
    // clang-format on
};

const form_row &form_of(const radio_item &item)
{
    return *std::ranges::find(FORMS, item.form, &form_row::form);
}

bool is_list(const radio_item &item)
{
    return item.form == device || item.form == network;
}

std::string place_of(const radio_item &item)
{
    if (*item.path != '\0')
        return on_pc(item.path);
    return virt::file(std::string("radio/") + item.radio + "/" + item.name);
}

std::vector<std::string> words_of(const radio_item &item)
{
    return CLI::detail::split(item.words, ' ');
}

// ------------------------------------------------------------------------- showing

// Nothing uses up scripted values; empty lines tell nothing.
std::vector<std::string> lines_of(const radio_item &item)
{
    const std::optional<std::string> text = read_file(place_of(item));
    std::vector<std::string> lines = split_lines(text.value_or(item.rest));
    std::erase(lines, "");
    if (!is_list(item) && lines.size() > 1)
        lines.resize(1);
    return lines;
}

std::string meaning_of(const radio_item &item, const std::string &value)
{
    if (item.form == flag)
        return words_of(item)[value == "0" ? 0 : 1];
    return value == "never" ? "" : form_of(item).unit;
}

// The items of a radio, or of all.
std::vector<radio_item> items_of(const std::string &radio)
{
    std::vector<radio_item> items;
    std::ranges::copy_if(ITEMS, std::back_inserter(items), [&](const radio_item &item) {
        return radio.empty() || radio == item.radio;
    });
    return items;
}

void show(const std::string &radio)
{
    state_table table;
    for (const radio_item &item : items_of(radio))
        add_radio_item(table, item);
    print_table(std::move(table));
}

void show(const radio_item &item)
{
    for (const std::string &line : lines_of(item))
        std::puts(line.c_str());
}

void list(const std::string &radio)
{
    for (const radio_item &item : items_of(radio)) {
        const std::string words = is_list(item) ? NONE : item.words;
        std::printf("%s %s%s%s\n", item.radio, item.name, words.empty() ? "" : " ", words.c_str());
    }
}

// ------------------------------------------------------------------------- setting

// A flag's word counts from 0.
std::string written(const radio_item &item, const std::string &value)
{
    const std::vector<std::string> words = words_of(item);
    const auto word = std::ranges::find(words, value);
    return item.form == flag && word != words.end() ? std::to_string(word - words.begin()) : value;
}

void check(const radio_item &item, const std::string &value)
{
    const std::vector<std::string> words = words_of(item);
    const bool is_word = item.form != choice || std::ranges::find(words, value) != words.end();
    if (is_word && std::regex_match(value, std::regex(form_of(item).pattern)))
        return;
    std::string wanted = form_of(item).wanted;
    if (*item.words != '\0')
        wanted += std::string(" ") + item.words;
    throw failure(std::string(item.radio) + " " + item.name + " takes " + wanted);
}

// The values are the lines of a list, else the words of a line.
void set(const radio_item &item, const std::vector<std::string> &values)
{
    std::vector<std::string> lines = {written(item, CLI::detail::join(values, " "))};
    if (is_list(item))
        lines = values == std::vector<std::string>{NONE} ? std::vector<std::string>{} : values;
    for (const std::string &line : lines)
        check(item, line);
    put_value(place_of(item), CLI::detail::join(lines, "\n"));
}

const radio_item &find_item(const std::string &radio, const std::string &name)
{
    std::string known;
    for (const radio_item &item : ITEMS) {
        if (radio == item.radio && name == item.name)
            return item;
        if (radio == item.radio)
            known += std::string(" ") + item.name;
    }
    throw failure("'" + name + "' is none of" + known);
}

std::vector<std::string> radios()
{
    std::vector<std::string> names;
    for (const radio_item &item : ITEMS)
        if (names.empty() || names.back() != item.radio)
            names.emplace_back(item.radio);
    return names;
}

} // namespace

std::span<const radio_item> radio_items()
{
    return ITEMS;
}

bool radio_item_is_told(const radio_item &item)
{
    return fs::exists(place_of(item));
}

void add_radio_item(state_table &table, const radio_item &item)
{
    const std::string name = std::string(item.radio) + " " + item.name;
    const std::vector<std::string> lines = lines_of(item);
    for (const std::string &line : lines)
        table.push_back({name, line, meaning_of(item, line)});
    if (lines.empty())
        table.push_back({name, NOTHING, ""});
}

int verb_radio(const invocation &in, CLI::App &app)
{
    std::string radio, name;
    std::vector<std::string> values;
    bool list_names = false;
    app.add_option("RADIO", radio, "One of: " + CLI::detail::join(radios(), " ") + " (all)")
        ->check(CLI::Validator(CLI::IsMember(radios())).description(""));
    app.add_option("ITEM", name, "What to print, or to set (all)");
    app.add_option("VALUE", values, "What it is from now on; of a list each line, or none");
    app.add_flag("--list", list_names, "Print the radios' items and their words instead");
    in.parse(app);
    if (list_names) {
        list(radio);
        return OK;
    }
    open_camera(in.dir);
    if (name.empty())
        show(radio);
    else if (values.empty())
        show(find_item(radio, name));
    else
        set(find_item(radio, name), values);
    return OK;
}

} // namespace vcam
