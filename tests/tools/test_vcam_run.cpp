// vcam run and start with the real daemon.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include <cstdlib>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <unistd.h>

using testing::AssertionResult;
using tool::failed;
using tool::succeeded;
using tool::vcam;

namespace
{

class VcamRun : public testing::Test
{
protected:
    VcamRun()
    {
        EXPECT_TRUE(succeeded(vcam({"create"})));
        camera.speed(100);
        unsetenv("DISPLAY");
    }
    ~VcamRun() override { vcam({"stop", "--kill"}); }

    test::Outcome run(const std::string &name, const std::string &script)
    {
        camera.write("/tmp/pc/" + name, script);
        return vcam({"run", camera.path("/tmp/pc/" + name)});
    }

    test::Camera camera;
};

bool has_terminals()
{
    const int fd = posix_openpt(O_RDWR | O_NOCTTY);
    if (fd < 0)
        return false;
    const char *name = ptsname(fd);
    const bool usable = name != nullptr && access(name, R_OK) == 0;
    close(fd);
    return usable;
}

bool matches(const std::string &text, const std::string &pattern)
{
    return std::regex_search(text, std::regex(pattern));
}

} // namespace

TEST_F(VcamRun, TellsEachCommandTheFilesAndTheSum)
{
    camera.write("/sdcard/old.csv", "as it was");
    const test::Outcome outcome =
        run("good.adj", "// heading\ndelay 100\ngpio pindump\nrepeat 2 10 osd string 1 hello\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(matches(outcome.out, "^   1  OK      +[0-9]+\\.[0-9]{2} s  delay 100\n"
                                     "   2  OK      +[0-9.]+ s  gpio pindump\n"
                                     "   3  OK      +[0-9.]+ s  osd string 1 hello\n"
                                     "   4  OK      +[0-9.]+ s  delay 10\n"
                                     "   5  OK "))
        << outcome.out;
    EXPECT_NE(outcome.out.find("file: " + camera.path("/sdcard/gpio_pindump.csv").string() + "\n"),
              std::string::npos);
    EXPECT_EQ(outcome.out.find("old.csv"), std::string::npos);
    EXPECT_NE(outcome.out.find("log: " + camera.path("/opt/share/rova/rova.log").string() + "\n"),
              std::string::npos);
    EXPECT_TRUE(outcome.out.ends_with("6 commands: 6 OK, 0 NG, 0 skipped\n")) << outcome.out;
    EXPECT_EQ(outcome.out.find('\r'), std::string::npos) << "no progress without a terminal";
    EXPECT_EQ(camera.read("/sdcard/info.tg"), "good.adj\n");
    EXPECT_TRUE(camera.exists("/sdcard/good.adj"));
    EXPECT_EQ(vcam({"status"}).status, 1) << "the daemon has gone";
}

TEST_F(VcamRun, AFailureSkipsTheRestWithTheirTexts)
{
    const test::Outcome outcome = run("bad.adj", "osd string 9 x\ndelay 5\nosd string 1 never\n");
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_TRUE(matches(outcome.out, "^   1  NG      +[0-9.]+ s  osd string 9 x\n"
                                     "   2  skipped +delay 5\n"
                                     "   3  skipped +osd string 1 never\n"))
        << outcome.out;
    EXPECT_TRUE(outcome.out.ends_with("3 commands: 0 OK, 1 NG, 2 skipped\n"));
}

TEST_F(VcamRun, ARefusedRepeatEndsTheScriptThere)
{
    const test::Outcome outcome = run("refused.adj", "delay 5\nrepeat 9000 0 delay 1\ndelay 6\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(outcome.out.ends_with("1 commands: 1 OK, 0 NG, 0 skipped\n")) << outcome.out;
}

TEST_F(VcamRun, AScriptThatStandsOnTheCardIsRunInPlace)
{
    camera.write("/sdcard/here.adj", "delay 5\n");
    const test::Outcome outcome = vcam({"run", camera.path("/sdcard/here.adj")});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(camera.read("/sdcard/here.adj"), "delay 5\n");
}

TEST_F(VcamRun, AnAltFailureSwitchesTheCameraOff)
{
    const test::Outcome outcome = run("alt.adj", "osd string 9 x\ndelay 5\n");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("vcam: the camera was switched off"), std::string::npos)
        << outcome.err;
    EXPECT_TRUE(outcome.out.ends_with("1 commands: 0 OK, 1 NG, 0 skipped\n")) << outcome.out;
    EXPECT_EQ(camera.calls("poweroff").size(), 1U);
}

