#include "common/rova_power.h"

#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/device.h"
#include "platform/firmware.h"
#include "platform/pref.h"
#include "platform/sys.h"
#include "platform/vconf.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace
{

// The camera application sees the hardware power key as this key code.
constexpr unsigned int POWER_KEY_CODE = 124;

constexpr int SYSTEM_PARTITION = 0;
constexpr int RESTART_REQUEST_KEY = 0x9d98;

constexpr useconds_t ONE_SECOND = 1000000;

void request_restart()
{
    pref_set_long(SYSTEM_PARTITION, RESTART_REQUEST_KEY, 1);
}

// What the camera does at its next start; revision 0 boards have no property of their own for it.
void select_boot(int mode)
{
    if (mode == 0 && get_board_version() != 0) {
        device_set_property(4, 20, 1);
        return;
    }
    request_restart();
    device_set_property(14, 2, mode != 0 ? mode : 2);
}

// Presses the power key for the camera application and closes the display.  Without a display
// there is nobody to press it for; the camera application still has the property and the key.
int press_power_key(Display *display)
{
    vconf_set_int(ROVA_KEY_POWER_OFF, 1);
    if (display == nullptr) {
        ROVA_LOG_ERR("failed to open display, power key is not sent \n");
        return 1;
    }
    XTestFakeKeyEvent(display, POWER_KEY_CODE, 1, 0);
    XTestFakeKeyEvent(display, POWER_KEY_CODE, 0, 0);
    XCloseDisplay(display);
    return 1;
}

[[noreturn]] void switch_off()
{
    sys_system("sync; poweroff -f");
    for (;;)
        sys_usleep(ONE_SECOND);
}

[[noreturn]] void alt_power_off()
{
    pref_save(SYSTEM_PARTITION);
    switch_off();
}

[[noreturn]] void alt_restart()
{
    request_restart();
    pref_save(SYSTEM_PARTITION);
    device_set_property(14, 2, 5);
    switch_off();
}

void set_power_off_property()
{
    device_set_property(4, 21, 1);
}

} // namespace

int rova_poweroff()
{
    if (rova_get_alt_mode() != 0)
        alt_power_off();
    return press_power_key(XOpenDisplay(nullptr));
}

int rova_power_off()
{
    if (rova_get_alt_mode() != 0)
        alt_power_off();
    Display *display = XOpenDisplay(nullptr);
    set_power_off_property();
    return press_power_key(display);
}

int rova_power_reboot(int mode)
{
    if (rova_get_alt_mode() != 0)
        alt_restart();
    select_boot(mode);
    return press_power_key(XOpenDisplay(nullptr));
}

int rova_power_reset(int mode)
{
    if (rova_get_alt_mode() != 0)
        alt_restart();
    select_boot(mode);
    set_power_off_property();
    return press_power_key(XOpenDisplay(nullptr));
}
