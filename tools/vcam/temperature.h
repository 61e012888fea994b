// The temperatures that the open camera measures.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace vcam
{

struct thermometer {
    const char *name;
    const char *path;
    std::string (*text)(int degrees); // of its file, without a line feed in it
    int (*degrees)(int value);        // of the number that its file begins with
};

std::span<const thermometer> thermometers();

// The number that its file begins with, as it stands; scripted values stay.  Nothing where there is
// no such file.
std::optional<int> thermometer_value(const thermometer &meter);

} // namespace vcam
