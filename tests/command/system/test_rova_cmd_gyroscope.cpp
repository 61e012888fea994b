#include "command/rova_cmd_handler.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"
#include "tests/command/system/readout_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cmath>
#include <nlohmann/json.hpp>

using namespace test;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::SizeIs;

namespace
{

constexpr char CARD_CSV[] = "/sdcard/gyroscope.csv";
constexpr char THERMISTOR[] = "/sys/devices/platform/movra7-thermister/cmos_thermister";
constexpr char ISP[] = "/sys/devices/platform/m7_tsu/isp";
constexpr char AXES[] = "/virtual/ioctl/lsm.0x800c6c01";
constexpr char TEMPERATURE[] = "/virtual/ioctl/lsm.0x80046c03";
constexpr char READ_ERROR[] = "Gyro-value read error!";
constexpr char CANCEL_ERROR[] = "Thread cancel failed for thread [";

// What the thermistor gives at so many degrees, from 0 on: ten words, none with a line feed in it.
std::string thermistor_words(int degrees)
{
    const int root = degrees + 1482;
    int32_t raw = (2676588 - root * root) / 469;
    if ((raw & 0xff) == '\n')
        raw--;
    const std::array<int32_t, 10> words = {raw, raw, raw, raw, raw, raw, raw, raw, raw, raw};
    return std::string(reinterpret_cast<const char *>(words.data()), sizeof(words));
}

std::string line_of(const std::string &number, int count = 1)
{
    std::string text;
    for (int i = 0; i < count; i++)
        text += number + "\n";
    return text;
}

int32_t stored(uint64_t id)
{
    return rova_adjdata_number(rova_get_adjdata(id), 4);
}

} // namespace

class Gyroscope : public ReadoutTest
{
protected:
    Gyroscope()
    {
        camera.write("/dev/lsm", "");
        camera.write(AXES, "10 -20 30\n");
        camera.write(TEMPERATURE, "31\n");
        camera.write(ISP, "45\n");
        camera.write(THERMISTOR, thermistor_words(20));
    }

    // The CSV file's last line, without index and serial number.
    std::string row() const
    {
        const auto lines = lines_of(camera.read(CARD_CSV));
        EXPECT_GT(lines.size(), 1U);
        const std::string line = lines.empty() ? "" : lines.back();
        return line.substr(std::min(line.size(), line.find(',', line.find(',') + 1) + 1));
    }
};

