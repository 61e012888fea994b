// vcam-screen, a program of its own: what it draws with takes longer to load than most verbs take.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vcam
{

// Goes on as vcam-screen with these arguments, which tells its own errors.
[[noreturn]] void become_screen_program(std::vector<std::string> arguments);

// The screen of the open camera as a PNG file; needs no display.  What fails is told by
// vcam-screen as well.
void save_screen(const std::filesystem::path &path);

} // namespace vcam
