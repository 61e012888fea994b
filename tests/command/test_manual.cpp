// What the manual page tells a script's author works as it is told.
#include "common/rova_util.h"
#include "platform/virtual/keys.h"
#include "tests/command/command_test.h"
#include "tests/command/system/sensor_stand_in.h"
#include "tests/support/serving_end.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <platform/vconf.h>
#include <sstream>
#include <thread>

using namespace test;

namespace
{

// The page's lines between ".Sh COMMANDS" and the next heading that begin with `macro`, without it.
std::vector<std::string> command_lines(const std::string &macro)
{
    std::ifstream page(ROVA_SOURCE_DIR "/man/rova-script.5");
    std::vector<std::string> lines;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".Sh "))
            inside = line == ".Sh COMMANDS";
        else if (inside && line.starts_with(macro + " "))
            lines.push_back(line.substr(macro.size() + 1));
    }
    return lines;
}

// "control osd | sound Cm on" stands for "control osd" and "control sound".
std::vector<std::string> subcommands(const std::string &syntax)
{
    std::istringstream words(syntax);
    std::vector<std::string> lines;
    std::string family;
    words >> family;
    for (std::string word; words >> word && !std::isupper(word[0]);)
        if (word != "|")
            lines.push_back(family + " " + word);
    return lines;
}

uint32_t source_of(const std::string &line)
{
    bool from_pc = line.starts_with("create_file ") || line.starts_with("snapshot ");
    if (line.starts_with("rtc2 "))
        return ROVA_CMD_PTP2;
    return from_pc ? ROVA_CMD_PTP : ROVA_CMD_CARD;
}

// With the numbers that a PC sends along for its time, 2026-11-20 9:30.
cmd_data record_with_time(const std::string &line)
{
    cmd_data record = record_of(line);
    record.e[0] = (2026 << 16) | (11 << 8) | 20;
    record.e[1] = (9 << 24) | (30 << 16);
    return record;
}

} // namespace

class Manual : public CommandTest
{
protected:
    // A key that is faked, the power key among them, is not to reach the screen of a PC.
    Manual() { unsetenv("DISPLAY"); }

    // The command runs on a thread of its own, as on the server; this one is the main loop.  A card
    // is formatted as soon as somebody watches for it.
    std::string run_served(const std::string &line)
    {
        std::atomic<bool> ended = false;
        std::string log;
        std::thread server([&] {
            log = run(record_with_time(line), source_of(line));
            ended = true;
        });
        bool formatted = false;
        EXPECT_TRUE(serve_until([&] {
            if (!formatted && !told({"vconf_notify_key_changed"}).empty())
                formatted = vconf_set_int("memory/sysman/mmc_format", 0) == 0;
            return ended.load();
        })) << line;
        server.join();
        return log;
    }

    void add_program(const std::string &path) const
    {
        camera.write(path, "#!/bin/sh\n");
        std::filesystem::permissions(camera.path(path), std::filesystem::perms::owner_all);
    }

    // What the key driver tells somebody who does what the examples ask for, in their order.
    void work_keys() const
    {
        const std::string driver = "/sys/devices/platform/m7-keys/";
        camera.write(driver + "keycode", "0");
        camera.write(driver + "keycode.play",
                     "177\n177\n177\n"   // jog1 right
                     "163\n163\n163\n"   // jog2 right
                     "125\n"             // s1
                     "106\n106\n106\n"); // wheel right
        camera.write(driver + "pushed_keys", "0x800\n");
        camera.write(driver + "keymask", "0");
        camera.write(driver + "dial_drive", "3\n");
        camera.write(driver + "dial_mode", "2\n");
    }

    // Analogue channels, battery and thermometers.
    void give_levels() const
    {
        const std::string drivers = "/sys/devices/platform/";
        camera.write(drivers + "movra7-adc/adc2", "7\n");
        camera.write(drivers + "m7-adc-battery/adc_spec", "2 6800 low\n3 7200 half\n");
        camera.write("/virtual/property/4.0", "7500\n");
        vconf_set_int("memory/sysman/battery_status_low", 3);
        camera.write(drivers + "movra7-thermister/cmos_thermister", "896\n");
        camera.write(drivers + "m7_tsu/isp", "40\n");
        camera.write(drivers + "m7_tsu/cpu", "45\n");
    }

    // The acceleration sensor and its service.
    void tell_position(SensorStandIn &sensors) const
    {
        camera.write("/sys/devices/platform/bma_2XX/accel_raw_data", "3, -7, 1024\n");
        sensors.answer("rollpitch", {{"rollpitch", 1, -2}});
        sensors.answer("rotation", {{"rotation", 4, 0}});
        SensorMessages calibration;
        for (int round = 0; round < 10; round++) {
            calibration.push_back({"accelrawXY", 3, -7});
            calibration.push_back({"accelrawZ", 1024, 0});
        }
        calibration.push_back({"done", 0, 0});
        sensors.answer("calibration", calibration);
    }

    // A radio whose scripts have done their work.
    void give_wlan() const
    {
        add_program("/usr/bin/wlan.sh");
        camera.write("/virtual/radio/wifi/driver", "test\n");
        add_program("/sdcard/scan.sh");
        camera.write("/sdcard/ap.list", "ESSID:line\n");
    }

    // A grip with a battery, on the body.
    void fit_grip() const
    {
        camera.write("/sys/devices/platform/movra7-adc/adc9", "180\n");
        virt::set_bool("memory/sysman/vgrip_battery_detect", true);
    }
};

TEST_F(Manual, EverySubcommandIsKnown)
{
    vconf_set_int(ROVA_KEY_STOP_CMD, 1); // some wait without a parameter
    camera.speed(1000);
    std::size_t count = 0;
    for (const std::string &syntax : command_lines(".It Ic"))
        for (const std::string &line : subcommands(syntax)) {
            EXPECT_NE(run(line), NO_ANSWER) << line;
            count++;
        }
    EXPECT_GT(count, 0U);
}

TEST_F(Manual, EveryExampleEndsWithOk)
{
    const ServingEnd stack(camera, plain_ok);
    const ServingEnd application(camera, plain_ok, APP_CHANNEL);
    camera.write("/dev/fb0", "");
    add_program("/usr/bin/make_snapshot.sh");
    camera.write("/opt/etc/clock", "");
    camera.write("/opt/etc/nfctag.info", "tag");
    camera.write("/sys/devices/platform/dw_mmc_sdio.0/support_card", "1");
    add_program("/sdcard/measure.sh");
    give_wlan();
    camera.write("/sdcard/gpio_pindump.csv", "x");
    camera.write("/var/run/memory/private/pmode_shutter_data", "NO= 1\nB\n1 2\n");
    camera.fault("sys_fdatasync", "0"); // hundreds of rows would each wait for the PC's disk

    SensorStandIn sensors;
    tell_position(sensors);
    camera.write("/opt/share/rova/free_fall.txt", "");
    camera.write("/virtual/property/11.0", "1\n");
    camera.write("/sys/devices/platform/movrax-drd.0/movrax-ss-udc.0/udc/movrax-ss-udc.0/"
                 "current_speed",
                 "super-speed\n");
    work_keys();
    give_levels();
    fit_grip();
    camera.write("/virtual/touch/state.play", "1\n2\n"); // made ready, and touched
    camera.speed(10);

    std::vector<std::string> examples = command_lines(".Dl");
    for (const std::string &line : examples) {
        bool from_pc = rova_cmd_is_ptp(source_of(line));
        EXPECT_TRUE(run_served(line).ends_with(from_pc ? PTP_OK : OK)) << line;
    }
    EXPECT_FALSE(examples.empty());
}
