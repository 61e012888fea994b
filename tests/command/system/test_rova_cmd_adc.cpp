#include "command/rova_cmd_handler.h"
#include "command/system/rova_adc_info.h"
#include "tests/command/system/readout_test.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <nlohmann/json.hpp>

using namespace test;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

// ------------------------------------------------------------------------- cancellation

// This program's own wrappers (tests/command/CMakeLists.txt tells the linker).
static std::atomic<bool> refuses_cancellation = false;

// Whether a thread was ever to be cancelled at once, between any two instructions.
static std::atomic<bool> was_exposed = false;
static thread_local bool is_enabled = true;
static thread_local bool is_asynchronous = false;

static int noted(int error, bool *property, bool value)
{
    if (error == 0)
        *property = value;
    if (is_enabled && is_asynchronous)
        was_exposed = true;
    return error;
}

extern "C" int __real_pthread_setcancelstate(int state, int *before);
extern "C" int __wrap_pthread_setcancelstate(int state, int *before);
extern "C" int __wrap_pthread_setcancelstate(int state, int *before)
{
    // What disables it is let through: everybody relies on that.
    if (refuses_cancellation && state == PTHREAD_CANCEL_ENABLE)
        return EINVAL;
    return noted(__real_pthread_setcancelstate(state, before), &is_enabled,
                 state == PTHREAD_CANCEL_ENABLE);
}

extern "C" int __real_pthread_setcanceltype(int type, int *before);
extern "C" int __wrap_pthread_setcanceltype(int type, int *before);
extern "C" int __wrap_pthread_setcanceltype(int type, int *before)
{
    if (refuses_cancellation && type == PTHREAD_CANCEL_ASYNCHRONOUS)
        return EINVAL;
    return noted(__real_pthread_setcanceltype(type, before), &is_asynchronous,
                 type == PTHREAD_CANCEL_ASYNCHRONOUS);
}

// ------------------------------------------------------------------------- tables

TEST(AdcInfo, WindowsAreAscendingAndNamed)
{
    constexpr rova_adc_info_table good = {{"A", 0, 0}, {"N/A", 0, 0}, {"B", 1, 5},
                                          {"C", 6, 9}, {"N/A", 3, 3}, {"N/A", 0, 0}};
    EXPECT_TRUE(rova_adc_info_is_sound(good));
    constexpr rova_adc_info_table overlapping = {{"A", 0, 3},   {"B", 3, 5},   {"N/A", 0, 0},
                                                 {"N/A", 0, 0}, {"N/A", 0, 0}, {"N/A", 0, 0}};
    EXPECT_FALSE(rova_adc_info_is_sound(overlapping));
    constexpr rova_adc_info_table reversed = {{"A", 5, 3},   {"B", 6, 7},   {"N/A", 0, 0},
                                              {"N/A", 0, 0}, {"N/A", 0, 0}, {"N/A", 0, 0}};
    EXPECT_FALSE(rova_adc_info_is_sound(reversed));
    constexpr rova_adc_info_table short_of_one = {
        {"A", 0, 3}, {"B", 6, 7}, {"C", 8, 9}, {"N/A", 0, 0}, {"N/A", 0, 0}};
    EXPECT_FALSE(rova_adc_info_is_sound(short_of_one));
}

// ------------------------------------------------------------------------- the family

class Adc : public ReadoutTest
{
protected:
    static constexpr char UPDATE[] = "/sys/devices/platform/movra7-adc/update_sysfs";
    static constexpr char UPDATE_ERROR[] = "failed to write ROVA_SYSFS_UPDATE_SYSFS_PATH sysfs";

    Adc()
    {
        camera.write(UPDATE, "0");
        for (int i = 0; i < ROVA_ADC_CHANNELS; i++)
            camera.write(channel(i), std::to_string(10 * i) + "\n");
    }

    static std::string channel(int number) { return rova_adc_paths[number]; }
};

