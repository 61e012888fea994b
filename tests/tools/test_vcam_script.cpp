// What a script gives, and how its course is read from the platform log.
#include <gtest/gtest.h>

#include "tests/support/camera.h"
#include "tools/vcam/number.h"
#include "tools/vcam/run_log.h"
#include "tools/vcam/script.h"
#include "tools/vcam/verb.h"

using texts = std::vector<std::string>;
using vcam::command_verdict;

namespace
{

texts commands_of(const std::string &script)
{
    const test::Camera camera;
    camera.write("/tmp/s.adj", script);
    return vcam::script_commands(camera.path("/tmp/s.adj"));
}

constexpr char SCRIPT[] = "/tmp/s.adj";

std::string server_line(const std::string &time, const std::string &text)
{
    return time + " 7 8 4 SYS_ROVA rova_server.cpp: f(1) > \033[33mrova-server: " + text +
           " -------- \033[m";
}

} // namespace

TEST(ScriptCommands, CommentsBlankLinesAndSingleWordsGiveNone)
{
    EXPECT_EQ(commands_of("// heading\n\n   \ndelay\n delay\t100 // wait\nosd clear all"),
              (texts{"delay 100", "osd clear all"}));
}

TEST(ScriptCommands, TokensAndParametersAreCutAsTheDaemonCutsThem)
{
    const std::string word(40, 'x');
    EXPECT_EQ(commands_of("a " + word + "\n"), (texts{"a " + word.substr(0, 31)}));
    EXPECT_EQ(commands_of("a 1 2 3 4 5 6 7 8 9 10 11 12\n"), (texts{"a 1 2 3 4 5 6 7 8 9 10"}));
}

TEST(ScriptCommands, ALongLineIsTwo)
{
    const std::string line = "a 1" + std::string(1020, ' ') + "b 2\n";
    EXPECT_EQ(commands_of(line), (texts{"a 1", "b 2"}));
}

TEST(ScriptCommands, RepeatIsExpanded)
{
    EXPECT_EQ(commands_of("repeat 2 50 led af on\n"),
              (texts{"led af on", "delay 50", "led af on", "delay 50"}));
    EXPECT_EQ(commands_of("repeat 2 0 led af on\n"), (texts{"led af on", "led af on"}));
    EXPECT_EQ(commands_of("repeat 0 5 led on\nrepeat x 5 led on\nb 1\n"), (texts{"b 1"}));
    EXPECT_EQ(commands_of("REPEAT 2 0 led on\n"), (texts{"REPEAT 2 0 led on"}));
    EXPECT_EQ(commands_of("repeat 8092 0 led on\n").size(), 8092U);
}

TEST(ScriptCommands, ARefusedRepeatEndsTheReading)
{
    for (const char *refused : {"repeat 8093 0 led on", "repeat -1 0 led on", "repeat 2 100"})
        EXPECT_EQ(commands_of(std::string("a 1\n") + refused + "\nb 2\n"), (texts{"a 1"}))
            << refused;
}

TEST(ScriptCommands, AMissingScriptFails)
{
    EXPECT_THROW(vcam::script_commands("/none/s.adj"), vcam::failure);
}

TEST(RunLog, TellsEachCommandWithItsTimeInTheCamerasTime)
{
    const texts commands = {"delay 100", "foo x", "delay 5"};
    vcam::run_log log(commands, 10);
    EXPECT_FALSE(log.take(server_line("100.5", "1th cmd recieved [card]"), SCRIPT));
    EXPECT_EQ(log.running(), "delay 100");
    const auto first = log.take(server_line("100.75", "1th cmd done [OK]"), SCRIPT);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->number, 1);
    EXPECT_EQ(first->verdict, command_verdict::ok);
    EXPECT_DOUBLE_EQ(first->seconds, 2.5);
    EXPECT_EQ(first->text, "delay 100");
    EXPECT_EQ(log.running(), "");

    log.take(server_line("101.0", "2th cmd recieved [card]"), SCRIPT);
    EXPECT_EQ(log.take(server_line("101.1", "2th cmd done [NG]"), SCRIPT)->verdict,
              command_verdict::ng);
    const auto third = log.take(server_line("101.2", "3th cmd skipped [card]"), SCRIPT);
    ASSERT_TRUE(third);
    EXPECT_EQ(third->verdict, command_verdict::skipped);
    EXPECT_EQ(third->text, "delay 5");
    EXPECT_EQ(log.counts().ended(), 3U);
    EXPECT_EQ(log.counts().skipped, 1U);
}

TEST(RunLog, ACommandFromElsewhereTakesNoTextOfTheScript)
{
    const texts commands = {"delay 100"};
    vcam::run_log log(commands, 1);
    log.take(server_line("1", "1th cmd recieved [script]"), SCRIPT);
    EXPECT_EQ(log.take(server_line("2", "1th cmd done [OK]"), SCRIPT)->text, "(script)");
    log.take(server_line("3", "2th cmd recieved [card]"), SCRIPT);
    EXPECT_EQ(log.running(), "delay 100");
}

TEST(RunLog, KnowsHowTheClientThreadEnded)
{
    const texts commands;
    vcam::run_log through(commands, 1);
    EXPECT_FALSE(through.client_has_ended());
    through.take("1.0 x rova-client: thread exited ", SCRIPT);
    EXPECT_TRUE(through.client_has_ended());
    EXPECT_FALSE(through.client_gave_up());

    vcam::run_log refused(commands, 1);
    refused.take("1.0 x failed to send command (num: 2) ", SCRIPT);
    EXPECT_TRUE(refused.client_gave_up());

    vcam::run_log missing(commands, 1);
    missing.take("1.0 x fopen(/tmp/other.adj) failed ", SCRIPT);
    EXPECT_FALSE(missing.script_missing());
    missing.take("1.0 x fopen(/tmp/s.adj) failed ", SCRIPT);
    EXPECT_TRUE(missing.script_missing());
    EXPECT_TRUE(missing.client_has_ended());
}

TEST(Number, DecimalAndHexOfThirtyTwoBits)
{
    EXPECT_EQ(vcam::to_word32("012"), 12);
    EXPECT_EQ(vcam::to_word32("-0x10"), -16);
    EXPECT_EQ(vcam::to_word32("+7"), 7);
    EXPECT_EQ(vcam::to_word32("0xFFFFFFFF"), -1);
    EXPECT_EQ(vcam::to_word32("-2147483648"), INT32_MIN);
    for (const char *text : {"", "-", "x", "1x", "0x", "-2147483649", "4294967296", " 1"})
        EXPECT_EQ(vcam::to_word32(text), std::nullopt) << text;
}
