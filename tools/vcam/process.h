// The camera's processes: those that carry its ROVA_SYSROOT and the name of one of its programs.
#pragma once

#include <sys/types.h>

#include <functional>

namespace vcam
{

inline constexpr char DAEMON[] = "/usr/bin/rovad";
inline constexpr char RESPONDER[] = "/usr/bin/mtp-responder";
inline constexpr char APPLICATION[] = "/usr/bin/camera-app";
inline constexpr char SENSOR_SERVICE[] = "/usr/bin/sensord";

// The running daemon of the open camera, its application and its sensor service; -1 when there is
// none.
pid_t daemon_pid();
pid_t app_pid();
pid_t sensor_pid();
// The PC's responder runs.
bool responder_runs();
// A process of the camera, any of the four, still runs.
bool camera_is_busy();
// False also for a process that has ended and waits for its parent.
bool process_runs(pid_t pid);
// This process has the name.
bool runs_as(const char *program);

// Looks every few milliseconds; false when `seconds` have passed first, or end_asked() turned true.
bool wait_until(const std::function<bool()> &condition, double seconds);

// From catch_interrupts() on Ctrl-C, SIGTERM, the terminal's end and that of a reader of the output
// no longer end vcam but are remembered here.
void catch_interrupts();
bool end_asked();
void forget_interrupts();

} // namespace vcam
