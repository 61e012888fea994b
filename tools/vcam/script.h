// A script file as the daemon's client thread reads it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vcam
{

// The commands it gives, in order, each as the text of its words; `repeat` lines are expanded.  A
// refused `repeat` ends the reading.
std::vector<std::string> script_commands(const std::filesystem::path &path);

} // namespace vcam
