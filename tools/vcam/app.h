// The camera application: a process of its own beside the daemon.
#pragma once

#include "tools/vcam/background.h"

#include <CLI/CLI.hpp>
#include <optional>

namespace vcam
{

// An application in the background, unless the camera has one already.
class app_process
{
public:
    // An empty `program` finds vcam-app beside vcam, in the build tree or in $PATH.
    explicit app_process(const std::filesystem::path &program);

    // Starts it and waits until it serves both channels; fails when it does not.  The camera is
    // switched on.
    void start();
    // What start() has started ends again.
    void stop();

private:
    void wait_until_up();

    std::filesystem::path program_;
    std::optional<background_process> process_;
};

// --app and --no-app of the verbs that start the daemon.
class app_options
{
public:
    void add_to(CLI::App &app);
    // NULL: the daemon is to run alone.
    app_process *process();

private:
    std::filesystem::path program_;
    bool none_ = false;
    std::optional<app_process> process_;
};

// Sends the signal and waits for the end of the process; one that does not end in time is killed.
void end_app(pid_t pid, int signal, double seconds);

} // namespace vcam
