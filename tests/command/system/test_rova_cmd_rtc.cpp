#include "tests/command/command_test.h"

#include <climits>
#include <cstdlib>
#include <ctime>

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

constexpr char CLOCK[] = "/virtual/property/14.0";
constexpr char MANUAL_CSV[] = "/sdcard/rtc_manual.csv";
constexpr char PC_CSV[] = "/sdcard/rtc_pc.csv";
constexpr char COLUMNS[] = "Index,CIS S/N,Diff(sec),year_C,month_C,day_C,hour_C,min_C,sec_C,year_S,"
                           "mon_S,day_S,hour_S,min_S,sec_S,";

// 2026-11-20 09:30:07 UTC
constexpr int NOON = 1795167007;
constexpr char NOON_WORDS[] = "2026 11 20 9 30 7";
constexpr int32_t NOON_DATE = (2026 << 16) | (11 << 8) | 20;
constexpr int32_t NOON_TIME = (9 << 24) | (30 << 16) | (7 << 8) | 42;

constexpr char ASKS_PC[] = "resp : OK <ptp> 0x10030000, 0x00000000, 0x00000000 \n";

class TimeZone
{
public:
    explicit TimeZone(const char *name) { set(name); }
    ~TimeZone()
    {
        unsetenv("TZ");
        tzset();
    }
    void set(const char *name)
    {
        setenv("TZ", name, 1);
        tzset();
    }
};

} // namespace

class Rtc : public CommandTest
{
protected:
    int clock() const { return std::atoi(camera.read(CLOCK).c_str()); }
    void set_clock(int epoch) const { camera.write(CLOCK, std::to_string(epoch) + "\n"); }

    // A comparison, without what the CSV file and its rows tell in the log.
    std::string answer(const std::string &line, uint32_t type = ROVA_CMD_SCRIPT)
    {
        return last_line(run(line, type));
    }
    std::string answer(const cmd_data &record, uint32_t type)
    {
        return last_line(run(record, type));
    }
    static std::string last_line(const std::string &log)
    {
        std::size_t at = log.rfind("resp : ");
        return at == std::string::npos ? "" : log.substr(at);
    }
    // rtc2 as the server hands it over: the words of the line before, and the PC's numbers.
    static cmd_data rtc2(const std::string &words, int32_t date = NOON_DATE,
                         int32_t time = NOON_TIME)
    {
        cmd_data record = record_of("rtc2 " + words);
        record.e[0] = date;
        record.e[1] = time;
        return record;
    }
    std::string check(int offset) const
    {
        return std::string("rtc check manual ") + NOON_WORDS + " " + std::to_string(offset);
    }

    TimeZone zone{"UTC0"};
};

// ------------------------------------------------------------------------- rtc set

TEST_F(Rtc, SetManualSetsTheClock)
{
    EXPECT_EQ(run(std::string("rtc set manual ") + NOON_WORDS), OK);
    EXPECT_THAT(camera.call_texts(), ElementsAre("device_set_property(14, 0, 1795167007)"));
    EXPECT_THAT(messages(), ElementsAre("input epoch time : 1795167007"));
}

