#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "platform/pref.h"
#include "tests/command/system/readout_test.h"
#include "tests/command/system/sensor_stand_in.h"
#include "tests/support/text.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <climits>
#include <nlohmann/json.hpp>
#include <sys/msg.h>

using namespace test;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::IsSupersetOf;

namespace
{

constexpr char DRIVER[] = "/sys/devices/platform/bma_2XX/accel_raw_data";
constexpr char AXIS_CSV[] = "/sdcard/accelometer_axis.csv";
constexpr char CHECK_CSV[] = "/sdcard/accelometer.csv";
constexpr char OPEN_ERROR[] = "Failed to open a Accel. file";
constexpr char READ_ERROR[] = "Fail to get data from BMA device!";

} // namespace

class Accelometer : public ReadoutTest
{
protected:
    Accelometer() { camera.write(DRIVER, "10, -20, 1024\n"); }

    // A file's last line, without index and serial number.
    std::string row(const char *file) const
    {
        const auto lines = lines_of(camera.read(file));
        EXPECT_GT(lines.size(), 1U);
        const std::string line = lines.empty() ? "" : lines.back();
        return line.substr(std::min(line.size(), line.find(',', line.find(',') + 1) + 1));
    }
};

TEST_F(Accelometer, AnUnknownWordIsNotHandled)
{
    EXPECT_EQ(run("accelometer tilt"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on accelometer command table "));
    EXPECT_EQ(run("accelerometer osd on"), NO_ANSWER);
}

TEST_F(Accelometer, WordsAreFoundInAnyCase)
{
    EXPECT_TRUE(passes("ACCELOMETER Check_Axis 10 10 -20 -20 0 2000"));
}

// ------------------------------------------------------------------------- check_axis

using AccelCheckAxis = Accelometer;

TEST_F(AccelCheckAxis, ValuesInTheirRangesAreShownAndPass)
{
    EXPECT_THAT(run("accelometer check_axis 0 100 -30 0 1000 1100"), EndsWith(OK));
    EXPECT_EQ(camera.read(AXIS_CSV), "Index,CIS S/N,AccelX,AccelY,AccelZ,Result\r\n"
                                     "1,0,10,-20,1024,OK\r\n");
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"AccelX = 10"])",
                                     R"(factory_osd_text_set[3,"AccelY = -20"])",
                                     R"(factory_osd_text_set[4,"AccelZ = 1024"])",
                                     R"(factory_osd_text_set[5,"ACCELOMETER PBA OK!"])"));
    EXPECT_TRUE(camera.logged("ACCELOMETER PBA OK"));
}

TEST_F(AccelCheckAxis, ValuesEqualToABoundAreWithin)
{
    EXPECT_TRUE(passes("accelometer check_axis 10 10 -20 -20 1024 1024"));
}

TEST_F(AccelCheckAxis, OneValueOutOfOneBoundIsNg)
{
    for (const char *bounds :
         {"11 20 -20 -20 1024 1024", "0 9 -20 -20 1024 1024", "10 10 -19 0 1024 1024",
          "10 10 -30 -21 1024 1024", "10 10 -20 -20 1025 2000", "10 10 -20 -20 0 1023"}) {
        EXPECT_FALSE(passes(std::string("accelometer check_axis ") + bounds)) << bounds;
        EXPECT_EQ(row(AXIS_CSV), "10,-20,1024,NG\r");
        EXPECT_EQ(shown().back(), R"(factory_osd_text_set[5,"ACCELOMETER PBA NG!"])");
    }
    EXPECT_EQ(times_logged("ACCELOMETER PBA NG"), 6U);
    EXPECT_FALSE(camera.logged("PBA OK"));
}

TEST_F(AccelCheckAxis, SixWordsAreTooFew)
{
    EXPECT_FALSE(passes("accelometer check_axis 10 10 -20 -20 1024"));
    EXPECT_EQ(row(AXIS_CSV), "0,0,0,NG\r");
    cmd_data record = record_of("accelometer check_axis 10 10 -20 -20 1024 1024");
    record.p_count = 6;
    EXPECT_THAT(run(record, ROVA_CMD_SCRIPT), EndsWith(NG));
    EXPECT_EQ(row(AXIS_CSV), "0,0,0,NG\r");
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_FALSE(camera.logged("ACCELOMETER PBA"));
}

