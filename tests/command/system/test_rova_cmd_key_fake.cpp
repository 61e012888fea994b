#include "tests/command/system/key_rows.h"
#include "tests/command/system/key_test.h"
#include "tests/support/xserver.h"

#include <cstdlib>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr char LIGHT_FAILED[] = "failed to read \"/sys/devices/platform/m7-keys/tnlcd_status\"";

using Events = std::vector<std::pair<unsigned int, bool>>;

class FakeKey : public KeyTest
{
protected:
    static void SetUpTestSuite() { server = new XServer; }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(server->running()); }

    static XServer *server;
};

XServer *FakeKey::server = nullptr;

using FakeKeyWithoutDisplay = KeyTest;

// Key, and the events that a row's key is to give.
struct FakeDial {
    const char *line;
    unsigned int code;
};

constexpr FakeDial dial_rows[] = {
    {"mode_dial set scene", 231},
    {"mode_dial set smartauto", 232},
    {"mode_dial set p", 233},
    {"mode_dial set a", 234},
    {"mode_dial set s", 235},
    {"mode_dial set m", 236},
    {"mode_dial set c1", 237},
    {"mode_dial set i", 229},
    {"drive_dial set single", 217},
    {"drive_dial set continuous_n", 218},
    {"drive_dial set continuous_h", 219},
    {"drive_dial set timer", 220},
    {"drive_dial set bracket", 221},
};

} // namespace

