// Keys pressed, switches turned and dials moved by hand.
#include <gtest/gtest.h>

#include "command/system/rova_key_tbl.h"
#include "tests/tools/tool.h"

#include <csignal>
#include <optional>

using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr char FOREVER[] = "2000000000";

std::string keys(const std::string &file)
{
    return "/sys/devices/platform/m7-keys/" + file;
}

std::string adc(int channel)
{
    return "/sys/devices/platform/movra7-adc/adc" + std::to_string(channel);
}

// A camera with all that vcam create gives it.
class Body : public test::Camera
{
public:
    Body() { EXPECT_TRUE(succeeded(vcam({"create"}))); }

    std::string driver(const std::string &file) const { return line(keys(file)); }
    std::string level(int channel) const { return line(adc(channel)); }
    std::string shutter() const { return line("/virtual/property/13.1"); }
    void code(const std::string &value) const { write(keys("keycode"), value + "\n"); }
    bool shows(const std::string &value) const
    {
        return test::wait_for([&] { return driver("keycode") == value; });
    }

private:
    std::string line(const std::string &file) const
    {
        std::string text = read(file);
        return text.substr(0, text.find('\n'));
    }
};

// A finger on a key, until it is lifted.
class Finger
{
public:
    Finger(const Body &body, const std::string &key, const std::string &code)
    {
        body.code("0");
        process_.emplace(std::vector<std::string>{VCAM_PROGRAM, "press", key, "--hold", FOREVER});
        EXPECT_TRUE(body.shows(code)) << key;
    }
    void lift(int signal = SIGINT)
    {
        process_->signal(signal);
        EXPECT_EQ(process_->wait(), 0);
    }

private:
    std::optional<test::Process> process_;
};

} // namespace

TEST(VcamPress, KeysAreAtRestOnANewCamera)
{
    const Body body;
    const std::pair<const char *, const char *> rows[] = {
        {"keycode", "0"},      {"keymask", "0"},        {"pushed_keys", "0x00000000"},
        {"keydesc", ""},       {"dial_mode", "2"},      {"dial_drive", "0"},
        {"tnlcd_status", "0"}, {"check_push_key", "0"},
    };
    for (const auto &[file, text] : rows) {
        EXPECT_TRUE(body.exists(keys(file))) << file;
        EXPECT_EQ(body.driver(file), text) << file;
    }
    const char *levels[] = {"180", "54", "180", "180", "0", "0", "0", "0", "0", "0"};
    for (int channel = 0; channel < 10; channel++)
        EXPECT_EQ(body.level(channel), levels[channel]) << channel;
    EXPECT_EQ(body.read("/sys/devices/platform/movra7-adc/update_sysfs"), "0\n");
}

TEST(VcamPress, ShowsTheKeyWhileItIsHeldAndItsCodeAfterwards)
{
    const Body body;
    Finger finger(body, "menu", "127");
    EXPECT_EQ(body.driver("pushed_keys"), "0x00000080");
    EXPECT_EQ(body.driver("check_push_key"), "128");
    EXPECT_EQ(body.driver("keydesc"), "3 menu");
    EXPECT_EQ(body.level(3), "6");
    EXPECT_EQ(body.level(2), "180");
    finger.lift();
    EXPECT_EQ(body.driver("pushed_keys"), "0x00000000");
    EXPECT_EQ(body.driver("check_push_key"), "0");
    EXPECT_EQ(body.level(3), "180");
    EXPECT_EQ(body.driver("keycode"), "127");
    EXPECT_FALSE(body.exists("/virtual/property/13.1")) << "is no shutter button";
}

TEST(VcamPress, LetsGoHoweverItIsEnded)
{
    const Body body;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Finger(body, "ok", "96").lift(signal);
        EXPECT_EQ(body.driver("pushed_keys"), "0x00000000") << signal;
        EXPECT_EQ(body.level(2), "180") << signal;
    }
}

