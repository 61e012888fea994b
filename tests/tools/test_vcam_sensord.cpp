// The sensor service as a process, and the camera's position that it tells.
#include <gtest/gtest.h>

#include "platform/pref.h"
#include "platform/sys.h"
#include "tests/tools/tool.h"

#include "command/system/rova_sensor_service.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <sys/msg.h>

using tool::failed;
using tool::program;
using tool::succeeded;
using tool::vcam;

namespace
{

constexpr char UP[] = "sensor service: up\n";
constexpr char DRIVER[] = "/sys/devices/platform/bma_2XX/accel_raw_data";

int requests()
{
    return sys_msgget(sys_ftok("/tmp", 1048), 0);
}

// vcam sensord in the background, up, and the queue that it answers on.
class Service
{
public:
    explicit Service(const test::Camera &camera)
        : camera_(camera), process_({VCAM_PROGRAM, "sensord"}, "", camera.path("/tmp/sensord")),
          replies_(sys_msgget(sys_ftok("/tmp", 1826), IPC_CREAT | 0666))
    {
        EXPECT_TRUE(test::wait_for([&] { return text().ends_with(UP); })) << text();
    }

    test::Process &process() { return process_; }
    std::string text() const { return camera_.read("/tmp/sensord"); }

    void ask(const std::string &name, int value1, int value2) const
    {
        rova_sensor_msg message = {ROVA_SENSOR_MSG_TYPE, {"", value1, value2}};
        name.copy(message.data.cmd, sizeof(message.data.cmd) - 1);
        ASSERT_EQ(msgsnd(requests(), &message, sizeof(message.data), 0), 0);
    }

    // "name value1 value2"; "none" when none comes for so long.
    std::string answer(double seconds = 20) const
    {
        rova_sensor_msg message = {};
        const bool came = test::wait_for(
            [&] {
                return msgrcv(replies_, &message, sizeof(message.data), ROVA_SENSOR_MSG_TYPE,
                              IPC_NOWAIT) == ROVA_SENSOR_MSG_SIZE;
            },
            seconds);
        return came ? std::string(message.data.cmd) + " " + std::to_string(message.data.value1) +
                          " " + std::to_string(message.data.value2)
                    : "none";
    }

    std::string answer_to(const std::string &name, int value1, int value2) const
    {
        ask(name, value1, value2);
        return answer();
    }

    // The service has taken the request and gone on.
    bool took(const std::string &request) const
    {
        return test::wait_for([&] { return text().ends_with(request + "\n"); });
    }

    bool replies_are_there() const
    {
        msqid_ds status = {};
        return msgctl(replies_, IPC_STAT, &status) == 0;
    }

private:
    const test::Camera &camera_;
    test::Process process_;
    int replies_;
};

} // namespace

TEST(VcamSensord, TellsRollAndPitchOfTheFiles)
{
    const test::Camera camera;
    const Service service(camera);
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
    camera.write("/virtual/sensor/roll", "-12\n");
    camera.write("/virtual/sensor/pitch.play", "1\n2\n");
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch -12 1");
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch -12 2");
}

TEST(VcamSensord, KeepsBothBasisValues)
{
    const test::Camera camera;
    const Service service(camera);
    service.ask("basis_r", -70000, 0);
    service.ask("basis_p", 8, 0);
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0") << "no answer before";
    EXPECT_EQ(pref_get_long(0, 40405), -70000);
    EXPECT_EQ(pref_get_long(0, 40409), 8);
    EXPECT_TRUE(camera.exists("/virtual/pref/boot.flash"));
}

TEST(VcamSensord, TellsABasisValueThatCannotBeKept)
{
    const test::Camera camera;
    camera.fault("pref_save", "-1");
    const Service service(camera);
    service.ask("basis_r", 1, 0);
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
    EXPECT_EQ(pref_get_long(0, 40405), 1);
    EXPECT_NE(service.text().find("vcam: basis_r cannot be kept\n"), std::string::npos);
}

TEST(VcamSensord, CalibratesByAReadingOfTheDriversFileARound)
{
    const test::Camera camera;
    camera.write(std::string(DRIVER) + ".play", "1, 2, 3\n-4, -5, -6\n");
    const Service service(camera);
    EXPECT_EQ(service.answer_to("calibration", 3, 1), "accelrawXY 1 2");
    for (const char *message : {"accelrawZ 3 0", "accelrawXY -4 -5", "accelrawZ -6 0",
                                "accelrawXY -4 -5", "accelrawZ -6 0", "done 0 0"})
        EXPECT_EQ(service.answer(), message);
    for (const int count : {0, -2})
        EXPECT_EQ(service.answer_to("calibration", count, 1), "done 0 0");
}

