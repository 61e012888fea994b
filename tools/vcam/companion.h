// What runs beside the daemon: the camera application and the sensor service.
#pragma once

#include "tools/vcam/background.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vcam
{

struct companion_kind {
    const char *what; // "the camera application", for messages
    std::vector<std::string> words;
    const char *output; // below virtual/
    pid_t (*pid)();     // of the one that runs, or -1
    bool (*is_up)();
    void (*clear)(); // what a killed one has left: it would pass for one that serves
};

// One of them in the background, unless the camera has it already.
class companion
{
public:
    companion(const companion_kind &kind, std::filesystem::path program);

    // Starts it and waits until it serves; fails when it does not.  The camera is switched on.
    void start();
    // What start() has started ends again.
    void stop();
    // Tells, once, that it has ended by itself.
    void tell_end();

private:
    void wait_until_up();

    const companion_kind *kind_;
    std::filesystem::path program_;
    std::optional<background_process> process_;
};

// --app, --no-app and --no-sensord of the verbs that start the daemon.
class companion_options
{
public:
    void add_to(CLI::App &app);
    // Those that the daemon is not to run without, in the order of their start.  Fails when a
    // program is not found.
    std::vector<companion> chosen() const;

private:
    std::filesystem::path program_;
    bool no_app_ = false;
    bool no_sensord_ = false;
};

// "... runs already (pid N)", as a failure.
void refuse_second(const companion_kind &kind);

// Sends the signal and waits for the end of the process; one that does not end in time is killed.
void end_companion(pid_t pid, int signal, double seconds);

} // namespace vcam
