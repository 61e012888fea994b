// vcam start, stop and status: the daemon's life.
#include "tools/vcam/camera.h"
#include "tools/vcam/companion.h"
#include "tools/vcam/daemon.h"
#include "tools/vcam/daemon_log.h"
#include "tools/vcam/number.h"
#include "tools/vcam/process.h"
#include "tools/vcam/verb.h"

#include <csignal>
#include <cstdio>

namespace vcam
{
namespace
{

void send_stop(pid_t pid, int signal)
{
    if (signal == 0)
        ask_to_stop();
    else if (kill(pid, signal) != 0)
        throw failure("no signal can be sent to rovad (pid " + std::to_string(pid) + ")");
}

void stop_daemon(pid_t pid, int signal, double seconds)
{
    send_stop(pid, signal);
    if (!wait_until([pid] { return !process_runs(pid); }, seconds))
        throw failure("rovad did not end in time; it still runs (pid " + std::to_string(pid) + ")");
}

// The PC's responder is the daemon's to end.
bool camera_is_up()
{
    return daemon_pid() > 0 || app_pid() > 0 || sensor_pid() > 0;
}

void print_state(const char *name, pid_t pid)
{
    if (pid > 0)
        std::printf("%s: up (pid %d)\n", name, pid);
    else
        std::printf("%s: not running\n", name);
}

} // namespace

int verb_start(const invocation &in, CLI::App &app)
{
    fs::path program;
    companion_options companions;
    double seconds = 10;
    std::vector<std::string> options;
    app.add_option("--rovad", program, "The daemon's program")->type_name("FILE");
    companions.add_to(app);
    app.add_option("--timeout", seconds, "How long it may take to come up")
        ->check(CLI::Validator(check_seconds, ""))
        ->type_name("SECONDS");
    app.add_option("OPTION", options, "Options of rovad, behind --");
    in.open(app);
    daemon_process daemon(program, options, companions.chosen());
    switch (daemon.wait_until_up(seconds)) {
    case daemon_process::state::up:
        return OK;
    case daemon_process::state::ended:
        daemon.stop_companions();
        print_output(daemon.output());
        throw failure(options.empty() ? "rovad ended before it was up; without options it needs a "
                                        "marker file on the card (vcam start --help)"
                                      : "rovad ended before it was up");
    case daemon_process::state::late:
        break;
    }
    print_output(daemon.output());
    throw failure("rovad did not come up in time; it still runs (pid " +
                  std::to_string(daemon.pid()) + ")");
}

int verb_stop(const invocation &in, CLI::App &app)
{
    bool by_kill = false, by_signal = false;
    double seconds = 60;
    app.add_flag("--kill", by_kill, "At once, with SIGKILL, as if it crashed");
    app.add_flag("--signal", by_signal, "With SIGTERM instead of the stop key")->excludes("--kill");
    app.add_option("--timeout", seconds, "How long it may take to end")
        ->check(CLI::Validator(check_seconds, ""))
        ->type_name("SECONDS");
    in.open(app);
    const pid_t pid = daemon_pid();
    if (!camera_is_up())
        throw failure("rovad is not running");
    if (pid > 0)
        stop_daemon(pid, by_kill ? SIGKILL : by_signal ? SIGTERM : 0, seconds);
    for (const pid_t companion : {app_pid(), sensor_pid()})
        if (companion > 0)
            end_companion(companion, by_kill ? SIGKILL : SIGTERM, seconds);
    return OK;
}

int verb_status(const invocation &in, CLI::App &app)
{
    in.open(app);
    const std::string result = last_result();
    const pid_t pid = daemon_pid();
    print_state("rovad", pid);
    print_state("camera application", app_pid());
    print_state("sensor service", sensor_pid());
    if (pid > 0)
        std::printf("mode: %s\n", daemon_mode().c_str());
    std::printf("last result: %s\n", result.empty() ? "none" : result.c_str());
    return pid > 0 ? OK : NG;
}

} // namespace vcam
