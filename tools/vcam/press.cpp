// vcam press, turn and dial: the hands at the camera.
#include "platform/virtual/root.h"
#include "tools/vcam/camera.h"
#include "tools/vcam/key_driver.h"
#include "tools/vcam/number.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <chrono>
#include <cstdio>
#include <span>
#include <thread>

namespace vcam
{
namespace
{

struct wheel_row {
    const char *name;
    const rova_rotary &rotary;
};

constexpr wheel_row WHEELS[] = {
    {"jog1", rova_jog1},
    {"jog2", rova_jog2},
    {"wheel", rova_wheel},
};

struct dial_row {
    const char *name;
    const rova_dial &dial;
};

constexpr dial_row DIALS[] = {
    {"mode", rova_mode_dial},
    {"drive", rova_drive_dial},
};

// Some rows of the table are no keys, but words for the daemon.
std::span<const rova_key_row> keys()
{
    const auto *end = std::ranges::find(rova_key_tbl, 0U, &rova_key_row::code);
    return {rova_key_tbl, end};
}

template <typename Rows> std::string names_of(const Rows &rows)
{
    std::vector<std::string> names;
    for (const auto &row : rows)
        names.emplace_back(row.name);
    return join_words(names);
}

template <typename Rows>
const auto &row_named(const Rows &rows, const std::string &name, const char *kind)
{
    const auto *row = find_named(rows, name);
    if (row == nullptr)
        throw failure("no " + std::string(kind) + " '" + name + "': " + names_of(rows));
    return *row;
}

// The driver drops what is masked, and so nothing is done.
bool tell_if_masked(uint32_t mask, const std::string &name)
{
    if (!is_masked(mask))
        return false;
    std::printf("%s is masked: nothing happens\n", name.c_str());
    return true;
}

// Milliseconds of camera time, cut short by an interrupt.
void hold(int ms)
{
    using namespace std::chrono;
    constexpr auto LOOK = milliseconds(20);
    using real_ms = duration<double, std::milli>; // a slow camera's are more than the clock counts
    const auto start = steady_clock::now();
    const real_ms total(ms / virt::speed());
    real_ms left = total;
    while (left.count() > 0 && !end_asked()) {
        std::this_thread::sleep_for(std::min<real_ms>(left, LOOK));
        left = total - (steady_clock::now() - start);
    }
}

// A key never stays down behind vcam, unless that is killed.
void press(const rova_key_row &key, int ms)
{
    if (tell_if_masked(key.mask, key.name))
        return;
    catch_interrupts();
    const uint32_t down = push_key(key);
    hold(ms);
    let_go(down);
}

// Seconds of the PC: what a hand waits at most for the camera to follow.
constexpr double PATIENCE = 1;

void turn(const wheel_row &wheel, const rova_rotary_row &direction, int count)
{
    catch_interrupts();
    for (int i = 0; i < count; i++) {
        wait_until([&] { return click_was_taken(direction); }, PATIENCE);
        if (end_asked() || tell_if_masked(direction.mask, wheel.name))
            return;
        click(wheel.name, direction);
    }
}

// For completion: a line for each thing, with what it can be moved to.
template <typename Things, typename Rows> void list(const Things &things, const Rows &rows_of)
{
    for (const auto &thing : things)
        std::printf("%s %s\n", thing.name, names_of(rows_of(thing)).c_str());
}

// The words in front are optional only because --list goes without them.
void add_list(CLI::App &app, bool &wanted)
{
    app.add_flag("--list", wanted, "Print the names instead");
}

void need(const std::string &word, const char *name)
{
    if (word.empty())
        throw CLI::RequiredError(name);
}

} // namespace

int verb_press(const invocation &in, CLI::App &app)
{
    std::string name, ms = "100";
    bool names = false;
    app.add_option("NAME", name, "The key");
    app.add_option("--hold", ms, "Milliseconds of camera time until it is let go (100)")
        ->check(CLI::Validator(check_count, ""))
        ->type_name("MS");
    add_list(app, names);
    in.parse(app);
    if (names) {
        for (const rova_key_row &key : keys())
            std::puts(key.name);
        return OK;
    }
    need(name, "NAME");
    open_camera(in.dir);
    press(row_named(keys(), name, "key"), read_word32(ms));
    return OK;
}

int verb_turn(const invocation &in, CLI::App &app)
{
    std::string name, direction, count = "1";
    bool names = false;
    app.add_option("WHEEL", name, "The rotary switch: " + names_of(WHEELS));
    app.add_option("DIRECTION", direction, "left or right");
    app.add_option("COUNT", count, "Clicks (1)")->check(CLI::Validator(check_count, ""));
    add_list(app, names);
    in.parse(app);
    if (names) {
        list(WHEELS, [](const wheel_row &row) { return std::span(row.rotary.rows); });
        return OK;
    }
    need(name, "WHEEL");
    need(direction, "DIRECTION");
    open_camera(in.dir);
    const wheel_row &wheel = row_named(WHEELS, name, "rotary switch");
    turn(wheel, row_named(wheel.rotary.rows, direction, "direction"), read_word32(count));
    return OK;
}

int verb_dial(const invocation &in, CLI::App &app)
{
    std::string name, position;
    bool names = false;
    app.add_option("DIAL", name, "The dial: " + names_of(DIALS));
    app.add_option("POSITION", position, "Where it is moved to");
    add_list(app, names);
    in.parse(app);
    if (names) {
        list(DIALS, [](const dial_row &row) { return row.dial.rows; });
        return OK;
    }
    need(name, "DIAL");
    need(position, "POSITION");
    open_camera(in.dir);
    const rova_dial &dial = row_named(DIALS, name, "dial").dial;
    move_dial(dial, row_named(dial.rows, position, "position"));
    return OK;
}

} // namespace vcam
