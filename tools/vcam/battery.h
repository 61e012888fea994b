// The battery of the open camera.
#pragma once

#include <optional>
#include <string>

namespace vcam
{

// What the camera would read now; scripted values stay.  Nothing where nobody has told it.
std::optional<int> battery_millivolts();
std::optional<int> battery_level();

// What the driver calls the level; "" if it does not know it.
std::string battery_level_name(int level);

} // namespace vcam
