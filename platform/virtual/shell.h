// How a command line of the camera becomes one of the PC.
#pragma once

#include <string>

namespace virt
{

// Puts the camera's root, quoted, before every word of a shell command that is an absolute path,
// and takes its ".." as virt::path() does.
std::string map_command(const std::string &command);

} // namespace virt
