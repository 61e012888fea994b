#include "tests/support/cut.h"

#include "tests/support/process.h"

#include <csignal>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test
{

pid_t start_traced(const std::function<bool()> &work)
{
    const pid_t pid = fork();
    if (pid == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(NOT_TRACED);
        raise(SIGSTOP);
        _exit(work() ? 0 : 1);
    }
    return pid;
}

int cut(pid_t pid, int count)
{
    int status = 0;
    for (; waitpid(pid, &status, 0) == pid && WIFSTOPPED(status); count--)
        if (count == 0)
            send_signal(pid, SIGKILL);
        else
            ptrace(PTRACE_SYSCALL, pid, nullptr, nullptr);
    return status;
}

} // namespace test
