#include "command/wifi/rova_execute_file.h"

#include "command/wifi/rova_cmd_wireless.h"
#include "platform/sys.h"

#include <cerrno>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

[[noreturn]] void run_child(const char *path, char *const argv[], char *const envp[])
{
    // The daemon blocks its ending signals in all threads; a script could not be ended then.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    ROVA_LOG_RADIO("pid(%d), ppid (%d)", getpid(), getppid());
    ROVA_LOG_RADIO("Inside child, exec (%s) command", path);
    sys_execve(path, argv, envp);
    ROVA_LOG_ERR("Fail to execute command (%s)", rova_reason());
    _exit(1);
}

pid_t next_change(pid_t child, int *status)
{
    pid_t rv = -1;
    do {
        rv = waitpid(child, status, WUNTRACED | WCONTINUED);
    } while (rv < 0 && errno == EINTR);
    return rv;
}

// Whether the child has ended.
bool tell_change(int status)
{
    if (WIFEXITED(status))
        ROVA_LOG_RADIO("exited, rv=%d", WEXITSTATUS(status));
    else if (WIFSIGNALED(status))
        ROVA_LOG_RADIO("killed by signal %d", WTERMSIG(status));
    else if (WIFSTOPPED(status))
        ROVA_LOG_RADIO("stopped by signal %d", WSTOPSIG(status));
    else if (WIFCONTINUED(status))
        ROVA_LOG_RADIO("continued");
    return WIFEXITED(status) || WIFSIGNALED(status);
}

void wait_for_end(pid_t child)
{
    for (bool ended = false; !ended;) {
        int status = 0;
        const pid_t rv = next_change(child, &status);
        if (rv < 0) {
            ROVA_LOG_ERR("wait pid (%u) rv (%d)", static_cast<unsigned int>(child), rv);
            return;
        }
        ended = tell_change(status);
    }
}

} // namespace

int rova_execute_file(const char *path, char *const argv[], char *const envp[])
{
    for (char *const *word = argv; *word != nullptr; word++)
        ROVA_LOG_RADIO("%s", *word);
    const pid_t child = fork();
    if (child == 0)
        run_child(path, argv, envp);
    if (child < 0) {
        ROVA_LOG_ERR("failed to fork (%s)", rova_reason());
        return 0;
    }
    wait_for_end(child);
    return 1;
}