TEST_F(Adc, AnUnknownWordIsNotHandled)
{
    EXPECT_EQ(run("adc tune"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on adc command table "));
}

// ------------------------------------------------------------------------- display

class AdcDisplay : public Adc
{
protected:
    static constexpr char ON[] = "adc display on";
    static constexpr char OFF[] = "adc display off";
    static constexpr char CANCEL_ERROR[] = "Thread cancel failed for thread [";
};

TEST_F(AdcDisplay, ShowsAllChannelsUntilItIsSwitchedOff)
{
    EXPECT_EQ(run("ADC Display on"), OK);
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_EQ(camera.read(UPDATE), "1");
    EXPECT_EQ(thread_name(), "ROVA_ADC_READ");
    EXPECT_EQ(run(OFF), OK);
    EXPECT_EQ(camera.read(UPDATE), "0");
    EXPECT_THAT(told({"factory_osd_text_set", "factory_osd_text_clear"}),
                ElementsAre(R"(factory_osd_text_set[1,"ADC0 : 0\nADC1 : 10\nADC2 : 20\nADC3 : 30\n)"
                            R"(ADC4 : 40\nADC5 : 50\nADC6 : 60\nADC7 : 70\nADC8 : 80\nADC9 : 90"])",
                            "factory_osd_text_clear[]"));
    expect_nothing_left();
}

TEST_F(AdcDisplay, ReadsAgainFourTimesASecondOnceTheFilesAreFresh)
{
    wrap_record_sleeps(true);
    camera.write(channel(4) + ".play", "1\n2\n3\n");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 4; }));
    EXPECT_TRUE(passes(OFF));
    for (const char *level : {"1", "2", "3"})
        EXPECT_THAT(shown(), Contains(testing::HasSubstr("ADC4 : " + std::string(level) + "\\n")));
    const auto sleeps = wrap_sleeps();
    EXPECT_EQ(sleeps.front(), 12000U);
    EXPECT_THAT(std::vector(sleeps.begin() + 1, sleeps.end()), Each(250000));
}

TEST_F(AdcDisplay, RefreshesWhileItReads)
{
    camera.remove(channel(0));
    std::filesystem::create_symlink("update_sysfs", camera.path(channel(0)));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_THAT(shown(), Each(testing::HasSubstr("ADC0 : 1\\n")));
}

TEST_F(AdcDisplay, AChannelWithoutAFileShowsMinusOne)
{
    camera.remove(channel(9));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_THAT(shown().front(), EndsWith("ADC9 : -1\"]"));
}

TEST_F(AdcDisplay, OffWithoutAThreadClearsAndFails)
{
    camera.write(UPDATE, "1");
    EXPECT_EQ(run(OFF), NG);
    EXPECT_TRUE(camera.logged(std::string(CANCEL_ERROR) + "0] "));
    EXPECT_THAT(told({"factory_osd_text_clear"}), SizeIs(1));
    EXPECT_EQ(camera.read(UPDATE), "0");
}

TEST_F(AdcDisplay, OffTwiceFailsTheSecondTime)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
    EXPECT_EQ(times_logged(CANCEL_ERROR), 1U);
    expect_nothing_left();
}

TEST_F(AdcDisplay, OnTwiceLeavesOneThread)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(OFF));
    EXPECT_EQ(camera.read(UPDATE), "0");
    EXPECT_FALSE(camera.logged(CANCEL_ERROR));
    expect_nothing_left();
}

TEST_F(AdcDisplay, AThreadThatCannotBeCancelledIsForgotten)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); })); // behind its own 1
    const pthread_t thread = wrap_last_thread();
    wrap_fail("pthread_cancel", ESRCH);
    EXPECT_EQ(run(OFF), NG);
    EXPECT_TRUE(
        camera.logged(CANCEL_ERROR + std::to_string(static_cast<unsigned int>(thread)) + "] "));
    EXPECT_EQ(camera.read(UPDATE), "0");
    EXPECT_EQ(run(OFF), NG);
    EXPECT_TRUE(camera.logged(std::string(CANCEL_ERROR) + "0] "));
    pthread_cancel(thread);
    pthread_join(thread, nullptr);
    expect_nothing_left();
}