TEST(VcamPress, AKeyThatAKilledOneLeftDownComesUpWithTheNextPress)
{
    const Body body;
    body.speed(1000);
    for (const char *key : {"menu", "s1"}) {
        test::Process killed({VCAM_PROGRAM, "press", key, "--hold", FOREVER});
        ASSERT_TRUE(test::wait_for([&] { return body.driver("keydesc").ends_with(key); }));
        killed.signal(SIGKILL);
        killed.wait();
        EXPECT_NE(body.driver("pushed_keys"), "0x00000000") << key;
        EXPECT_TRUE(succeeded(vcam({"press", key})));
        EXPECT_EQ(body.driver("pushed_keys"), "0x00000000") << key;
    }
}

TEST(VcamPress, HoldsOnACameraThatAlmostStands)
{
    const Body body;
    for (const double speed : {1e-9, 1e-300}) {
        body.speed(speed);
        Finger finger(body, "menu", "127");
        EXPECT_FALSE(
            test::wait_for([&] { return body.driver("pushed_keys") == "0x00000000"; }, 0.3))
            << speed;
        finger.lift();
    }
}

TEST(VcamPress, HoldsInTheCamerasTime)
{
    const Body body;
    body.speed(1e9);
    EXPECT_TRUE(succeeded(vcam({"press", "fn", "--hold", FOREVER})));
    EXPECT_EQ(body.driver("keycode"), "172");
}

TEST(VcamPress, EveryKeyOfTheTableHasItsCodeAndBit)
{
    const Body body;
    body.speed(1000);
    int count = 0;
    for (const rova_key_row &key : rova_key_tbl) {
        if (key.code == 0)
            continue;
        EXPECT_TRUE(succeeded(vcam({"press", key.name}))) << key.name;
        EXPECT_EQ(body.driver("keycode"), std::to_string(key.code)) << key.name;
        EXPECT_TRUE(body.driver("keydesc").ends_with(std::string(" ") + key.name)) << key.name;
        count++;
    }
    EXPECT_EQ(count, 24);
}

// The windows that the line accepts.
TEST(VcamPress, LevelsLieInTheMiddleOfWhatTheLineAccepts)
{
    struct row {
        const char *key, *code;
        int channel, low, high;
    };
    constexpr row rows[] = {
        {"up", "72", 2, 0, 15},      {"right", "77", 2, 28, 58}, {"down", "80", 2, 66, 96},
        {"left", "75", 2, 101, 131}, {"ok", "96", 2, 135, 165},  {"menu", "127", 3, 0, 13},
        {"evf", "151", 3, 17, 43},   {"rec", "171", 3, 48, 74},  {"fn", "172", 3, 78, 104},
        {"del", "83", 3, 107, 133},  {"pb", "183", 3, 138, 164},
    };
    const Body body;
    for (const row &r : rows) {
        Finger finger(body, r.key, r.code);
        EXPECT_EQ(body.level(r.channel), std::to_string((r.low + r.high) / 2)) << r.key;
        EXPECT_EQ(body.driver("keydesc"), std::to_string(r.channel) + " " + r.key);
        finger.lift();
    }
}

TEST(VcamPress, AKeyWithALineOfItsOwnIsOnAChannelWithoutContacts)
{
    const Body body;
    Finger finger(body, "wifi", "215");
    EXPECT_EQ(body.driver("keydesc"), "4 wifi");
    EXPECT_EQ(body.level(4), "0");
    finger.lift();
}

TEST(VcamPress, OfTwoKeysOnAChannelTheLowerLevelCounts)
{
    const Body body;
    Finger ok(body, "ok", "96");
    Finger up(body, "up", "72");
    EXPECT_EQ(body.driver("pushed_keys"), "0x00000011");
    EXPECT_EQ(body.level(2), "7");
    up.lift();
    EXPECT_EQ(body.driver("pushed_keys"), "0x00000010");
    EXPECT_EQ(body.level(2), "150");
    ok.lift();
    EXPECT_EQ(body.level(2), "180");
}

