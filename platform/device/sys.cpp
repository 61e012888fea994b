// The seam to the operating system on the camera: the C library's own calls, but for sys_system.
#include <platform/sys.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/wait.h>
#include <unistd.h>

int sys_open(const char *path, int flags, mode_t mode)
{
    return open(path, flags, mode);
}

FILE *sys_fopen(const char *path, const char *mode)
{
    return fopen(path, mode);
}

int sys_access(const char *path, int mode)
{
    return access(path, mode);
}

int sys_stat(const char *path, struct stat *status)
{
    return stat(path, status);
}

int sys_rename(const char *from, const char *to)
{
    return rename(from, to);
}

int sys_unlink(const char *path)
{
    return unlink(path);
}

int sys_mkdir(const char *path, mode_t mode)
{
    return mkdir(path, mode);
}

DIR *sys_opendir(const char *path)
{
    return opendir(path);
}

ssize_t sys_write(int fd, const void *data, size_t size)
{
    return write(fd, data, size);
}

int sys_fdatasync(int fd)
{
    return fdatasync(fd);
}

int sys_ioctl(int fd, unsigned long request, void *argument)
{
    return ioctl(fd, request, argument);
}

void sys_sync(void)
{
    sync();
}

int sys_system(const char *command)
{
    const pid_t child = fork();
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (nothing > STDIN_FILENO)
            dup2(nothing, STDIN_FILENO);
        execl("/bin/sh", "sh", "-c", command, static_cast<char *>(nullptr));
        _exit(127);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return status;
}

int sys_execvp(const char *file, char *const argv[])
{
    return execvp(file, argv);
}

int sys_execve(const char *path, char *const argv[], char *const envp[])
{
    return execve(path, argv, envp);
}

key_t sys_ftok(const char *path, int project)
{
    return ftok(path, project);
}

int sys_msgget(key_t key, int flags)
{
    return msgget(key, flags);
}

int sys_msgctl(int queue, int command, void *attributes)
{
    return msgctl(queue, command, static_cast<msqid_ds *>(attributes));
}

sem_t *sys_sem_open(const char *name, int flags, mode_t mode, unsigned int value)
{
    return sem_open(name, flags, mode, value);
}

int sys_sem_unlink(const char *name)
{
    return sem_unlink(name);
}

int sys_usleep(useconds_t microseconds)
{
    return usleep(microseconds);
}

time_t sys_time(time_t *out)
{
    return time(out);
}

void sys_deadline(unsigned int milliseconds, struct timespec *deadline)
{
    constexpr long second = 1000000000;
    clock_gettime(CLOCK_REALTIME, deadline);
    deadline->tv_sec += milliseconds / 1000;
    deadline->tv_nsec += milliseconds % 1000 * 1000000L;
    if (deadline->tv_nsec >= second) {
        deadline->tv_sec++;
        deadline->tv_nsec -= second;
    }
}

void sys_deadline_seconds(unsigned int seconds, struct timespec *deadline)
{
    clock_gettime(CLOCK_REALTIME, deadline);
    deadline->tv_sec += seconds;
    deadline->tv_nsec = 0;
}