TEST_F(Gyroscope, AnUnknownWordIsNotHandled)
{
    EXPECT_EQ(run("gyroscope tilt"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on gyroscope command table "));
}

TEST_F(Gyroscope, WordsAreFoundInAnyCase)
{
    EXPECT_TRUE(passes("GYROSCOPE Adjust 1 0"));
    EXPECT_TRUE(passes("gyroscope ADJUST_GYRO 0 -2"));
}

// ------------------------------------------------------------------------- adjust

class GyroAdjust : public Gyroscope
{
protected:
    static constexpr char NG_ROW[] = "0,0,0,0,-1,NG\r";

    void expect_ng(const std::string &line)
    {
        EXPECT_FALSE(passes(line)) << line;
        EXPECT_EQ(row(), NG_ROW) << line;
        EXPECT_THAT(told({"factory_osd_text_set", "pref_save"}), IsEmpty()) << line;
    }
};

TEST_F(GyroAdjust, AveragesAreCutTowards0AndPutDown)
{
    camera.write(std::string(AXES) + ".play", "10 -10 7\n11 -11 8\n");
    EXPECT_TRUE(passes("gyroscope adjust 2 0"));
    EXPECT_EQ(camera.read(CARD_CSV),
              "Index,CIS S/N,gyroX_adjust,gyroY_adjust,gyroZ_adjust,gyro_therm,dsp_therm,Result\r\n"
              "1,0,10,-10,7,31,45,OK\r\n");
    EXPECT_THAT(told({"factory_osd_text_set"}),
                ElementsAre(R"(factory_osd_text_set[2,"gyroX = 10 gyroY = -10 gyroZ = 7"])",
                            R"(factory_osd_text_set[3,"gyro temperature = 31 "])",
                            R"(factory_osd_text_set[4,"Sensor temperature = 45 "])"));
    EXPECT_TRUE(camera.logged("refGyroX = 10\t refGyroY = -10\t refGyroZ = 7"));
    EXPECT_TRUE(camera.logged("lsmTemperature = 31"));
    EXPECT_TRUE(camera.logged("temperature_sensor = 45"));
    EXPECT_FALSE(camera.logged("SYS_GYRO"));
}

TEST_F(GyroAdjust, ItemsAreSavedOneByOne)
{
    EXPECT_THAT(
        run("gyroscope adjust 3 0"),
        MatchesRegex(".*"
                     "set_adjdata: 0x8560000000000036, size=4, save=1, GYROSCOPE_DATA_X, OK \n"
                     "set_adjdata: 0x856000000000003a, size=4, save=1, GYROSCOPE_DATA_Y, OK \n"
                     "set_adjdata: 0x856000000000003e, size=4, save=1, GYROSCOPE_DATA_Z, OK \n"
                     "set_adjdata: 0x8560000000000042, size=4, save=1, GYROSCOPE_THERM, OK \n"
                     "set_adjdata: 0x8560000000000046, size=4, save=1, GYROSCOPE_THERM_DSP, OK \n"
                     ".*resp : OK \n"));
    EXPECT_EQ(stored(ADJ_ID_GYROSCOPE_DATA_X), 10);
    EXPECT_EQ(stored(ADJ_ID_GYROSCOPE_DATA_Y), -20);
    EXPECT_EQ(stored(ADJ_ID_GYROSCOPE_DATA_Z), 30);
    EXPECT_EQ(stored(ADJ_ID_GYROSCOPE_THERM), 31);
    EXPECT_EQ(stored(ADJ_ID_GYROSCOPE_THERM_DSP), 45);
    EXPECT_EQ(camera.calls("pref_save").size(), 5U);
}

TEST_F(GyroAdjust, ItemsAreSavedBeforeTheScreenTellsThem)
{
    EXPECT_TRUE(passes("gyroscope adjust 1 0"));
    std::vector<std::string> names;
    for (const std::string &call : told({"pref_save", "factory_osd_text_set"}))
        names.push_back(call.substr(0, call.find('[')));
    std::vector<std::string> expected(5, "pref_save");
    expected.insert(expected.end(), 3, "factory_osd_text_set");
    EXPECT_EQ(names, expected);
}

TEST_F(GyroAdjust, ItemsThatCannotBeSavedAreNotLookedAt)
{
    camera.fault("pref_save", "-1");
    EXPECT_TRUE(passes("gyroscope adjust 1 0"));
    EXPECT_EQ(row(), "10,-20,30,31,45,OK\r");
}

// A signed byte: from 128 on all bits above it count as set, whatever they were.
TEST_F(GyroAdjust, TheSensorsTemperatureIsASignedByteIn16Bits)
{
    const std::pair<const char *, const char *> temperatures[] = {
        {"0", "0"},      {"127", "127"},  {"128", "-128"}, {"249", "-7"},  {"255", "-1"},
        {"65529", "-7"}, {"300", "-212"}, {"-7", "-7"},    {"65541", "5"}, {"131071", "-1"},
    };
    for (const auto &[word, degrees] : temperatures) {
        camera.write(TEMPERATURE, word);
        EXPECT_TRUE(passes("gyroscope adjust 1 0"));
        EXPECT_EQ(row(), std::string("10,-20,30,") + degrees + ",45,OK\r") << word;
        EXPECT_EQ(std::to_string(stored(ADJ_ID_GYROSCOPE_THERM)), degrees);
    }
}

// Twice 2^31 - 1 is -2, twice -2^31 is 0.
TEST_F(GyroAdjust, SumsWrap)
{
    camera.write(AXES, "2147483647 -2147483648 4\n");
    EXPECT_TRUE(passes("gyroscope adjust 2 0"));
    EXPECT_EQ(row(), "-1,0,4,31,45,OK\r");
}

TEST_F(GyroAdjust, ACameraWithoutTheSensorPasses)
{
    camera.remove("/dev/lsm");
    camera.remove(ISP); // not looked at
    EXPECT_TRUE(passes("gyroscope adjust 2 0"));
    EXPECT_EQ(row(), "0,0,0,0,-1,OK\r");
    EXPECT_TRUE(passes("gyroscope adjust 0 0"));
    EXPECT_THAT(told({"factory_osd_text_set", "pref_save"}), IsEmpty());
}

TEST_F(GyroAdjust, MissingWordsAreRefused)
{
    expect_ng("gyroscope adjust 5");
    expect_ng("gyroscope adjust");
}

TEST_F(GyroAdjust, NoAverageOfNoSamples)
{
    for (const char *count : {"0", "x", "-3"})
        expect_ng(std::string("gyroscope adjust ") + count + " 0");
    EXPECT_TRUE(camera.logged("No average of 0 samples"));
    EXPECT_TRUE(camera.logged("No average of -3 samples"));
}

TEST_F(GyroAdjust, ASampleThatCannotBeReadIsTold)
{
    for (const char *fault : {"-1", "1", "-1 at 3"}) {
        camera.fault("sys_ioctl", fault);
        expect_ng("gyroscope adjust 3 0");
    }
    EXPECT_EQ(times_logged(READ_ERROR), 3U);
    EXPECT_FALSE(camera.logged("SYS_GYRO"));
}

TEST_F(GyroAdjust, ASensorTemperatureThatCannotBeReadIsTold)
{
    camera.fault("sys_ioctl", "-1 at 4");
    expect_ng("gyroscope adjust 3 0");
    EXPECT_TRUE(camera.logged("Gyro-Temp read error!"));
    EXPECT_FALSE(camera.logged(READ_ERROR));
}

TEST_F(GyroAdjust, AProcessorTemperatureThatCannotBeReadIsTold)
{
    camera.remove(ISP);
    expect_ng("gyroscope adjust 3 0");
    EXPECT_TRUE(camera.logged("Image processor's temperature read error!"));
}

TEST_F(GyroAdjust, WaitsBehindEachSample)
{
    wrap_record_sleeps(true);
    EXPECT_TRUE(passes("gyroscope adjust 3 20"));
    EXPECT_THAT(wrap_sleeps(), ElementsAre(20000, 20000, 20000));
}

TEST_F(GyroAdjust, IntervalsEndWhereSleepsDo)
{
    wrap_record_sleeps(true);
    for (const char *interval : {"-1", "-2147483648", "4294967", "4294968", "99999999999"})
        EXPECT_TRUE(passes(std::string("gyroscope adjust 1 ") + interval)) << interval;
    EXPECT_THAT(wrap_sleeps(), ElementsAre(0, 0, 4294967000, 4294967000, 4294967000));
}

TEST_F(GyroAdjust, ThePcIsTheFileTold)
{
    EXPECT_THAT(run("gyroscope adjust 1 0", ROVA_CMD_PTP),
                testing::EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), CARD_CSV);
}

TEST_F(GyroAdjust, WithoutAFileTheAnswerIsTheSame)
{
    camera.fault("sys_open", "-1 on gyroscope.csv");
    EXPECT_TRUE(passes("gyroscope adjust 1 0"));
    EXPECT_FALSE(passes("gyroscope adjust 0 0"));
    EXPECT_FALSE(camera.exists(CARD_CSV));
    EXPECT_EQ(stored(ADJ_ID_GYROSCOPE_DATA_X), 10);
}

TEST_F(GyroAdjust, LeavesNoDescriptor)
{
    const std::size_t before = open_descriptors();
    passes("gyroscope adjust 1 0");
    passes("gyroscope adjust_gyro 0 -2");
    for (int call = 1; call <= 2; call++) {
        camera.fault("sys_ioctl", "-1 at " + std::to_string(call));
        EXPECT_FALSE(passes("gyroscope adjust 1 0"));
    }
    camera.fault("sys_ioctl", "-1");
    EXPECT_FALSE(passes("gyroscope adjust_gyro 0 5"));
    EXPECT_EQ(open_descriptors(), before);
}

// ------------------------------------------------------------------------- osd

class GyroOsd : public Gyroscope
{
protected:
    static constexpr char ON[] = "gyroscope osd on";
    static constexpr char OFF[] = "gyroscope osd off";
};

TEST_F(GyroOsd, ShowsRatesUntilItIsSwitchedOff)
{
    camera.write(AXES, "10000 -57 -58\n"); // -57 * 175 is -9975, no whole unit
    EXPECT_EQ(run(ON), OK);
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 3; }));
    EXPECT_EQ(run(OFF), OK);
    EXPECT_THAT(told({"factory_osd_text_set", "factory_osd_text_clear"}),
                ElementsAre(R"(factory_osd_text_set[6,"GyroX = 175"])",
                            R"(factory_osd_text_set[7,"GyroY = 0"])",
                            R"(factory_osd_text_set[8,"GyroZ = -1"])", "factory_osd_text_clear[]"));
    expect_nothing_left();
}