TEST_F(AccelCheckAxis, BoundsAreDecimalUpToWhatIsNoDigit)
{
    camera.write(DRIVER, "8, 0, 99\n");
    EXPECT_TRUE(passes("accelometer check_axis 08 8.9 x 0x10 -99999999999 99999999999"));
    EXPECT_FALSE(passes("accelometer check_axis 8 0x8 0 0 99 99"));
}

// Of larger numbers 16 bits stay.
TEST_F(AccelCheckAxis, ValuesHave16Bits)
{
    camera.write(DRIVER, "32767, 32768, 65535\n");
    EXPECT_TRUE(passes("accelometer check_axis 32767 32767 -32768 -32768 -1 -1"));
    camera.write(DRIVER, "65536, -32769, 4294967301\n");
    EXPECT_TRUE(passes("accelometer check_axis 0 0 32767 32767 5 5"));
}

TEST_F(AccelCheckAxis, AFileThatIsNotThereIsTold)
{
    camera.remove(DRIVER);
    EXPECT_FALSE(passes("accelometer check_axis -9 9 -9 9 -9 9"));
    EXPECT_TRUE(camera.logged(OPEN_ERROR));
    EXPECT_EQ(row(AXIS_CSV), "0,0,0,NG\r");
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AccelCheckAxis, AnythingButThreeNumbersIsTold)
{
    for (const char *text : {"", "\n", "1, 2", "1, 2, ", "1 2 3", "x, 2, 3", "1, 2; 3"}) {
        camera.write(DRIVER, text);
        EXPECT_FALSE(passes("accelometer check_axis -9 9 -9 9 -9 9")) << text;
        EXPECT_EQ(row(AXIS_CSV), "0,0,0,NG\r");
    }
    EXPECT_EQ(times_logged(READ_ERROR), 7U);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AccelCheckAxis, BlanksBetweenTheNumbersAreOptional)
{
    camera.write(DRIVER, " 1,2,\t3");
    EXPECT_TRUE(passes("accelometer check_axis 1 1 2 2 3 3"));
}

TEST_F(AccelCheckAxis, ThePcIsTheFileTold)
{
    EXPECT_THAT(run("accelometer check_axis 0 100 -30 0 1000 1100", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
}

TEST_F(AccelCheckAxis, LeavesNoDescriptor)
{
    const std::size_t before = open_descriptors();
    passes("accelometer check_axis 0 100 -30 0 1000 1100");
    camera.write(DRIVER, "none\n");
    passes("accelometer check_axis 0 100 -30 0 1000 1100");
    EXPECT_EQ(open_descriptors(), before);
}

// ------------------------------------------------------------------------- osd

class AccelOsd : public Accelometer
{
protected:
    static constexpr char ON[] = "accelometer osd on";
    static constexpr char OFF[] = "accelometer osd off";

    bool logged_by(const std::string &function, const std::string &text) const
    {
        for (const std::string &line : lines_of(camera.platform_log()))
            if (line.find(function) != std::string::npos && line.find(text) != std::string::npos)
                return true;
        return false;
    }
};

TEST_F(AccelOsd, ShowsTheAxesUntilItIsSwitchedOff)
{
    EXPECT_EQ(run(ON), OK);
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 3; }));
    EXPECT_EQ(run(OFF), OK);
    EXPECT_THAT(told({"factory_osd_text_set", "factory_osd_text_clear"}),
                ElementsAre(R"(factory_osd_text_set[6,"AccelX = 10"])",
                            R"(factory_osd_text_set[7,"AccelY = -20"])",
                            R"(factory_osd_text_set[8,"AccelZ = 1024"])",
                            "factory_osd_text_clear[]"));
    expect_nothing_left();
}

