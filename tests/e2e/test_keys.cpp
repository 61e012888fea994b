// The key station: by hand, by scripted values, and the keys that the daemon fakes.
#include "platform/virtual/values.h"
#include "tests/e2e/operator.h"
#include "tests/support/text.h"
#include "tests/support/xserver.h"

#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>

using e2e::Line;

namespace
{

constexpr char SCRIPT[] = EXAMPLES "/keys.adj";
constexpr char KEYS[] = "/sys/devices/platform/m7-keys/";
constexpr char ADC[] = "/sys/devices/platform/movra7-adc/";
constexpr char CSV_FILE[] = "Index,CIS S/N,ch,level,name,result\r\n"
                            "1,0,2,7,up,OK\r\n2,0,2,43,right,OK\r\n3,0,2,81,down,OK\r\n"
                            "4,0,2,116,left,OK\r\n5,0,2,150,ok,OK\r\n"
                            "6,0,3,6,menu,OK\r\n7,0,3,151,pb,OK\r\n";

std::string lines(std::initializer_list<const char *> values)
{
    std::string text;
    for (const char *value : values)
        text += std::string(value) + "\n";
    return text;
}

} // namespace

TEST(KeyStation, IsPassedByAnOperatorAtTheCamera)
{
    Line line;
    const e2e::Operator person(line, "text", "2");
    const auto run = person.work(SCRIPT, [&](const std::string &what) { person.obey(what); });
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(line.read("/sdcard/key_extract.csv"), CSV_FILE);
    EXPECT_EQ(line.read(std::string(KEYS) + "pushed_keys"), "0x00000000\n") << "all let go";
}

TEST(KeyStation, IsPassedByScriptedValues)
{
    Line line;
    const std::string keys = KEYS, adc = ADC;
    line.write(keys + "keycode.play",
               lines({"0",   "125", "0",   "0",   "126", "72",  "77",  "80",  "75",
                      "96",  "127", "183", "177", "177", "177", "178", "178", "178",
                      "163", "0",   "163", "163", "105", "105", "105"}));
    line.write(keys + "pushed_keys", "0x1800\n");
    line.write("/virtual/property/13.1.play", lines({"1", "1", "2"}));
    line.write(keys + "keydesc.play",
               lines({"2 up", "2 right", "2 down", "2 left", "2 ok", "3 menu", "3 pb"}));
    line.write(adc + "adc2.play", lines({"7", "43", "81", "116", "150"}));
    line.write(adc + "adc3.play", lines({"6", "151"}));
    line.write(keys + "dial_mode.play", lines({"2", "3", "5", "5", "8"}));
    line.write(keys + "dial_drive.play", lines({"0", "3"}));
    const auto run = line.vcam({"run", SCRIPT});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(line.read("/sdcard/key_extract.csv"), CSV_FILE);
    for (const char *file : {"keycode.play", "dial_mode.play", "dial_drive.play", "keydesc.play"})
        EXPECT_FALSE(line.exists(keys + file)) << file << " is not used up";
}

TEST(KeyStation, FailsWithAKeyHeld)
{
    Line line;
    test::Process hand(
        {VCAM_PROGRAM, "-C", line.root().string(), "press", "menu", "--hold", "100000000"});
    ASSERT_TRUE(
        test::wait_for([&] { return line.read(std::string(KEYS) + "keycode") == "127\n"; }));
    const auto run = line.vcam({"run", SCRIPT});
    EXPECT_EQ(run.status, 1) << run.out << run.err;
    EXPECT_TRUE(line.tells("menu key pushed!!"));
    hand.signal(SIGTERM);
    EXPECT_EQ(hand.wait(), 0);
}

TEST(KeyStation, FailsAtTheFirstClickIntoTheWrongDirection)
{
    Line line;
    line.start();
    ASSERT_EQ(line.vcam({"turn", "jog1", "left"}).status, 0);
    EXPECT_EQ(line.rova({"jog1", "wait", "right", "3"}).status, 0);
    EXPECT_TRUE(line.hears("opposite_keycode == cur_keycode"));
    EXPECT_TRUE(line.hears("1th cmd done [NG]"));
}

TEST(KeyStation, FullPressFailsTheWaitForHalfAPress)
{
    Line line;
    line.start();
    test::Process hand(
        {VCAM_PROGRAM, "-C", line.root().string(), "press", "s2", "--hold", "100000000"});
    ASSERT_TRUE(
        test::wait_for([&] { return line.read(std::string(KEYS) + "keycode") == "126\n"; }));
    EXPECT_EQ(line.rova({"key", "wait_push", "s1"}).status, 0);
    EXPECT_TRUE(line.hears("s2 event generate instead of s1!!"));
    EXPECT_TRUE(line.hears("1th cmd done [NG]"));
}