TEST(VcamSensord, TellsWhatIsNoSample)
{
    const test::Camera camera;
    const Service service(camera);
    for (const char *text : {"1, 2\n", "x"}) {
        camera.write(DRIVER, text);
        service.ask("calibration", 1, 1);
        EXPECT_TRUE(service.answer().starts_with("accelrawXY "));
        EXPECT_TRUE(service.answer().starts_with("accelrawZ "));
        EXPECT_EQ(service.answer(), "done 0 0") << "goes on";
    }
    EXPECT_NE(service.text().find("accel_raw_data: '1, 2' is no sample\n"), std::string::npos);
    EXPECT_NE(service.text().find("accel_raw_data: 'x' is no sample\n"), std::string::npos);
}

TEST(VcamSensord, TellsARollOrPitchThatIsNoNumber)
{
    const test::Camera camera;
    camera.write("/virtual/sensor/roll", "level\n");
    camera.write("/virtual/sensor/pitch", "4294967296\n");
    const Service service(camera);
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
    for (const char *told : {"sensor/roll: 'level' is not understood\n",
                             "sensor/pitch: '4294967296' is not understood\n"})
        EXPECT_NE(service.text().find(told), std::string::npos) << told;
}

TEST(VcamSensord, TellsAPositionThatIsNone)
{
    const test::Camera camera;
    camera.speed(100);
    camera.write("/virtual/sensor/position.play", "Left\nLeft\nLeft\nleft\n");
    const Service service(camera);
    EXPECT_EQ(service.answer_to("rotation", 4, 1), "rotation 4 0");
    EXPECT_EQ(service.text(), std::string(UP) + "rotation 4 1\n" +
                                  "vcam: virtual/sensor/position: 'Left' is not understood\n")
        << "once";
    camera.write("/virtual/sensor/position", "\n");
    service.ask("rotation", 0, 1);
    EXPECT_TRUE(service.took("rotation 0 1\nvcam: virtual/sensor/position: '' is not understood"));
    EXPECT_EQ(service.answer(0.1), "none") << "no position is none that can be asked for";
}

// More than the queue holds: the rest follows as it is read.
TEST(VcamSensord, ManyRoundsComeAsTheyAreRead)
{
    const test::Camera camera;
    camera.write(DRIVER, "7, 8, 9\n");
    const Service service(camera);
    service.ask("calibration", 1000, 1);
    for (int round = 0; round < 1000; round++) {
        ASSERT_EQ(service.answer(), "accelrawXY 7 8");
        ASSERT_EQ(service.answer(), "accelrawZ 9 0");
    }
    EXPECT_EQ(service.answer(), "done 0 0");
}

TEST(VcamSensord, ANewRequestEndsTheAnswerToTheOneBefore)
{
    const test::Camera camera;
    camera.write(DRIVER, "7, 8, 9\n");
    const Service service(camera);
    service.ask("rotation", 2, 1);
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
    EXPECT_TRUE(succeeded(vcam({"turn-camera", "right"})));
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 90 0") << "none of the rotation";
}

TEST(VcamSensord, ARotationIsAnsweredOnceTheCameraIsThere)
{
    const test::Camera camera;
    const Service service(camera);
    service.ask("rotation", 4, 1);
    EXPECT_TRUE(service.took("rotation 4 1"));
    EXPECT_EQ(service.answer(0.05), "none");
    EXPECT_TRUE(succeeded(vcam({"turn-camera", "down"})));
    EXPECT_EQ(service.answer(0.3), "none");
    EXPECT_TRUE(succeeded(vcam({"turn-camera", "left"})));
    EXPECT_EQ(service.answer(), "rotation 4 0");
    EXPECT_EQ(service.answer_to("rotation", 4, 1), "rotation 4 0") << "is there already";
    camera.write("/virtual/sensor/position.play", "up\nnowhere\nbottom\n");
    EXPECT_EQ(service.answer_to("rotation", 6, 1), "rotation 6 0");
}

TEST(VcamSensord, ANewCameraStandsUpright)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    EXPECT_EQ(camera.read(DRIVER), "0, 1024, 0\n");
    const Service service(camera);
    EXPECT_EQ(service.answer_to("rotation", 1, 1), "rotation 1 0");
}

TEST(VcamSensord, ASilentOneTakesRequestsWithoutAnAnswer)
{
    const test::Camera camera;
    camera.write("/virtual/sensor/answer.play", "silent\nnormal\n");
    const Service service(camera);
    service.ask("rollpitch", 0, 0);
    service.ask("calibration", 0, 1);
    EXPECT_EQ(service.answer(), "done 0 0") << "the first answer of both";
}