TEST_F(AccelOsd, ReadsAgainEveryHalfSecond)
{
    wrap_record_sleeps(true);
    camera.write(std::string(DRIVER) + ".play", "1, 2, 3\n4, 5, 6\n-7, 8, 40000\n");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return shown().size() >= 9; }));
    EXPECT_TRUE(passes(OFF));
    EXPECT_THAT(shown(), IsSupersetOf({R"(factory_osd_text_set[6,"AccelX = 1"])",
                                       R"(factory_osd_text_set[7,"AccelY = 5"])",
                                       R"(factory_osd_text_set[6,"AccelX = -7"])",
                                       R"(factory_osd_text_set[8,"AccelZ = -25536"])"}));
    EXPECT_THAT(wrap_sleeps(), Contains(500000));
    EXPECT_THAT(wrap_sleeps(), Each(500000));
}

TEST_F(AccelOsd, EndsByItselfWithoutTheFile)
{
    camera.remove(DRIVER);
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return camera.logged(OPEN_ERROR); }));
    expect_nothing_left();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
}

TEST_F(AccelOsd, EndsByItselfAtAReadError)
{
    camera.speed(1000);
    camera.write(std::string(DRIVER) + ".play", "1, 2, 3\n1, 2\n");
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(wait_for([&] { return camera.logged(READ_ERROR); }));
    expect_nothing_left();
    EXPECT_EQ(shown().size(), 3U);
    EXPECT_TRUE(passes(OFF));
}

TEST_F(AccelOsd, OffWithoutAThreadIsToldByItsFunction)
{
    EXPECT_EQ(run(OFF), NG);
    EXPECT_TRUE(logged_by("__rova_accelometer_read_exit", "Thread cancel failed for thread [0] "));
    EXPECT_THAT(told({"factory_osd_text_clear"}), IsEmpty());
}

TEST_F(AccelOsd, AThreadThatCannotBeMadeIsToldByItsFunction)
{
    wrap_fail("pthread_create", EAGAIN);
    EXPECT_EQ(run(ON), NG);
    EXPECT_TRUE(
        logged_by("__rova_accelometer_thread_create", "rova_sensor_read_thread_create() failed "));
    EXPECT_FALSE(passes(OFF));
}

TEST_F(AccelOsd, OtherWordsAreRefused)
{
    EXPECT_EQ(run("accelometer osd Off"), NG);
    EXPECT_TRUE(camera.logged("Wrong cmd_data->p[1] = Off"));
    EXPECT_EQ(run("accelometer osd"), NG);
    EXPECT_EQ(more_threads(), 0U);
}

// The one before goes on until it cannot read.
TEST_F(AccelOsd, OnTwiceLeavesOneThread)
{
    camera.speed(1000);
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(ON));
    EXPECT_TRUE(passes(OFF));
    EXPECT_FALSE(passes(OFF));
    EXPECT_EQ(more_threads(), 1U);
    camera.remove(DRIVER);
    expect_nothing_left();
}

TEST_F(AccelOsd, IsNotThatOfTheGyroscope)
{
    EXPECT_TRUE(passes(ON));
    EXPECT_FALSE(passes("gyroscope osd off"));
    EXPECT_TRUE(passes(OFF));
    expect_nothing_left();
}

TEST_F(AccelOsd, CanBeCancelledAtAnyInstant)
{
    switch_at_any_instant(ON, OFF, 300);
    EXPECT_FALSE(camera.logged(READ_ERROR));
}

// ------------------------------------------------------------------------- adjust

// With a service, and without what an earlier calibration has found.
class AccelService : public Accelometer
{
protected:
    static constexpr char CHECK[] = "accelometer check -5 5 -5 5";
    static constexpr char ZEROS[] =
        ",0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\r";

    SensorStandIn service;

    AccelService()
    {
        answer_check(0, 0);
        answer_rounds(std::vector<int>(10, 0));
        EXPECT_TRUE(passes("accelometer adjust 10"));
    }

    void answer_check(int roll, int pitch)
    {
        service.answer("rollpitch", {{"rollpitch", roll, pitch}});
    }

    // Samples n, n + 1, n + 2.
    void answer_rounds(const std::vector<int> &samples, const char *last = "done")
    {
        SensorMessages messages;
        for (int n : samples) {
            messages.push_back({"accelrawXY", n, n + (n != 0)});
            messages.push_back({"accelrawZ", n + 2 * (n != 0), -1});
        }
        rova_sensor_data done = {};
        std::string(last).copy(done.cmd, sizeof(done.cmd));
        messages.push_back(done);
        service.answer("calibration", messages);
    }