TEST_F(AdcDisplay, AThreadThatCannotBeMadeIsTold)
{
    wrap_fail("pthread_create", EAGAIN);
    EXPECT_EQ(run(ON), NG);
    EXPECT_TRUE(camera.logged("rova_adc_read_thread_create() failed "));
    EXPECT_FALSE(passes(OFF));
}

TEST_F(AdcDisplay, ADriverThatDoesNotRefreshIsToldAndReadAllTheSame)
{
    camera.remove(UPDATE);
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_EQ(times_logged(UPDATE_ERROR), 2U);
}

TEST_F(AdcDisplay, CancellationThatIsRefusedIsToldAndTheThreadGoesOn)
{
    camera.speed(1000);
    refuses_cancellation = true;
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 2; }));
    refuses_cancellation = false;
    EXPECT_TRUE(passes(OFF));
    EXPECT_EQ(times_logged("failed to set cancel state"), 1U);
    EXPECT_EQ(times_logged("failed to set cancel type"), 1U);
    expect_nothing_left();
}

// A function that cleans up must not be cut between two of its calls.
TEST_F(AdcDisplay, IsCancelledInsideACallOnly)
{
    was_exposed = false;
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return !shown().empty(); }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(was_exposed);
}

TEST_F(AdcDisplay, OtherWordsAreRefused)
{
    EXPECT_EQ(run("adc display ON"), NG);
    EXPECT_TRUE(camera.logged("Wrong cmd_data->p[1] = ON"));
    EXPECT_EQ(run("adc display"), NG);
    EXPECT_EQ(times_logged("Wrong cmd_data->p[1] = "), 1U);
    expect_nothing_left();
}

TEST_F(AdcDisplay, CanBeCancelledAtAnyInstant)
{
    switch_at_any_instant(ON, OFF, 1500);
    EXPECT_EQ(camera.read(UPDATE), "0");
}

// ------------------------------------------------------------------------- log_file

class AdcLogFile : public Adc
{
protected:
    static constexpr char CARD_CSV[] = "/sdcard/adc.csv";
};

TEST_F(AdcLogFile, WritesTheWindowsOfAllChannels)
{
    wrap_record_sleeps(true);
    EXPECT_TRUE(passes("adc log_file"));
    const std::string free = "N/A,0,0,N/A,0,0,N/A,0,0,N/A,0,0,N/A,0,0,N/A,0,0,OK\r\n";
    EXPECT_EQ(camera.read(CARD_CSV),
              "Index,CIS S/N,ch0, Min, Max, ch1,Min, Max, ch2,Min, Max, ch3,Min, Max, ch4,Min, "
              "Max, ch5, Min, Max, ch6, Min, Max,ch7,Min, Max,ch8,Min, Max,ch9, Min, Max, "
              "RESULT\r\n"
              "1,0,M,0,10,AUTO,0,10,UP,0,15,MENU,0,13," +
                  free + "2,0,C1,44,64,P,44,64,RIGHT,28,58,EV,17,43," + free +
                  "3,0,I,92,112,A,92,112,DOWN,66,96,REC,48,74," + free +
                  "4,0,SMART,142,162,S,142,162,LEFT,101,131,FN,78,104," + free +
                  "5,0,N/A,180,180,N/A,180,180,OK,135,165,DEL,107,133," + free +
                  "6,0,N/A,180,180,N/A,180,180,N/A,0,0,PLAY,138,164," + free);
    EXPECT_THAT(wrap_sleeps(), ElementsAre(12000));
    EXPECT_EQ(camera.read(UPDATE), "0");
}

// The levels do not stand in the file, but a driver may wait for their being read.
TEST_F(AdcLogFile, ReadsEachChannelOnce)
{
    for (int i = 0; i < ROVA_ADC_CHANNELS; i++)
        camera.write(channel(i) + ".play", "1\n2\n");
    EXPECT_TRUE(passes("adc log_file"));
    for (int i = 0; i < ROVA_ADC_CHANNELS; i++)
        EXPECT_EQ(camera.read(channel(i)), "1\n") << i;
}