TEST(VcamPress, TheShutterButtonTellsHowFarItIsDown)
{
    const Body body;
    Finger half(body, "s1", "125");
    EXPECT_EQ(body.shutter(), "1");
    Finger full(body, "s2", "126");
    EXPECT_EQ(body.shutter(), "2");
    EXPECT_EQ(body.driver("pushed_keys"), "0x00001800");
    full.lift();
    EXPECT_EQ(body.shutter(), "1");
    half.lift();
    EXPECT_EQ(body.shutter(), "0");

    Finger straight(body, "s2", "126");
    EXPECT_EQ(body.shutter(), "2") << "through the first contact";
    EXPECT_EQ(body.driver("pushed_keys"), "0x00001800");
    straight.lift();
    EXPECT_EQ(body.shutter(), "0");
    EXPECT_EQ(body.driver("pushed_keys"), "0x00000000");
}

TEST(VcamPress, TheSecondContactAloneIsMinusOne)
{
    const Body body;
    Finger half(body, "s1", "125");
    Finger full(body, "s2", "126");
    half.lift();
    EXPECT_EQ(body.shutter(), "-1");
    full.lift();
    EXPECT_EQ(body.shutter(), "0");
}

TEST(VcamPress, AMaskedKeyDoesNothingAndItIsSaid)
{
    const Body body;
    body.write(keys("keymask"), "4294901759\n"); // key mask all
    const test::Outcome masked = vcam({"press", "menu", "--hold", FOREVER});
    EXPECT_TRUE(succeeded(masked));
    EXPECT_EQ(masked.out, "menu is masked: nothing happens\n");
    EXPECT_EQ(vcam({"turn", "wheel", "left", "3"}).out, "wheel is masked: nothing happens\n");
    EXPECT_EQ(body.driver("keycode"), "0");
    body.speed(1000);
    EXPECT_EQ(vcam({"press", "power"}).out, "");
    EXPECT_EQ(body.driver("keycode"), "116");
}

TEST(VcamPress, RefusesWhatThereIsNot)
{
    const Body body;
    EXPECT_TRUE(failed(vcam({"press", "MENU"}), "no key 'MENU': s1 s2 preview rec menu "));
    EXPECT_TRUE(failed(vcam({"press", "all"}), "no key 'all': s1 "));
    EXPECT_TRUE(failed(vcam({"press", "nobutton"}), "no key 'nobutton'"));
    EXPECT_TRUE(failed(vcam({"press"}), "NAME is required"));
    for (const char *hold : {"0", "-1", "soon", "", "4294967296"})
        EXPECT_TRUE(failed(vcam({"press", "menu", "--hold", hold}), "is no whole number above 0"))
            << hold;
    EXPECT_TRUE(failed(vcam({"turn", "jog3", "left"}), "no rotary switch 'jog3': jog1 jog2 wheel"));
    EXPECT_TRUE(failed(vcam({"turn", "jog1", "up"}), "no direction 'up': right left"));
    EXPECT_TRUE(failed(vcam({"turn", "jog1"}), "DIRECTION is required"));
    EXPECT_TRUE(failed(vcam({"turn"}), "WHEEL is required"));
    EXPECT_TRUE(failed(vcam({"turn", "jog1", "left", "0"}), "is no whole number above 0"));
    EXPECT_TRUE(failed(vcam({"dial", "zoom", "p"}), "no dial 'zoom': mode drive"));
    EXPECT_TRUE(
        failed(vcam({"dial", "mode", "b"}), "no position 'b': scene smartauto p a s m c1 i"));
    EXPECT_TRUE(failed(vcam({"dial", "drive", "p"}), "no position 'p': single "));
    EXPECT_TRUE(failed(vcam({"dial", "mode"}), "POSITION is required"));
    EXPECT_TRUE(failed(vcam({"dial"}), "DIAL is required"));
    EXPECT_EQ(body.driver("keycode"), "0");
}

TEST(VcamPress, WorksOnACameraWithoutTheFiles)
{
    const test::Camera bare;
    bare.speed(1000);
    EXPECT_TRUE(succeeded(vcam({"press", "menu"})));
    EXPECT_EQ(bare.read(keys("keycode")), "127\n");
    EXPECT_EQ(bare.read(keys("pushed_keys")), "0x00000000\n");
}

