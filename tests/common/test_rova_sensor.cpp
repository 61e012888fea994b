#include "common/rova_sensor.h"

#include "platform/sys.h"
#include "platform/virtual/motion.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <thread>

namespace
{

constexpr char THERMISTOR[] = "/sys/devices/platform/movra7-thermister/cmos_thermister";
constexpr char ISP[] = "/sys/devices/platform/m7_tsu/isp";
constexpr char CPU[] = "/sys/devices/platform/m7_tsu/cpu";
constexpr int32_t UNTOUCHED = 4711;

struct Sensor : testing::Test {
    test::Camera camera;

    ~Sensor() override { test::wrap_clear(); }

    int32_t cis_of(const std::string &text)
    {
        camera.write(THERMISTOR, text);
        int32_t degrees = UNTOUCHED;
        EXPECT_EQ(rova_read_cis_temperature(&degrees), 1) << text;
        return degrees;
    }

    template <typename... Numbers> float mean_of(Numbers... numbers)
    {
        const std::array<int32_t, sizeof...(numbers)> words = {numbers...};
        camera.write(THERMISTOR,
                     std::string(reinterpret_cast<const char *>(words.data()), sizeof(words)));
        float degrees[3] = {-1, -1, -1};
        EXPECT_EQ(rova_read_cis_temperature_avg(degrees, 1), 1);
        EXPECT_EQ(degrees[0], -1);
        EXPECT_EQ(degrees[2], -1);
        return degrees[1];
    }
};

// A queue of the camera; the camera's end removes it.
struct SensorQueue : Sensor {
    int id = -1;
    SensorQueue() { EXPECT_EQ(rova_sensor_msgget(sys_ftok("/tmp", 1), IPC_CREAT | 0600, &id), 1); }
};

} // namespace

// ------------------------------------------------------------------------- queues

TEST_F(SensorQueue, AMessageIsOf28BytesAndType56)
{
    ASSERT_EQ(rova_sensor_msgsnd(id, "roll", 7, -9), 1);
    struct {
        long type;
        unsigned char bytes[64];
    } raw = {};
    ASSERT_EQ(msgrcv(id, &raw, sizeof(raw.bytes), 0, IPC_NOWAIT), 28);
    EXPECT_EQ(raw.type, 56);
    const std::array<unsigned char, 28> expected = {'r', 'o', 'l', 'l', 0,    0,    0,    0,   0, 0,
                                                    0,   0,   0,   0,   0,    0,    0,    0,   0, 0,
                                                    7,   0,   0,   0,   0xf7, 0xff, 0xff, 0xff};
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), raw.bytes));
    EXPECT_TRUE(camera.logged("ROVA Sensor msg.data.cmd = roll"));
}

TEST_F(SensorQueue, AMessageComesAsItWasSent)
{
    ASSERT_EQ(rova_sensor_msgsnd(id, "calibration", 1, 2), 1);
    rova_sensor_msg message = {};
    ASSERT_EQ(rova_sensor_msgrcv(id, &message, sizeof(message.data), ROVA_SENSOR_MSG_TYPE, 0), 1);
    EXPECT_EQ(message.type, ROVA_SENSOR_MSG_TYPE);
    EXPECT_STREQ(message.data.cmd, "calibration");
    EXPECT_EQ(message.data.value1, 1);
    EXPECT_EQ(message.data.value2, 2);
}

TEST_F(SensorQueue, ACommandIsCutAt19Characters)
{
    ASSERT_EQ(rova_sensor_msgsnd(id, "0123456789abcdefghijKLM", 1, 2), 1);
    rova_sensor_msg message = {};
    ASSERT_EQ(rova_sensor_msgrcv(id, &message, sizeof(message.data), 0, 0), 1);
    EXPECT_STREQ(message.data.cmd, "0123456789abcdefghi");
    EXPECT_EQ(message.data.value1, 1);
}