TEST_F(Rtc, SetManualTakesTheTimeAsTheZoneHasIt)
{
    zone.set("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(run("RTC SET manual 2026 1 15 12 0 0"), OK);
    EXPECT_EQ(clock(), 1768474800); // 11:00 UTC
    EXPECT_EQ(run("rtc set manual 2026 7 15 12 0 0", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(clock(), 1784109600); // 10:00 UTC
}

TEST_F(Rtc, SetManualLetsFieldsRunOver)
{
    EXPECT_EQ(run("rtc set manual 2025 14 32 25 61 61"), OK); // 2026-03-05 02:02:01
    EXPECT_EQ(clock(), 1772676121);
    EXPECT_EQ(run("rtc set manual 1970 1 1 0 0 -1"), OK);
    EXPECT_EQ(clock(), -1);
}

TEST_F(Rtc, SetManualTakesAMissingSecondForZero)
{
    EXPECT_EQ(run("rtc set manual 2026 11 20 9 30"), OK);
    EXPECT_EQ(clock(), NOON - 7);
    EXPECT_EQ(run("rtc set manual 2026 11 20 9"), NG);
    EXPECT_EQ(run("rtc set manual"), NG);
    EXPECT_EQ(clock(), NOON - 7);
}

TEST_F(Rtc, SetManualReachesTheEndsOfTheClock)
{
    EXPECT_EQ(run("rtc set manual 2038 1 19 3 14 7"), OK);
    EXPECT_EQ(clock(), INT_MAX);
    EXPECT_EQ(run("rtc set manual 1901 12 13 20 45 52"), OK);
    EXPECT_EQ(clock(), INT_MIN);
    std::size_t calls = camera.call_texts().size();
    for (const char *time :
         {"2038 1 19 3 14 8", "1901 12 13 20 45 51", "0 0 0 0 0 0", "x x x x x x",
          "99999999999 1 1 0 0 0", "-99999999999 -99999999999 1 0 0 0",
          "2147483647 2147483647 2147483647 2147483647 2147483647 2147483647"}) {
        EXPECT_EQ(run(std::string("rtc set manual ") + time), NG) << time;
        EXPECT_THAT(new_messages().back(), HasSubstr("the clock has no such time (")) << time;
    }
    EXPECT_EQ(camera.call_texts().size(), calls);
}

TEST_F(Rtc, ClockThatCannotBeSetIsNg)
{
    camera.fault("device_set_property", "-1");
    EXPECT_EQ(run(std::string("rtc set manual ") + NOON_WORDS), NG);
    EXPECT_EQ(messages().back(), "device_set_property(14, 0, 1795167007) failed (ret = -1) ");
}

TEST_F(Rtc, SetOfAnotherWordDoesNothing)
{
    for (const char *line : {"rtc set", "rtc set MANUAL 2026 11 20 9 30 7", "rtc set now"})
        EXPECT_EQ(run(line), OK) << line;
    EXPECT_THAT(camera.call_texts(), IsEmpty());
    cmd_data record = record_of("rtc set");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_CARD), NG);
}

TEST_F(Rtc, PcIsAskedForItsTime)
{
    for (const char *line : {"rtc set pc", "rtc check pc", "rtc check pc 3"})
        for (uint32_t type : {ROVA_CMD_PTP, ROVA_CMD_PTP2})
            EXPECT_EQ(run(line, type), ASKS_PC) << line;
    EXPECT_EQ(camera.key_int("memory/private/pmode_Param1"), 0x10030000);
    EXPECT_EQ(times_logged("not PTP mode"), 0U);
}

TEST_F(Rtc, PcIsThereOnThePcLinkOnly)
{
    for (const char *line : {"rtc set pc", "rtc check pc"})
        for (uint32_t type : {ROVA_CMD_CARD, ROVA_CMD_SCRIPT}) {
            EXPECT_EQ(run(line, type), NG) << line;
            EXPECT_THAT(new_messages(), ElementsAre("not PTP mode ")) << line;
        }
}

TEST_F(Rtc, UnknownSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("rtc show"), NO_ANSWER);
    EXPECT_EQ(messages().front(), "Not found on rtc command table ");
}

// ------------------------------------------------------------------------- rtc check

TEST_F(Rtc, CheckManualPassesAtTheOffsetAndNotBeyond)
{
    for (int difference : {-6, -5, 0, 5, 6}) {
        set_clock(NOON + difference);
        EXPECT_EQ(answer(check(5)), std::abs(difference) <= 5 ? OK : NG) << difference;
    }
    set_clock(NOON);
    EXPECT_EQ(answer(check(0)), OK);
    EXPECT_EQ(answer(check(-1)), NG);
}

TEST_F(Rtc, CheckManualTellsBothTimesInTheLog)
{
    set_clock(NOON + 61);
    EXPECT_EQ(answer(check(5)), NG);
    std::vector<std::string> told = messages();
    told.resize(7);
    EXPECT_THAT(told,
                ElementsAre("str : OK", "input time : 126 10 20 9 30 7",
                            "current time : 126 10 20 9 31 8", "input epoch time : 1795167007",
                            "current epoch time : 1795167068", "offset : 5, difference : 61",
                            testing::_));
}

