#include "command/rova_cmd_handler.h"
#include "common/rova_util.h"
#include "platform/virtual/keys.h"
#include "tests/command/system/battery_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <nlohmann/json.hpp>
#include <thread>

using namespace test;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;

namespace
{

constexpr char CARD_CSV[] = "/sdcard/battery_level.csv";
constexpr char LEVEL_KEY[] = "memory/sysman/battery_status_low";
constexpr char OTHER_WORD[] = "batter level : not found command!! ";

} // namespace

class BatteryLevel : public BatteryTest
{
protected:
    std::vector<std::string> shown() const { return told({"factory_osd_text_set"}); }
};

TEST_F(BatteryLevel, AnUnknownWordIsNotHandled)
{
    EXPECT_EQ(run("battery_level drain"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on battery_level command table "));
}

TEST_F(BatteryLevel, AWordThatDoesNotCountIsRefused)
{
    for (const char *line : {"battery_level show", "battery_level lock_level"}) {
        cmd_data record = record_of(line);
        record.p_count = 0;
        EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG) << line;
    }
    EXPECT_FALSE(camera.logged("not found"));
}

// ------------------------------------------------------------------------- show

class BatteryShow : public BatteryLevel
{
protected:
    BatteryShow() { wrap_record_sleeps(true); }
};

TEST_F(BatteryShow, ShowsVoltageLevelAndTheDriversLevels)
{
    camera.write(KEYCODE, "183\n");
    EXPECT_EQ(run("battery_level show internal"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[1,"BAT volt : 7500mV"])",
                                     R"(factory_osd_text_set[2,"BAT level : half"])",
                                     R"(factory_osd_text_set[3,"-------spec------"])",
                                     R"(factory_osd_text_set[4,"   EMPTY : 6600mV"])",
                                     R"(factory_osd_text_set[5,"     low : 6900mV"])",
                                     R"(factory_osd_text_set[6,"    half : 7200mV"])",
                                     R"(factory_osd_text_set[7,"         : 0mV"])",
                                     R"(factory_osd_text_set[8,"    full : 8400mV"])"));
    EXPECT_FALSE(camera.logged("KEY 183"));
}

TEST_F(BatteryShow, GoesOnOnceASecondUntilThePlaybackKey)
{
    camera.write(std::string(KEYCODE) + ".play", "0\n126\n183\n");
    camera.write(std::string(VOLTAGE) + ".play", "7500\n7400\n7300\n");
    EXPECT_EQ(run("Battery_Level SHOW External"), OK);
    EXPECT_THAT(shown(), SizeIs(3 * 8));
    EXPECT_THAT(shown(), IsSupersetOf({R"(factory_osd_text_set[1,"BAT volt : 7500mV"])",
                                       R"(factory_osd_text_set[1,"BAT volt : 7400mV"])",
                                       R"(factory_osd_text_set[1,"BAT volt : 7300mV"])"}));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000000, 1000000, 1000000));
    EXPECT_EQ(times_logged("KEY "), 2U);
    EXPECT_TRUE(camera.logged("KEY 126"));
}

TEST_F(BatteryShow, ALevelWithoutARowHasNoName)
{
    camera.write(KEYCODE, "183\n");
    set_level(0);
    EXPECT_EQ(run("battery_level show internal"), OK);
    EXPECT_EQ(shown().at(1), R"(factory_osd_text_set[2,"BAT level : "])");
}

