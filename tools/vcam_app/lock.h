// One application a camera, for as long as the process lives.
#pragma once

#include <sys/types.h>

namespace vcam_app
{

enum class lock_result { taken, held_by_other, failed };

// Takes the camera's lock for the rest of the process; `holder` is the process that has it already.
// A killed holder's lock is free.
lock_result take_lock(pid_t &holder);

// False when the camera's folder is no longer what it was: it was removed.
bool lock_is_there();

} // namespace vcam_app