    // What check shows of the samples.
    std::string samples()
    {
        answer_check(0, 0);
        EXPECT_TRUE(passes(CHECK));
        const std::string line = row(CHECK_CSV);
        return line.substr(line.find(",OK") + 3);
    }

    void expect_no_reply_queue() { EXPECT_EQ(sensor_reply_queue(), -1); }
};

class AccelAdjust : public AccelService
{
protected:
    std::size_t asked_before = service.requests().size();

    std::vector<std::string> asked()
    {
        const auto all = service.requests();
        return {all.begin() + static_cast<long>(asked_before), all.end()};
    }
};

TEST_F(AccelAdjust, KeepsEachRoundsSample)
{
    answer_rounds({100, -200, INT_MIN});
    EXPECT_EQ(run("accelometer adjust 3 7 -8"), OK);
    EXPECT_THAT(asked(), ElementsAre("basis_r 7 0", "basis_p -8 0", "calibration 3 1"));
    expect_no_reply_queue();
    EXPECT_EQ(samples(), ",100,-200,-2147483648,0,0,0,0,0,0,0"
                         ",101,-199,-2147483647,0,0,0,0,0,0,0"
                         ",102,-198,-2147483646,0,0,0,0,0,0,0\r");
}

TEST_F(AccelAdjust, WritesNoFile)
{
    camera.remove(CHECK_CSV);
    answer_rounds({1});
    EXPECT_TRUE(passes("accelometer adjust 1"));
    EXPECT_FALSE(camera.exists(CHECK_CSV));
}

TEST_F(AccelAdjust, MissingWordsAre0AndNoRoundIsWaitedFor)
{
    answer_rounds({});
    for (const char *line : {"accelometer adjust", "accelometer adjust 0", "accelometer adjust x"})
        EXPECT_EQ(run(line), OK) << line;
    EXPECT_THAT(asked(), ElementsAre("basis_r 0 0", "basis_p 0 0", "calibration 0 1", "basis_r 0 0",
                                     "basis_p 0 0", "calibration 0 1", "basis_r 0 0", "basis_p 0 0",
                                     "calibration 0 1"));
}

TEST_F(AccelAdjust, EmptyWordsAre0)
{
    answer_rounds({});
    cmd_data record = record_of("accelometer adjust 0 1 9");
    record.p[2][0] = '\0';
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), OK);
    record = record_of("accelometer adjust 0 1 9");
    record.p_count = 2; // the two behind are left over from an earlier record
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), OK);
    EXPECT_THAT(asked(), ElementsAre("basis_r 0 0", "basis_p 9 0", "calibration 0 1", "basis_r 0 0",
                                     "basis_p 0 0", "calibration 0 1"));
}

TEST_F(AccelAdjust, ANegativeCountIsSentAndGivesNoRounds)
{
    answer_rounds({});
    EXPECT_EQ(run("accelometer adjust -3"), OK);
    EXPECT_EQ(asked().back(), "calibration -3 1");
}

TEST_F(AccelAdjust, OfMoreThanTenRoundsTheFirstTenAreKept)
{
    answer_rounds({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 111, 112, 113});
    EXPECT_EQ(run("accelometer adjust 13"), OK);
    EXPECT_EQ(samples(), ",1,2,3,4,5,6,7,8,9,10,2,3,4,5,6,7,8,9,10,11,3,4,5,6,7,8,9,10,11,12\r");
}

TEST_F(AccelAdjust, ManyRoundsAreReceived)
{
    answer_rounds(std::vector<int>(1000, 4));
    EXPECT_EQ(run("accelometer adjust 1000"), OK);
    EXPECT_EQ(samples(), ",4,4,4,4,4,4,4,4,4,4,5,5,5,5,5,5,5,5,5,5,6,6,6,6,6,6,6,6,6,6\r");
}

TEST_F(AccelAdjust, TheLastMessageMayBeInCapitals)
{
    answer_rounds({5}, "DONE");
    EXPECT_EQ(run("accelometer adjust 1"), OK);
}

