#include "tools/vcam_app/key_window.h"

#include "lib/rova_dial_tbl.h"
#include "platform/virtual/calls.h"
#include "platform/virtual/keys.h"
#include "platform/virtual/root.h"
#include "platform/virtual/values.h"

#include <algorithm>
#include <bitset>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xcb.h>

// A member is named like a keyword.
#define explicit explicit_parts
#include <xcb/xkb.h>
#undef explicit

namespace vcam_app
{
namespace
{

// Not Xlib: that ends the process when the display is gone.
struct release {
    void operator()(void *memory) const { std::free(memory); }
};
using event = std::unique_ptr<xcb_generic_event_t, release>;

constexpr unsigned int FIRST_KEY = 8; // the display counts its keys from here
constexpr uint16_t WIDTH = 320;
constexpr uint16_t HEIGHT = 240;
constexpr int MAP_MS = 1000; // a window manager may take its time, or never show the window

uint8_t type_of(const event &e)
{
    return e->response_type & 0x7fU; // without the mark of a sent one
}

// ------------------------------------------------------------------------- keys

// Only the mode is waited for by others.
struct dial_row {
    const rova_dial &dial;
    const char *done; // the key that tells the end of the change
};

constexpr dial_row DIALS[] = {
    {rova_mode_dial, ROVA_KEY_MODE_CHANGED},
    {rova_drive_dial, nullptr},
};

void follow_dial(unsigned int code)
{
    for (const dial_row &row : DIALS) {
        const auto position = std::ranges::find(row.dial.rows, code, &rova_dial_row::code);
        if (position == row.dial.rows.end())
            continue;
        const bool moved = virt::write_number(virt::path(row.dial.path), position->value);
        if (!moved || (row.done != nullptr && !virt::set_int(row.done, 1)))
            std::fprintf(stderr, "vcam-app: the dial cannot be moved to %s\n", position->name);
    }
}

// A key that is held comes again and again; it is pressed once.
using held_keys = std::bitset<256>;

void take_key(const xcb_key_press_event_t &key, bool pressed, held_keys &held)
{
    if (held[key.detail] == pressed)
        return;
    held[key.detail] = pressed;
    const unsigned int code = key.detail - FIRST_KEY;
    virt::record("app_key", {code, pressed ? 1 : 0});
    std::printf("key %u %s\n", code, pressed ? "pressed" : "released");
    if (pressed)
        follow_dial(code);
}

void take_events(xcb_connection_t *display, held_keys &held)
{
    while (const event e{xcb_poll_for_event(display)}) {
        if (type_of(e) == XCB_KEY_PRESS || type_of(e) == XCB_KEY_RELEASE)
            take_key(reinterpret_cast<const xcb_key_press_event_t &>(*e),
                     type_of(e) == XCB_KEY_PRESS, held);
    }
}

// Otherwise a held key would also be released again and again.
void ask_for_true_releases(xcb_connection_t *display)
{
    constexpr uint32_t FLAG = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    const std::unique_ptr<xcb_xkb_use_extension_reply_t, release> version(
        xcb_xkb_use_extension_reply(
            display, xcb_xkb_use_extension(display, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION),
            nullptr));
    if (version && version->supported != 0)
        xcb_xkb_per_client_flags(display, XCB_XKB_ID_USE_CORE_KBD, FLAG, FLAG, 0, 0, 0);
}

// ------------------------------------------------------------------------- window

const xcb_screen_t *screen_of(xcb_connection_t *display, int number)
{
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(display));
    for (; number > 0 && screens.rem > 1; number--)
        xcb_screen_next(&screens);
    return screens.data;
}

xcb_window_t make_window(xcb_connection_t *display, const xcb_screen_t &screen)
{
    const xcb_window_t window = xcb_generate_id(display);
    const uint32_t values[] = {screen.black_pixel, XCB_EVENT_MASK_KEY_PRESS |
                                                       XCB_EVENT_MASK_KEY_RELEASE |
                                                       XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(display, XCB_COPY_FROM_PARENT, window, screen.root, 0, 0, WIDTH, HEIGHT, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    const std::string title = "camera-app " + virt::root();
    xcb_change_property(display, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                        8, static_cast<uint32_t>(title.size()), title.c_str());
    xcb_map_window(display, window);
    xcb_flush(display);
    return window;
}

// Before that it cannot have the focus.
bool wait_until_mapped(xcb_connection_t *display)
{
    using namespace std::chrono;
    const auto end = steady_clock::now() + milliseconds(MAP_MS);
    while (xcb_connection_has_error(display) == 0 && steady_clock::now() < end) {
        const event e(xcb_poll_for_event(display));
        if (e && type_of(e) == XCB_MAP_NOTIFY)
            return true;
        pollfd ready = {xcb_get_file_descriptor(display), POLLIN, 0};
        if (!e)
            poll(&ready, 1, MAP_MS / 10);
    }
    return false;
}

// Without a window manager nobody else gives it the focus.
void take_focus(xcb_connection_t *display, xcb_window_t window)
{
    const xcb_void_cookie_t asked = xcb_set_input_focus_checked(
        display, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    const std::unique_ptr<xcb_generic_error_t, release> error(xcb_request_check(display, asked));
    if (error)
        std::fprintf(stderr, "vcam-app: the window cannot have the focus\n");
}

xcb_connection_t *open_display(const char *name)
{
    int screen = 0;
    xcb_connection_t *display = xcb_connect(nullptr, &screen);
    if (xcb_connection_has_error(display) != 0) {
        std::fprintf(stderr, "vcam-app: display \"%s\" cannot be opened: no keys come from it\n",
                     name);
        xcb_disconnect(display);
        return nullptr;
    }
    const xcb_window_t window = make_window(display, *screen_of(display, screen));
    ask_for_true_releases(display);
    if (wait_until_mapped(display))
        take_focus(display, window);
    return display;
}

} // namespace

key_window::key_window()
{
    const char *name = std::getenv("DISPLAY");
    if (name == nullptr || *name == '\0')
        return;
    display_ = open_display(name);
    if (display_ == nullptr)
        return;
    end_ = eventfd(0, EFD_CLOEXEC);
    thread_ = std::thread([this] { watch(); });
}

key_window::~key_window()
{
    if (display_ == nullptr)
        return;
    eventfd_write(end_, 1);
    thread_.join();
    close(end_);
    xcb_disconnect(display_);
}

void key_window::watch()
{
    pollfd ready[] = {{xcb_get_file_descriptor(display_), POLLIN, 0}, {end_, POLLIN, 0}};
    held_keys held;
    do {
        take_events(display_, held);
        if (xcb_connection_has_error(display_) != 0) {
            std::fprintf(stderr, "vcam-app: the display is gone: no more keys come from it\n");
            return;
        }
        poll(ready, 2, -1);
    } while (ready[1].revents == 0);
}

} // namespace vcam_app