TEST_F(Rtc, CheckManualWritesARow)
{
    set_clock(NOON + 5);
    EXPECT_EQ(answer("RTC CHECK manual 2026 11 20 9 30 7 5"), OK);
    set_clock(NOON - 86400);
    EXPECT_EQ(answer(check(5)), NG);
    EXPECT_EQ(camera.read(MANUAL_CSV),
              std::string(COLUMNS) + "RESULT\r\n" +
                  "1,0,          5,2026,011,020,009,030,012,2026,011,020,009,030,007,OK\r\n"
                  "2,0,      86400,2026,011,019,009,030,007,2026,011,020,009,030,007,NG\r\n");
}

TEST_F(Rtc, CheckManualWritesTimesAsTheZoneHasThem)
{
    zone.set("CET-1CEST,M3.5.0,M10.5.0/3");
    set_clock(1784109600);
    EXPECT_EQ(answer("rtc check manual 2026 7 15 12 0 0 0"), OK);
    EXPECT_THAT(camera.read(MANUAL_CSV),
                HasSubstr("1,0,          0,2026,007,015,012,000,000,2026,007,015,012,000,000,OK"));
}

TEST_F(Rtc, CheckManualTellsThePcItsFile)
{
    camera.write("/sdcard/info.tgw", "");
    set_clock(NOON);
    EXPECT_EQ(answer(check(0), ROVA_CMD_PTP),
              "resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n");
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/rtc_manual.csv");
    EXPECT_THAT(camera.read("/tmp/rtc_manual.csv"), testing::StartsWith("rtc_manual.csv\r\n"));
}

TEST_F(Rtc, CheckManualMeasuresTheLongestDifference)
{
    set_clock(INT_MIN);
    EXPECT_EQ(answer("rtc check manual 2038 1 19 3 14 7 2147483647"), NG);
    EXPECT_THAT(camera.read(MANUAL_CSV),
                HasSubstr(" 4294967295,1901,012,013,020,045,052,2038,001,019,003,014,007,NG"));
}

TEST_F(Rtc, CheckManualNeedsAllItsWordsAndATime)
{
    set_clock(NOON);
    EXPECT_EQ(run(std::string("rtc check manual ") + NOON_WORDS), NG);
    EXPECT_EQ(run("rtc check manual"), NG);
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_EQ(run("rtc check manual 2039 11 20 9 30 7 5"), NG);
    EXPECT_THAT(messages(),
                ElementsAre("str : OK", "the clock has no such time (2039-11-20 9:30:7) "));
    EXPECT_FALSE(camera.exists(MANUAL_CSV));
}

TEST_F(Rtc, CheckOfAnotherWordIsNg)
{
    for (const char *line : {"rtc check", "rtc check now", "rtc check PC"})
        EXPECT_EQ(run(line), NG) << line;
}

TEST_F(Rtc, CheckWithoutAReadableClockIsNg)
{
    camera.fault("device_get_property", "-1");
    EXPECT_EQ(run(check(5)), NG);
    EXPECT_EQ(messages().back(), "device_get_property(14, 0) failed (ret = -1) ");
    EXPECT_FALSE(camera.exists(MANUAL_CSV));
}

TEST_F(Rtc, CheckThatCannotWriteKeepsItsVerdict)
{
    camera.fault("sys_open", "-1 errno ENOENT on rtc_manual.csv");
    set_clock(NOON);
    EXPECT_EQ(answer(check(0)), OK);
    EXPECT_EQ(times_logged("csv create fail"), 1U);
    EXPECT_THAT(camera.file_log(), HasSubstr("csv_close: handle is NULL, NG"));
    EXPECT_EQ(times_logged("input csv write fail"), 0U);
    set_clock(NOON + 1);
    EXPECT_EQ(answer(check(0)), NG);
    camera.clear_fault("sys_open");

    camera.fault("sys_write", "-1 errno ENOSPC on rtc_manual.csv");
    set_clock(NOON);
    EXPECT_EQ(answer(check(0)), OK);
    EXPECT_EQ(times_logged("input csv write fail"), 1U);
}