TEST_F(VcamRun, AMaskedAltBootSwitchesTheCameraOffBeforeTheFirstCommand)
{
    camera.write("/sys/devices/platform/m7-keys/key_unmask_on_boot", "0\n");
    const test::Outcome outcome = run("alt.adj", "delay 5\n");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("the camera was switched off"), std::string::npos) << outcome.err;
}

TEST_F(VcamRun, ADaemonKilledInTheMiddleIsToldWithTheCommand)
{
    camera.speed(1);
    camera.write("/tmp/pc/long.adj", "delay 5\ndelay 60000\n");
    test::Process process({VCAM_PROGRAM, "run", camera.path("/tmp/pc/long.adj")}, "",
                          camera.path("/tmp/out"));
    ASSERT_TRUE(test::wait_for([&] { return camera.logged("2th cmd recieved"); }));
    EXPECT_TRUE(succeeded(vcam({"stop", "--kill"})));
    EXPECT_EQ(process.wait(), 2);
    EXPECT_NE(camera.read("/tmp/out").find("rovad ended before the script, during: delay 60000"),
              std::string::npos)
        << camera.read("/tmp/out");
}

TEST_F(VcamRun, InterruptStopsTheDaemonThroughTheStopKey)
{
    camera.speed(1);
    camera.write("/tmp/pc/long.adj", "delay 60000\ndelay 60000\n");
    test::Process process({VCAM_PROGRAM, "run", camera.path("/tmp/pc/long.adj")}, "",
                          camera.path("/tmp/out"));
    ASSERT_TRUE(test::wait_for([&] { return camera.logged("1th cmd recieved"); }));
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(), 2);
    EXPECT_NE(camera.read("/tmp/out").find("vcam: interrupted\n"), std::string::npos);
    EXPECT_NE(camera.read("/tmp/out").find("   2  skipped"), std::string::npos);
    EXPECT_TRUE(camera.logged("rova_handle_stop_cb() started."));
    EXPECT_EQ(vcam({"status"}).status, 1);
}

TEST_F(VcamRun, PngIsTheScreenBehindTheLastCommand)
{
    camera.write("/tmp/pc/show.adj", "osd bg_color blue\nosd string 1 hello\n");
    EXPECT_EQ(
        vcam({"run", "--png", camera.path("/tmp/s.png"), camera.path("/tmp/pc/show.adj")}).status,
        0);
    const std::string shown = camera.read("/tmp/s.png");
    EXPECT_EQ(shown.substr(1, 3), "PNG");
    EXPECT_TRUE(succeeded(vcam({"screen", "--png", camera.path("/tmp/after.png")})));
    EXPECT_NE(shown, camera.read("/tmp/after.png")) << "the daemon's end cleared it";
}

