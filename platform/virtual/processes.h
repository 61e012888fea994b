// proc/ of the camera: links to the PC's own entries of those processes that run on this camera.
#pragma once

#include <sys/types.h>
#include <vector>

namespace virt
{

// Processes whose environment, as they were started, names this camera in ROVA_SYSROOT.
std::vector<pid_t> processes();

// Bring proc/ up to date.
void refresh_processes();

} // namespace virt
