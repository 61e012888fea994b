// What every verb of vcam is made of.
#pragma once

#include <CLI/CLI.hpp>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace vcam
{

namespace fs = std::filesystem;

// Exit statuses: the command's own verdict, or an error of vcam's.
enum exit_status { OK = 0, NG = 1, TROUBLE = 2 };

// An error that the person at the keyboard is told as "vcam: TEXT"; vcam ends with TROUBLE.
struct failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// One run of vcam, as a verb sees it.
class invocation
{
public:
    invocation(fs::path camera_dir, std::vector<std::string> arguments)
        : dir(std::move(camera_dir)), arguments_(std::move(arguments))
    {
    }

    // Reads the verb's arguments; what is wrong with them leaves as CLI::ParseError.
    void parse(CLI::App &app) const;
    // The same, then opens the camera: from here on the platform's calls and camera.h reach it.
    void open(CLI::App &app) const;

    const fs::path dir; // as given; need not exist

private:
    std::vector<std::string> arguments_;
};

struct verb {
    const char *name;
    const char *summary;
    const char *example; // arguments behind "vcam NAME", one example a line
    int (*run)(const invocation &in, CLI::App &app);
};

int verb_adj(const invocation &in, CLI::App &app);
int verb_app(const invocation &in, CLI::App &app);
int verb_attr(const invocation &in, CLI::App &app);
int verb_battery(const invocation &in, CLI::App &app);
int verb_calls(const invocation &in, CLI::App &app);
int verb_card(const invocation &in, CLI::App &app);
int verb_chart(const invocation &in, CLI::App &app);
int verb_create(const invocation &in, CLI::App &app);
int verb_dial(const invocation &in, CLI::App &app);
int verb_fault(const invocation &in, CLI::App &app);
int verb_key(const invocation &in, CLI::App &app);
int verb_log(const invocation &in, CLI::App &app);
int verb_motion(const invocation &in, CLI::App &app);
int verb_pc(const invocation &in, CLI::App &app);
int verb_plug(const invocation &in, CLI::App &app);
int verb_press(const invocation &in, CLI::App &app);
int verb_property(const invocation &in, CLI::App &app);
int verb_radio(const invocation &in, CLI::App &app);
int verb_run(const invocation &in, CLI::App &app);
int verb_screen(const invocation &in, CLI::App &app);
int verb_sensord(const invocation &in, CLI::App &app);
int verb_start(const invocation &in, CLI::App &app);
int verb_state(const invocation &in, CLI::App &app);
int verb_status(const invocation &in, CLI::App &app);
int verb_stop(const invocation &in, CLI::App &app);
int verb_touch(const invocation &in, CLI::App &app);
int verb_turn(const invocation &in, CLI::App &app);
int verb_turn_camera(const invocation &in, CLI::App &app);
int verb_unplug(const invocation &in, CLI::App &app);
int verb_warm(const invocation &in, CLI::App &app);

} // namespace vcam
