// A process that is killed at a given system call, as by a power cut.
#pragma once

#include <functional>
#include <sys/types.h>

namespace test
{

// Exit status of a child that may not be traced on this machine.
inline constexpr int NOT_TRACED = 99;

// Starts a child that stops, and then does `work` and ends with 0 if that gives true, else with 1.
// The caller lets it go on through ptrace.
pid_t start_traced(const std::function<bool()> &work);

// Lets the child run and kills it at the `count`-th begin or end of a system call; how it ended, as
// waitpid tells it.
int cut(pid_t pid, int count);

} // namespace test