// ------------------------------------------------------------------------- rtc2

TEST_F(Rtc, Rtc2SetsTheClockToThePcsTime)
{
    EXPECT_EQ(run(rtc2("set pc"), ROVA_CMD_PTP2), PTP_OK);
    EXPECT_EQ(clock(), NOON);
    EXPECT_EQ(times_logged("\033[33mrtc2_set 2026, 11, 20, 9:30:7, 42"), 1U);
    EXPECT_EQ(times_logged("input epoch time : 1795167007"), 1U);
    EXPECT_EQ(camera.key_int("memory/private/pmode_stream_type"), 0);
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
}

TEST_F(Rtc, Rtc2TakesBytesWithTheirSigns)
{
    // 255 hours is an hour back, 128 minutes are 128 minutes back.
    EXPECT_EQ(run(rtc2("set", NOON_DATE, static_cast<int32_t>(0xff80fffe)), ROVA_CMD_PTP2), PTP_OK);
    EXPECT_EQ(times_logged("rtc2_set 2026, 11, 20, -1:-128:-1, -2"), 1U);
    EXPECT_EQ(clock(), 1795132800 - 3600 - 128 * 60 - 1);
}

TEST_F(Rtc, Rtc2OfNoTimeIsNg)
{
    for (int32_t date : {0, -1, 0x7fff0101})
        EXPECT_EQ(run(rtc2("set", date, 0), ROVA_CMD_PTP2), PTP_NG) << date;
    EXPECT_EQ(times_logged("the clock has no such time ("), 3U);
    EXPECT_EQ(run("rtc2 set"), NG) << "from a script, without numbers";
}

TEST_F(Rtc, Rtc2ThatCannotSetTheClockIsNg)
{
    camera.fault("device_set_property", "-1");
    EXPECT_EQ(run(rtc2("set"), ROVA_CMD_PTP2), PTP_NG);
}

TEST_F(Rtc, Rtc2ChecksInMinutes)
{
    for (int difference : {-121, -120, 0, 120, 121}) {
        set_clock(NOON + difference);
        bool ok = std::abs(difference) <= 120;
        EXPECT_EQ(answer(rtc2("check pc 2"), ROVA_CMD_PTP2).substr(0, 9),
                  ok ? "resp : OK" : "resp : NG")
            << difference;
    }
    EXPECT_THAT(
        camera.read(PC_CSV),
        HasSubstr("5,0,        121,2026,011,020,009,032,008,2026,011,020,009,030,007,NG\r\n"));
    EXPECT_EQ(times_logged("offset : 120, difference : 121"), 2U);
    EXPECT_EQ(times_logged("str : OK"), 5U);
}

TEST_F(Rtc, Rtc2WithoutAnOffsetAllowsNone)
{
    set_clock(NOON);
    EXPECT_EQ(answer(rtc2("check pc"), ROVA_CMD_PTP2),
              "resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n");
    set_clock(NOON + 1);
    EXPECT_EQ(answer(rtc2("check pc"), ROVA_CMD_PTP2),
              "resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n");
    EXPECT_EQ(camera.read(PC_CSV),
              std::string(COLUMNS) + "Result\r\n" +
                  "1,0,          0,2026,011,020,009,030,007,2026,011,020,009,030,007,OK\r\n"
                  "2,0,          1,2026,011,020,009,030,008,2026,011,020,009,030,007,NG\r\n");
}

TEST_F(Rtc, Rtc2AllowsTheLongestOffset)
{
    set_clock(INT_MIN);
    EXPECT_EQ(answer(rtc2("check pc 2147483647"), ROVA_CMD_PTP2),
              "resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n");
}

TEST_F(Rtc, Rtc2AfterAnotherCommandIsNg)
{
    for (const char *words : {"", "SET pc", "check_mode 2", "wait in"}) {
        EXPECT_EQ(run(rtc2(words), ROVA_CMD_PTP2), PTP_NG) << words;
        EXPECT_EQ(new_messages()[1], "previous cmd is not 'rtc' ") << words;
    }
    EXPECT_FALSE(camera.exists(CLOCK));
}
