// vcam state: the whole camera at a glance.
#include "command/system/rova_key_driver.h"
#include "platform/virtual/motion.h"
#include "platform/virtual/root.h"
#include "platform/virtual/screen.h"
#include "tools/vcam/battery.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/daemon_log.h"
#include "tools/vcam/key_driver.h"
#include "tools/vcam/number.h"
#include "tools/vcam/process.h"
#include "tools/vcam/radio.h"
#include "tools/vcam/screen_rows.h"
#include "tools/vcam/state_table.h"
#include "tools/vcam/temperature.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace vcam
{
namespace
{

constexpr char NOT_TOLD[] = "not told";

void add_value(state_table &table, const std::string &name, const std::optional<std::string> &value,
               const std::string &meaning)
{
    table.push_back({name, value.value_or(NOTHING), value ? meaning : NOT_TOLD});
}

std::optional<std::string> text_of(const std::optional<int> &number)
{
    return number ? std::optional(std::to_string(*number)) : std::nullopt;
}

// ------------------------------------------------------------------------- programs

void add_program(state_table &table, const char *name, pid_t pid)
{
    if (pid > 0)
        table.push_back({name, std::to_string(pid), "up"});
    else
        table.push_back({name, NOTHING, "not running"});
}

void add_programs(state_table &table)
{
    add_program(table, "rovad", daemon_pid());
    add_program(table, "camera application", app_pid());
    add_program(table, "sensor service", sensor_pid());
    const std::string result = last_result();
    if (daemon_pid() > 0)
        table.push_back({"mode", daemon_mode(), ""});
    table.push_back({"last result", result.empty() ? NOTHING : result, ""});
}

// ------------------------------------------------------------------------- body

void add_plugs(state_table &table)
{
    for (const wire &wire : wires()) {
        const std::optional<std::string> value = wire_value(wire);
        add_value(table, wire.name, value, wire_meaning(wire, value.value_or("")));
    }
}

void add_battery(state_table &table)
{
    const std::optional<int> level = battery_level();
    add_value(table, "battery", text_of(battery_millivolts()), "mV");
    add_value(table, "battery level", text_of(level), battery_level_name(level.value_or(-1)));
}

void add_temperatures(state_table &table)
{
    for (const thermometer &meter : thermometers()) {
        const std::optional<int> value = thermometer_value(meter);
        add_value(table, meter.name, text_of(value),
                  std::to_string(meter.degrees(value.value_or(0))) + " degrees");
    }
}

// ------------------------------------------------------------------------- keys

std::string names_in(uint32_t mask)
{
    std::vector<std::string> names;
    for (const rova_key_row &key : rova_key_tbl)
        if (key.code != 0 && (mask & key.mask) != 0)
            names.emplace_back(key.name);
    return names.empty() ? "none" : join_words(names);
}

void add_mask(state_table &table, const char *name, const char *path)
{
    const std::optional<std::string> text = look_at_value(on_pc(path));
    const std::optional<long long> mask = to_number(text.value_or(""));
    add_value(table, name, text, names_in(static_cast<uint32_t>(mask.value_or(0))));
}

// The driver tells the name of what was moved last, behind the channel.
std::string name_of_code(long long code)
{
    if (code == 0)
        return "none";
    const auto *key = std::ranges::find(rova_key_tbl, code, &rova_key_row::code);
    if (key != std::end(rova_key_tbl))
        return key->name;
    const std::string told = look_at_value(on_pc(ROVA_KEYDESC_PATH)).value_or("");
    return told.substr(told.find(' ') + 1);
}

void add_keys(state_table &table)
{
    const std::optional<std::string> code = look_at_value(on_pc(ROVA_KEYCODE_PATH));
    add_mask(table, "keys held", ROVA_PUSHED_KEYS_PATH);
    add_mask(table, "keys masked", ROVA_KEYMASK_PATH);
    add_value(table, "last key", code, name_of_code(to_number(code.value_or("")).value_or(0)));
}

void add_dial(state_table &table, const char *name, const rova_dial &dial)
{
    const std::optional<std::string> value = look_at_value(on_pc(dial.path));
    const auto row = std::ranges::find(dial.rows, to_number(value.value_or("")).value_or(-1),
                                       &rova_dial_row::value);
    add_value(table, name, value, row == dial.rows.end() ? "" : row->name);
}

// ------------------------------------------------------------------------- services

// A file below virtual/ that may be there.
struct file_row {
    const char *name;
    const char *file;
    const char *values[4][2]; // and what they mean
};

constexpr file_row SERVICES[] = {
    {"position", "sensor/position", {}},
    {"charge lamp", "production/charge_led", {{"1", "off"}, {"2", "on"}}},
    {"charging", "production/charging", {{"0", "off"}, {"1", "on"}}},
    {"status display", "production/status_lcd", {{"0", "dark"}, {"1", "all"}}},
    {"card lamp", "property/3.0", {{"0", "off"}, {"1", "on"}}},
    {"af lamp", "property/3.4", {{"0", "off"}, {"1", "on"}}},
    {"touch panel",
     "touch/state",
     {{"0", "not ready"}, {"1", "ready"}, {"2", "touched"}, {"3", "ghost"}}},
    {"volume", "sound/volume", {}},
    {"speed", "speed", {}},
};

void add_file(state_table &table, const file_row &row)
{
    const std::optional<std::string> value = look_at_value(virt::file(row.file));
    std::string meaning;
    for (const auto &[number, word] : row.values)
        if (number != nullptr && value == number)
            meaning = word;
    if (value)
        table.push_back({row.name, *value, meaning});
}

std::vector<fs::path> files_in(const std::string &folder)
{
    std::vector<fs::path> files;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(virt::file(folder), error))
        if (entry.is_regular_file(error) && entry.path().extension() != ".play")
            files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

void add_radios(state_table &table)
{
    for (const radio_item &item : radio_items())
        if (radio_item_is_told(item))
            add_radio_item(table, item);
}

void add_faults(state_table &table)
{
    for (const fs::path &file : files_in("fail"))
        table.push_back({"fault", file.filename(), look_at_value(file).value_or("")});
}

void add_services(state_table &table)
{
    for (const file_row &row : SERVICES)
        add_file(table, row);
    const std::optional<virt::MotionKind> motion = virt::motion_kind();
    if (motion)
        table.push_back({"motion", *motion == virt::MotionKind::model ? "model" : "samples", ""});
    add_radios(table);
    add_faults(table);
}

// ------------------------------------------------------------------------- screen

void add_rows(state_table &table, const nlohmann::json &screen, const char *kind)
{
    for (const auto &[number, row] : rows_of_screen(screen, kind))
        table.push_back({"screen " + std::to_string(number), row.text, ""});
}

void add_screen(state_table &table)
{
    const nlohmann::json screen = virt::read_screen();
    table.push_back({"screen", screen.value("on", false) ? "on" : "off", ""});
    add_rows(table, screen, "text");
    add_rows(table, screen, "grid");
    if (screen.contains("image") && screen["image"].is_string())
        table.push_back({"screen image", screen["image"], ""});
}

} // namespace

int verb_state(const invocation &in, CLI::App &app)
{
    in.open(app);
    state_table table;
    add_programs(table);
    add_plugs(table);
    add_battery(table);
    add_temperatures(table);
    add_keys(table);
    add_dial(table, "mode dial", rova_mode_dial);
    add_dial(table, "drive dial", rova_drive_dial);
    add_services(table);
    add_screen(table);
    print_table(std::move(table));
    return OK;
}

} // namespace vcam