TEST_F(AccelAdjust, AnotherLastMessageIsNg)
{
    answer_rounds({5}, "doner");
    EXPECT_EQ(run("accelometer adjust 1"), NG);
    expect_no_reply_queue();
    EXPECT_EQ(samples(), ",5,0,0,0,0,0,0,0,0,0,6,0,0,0,0,0,0,0,0,0,7,0,0,0,0,0,0,0,0,0\r");
}

TEST_F(AccelAdjust, AnotherNameInARoundIsNg)
{
    const rova_sensor_data xy = {"accelrawXY", 8, 9}, z = {"accelrawZ", 7, 0},
                           done = {"done", 0, 0};
    const SensorMessages orders[] = {
        {z, xy, done}, {xy, xy, done}, {done}, {{"accelrawxy", 8, 9}, z, done}, {xy, done}};
    for (const SensorMessages &messages : orders) {
        service.answer("calibration", messages);
        EXPECT_EQ(run("accelometer adjust 1"), NG);
        expect_no_reply_queue();
    }
    EXPECT_EQ(samples(), ",8,0,0,0,0,0,0,0,0,0,9,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\r")
        << "what had come stays";
}

TEST_F(AccelAdjust, EachRequestThatCannotBeSentIsNg)
{
    for (int nth = 1; nth <= 3; nth++) {
        wrap_fail("msgsnd", -1, EACCES, nth);
        EXPECT_EQ(run("accelometer adjust 1"), NG) << nth;
        expect_no_reply_queue();
    }
    EXPECT_EQ(times_logged("ROVA Sensor msgsnd failed"), 3U);
}

TEST_F(AccelAdjust, AServiceThatLeavesIsNg)
{
    const rova_sensor_data xy = {"accelrawXY", 0, 0}, z = {"accelrawZ", 0, 0};
    service.leave_at("calibration");
    for (const SensorMessages &messages :
         {SensorMessages{}, SensorMessages{xy}, SensorMessages{xy, z}}) {
        service.answer("calibration", messages);
        EXPECT_EQ(run("accelometer adjust 1"), NG) << messages.size();
    }
    EXPECT_EQ(times_logged("ROVA Sensor msgrcv failed"), 3U);
}

TEST_F(AccelAdjust, AReplyQueueThatCannotBeRemovedIsNg)
{
    answer_rounds({});
    camera.fault("sys_msgctl", "-1");
    EXPECT_EQ(run("accelometer adjust 0"), NG);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgctl failed"));
}

// ------------------------------------------------------------------------- check

using AccelCheck = AccelService;

TEST_F(AccelCheck, ShowsAndPutsDownWhatTheServiceTells)
{
    pref_set_long(0, 40405, 70000);
    pref_set_long(0, 40409, -9);
    answer_check(4, -3);
    EXPECT_THAT(run(CHECK), EndsWith(OK));
    EXPECT_EQ(camera.read(CHECK_CSV),
              std::string("Index,CIS S/N,roll,pitch,r_adjust,p_adjust,Result,AccelX, , , , , , , , "
                          ", ,AccelY, , , , , , , , , ,AccelZ, , , , , , , , ,\r\n"
                          "1,0,4,-3,70000,-9,OK") +
                  ZEROS + "\n");
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"roll = 4, pitch = -3"])",
                                     R"(factory_osd_text_set[3,"Acceleration Check OK!"])"));
    EXPECT_TRUE(camera.logged("ACCEL Adjust OK"));
    EXPECT_EQ(service.requests().back(), "rollpitch 0 0");
    expect_no_reply_queue();
}

TEST_F(AccelCheck, TheBasisOfTheRollIsAskedForFirst)
{
    pref_set_long(0, 40409, -9);
    camera.fault("pref_get_long", "7 at 1");
    EXPECT_TRUE(passes(CHECK));
    EXPECT_EQ(row(CHECK_CSV), std::string("0,0,7,-9,OK") + ZEROS);
}

TEST_F(AccelCheck, ValuesEqualToABoundAreWithin)
{
    for (const auto &[roll, pitch] : {std::pair{-5, 5}, std::pair{5, -5}}) {
        answer_check(roll, pitch);
        EXPECT_TRUE(passes(CHECK));
    }
}

