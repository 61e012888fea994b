/*
 * The operating system, as the camera shows it.
 *
 * Whatever the daemon and the library touch by an absolute path, by a System V key, by a semaphore
 * name or by the clock goes through these calls.  Each has the shape, the results and the errno of
 * the C library's call it is named after; on the camera each is that call, but for sys_system
 * (below).  On a virtual camera the paths lie below the camera's directory, named objects belong to
 * that camera alone and time runs at the camera's speed (docs/virtual-camera.md).
 *
 * All calls may be used from any thread.
 */
#ifndef PLATFORM_SYS_H
#define PLATFORM_SYS_H

#include <dirent.h>
#include <semaphore.h>
#include <stddef.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Files.  A relative path is taken from the working directory, as always. */
int sys_open(const char *path, int flags, mode_t mode);
FILE *sys_fopen(const char *path, const char *mode);
int sys_access(const char *path, int mode);
int sys_stat(const char *path, struct stat *status);
int sys_rename(const char *from, const char *to);
int sys_unlink(const char *path);
int sys_mkdir(const char *path, mode_t mode);
DIR *sys_opendir(const char *path);

/* Descriptors: here so that a full or failing disk can be rehearsed. */
ssize_t sys_write(int fd, const void *data, size_t size);
int sys_fdatasync(int fd);
int sys_ioctl(int fd, unsigned long request, void *argument);
void sys_sync(void);

/* Programs.  `command` (never NULL) goes to the shell as system() would give it, with its result,
 * but for two things.  The process's signals are left alone: system() ignores SIGINT and SIGQUIT
 * meanwhile and puts back what it found, so that a handler which another thread installs in between
 * is lost.  And its standard input is empty: a program that asks a question would wait for a person
 * who is not there, or at a terminal for one who looks elsewhere.  `file` of sys_execvp is looked
 * up below the camera's root, argv is passed on as it stands.  So it is with sys_execve; a virtual
 * camera adds PATH and its own ROVA_SYSROOT to the environment, which there stand for the root. */
int sys_system(const char *command);
int sys_execvp(const char *file, char *const argv[]);
int sys_execve(const char *path, char *const argv[], char *const envp[]);

/* Kernel objects.  sys_msgctl is needed for the removal of a queue only through the same seam. */
key_t sys_ftok(const char *path, int project);
int sys_msgget(key_t key, int flags);
int sys_msgctl(int queue, int command, void *attributes);
sem_t *sys_sem_open(const char *name, int flags, mode_t mode, unsigned int value);
int sys_sem_unlink(const char *name);

/* Time.  sys_usleep may end early with -1 and EINTR.  sys_time is the camera's wall clock.
 * sys_deadline gives the CLOCK_REALTIME instant `milliseconds` of camera time from now, for the
 * calls that wait until an absolute time.  sys_deadline_seconds gives the one that is reached by
 * adding to the full seconds of the clock, nanoseconds 0: up to a second earlier, never sooner than
 * `seconds` - 1 from now.  Where time runs faster both are scaled, the part of a second cut off
 * too. */
int sys_usleep(useconds_t microseconds);
time_t sys_time(time_t *out);
void sys_deadline(unsigned int milliseconds, struct timespec *deadline);
void sys_deadline_seconds(unsigned int seconds, struct timespec *deadline);

#ifdef __cplusplus
}
#endif

#endif