TEST_F(AdcLogFile, ADriverThatDoesNotStopIsTold)
{
    camera.fault("sys_open", "-1 at 2 on update_sysfs");
    EXPECT_TRUE(passes("adc log_file"));
    EXPECT_EQ(camera.read(UPDATE), "1");
    EXPECT_EQ(times_logged(UPDATE_ERROR), 1U);
}

TEST_F(AdcLogFile, WithoutTheDriverTheAnswerIsTheSame)
{
    camera.remove(UPDATE);
    for (int i = 0; i < ROVA_ADC_CHANNELS; i++)
        camera.remove(channel(i));
    EXPECT_TRUE(passes("adc log_file"));
    EXPECT_EQ(times_logged(UPDATE_ERROR), 2U);
}

TEST_F(AdcLogFile, ThePcIsTheFileTold)
{
    EXPECT_THAT(run("adc log_file", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), CARD_CSV);
}

TEST_F(AdcLogFile, AFileThatCannotBeMadeIsTold)
{
    camera.fault("sys_open", "-1 on adc.csv");
    camera.write(UPDATE, "1");
    EXPECT_THAT(run("adc log_file", ROVA_CMD_PTP), EndsWith(PTP_NG));
    EXPECT_TRUE(camera.logged("csv create fail"));
    EXPECT_EQ(camera.read(UPDATE), "0");
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
}