TEST_F(GyroOsd, ReadsAgainEveryHalfSecond)
{
    wrap_record_sleeps(true);
    camera.write(std::string(AXES) + ".play", "10000 0 0\n20000 0 0\n2147483647 0 -2147483648\n");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 9; }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_THAT(shown(), IsSupersetOf({R"(factory_osd_text_set[6,"GyroX = 175"])",
                                       R"(factory_osd_text_set[6,"GyroX = 350"])",
                                       R"(factory_osd_text_set[6,"GyroX = 37580963"])",
                                       R"(factory_osd_text_set[8,"GyroZ = -37580963"])"}));
    EXPECT_THAT(wrap_sleeps(), Contains(500000));
    EXPECT_THAT(wrap_sleeps(), Each(500000));
}

TEST_F(GyroOsd, OffWithoutAThreadFails)
{
    EXPECT_EQ(run(OFF), NG);
    EXPECT_TRUE(camera.logged(std::string(CANCEL_ERROR) + "0] "));
    EXPECT_THAT(told({"factory_osd_text_clear"}), IsEmpty());
}

TEST_F(GyroOsd, OffTwiceFailsTheSecondTime)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
    EXPECT_EQ(times_logged(CANCEL_ERROR), 1U);
    expect_nothing_left();
}

// The first of the two goes on, out of reach, until it cannot read.
TEST_F(GyroOsd, OnTwiceLeavesOneThread)
{
    camera.speed(1000);
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return more_descriptors() >= 2; }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
    EXPECT_EQ(more_threads(), 1U);
    const std::size_t before = shown().size();
    EXPECT_TRUE(wait_for([&] { return shown().size() > before; }));
    camera.fault("sys_ioctl", "-1");
    expect_nothing_left();
    EXPECT_EQ(times_logged(READ_ERROR), 1U);
}