TEST_F(AccelCheck, RollAndPitchHaveARangeEach)
{
    answer_check(2, 30);
    EXPECT_TRUE(passes("accelometer check 1 3 20 40"));
    EXPECT_FALSE(passes("accelometer check 20 40 1 3"));
    EXPECT_FALSE(passes("accelometer check 1 3 1 3"));
    EXPECT_FALSE(passes("accelometer check 20 40 20 40"));
}

TEST_F(AccelCheck, OutOfOneBoundIsNgWithoutTheBasisValues)
{
    pref_set_long(0, 40405, 1);
    pref_set_long(0, 40409, 2);
    for (const auto &[roll, pitch] :
         {std::pair{-6, 0}, std::pair{6, 0}, std::pair{0, -6}, std::pair{0, INT_MAX}}) {
        answer_check(roll, pitch);
        EXPECT_FALSE(passes(CHECK)) << roll << " " << pitch;
        EXPECT_EQ(row(CHECK_CSV),
                  std::to_string(roll) + "," + std::to_string(pitch) + ",0,0,NG" + ZEROS);
        EXPECT_EQ(shown().back(), R"(factory_osd_text_set[3,"Acceleration Check NG!"])");
        expect_no_reply_queue();
    }
    EXPECT_EQ(times_logged("ACCEL Adjust NG"), 4U);
    EXPECT_FALSE(camera.logged("ACCEL Adjust OK"));
}

TEST_F(AccelCheck, AReplyOfAnotherNameIsNgWithItsValues)
{
    for (const char *name : {"rotation", "ROLLPITCH", "rollpitch2"}) {
        rova_sensor_data reply = {"", 1, 2};
        std::string(name).copy(reply.cmd, sizeof(reply.cmd));
        service.answer("rollpitch", {reply});
        EXPECT_FALSE(passes(CHECK)) << name;
        EXPECT_EQ(row(CHECK_CSV), std::string("1,2,0,0,NG") + ZEROS);
        expect_no_reply_queue();
    }
    EXPECT_THAT(shown(), Each(R"(factory_osd_text_set[2,"roll = 1, pitch = 2"])"));
    EXPECT_FALSE(camera.logged("ACCEL Adjust"));
}

class AccelCheckFailing : public AccelService
{
protected:
    void expect_ng(const std::string &line = CHECK)
    {
        EXPECT_FALSE(passes(line));
        EXPECT_EQ(row(CHECK_CSV), std::string("-1,-1,0,0,NG") + ZEROS);
        EXPECT_THAT(shown(), IsEmpty());
        EXPECT_FALSE(camera.logged("ACCEL Adjust"));
    }
};

TEST_F(AccelCheckFailing, FourWordsAreTooFew)
{
    expect_ng("accelometer check -5 5 -5");
    cmd_data record = record_of(CHECK);
    record.p_count = 4;
    EXPECT_THAT(run(record, ROVA_CMD_SCRIPT), EndsWith(NG));
}

TEST_F(AccelCheckFailing, AKeyThatCannotBeMade)
{
    camera.fault("sys_access", "-1 on /tmp");
    expect_ng();
    EXPECT_TRUE(camera.logged("failed to access (/tmp) "));
    EXPECT_TRUE(camera.logged("failed to generate msg key = 0"));
    camera.clear_fault("sys_access");
    for (const char *fault : {"-1", "-1 at 2"}) {
        camera.fault("sys_ftok", fault);
        expect_ng();
    }
    EXPECT_EQ(times_logged("failed to generate msg key = -1"), 2U);
    EXPECT_FALSE(camera.logged("msgget failed"));
    expect_no_reply_queue();
}

TEST_F(AccelCheckFailing, AReplyQueueThatCannotBeMade)
{
    camera.fault("sys_msgget", "-1 at 2 errno ENOSPC");
    expect_ng();
    EXPECT_EQ(times_logged("ROVA Sensor msgget failed mq_id -1 "), 2U) << "made, then opened";
}

TEST_F(AccelCheckFailing, ARequestThatCannotBeSent)
{
    wrap_fail("msgsnd", -1, EACCES);
    expect_ng();
    EXPECT_TRUE(camera.logged("ROVA Sensor msgsnd failed"));
    expect_no_reply_queue();
}

