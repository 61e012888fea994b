// Commands that the camera application carries out, with the real daemon and application.
#include <gtest/gtest.h>

#include "tests/e2e/line.h"

#include <csignal>
#include <nlohmann/json.hpp>

using e2e::Line;

namespace
{

void answer(const Line &line, const std::string &command, const std::string &text)
{
    line.write("/virtual/app/answer/" + command, text);
}

std::string pc(const Line &line, const std::string &words)
{
    return line.vcam({"pc", "--timeout", "60", words}).out;
}

constexpr char OK[] = "0x10000002 0x00000000 0x00000000 OK\n";
constexpr char NG[] = "0x10000002 0x00000001 0x00000000 NG\n";

bool reached(const Line &line, std::size_t times)
{
    return test::wait_for([&] { return line.calls("app_command").size() >= times; });
}

} // namespace

TEST(App, BothChannelsAnswerAsTheFilesSay)
{
    Line line;
    line.start();
    EXPECT_EQ(pc(line, "lens get 1 2"), OK);
    EXPECT_EQ(pc(line, "exposure iso 100"), OK);
    answer(line, "lens", "ng\n");
    answer(line, "exposure.iso", "ng\n");
    EXPECT_EQ(pc(line, "lens get"), NG);
    EXPECT_EQ(pc(line, "exposure iso 100"), NG);
    EXPECT_EQ(pc(line, "exposure av 4"), OK);
    answer(line, "lens.get", "params 0x10 2 3\nstream 2 as it stands\n");
    EXPECT_EQ(pc(line, "lens get"), "0x00000010 0x00000002 0x00020000 OK\nas it stands\n");
    line.stop();
}

TEST(App, ACommandArrivesWithItsWordsAndItsChannel)
{
    Line line;
    line.start();
    EXPECT_EQ(pc(line, "lens get a b"), OK);
    EXPECT_EQ(pc(line, "sys_param flash off"), OK);
    EXPECT_EQ(pc(line, "st still"), OK);
    const auto calls = line.calls("app_command");
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0]["args"].dump(), R"(["ipcc",["lens","get","a","b"]])");
    EXPECT_EQ(calls[1]["args"].dump(), R"(["app",["sys_param","flash","off"]])");
    EXPECT_EQ(calls[2]["args"].dump(), R"(["app",["st","still"]])");
    line.stop();
}

TEST(App, ALateAnswerIsWaitedFor)
{
    Line line;
    line.start();
    answer(line, "exposure", "late 20000\nparams 1 2 3\n");
    EXPECT_EQ(pc(line, "exposure av 4"), "0x00000001 0x00000002 0x00000000 OK\n");
    line.stop();
}

TEST(App, ALateAnswerDoesNotHoldAnApplicationThatIsToEnd)
{
    Line line;
    line.speed(1);
    line.start();
    answer(line, "exposure", "late 2000000000\n");
    const test::Process asking({VCAM_PROGRAM, "-C", line.root(), "pc", "exposure av"});
    ASSERT_TRUE(reached(line, 1));
    test::send_signal(line.app(), SIGTERM);
    EXPECT_TRUE(test::wait_for([&] { return line.app() < 0; }));
}

TEST(App, ACommandThatIsNeverAnsweredIsNgWhenTheTimeIsOver)
{
    Line line;
    line.speed(2000);
    line.start();
    answer(line, "lens", "never\n");
    EXPECT_EQ(pc(line, "lens get"), NG);
    EXPECT_TRUE(line.tells("sem_wait leached 360 seconds timeout."));
    answer(line, "exposure", "never\n");
    EXPECT_EQ(pc(line, "exposure av 4"), NG);
    EXPECT_EQ(line.told("sem_wait leached 360 seconds timeout."), 2);
    EXPECT_EQ(pc(line, "lens_mount check"), OK) << "the camera stack goes on";
    line.stop();
    EXPECT_LT(line.app(), 0) << "ends in spite of the thread that hangs";
}

