// What the platform log tells of the open camera's daemon, this one or the one before.
#pragma once

#include <string>

namespace vcam
{

std::string daemon_mode(); // "" when none has come up yet
std::string last_result(); // of a command: "OK" or "NG"; "" before the first

} // namespace vcam