TEST_F(BatteryShow, OtherWordsAreRefused)
{
    for (const char *line :
         {"battery_level show", "battery_level show both", "battery_level show intern"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(times_logged(OTHER_WORD), 3U);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(BatteryShow, WithoutAReadingItFails)
{
    for (const char *line : {"battery_level show internal", "battery_level show external"}) {
        camera.fault("device_get_property", "-1");
        EXPECT_EQ(run(line), NG);
        camera.clear_fault("device_get_property");
        virt::remove_key(LEVEL_KEY);
        EXPECT_EQ(run(line), NG);
        set_level(3);
    }
    EXPECT_EQ(times_logged("failed to get_body_bat_volt() "), 2U);
    EXPECT_EQ(times_logged("failed to get_body_bat_level() "), 2U);
    EXPECT_FALSE(camera.logged("vgrip"));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(BatteryShow, AReadingThatFailsLaterEndsIt)
{
    camera.fault("device_get_property", "-1 at 3");
    EXPECT_EQ(run("battery_level show internal"), NG);
    EXPECT_THAT(shown(), SizeIs(2 * 8));
}

TEST_F(BatteryShow, WithoutTheKeyDriverItFails)
{
    camera.remove(KEYCODE);
    EXPECT_EQ(run("battery_level show internal"), NG);
    EXPECT_TRUE(camera.logged("failed to read \"" + std::string(KEYCODE)));
}

TEST_F(BatteryShow, EndsWhenTheDaemonIsAskedToStop)
{
    wrap_clear();
    camera.speed(1000);
    std::string answer;
    std::thread server([&] { answer = run("battery_level show internal"); });
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 16; }));
    EXPECT_EQ(vconf_set_int(ROVA_KEY_STOP_CMD, 1), 0);
    server.join();
    EXPECT_EQ(answer, OK);
}

// ------------------------------------------------------------------------- check

class BatteryCheck : public BatteryLevel
{
protected:
    BatteryCheck() { wrap_record_sleeps(true); }

    // Answers only; the file log has the CSV's lines as well.
    bool passes(const std::string &line)
    {
        cmd_data record = record_of(line);
        rova_process_cmd(ROVA_CMD_SCRIPT, &record);
        return rova_cmd_get_result() == 0;
    }

    // The rows so far, without the header.
    std::vector<std::string> rows() const
    {
        auto lines = lines_of(camera.read(CARD_CSV));
        if (!lines.empty())
            lines.erase(lines.begin());
        return lines;
    }
};

TEST_F(BatteryCheck, ShowsAndWritesDown)
{
    EXPECT_TRUE(passes("battery_level check internal 7000 8000 100 3"));
    EXPECT_EQ(camera.read(CARD_CSV), "Index,CIS S/N,Int/Ext, voltage,Min_spec,Max_spec, Result\r\n"
                                     "1,0,Internal, 7500, 7000, 8000,OK\r\n");
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[1,"BAT volt : 7500mV"])",
                                     R"(factory_osd_text_set[2,"BAT level  :  half"])",
                                     R"(factory_osd_text_set[3,"---------------------"])",
                                     R"(factory_osd_text_set[4,"   EMPTY : 6600mV"])",
                                     R"(factory_osd_text_set[5,"     low : 6900mV"])",
                                     R"(factory_osd_text_set[6,"    half : 7200mV"])",
                                     R"(factory_osd_text_set[7,"         : 0mV"])",
                                     R"(factory_osd_text_set[8,"    full : 8400mV"])"));
    EXPECT_TRUE(camera.logged("bat_volt = 7500, bat_level = 3"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(100000));
}

TEST_F(BatteryCheck, TheLimitsPass)
{
    EXPECT_TRUE(passes("battery_level check internal 7500 7500 0 1"));
    EXPECT_TRUE(passes("BATTERY_LEVEL Check EXTERNAL 7499 7501 0 1"));
    EXPECT_THAT(rows(), ElementsAre("1,0,Internal, 7500, 7500, 7500,OK\r",
                                    "2,0,External, 7500, 7499, 7501,OK\r"));
}