TEST_F(VcamRun, APngThatCannotBeWrittenIsToldWhenTheDaemonHasBeenStopped)
{
    camera.write("/tmp/pc/show.adj", "osd string 1 hello\n");
    const test::Outcome outcome =
        vcam({"run", "--png", camera.path("/none/s.png"), camera.path("/tmp/pc/show.adj")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("/none/s.png' cannot be written"), std::string::npos) << outcome.err;
    EXPECT_TRUE(outcome.out.ends_with("1 commands: 1 OK, 0 NG, 0 skipped\n")) << outcome.out;
    EXPECT_EQ(vcam({"status"}).status, 1) << "the daemon has gone";
}

TEST_F(VcamRun, AReaderOfItsOutputThatEndsLeavesNoDaemonBehind)
{
    camera.write("/tmp/pc/two.adj", "delay 5\ndelay 5\ndelay 5\n");
    const std::string script = camera.path("/tmp/pc/two.adj");
    test::run({"bash", "-c", std::string(VCAM_PROGRAM) + " run " + script + " | true"});
    EXPECT_EQ(vcam({"status"}).status, 1);
}

TEST_F(VcamRun, AScriptCannotCommandTheTerminal)
{
    const test::Outcome outcome = run("bytes.adj", "osd string 1 \x1b[2J\x07\n");
    EXPECT_NE(outcome.out.find("osd string 1 ?[2J?\n"), std::string::npos) << outcome.out;
}

TEST_F(VcamRun, ShowsItsProgressOnATerminal)
{
    if (!has_terminals())
        GTEST_SKIP() << "no pseudo-terminals here: /dev/pts is not mounted";
    camera.write("/tmp/pc/two.adj", "delay 3000\ndelay 5\n");
    const test::Outcome outcome =
        test::run({"script", "-qec",
                   std::string(VCAM_PROGRAM) + " run " + camera.path("/tmp/pc/two.adj").string(),
                   "/dev/null"});
    if (outcome.status == 127)
        GTEST_SKIP() << "script is not installed";
    EXPECT_NE(outcome.out.find("0/2  delay 3000"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("2 commands: 2 OK"), std::string::npos) << outcome.out;
}

TEST_F(VcamRun, RefusesWhatCannotRun)
{
    camera.write("/tmp/pc/a b.adj", "delay 5\n");
    const std::string longest = std::string(36, 'x') + ".adj";
    camera.write("/tmp/pc/" + longest, "delay 5\n");
    camera.write("/tmp/pc/good.adj", "delay 5\n");
    EXPECT_TRUE(failed(vcam({"run"}), "SCRIPT is required"));
    EXPECT_TRUE(failed(vcam({"run", camera.path("/none.adj")}), "none.adj"));
    EXPECT_TRUE(failed(vcam({"run", camera.path("/tmp/pc/a b.adj")}), "make a script's name"));
    EXPECT_TRUE(failed(vcam({"run", camera.path("/tmp/pc/" + longest)}), "39 characters"));
    for (const std::string marker : {"info.tg", "info.tgw"}) {
        camera.write("/tmp/pc/" + marker, "delay 5\n");
        EXPECT_TRUE(failed(vcam({"run", camera.path("/tmp/pc/" + marker)}), "a marker file's"));
        EXPECT_FALSE(camera.exists("/sdcard/" + marker));
    }
    {
        const auto daemon = tool::stand_in(tool::DAEMON);
        EXPECT_TRUE(failed(vcam({"run", camera.path("/tmp/pc/good.adj")}), "rovad runs already"));
    }
    EXPECT_TRUE(succeeded(vcam({"card", "remove"})));
    EXPECT_TRUE(failed(vcam({"run", camera.path("/tmp/pc/good.adj")}), "no card is inserted"));
}

TEST_F(VcamRun, StartBringsTheDaemonUpAndStopEndsIt)
{
    EXPECT_TRUE(succeeded(vcam({"start", "--", "--test"})));
    EXPECT_TRUE(vcam({"status"}).out.ends_with("mode: test\nlast result: none\n"));
    EXPECT_EQ(vcam({"pc", "osd string 1 hello"}).out, "0x10000002 0x00000000 0x00000000 OK\n");
    EXPECT_EQ(vcam({"screen"}).out, "text 1: hello\n");
    EXPECT_EQ(tool::rova({"osd", "string", "2", "world"}).status, 0);
    EXPECT_TRUE(
        test::wait_for([] { return vcam({"screen"}).out == "text 1: hello\ntext 2: world\n"; }));
    EXPECT_TRUE(failed(vcam({"start"}), "rovad runs already"));
    EXPECT_TRUE(succeeded(vcam({"stop"})));
    EXPECT_TRUE(camera.logged("program exited."));
}

TEST_F(VcamRun, StartAfterAKillFindsNoRemains)
{
    EXPECT_TRUE(succeeded(vcam({"start", "--", "--test"})));
    EXPECT_TRUE(succeeded(vcam({"stop", "--kill"})));
    EXPECT_TRUE(succeeded(vcam({"start", "--", "--test"})));
    EXPECT_FALSE(camera.logged("failed to msgget")) << "the old screen queue was in the way";
    EXPECT_TRUE(succeeded(vcam({"stop", "--signal"})));
}

TEST_F(VcamRun, StartWithoutAMarkerTellsTheDaemonsHint)
{
    const test::Outcome outcome = vcam({"start"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "Try `/usr/bin/rovad --help' for more information. \n"
                           "vcam: rovad ended before it was up; without options it needs a marker "
                           "file on the card (vcam start --help)\n");
}