TEST(KeyStation, SecondContactWithoutTheFirstFailsTheHold)
{
    Line line;
    line.start();
    // The finger on s1 leaves before the one on s2.
    auto first = std::make_unique<test::Process>(std::vector<std::string>{
        VCAM_PROGRAM, "-C", line.root().string(), "press", "s1", "--hold", "100000000"});
    ASSERT_TRUE(
        test::wait_for([&] { return line.read(std::string(KEYS) + "keycode") == "125\n"; }));
    EXPECT_EQ(line.rova({"key", "wait_push", "s2", "100000000"}).status, 0);
    // The wait forgets what came before it.
    ASSERT_TRUE(test::wait_for([&] {
        return virt::read_file(line.path(std::string(KEYS) + "keycode")).starts_with("0");
    }));
    test::Process second(
        {VCAM_PROGRAM, "-C", line.root().string(), "press", "s2", "--hold", "100000000"});
    EXPECT_TRUE(line.hears("key_idx : 1"));
    first->signal(SIGINT);
    EXPECT_EQ(first->wait(), 0);
    EXPECT_TRUE(line.hears("s1 released while s2 still pushed!!"));
    EXPECT_TRUE(line.hears("1th cmd done [NG]"));
}

// ------------------------------------------------------------------------- the application

namespace
{

// The calls, as "CODE down" and "CODE up".
std::vector<std::string> app_keys(const Line &line)
{
    std::vector<std::string> keys;
    for (const auto &call : line.calls("app_key"))
        keys.push_back(call["args"][0].dump() + (call["args"][1] == 1 ? " down" : " up"));
    return keys;
}

bool arrive(const Line &line, const std::vector<std::string> &keys)
{
    return test::wait_for([&] { return app_keys(line) == keys; });
}

using words = std::vector<std::string>;

} // namespace

TEST(FakeKey, ArrivesInTheApplicationsWindow)
{
    Line line;
    const test::XServer server;
    if (!server.running())
        GTEST_SKIP() << "no X server is installed";
    line.start();
    EXPECT_EQ(line.rova({"key", "push", "menu"}).status, 0);
    EXPECT_TRUE(arrive(line, {"127 down"}));
    EXPECT_EQ(line.rova({"key", "release", "menu"}).status, 0);
    EXPECT_EQ(line.rova({"key", "click", "power"}).status, 0);
    EXPECT_TRUE(arrive(line, {"127 down", "127 up", "116 down", "116 up"}));
    EXPECT_TRUE(test::wait_for([&] {
        return line.read("/virtual/app.out")
            .ends_with("key 127 pressed\nkey 127 released\nkey 116 pressed\nkey 116 released\n");
    })) << line.read("/virtual/app.out");
    line.stop();
}

TEST(FakeKey, ThatIsHeldArrivesOnce)
{
    Line line;
    const test::XServer server({"-ardelay", "20", "-arinterval", "10"});
    if (!server.running())
        GTEST_SKIP() << "no X server is installed";
    line.start();
    for (const words &command :
         {words{"key", "push", "menu"}, {"delay", "20000"}, {"key", "release", "menu"}})
        EXPECT_EQ(line.rova(command).status, 0);
    EXPECT_TRUE(line.hears("3th cmd done [OK]"));
    EXPECT_TRUE(arrive(line, {"127 down", "127 up"})) << nlohmann::json(app_keys(line)).dump();
}

TEST(FakeKey, OfADialMovesTheDialAndTellsOfTheModeChange)
{
    Line line;
    const test::XServer server;
    if (!server.running())
        GTEST_SKIP() << "no X server is installed";
    line.start();
    for (const words &command : {words{"mode_dial", "set", "i"},
                                 {"mode_dial", "wait", "i"},
                                 {"mode_dial", "check", "i"},
                                 {"drive_dial", "set", "bracket"},
                                 {"drive_dial", "wait", "bracket"}})
        EXPECT_EQ(line.rova(command).status, 0);
    EXPECT_TRUE(line.hears("5th cmd done [OK]"));
    EXPECT_TRUE(test::wait_for([&] { return line.key_int("memory/rova/mode_changed_done") == 1; }));
    EXPECT_EQ(line.read(std::string(KEYS) + "dial_mode"), "8\n");
    EXPECT_EQ(line.read(std::string(KEYS) + "dial_drive"), "4\n");
}

TEST(FakeKey, ApplicationOutlivesTheDisplay)
{
    Line line;
    auto server = std::make_unique<test::XServer>();
    if (!server->running())
        GTEST_SKIP() << "no X server is installed";
    const std::string name = server->name();
    line.start();
    const pid_t app = line.app();
    server.reset();
    EXPECT_TRUE(test::wait_for([&] {
        return line.read("/virtual/app.out").find("the display is gone") != std::string::npos;
    }));
    EXPECT_EQ(line.rova({"file", "format"}).status, 0);
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_EQ(line.rova({"key", "push", "menu"}).status, 0);
    EXPECT_TRUE(line.hears("failed to open display \"" + name + "\""));
    EXPECT_TRUE(line.hears("2th cmd done [NG]"));
    EXPECT_EQ(line.app(), app);
    line.stop();
}

TEST(FakeKey, WithoutADisplayTheApplicationRunsAndSaysWhyThereAreNone)
{
    Line line;
    line.start();
    EXPECT_EQ(line.read("/virtual/app.out"), "camera application: up\n");
    EXPECT_EQ(line.rova({"key", "push", "menu"}).status, 0);
    EXPECT_TRUE(line.hears("1th cmd done [NG]"));
    line.stop();

    setenv("DISPLAY", ":77777", 1);
    line.remove("/virtual/app.out");
    line.start();
    EXPECT_EQ(line.read("/virtual/app.out"),
              "vcam-app: display \":77777\" cannot be opened: no keys come from it\n"
              "camera application: up\n");
    line.stop();
    unsetenv("DISPLAY");
}
