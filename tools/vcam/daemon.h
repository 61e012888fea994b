// The camera's daemon: started as a boot would, found, stopped.
#pragma once

#include "tools/vcam/app.h"
#include "tools/vcam/background.h"

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
    // An empty `program` finds rovad beside vcam, in the build tree or in $PATH.  `app`, unless it
    // is NULL, is started first, and lives longer than this.
    daemon_process(const std::filesystem::path &program, const std::vector<std::string> &options,
                   app_process *app);

    enum class state { up, ended, late };
    // Until the daemon has cleared its start key.
    state wait_until_up(double seconds);

    bool has_ended() { return process_->has_ended(); }
    pid_t pid() const { return process_->pid(); }
    // What it has written to virtual/rovad.out so far.
    std::string output() const { return process_->output(); }

    // The application that was started for it.
    void stop_app();

private:
    app_process *app_;
    std::optional<background_process> process_;
};

// poweroff or reboot has been called behind byte `offset` of the call log.
std::uintmax_t call_log_size();
bool was_switched_off(std::uintmax_t offset);

// Asks through the stop key, which lets the running command finish and skips what waits.
void ask_to_stop();

} // namespace vcam
