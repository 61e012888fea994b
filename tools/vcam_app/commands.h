// The application's own commands, on the channel of its thread.
#pragma once

#include <rova/rova.h>

namespace vcam_app
{

// The function for rova_start_app: answers as the files below virtual/app/answer/ say and does what
// a camera does at that.  The commands of the picture inspection are left to the library, unless
// there is an answer for them.
int run_command(const cmd_data *record, rova_cmd_response *answer);

} // namespace vcam_app
