#include "tests/e2e/line.h"

#include "platform/virtual/keys.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using e2e::Line;

namespace
{

constexpr char PMODE[] = "memory/private/pmode";
constexpr char PARAM1[] = "memory/private/pmode_Param1";
constexpr char PROTOCOL1[] = "memory/private/pmode_protocol1";
constexpr char STREAM[] = "memory/private/pmode_stream";
constexpr char STREAM_TYPE[] = "memory/private/pmode_stream_type";

// Reads writes, as this process (another than the daemon) sees them, until `count` have come.
std::vector<std::string> next_writes(virt::KeyWatch &watch, std::size_t count)
{
    std::vector<std::string> texts;
    test::wait_for([&] {
        for (const virt::KeyChange &change : watch.read())
            texts.push_back(change.key.name + "=" + change.key.value());
        return texts.size() >= count;
    });
    return texts;
}

} // namespace

TEST(PcAnswer, WritesTheStreamKeysThenParam3Param2Param1)
{
    Line line;
    line.start();
    virt::KeyWatch watch;
    line.key(PMODE, "delay 1");
    EXPECT_EQ(next_writes(watch, 6),
              (std::vector<std::string>{
                  "memory/private/pmode=delay 1", "memory/private/pmode_stream_type=0",
                  "memory/private/pmode_stream=", "memory/private/pmode_Param3=0",
                  "memory/private/pmode_Param2=0", "memory/private/pmode_Param1=268435458"}));
}

TEST(PcAnswer, EachOverwritesTheStreamKeys)
{
    Line line;
    line.start();
    line.key(STREAM, "left over from another answer");
    line.key(STREAM_TYPE, 2);
    EXPECT_EQ(line.vcam({"pc", "osd string 9 x"}).status, 1);
    EXPECT_EQ(line.key_string(STREAM), "");
    EXPECT_EQ(line.key_int(STREAM_TYPE), 0);
}

TEST(PcAnswer, IsTracedInTheFileLogWithItsWords)
{
    Line line;
    line.start();
    EXPECT_EQ(line.vcam({"pc", "osd string 9 x"}).status, 1);
    ASSERT_TRUE(line.hears("1th cmd done [NG]"));
    EXPECT_EQ(line.trace().at(1), "cmd[0001]: <ptp> osd string 9 x");
    EXPECT_EQ(line.trace().at(2), "resp : NG <ptp> 0x10000002, 0x00000001, 0x00000000 ");
}

TEST(PcRequest, AnUnknownWordIsNotAnswered)
{
    Line line;
    line.start();
    EXPECT_EQ(line.vcam({"pc", "--timeout", "0.1", "nosuchword x"}).status, 2);
    ASSERT_TRUE(line.hears("1th cmd done [NG]"));
    EXPECT_EQ(line.key_int(PARAM1), std::nullopt) << "no answer has ever been written";
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
}

TEST(PcRequest, ZeroUnknownAndUnservedNumbersAreNotAnswered)
{
    Line line;
    line.start();
    line.key(PROTOCOL1, 0);
    EXPECT_TRUE(line.hears("value(0) is no meaning (key=memory/private/pmode_protocol1)"));
    for (int i = 2; i <= 5; i++)
        line.key("memory/private/pmode_protocol" + std::to_string(i), i);
    line.key(PROTOCOL1, 0x12345678);
    EXPECT_TRUE(line.hears("Not found on rova command table"));
    line.key(PROTOCOL1, 0x10040000);
    EXPECT_TRUE(line.hears("1th cmd done [NG]"));
    EXPECT_EQ(line.trace().at(1), "cmd[0001]: <ptp2> paf2 | 2 3 4 5");
    EXPECT_EQ(line.key_int(PARAM1), std::nullopt) << "no answer has ever been written";
}

TEST(PcRequest, APredefinedCommandTakesTheParametersOfTheLineBeforeIt)
{
    Line line;
    line.start();
    line.key(PMODE, "osd string 1 kept");
    line.vcam({"pc", "--timeout", "0.1", "--number", "0x10040000", "1", "-2", "0x3", "4"});
    ASSERT_TRUE(line.hears("2th cmd done [NG]"));
    EXPECT_EQ(line.trace().at(3), "cmd[0002]: <ptp2> paf2 string 1 kept | 1 -2 3 4");
}

TEST(PcRequest, APredefinedCommandIsGivenTheDataThatWasSentAheadOfIt)
{
    Line line;
    line.start();
    EXPECT_EQ(line.vcam({"pc", "--number", "0x10021000"}).status, 1) << "no data yet";
    line.write("/tmp/dots", "NO= 258\nB\n1 2\n");
    const std::string data = line.path("/tmp/dots");
    EXPECT_EQ(line.vcam({"pc", "--number", "0x10021000", "--data", data}).status, 0);
    EXPECT_EQ(line.read("/opt/share/rova/CIS_DOT.bin"), std::string("\1\0\2\0", 4));
    const std::string sensor = line.read("/virtual/pref/adj_cap.flash");
    EXPECT_EQ(sensor.substr(512, 4), std::string("\2\1\0\0", 4)) << "the serial number";
}