TEST(VcamSensord, ALateAnswerComesInCameraTime)
{
    const test::Camera camera;
    camera.speed(100);
    camera.write("/virtual/sensor/answer", "late 30000\n"); // 300 milliseconds of a test's
    const Service service(camera);
    service.ask("rollpitch", 0, 0);
    EXPECT_TRUE(service.took("rollpitch 0 0"));
    EXPECT_EQ(service.answer(0.02), "none");
    EXPECT_EQ(service.answer(), "rollpitch 0 0");
}

TEST(VcamSensord, AWrongNameOrPositionCanBeTold)
{
    const test::Camera camera;
    camera.write("/virtual/sensor/answer", "wrong name\n");
    const Service service(camera);
    EXPECT_EQ(service.answer_to("rotation", 1, 1), "wrong 1 0");
    EXPECT_EQ(service.answer_to("calibration", 0, 1), "wrong 0 0");
    camera.write("/virtual/sensor/answer", "wrong code\n");
    EXPECT_EQ(service.answer_to("rotation", 4, 1), "rotation 5 0") << "without a turn";
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
}

TEST(VcamSensord, OneThatIsGoneTakesBothQueuesAlong)
{
    const test::Camera camera;
    camera.write("/virtual/sensor/answer", "gone\n");
    Service service(camera);
    service.ask("rollpitch", 0, 0);
    EXPECT_EQ(service.process().wait(), 0);
    EXPECT_LT(requests(), 0);
    EXPECT_FALSE(service.replies_are_there());
}

TEST(VcamSensord, WhatIsNotUnderstoodIsAnsweredAsUsual)
{
    const test::Camera camera;
    const Service service(camera);
    for (const char *text : {"", "Silent", "late", "late soon", "late -1", "wrong"}) {
        camera.write("/virtual/sensor/answer", std::string(text) + "\n");
        EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0") << text;
        const std::string told = std::string("answer: '") + text + "' is not understood\n";
        EXPECT_NE(service.text().find(told), std::string::npos) << text;
    }
}

// A request without an end, one that is too long, and one that is none.
TEST(VcamSensord, OddRequestsDoNoHarm)
{
    const test::Camera camera;
    const Service service(camera);
    struct {
        long type;
        char bytes[100];
    } message = {1, {}};
    std::memset(message.bytes, 'r', sizeof(message.bytes));
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, sizeof(message.bytes)})
        ASSERT_EQ(msgsnd(requests(), &message, size, 0), 0);
    service.ask("unknown", 1, 2);
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
}

TEST(VcamSensord, AnAnswerThatNobodyTakesIsDropped)
{
    const test::Camera camera;
    const Service service(camera);
    sys_msgctl(sys_msgget(sys_ftok("/tmp", 1826), 0), IPC_RMID, nullptr);
    service.ask("rollpitch", 0, 0);
    EXPECT_TRUE(service.took("rollpitch 0 0"));
    service.ask("calibration", 0, 1);
    EXPECT_TRUE(service.took("calibration 0 1")) << "goes on";
}

// ------------------------------------------------------------------------- its life

TEST(VcamSensord, ServesUntilItIsAskedToEnd)
{
    const test::Camera camera;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        camera.remove("/tmp/sensord");
        Service service(camera);
        EXPECT_GE(requests(), 0);
        service.process().signal(signal);
        EXPECT_EQ(service.process().wait(), 0);
        EXPECT_LT(requests(), 0);
    }
}

TEST(VcamSensord, IsRefusedWhereOneRuns)
{
    const test::Camera camera;
    Service service(camera);
    EXPECT_TRUE(failed(vcam({"sensord"}), "the sensor service runs already (pid " +
                                              std::to_string(service.process().pid()) + ")"));
    EXPECT_EQ(service.answer_to("rollpitch", 0, 0), "rollpitch 0 0");
}

TEST(VcamSensord, ClearsTheQueueOfAKilledOneAndSaysSo)
{
    const test::Camera camera;
    {
        Service service(camera);
        service.process().signal(SIGSTOP);
        service.ask("rollpitch", 0, 0);
        service.process().signal(SIGKILL);
        EXPECT_EQ(service.process().wait(), 128 + SIGKILL);
    }
    const int stale = requests();
    EXPECT_GE(stale, 0);
    camera.remove("/tmp/sensord");
    const Service next(camera);
    EXPECT_TRUE(next.text().starts_with("cleared the queue of a killed service\n"));
    EXPECT_NE(requests(), stale);
    EXPECT_EQ(next.answer_to("calibration", 0, 1), "done 0 0") << "no answer to the old request";
}

TEST(VcamSensord, EndsWhenItsCameraIsRemoved)
{
    const test::Camera camera;
    Service service(camera);
    std::filesystem::remove_all(camera.path("/virtual"));
    EXPECT_EQ(service.process().wait(), 0);
}

TEST(VcamSensord, TellsWhyItCannotServe)
{
    const test::Camera camera;
    camera.fault("sys_msgget", "-1 errno ENOSPC");
    EXPECT_TRUE(failed(vcam({"sensord"}),
                       "the queue of the requests cannot be made (No space left on device)"));
}