TEST_F(GyroOsd, EndsByItselfWithoutTheDevice)
{
    camera.remove("/dev/lsm");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return camera.logged("no /dev/lsm"); }));
    expect_nothing_left();
    EXPECT_TRUE(passes(OFF));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(GyroOsd, EndsByItselfAtAReadError)
{
    camera.speed(1000);
    camera.fault("sys_ioctl", "1 at 3");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return camera.logged(READ_ERROR); }));
    expect_nothing_left();
    EXPECT_THAT(shown(), SizeIs(6));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
}

TEST_F(GyroOsd, OnAfterAThreadThatHasEndedStartsAnother)
{
    camera.fault("sys_ioctl", "-1 at 1");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return more_threads() == 0; }));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_TRUE(passes(OFF));
    expect_nothing_left();
}

TEST_F(GyroOsd, AThreadThatCannotBeMadeIsTold)
{
    wrap_fail("pthread_create", EAGAIN);
    EXPECT_EQ(run(ON), NG);
    EXPECT_TRUE(camera.logged("rova_sensor_read_thread_create() failed "));
    EXPECT_FALSE(passes(OFF));
}

TEST_F(GyroOsd, OtherWordsAreRefused)
{
    EXPECT_EQ(run("gyroscope osd ON"), NG);
    EXPECT_TRUE(camera.logged("Wrong cmd_data->p[1] = ON"));
    EXPECT_EQ(run("gyroscope osd"), NG);
    EXPECT_EQ(times_logged("Wrong cmd_data->p[1] = "), 2U);
    EXPECT_EQ(more_threads(), 0U);
}

// A word behind the last parameter that counts is left over from an earlier record.
TEST_F(GyroOsd, AWordThatDoesNotCountIsNone)
{
    cmd_data record = record_of(ON);
    record.p_count = 1;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
}

TEST_F(GyroOsd, CanBeCancelledAtAnyInstant)
{
    switch_at_any_instant(ON, OFF, 300);
    EXPECT_FALSE(camera.logged(READ_ERROR));
}

// ------------------------------------------------------------------------- adjust_gyro

class GyroSweepCommand : public Gyroscope
{
protected:
    static constexpr char HEADER[] = "Index,CIS S/N,a_x, a_y, a_z, b_x, b_y, b_z, r_x, r_y, r_z, "
                                     "val_temp_cnt, gyro_get_time_ms, result\r\n";
    static constexpr char ZEROS[] =
        "0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,0.0000,";

