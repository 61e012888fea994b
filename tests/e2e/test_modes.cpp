#include "tests/e2e/line.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using e2e::Line;

TEST(Mode, NoMarkerFileEndsWithTheHint)
{
    Line line;
    const auto started = line.vcam({"start"});
    EXPECT_EQ(started.status, 2);
    EXPECT_NE(started.err.find("--help' for more information."), std::string::npos) << started.err;
}

TEST(Mode, TheScriptMarkerBeatsThePtpMarker)
{
    Line line;
    line.card_script("first.adj", "delay 1\n");
    line.write("/sdcard/info.tgw", "");
    line.start({});
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_TRUE(line.tells("Launched rovad daemon with card mode ..."));
    EXPECT_EQ(line.vcam({"pc", "--timeout", "1", "delay 1"}).status, 2) << "PTP is not served";
}

TEST(Mode, ThePtpMarkerStartsPtp)
{
    Line line;
    line.write("/sdcard/info.tgw", "");
    line.start({});
    EXPECT_TRUE(line.tells("Launched rovad daemon with ptp mode ..."));
    EXPECT_EQ(line.vcam({"pc", "delay 1"}).status, 0);
}

TEST(Mode, TheServiceMarkerRunsTheNumberedScript)
{
    Line line;
    line.write("/sdcard/qz_cs.adj", "");
    line.write("/opt/share/rova/cs_mode.type", "0x8\n");
    line.write("/sdcard/adjustment/qz700/8.country_code.adj", "osd string 1 service\n");
    line.start({});
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_EQ(line.trace().at(1), "cmd[0001]: <card> osd string 1 service");
}

TEST(Mode, AServiceNumberAboveTenLeavesNoScript)
{
    Line line;
    line.write("/sdcard/qz_cs.adj", "");
    line.write("/opt/share/rova/cs_mode.type", "11");
    line.start({});
    EXPECT_TRUE(line.hears("fopen("));
    EXPECT_FALSE(line.daemon_gone());
}

TEST(Mode, AScriptNamedOnTheCommandLineMustStandInTmp)
{
    Line line;
    line.write("/tmp/foo.adj", "delay 1\n");
    line.start({"--card", "/sdcard/foo.adj"});
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
    line.stop();
    line.remove("/tmp/foo.adj");
    line.start({"--card", "/sdcard/foo.adj"});
    EXPECT_TRUE(line.hears("fopen(/tmp/foo.adj) failed"));
}

TEST(AltMode, FeedsTheWatchdogBeforeEachCommand)
{
    Line line;
    line.card_script("alt.adj", "osd string 1 alt\ndelay 1\n");
    line.start({});
    EXPECT_TRUE(line.hears("2th cmd done [OK]"));
    EXPECT_TRUE(line.tells("Launched rovad daemon with card mode [ALT]..."));
    EXPECT_TRUE(line.tells("ALT: set wdt to 60 sec"));
    EXPECT_EQ(line.read("/sys/devices/platform/movra7_wdt/timer"), "0");
    EXPECT_EQ(line.read("/sys/devices/platform/movra7_wdt/boot_shutdown"), "0");
    EXPECT_EQ(line.trace().at(1), "ALT test... ");
}

TEST(AltMode, PowersTheCameraOffAtThePacketBehindAFailure)
{
    Line line;
    line.card_script("stress.adj", "osd string 9 x\nosd string 1 never\n");
    EXPECT_NE(line.vcam({"start"}).status, 1);
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    ASSERT_EQ(line.calls("poweroff").size(), 1U);
    EXPECT_EQ(line.calls("poweroff")[0]["args"], nlohmann::json::array({"-f"}));
    EXPECT_EQ(line.calls("pref_save").size(), 1U);
    EXPECT_FALSE(line.tells("2th cmd recieved"));
}

TEST(AltMode, RestartsACameraWhoseKeysAreMasked)
{
    Line line;
    line.write("/sys/devices/platform/m7-keys/key_unmask_on_boot", "0\n");
    line.card_script("alt_stress.adj", "delay 1\n");
    line.vcam({"start"});
    ASSERT_TRUE(test::wait_for([&] { return line.daemon_gone(); }));
    EXPECT_TRUE(line.tells("ALT: key is not unmasked, reboot it."));
    EXPECT_FALSE(line.tells("1th cmd recieved"));
}

TEST(AltMode, IsNotEnteredByACommandLineScript)
{
    Line line;
    const std::string timer = "as it was";
    line.write("/tmp/alt.adj", "delay 1\n");
    line.write("/sys/devices/platform/movra7_wdt/timer", timer);
    line.start({"--card", "/sdcard/alt.adj"});
    EXPECT_TRUE(line.hears("1th cmd done [OK]"));
    EXPECT_TRUE(line.tells("Launched rovad daemon with card mode ..."));
    EXPECT_FALSE(line.tells("ALT: set wdt"));
    EXPECT_EQ(line.read("/sys/devices/platform/movra7_wdt/timer"), timer) << "not written";
}