TEST_F(BatteryCheck, AVoltageBeyondTheLimitsFails)
{
    EXPECT_FALSE(passes("battery_level check internal 7501 8000 100 1"));
    EXPECT_FALSE(passes("battery_level check external 7000 7499 100 1"));
    EXPECT_THAT(rows(), ElementsAre("1,0,Internal, 7500, 7501, 8000,NG\r",
                                    "2,0,External, 7500, 7000, 7499,NG\r"));
    EXPECT_TRUE(camera.logged(" volt (7500) is invalid. (7501< volt <8000)"));
    EXPECT_FALSE(camera.logged("bat_volt = "));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(BatteryCheck, CountsBelowEightCheckOnce)
{
    for (const char *count : {"1", "2", "7"})
        EXPECT_TRUE(passes(std::string("battery_level check internal 7000 8000 100 ") + count));
    EXPECT_THAT(rows(), SizeIs(3));
}

TEST_F(BatteryCheck, CountsFromEightOnGoOnUntilOneFails)
{
    for (const char *count : {"8", "9", "32767"}) {
        std::string voltages;
        for (int i = 0; i < 20; i++)
            voltages += "7500\n";
        camera.write(std::string(VOLTAGE) + ".play", voltages + "6999\n7500\n");
        const std::size_t before = rows().size();
        EXPECT_FALSE(passes(std::string("battery_level check internal 7000 8000 100 ") + count));
        ASSERT_THAT(rows(), SizeIs(before + 21)) << count;
        EXPECT_EQ(rows()[before + 19],
                  std::to_string(before + 20) + ",0,Internal, 7500, 7000, 8000,OK\r");
        EXPECT_EQ(rows().back(),
                  std::to_string(before + 21) + ",0,Internal, 6999, 7000, 8000,NG\r");
    }
    EXPECT_THAT(wrap_sleeps(), AllOf(SizeIs(60), Each(100000)));
}

TEST_F(BatteryCheck, ASoakEndsWhenTheDaemonIsAskedToStop)
{
    wrap_clear();
    camera.speed(1000);
    bool ok = false;
    std::thread server([&] { ok = passes("battery_level check internal 7000 8000 100 8"); });
    EXPECT_TRUE(wait_for([&] { return rows().size() >= 10; }));
    EXPECT_EQ(vconf_set_int(ROVA_KEY_STOP_CMD, 1), 0);
    server.join();
    EXPECT_TRUE(ok);
}

TEST_F(BatteryCheck, ACountBelowOneIsOkWithoutACheck)
{
    camera.fault("device_get_property", "-1");
    for (const char *count : {"0", "-1", "x", "65536", "32768"})
        EXPECT_THAT(run(std::string("battery_level check internal 0 1 100 ") + count, ROVA_CMD_PTP),
                    EndsWith(PTP_OK))
            << count;
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(BatteryCheck, NumbersAreCutTo16Bits)
{
    EXPECT_TRUE(passes("battery_level check internal 65536 8000 65537 65537"));
    EXPECT_FALSE(passes("battery_level check internal 32768 40000 0 1"));
    EXPECT_FALSE(passes("battery_level check internal -32769 32767 0 1"));
    EXPECT_THAT(rows(), ElementsAre("1,0,Internal, 7500, 0, 8000,OK\r",
                                    "2,0,Internal, 7500, -32768, -25536,NG\r",
                                    "3,0,Internal, 7500, 32767, 32767,NG\r"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(1000));
}

TEST_F(BatteryCheck, ANegativeIntervalIsNone)
{
    EXPECT_TRUE(passes("battery_level check internal 7000 8000 -5 1"));
    EXPECT_TRUE(passes("battery_level check internal 7000 8000 32767 1"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(0, 32767000));
}

TEST_F(BatteryCheck, LevelsBelow2AndAbove5Fail)
{
    for (int level : {1, 6, 0, -1}) {
        set_level(level);
        EXPECT_FALSE(passes("battery_level check internal 7000 8000 100 1"));
        EXPECT_TRUE(camera.logged("bat_level(" + std::to_string(level) + ") is invalied"));
    }
    EXPECT_THAT(rows(), IsEmpty());
    EXPECT_THAT(shown(), SizeIs(4 * 8)); // shown before they are judged
}

TEST_F(BatteryCheck, LevelsFrom2To5CountWhenTheOneBelowIsDescribed)
{
    for (int level : {2, 3, 4}) {
        set_level(level);
        EXPECT_TRUE(passes("battery_level check internal 7000 8000 100 1")) << level;
    }
    set_level(5);
    EXPECT_FALSE(passes("battery_level check internal 7000 8000 100 1"));
    EXPECT_TRUE(camera.logged("failed to rova_bat_info() bat_level=5"));
    EXPECT_THAT(rows(), SizeIs(3));
}

TEST_F(BatteryCheck, WithoutAReadingItFails)
{
    const std::string limits = " 7000 8000 100 1";
    camera.fault("device_get_property", "-1");
    EXPECT_FALSE(passes("battery_level check internal" + limits));
    EXPECT_TRUE(camera.logged("failed to get_body_bat_volt() "));
    EXPECT_FALSE(camera.logged("failed to get_vgrip_bat_volt() "));
    EXPECT_FALSE(passes("battery_level check external" + limits));
    EXPECT_TRUE(camera.logged("failed to get_vgrip_bat_volt() "));
    camera.clear_fault("device_get_property");
    virt::remove_key(LEVEL_KEY);
    EXPECT_FALSE(passes("battery_level check internal" + limits));
    EXPECT_TRUE(camera.logged("failed to get_body_bat_level() "));
    EXPECT_FALSE(camera.logged("failed to get_vgrip_bat_level() "));
    EXPECT_FALSE(passes("battery_level check external" + limits));
    EXPECT_TRUE(camera.logged("failed to get_vgrip_bat_level() "));
    EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(BatteryCheck, MissingWordsAreRefusedWithoutAMessage)
{
    EXPECT_EQ(run("battery_level check internal 7000 8000 100"), NG);
    EXPECT_EQ(run("battery_level check"), NG);
    EXPECT_FALSE(camera.logged("not found"));
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(BatteryCheck, OtherWordsAreRefused)
{
    EXPECT_EQ(run("battery_level check grip 7000 8000 100 1"), NG);
    EXPECT_EQ(times_logged(OTHER_WORD), 1U);
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(BatteryCheck, ThePcIsTheFileTold)
{
    EXPECT_THAT(run("battery_level check internal 7000 8000 0 1", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), CARD_CSV);
    EXPECT_THAT(run("battery_level check internal 0 1 0 1", ROVA_CMD_PTP),
                EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
}

TEST_F(BatteryCheck, WithoutAFileTheAnswerIsTheSame)
{
    camera.fault("sys_open", "-1 on battery_level.csv");
    EXPECT_TRUE(passes("battery_level check internal 7000 8000 0 1"));
    EXPECT_FALSE(passes("battery_level check internal 0 1 0 1"));
    EXPECT_FALSE(camera.exists(CARD_CSV));
    EXPECT_THAT(camera.file_log(), testing::Not(testing::HasSubstr("handle is NULL")));
}

TEST_F(BatteryCheck, ARowThatCannotBeWrittenIsTold)
{
    camera.fault("sys_write", "-1 at 4 on battery_level.csv");
    EXPECT_TRUE(passes("battery_level check internal 7000 8000 0 1"));
    EXPECT_TRUE(camera.logged("csv write fail"));
}

TEST_F(BatteryCheck, LeavesNoDescriptor)
{
    passes("battery_level check internal 7000 8000 0 0");
    const std::size_t before = open_descriptors();
    passes("battery_level check internal 7000 8000 0 1");
    passes("battery_level check internal 7000 8000 0 0");
    passes("battery_level check internal 0 1 0 9");
    set_level(1);
    passes("battery_level check internal 7000 8000 0 1");
    EXPECT_EQ(open_descriptors(), before);
}

// ------------------------------------------------------------------------- lock_level

TEST_F(BatteryLevel, LockingClearsAPropertyAndUnlockingSetsIt)
{
    EXPECT_EQ(run("battery_level lock_level On"), OK);
    EXPECT_EQ(run("battery_level lock_level OFF"), OK);
    EXPECT_THAT(told({"device_set_property"}),
                ElementsAre("device_set_property[4,27,0]", "device_set_property[4,27,1]"));
}

TEST_F(BatteryLevel, OtherWordsLockNothing)
{
    EXPECT_EQ(run("battery_level lock_level"), NG);
    EXPECT_EQ(run("battery_level lock_level 1"), NG);
    EXPECT_EQ(times_logged("not found lock level command!!! "), 2U);
    EXPECT_THAT(told({"device_set_property"}), IsEmpty());
}

TEST_F(BatteryLevel, ALockThatIsRefusedFails)
{
    camera.fault("device_set_property", "-1");
    EXPECT_EQ(run("battery_level lock_level on"), NG);
    EXPECT_TRUE(camera.logged("device_set_property(4, 27, 0) failed (ret = -1) "));
}
