// A camera with a battery whose driver describes its levels.  The process keeps the description
// that it has read first, so all tests of it have this one.
#pragma once

#include "tests/command/command_test.h"

#include <platform/vconf.h>

class BatteryTest : public test::CommandTest
{
protected:
    static constexpr char SPEC[] = "/sys/devices/platform/m7-adc-battery/adc_spec";
    static constexpr char VOLTAGE[] = "/virtual/property/4.0";
    static constexpr char KEYCODE[] = "/sys/devices/platform/m7-keys/keycode";

    // Level 1 stands twice, level 4 is missing.
    BatteryTest()
    {
        camera.write(SPEC, "1 6500 empty\n2 6900 low\n3 7200 half\n1 6600 EMPTY\n5 8400 full\n"
                           "6 9000 wholeday\n");
        camera.write(VOLTAGE, "7500\n");
        camera.write(KEYCODE, "0\n");
        set_level(3);
    }

    static void set_level(int level) { vconf_set_int("memory/sysman/battery_status_low", level); }
};
