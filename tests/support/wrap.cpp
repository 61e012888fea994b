#include "tests/support/wrap.h"

#include "platform/virtual/uninterrupted.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <pthread.h>
#include <semaphore.h>
#include <string_view>
#include <sys/msg.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace
{

struct Fault {
    long result;
    int error;
    int calls_left;
    bool every;
};

std::mutex lock;

// Made at first use: malloc may be called before this file's globals are constructed.
std::map<std::string, Fault, std::less<>> &armed()
{
    static std::map<std::string, Fault, std::less<>> faults;
    return faults;
}

std::vector<unsigned int> sleeps;
std::atomic<pthread_t> last_thread = 0;
bool recording = false;
bool skipping = false;

// True when this call of `function` is to fail; errno is set and `result` told.
[[gnu::noinline]] bool look_up(const char *function, long &result)
{
    std::lock_guard guard(lock);
    auto found = armed().find(std::string_view(function));
    if (found == armed().end())
        return false;
    Fault &fault = found->second;
    if (fault.calls_left > 0)
        fault.calls_left--;
    if (fault.calls_left > 0)
        return false;
    result = fault.result;
    errno = fault.error;
    if (!fault.every)
        armed().erase(found);
    return true;
}

// True when the sleep is to be skipped.
[[gnu::noinline]] bool look_at_sleep(unsigned int microseconds)
{
    std::lock_guard guard(lock);
    if (recording)
        sleeps.push_back(microseconds);
    return skipping;
}

// The callers may be cancelled at any instant, but not while the lock is held.

bool fails(const char *function, long &result)
{
    return virt::uninterrupted([&] { return look_up(function, result); });
}

bool note_sleep(unsigned int microseconds)
{
    return virt::uninterrupted([=] { return look_at_sleep(microseconds); });
}

} // namespace

namespace test
{

void wrap_fail(const std::string &function, long result, int error, int nth, bool every)
{
    std::lock_guard guard(lock);
    armed()[function] = Fault{result, error, nth, every};
}

void wrap_clear()
{
    std::lock_guard guard(lock);
    armed().clear();
    sleeps.clear();
    recording = skipping = false;
}

void wrap_record_sleeps(bool skip)
{
    std::lock_guard guard(lock);
    recording = true;
    skipping = skip;
}

pthread_t wrap_last_thread()
{
    return last_thread;
}

std::vector<unsigned int> wrap_sleeps()
{
    std::lock_guard guard(lock);
    return sleeps;
}

} // namespace test

// NAME is also listed in tests/support/CMakeLists.txt, which tells the linker.
#define WRAP(TYPE, NAME, PARAMETERS, ARGUMENTS)                                                    \
    extern "C" TYPE __real_##NAME PARAMETERS;                                                      \
    extern "C" TYPE __wrap_##NAME PARAMETERS;                                                      \
    extern "C" TYPE __wrap_##NAME PARAMETERS                                                       \
    {                                                                                              \
        if (long result = 0; fails(#NAME, result))                                                 \
            return (TYPE)result;                                                                   \
        return __real_##NAME ARGUMENTS;                                                            \
    }

#pragma GCC diagnostic ignored "-Wconversion"

WRAP(int, msgget, (key_t key, int flags), (key, flags))
WRAP(int, msgctl, (int id, int command, msqid_ds *data), (id, command, data))
WRAP(int, sem_init, (sem_t * sem, int shared, unsigned value), (sem, shared, value))
WRAP(int, sem_post, (sem_t * sem), (sem))
WRAP(int, sem_wait, (sem_t * sem), (sem))
WRAP(int, sem_trywait, (sem_t * sem), (sem))
WRAP(int, sem_timedwait, (sem_t * sem, const timespec *deadline), (sem, deadline))
WRAP(int, sem_destroy, (sem_t * sem), (sem))
WRAP(int, pthread_attr_init, (pthread_attr_t * attr), (attr))
WRAP(int, pthread_attr_destroy, (pthread_attr_t * attr), (attr))
WRAP(int, pthread_attr_setstacksize, (pthread_attr_t * attr, size_t size), (attr, size))
WRAP(int, pthread_attr_setdetachstate, (pthread_attr_t * attr, int state), (attr, state))
WRAP(int, pthread_join, (pthread_t thread, void **value), (thread, value))
WRAP(int, pthread_kill, (pthread_t thread, int signal), (thread, signal))
WRAP(int, pthread_cancel, (pthread_t thread), (thread))
WRAP(pid_t, fork, (), ())
WRAP(int, nice, (int increment), (increment))
WRAP(off_t, lseek, (int fd, off_t offset, int whence), (fd, offset, whence))
WRAP(off_t, lseek64, (int fd, off_t offset, int whence), (fd, offset, whence))
WRAP(ssize_t, read, (int fd, void *data, size_t size), (fd, data, size))
WRAP(ssize_t, write, (int fd, const void *data, size_t size), (fd, data, size))
WRAP(int, fsync, (int fd), (fd))
WRAP(int, rename, (const char *from, const char *to), (from, to))
WRAP(void *, malloc, (size_t size), (size))
WRAP(void *, calloc, (size_t count, size_t size), (count, size))
WRAP(void *, g_try_malloc, (size_t size), (size))
WRAP(void *, g_try_malloc0, (size_t size), (size))

// Not through the C library when a sanitizer has its own msgsnd and msgrcv there: a thread that is
// cancelled inside one of those leaves the sanitizer's state behind.  Nor with anything to unwind:
// syscall() claims that nothing is ever thrown through it.
#if defined(ROVA_SANITIZED)
#define CANCELLABLE_CALL(NAME, ...) syscall(SYS_##NAME, __VA_ARGS__)
#else
#define CANCELLABLE_CALL(NAME, ...) __real_##NAME(__VA_ARGS__)
#endif

extern "C" int __real_msgsnd(int id, const void *data, size_t size, int flags);
extern "C" [[gnu::no_sanitize_thread]] int __wrap_msgsnd(int id, const void *data, size_t size,
                                                         int flags);
extern "C" int __wrap_msgsnd(int id, const void *data, size_t size, int flags)
{
    if (long result = 0; fails("msgsnd", result))
        return static_cast<int>(result);
    return static_cast<int>(CANCELLABLE_CALL(msgsnd, id, data, size, flags));
}

extern "C" ssize_t __real_msgrcv(int id, void *data, size_t size, long type, int flags);
extern "C" [[gnu::no_sanitize_thread]] ssize_t __wrap_msgrcv(int id, void *data, size_t size,
                                                             long type, int flags);
extern "C" ssize_t __wrap_msgrcv(int id, void *data, size_t size, long type, int flags)
{
    if (long result = 0; fails("msgrcv", result))
        return result;
    return CANCELLABLE_CALL(msgrcv, id, data, size, type, flags);
}

extern "C" int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attr,
                                     void *(*start)(void *), void *arg);
extern "C" int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attr,
                                     void *(*start)(void *), void *arg);
extern "C" int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attr,
                                     void *(*start)(void *), void *arg)
{
    if (long result = 0; fails("pthread_create", result))
        return static_cast<int>(result);
    const int error = __real_pthread_create(thread, attr, start, arg);
    if (error == 0)
        last_thread = *thread;
    return error;
}

extern "C" int __real_usleep(useconds_t microseconds);
extern "C" int __wrap_usleep(useconds_t microseconds);
extern "C" int __wrap_usleep(useconds_t microseconds)
{
    const bool skip = note_sleep(microseconds);
    return skip ? 0 : __real_usleep(microseconds);
}
