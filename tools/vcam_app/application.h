// The camera application itself: what it serves, between its start and its end.
#pragma once

namespace vcam_app
{

// Serves both channels, lends its functions to the library and begins with live view.  False when a
// channel cannot be served; what was started then waits for stop_application().
bool start_application();

// Ends all of it, also a command that would be answered late or never, and tells on the error
// stream when clients have not given back pictures.
void stop_application();

} // namespace vcam_app
