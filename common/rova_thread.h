// Threads with the daemon's defaults.  Results are 0 on success and -1 on failure.
#pragma once

#include <cstddef>
#include <pthread.h>

inline constexpr std::size_t ROVA_THREAD_STACK_SIZE = 0x100000;
inline constexpr int ROVA_THREAD_PRIORITY = 2;

// `name` and `priority` are accepted and not used: a thread names itself.  A `stack_size` of 0
// means ROVA_THREAD_STACK_SIZE bytes.  `*thread` is written on success only.
int rova_thread_create(pthread_t *thread, const char *name, int priority, int joinable,
                       std::size_t stack_size, void *(*start)(void *), void *arg);
int rova_thread_join(pthread_t thread, void **result);
int rova_thread_cancel(pthread_t thread);
int rova_thread_kill(pthread_t thread, int signal);
[[noreturn]] void rova_thread_exit(void *result);

// The same for the threads that serve a queue: joinable, with ROVA_THREAD_STACK_SIZE bytes; a step
// that fails is told with the error's number.  A handle of 0 fails to be joined.
int rova_serving_thread_create(pthread_t *thread, void *(*start)(void *), void *arg);
int rova_serving_thread_join(pthread_t thread);

// A thread that may be cancelled at any instant must hold neither lock nor heap block while it can
// be.  It calls rova_thread_make_cancellable once: from then on it can be cancelled inside a window
// only, and there at once (asynchronous type).  A window encloses one blocking call; on a thread
// that has not been made cancellable it does nothing.
void rova_thread_make_cancellable();
bool rova_thread_is_cancellable();
void rova_thread_open_cancel_window();
void rova_thread_close_cancel_window();
