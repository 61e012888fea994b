// The camera application: a process of its own beside the daemon.
#pragma once

#include "tools/vcam/companion.h"

#include <filesystem>

namespace vcam
{

const companion_kind &app_kind();

// Its program: `given`, or, where that is empty, vcam-app beside vcam, in the build tree or in
// $PATH.
std::filesystem::path find_app(const std::filesystem::path &given);

} // namespace vcam
