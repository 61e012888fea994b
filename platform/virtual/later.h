// Events of a camera's service: after a delay of camera time, on a GLib main context.
#pragma once

#include <functional>
#include <glib.h>
#include <optional>
#include <string>
#include <vector>

namespace virt
{

// Milliseconds of camera time; nullopt: never.
using Delay = std::optional<long long>;

// One reading of a file that holds a delay or the word "never"; 0 when there is no such file.
Delay read_delay(const std::string &place);

// The events that are to come, on the main context that was the thread's default when this was
// made.  All calls from the thread that runs this context; an event may make others, cancel them
// and end its owner.
class Later
{
public:
    Later();
    ~Later(); // drops what has not come
    Later(const Later &) = delete;
    Later &operator=(const Later &) = delete;

    void after(Delay delay, std::function<void()> event);
    void cancel();
    bool empty() const { return sources_.empty(); }

    GMainContext *context() const { return context_; }

private:
    struct Event;
    static gboolean happen(gpointer data);

    GMainContext *context_;
    std::vector<GSource *> sources_;
};

} // namespace virt
