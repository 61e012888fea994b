// The touch panel, for its calls and for tools that touch it.
#pragma once

#include <string>

namespace virt
{

// Points of the panel; the first is 0, 0.
inline constexpr int touch_width = 800;
inline constexpr int touch_height = 480;

// A value of factory_osd_touch_state, unless somebody wrote another; uses up no scripted one.
int touch_state();
// The touches since the panel was made ready: "X Y" a line.
std::string touch_points();

// Touch the panel, as a finger or as nobody.  False where it takes no touches: it was not made
// ready; or where they cannot be written.
bool touch_at(int x, int y);
bool touch_as_ghost();

} // namespace virt
