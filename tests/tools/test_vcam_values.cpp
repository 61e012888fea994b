// key, property, attr, fault, card.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/device.h"
#include "platform/sys.h"
#include "platform/vconf.h"
#include "platform/virtual/keys.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <unistd.h>

using tool::failed;
using tool::succeeded;
using tool::vcam;

TEST(VcamKey, SetGuessesTheTypeAndTakesAGivenOne)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"key", "set", "a/number", "-12"})));
    EXPECT_TRUE(succeeded(vcam({"key", "set", "a/word", "twelve"})));
    EXPECT_TRUE(succeeded(vcam({"key", "set", "a/digits", "12", "--string"})));
    EXPECT_TRUE(succeeded(vcam({"key", "set", "--int", "a/hex", "0xffffffff"})));
    EXPECT_TRUE(succeeded(vcam({"key", "set", "--bool", "a/flag", "true"})));
    EXPECT_EQ(camera.key_int("a/number"), -12);
    EXPECT_EQ(camera.key_string("a/word"), "twelve");
    EXPECT_EQ(camera.key_string("a/digits"), "12");
    EXPECT_EQ(camera.key_int("a/hex"), -1);
    int flag = 0;
    EXPECT_EQ(vconf_get_bool("a/flag", &flag), 0);
    EXPECT_EQ(flag, 1);
}

TEST(VcamKey, BadValuesAndArgumentsAreRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"key", "set", "--int", "a", "twelve"}), "'twelve' is no 32-bit"));
    EXPECT_TRUE(failed(vcam({"key", "set", "--int", "a", "4294967296"}), "is no 32-bit"));
    EXPECT_TRUE(failed(vcam({"key", "set", "--bool", "a", "7"}), "neither true nor false"));
    EXPECT_TRUE(failed(vcam({"key", "set", "--bool", "--int", "a", "1"}), "vcam key --help"));
    EXPECT_TRUE(failed(vcam({"key", "set", "a"}), "VALUE is required"));
    EXPECT_TRUE(failed(vcam({"key"}), "subcommand is required"));
    EXPECT_TRUE(failed(vcam({"key", "get", "a"}), "no key 'a'"));
    EXPECT_TRUE(failed(vcam({"key", "fetch", "a"}), "unknown action 'fetch' (vcam key --help"));
    for (const std::string count : {"0", "-1", "many"})
        EXPECT_TRUE(failed(vcam({"key", "watch", "--count", count}), "no whole number above 0"));
}

TEST(VcamKey, AStoreThatCannotBeOpenedIsNotAnEmptyOne)
{
    const test::Camera camera;
    std::filesystem::create_directory(camera.path("/virtual/keys.db"));
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"key", "list"}, {"key", "get", "a"}}) {
        const test::Outcome outcome = vcam(words);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_TRUE(outcome.err.ends_with("vcam: the keys cannot be read\n")) << outcome.err;
    }
}

TEST(VcamKey, GetAndListPrintValues)
{
    const test::Camera camera;
    virt::set_int("m/x", 5);
    virt::set_string("m/y", "five six");
    virt::set_bool("n/z", false);
    EXPECT_EQ(vcam({"key", "get", "m/y"}).out, "five six\n");
    EXPECT_EQ(vcam({"key", "get", "n/z"}).out, "false\n");
    EXPECT_EQ(vcam({"key", "list", "m/"}).out, "int    m/x = 5\nstring m/y = five six\n");
    EXPECT_NE(vcam({"key", "list"}).out.find("bool   n/z = false\n"), std::string::npos);
}

TEST(VcamKey, WatchPrintsEveryWriteAlsoOfTheSameValue)
{
    const test::Camera camera;
    const std::string output = camera.path("/tmp/watch.txt");
    test::Process watch({VCAM_PROGRAM, "key", "watch", "m/", "--count", "3"}, "", output);
    ASSERT_TRUE(test::wait_for([&] { return camera.read("/tmp/watch.txt") == "watching\n"; }));
    virt::set_int("m/x", 5);
    virt::set_int("other", 6);
    virt::set_int("m/x", 5);
    virt::set_string("m/x", "end");
    EXPECT_EQ(watch.wait(), 0);
    EXPECT_EQ(camera.read("/tmp/watch.txt"),
              "watching\nint    m/x = 5\nint    m/x = 5\nstring m/x = end\n");
}

TEST(VcamKey, WatchEndsOnInterrupt)
{
    const test::Camera camera;
    test::Process watch({VCAM_PROGRAM, "key", "watch"}, "", camera.path("/tmp/watch.txt"));
    ASSERT_TRUE(test::wait_for([&] { return camera.read("/tmp/watch.txt") == "watching\n"; }));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait(), 0);
}

