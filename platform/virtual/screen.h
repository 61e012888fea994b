// virtual/screen.json, for the factory screen's calls and for tools that show it.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <functional>

namespace virt
{

// The screen as docs/virtual-camera.md describes it; a dark, empty one when there is no file or it
// is damaged.
nlohmann::json read_screen();

// Read, change, write, as one step among all processes.
bool change_screen(const std::function<void(nlohmann::json &)> &change);

} // namespace virt
