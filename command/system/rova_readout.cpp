#include "command/system/rova_readout.h"

#include "common/rova_thread.h"
#include "platform/sys.h"

#include <sys/prctl.h>

int rova_readout_create(pthread_t *thread, const char *name, void *(*start)(void *))
{
    const pthread_t before = *thread;
    if (rova_thread_create(thread, name, ROVA_THREAD_PRIORITY, 1, 0, start, nullptr) != 0)
        return -1;
    if (before != 0)
        pthread_detach(before);
    return 0;
}

int rova_readout_cancel(pthread_t *thread)
{
    const pthread_t cancelled = *thread;
    *thread = 0;
    if (rova_thread_cancel(cancelled) != 0)
        return -1;
    return rova_thread_join(cancelled, nullptr);
}

void rova_readout_begin(const char *name)
{
    rova_thread_make_cancellable();
    prctl(PR_SET_NAME, name, 0, 0, 0);
}

void rova_readout_sleep(useconds_t microseconds)
{
    rova_thread_open_cancel_window();
    sys_usleep(microseconds);
    rova_thread_close_cancel_window();
}
