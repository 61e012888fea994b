#include "platform/virtual/later.h"

#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

namespace virt
{

namespace
{

guint real_milliseconds(long long camera_milliseconds)
{
    const double real = std::ceil(static_cast<double>(camera_milliseconds) / speed());
    return static_cast<guint>(std::clamp<double>(real, 0, std::numeric_limits<guint>::max()));
}

} // namespace

Delay read_delay(const std::string &place)
{
    const std::optional<std::string> text = read_value(place);
    if (text == "never")
        return std::nullopt;
    return text ? std::strtoll(text->c_str(), nullptr, 0) : 0;
}

// Owned by its source, which keeps it until its function has returned.
struct Later::Event {
    Later *owner;
    GSource *source;
    std::function<void()> function;
};

Later::Later() : context_(g_main_context_ref_thread_default()) {}

Later::~Later()
{
    cancel();
    g_main_context_unref(context_);
}

void Later::after(Delay delay, std::function<void()> event)
{
    if (!delay)
        return;
    GSource *source = g_timeout_source_new(real_milliseconds(*delay));
    g_source_set_callback(source, happen, new Event{this, source, std::move(event)},
                          [](gpointer data) { delete static_cast<Event *>(data); });
    g_source_attach(source, context_);
    sources_.push_back(source);
}

void Later::cancel()
{
    for (GSource *source : std::exchange(sources_, {})) {
        g_source_destroy(source);
        g_source_unref(source);
    }
}

// The owner may be gone once the function has been called.
gboolean Later::happen(gpointer data)
{
    auto *event = static_cast<Event *>(data);
    std::erase(event->owner->sources_, event->source);
    g_source_unref(event->source);
    event->function();
    return G_SOURCE_REMOVE;
}

} // namespace virt
