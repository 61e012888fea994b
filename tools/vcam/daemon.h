// The camera's daemon: started as a boot would, found, stopped.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vcam
{

// Started by this process; ended for good only when its parent looks (has_ended).
class daemon_process
{
public:
    // Switches the camera on and starts the daemon; fails when one runs or none is found.
    // An empty `program` finds rovad beside vcam, in the build tree or in $PATH.
    daemon_process(const std::filesystem::path &program, const std::vector<std::string> &options);

    enum class state { up, ended, late };
    // Until the daemon has cleared its start key.
    state wait_until_up(double seconds);

    bool has_ended();
    pid_t pid() const { return pid_; }
    // What it has written to virtual/rovad.out so far.
    std::string output() const;

private:
    std::uintmax_t output_start_;
    pid_t pid_;
    bool ended_ = false;
};

// poweroff or reboot has been called behind byte `offset` of the call log.
std::uintmax_t call_log_size();
bool was_switched_off(std::uintmax_t offset);

// Asks through the stop key, which lets the running command finish and skips what waits.
void ask_to_stop();

} // namespace vcam
