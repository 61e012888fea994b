// The motion sensor: what /dev/lsm answers while virtual/motion/ holds samples or a model, and the
// temperature that goes with it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace virt
{

struct MotionSample {
    std::array<int32_t, 3> axes; // X, Y, Z
    double degrees;
};

enum class MotionKind { samples, model };

// The answer to a request to a device node: 0, or -1 with errno; nullopt when no motion is set or
// it says nothing to this request.  Each reading of the axes takes the next sample, for all
// processes of the camera together, and the image sensor's thermistor follows it.
std::optional<int> motion_ioctl(const std::string &node, unsigned long request, void *argument);

// The first line of a motion's text that is not understood, or what it lacks; "" for a good one.
std::string motion_mistake(MotionKind kind, const std::string &text);

// Begins a motion in place of any other, or ends it.  The thermistor is put to the first sample's
// degrees; the end leaves it where it is.  False when a file cannot be written or the text is
// wrong.
bool set_motion(MotionKind kind, const std::string &text);
void end_motion();

// The motion that is set, its text, and the sample taken last.
std::optional<MotionKind> motion_kind();
std::string motion_text(MotionKind kind);
std::optional<MotionSample> latest_motion_sample();

// The image sensor's thermistor, and its file at so many degrees, -128 to 127: the raw value for
// readers of text, and behind it what makes it the mean of the file's 32-bit words.
inline constexpr char THERMISTOR[] = "/sys/devices/platform/movra7-thermister/cmos_thermister";
std::string thermistor_text(int degrees);

} // namespace virt
