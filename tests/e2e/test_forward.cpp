// Commands that the camera application carries out, from the PC and from a script to the wire.
#include "tests/e2e/line.h"
#include "tests/support/serving_end.h"

#include <gtest/gtest.h>

using e2e::Line;
using test::answer_bytes;
using test::plain_ok;
using test::ServingEnd;

namespace
{

constexpr char PC_DATA[] = "memory/private/pmode_shutter_data";

std::string text_at(const std::string &area, std::size_t offset)
{
    return area.substr(offset, area.find('\0', offset) - offset);
}

} // namespace

TEST(ForwardedPredefined, ShutterSpeed2TakesTheWordsOfTheLineBeforeItAndItsOwnNumbers)
{
    Line line;
    line.start_alone();
    line.write(std::string("/sdcard/") + PC_DATA, "dots");
    const ServingEnd stack(line, plain_ok);
    EXPECT_EQ(line.vcam({"pc", "shutter_speed2 set 1/125 7"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "--number", "0x10011000", "1", "-2", "0x3", "4"}).status, 0);

    const ServingEnd::Command command = stack.command(2);
    const std::string &area = command.command_area;
    EXPECT_EQ(command.type, 5);
    EXPECT_EQ(text_at(area, 0), "shutter_speed2");
    EXPECT_EQ(area.substr(32, 4), std::string("\3\0\0\0", 4)) << "the count of parameters";
    EXPECT_EQ(text_at(area, 36), "set");
    EXPECT_EQ(text_at(area, 68), "1/125");
    EXPECT_EQ(text_at(area, 100), "7");
    EXPECT_EQ(area.substr(356, 16), std::string("\1\0\0\0\xfe\xff\xff\xff\3\0\0\0\4\0\0\0", 16));
    EXPECT_EQ(text_at(area, 372), PC_DATA);
}

TEST(ForwardedPredefined, ShutterSpeed2WithoutALineBeforeItIsNotFoundAndNotAnswered)
{
    Line line;
    line.start_alone();
    const ServingEnd stack(line, plain_ok);
    EXPECT_EQ(line.vcam({"pc", "--timeout", "0.1", "--number", "0x10011000"}).status, 2);
    EXPECT_TRUE(line.hears("1th cmd done [NG]"));
    EXPECT_TRUE(line.tells("Not found on shutter_speed2 command table"));
    EXPECT_TRUE(line.tells("Not found on command table, so skip all next command!"));
    EXPECT_FALSE(stack.received(1));
    EXPECT_EQ(line.key_int("memory/private/pmode_Param1"), std::nullopt) << "no answer was written";
}

TEST(Forwarded, TheAnswerOfEitherChannelGoesToThePcWithItsStream)
{
    Line line;
    line.start_alone();
    const ServingEnd stack(line, [](int, const std::string &) {
        return answer_bytes(1, 0, 0x10020000, 77, 0, 2, "f/2.8");
    });
    const ServingEnd application(
        line,
        [](int, const std::string &) {
            return answer_bytes(0, 5, 0, 0, 0, 1, "/sdcard/DCIM/1.jpg");
        },
        test::APP_CHANNEL);

    line.vcam({"pc", "lens iris"});
    ASSERT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_EQ(line.trace().at(2), "resp : OK <ptp> 0x10020000, 0x0000004d, 0x00020000 ");
    EXPECT_EQ(line.key_string("memory/private/pmode_stream"), "f/2.8");

    EXPECT_EQ(line.vcam({"pc", "st still"}).status, 1);
    ASSERT_TRUE(line.hears("2th cmd done [NG]"));
    EXPECT_EQ(line.trace().at(4), "resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 ");
    EXPECT_EQ(line.key_string("memory/private/pmode_stream"), "/sdcard/DCIM/1.jpg");
}

TEST(Forwarded, AnUnknownSubcommandSkipsTheRestOfAScript)
{
    Line line;
    line.write("/strobe.adj", "strobe foo\ndelay 1\n");
    EXPECT_EQ(line.vcam({"run", line.path("/strobe.adj")}).status, 1);
    EXPECT_TRUE(line.tells("Not found on strobe command table"));
    EXPECT_TRUE(line.tells("Not found on command table, so skip all next command!"));
    EXPECT_EQ(line.told("2th cmd skipped [card]"), 1);
}

TEST(Forwarded, WithoutACameraApplicationAScriptStops)
{
    Line line;
    line.write("/capture.adj", "exposure iso 200\ndelay 1\n");
    EXPECT_EQ(line.vcam({"run", "--no-app", line.path("/capture.adj")}).status, 1);
    EXPECT_TRUE(line.tells("rova_send_to_app() failed (exposure)"));
    EXPECT_EQ(line.told("2th cmd skipped [card]"), 1);
}