TEST(VcamTurn, EachClickWaitsUntilTheOneBeforeIsTaken)
{
    struct row {
        const char *wheel, *direction, *code;
    };
    const Body body;
    for (const row &r : {row{"jog1", "right", "177"},
                         {"jog1", "left", "178"},
                         {"jog2", "right", "163"},
                         {"jog2", "left", "165"},
                         {"wheel", "left", "105"},
                         {"wheel", "right", "106"}}) {
        body.code("0");
        test::Process turn({VCAM_PROGRAM, "turn", r.wheel, r.direction, "3"});
        for (int click = 0; click < 3; click++) {
            EXPECT_TRUE(body.shows(r.code)) << r.wheel << " " << click;
            EXPECT_EQ(body.driver("keydesc"), std::string("4 ") + r.wheel);
            body.code("0");
        }
        EXPECT_EQ(turn.wait(), 0);
        EXPECT_EQ(body.driver("keycode"), "0") << "a fourth click";
    }
}

TEST(VcamTurn, WaitsForAClickOfAnEarlierOne)
{
    const Body body;
    EXPECT_TRUE(succeeded(vcam({"turn", "jog1", "right"})));
    body.write(keys("keydesc"), "\n");
    test::Process second({VCAM_PROGRAM, "turn", "jog1", "right"});
    EXPECT_FALSE(test::wait_for([&] { return !second.running(); }, 0.2));
    EXPECT_EQ(body.driver("keydesc"), "") << "the first is not taken";
    body.code("0");
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(body.driver("keycode"), "177");
}

TEST(VcamTurn, EndsAtAMaskThatComesMeanwhile)
{
    const Body body;
    test::Process turn({VCAM_PROGRAM, "turn", "wheel", "left", "2"});
    ASSERT_TRUE(body.shows("105"));
    body.write(keys("keymask"), "0x80000\n");
    body.code("0");
    EXPECT_EQ(turn.wait(), 0);
    EXPECT_EQ(body.driver("keycode"), "0") << "a masked click";
}

TEST(VcamTurn, EndsWhereNobodyTakesTheClicks)
{
    const Body body;
    EXPECT_TRUE(succeeded(vcam({"turn", "jog2", "left", "2"})));
    EXPECT_EQ(body.driver("keycode"), "165");
}

TEST(VcamDial, ShowsThePositionItsCodeAndItsLevels)
{
    struct row {
        const char *position, *code, *value;
        int channel, low, high;
    };
    constexpr row rows[] = {
        {"scene", "231", "0", 1, 0, 10}, {"smartauto", "232", "1", 0, 142, 162},
        {"p", "233", "2", 1, 44, 64},    {"a", "234", "3", 1, 92, 112},
        {"s", "235", "4", 1, 142, 162},  {"m", "236", "5", 0, 0, 10},
        {"c1", "237", "6", 0, 44, 64},   {"i", "229", "8", 0, 92, 112},
    };
    const Body body;
    for (const row &r : rows) {
        EXPECT_TRUE(succeeded(vcam({"dial", "mode", r.position})));
        EXPECT_EQ(body.driver("dial_mode"), r.value) << r.position;
        EXPECT_EQ(body.driver("keycode"), r.code) << r.position;
        EXPECT_EQ(body.driver("keydesc"), std::to_string(r.channel) + " " + r.position);
        EXPECT_EQ(body.level(r.channel), std::to_string((r.low + r.high) / 2)) << r.position;
        EXPECT_EQ(body.level(1 - r.channel), "180") << r.position;
    }
    EXPECT_EQ(body.driver("pushed_keys"), "0x00000000");
}

TEST(VcamDial, TheDriveDialHasNoContacts)
{
    const Body body;
    EXPECT_TRUE(succeeded(vcam({"dial", "drive", "timer"})));
    EXPECT_EQ(body.driver("dial_drive"), "3");
    EXPECT_EQ(body.driver("keycode"), "220");
    EXPECT_EQ(body.driver("keydesc"), "4 timer");
    EXPECT_EQ(body.level(1), "54");
    EXPECT_EQ(body.driver("dial_mode"), "2");
}
