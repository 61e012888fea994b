// The final assembly station: passed by an operator with a good camera, and not with any other.
#include "tests/e2e/operator.h"
#include "tests/e2e/verdicts.h"

#include "common/rova_util.h"

#include <gtest/gtest.h>

using e2e::ended_at;
using e2e::Line;
using e2e::Lines;
using e2e::verdicts;

namespace
{

constexpr char SCRIPT[] = EXAMPLES "/assembly.adj";
constexpr char FALLS[] = "/opt/share/rova/free_fall.txt";

class Station
{
public:
    Station()
    {
        line.write(FALLS, "2026-11-19 1.2 m\n");
        line.speed(200);
    }

    // "lose FILE" takes a file from the camera, "stop" is the stop key, all else is vcam's.
    void act(const std::string &action) const
    {
        const std::vector<std::string> words = e2e::words_of(action);
        if (words[0] == "lose")
            line.remove(words[1]);
        else if (words[0] == "stop")
            line.key(ROVA_KEY_STOP_CMD, 1);
        else
            EXPECT_EQ(line.vcam(words).status, 0) << action;
    }

    void act(const std::vector<const char *> &actions) const
    {
        for (const char *action : actions)
            act(std::string(action));
    }

    Line line;
    const e2e::Operator person{line, "grid", "21"};
};

// ------------------------------------------------------------------------- faults

// What the operator finds or does: before the script begins, or when the station asks for
// something.
struct fault_row {
    const char *name;
    const char *request; // "": before
    std::vector<const char *> actions;
    bool obeys; // does then what is asked for, as well
    const char *ng;
};

constexpr char LAMPS[] = "press ok if all lamps blink";
constexpr char BATTERY[] = "press pb if the battery is good";
constexpr char NO_PROPERTY[] = "fault device_get_property -1";

// The first device_set_property is that of the daemon's start.
const fault_row FAULTS[] = {
    // clang-format off
    // Clock, battery, channels, temperatures.
    {"ClockRefuses", "", {"fault device_set_property -1 --at 2"}, true,
     "rtc set manual 2026 11 20 9 30 0"},
    {"ClockIsOff", "", {"fault device_set_property 0 --at 2"}, true,
     "rtc check manual 2026 11 20 9 30 0 5"},
    {"BatteryLevelCannotBeLocked", "", {"fault device_set_property -1 --at 3"}, true,
     "battery_level lock_level on"},
    {"BatteryIsLow", "", {"battery 6900"}, true, "battery_level check internal 7000 8400 100 1"},
    {"BatteryTellsNoVoltage", BATTERY, {NO_PROPERTY}, false, "battery_level show internal"},
    {"CardTakesNoTable", "", {"fault sys_open -1 --errno EROFS --on adc.csv"}, true,
     "adc log_file"},
    {"KeyHangs", "", {"attr set /sys/devices/platform/movra7-adc/adc2 43"}, true,
     "adc check 2 170 190"},
    {"ChannelIsMissing", "", {"lose /sys/devices/platform/movra7-adc/adc3"}, true,
     "adc check 3 170 190"},
    {"NoTemperature", "", {"lose /sys/devices/platform/m7_tsu/isp"}, true, "thermistor show"},
    {"LimitIsNotSaved", "", {"fault pref_save -1"}, true, "thermistor limit_on isp_cpu"},
    {"ThresholdIsNotSaved", "", {"fault pref_save -1 --at 2"}, true,
     "thermistor thresh set isp warning 85"},

    // Card, falls, dust reduction.
    {"CardIsLocked", "", {"card lock"}, true, "sdcard check unlock"},
    {"NoFallIsKnown", "", {"lose /opt/share/rova/free_fall.txt"}, true, "free_fall get_log"},
    {"NoCardIsFelt", "", {"property set 11 0 0"}, true, "free_fall get_log"},
    {"FallsStay", "", {"fault sys_unlink -1 --errno EACCES --on free_fall.txt"}, true,
     "free_fall delete_log"},
    {"DustReductionDoesNotStart", "", {"fault device_set_property -1 --at 4"}, true, "dr run"},
    {"DustReductionIsNotAtRest", "", {"attr play /virtual/property/16.2 1 0"}, true, "dr run"},

    // Lamps, status display, sounds, keys.
    {"AfLampStaysDark", "", {"fault device_set_property -1 --at 5"}, true, "led af blink"},
    {"CardLampStaysDark", "", {"fault device_set_property -1 --at 6"}, true, "led card blink"},
    {"ChargeLampStaysOn", LAMPS, {"fault set_charge_led -1"}, true, "led charge off"},
    {"StatusDisplayStaysDark", "", {"fault set_statusLCD_production -1"}, true, "stlcd on all"},
    {"StatusDisplayStaysOn", LAMPS, {"fault set_statusLCD_production -1"}, true, "stlcd off"},
    {"StatusLightStaysOn", LAMPS, {"fault sys_open -1 --errno EIO --on tnlcd_status"}, true,
     "stlcd backlight"},
    {"SoundIsMissing", "", {"fault mm_sound_qz_play_sound_sync -1"}, true, "sound play ok"},
    {"ToneIsMissing", "", {"fault mm_sound_qz_play_sound -1"}, true, "sound play 1KHZ_sound on"},
    {"KeysAreNotRead", LAMPS, {"lose /sys/devices/platform/m7-keys/keycode"}, false,
     "key wait_push ok"},

    // Plugs.
    {"ReleaseIsNotFelt", "plug usb release", {NO_PROPERTY}, true, "ext_release wait in"},
    {"UsbIsNotFelt", "plug usb release", {"plug release", "fault device_get_property -1 --at 2"},
     false, "usb wait in"},
    {"UsbHasNoLink", "plug usb release", {"property set 2 4 1", "plug release"}, false,
     "usb check_mode 2"},
    {"UsbDoesNotCharge", "plug usb release", {"fault set_charging -1"}, true, "usb charge on"},
    {"UsbChargingIsNotGivenBack", "plug usb release", {"fault release_from_factorymode -1"}, true,
     "usb charge off"},
    {"EarjackIsNotFelt", "plug hdmi earjack", {NO_PROPERTY}, true, "earjack wait in"},
    {"HdmiIsNeverPlugged", "plug hdmi earjack", {"plug earjack"}, false, "hdmi wait in"},
    {"HdmiIsNeverPulledOut", "unplug hdmi earjack", {"unplug earjack"}, false, "hdmi wait out"},
    {"PictureDoesNotMove", "plug hdmi earjack", {"fault utilx_set_hdmi_state 0"}, true,
     "hdmi set in"},
    {"PictureDoesNotComeBack", "plug hdmi earjack", {"fault utilx_set_hdmi_state -1 --at 2"}, true,
     "hdmi set out"},
    {"MicrophoneIsNotFelt", "plug mic", {NO_PROPERTY}, true, "ext_mic wait in"},
    {"MicrophoneIsStillFelt", "unplug mic", {NO_PROPERTY}, true, "ext_mic wait out"},
    {"RemoteIsNotFelt", "plug remote", {NO_PROPERTY}, true, "mr wait in"},
    {"RemoteHasABadContact", "plug remote", {"attr play /virtual/property/2.19 1 0"}, false,
     "mr check in"},
    {"ProximityIsNotFelt", "plug proximity", {NO_PROPERTY}, true, "proximity wait in"},
    {"ProximityCannotBeSet", "unplug proximity",
     {"fault vconf_set_int -1 --on memory/sysman/proxy"}, true, "proximity set out"},

    // Grip and touch panel.
    {"GripIsNotRead", "plug grip-battery grip",
     {"lose /sys/devices/platform/movra7-adc/adc9"}, false, "vgrip wait in bat"},
    {"GripIsLocked", "press s1", {"attr set /sys/devices/platform/m7-keys/vgrip_connect 2"}, false,
     "vgrip key s1"},
    {"DialTurnsTheOtherWay", "turn jog1 right 2", {"turn jog1 left"}, false, "vgrip jog1 right 2"},
    {"GripBatteryIsNotTold", "unplug grip-battery grip", {"fault vconf_get_bool -1"}, true,
     "vgrip bat wait out"},
    {"TouchPanelIsNotReady", "", {"fault factory_osd_touch_ready -1"}, true,
     "touch ready linedraw_on"},
    {"TouchIsAGhosts", "touch 400 240", {"touch ghost"}, false, "touch check"},
    // clang-format on
};

void PrintTo(const fault_row &row, std::ostream *out)
{
    *out << row.name;
}

class AssemblyFault : public testing::TestWithParam<fault_row>
{
};

// ------------------------------------------------------------------------- the stop key

// A wait without a limit, in which the operator gives up.
struct stop_row {
    const char *name;
    const char *request;
    const char *last;
};

constexpr stop_row STOPS[] = {
    {"Key", LAMPS, "key wait_push ok"},
    {"Battery", BATTERY, "battery_level show internal"},
    {"Release", "plug usb release", "ext_release wait in"},
    {"Earjack", "plug hdmi earjack", "earjack wait in"},
    {"Microphone", "plug mic", "ext_mic wait in"},
    {"Remote", "unplug remote", "mr wait out"},
    {"Proximity", "plug proximity", "proximity wait in"},
    {"Grip", "plug grip-battery grip", "vgrip wait in bat"},
    {"GripKey", "press s1", "vgrip key s1"},
    {"Touch", "touch 400 240", "touch check"},
};

void PrintTo(const stop_row &row, std::ostream *out)
{
    *out << row.name;
}

class AssemblyStop : public testing::TestWithParam<stop_row>
{
};

const auto row_name = [](const auto &info) { return std::string(info.param.name); };

} // namespace

