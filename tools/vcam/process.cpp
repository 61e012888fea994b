#include "tools/vcam/process.h"

#include "platform/virtual/processes.h"
#include "tools/vcam/camera.h"

#include <chrono>
#include <csignal>
#include <thread>
#include <unistd.h>

namespace vcam
{
namespace
{

volatile std::sig_atomic_t interrupted = 0;

void note_interrupt(int)
{
    interrupted = 1;
}

fs::path proc_path(pid_t pid, const char *file)
{
    return fs::path("/proc") / std::to_string(pid) / file;
}

std::string first_argument(pid_t pid)
{
    const std::string text = read_file(proc_path(pid, "cmdline")).value_or("");
    return text.substr(0, text.find('\0'));
}

pid_t find_process(std::string_view program)
{
    for (const pid_t pid : virt::processes()) {
        if (first_argument(pid) == program && process_runs(pid))
            return pid;
    }
    return -1;
}

} // namespace

pid_t daemon_pid()
{
    return find_process(DAEMON);
}

pid_t app_pid()
{
    return find_process(APPLICATION);
}

pid_t sensor_pid()
{
    return find_process(SENSOR_SERVICE);
}

bool responder_runs()
{
    return find_process(RESPONDER) > 0;
}

bool camera_is_busy()
{
    return daemon_pid() > 0 || responder_runs() || app_pid() > 0 || sensor_pid() > 0;
}

bool process_runs(pid_t pid)
{
    const std::string stat = read_file(proc_path(pid, "stat")).value_or("");
    const std::size_t name_end = stat.rfind(')');
    return name_end != std::string::npos && name_end + 2 < stat.size() &&
           stat[name_end + 2] != 'Z' && stat[name_end + 2] != 'X';
}

bool runs_as(const char *program)
{
    return first_argument(getpid()) == program;
}

bool wait_until(const std::function<bool()> &condition, double seconds)
{
    using clock = std::chrono::steady_clock;
    const auto end = clock::now() + std::chrono::duration<double>(seconds);
    while (!condition()) {
        if (clock::now() >= end || end_asked())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

void catch_interrupts()
{
    struct sigaction action = {};
    action.sa_handler = note_interrupt; // without SA_RESTART: waits end
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    sigaction(SIGPIPE, &action, nullptr);
}

bool end_asked()
{
    return interrupted != 0;
}

void forget_interrupts()
{
    interrupted = 0;
}

} // namespace vcam