TEST(VcamProperty, SetIsWhatTheDeviceServiceAnswers)
{
    const test::Camera camera;
    EXPECT_EQ(vcam({"property", "get", "2", "4"}).out, "0\n") << "never set";
    EXPECT_TRUE(succeeded(vcam({"property", "set", "2", "4", "-7"})));
    int value = 0;
    EXPECT_EQ(device_get_property(2, 4, &value), 0);
    EXPECT_EQ(value, -7);
    EXPECT_EQ(vcam({"property", "get", "2", "4"}).out, "-7\n");
    EXPECT_TRUE(camera.calls("device_set_property").empty()) << "nobody told the platform";
}

TEST(VcamProperty, BadArgumentsAreRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"property", "get", "2"}), "NUMBER is required"));
    EXPECT_TRUE(failed(vcam({"property", "get", "two", "4"}), "TYPE"));
    EXPECT_TRUE(failed(vcam({"property", "set", "2", "4", "x"}), "is no 32-bit number"));
}

TEST(VcamAttr, GetSetAndPlayReachTheCamerasFiles)
{
    const test::Camera camera;
    EXPECT_TRUE(succeeded(vcam({"attr", "set", "/sys/keys/code", "28"})));
    EXPECT_EQ(camera.read("/sys/keys/code"), "28\n");
    EXPECT_TRUE(succeeded(vcam({"attr", "play", "/sys/keys/code", "0", "-1", "two words"})));
    EXPECT_EQ(camera.read("/sys/keys/code.play"), "0\n-1\ntwo words\n");
    EXPECT_EQ(vcam({"attr", "get", "/sys/keys/code"}).out, "28\n");
    EXPECT_EQ(camera.read("/sys/keys/code.play"), "0\n-1\ntwo words\n") << "looking uses up none";
    camera.write("/tmp/raw", "no line feed");
    EXPECT_EQ(vcam({"attr", "get", "/tmp/raw"}).out, "no line feed\n");
}

TEST(VcamAttr, BadPathsAreRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"attr", "get", "/sys/none"}), "has no file '/sys/none'"));
    EXPECT_TRUE(failed(vcam({"attr", "get", "sys/none"}), "no absolute path"));
    EXPECT_TRUE(failed(vcam({"attr", "set", "/sys/../../x", "1"}), "no absolute path"));
    EXPECT_TRUE(failed(vcam({"attr", "play", "/sys/a"}), "VALUE is required"));
    EXPECT_TRUE(failed(vcam({"attr", "set", "/sdcard", "1"}), "'/sdcard' is a folder"));
    EXPECT_TRUE(failed(vcam({"attr", "play", "/", "1"}), "'/' is a folder"));
}

TEST(VcamFault, SetFaultFailsTheNamedCallAsTold)
{
    const test::Camera camera;
    camera.write("/sdcard/a", "");
    EXPECT_TRUE(succeeded(
        vcam({"fault", "sys_open", "-1", "--at", "2", "--errno", "ENOSPC", "--on", "/sdcard/a"})));
    const int first = sys_open("/sdcard/a", O_RDONLY, 0);
    EXPECT_GE(first, 0);
    close(first);
    errno = 0;
    EXPECT_EQ(sys_open("/sdcard/a", O_RDONLY, 0), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(vcam({"fault"}).out, "sys_open -1 at 2 errno ENOSPC on /sdcard/a\n");
}

TEST(VcamFault, ClearEndsOneOrAll)
{
    const test::Camera camera;
    for (const char *call : {"pref_save", "sys_mkdir", "vconf_set_int"})
        ASSERT_TRUE(succeeded(vcam({"fault", call, "-1"})));
    EXPECT_TRUE(succeeded(vcam({"fault", "--clear", "sys_mkdir"})));
    EXPECT_EQ(vcam({"fault"}).out, "pref_save -1\nvconf_set_int -1\n");
    EXPECT_TRUE(succeeded(vcam({"fault", "--clear"})));
    EXPECT_EQ(vcam({"fault"}).out, "");
}

TEST(VcamFault, WhatIsNoFaultIsRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"fault", "pref_save"}), "RESULT is missing"));
    EXPECT_TRUE(failed(vcam({"fault", "pref_save", "x"}), "RESULT"));
    EXPECT_TRUE(failed(vcam({"fault", "pref_save", "1.5"}), "'1.5' is no 32-bit number"));
    EXPECT_TRUE(failed(vcam({"fault", "pref_save", "-1", "--at", "0"}),
                       "--at: '0' is no whole number above 0 ("));
    EXPECT_TRUE(failed(vcam({"fault", "", "-1"}), "'' is no name of a call"));
    EXPECT_TRUE(failed(vcam({"fault", "pref_save", "-1", "--errno", "EWHAT"}), "EWHAT"));
    EXPECT_TRUE(failed(vcam({"fault", "../x", "-1"}), "CALL"));
    EXPECT_TRUE(failed(vcam({"fault", "--clear", "pref_save"}), "no fault is set"));
    EXPECT_TRUE(failed(vcam({"fault", "--clear", "pref_save", "-1"}), "takes no RESULT"));
}