TEST(Assembly, IsPassedByAnOperatorWithAGoodCamera)
{
    const Station station;
    const auto run =
        station.person.work(SCRIPT, [&](const std::string &what) { station.person.obey(what); });
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(verdicts(run.out), ended_at(SCRIPT, "osd grid_text 21 done", "OK")) << run.out;

    const Line &line = station.line;
    EXPECT_EQ(line.read("/sdcard/free_fall.txt"), "2026-11-19 1.2 m\n");
    EXPECT_FALSE(line.exists(FALLS));
    EXPECT_EQ(line.vcam({"adj", "get", "TEMP_SENSOR_SELECT"}).out, "4\n");
    EXPECT_EQ(line.vcam({"adj", "get", "TEMP_SENSOR_ISP_TH_WARNING"}).out, "85\n");
    for (const char *table : {"adc.csv", "adc_channel.csv", "battery_level.csv", "rtc_manual.csv"})
        EXPECT_TRUE(line.exists(std::string("/sdcard/") + table)) << table;
}

TEST_P(AssemblyFault, IsNgAtItsLineAndAllBehindItAreSkipped)
{
    const fault_row &fault = GetParam();
    const Station station;
    if (*fault.request == '\0')
        station.act(fault.actions);
    bool found = *fault.request == '\0';
    const auto run = station.person.work(SCRIPT, [&](const std::string &what) {
        const bool is_now = what == fault.request && *fault.request != '\0';
        found |= is_now;
        if (is_now)
            station.act(fault.actions);
        if (!is_now || fault.obeys)
            station.person.obey(what);
    });
    EXPECT_TRUE(found) << fault.request << " was not asked for";
    EXPECT_EQ(run.status, 1) << run.out << run.err;
    EXPECT_EQ(verdicts(run.out), ended_at(SCRIPT, fault.ng, "NG")) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Each, AssemblyFault, testing::ValuesIn(FAULTS), row_name);

TEST_P(AssemblyStop, EndsTheWaitWithOkAndAllBehindItAreSkipped)
{
    const stop_row &stop = GetParam();
    const Station station;
    Lines expected = ended_at(SCRIPT, stop.last, "OK");
    const std::size_t begun = e2e::count_ok(expected);
    const auto run = station.person.work(SCRIPT, [&](const std::string &what) {
        if (what != stop.request)
            return station.person.obey(what);
        // Ahead of the wait, the stop key would have it skipped.
        EXPECT_TRUE(station.line.hears("th cmd recieved", static_cast<int>(begun)));
        station.act("stop");
    });
    EXPECT_NE(run.status, 0) << run.out << run.err;
    const Lines told = verdicts(run.out);
    ASSERT_LE(told.size(), expected.size());
    EXPECT_GE(told.size(), begun);
    expected.resize(told.size()); // the daemon is gone before it has read them all
    EXPECT_EQ(told, expected) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Each, AssemblyStop, testing::ValuesIn(STOPS), row_name);
