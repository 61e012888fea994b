#include "core/rova_loop.h"

#include "common/rova_log.h"

#include <Ecore.h>
#include <Efreet.h>
#include <Elementary.h>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <glib.h>
#include <poll.h>
#include <vector>

namespace
{

constexpr int STOP_SIGNALS[] = {SIGINT, SIGTERM, SIGQUIT, SIGHUP};

// The mask of the main loop's wait and of signal windows: where the blocked signals come through.
sigset_t wait_mask;

// Of the main thread, once its handlers are installed.
thread_local bool catches_signals = false;
thread_local bool holds_signals = false;

sigset_t loop_signals()
{
    sigset_t set;
    sigemptyset(&set);
    for (int signal : STOP_SIGNALS)
        sigaddset(&set, signal);
    return set;
}

void block_loop_signals(sigset_t *before)
{
    const sigset_t blocked = loop_signals();
    if (int error = pthread_sigmask(SIG_BLOCK, &blocked, before); error != 0)
        ROVA_LOG_ERR("pthread_sigmask() failed (%d) \n", error);
}

// What one wait of the main loop looks at: GLib's descriptors first, then the toolkit's.
struct wait_set {
    std::vector<GPollFD> glib;
    std::vector<pollfd> all;
    int priority;
    int timeout; // milliseconds; negative: no limit
};

void add_glib(wait_set &set)
{
    GMainContext *context = g_main_context_default();
    g_main_context_prepare(context, &set.priority);
    int room = static_cast<int>(set.glib.size());
    int needed = g_main_context_query(context, set.priority, &set.timeout, set.glib.data(), room);
    while (needed > room) {
        room = needed;
        set.glib.resize(static_cast<std::size_t>(room));
        needed = g_main_context_query(context, set.priority, &set.timeout, set.glib.data(), room);
    }
    set.glib.resize(static_cast<std::size_t>(needed));
    for (const GPollFD &fd : set.glib)
        set.all.push_back({fd.fd, static_cast<short>(fd.events), 0});
}

bool is_in(int fd, const fd_set *set)
{
    return set != nullptr && FD_ISSET(fd, set);
}

void add_toolkit(wait_set &set, int nfds, const fd_set *in, const fd_set *out, const fd_set *urgent)
{
    for (int fd = 0; fd < nfds; fd++) {
        int events = (is_in(fd, in) ? POLLIN : 0) | (is_in(fd, out) ? POLLOUT : 0) |
                     (is_in(fd, urgent) ? POLLPRI : 0);
        if (events != 0)
            set.all.push_back({fd, static_cast<short>(events), 0});
    }
}

// Waits for the nearer of the two time-outs.
int wait_for_any(wait_set &set, const timeval *toolkit_timeout)
{
    timespec limit = {set.timeout / 1000, (set.timeout % 1000) * 1000000L};
    bool limited = set.timeout >= 0;
    if (toolkit_timeout != nullptr) {
        const timespec other = {toolkit_timeout->tv_sec, toolkit_timeout->tv_usec * 1000};
        if (!limited || other.tv_sec < limit.tv_sec ||
            (other.tv_sec == limit.tv_sec && other.tv_nsec < limit.tv_nsec))
            limit = other;
        limited = true;
    }
    return ppoll(set.all.data(), set.all.size(), limited ? &limit : nullptr, &wait_mask);
}

void serve_glib(wait_set &set)
{
    GMainContext *context = g_main_context_default();
    for (std::size_t i = 0; i < set.glib.size(); i++)
        set.glib[i].revents = static_cast<gushort>(set.all[i].revents);
    if (g_main_context_check(context, set.priority, set.glib.data(),
                             static_cast<int>(set.glib.size())))
        g_main_context_dispatch(context);
}

void keep_ready(fd_set *set, int fd, bool ready, int &count)
{
    if (!is_in(fd, set))
        return;
    if (ready)
        count++;
    else
        FD_CLR(fd, set);
}

// select()'s results: the sets hold the ready descriptors, the return value tells how many.
int tell_toolkit(const wait_set &set, fd_set *in, fd_set *out, fd_set *urgent)
{
    int count = 0;
    for (std::size_t i = set.glib.size(); i < set.all.size(); i++) {
        const pollfd &fd = set.all[i];
        keep_ready(in, fd.fd, fd.revents & (POLLIN | POLLHUP | POLLERR), count);
        keep_ready(out, fd.fd, fd.revents & (POLLOUT | POLLERR), count);
        keep_ready(urgent, fd.fd, fd.revents & POLLPRI, count);
    }
    return count;
}

// Stands in for the select() of the toolkit's loop.
int wait_for_both(int nfds, fd_set *in, fd_set *out, fd_set *urgent, timeval *timeout)
{
    GMainContext *context = g_main_context_default();
    if (!g_main_context_acquire(context))
        return select(nfds, in, out, urgent, timeout);

    static wait_set set;
    set.all.clear();
    add_glib(set);
    add_toolkit(set, nfds, in, out, urgent);
    const int status = wait_for_any(set, timeout);
    const int error = errno;
    if (status <= 0)
        for (pollfd &fd : set.all)
            fd.revents = 0;
    const int ready = tell_toolkit(set, in, out, urgent);
    serve_glib(set);
    g_main_context_release(context);
    errno = error;
    return status < 0 ? -1 : ready;
}

} // namespace

void rova_loop_block_signals()
{
    block_loop_signals(&wait_mask);
    for (int signal : STOP_SIGNALS)
        sigdelset(&wait_mask, signal);
}

void rova_loop_catch_signals(void (*handler)(int signal))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigfillset(&action.sa_mask); // one stop at a time
    for (int signal : STOP_SIGNALS)
        if (sigaction(signal, &action, nullptr) != 0)
            ROVA_LOG_ERR("sigaction(%d) failed (%d) \n", signal, errno);
    catches_signals = true;
}

void rova_loop_open_signal_window()
{
    if (catches_signals && !holds_signals)
        pthread_sigmask(SIG_SETMASK, &wait_mask, nullptr);
}

// Also when the signal that came through has begun a stop.
void rova_loop_close_signal_window()
{
    if (catches_signals)
        block_loop_signals(nullptr);
}

void rova_loop_hold_signals()
{
    holds_signals = true;
}

void rova_loop_init(int argc, char **argv)
{
    setenv("EINA_LOG_LEVEL", "0", 0);
    setenv("EINA_LOG_BACKTRACE", "-1", 0);
    setenv("HOME", "/tmp", 0);
    setenv("XDG_RUNTIME_DIR", "/tmp", 0);
    ecore_app_no_system_modules();
    efreet_cache_disable();
    elm_init(argc, argv);
    // The toolkit reaps every child that it hears of, also those that system() waits for.
    std::signal(SIGCHLD, SIG_DFL);
    // The toolkit has opened the signals that it knows.
    block_loop_signals(nullptr);
    // Whether or not the toolkit was built to serve GLib: it would not open the signal mask.
    ecore_main_loop_select_func_set(wait_for_both);
}

void rova_loop_run()
{
    elm_run();
    const timespec at_once = {};
    ppoll(nullptr, 0, &at_once, &wait_mask);
}

void rova_loop_exit()
{
    elm_exit();
}

void rova_loop_shutdown()
{
    elm_shutdown();
}
