// Ways to switch the camera off.  On the ordinary path the camera application shuts the camera down
// and the call returns 1, always; in ALT mode the call does it itself and never returns.  Server
// thread.
#pragma once

int rova_poweroff();
int rova_power_off();
int rova_power_reboot(int mode);
int rova_power_reset(int mode);