TEST(VcamSensord, GoesWithTheDaemonUnlessToldNotTo)
{
    const test::Camera camera;
    const std::string rovad =
        program(camera, "cp $ROVA_SYSROOT/virtual/sensord.out $ROVA_SYSROOT/tmp/seen; exit 1\n");
    vcam({"start", "--no-app", "--no-sensord", "--rovad", rovad});
    EXPECT_FALSE(camera.exists("/virtual/sensord.out"));
    EXPECT_EQ(vcam({"start", "--no-app", "--rovad", rovad}).status, 2);
    EXPECT_EQ(camera.read("/tmp/seen"), UP) << "was there before the daemon";
    EXPECT_LT(requests(), 0) << "and ends with one that ends early";
}

TEST(VcamSensord, ThatRunsIsUsedAndItsQueueLeftAlone)
{
    const test::Camera camera;
    Service service(camera);
    const int served = requests();
    camera.write("/virtual/pref/adj_cap.image", "in use");
    vcam({"start", "--no-app", "--rovad", program(camera, "exit 1\n")});
    EXPECT_EQ(requests(), served);
    EXPECT_TRUE(service.process().running());
    EXPECT_TRUE(camera.exists("/virtual/pref/adj_cap.image"));
    EXPECT_FALSE(service.replies_are_there()) << "what a killed daemon left is gone";
}

TEST(VcamSensord, IsToldByStatusAndEndedByStop)
{
    const test::Camera camera;
    for (const bool by_kill : {false, true}) {
        camera.remove("/tmp/sensord");
        Service service(camera);
        EXPECT_NE(vcam({"status"})
                      .out.find("sensor service: up (pid " +
                                std::to_string(service.process().pid()) + ")\n"),
                  std::string::npos);
        EXPECT_TRUE(succeeded(by_kill ? vcam({"stop", "--kill"}) : vcam({"stop"})));
        EXPECT_EQ(service.process().wait(), by_kill ? 128 + SIGKILL : 0);
    }
}

TEST(VcamSensord, EndsWithThePower)
{
    const test::Camera camera;
    ASSERT_TRUE(succeeded(vcam({"create"})));
    Service service(camera);
    sys_system("/usr/bin/poweroff");
    EXPECT_EQ(service.process().wait(), 128 + SIGKILL);
}

// ------------------------------------------------------------------------- turn-camera

TEST(VcamTurnCamera, EachPositionIsTheDriversAndTheServices)
{
    const test::Camera camera;
    const struct {
        const char *name, *raw, *roll, *pitch;
    } positions[] = {
        {"right", "1024, 0, 0\n", "90\n", "0\n"},    {"down", "0, -1024, 0\n", "180\n", "0\n"},
        {"left", "-1024, 0, 0\n", "-90\n", "0\n"},   {"top", "0, 0, 1024\n", "0\n", "90\n"},
        {"bottom", "0, 0, -1024\n", "0\n", "-90\n"}, {"up", "0, 1024, 0\n", "0\n", "0\n"},
    };
    for (const auto &position : positions) {
        EXPECT_TRUE(succeeded(vcam({"turn-camera", position.name})));
        EXPECT_EQ(camera.read(DRIVER), position.raw) << position.name;
        EXPECT_EQ(camera.read("/virtual/sensor/roll"), position.roll);
        EXPECT_EQ(camera.read("/virtual/sensor/pitch"), position.pitch);
        EXPECT_EQ(camera.read("/virtual/sensor/position"), std::string(position.name) + "\n");
    }
}

TEST(VcamTurnCamera, DropsScriptedValues)
{
    const test::Camera camera;
    const std::string files[] = {DRIVER, "/virtual/sensor/roll", "/virtual/sensor/pitch",
                                 "/virtual/sensor/position"};
    for (const std::string &file : files)
        camera.write(file + ".play", "1\n2\n");
    EXPECT_TRUE(succeeded(vcam({"turn-camera", "left"})));
    for (const std::string &file : files)
        EXPECT_FALSE(camera.exists(file + ".play")) << file;
}

TEST(VcamTurnCamera, RefusesOtherWords)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"turn-camera", "Left"}), "Left not in"));
    EXPECT_TRUE(failed(vcam({"turn-camera"}), "POSITION is required"));
    EXPECT_FALSE(camera.exists("/virtual/sensor/position"));
    EXPECT_FALSE(camera.exists(DRIVER));
}

TEST(VcamTurnCamera, TellsWhatItCannotWrite)
{
    const test::Camera camera;
    camera.write("/virtual/sensor", "a file");
    EXPECT_TRUE(failed(vcam({"turn-camera", "left"}), "sensor/roll' cannot be written"));
}