TEST(App, ACrashIsACommandWithoutAnAnswer)
{
    Line line;
    line.speed(2000);
    line.start();
    answer(line, "lens", "crash\n");
    EXPECT_EQ(pc(line, "lens get"), NG);
    EXPECT_LT(line.app(), 0);
    line.stop();
}

TEST(App, AnApplicationThatStartsLaterServesARunningDaemon)
{
    Line line;
    line.start_alone();
    EXPECT_EQ(pc(line, "lens get"), NG);
    EXPECT_TRUE(line.tells("failed to create mqueue."));
    const test::Process app({VCAM_PROGRAM, "-C", line.root(), "app"}, "", line.path("/tmp/app"));
    ASSERT_TRUE(test::wait_for(
        [&] { return line.read("/tmp/app").find("application: up") != std::string::npos; }));
    EXPECT_EQ(pc(line, "lens get"), OK);
    EXPECT_EQ(pc(line, "exposure av 4"), OK);
    line.stop();
}

TEST(App, AKilledApplicationIsReplacedWhileTheDaemonGoesOn)
{
    Line line;
    line.speed(300); // a command without an answer takes more than a second
    line.start();
    answer(line, "exposure", "never\n");
    test::Process asking({VCAM_PROGRAM, "-C", line.root(), "pc", "--timeout", "60", "exposure av"});
    ASSERT_TRUE(reached(line, 1));
    test::send_signal(line.app(), SIGKILL);
    ASSERT_TRUE(test::wait_for([&] { return line.app() < 0; }));
    const test::Process app({VCAM_PROGRAM, "-C", line.root(), "app"}, "", line.path("/tmp/app"));
    ASSERT_TRUE(test::wait_for(
        [&] { return line.read("/tmp/app").find("application: up") != std::string::npos; }));
    EXPECT_TRUE(line.read("/tmp/app").starts_with("cleared 2 queues of a killed application\n"));
    EXPECT_EQ(asking.wait(), 1);
    EXPECT_TRUE(line.tells("rova_send_to_app() failed (exposure)"));
    answer(line, "exposure", "result 5\n");
    EXPECT_EQ(pc(line, "exposure av"), NG);
    EXPECT_EQ(pc(line, "lens get"), OK);
    EXPECT_EQ(line.calls("app_command").size(), 3U) << "the new application was asked";
    line.stop();
}

TEST(App, AStillOfTheSceneIsNamedAfterItsNumber)
{
    Line line;
    line.write("/virtual/scene/grey.pgm", "P5 8 8 255\n" + std::string(64, 'x'));
    line.start();
    EXPECT_EQ(pc(line, "capture still"), OK);
    EXPECT_EQ(pc(line, "ST still"), OK);
    EXPECT_EQ(line.read("/virtual/app/still_number"), "2\n");
    EXPECT_EQ(pc(line, "capture conti"), OK);
    EXPECT_EQ(line.read("/virtual/app/still_number"), "2\n");
    line.write("/virtual/scene/grey.pgm", "no picture");
    EXPECT_EQ(pc(line, "capture still"), NG);
    EXPECT_EQ(line.read("/virtual/app/still_number"), "2\n") << "none was taken";
    line.stop();
}

TEST(App, AStillOfAnEmptySceneIsNoneAndSaysSo)
{
    Line line;
    line.start();
    EXPECT_EQ(pc(line, "capture still"), OK);
    EXPECT_FALSE(line.exists("/virtual/app/still_number"));
    EXPECT_NE(line.read("/virtual/app.out").find("no still: virtual/scene holds no picture\n"),
              std::string::npos);
    line.stop();
}

TEST(App, AScriptIsRunWithTheApplicationAndLeavesNone)
{
    Line line;
    line.write("/tmp/pc/forward.adj", "lens get\nexposure av 4\n");
    const test::Outcome run = line.vcam({"run", line.path("/tmp/pc/forward.adj")});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_LT(line.app(), 0);
    EXPECT_NE(line.vcam({"run", "--no-app", line.path("/tmp/pc/forward.adj")}).status, 0);
}