TEST_F(AccelCheckFailing, AServiceThatLeaves)
{
    service.answer("rollpitch", {});
    service.leave_at("rollpitch");
    expect_ng();
    EXPECT_TRUE(camera.logged("ROVA Sensor msgrcv failed"));
}

TEST_F(AccelCheckFailing, AReplyThatIsTooLong)
{
    const int replies = sensor_reply_queue(IPC_CREAT | 0666);
    const struct {
        long type;
        char bytes[29];
    } message = {56, "rollpitch"};
    ASSERT_EQ(msgsnd(replies, &message, sizeof(message.bytes), 0), 0);
    service.answer("rollpitch", {});
    expect_ng();
    expect_no_reply_queue();
}

TEST_F(AccelCheck, AReplyQueueThatCannotBeRemovedIsNgBehindAnOkRow)
{
    camera.fault("sys_msgctl", "-1");
    EXPECT_THAT(run(CHECK), EndsWith(NG));
    EXPECT_EQ(row(CHECK_CSV), std::string("0,0,0,0,OK") + ZEROS);
}

TEST_F(AccelCheck, TheReplyQueueIsOpenToAll)
{
    camera.fault("sys_msgctl", "-1"); // it stays
    run(CHECK);
    msqid_ds attributes = {};
    ASSERT_EQ(msgctl(sensor_reply_queue(), IPC_STAT, &attributes), 0);
    EXPECT_EQ(attributes.msg_perm.mode, 0666);
}

TEST_F(AccelCheck, AReplyQueueThatIsThereIsTaken)
{
    sensor_reply_queue(IPC_CREAT | 0666);
    answer_check(1, 2);
    EXPECT_THAT(run(CHECK), EndsWith(OK));
    EXPECT_EQ(times_logged("ROVA Sensor msgget failed mq_id -1 "), 1U) << "not made anew";
    expect_no_reply_queue();
}

TEST_F(AccelCheck, AMessageOfAnyTypeAndLengthIsTaken)
{
    const int replies = sensor_reply_queue(IPC_CREAT | 0666);
    const struct {
        long type;
        char bytes[24];
    } message = {3, {'r', 'o', 'l', 'l', 'p', 'i', 't', 'c', 'h', 0, 0, 0,
                     0,   0,   0,   0,   0,   0,   0,   0,   5,   0, 0, 0}};
    ASSERT_EQ(msgsnd(replies, &message, sizeof(message.bytes), 0), 0);
    EXPECT_THAT(run(CHECK), EndsWith(OK));
    EXPECT_EQ(row(CHECK_CSV), std::string("5,0,0,0,OK") + ZEROS);
}

TEST_F(AccelCheck, ANameWithoutAnEndIsCut)
{
    rova_sensor_data reply = {"", 1, 2};
    std::fill(std::begin(reply.cmd), std::end(reply.cmd), 'r');
    service.answer("rollpitch", {reply});
    EXPECT_FALSE(passes(CHECK));
    EXPECT_EQ(row(CHECK_CSV), std::string("1,2,0,0,NG") + ZEROS);
}

TEST_F(AccelCheck, ThePcIsTheFileTold)
{
    EXPECT_THAT(run(CHECK, ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
}

TEST_F(AccelCheck, WithoutAFileTheAnswerIsTheSame)
{
    camera.fault("sys_open", "-1 on accelometer.csv");
    EXPECT_TRUE(passes(CHECK));
    answer_check(6, 0);
    EXPECT_FALSE(passes(CHECK));
}

TEST_F(Accelometer, WithoutAServiceCheckAndAdjustAreNg)
{
    EXPECT_FALSE(passes("accelometer check -5 5 -5 5"));
    EXPECT_THAT(row(CHECK_CSV), testing::StartsWith("-1,-1,0,0,NG,"));
    EXPECT_EQ(run("accelometer adjust 1"), NG);
    EXPECT_EQ(times_logged("ROVA Sensor msgget failed mq_id -1 "), 2U);
    EXPECT_EQ(sensor_reply_queue(), -1);
}
