// What a person does at the camera, and the stations that wait for it.
#include "tests/e2e/line.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <thread>

using e2e::Line;

namespace
{

using Words = std::vector<std::string>;

struct move_row {
    const char *command; // "in" and "out" follow
    const char *plug;
};

constexpr move_row MOVES[] = {
    {"usb wait", "usb"},
    {"hdmi wait", "hdmi"},
    {"earjack wait", "earjack"},
    {"ext_mic wait", "mic"},
    {"ext_release wait", "release"},
    {"mr wait", "remote"},
    {"proximity wait", "proximity"},
    {"vgrip wait", "grip"},
    {"vgrip bat wait", "grip-battery"},
};

// The camera waits, and goes on with OK once the hand has moved.
void expect_wait(const Line &line, const std::string &command, const Words &hand)
{
    const std::string begins = "cmd: " + command.substr(0, command.find(' ')) + " ";
    const int before = line.told(begins);
    test::Outcome answer = {};
    std::thread station([&] { answer = line.vcam({"pc", "--timeout", "60", command}); });
    EXPECT_TRUE(line.hears(begins, before + 1)) << command;
    EXPECT_EQ(line.vcam(hand).status, 0);
    station.join();
    EXPECT_EQ(answer.status, 0) << command << ": " << answer.out << answer.err;
}

} // namespace

TEST(Hands, AWaitEndsWhenThePlugIsMoved)
{
    Line line;
    line.speed(1); // the wait for HDMI has a limit
    line.start_alone();
    for (const move_row &row : MOVES) {
        expect_wait(line, std::string(row.command) + " in", {"plug", row.plug});
        expect_wait(line, std::string(row.command) + " out", {"unplug", row.plug});
    }
}

TEST(Hands, TheCardsLockIsChecked)
{
    Line line;
    line.start_alone();
    EXPECT_EQ(line.vcam({"pc", "sdcard", "check", "unlock"}).status, 0);
    ASSERT_EQ(line.vcam({"card", "lock"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "sdcard", "check", "lock"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "sdcard", "check", "unlock"}).status, 1);
}

TEST(Hands, TheCableStartsAndEndsTheResponder)
{
    Line line;
    line.start_alone({"--ptp"});
    const auto responder_runs = [&] { return line.process("/usr/bin/mtp-responder") > 0; };
    EXPECT_TRUE(line.hears("usb_status is disconnected"));
    ASSERT_EQ(line.vcam({"plug", "usb"}).status, 0);
    EXPECT_TRUE(test::wait_for(responder_runs));
    ASSERT_EQ(line.vcam({"unplug", "usb"}).status, 0);
    EXPECT_TRUE(test::wait_for([&] { return !responder_runs(); }));
}

TEST(Hands, ABatteryThatDrainsLeavesItsWindow)
{
    Line line;
    line.start_alone();
    ASSERT_EQ(
        line.vcam({"battery", "drain", "--from", "8200", "--to", "6800", "--steps", "5"}).status,
        0);
    const auto check =
        line.vcam({"pc", "battery_level", "check", "internal", "7000", "8400", "10", "8"});
    EXPECT_EQ(check.status, 1);
    std::string rows;
    for (const std::string &row : test::lines_of(line.read("/sdcard/battery_level.csv")))
        rows += row.substr(row.find("Int"));
    EXPECT_EQ(rows, "Int/Ext, voltage,Min_spec,Max_spec, Result\r"
                    "Internal, 8200, 7000, 8400,OK\r"
                    "Internal, 7850, 7000, 8400,OK\r"
                    "Internal, 7500, 7000, 8400,OK\r"
                    "Internal, 7150, 7000, 8400,OK\r"
                    "Internal, 6800, 7000, 8400,NG\r");
    EXPECT_EQ(line.told("bat_level = 4"), 2);
    EXPECT_EQ(line.told("bat_volt = 7500, bat_level = 3"), 1);
    EXPECT_EQ(line.told("bat_volt = 7150, bat_level = 2"), 1);
}

TEST(Hands, TheCameraShowsHowItWarms)
{
    Line line;
    line.start_alone();
    ASSERT_EQ(line.vcam({"warm", "--from", "20", "--to", "45", "--steps", "2"}).status, 0);
    for (const char *degrees : {"20", "45", "45"}) {
        EXPECT_EQ(line.vcam({"pc", "thermistor", "show"}).status, 0);
        const std::string screen = line.vcam({"screen"}).out;
        for (const char *what : {"ISP", "CPU", "CIS"})
            EXPECT_NE(screen.find(std::string(what) + ": " + degrees), std::string::npos) << screen;
    }
}