    // No time passes.
    GyroSweepCommand() { camera.fault("get_sys_timer_utick", "77"); }

    void play_degrees(const std::vector<int> &degrees)
    {
        std::string lines;
        for (int degree : degrees)
            lines += thermistor_words(degree) + "\n";
        camera.write(std::string(THERMISTOR) + ".play", lines);
    }

    // Temperatures and samples of a sweep whose line is known: 20 at the start, which is the first
    // sample's too, 200 samples each at 20 to 22 degrees, and the one above.
    void play_line()
    {
        std::vector<int> degrees = {20, 20};
        std::string samples = "900 900 900\n";
        const char *const values[] = {"10 10 -10", "12 13 -12", "14 13 -14"};
        for (int degree = 20; degree <= 22; degree++) {
            degrees.insert(degrees.end(), 200, degree);
            samples += line_of(values[degree - 20], 200);
        }
        degrees.push_back(23);
        play_degrees(degrees);
        camera.write(std::string(AXES) + ".play", samples + "0 0 0\n");
    }

    void expect_row(const std::string &line, const std::string &numbers, bool ok)
    {
        EXPECT_EQ(passes(line), ok) << line;
        EXPECT_EQ(row(), numbers + (ok ? ",OK\r" : ",NG\r")) << line;
    }

    void expect_no_line(const std::string &line, int val_temp_cnt)
    {
        EXPECT_TRUE(passes(line)) << line;
        EXPECT_THAT(row(), MatchesRegex("(-?nan,){9}" + std::to_string(val_temp_cnt) + ",0,OK\r"));
    }
};

TEST_F(GyroSweepCommand, WritesTheLinesNumbers)
{
    play_line();
    EXPECT_TRUE(passes("gyroscope adjust_gyro 0 1"));
    EXPECT_EQ(camera.read(CARD_CSV), std::string(HEADER) +
                                         "1,0,-30.0000,-19.5000,30.0000,2.0000,1.5000,-2.0000,"
                                         "1.0000,0.7500,1.0000,3,0,OK\r\n");
    EXPECT_TRUE(camera.logged("valuable temperature count: 3"));
}

TEST_F(GyroSweepCommand, NoLineIsNoFailure)
{
    play_degrees({20, 20, 21, 22});
    expect_no_line("gyroscope adjust_gyro 0 0", 0);
}

// The count of the line before stays where a sweep has none; but not in the row of missing words.
TEST_F(GyroSweepCommand, TheCountOfTheLatestLineStays)
{
    play_line();
    EXPECT_TRUE(passes("gyroscope adjust_gyro 0 1"));
    camera.write(THERMISTOR, thermistor_words(20));
    play_degrees({20, 20, 21, 61});
    expect_row("gyroscope adjust_gyro 0 1", std::string(ZEROS) + "3,0", true);
    EXPECT_TRUE(camera.logged("Gyro temperature range ERROR!!"));
    expect_row("gyroscope adjust_gyro 0", std::string(ZEROS) + "0,0", false);
    expect_row("gyroscope adjust_gyro", std::string(ZEROS) + "0,0", false);
    camera.fault("sys_ioctl", "-1");
    expect_row("gyroscope adjust_gyro 0 1", std::string(ZEROS) + "3,0", false);
    camera.remove("/dev/lsm");
    camera.remove(THERMISTOR); // not looked at
    expect_row("gyroscope adjust_gyro 0 1", std::string(ZEROS) + "3,0", true);
    camera.write("/dev/lsm", "");
    camera.write(THERMISTOR, thermistor_words(20));
    expect_no_line("gyroscope adjust_gyro 0 -2", 0);
}

// The filter of a sweep whose only sample is 0 is above the limit only by what was there before.
TEST_F(GyroSweepCommand, TheFilterGoesOnFromSweepToSweep)
{
    camera.write(AXES, "40000 0 0\n");
    play_degrees({20, 22});
    EXPECT_TRUE(passes("gyroscope adjust_gyro 0 0"));
    camera.write(AXES, "0 0 0\n");
    play_degrees({20, 22});
    EXPECT_TRUE(passes("gyroscope adjust_gyro 0 0"));
    EXPECT_EQ(times_logged("gyro_filter_error_cnt: 1"), 2U);
}