TEST_F(FakeKey, PushAndReleaseOfEachKeyReachTheWindow)
{
    FocusWindow window;
    Events expected;
    for (const KeyRow &row : key_rows) {
        std::string name = row.name;
        if (name == "stlcd_light")
            continue;
        EXPECT_EQ(run("key push " + name), OK) << name;
        EXPECT_EQ(run("key release " + name), OK) << name;
        expected.emplace_back(row.code + 8, true);
        expected.emplace_back(row.code + 8, false);
        EXPECT_EQ(window.keys(expected.size()), expected) << name;
    }
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(FakeKey, ClickOfEachKeyIsBoth)
{
    FocusWindow window;
    Events expected;
    for (const KeyRow &row : key_rows) {
        std::string name = row.name;
        if (name == "stlcd_light")
            continue;
        EXPECT_EQ(run("KEY CLICK " + name, ROVA_CMD_PTP), PTP_OK) << name;
        expected.emplace_back(row.code + 8, true);
        expected.emplace_back(row.code + 8, false);
    }
    EXPECT_EQ(window.keys(expected.size()), expected);
}

TEST_F(FakeKey, EachPositionOfADialReachesTheWindowAsAClick)
{
    FocusWindow window;
    Events expected;
    for (const FakeDial &row : dial_rows) {
        EXPECT_EQ(run(row.line), OK) << row.line;
        expected.emplace_back(row.code + 8, true);
        expected.emplace_back(row.code + 8, false);
    }
    EXPECT_EQ(window.keys(expected.size()), expected);
    EXPECT_EQ(camera.key_int("memory/rova/mode_changed_done"), 0);
}

TEST_F(FakeKey, OnlyTheModeDialTellsOfItsChange)
{
    EXPECT_EQ(run("drive_dial set timer"), OK);
    EXPECT_EQ(camera.key_int("memory/rova/mode_changed_done"), std::nullopt);
    EXPECT_EQ(run("mode_dial set p"), OK);
    EXPECT_THAT(told({"vconf_set_int"}),
                ElementsAre(R"(vconf_set_int["memory/rova/mode_changed_done",0])"));
}

TEST_F(FakeKey, ModeDialThatCannotTellOfItsChangeSendsNoKey)
{
    FocusWindow window;
    camera.fault("vconf_set_int", "-1");
    EXPECT_EQ(run("mode_dial set p"), NG);
    EXPECT_THAT(messages(), ElementsAre("warn : failed to set VCONF_PMODE_MODE_DIAL to 0"));
    EXPECT_EQ(run("drive_dial set timer"), OK);
    EXPECT_THAT(window.keys(2), ElementsAre(std::pair(228U, true), std::pair(228U, false)));
}

TEST_F(FakeKey, LightIsSwitchedAndSendsNoKey)
{
    FocusWindow window;
    EXPECT_EQ(run("key push stlcd_light"), OK);
    EXPECT_EQ(get("tnlcd_status"), "1");
    EXPECT_EQ(run("key release stlcd_light"), OK);
    EXPECT_EQ(get("tnlcd_status"), "0");

    EXPECT_EQ(run("key click s1"), OK);
    EXPECT_THAT(window.keys(2), ElementsAre(std::pair(133U, true), std::pair(133U, false)));
}

TEST_F(FakeKey, ClickOfTheLightSwitchesItOnAndOff)
{
    set("tnlcd_status", "7");
    camera.fault("sys_write", "-1 at 2 on tnlcd_status");
    EXPECT_EQ(run("key click stlcd_light"), OK);
    EXPECT_EQ(get("tnlcd_status"), ""); // the second one failed after the file had been emptied
    EXPECT_THAT(new_messages(), ElementsAre(LIGHT_FAILED));

    camera.fault("sys_open", "-1 at 2 on tnlcd_status");
    EXPECT_EQ(run("key click stlcd_light"), OK);
    EXPECT_EQ(get("tnlcd_status"), "1");

    camera.clear_fault("sys_open");
    camera.clear_fault("sys_write");
    EXPECT_EQ(run("key click stlcd_light"), OK);
    EXPECT_EQ(get("tnlcd_status"), "0");
}

TEST_F(FakeKey, LightThatCannotBeSwitchedIsOk)
{
    remove("tnlcd_status");
    for (const char *line : {"key push stlcd_light", "key release stlcd_light"}) {
        EXPECT_EQ(run(line), OK) << line;
        EXPECT_THAT(new_messages(), ElementsAre(LIGHT_FAILED));
    }
    EXPECT_EQ(run("key click stlcd_light"), OK);
    EXPECT_THAT(new_messages(), ElementsAre(LIGHT_FAILED, LIGHT_FAILED));
}

TEST_F(FakeKey, LeavesNoConnectionOpen)
{
    run("mode_dial set p");
    std::size_t before = open_descriptors();
    run("key click s1");
    run("key push stlcd_light");
    run("mode_dial set p");
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(FakeKeyWithoutDisplay, EveryCommandThatNeedsOneIsNgAndSaysSo)
{
    for (const char *display : {"", ":4711.0"}) {
        if (*display == '\0')
            unsetenv("DISPLAY");
        else
            setenv("DISPLAY", display, 1);
        for (const char *line :
             {"key push s1", "key release s1", "key click s1", "key push stlcd_light",
              "mode_dial set p", "drive_dial set timer"}) {
            EXPECT_EQ(run(line), NG) << line;
            EXPECT_THAT(new_messages(),
                        ElementsAre(std::string("failed to open display \"") + display + "\" "));
        }
    }
    unsetenv("DISPLAY");
    EXPECT_EQ(get("tnlcd_status"), "0");
}

TEST_F(FakeKeyWithoutDisplay, NamesAreLookedAtFirst)
{
    unsetenv("DISPLAY");
    for (const char *line : {"key push s3", "key click", "mode_dial set x", "drive_dial set"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_EQ(camera.key_int("memory/rova/mode_changed_done"), std::nullopt);
}

TEST_F(FakeKeyWithoutDisplay, DisplayThatCannotFakeKeysIsNg)
{
    XServer server({"-extension", "XTEST"});
    ASSERT_TRUE(server.running());
    for (const char *line : {"key push s1", "key click s1"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_THAT(new_messages(), ElementsAre("failed to send key 125, display \"" +
                                                server.name() + "\" has no XTEST extension "));
    }
    EXPECT_EQ(run("drive_dial set timer"), NG);
    EXPECT_EQ(run("key push stlcd_light"), OK);
}
