#include "tools/vcam/screen_window.h"

#include "platform/virtual/root.h"
#include "platform/virtual/screen.h"
#include "tools/vcam/picture.h"
#include "tools/vcam/screen_draw.h"
#include "tools/vcam/verb.h"

// EFL's macros do not mind the width of integers.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <Efreet.h>
#include <Elementary.h>
#pragma GCC diagnostic pop

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

namespace vcam
{
namespace
{

constexpr double LOOK_SECONDS = 0.05;

struct live_screen {
    Evas_Object *window;
    screen_drawing drawing;
    nlohmann::json shown;
};

bool has_property(Display *display, const char *name)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0, left = 0;
    unsigned char *data = nullptr;
    const Atom property = XInternAtom(display, name, False);
    const int result = XGetWindowProperty(display, DefaultRootWindow(display), property, 0, 1,
                                          False, XA_WINDOW, &type, &format, &count, &left, &data);
    if (data != nullptr)
        XFree(data);
    return result == Success && type == XA_WINDOW && count > 0;
}

// Whether someone will place and show ordinary windows.
bool has_window_manager()
{
    const char *name = std::getenv("DISPLAY");
    Display *display = name != nullptr && *name != '\0' ? XOpenDisplay(nullptr) : nullptr;
    if (display == nullptr)
        throw failure("no display: DISPLAY is not set or cannot be reached");
    const bool found = has_property(display, "_NET_SUPPORTING_WM_CHECK");
    XCloseDisplay(display);
    return found;
}

Eina_Bool look(void *data)
{
    auto &live = *static_cast<live_screen *>(data);
    const nlohmann::json screen = virt::read_screen();
    if (screen == live.shown)
        return ECORE_CALLBACK_RENEW;
    const screen_size size = size_of_screen(screen);
    evas_object_resize(live.window, size.width, size.height);
    live.drawing.draw(screen);
    live.shown = screen;
    return ECORE_CALLBACK_RENEW;
}

Evas_Object *open_window(bool managed)
{
    Evas_Object *window = elm_win_add(nullptr, "vcam", ELM_WIN_BASIC);
    if (window == nullptr)
        throw failure("no window can be opened");
    elm_win_title_set(window, ("vcam " + virt::root()).c_str());
    elm_win_autodel_set(window, EINA_TRUE);
    if (!managed)
        elm_win_override_set(window, EINA_TRUE);
    return window;
}

} // namespace

void show_screen_window()
{
    const bool managed = has_window_manager();
    quiet_efl();
    efreet_cache_disable();
    char name[] = "vcam";
    char *argv[] = {name, nullptr};
    if (elm_init(1, argv) <= 0)
        throw failure("the toolkit cannot be started");
    elm_policy_set(ELM_POLICY_QUIT, ELM_POLICY_QUIT_LAST_WINDOW_CLOSED);
    Evas_Object *window = open_window(managed);
    live_screen live = {window, screen_drawing(evas_object_evas_get(window)), nullptr};
    look(&live);
    evas_object_show(window);
    Ecore_Timer *timer = ecore_timer_add(LOOK_SECONDS, look, &live);
    elm_run();
    ecore_timer_del(timer);
    elm_shutdown();
}

} // namespace vcam
