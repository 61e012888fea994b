// The capture service's other side: what makes pictures come.  For the process that plays the
// camera application, from any thread of it, the service's own included.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace virt
{

// Takes a still of the next picture of virtual/scene/, or of the one that is named, and leaves it
// to the service's thread to deliver.  Gives the picture's name; nullopt, with a line in the
// platform log, when there is none or it cannot be read.
std::optional<std::string> take_still();
std::optional<std::string> take_still(const std::string &name);

// Waits until all stills taken so far are delivered and their callbacks have returned.  On the
// service's thread it returns at once.
void finish_stills();

// Live view: frames at virtual/capture/live_rate to all who have registered for them.  False when
// the service's thread cannot be started.  Behind stop_live_view no frame is delivered.
bool start_live_view();
void stop_live_view();

// Pictures that clients were given and have not given back: three for each still.
size_t capture_buffers_out();

// Ends it all, as switching the camera off does: no live view, no client, no picture.  A callback
// that is under way is waited for.
void stop_capture();

} // namespace virt
