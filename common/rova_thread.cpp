#include "common/rova_thread.h"

#include "common/rova_log.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>

namespace
{

thread_local bool cancellable = false;

int fail(pthread_attr_t *attributes)
{
    pthread_attr_destroy(attributes);
    return -1;
}

bool step_done(const char *step, int error)
{
    if (error != 0)
        ROVA_LOG_ERR("%s failed (errno=%d) \n", step, error);
    return error == 0;
}

} // namespace

int rova_thread_create(pthread_t *thread, const char * /*name*/, int /*priority*/, int joinable,
                       std::size_t stack_size, void *(*start)(void *), void *arg)
{
    if (thread == nullptr || start == nullptr)
        return -1;
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        ROVA_LOG_ERR("Got error from pthread_attr_init \n");
        return -1;
    }
    if (pthread_attr_setstacksize(&attributes,
                                  stack_size != 0 ? stack_size : ROVA_THREAD_STACK_SIZE) != 0) {
        ROVA_LOG_ERR("Got error from pthread_attr_setstacksize \n");
        return fail(&attributes);
    }
    int state = joinable != 0 ? PTHREAD_CREATE_JOINABLE : PTHREAD_CREATE_DETACHED;
    if (pthread_attr_setdetachstate(&attributes, state) != 0) {
        ROVA_LOG_ERR("Got error from pthread_attr_setdetachstate \n");
        return fail(&attributes);
    }
    // Into *thread at once: the new thread may look at its own handle there.
    const pthread_t before = *thread;
    if (pthread_create(thread, &attributes, start, arg) != 0) {
        *thread = before;
        ROVA_LOG_ERR("pthread_create() failed \n");
        return fail(&attributes);
    }
    if (pthread_attr_destroy(&attributes) != 0)
        ROVA_LOG_ERR("pthread_attr_destroy() failed \n");
    return 0;
}

// The C library takes a handle of 0 for an address: the wrappers refuse it themselves.

int rova_thread_join(pthread_t thread, void **result)
{
    int error = thread != 0 ? pthread_join(thread, result) : ESRCH;
    if (error == 0)
        return 0;
    ROVA_LOG_ERR("Thread join failed for thread [%u] (%s) \n", static_cast<unsigned int>(thread),
                 std::strerror(error));
    return -1;
}

int rova_thread_cancel(pthread_t thread)
{
    return thread != 0 && pthread_cancel(thread) == 0 ? 0 : -1;
}

int rova_thread_kill(pthread_t thread, int signal)
{
    if (thread != 0 && pthread_kill(thread, signal) == 0)
        return 0;
    ROVA_LOG_ERR("Thread kill failed for thread [%u:%d] \n", static_cast<unsigned int>(thread),
                 signal);
    return -1;
}

void rova_thread_exit(void *result)
{
    pthread_exit(result);
}

int rova_serving_thread_create(pthread_t *thread, void *(*start)(void *), void *arg)
{
    pthread_attr_t attributes;
    if (!step_done("pthread_attr_init", pthread_attr_init(&attributes)))
        return -1;
    pthread_t made = 0;
    const bool done =
        step_done("pthread_attr_setdetachstate",
                  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE)) &&
        step_done("pthread_attr_setstacksize",
                  pthread_attr_setstacksize(&attributes, ROVA_THREAD_STACK_SIZE)) &&
        step_done("pthread_create", pthread_create(&made, &attributes, start, arg));
    pthread_attr_destroy(&attributes);
    if (done)
        *thread = made;
    return done ? 0 : -1;
}

int rova_serving_thread_join(pthread_t thread)
{
    const int error = thread != 0 ? pthread_join(thread, nullptr) : ESRCH;
    return step_done("pthread_join", error) ? 0 : -1;
}

void rova_thread_make_cancellable()
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    cancellable = true;
}

bool rova_thread_is_cancellable()
{
    return cancellable;
}

void rova_thread_open_cancel_window()
{
    if (!cancellable)
        return;
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
    pthread_testcancel();
}

void rova_thread_close_cancel_window()
{
    if (!cancellable)
        return;
    // The state alone would not do.  A cancellation that was sent while the window was open comes
    // by a signal, perhaps later, and then the C library looks at the type alone, which it makes
    // asynchronous for as long as a call that can be cancelled takes, whatever the state.  The
    // empty poll() is such a call: of deferred type, it does not return before a signal that is on
    // its way has come.
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, nullptr);
    poll(nullptr, 0, 0);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
}
