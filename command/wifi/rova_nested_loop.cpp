#include "command/wifi/rova_nested_loop.h"

#include "common/rova_log.h"
#include "common/rova_util.h"

#include <algorithm>
#include <platform/sys.h>
#include <time.h>
#include <utility>

namespace
{

constexpr guint STOP_LOOK_MS = 100;
constexpr unsigned int LAST_EVENT_MS = 20000;

// GLib counts by a clock of its own, the camera's time may run faster.
guint glib_milliseconds(unsigned int milliseconds)
{
    timespec deadline = {};
    timespec now = {};
    sys_deadline(milliseconds, &deadline);
    clock_gettime(CLOCK_REALTIME, &now);
    const long long wait =
        (deadline.tv_sec - now.tv_sec) * 1000LL + (deadline.tv_nsec - now.tv_nsec) / 1000000;
    return static_cast<guint>(std::max(wait, 0LL));
}

} // namespace

rova_nested_loop::rova_nested_loop()
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE))
{
    g_main_context_push_thread_default(context_);
}

rova_nested_loop::~rova_nested_loop()
{
    g_main_context_pop_thread_default(context_);
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
}

bool rova_nested_loop::run()
{
    stopped_ = false;
    const guint looks = add(STOP_LOOK_MS, look_for_stop, this);
    g_main_loop_run(loop_);
    cancel(looks);
    cancel(std::exchange(last_wait_, 0));
    return !stopped_;
}

void rova_nested_loop::quit()
{
    g_main_loop_quit(loop_);
}

guint rova_nested_loop::after(unsigned int milliseconds, GSourceFunc function, void *data)
{
    return add(glib_milliseconds(milliseconds), function, data);
}

void rova_nested_loop::cancel(guint call)
{
    if (call == 0)
        return;
    if (GSource *source = g_main_context_find_source_by_id(context_, call))
        g_source_destroy(source);
}

// g_timeout_add would give it to the main thread.
guint rova_nested_loop::add(guint interval, GSourceFunc function, void *data)
{
    GSource *source = g_timeout_source_new(interval);
    g_source_set_callback(source, function, data, nullptr);
    const guint number = g_source_attach(source, context_);
    g_source_unref(source);
    return number;
}

// The service may never tell its event.
gboolean rova_nested_loop::look_for_stop(gpointer self)
{
    auto *nested = static_cast<rova_nested_loop *>(self);
    if (rova_check_stop() != 0)
        return give_up(self);
    if (rova_is_stopping() && nested->last_wait_ == 0)
        nested->last_wait_ = nested->after(LAST_EVENT_MS, give_up, self);
    return G_SOURCE_CONTINUE;
}

gboolean rova_nested_loop::give_up(gpointer self)
{
    auto *nested = static_cast<rova_nested_loop *>(self);
    ROVA_LOG_ERR("stopped while waiting for an event \n");
    nested->stopped_ = true;
    nested->quit();
    return G_SOURCE_REMOVE;
}