TEST(VcamCard, RemoveAndInsertKeepWhatIsOnIt)
{
    const test::Camera camera;
    camera.write("/sdcard/photo.jpg", "jpeg");
    EXPECT_TRUE(succeeded(vcam({"card", "remove"})));
    EXPECT_FALSE(camera.exists("/sdcard"));
    EXPECT_FALSE(camera.exists("/mnt/mmc/photo.jpg"));
    EXPECT_TRUE(failed(vcam({"card", "remove"}), "no card is inserted"));
    EXPECT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_EQ(camera.read("/mnt/mmc/photo.jpg"), "jpeg");
    EXPECT_TRUE(failed(vcam({"card", "insert"}), "inserted already"));
}

TEST(VcamCard, InsertWithoutACardInTheDrawerGivesANewOne)
{
    const test::Camera camera;
    camera.remove("/sdcard");
    EXPECT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_TRUE(camera.exists("/sdcard"));
}

namespace
{

// Where a process stands that was started in the card's folder.
class OnTheCard
{
public:
    explicit OnTheCard(const test::Camera &camera)
        : process_({"env", "-C", camera.path("/sdcard"), "sleep", "1000"})
    {
        EXPECT_TRUE(test::wait_for([&] { return place() == camera.path("/sdcard"); }));
    }
    std::filesystem::path place() const
    {
        return std::filesystem::read_symlink("/proc/" + std::to_string(process_.pid()) + "/cwd");
    }

private:
    test::Process process_;
};

} // namespace

TEST(VcamCard, WhoStandsOnTheCardStandsInAnEmptyFolderWhileItIsOut)
{
    const test::Camera camera;
    camera.write("/sdcard/memory/private/data", "of the card");
    const OnTheCard daemon(camera);
    ASSERT_TRUE(succeeded(vcam({"card", "remove"})));
    EXPECT_EQ(camera.read("/virtual/card/memory/private/data"), "of the card");
    EXPECT_EQ(daemon.place(), camera.path("/virtual/slot"));
    EXPECT_TRUE(std::filesystem::is_empty(daemon.place()));
    ASSERT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_EQ(daemon.place(), camera.path("/sdcard"));
    EXPECT_EQ(camera.read("/sdcard/memory/private/data"), "of the card");
    EXPECT_FALSE(camera.exists("/virtual/card"));
    EXPECT_FALSE(camera.exists("/virtual/slot"));
}

TEST(VcamCard, WhoStoodOnOneCardStandsOnTheNext)
{
    const test::Camera camera;
    camera.write("/sdcard/old", "");
    const OnTheCard daemon(camera);
    ASSERT_TRUE(succeeded(vcam({"card", "remove"})));
    std::filesystem::rename(camera.path("/virtual/card"), camera.path("/carried-away"));
    ASSERT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_EQ(daemon.place(), camera.path("/sdcard"));
    EXPECT_TRUE(std::filesystem::is_empty(camera.path("/sdcard")));
    EXPECT_TRUE(camera.exists("/carried-away/old"));
}

TEST(VcamCard, AFolderElsewhereMayBeTheCard)
{
    const test::Camera camera;
    camera.write("/tmp/stick/photo.jpg", "jpeg");
    camera.remove("/sdcard");
    std::filesystem::create_symlink(camera.path("/tmp/stick"), camera.path("/sdcard"));
    ASSERT_TRUE(succeeded(vcam({"card", "remove"})));
    EXPECT_FALSE(camera.exists("/sdcard"));
    ASSERT_TRUE(succeeded(vcam({"card", "insert"})));
    EXPECT_EQ(camera.read("/sdcard/photo.jpg"), "jpeg");
    EXPECT_TRUE(camera.exists("/tmp/stick/photo.jpg"));
}

TEST(VcamCard, OtherActionsAreRefused)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"card", "eat"}), "eat"));
    EXPECT_TRUE(failed(vcam({"card"}), "ACTION is required"));
}
