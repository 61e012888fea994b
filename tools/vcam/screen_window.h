// The screen in a window of the PC.
#pragma once

namespace vcam
{

// Follows the screen until the window is closed or Ctrl-C.  Fails where there is no display.
void show_screen_window();

} // namespace vcam
