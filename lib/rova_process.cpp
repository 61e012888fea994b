#include "lib/rova_process.h"

#include "common/rova_log.h"
#include "platform/sys.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

constexpr std::size_t CMDLINE_MAX = 4096;
constexpr int ARGUMENT_MAX = 256;
constexpr int SIGNAL_MAX = 64;
constexpr int FIRST_OWN_FD = 3;

bool is_process_entry(const char *name)
{
    return std::isdigit(static_cast<unsigned char>(name[0])) != 0;
}

// True when the first argument of process `pid` is exactly `path`.
bool runs(int pid, const char *path)
{
    char name[64];
    std::snprintf(name, sizeof(name), "/proc/%d/cmdline", pid);
    int fd = sys_open(name, O_RDONLY, 0);
    if (fd < 0)
        return false;
    char cmdline[CMDLINE_MAX + 1] = {};
    ssize_t got = read(fd, cmdline, CMDLINE_MAX);
    close(fd);
    if (got <= 0 || static_cast<std::size_t>(got) >= CMDLINE_MAX)
        return false;
    cmdline[got] = '\0';
    return std::strcmp(cmdline, path) == 0;
}

pid_t search(DIR *proc, const char *path)
{
    while (const dirent *entry = readdir(proc)) {
        int pid = std::atoi(entry->d_name);
        if (is_process_entry(entry->d_name) && runs(pid, path))
            return pid;
    }
    return -1;
}

// An argument vector made in place: the pieces are never longer than the text they come from.
class ArgumentVector
{
public:
    explicit ArgumentVector(char *text) : out_(text), start_(text) { split(text); }

    int count() const { return count_; }
    char *const *argv() const { return argv_; }

private:
    void split(const char *text)
    {
        bool in_double = false;
        bool in_single = false;
        for (; *text != '\0'; text++) {
            if (*text == '\\') {
                if (*++text == '\0')
                    break;
                *out_++ = *text;
            } else if (*text == '"' && !in_single) {
                in_double = !in_double;
            } else if (*text == '\'' && !in_double) {
                in_single = !in_single;
            } else if (*text == ' ' && !in_double && !in_single) {
                end_argument();
            } else {
                *out_++ = *text;
            }
        }
        end_argument();
    }

    void end_argument()
    {
        if (out_ == start_)
            return;
        *out_++ = '\0';
        if (count_ < ARGUMENT_MAX)
            argv_[count_++] = start_;
        start_ = out_;
    }

    char *out_;
    char *start_;
    char *argv_[ARGUMENT_MAX + 1] = {};
    int count_ = 0;
};

// The limit may be a million and more: one call, where the kernel has it.
void close_inherited_files()
{
    const int limit = getdtablesize();
#ifdef SYS_close_range
    if (syscall(SYS_close_range, FIRST_OWN_FD, limit - 1, 0) == 0)
        return;
#endif
    for (int fd = FIRST_OWN_FD; fd < limit; fd++)
        close(fd);
}

// The daemon blocks its ending signals in all threads; a program that inherited that could not be
// terminated.
void reset_signals()
{
    for (int number = 0; number <= SIGNAL_MAX; number++)
        std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void run_child(char *const *argv, int nice_increment)
{
    close_inherited_files();
    reset_signals();
    errno = 0;
    if (nice(nice_increment) == -1 && errno != 0)
        ROVA_LOG_ERR("nice error: %s", std::strerror(errno));
    sys_execvp(argv[0], argv);
    ROVA_LOG_ERR("exec. error: %s", std::strerror(errno));
    _exit(1);
}

pid_t invalid_input()
{
    ROVA_LOG_ERR("launch app error: Invalid input");
    errno = EINVAL;
    return -1;
}

// `text` is the command line; it is used up.
pid_t launch(char *text, int nice_increment)
{
    ArgumentVector arguments(text);
    if (arguments.count() == 0 || sys_access(arguments.argv()[0], X_OK) != 0)
        return invalid_input();
    pid_t pid = fork();
    if (pid == 0)
        run_child(arguments.argv(), nice_increment);
    if (pid < 0)
        ROVA_LOG_ERR("fork error: %s", std::strerror(errno));
    return pid;
}

} // namespace

pid_t rova_get_exec_pid(const char *path)
{
    // An empty path would be found among the kernel's threads, which have no arguments.
    if (path == nullptr || path[0] == '\0') {
        errno = ESRCH;
        return -1;
    }
    DIR *proc = sys_opendir("/proc");
    if (proc == nullptr) {
        ROVA_LOG_ERR("FAIL: open /proc");
        return -1;
    }
    pid_t found = search(proc, path);
    closedir(proc);
    if (found < 0)
        errno = ESRCH;
    return found;
}

pid_t rova_launch_app_with_nice(const char *path, const char *args, unsigned int flags, ...)
{
    if (path == nullptr) {
        errno = EINVAL;
        return -1;
    }
    if (rova_get_exec_pid(path) > 0)
        return 1;
    int nice_increment = 0;
    if ((flags & ROVA_LAUNCH_NICE) != 0) {
        va_list list;
        va_start(list, flags);
        nice_increment = va_arg(list, int);
        va_end(list);
    }
    if (args == nullptr)
        args = "";
    std::size_t size = std::strlen(path) + std::strlen(args) + sizeof(" ");
    auto *text = static_cast<char *>(std::malloc(size));
    if (text == nullptr) {
        ROVA_LOG_ERR("Malloc failed");
        return -1;
    }
    std::snprintf(text, size, "%s %s", path, args);
    pid_t pid = launch(text, nice_increment);
    std::free(text);
    return pid;
}

int rova_terminate_app(const char *path)
{
    if (path == nullptr) {
        errno = EINVAL;
        return -1;
    }
    if (pid_t pid = rova_get_exec_pid(path); pid > 0)
        kill(pid, SIGTERM);
    return 0;
}
