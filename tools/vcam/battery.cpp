// vcam battery: its voltage, and the level that goes with it.
#include "tools/vcam/battery.h"

#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/curve.h"
#include "tools/vcam/number.h"
#include "tools/vcam/verb.h"
#include "tools/vcam/wire.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace vcam
{
namespace
{

constexpr char LEVELS[] = "/sys/devices/platform/m7-adc-battery/adc_spec";
constexpr char LEVEL_KEY[] = "memory/sysman/battery_status_low";
constexpr int MOST_MILLIVOLTS = 20000;

std::string voltage_place()
{
    return virt::file("property/4.0");
}

struct level_row {
    int level;
    int millivolts; // it begins here
    std::string name;
};

// From the lowest on.
std::vector<level_row> levels()
{
    std::vector<level_row> rows;
    for (const std::string &line : split_lines(read_file(on_pc(LEVELS)).value_or(""))) {
        level_row row = {};
        if (std::istringstream(line) >> row.level >> row.millivolts >> row.name)
            rows.push_back(row);
    }
    std::ranges::stable_sort(rows, {}, &level_row::millivolts);
    return rows;
}

// The highest that has begun, or the lowest.
int level_at(const std::vector<level_row> &rows, int millivolts)
{
    if (rows.empty())
        throw failure("the camera's battery driver describes no levels in " + std::string(LEVELS));
    const auto above = std::ranges::upper_bound(rows, millivolts, {}, &level_row::millivolts);
    return above == rows.begin() ? above->level : std::prev(above)->level;
}

void set_battery(int millivolts)
{
    const int level = level_at(levels(), millivolts);
    put_value(voltage_place(), std::to_string(millivolts));
    virt::end_play(virt::key_place(LEVEL_KEY));
    if (!virt::set_int(LEVEL_KEY, level))
        throw failure(std::string("key ") + LEVEL_KEY + " cannot be written");
}

void script(const std::string &place, const std::vector<std::string> &values)
{
    if (!virt::write_play(place, values))
        throw failure("'" + place + ".play' cannot be written");
}

// Each reading of the voltage takes the next of them, and each reading of the level its own.
void drain(const std::vector<int> &curve)
{
    const std::vector<level_row> rows = levels();
    std::vector<std::string> voltages, numbers;
    for (const int millivolts : curve) {
        voltages.push_back(std::to_string(millivolts));
        numbers.push_back(std::to_string(level_at(rows, millivolts)));
    }
    set_battery(curve.front());
    script(voltage_place(), voltages);
    script(virt::key_place(LEVEL_KEY), numbers);
}

std::size_t readings_to_come()
{
    return split_lines(read_file(voltage_place() + ".play").value_or("")).size();
}

std::string shown_level()
{
    const std::optional<int> level = battery_level();
    if (!level)
        return "not known";
    const std::string name = battery_level_name(*level);
    return std::to_string(*level) + (name.empty() ? "" : " ") + name;
}

void show()
{
    std::printf("%d mV, level %s\n", battery_millivolts().value_or(0), shown_level().c_str());
    if (const std::size_t count = readings_to_come())
        std::printf("%zu readings of a curve to come\n", count);
    for (const level_row &row : levels())
        std::printf("  level %d %s from %d mV\n", row.level, row.name.c_str(), row.millivolts);
}

std::string check_battery(const std::string &word)
{
    return word == "drain" ? "" : check_range(word, 0, MOST_MILLIVOLTS);
}

} // namespace

std::optional<int> battery_millivolts()
{
    return to_word32(look_at_value(voltage_place()).value_or("0"));
}

std::optional<int> battery_level()
{
    const std::optional<virt::Key> key = virt::get_key(LEVEL_KEY);
    return key && key->type == virt::KeyType::integer ? std::optional(key->number) : std::nullopt;
}

std::string battery_level_name(int level)
{
    const std::vector<level_row> rows = levels();
    const auto found = std::ranges::find(rows, level, &level_row::level);
    return found == rows.end() ? "" : found->name;
}

int verb_battery(const invocation &in, CLI::App &app)
{
    std::string what;
    app.add_option("MILLIVOLTS", what, "Its voltage from now on, or drain: along a curve")
        ->check(CLI::Validator(check_battery, ""));
    const curve_options curve(app, "MILLIVOLTS", 0, MOST_MILLIVOLTS);
    in.parse(app);
    if (curve.given() != (what == "drain"))
        throw CLI::ValidationError("drain, --from, --to and --steps go together");
    open_camera(in.dir);
    if (curve.given())
        drain(curve.values());
    else if (what.empty())
        show();
    else
        set_battery(read_word32(what));
    return OK;
}

} // namespace vcam
