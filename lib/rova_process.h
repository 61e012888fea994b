// Finding, starting and ending programs by path.  Any thread.
#pragma once

#include <sys/types.h>

// The first process whose first argument is exactly `path`; -1 and errno ESRCH if there is none.
pid_t rova_get_exec_pid(const char *path);

inline constexpr unsigned int ROVA_LAUNCH_NICE = 2; // the next argument is the nice increment

// Starts a program unless it runs already.  `args` (may be NULL) is split at blanks, with quotes
// and backslashes.  Returns the child's process number, 1 when it runs already, -1 on failure.  The
// child is not waited for.
pid_t rova_launch_app_with_nice(const char *path, const char *args, unsigned int flags, ...);

// Sends SIGTERM to the program, if it runs.  0, or -1 and EINVAL for a null path.
int rova_terminate_app(const char *path);
