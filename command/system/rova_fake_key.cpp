#include "command/system/rova_fake_key.h"

#include "common/rova_log.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

// The display counts its keys from here.
static constexpr uint32_t FIRST_KEY = 8;

rova_key_display::rova_key_display() : display_(XOpenDisplay(nullptr))
{
    if (display_ == nullptr)
        ROVA_LOG_ERR("failed to open display \"%s\" \n", XDisplayName(nullptr));
}

rova_key_display::~rova_key_display()
{
    if (display_ != nullptr)
        XCloseDisplay(display_);
}

bool rova_key_display::send(uint32_t code, bool pressed) const
{
    if (display_ == nullptr)
        return false;
    if (XTestFakeKeyEvent(display_, code + FIRST_KEY, pressed ? True : False, 0) != 0)
        return true;
    ROVA_LOG_ERR("failed to send key %u, display \"%s\" has no XTEST extension \n", code,
                 DisplayString(display_));
    return false;
}

bool rova_fake_key_click(uint32_t code)
{
    const rova_key_display display;
    return display.send(code, true) && display.send(code, false);
}
