// The acceleration sensor with the real daemon and the real sensor service.
#include <gtest/gtest.h>

#include "tests/e2e/line.h"

#include <csignal>
#include <thread>

using e2e::Line;

namespace
{

constexpr char OK[] = "0x10000002 0x00000000 0x00000000 OK\n";
constexpr char NG[] = "0x10000002 0x00000001 0x00000000 NG\n";
constexpr char ZEROS[] = ",0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\r\n";

std::string pc(const Line &line, const std::string &words)
{
    return line.vcam({"pc", "--timeout", "60", words}).out;
}

// The file's row, without index and serial number.
std::string row(const Line &line)
{
    const std::string text = line.read("/sdcard/accelometer.csv");
    const std::size_t start = text.rfind('\n', text.size() - 2) + 1;
    return text.substr(text.find(',', text.find(',', start) + 1) + 1);
}

// The line waits for the service.
bool waits_for_the_service(const Line &line, const char *request)
{
    return test::wait_for(
        [&] { return line.read("/virtual/sensord.out").find(request) != std::string::npos; });
}

} // namespace

TEST(Sensor, CheckBeforeAnyAdjustPrintsThirtyZeros)
{
    Line line;
    line.start();
    EXPECT_NE(pc(line, "accelometer check -5 5 -5 5").find(" OK\n"), std::string::npos);
    EXPECT_EQ(row(line), std::string("0,0,0,0,OK") + ZEROS);
    line.stop();
}

TEST(Sensor, AdjustIsSeenByCheckAndOutlivesTheDaemon)
{
    Line line;
    line.write("/sys/devices/platform/bma_2XX/accel_raw_data.play", "1, 2, 3\n4, 5, 6\n");
    line.write("/virtual/sensor/roll", "3\n");
    line.start();
    EXPECT_EQ(pc(line, "accelometer adjust 3 77 -8"), OK);
    pc(line, "accelometer check -5 5 -5 5");
    EXPECT_EQ(row(line), "3,0,77,-8,OK,1,4,4,0,0,0,0,0,0,0,2,5,5,0,0,0,0,0,0,0,3,6,6,0,0,0,0,0,0,0"
                         "\r\n");
    line.stop();
    line.start();
    pc(line, "accelometer check -5 5 -5 5");
    EXPECT_EQ(row(line), std::string("3,0,77,-8,OK") + ZEROS) << "samples are the daemon's";
    line.stop();
}

TEST(Sensor, RotationWaitsForTheTurn)
{
    Line line;
    line.start();
    std::string answer;
    std::thread station([&] { answer = pc(line, "rotation wait left"); });
    EXPECT_TRUE(waits_for_the_service(line, "rotation 4 1"));
    EXPECT_EQ(line.vcam({"turn-camera", "left"}).status, 0);
    station.join();
    EXPECT_EQ(answer, OK);
    EXPECT_TRUE(line.tells("Rotation Adjust OK"));
    EXPECT_NE(pc(line, "accelometer check_axis -1100 -900 -9 9 -9 9").find(" OK\n"),
              std::string::npos);
    EXPECT_NE(pc(line, "accelometer check -5 5 -5 5").find(" NG\n"), std::string::npos);
    line.stop();
}

TEST(Sensor, WrongLateAndGoneServices)
{
    Line line;
    line.start();
    line.write("/virtual/sensor/answer", "wrong code\n");
    EXPECT_EQ(pc(line, "rotation wait top"), NG);
    EXPECT_TRUE(line.tells("Rotation Adjust NG"));
    line.write("/virtual/sensor/answer", "wrong name\n");
    EXPECT_EQ(pc(line, "accelometer adjust 2"), NG);
    line.write("/virtual/sensor/answer", "late 5000\n");
    EXPECT_EQ(pc(line, "rotation wait up"), OK);
    line.write("/virtual/sensor/answer", "gone\n");
    EXPECT_EQ(pc(line, "rotation wait up"), NG);
    EXPECT_TRUE(line.tells("ROVA Sensor msgrcv failed"));
    line.write("/virtual/sensor/answer", "normal\n");
    EXPECT_EQ(pc(line, "rotation wait up"), NG) << "nobody serves";
    line.stop();
}

// The command waits on, and the person at the station is told why.
TEST(Sensor, AServiceThatIsKilledDuringAScriptIsTold)
{
    Line line;
    line.write("/one.adj", "rotation wait left\n");
    const std::string output = line.path("/run.txt");
    test::Process run({VCAM_PROGRAM, "run", line.path("/one.adj")}, "", output);
    EXPECT_TRUE(waits_for_the_service(line, "rotation 4 1"));
    test::send_signal(line.sensor_service(), SIGKILL);
    EXPECT_TRUE(test::wait_for([&] {
        return line.read("/run.txt").find("vcam: the sensor service has ended\n") !=
               std::string::npos;
    }));
    EXPECT_TRUE(run.running());
    EXPECT_EQ(line.vcam({"stop", "--kill"}).status, 0);
    EXPECT_EQ(run.wait(), 2);
    EXPECT_NE(
        line.read("/run.txt").find("rovad ended before the script, during: rotation wait left"),
        std::string::npos);
}

// Neither a time-out nor the stop key ends the wait.
TEST(Sensor, ASilentServiceHoldsTheDaemonUntilItIsKilled)
{
    Line line;
    line.write("/virtual/sensor/answer", "silent\n");
    line.start();
    EXPECT_EQ(line.rova({"rotation", "wait", "up"}).status, 0);
    EXPECT_TRUE(waits_for_the_service(line, "rotation 1 1"));
    EXPECT_EQ(line.vcam({"stop", "--timeout", "0.3"}).status, 2);
    EXPECT_GT(line.daemon(), 0);
    EXPECT_EQ(line.vcam({"stop", "--kill"}).status, 0);
    EXPECT_TRUE(line.daemon_gone());

    // What was left behind is no answer to the next command.
    line.write("/virtual/sensor/answer", "normal\n");
    line.start();
    EXPECT_NE(pc(line, "accelometer check -5 5 -5 5").find(" OK\n"), std::string::npos);
    line.stop();
}

TEST(Sensor, AxesAreShownUntilTheyAreSwitchedOff)
{
    Line line;
    line.start();
    EXPECT_EQ(pc(line, "accelometer osd on"), OK);
    EXPECT_TRUE(test::wait_for(
        [&] { return line.read("/virtual/screen.json").find("AccelZ = 0") != std::string::npos; }));
    EXPECT_GT(line.thread("ROVA_SENSOR_REA"), 0);
    EXPECT_EQ(line.vcam({"turn-camera", "top"}).status, 0);
    EXPECT_TRUE(test::wait_for([&] {
        return line.read("/virtual/screen.json").find("AccelZ = 1024") != std::string::npos;
    }));
    EXPECT_EQ(pc(line, "accelometer osd off"), OK);
    EXPECT_LT(line.thread("ROVA_SENSOR_REA"), 0);
    EXPECT_EQ(line.read("/virtual/screen.json").find("AccelZ"), std::string::npos);
    line.stop();
}
