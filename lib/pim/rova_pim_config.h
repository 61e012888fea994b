// The records of the picture tests: configuration and results in one, kept for the life of the
// process.  The capture service's thread tests pictures by them, the command thread loads them and
// shows what they hold; rova_pim_lock_records() keeps the two apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

inline constexpr int32_t PIM_NO_RESULT = -99; // the verdict of what was not tested

inline constexpr char PIM_VERSION[] = "v3.12"; // of this inspection engine

// As much of a project's name as makes its files' names, in lower case.
inline constexpr std::size_t PIM_LOWER_NAME_SIZE = 19; // with its NUL
void rova_pim_lower_name(const char *name, char (&lower)[PIM_LOWER_NAME_SIZE]);

// Held from the first look at a record, at the sinks or at the buffers of pictures to the last: by
// the capture service's thread for a still, from its shooting data on, and for a live view's frame,
// by the command thread for a load, a range, a movie's frame or sound and the display of a result.
// Not to be held over a call that waits for the other thread, as to unregister a callback does.
[[nodiscard]] std::unique_lock<std::mutex> rova_pim_lock_records();

// Loads the active mode's configuration from the memory card; `project` is the project's name,
// which the file has to bear, `lower` the same in lower case.  0, or -1, reported; the record says
// by configLoaded whether it is whole.  Rows of a result that are held for a file reach it before.
// On the command thread; takes the lock of the records.
int rova_pim_read_config(const char *project, const char *lower);