// A header of two writes, and three of each row: the tenth is the third row's text.
TEST_F(AdcLogFile, ARowThatCannotBeWrittenEndsIt)
{
    camera.fault("sys_write", "-1 at 10 on adc.csv");
    run("adc display", ROVA_CMD_PTP); // opens the key store
    const std::size_t before = open_descriptors();
    EXPECT_THAT(run("adc log_file", ROVA_CMD_PTP),
                EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
    EXPECT_TRUE(camera.logged("csv write fail"));
    EXPECT_THAT(lines_of(camera.read(CARD_CSV)), SizeIs(4));
    EXPECT_THAT(camera.read(CARD_CSV), EndsWith("\r\n3,0,"));
    EXPECT_EQ(camera.read(UPDATE), "0");
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(AdcLogFile, AWordThatDoesNotCountIsRefused)
{
    cmd_data record = record_of("adc log_file");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

// ------------------------------------------------------------------------- check

class AdcCheck : public Adc
{
protected:
    static constexpr char CARD_CSV[] = "/sdcard/adc_channel.csv";
    static constexpr char HEADER[] =
        "Index,CIS S/N,Channel, spec(min), spec(max), check_adc, Result\r\n";

    void expect_row(const std::string &line, bool ok, const std::string &row)
    {
        EXPECT_EQ(passes(line), ok) << line;
        EXPECT_EQ(camera.read(CARD_CSV), HEADER + row + "\r\n") << line;
        camera.remove(CARD_CSV);
        EXPECT_EQ(camera.read(UPDATE), "0");
    }
};

TEST_F(AdcCheck, TheLimitsPass)
{
    for (const char *level : {"15", "0", "7"}) {
        camera.write(channel(2), level);
        expect_row("adc check 2 0 15", true, "1,0,2,0,15," + std::string(level) + ",OK");
    }
    camera.write(channel(2), "16");
    expect_row("adc check 2 0 15", false, "1,0,2,0,15,16,NG");
    camera.write(channel(2), "9");
    expect_row("adc check 2 10 15", false, "1,0,2,10,15,9,NG");
    expect_row("adc check 2 9 9", true, "1,0,2,9,9,9,OK");
    expect_row("adc check 2 15 0", false, "1,0,2,15,0,9,NG");
}

TEST_F(AdcCheck, ShowsAndLogs)
{
    wrap_record_sleeps(true);
    expect_row("adc check 2 20 30", true, "1,0,2,20,30,20,OK");
    expect_row("adc check 9 0 10", false, "1,0,9,0,10,90,NG");
    EXPECT_THAT(shown(),
                ElementsAre(R"~(factory_osd_text_set[1,"adc check : OK\nch2 : 20 (20 - 30)"])~",
                            R"~(factory_osd_text_set[1,"adc check : NG\nch9 : 90 (0 - 10)"])~"));
    EXPECT_TRUE(camera.logged("ch2 : 20 (20 - 30)"));
    EXPECT_TRUE(camera.logged("ch9 : 90 (0 - 10)"));
    EXPECT_THAT(wrap_sleeps(), IsEmpty());
}

TEST_F(AdcCheck, RefreshesWhileItReads)
{
    camera.remove(channel(2));
    std::filesystem::create_symlink("update_sysfs", camera.path(channel(2)));
    expect_row("adc check 2 1 1", true, "1,0,2,1,1,1,OK");
}

TEST_F(AdcCheck, ADriverThatDoesNotStopIsTold)
{
    camera.fault("sys_open", "-1 at 2 on update_sysfs");
    EXPECT_TRUE(passes("adc check 2 20 20"));
    EXPECT_EQ(camera.read(UPDATE), "1");
    EXPECT_EQ(times_logged(UPDATE_ERROR), 1U);
}

TEST_F(AdcCheck, NumbersEndWithTheFirstCharacterThatIsNoDigit)
{
    expect_row("adc check x -5abc 3.9", true, "1,0,0,-5,3,0,OK");
    expect_row("adc check 1 10", false, "1,0,1,10,0,10,NG");
}

TEST_F(AdcCheck, AChannelThatIsNotThereFails)
{
    expect_row("adc check 10 -5 99", false, "1,0,10,-5,99,-1,NG");
    expect_row("adc check -1 -5 99", false, "1,0,-1,-5,99,-1,NG");
    expect_row("adc check 99999999999 -5 99", false, "1,0,2147483647,-5,99,-1,NG");
    EXPECT_TRUE(camera.logged("There is no channel 10, but 0 to 9"));
    EXPECT_THAT(shown(), SizeIs(3));
}

TEST_F(AdcCheck, AChannelThatCannotBeReadFails)
{
    camera.remove(channel(3));
    expect_row("adc check 3 -5 99", false, "1,0,3,-5,99,-1,NG");
    EXPECT_TRUE(camera.logged("failed to read \"" + channel(3)));
}

TEST_F(AdcCheck, MissingWordsAreRefusedWithoutAMessage)
{
    EXPECT_EQ(run("adc check 2"), NG);
    EXPECT_EQ(run("adc check"), NG);
    EXPECT_FALSE(camera.exists(CARD_CSV));
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(AdcCheck, ThePcIsTheFileTold)
{
    EXPECT_THAT(run("adc check 2 0 15", ROVA_CMD_PTP2),
                EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), CARD_CSV);
}

TEST_F(AdcCheck, AFileThatCannotBeMadeEndsIt)
{
    camera.fault("sys_open", "-1 on adc_channel.csv");
    camera.write(UPDATE, "1");
    EXPECT_THAT(run("adc check 2 20 20", ROVA_CMD_PTP), EndsWith(PTP_NG));
    EXPECT_TRUE(camera.logged("csv create fail"));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(camera.read(UPDATE), "0");
}

TEST_F(AdcCheck, ARowThatCannotBeWrittenFailsUnseen)
{
    camera.fault("sys_write", "-1 at 4 on adc_channel.csv");
    run("adc check", ROVA_CMD_PTP); // opens the key store
    const std::size_t before = open_descriptors();
    EXPECT_THAT(run("adc check 2 20 20", ROVA_CMD_PTP),
                EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
    EXPECT_TRUE(camera.logged("csv write fail"));
    EXPECT_FALSE(camera.logged("ch2 : "));
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(camera.read(UPDATE), "0");
    EXPECT_EQ(open_descriptors(), before);
}
