// The camera's daemon: started as a boot would, found, stopped.
#pragma once

#include "tools/vcam/background.h"
#include "tools/vcam/companion.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vcam
{

class daemon_process
{
public:
    // Switches the camera on and starts the daemon; fails when one runs or none is found.
    // An empty `program` finds rovad beside vcam, in the build tree or in $PATH.  The companions
    // are started first.
    daemon_process(const std::filesystem::path &program, const std::vector<std::string> &options,
                   std::vector<companion> companions);

    enum class state { up, ended, late };
    // Until the daemon has cleared its start key.
    state wait_until_up(double seconds);

    bool has_ended() { return process_->has_ended(); }
    pid_t pid() const { return process_->pid(); }
    // What it has written to virtual/rovad.out so far.
    std::string output() const { return process_->output(); }

    // Those that were started for it.
    void stop_companions();
    // Each that has ended by itself: the daemon may wait for it for good.
    void tell_ended_companions();

private:
    void start_companions();

    std::vector<companion> companions_;
    std::optional<background_process> process_;
};

// poweroff or reboot has been called behind byte `offset` of the call log.
std::uintmax_t call_log_size();
bool was_switched_off(std::uintmax_t offset);

// Asks through the stop key, which lets the running command finish and skips what waits.
void ask_to_stop();

} // namespace vcam