TEST_F(GyroSweepCommand, EndsWithTheFirstSampleAboveTheTarget)
{
    wrap_record_sleeps(true);
    play_degrees({20, 20, 23, 21, 24, 30});
    EXPECT_TRUE(passes("gyroscope adjust_gyro 50 2")); // 23 is not above 20 + 2 + 1
    EXPECT_THAT(wrap_sleeps(), ElementsAre(50000, 50000, 50000, 50000));
    EXPECT_EQ(camera.read(std::string(THERMISTOR) + ".play"), thermistor_words(30) + "\n");
}

TEST_F(GyroSweepCommand, WithAFallBelowTheStartTakesNoSample)
{
    camera.fault("sys_ioctl", "-1");
    expect_no_line("gyroscope adjust_gyro 0 -2", 0);
    EXPECT_FALSE(passes("gyroscope adjust_gyro 0 -1"));
}

TEST_F(GyroSweepCommand, NumbersBeyondAllTemperaturesAreTaken)
{
    expect_no_line("gyroscope adjust_gyro 0 -2147483648", 0);
    camera.fault("sys_ioctl", "-1 at 2");
    expect_row("gyroscope adjust_gyro -5 2147483647", std::string(ZEROS) + "0,0", false);
    EXPECT_TRUE(camera.logged(READ_ERROR));
}

TEST_F(GyroSweepCommand, AnUnreadableStartTemperatureIsTold)
{
    camera.remove(THERMISTOR);
    camera.fault("sys_ioctl", "-1");
    EXPECT_FALSE(passes("gyroscope adjust_gyro 0 1"));
    EXPECT_TRUE(camera.logged("Image sensor's temperature read error!"));
    EXPECT_FALSE(camera.logged(READ_ERROR));
}

TEST_F(GyroSweepCommand, AnUnreadableTemperatureOfASampleIsTold)
{
    camera.fault("sys_open", "-1 at 4 on cmos_thermister");
    EXPECT_FALSE(passes("gyroscope adjust_gyro 0 1"));
    EXPECT_THAT(row(), testing::EndsWith(",NG\r"));
    EXPECT_TRUE(camera.logged("Image sensor's temperature read error!"));
    EXPECT_FALSE(camera.logged("gyro_filter_error_cnt"));
}

TEST_F(GyroSweepCommand, AnUnreadableSampleIsToldUnderTheGyroscopesTag)
{
    camera.fault("sys_ioctl", "1 at 3");
    EXPECT_FALSE(passes("gyroscope adjust_gyro 0 1"));
    EXPECT_TRUE(camera.logged("SYS_GYRO rova_gyro_sweep.cpp: __rova_gyroscope_read_axis_onetime("));
    EXPECT_EQ(times_logged(READ_ERROR), 1U);
}

// A camera that does not warm: the room for samples ends the sweep.
TEST_F(GyroSweepCommand, EndsWithTheRoomForSamples)
{
    EXPECT_TRUE(passes("gyroscope adjust_gyro 0 5"));
    EXPECT_TRUE(camera.logged("6000 samples taken, no room for more"));
    EXPECT_TRUE(camera.logged("valuable temperature count: 1"));
    EXPECT_THAT(row(), MatchesRegex(".*,1,0,OK\r"));
}

// 1001 microseconds are 1 millisecond; of the count 32 bits are kept.
TEST_F(GyroSweepCommand, ItsTimeIsInMilliseconds)
{
    camera.clear_fault("get_sys_timer_utick");
    const std::pair<const char *, const char *> times[] = {
        {"1999\n3000\n", "1"},
        {"0\n4294967297999\n", "1"},
    };
    for (const auto &[ticks, milliseconds] : times) {
        camera.write("/virtual/timer.play", ticks);
        play_degrees({20, 22});
        EXPECT_TRUE(passes("gyroscope adjust_gyro 0 0"));
        EXPECT_THAT(row(), testing::EndsWith(std::string(",0,") + milliseconds + ",OK\r"));
    }
}

TEST_F(GyroSweepCommand, ThePcIsTheFileTold)
{
    EXPECT_THAT(run("gyroscope adjust_gyro 0 -2", ROVA_CMD_PTP),
                testing::EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_THAT(run("gyroscope adjust_gyro 0", ROVA_CMD_PTP),
                testing::EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
}