TEST_F(SensorQueue, TheQueueOfAKeyIsOne)
{
    int same = -1;
    ASSERT_EQ(rova_sensor_msgget(sys_ftok("/tmp", 1), 0600, &same), 1);
    EXPECT_EQ(same, id);
}

TEST_F(SensorQueue, NoQueueIsToldWithWhatMsggetGave)
{
    int none = UNTOUCHED;
    EXPECT_EQ(rova_sensor_msgget(0x5a5b, 0600, &none), 0);
    EXPECT_EQ(none, -1);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgget failed mq_id -1 "));
}

TEST_F(SensorQueue, ARemovedQueueNeitherTakesNorGives)
{
    ASSERT_EQ(rova_sensor_msgctl(id, IPC_RMID, nullptr), 1);
    const std::string number = std::to_string(id);
    EXPECT_EQ(rova_sensor_msgsnd(id, "roll", 0, 0), 0);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgsnd failed mq_id " + number + " "));
    EXPECT_FALSE(camera.logged("msg.data.cmd"));
    rova_sensor_msg message = {};
    EXPECT_EQ(rova_sensor_msgrcv(id, &message, sizeof(message.data), 0, 0), 0);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgrcv failed mq_id " + number + " "));
    EXPECT_EQ(rova_sensor_msgctl(id, IPC_RMID, nullptr), 0);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgctl failed mq_id " + number + " "));
}

TEST_F(SensorQueue, AnEmptyQueueThatIsNotWaitedForFails)
{
    rova_sensor_msg message = {};
    EXPECT_EQ(rova_sensor_msgrcv(id, &message, sizeof(message.data), 0, IPC_NOWAIT), 0);
    EXPECT_TRUE(camera.logged("ROVA Sensor msgrcv failed"));
}

TEST_F(SensorQueue, AMessageThatDoesNotFitStays)
{
    ASSERT_EQ(rova_sensor_msgsnd(id, "roll", 3, 4), 1);
    rova_sensor_msg message = {};
    EXPECT_EQ(rova_sensor_msgrcv(id, &message, 27, 0, IPC_NOWAIT), 0);
    EXPECT_EQ(rova_sensor_msgrcv(id, &message, 28, 0, IPC_NOWAIT), 1);
    EXPECT_EQ(message.data.value2, 4);
}

TEST_F(SensorQueue, AnInterruptedReceptionIsRepeated)
{
    ASSERT_EQ(rova_sensor_msgsnd(id, "roll", 3, 4), 1);
    test::wrap_fail("msgrcv", -1, EINTR);
    rova_sensor_msg message = {};
    EXPECT_EQ(rova_sensor_msgrcv(id, &message, sizeof(message.data), 0, IPC_NOWAIT), 1);
    EXPECT_EQ(message.data.value1, 3);
}

TEST_F(SensorQueue, ASignalDoesNotEndTheWait)
{
    static std::atomic<int> signals;
    signals = 0;
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) { signals++; }; // without SA_RESTART: msgrcv() gives EINTR
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    std::atomic<int> result = UNTOUCHED;
    rova_sensor_msg message = {};
    std::thread waiting([&] {
        result = rova_sensor_msgrcv(id, &message, sizeof(message.data), ROVA_SENSOR_MSG_TYPE, 0);
    });
    for (int i = 1; i <= 3; i++)
        EXPECT_TRUE(test::wait_for([&] {
            pthread_kill(waiting.native_handle(), SIGUSR1);
            return signals >= 3 * i;
        }));
    EXPECT_EQ(result, UNTOUCHED);
    EXPECT_EQ(rova_sensor_msgsnd(id, "late", 5, 0), 1);
    waiting.join();
    EXPECT_EQ(result, 1);
    EXPECT_STREQ(message.data.cmd, "late");
    EXPECT_FALSE(camera.logged("msgrcv failed"));
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(SensorQueue, ItsAttributesCanBeRead)
{
    ASSERT_EQ(rova_sensor_msgsnd(id, "roll", 0, 0), 1);
    msqid_ds attributes = {};
    EXPECT_EQ(rova_sensor_msgctl(id, IPC_STAT, &attributes), 1);
    EXPECT_EQ(attributes.msg_qnum, 1U);
}