TEST(PcRequest, TheClockIsSetToAndComparedWithThePcsTime)
{
    setenv("TZ", "UTC0", 1);
    Line line;
    line.start();
    const std::string date = "0x07ea0b14", time = "0x091e0700"; // 2026-11-20 09:30:07
    const auto pc_sends = [&](const std::string &at) {
        return line.vcam({"pc", "--number", "0x10030000", date, at});
    };
    constexpr char asked[] = "0x10030000 0x00000000 0x00000000 OK\n";

    EXPECT_EQ(line.vcam({"pc", "rtc", "set", "pc"}).out, asked);
    EXPECT_EQ(pc_sends(time).out, "0x10000002 0x00000000 0x00000000 OK\n");
    EXPECT_EQ(line.read("/virtual/property/14.0"), "1795167007\n");

    EXPECT_EQ(line.vcam({"pc", "rtc check pc 1"}).out, asked);
    EXPECT_EQ(pc_sends("0x091f0700").status, 0) << "a minute later";
    const test::Outcome late = pc_sends("0x091f0800");
    EXPECT_EQ(late.status, 1);
    EXPECT_EQ(late.out,
              "0x10000002 0x00000001 0x00010000 NG\n"
              "/sdcard/rtc_pc.csv\n"
              "Index,CIS S/N,Diff(sec),year_C,month_C,day_C,hour_C,min_C,sec_C,year_S,mon_S,day_S,"
              "hour_S,min_S,sec_S,Result\r\n"
              "1,0,         60,2026,011,020,009,030,007,2026,011,020,009,031,007,OK\r\n"
              "2,0,         61,2026,011,020,009,030,007,2026,011,020,009,031,008,NG\r\n");
    unsetenv("TZ");
}

TEST(PcRequest, TenThousandLinesAreAllRunInOrder)
{
    Line line;
    line.fault("sys_fdatasync", "0"); // the file log's flush would make the test a disk benchmark
    line.start();
    for (int i = 0; i < 10000; i++)
        line.key(PMODE, "control led off " + std::to_string(i));
    ASSERT_TRUE(test::wait_for([&] { return line.tells("10000th cmd done [OK]"); }, 100));

    const std::string log = line.platform_log();
    std::size_t at = 0;
    for (int i = 0; i < 10000; i++) {
        const std::string text = ">> p2: " + std::to_string(i) + " ";
        at = log.find(">> p2: ", at);
        ASSERT_NE(at, std::string::npos) << i;
        ASSERT_EQ(log.compare(at, text.size(), text), 0) << "out of order at " << i;
        at++;
    }
}

TEST(Usb, StartsAndEndsTheResponderInPtpMode)
{
    Line line;
    line.key("memory/sysman/usb_status", 2);
    line.start({"--ptp"});
    const auto responder_runs = [&] { return line.process("/usr/bin/mtp-responder") > 0; };
    EXPECT_TRUE(line.hears("usb_status is available"));
    EXPECT_TRUE(test::wait_for(responder_runs));
    line.key("memory/sysman/usb_status", 1);
    EXPECT_TRUE(line.hears("usb_status is not handled (1)"));
    line.key("memory/sysman/usb_status", 0);
    EXPECT_TRUE(line.hears("usb_status is disconnected"));
    EXPECT_TRUE(test::wait_for([&] { return !responder_runs(); }));
}

TEST(Usb, DoesNotStartTheResponderInTestMode)
{
    Line line;
    line.key("memory/sysman/usb_status", 2);
    line.start();
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
    line.stop();
    EXPECT_FALSE(line.tells("usb_status"));
    EXPECT_TRUE(line.calls("sys_execvp").empty());
}

TEST(CreateFile, RecordsInsteadOfRunningUntilItIsSwitchedOff)
{
    Line line;
    line.start();
    EXPECT_EQ(line.vcam({"pc", "create_file on made.adj"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "foo bar"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "osd string 1 not shown"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "create_file off"}).status, 0);
    EXPECT_EQ(line.read("/sdcard/made.adj"), "foo bar\r\nosd string 1 not shown\r\n");
    EXPECT_FALSE(line.exists("/tmp/dump.log"));
    EXPECT_EQ(line.vcam({"screen", "--text"}).out.find("not shown"), std::string::npos);
    EXPECT_EQ(line.vcam({"pc", "osd string 1 shown"}).status, 0);
    EXPECT_NE(line.vcam({"screen", "--text"}).out.find("shown"), std::string::npos);
}