TEST_F(Sensor, ANegativeQueueIsRefusedWithoutAWord)
{
    EXPECT_EQ(rova_sensor_msgctl(-1, IPC_RMID, nullptr), 0);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(Sensor, AKeyIsThatOfThePathAndTheProject)
{
    EXPECT_NE(rova_sensor_create_ipckey("/tmp", 5), 0);
    EXPECT_EQ(rova_sensor_create_ipckey("/tmp", 5), sys_ftok("/tmp", 5));
    EXPECT_NE(rova_sensor_create_ipckey("/tmp", 5), rova_sensor_create_ipckey("/tmp", 6));
}

TEST_F(Sensor, AMissingPathGivesKey0)
{
    EXPECT_EQ(rova_sensor_create_ipckey("/nowhere", 5), 0);
    EXPECT_TRUE(camera.logged("failed to access (/nowhere) "));
}

TEST_F(Sensor, AKeyThatCannotBeMadeIsMinus1)
{
    camera.fault("sys_ftok", "-1");
    EXPECT_EQ(rova_sensor_create_ipckey("/tmp", 5), -1);
}

// ------------------------------------------------------------------------- temperatures

TEST_F(Sensor, NullGivesNoTemperature)
{
    for (const char *file : {THERMISTOR, ISP, CPU})
        camera.write(file, "20");
    EXPECT_EQ(rova_read_cis_temperature(nullptr), 0);
    EXPECT_EQ(rova_read_isp_temperature(nullptr), 0);
    EXPECT_EQ(rova_read_cpu_temperature(nullptr), 0);
}

TEST_F(Sensor, AMissingFileLeavesTheTemperatureAlone)
{
    int32_t degrees = UNTOUCHED;
    EXPECT_EQ(rova_read_cis_temperature(&degrees), 0);
    EXPECT_EQ(rova_read_isp_temperature(&degrees), 0);
    EXPECT_EQ(rova_read_cpu_temperature(&degrees), 0);
    EXPECT_EQ(degrees, UNTOUCHED);
}

TEST_F(Sensor, ANegativeValueIsNone)
{
    int32_t degrees = UNTOUCHED;
    for (const char *file : {THERMISTOR, ISP, CPU})
        camera.write(file, "-1");
    EXPECT_EQ(rova_read_cis_temperature(&degrees), 0);
    EXPECT_EQ(rova_read_isp_temperature(&degrees), 0);
    EXPECT_EQ(rova_read_cpu_temperature(&degrees), 0);
    EXPECT_EQ(degrees, UNTOUCHED);
}

TEST_F(Sensor, ProcessorsTellDegreesAsTheyStand)
{
    camera.write(ISP, "0\n");
    camera.write(CPU, "61\n");
    int32_t isp = UNTOUCHED, cpu = UNTOUCHED;
    EXPECT_EQ(rova_read_isp_temperature(&isp), 1);
    EXPECT_EQ(rova_read_cpu_temperature(&cpu), 1);
    EXPECT_EQ(isp, 0);
    EXPECT_EQ(cpu, 61);
}

// sqrt(2676588 - 469 r) - 1482, by hand: 2676588 is 1636.02... squared.
TEST_F(Sensor, TheImageSensorsDegreesFollowFromTheRawValue)
{
    EXPECT_EQ(cis_of("0"), 154);
    EXPECT_EQ(cis_of("1000"), 3);
    EXPECT_EQ(cis_of("883"), 22);   // under the root 2262461, just above the square of 1504
    EXPECT_EQ(cis_of("884"), 21);   // 2261992, just below it
    EXPECT_EQ(cis_of("1100"), -12); // 2160688, the square of 1469.92...
}

TEST_F(Sensor, NoRootIsNoDegrees)
{
    EXPECT_EQ(cis_of("5707"), -1479); // under the root 5
    EXPECT_EQ(cis_of("5708"), 0);     // -464
}

// 469 * 4589390 is 2152423910, more than 31 bits hold: under the root stands 2145219974 instead of
// a negative number, and 44834.5... is its root less 1482.
TEST_F(Sensor, ALargeRawValueWraps)
{
    EXPECT_EQ(cis_of("4589390"), 44834);
}

// ------------------------------------------------------------------------- mean of samples

TEST_F(Sensor, TenEqualSamplesHaveTheirDegrees)
{
    EXPECT_EQ(mean_of(883, 883, 883, 883, 883, 883, 883, 883, 883, 883), 22.0F);
}

TEST_F(Sensor, SamplesOf0DoNotCount)
{
    EXPECT_EQ(mean_of(883, 0, 0, 883, 0, 0, 0, 0, 0, 0), 22.0F);
    EXPECT_EQ(mean_of(0, 0, 0, 0, 0, 0, 0, 0, 0, 0), 154.0F);
}

TEST_F(Sensor, TheMeanIsCutTowards0)
{
    EXPECT_EQ(mean_of(883, 884, 884), 22.0F); // 2651 / 3 = 883.6...
    EXPECT_EQ(mean_of(884, 884, 884), 21.0F);
    EXPECT_EQ(mean_of(-6, -7), 154.0F); // -6: 2679402, below the square of 1637; -7 is above it
}

TEST_F(Sensor, FewerBytesThanTenSamplesAreTakenAsTheyAre)
{
    EXPECT_EQ(mean_of(1000), 3.0F);
    camera.write(THERMISTOR, "");
    float degrees = -1;
    EXPECT_EQ(rova_read_cis_temperature_avg(&degrees, 0), 1);
    EXPECT_EQ(degrees, 154.0F);
    camera.write(THERMISTOR, std::string("\x73\x03\x00", 3)); // 883, cut
    EXPECT_EQ(rova_read_cis_temperature_avg(&degrees, 0), 1);
    EXPECT_EQ(degrees, 22.0F);
}

TEST_F(Sensor, NoMoreThanTenSamplesAreTaken)
{
    EXPECT_EQ(mean_of(883, 883, 883, 883, 883, 883, 883, 883, 883, 883, 5000, 5000), 22.0F);
}

TEST_F(Sensor, ANegativeSampleCounts)
{
    EXPECT_EQ(mean_of(-883, 3 * 883), 22.0F);
}

// The sum of two times 2^31 - 1 is -2 as 32 bits, its half -1.
TEST_F(Sensor, TheSumWraps)
{
    EXPECT_EQ(mean_of(INT32_MAX, INT32_MAX), 154.0F);
}

TEST_F(Sensor, NoThermistorGivesNoMean)
{
    float degrees = -1;
    EXPECT_EQ(rova_read_cis_temperature_avg(&degrees, 0), 0);
    EXPECT_EQ(degrees, -1.0F);
    EXPECT_FALSE(camera.logged("read error"));
}

// A folder can be opened, and not be read.
TEST_F(Sensor, AThermistorThatCannotBeReadIsTold)
{
    std::filesystem::create_directories(camera.path(THERMISTOR));
    float degrees = -1;
    EXPECT_EQ(rova_read_cis_temperature_avg(&degrees, 0), 0);
    EXPECT_EQ(degrees, -1.0F);
    EXPECT_TRUE(camera.logged("Thermister read error!"));
}

// One reader takes the text at the file's start, the other the mean of its words.
TEST_F(Sensor, TheVirtualCamerasThermistorIsReadAlikeBothWays)
{
    for (int degrees = -128; degrees <= 127; degrees++) {
        EXPECT_EQ(cis_of(virt::thermistor_text(degrees)), degrees);
        float mean = UNTOUCHED;
        EXPECT_EQ(rova_read_cis_temperature_avg(&mean, 0), 1);
        EXPECT_EQ(mean, static_cast<float>(degrees));
    }
}
