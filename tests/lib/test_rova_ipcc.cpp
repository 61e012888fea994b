#include "lib/rova_ipcc.h"

#include "common/rova_adjdata_handler.h"
#include "common/rova_csv.h"
#include "common/rova_osd.h"
#include "common/rova_power.h"
#include "common/rova_util.h"
#include "lib/rova_channel.h"
#include "platform/sys.h"
#include "platform/virtual/app.h"
#include "tests/lib/channel_test.h"
#include "tests/support/process.h"
#include "tests/support/serving_end.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/msg.h>
#include <thread>
#include <unistd.h>

using test::answer_bytes;
using test::bytes_of;
using test::never;
using test::plain_ok;
using test::record_of;
using test::ServingEnd;
using test::things_held;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr char ALT_SCRIPT[] = "/sdcard/alt.adj";
constexpr char ORDINARY_SCRIPT[] = "/sdcard/info.adj";

class Ipcc : public testing::Test
{
protected:
    ~Ipcc() override
    {
        test::wrap_clear();
        rova_set_alt_mode(ORDINARY_SCRIPT);
    }

    // A send must let go of all that it opened, however it ends.
    int send(const cmd_data &record, uint32_t cmd_type = ROVA_CMD_SCRIPT)
    {
        const std::size_t before = things_held();
        const int result = rova_ipcc_send(cmd_type, &record, &answer);
        EXPECT_EQ(things_held(), before);
        return result;
    }
    int send(const std::string &cmd) { return send(record_of(cmd)); }

    // Fails, with the answer untouched.
    void expect_failure(const std::string &cmd = "lens")
    {
        std::memset(&answer, 'x', sizeof(answer));
        EXPECT_EQ(send(cmd), 0);
        EXPECT_EQ(bytes_of(answer), std::string(sizeof(answer), 'x'));
    }
    int queue() const
    {
        return sys_msgget(sys_ftok("/tmp", test::Channel().project), IPC_CREAT | 0666);
    }
    bool time_ran_out_after(int seconds) const
    {
        const std::string number = std::to_string(seconds);
        return camera.logged("sem_wait leached " + number + " seconds timeout.") &&
               camera.logged("rova_sem_timedwait failed, timeout=" + number + " ");
    }

    test::Camera camera;
    rova_cmd_response answer = {};
};

} // namespace

TEST_F(Ipcc, ACommandAndItsAnswerCrossByteForByte)
{
    std::string bytes =
        answer_bytes(1, 7, 0x11223344, 0x55667788, 0x99aabbcc, 2, std::string(510, 'z'));
    const ServingEnd app(camera, [&](int, const std::string &) { return bytes; });
    cmd_data record = record_of("lens", "get");
    record.e[3] = -2;
    std::memset(record.data_path, 'd', sizeof(record.data_path));
    EXPECT_EQ(send(record, ROVA_CMD_PTP2), 1);
    EXPECT_EQ(bytes_of(answer), bytes);
    EXPECT_EQ(answer.result, 7);
    EXPECT_EQ(+answer.param3, 0x99aabbccU);
    EXPECT_EQ(+answer.stream.stream_type, 2);

    const ServingEnd::Command seen = app.command(1);
    EXPECT_EQ(seen.type, 5);
    ASSERT_EQ(seen.message.size(), 8U);
    EXPECT_EQ(seen.message.substr(0, 4), std::string("\x00\x00\xc2\x85", 4));
    EXPECT_EQ(seen.command_area, bytes_of(record) + std::string(4096 - 500, '\0'));
}

TEST_F(Ipcc, BothAreasAreClearedBeforeEachCommand)
{
    const ServingEnd app(camera, [](int nth, const std::string &) {
        return nth == 1 ? std::string(0xff000, 'o') : std::string();
    });
    ASSERT_EQ(send(record_of("lens_mount", "check")), 1);
    std::fstream memory(camera.path("/dev/mem"), std::ios::in | std::ios::out | std::ios::binary);
    memory.seekp(0x85c20000) << std::string(4096, 'o');
    memory.close();

    EXPECT_EQ(send("xsw"), 1);
    const ServingEnd::Command seen = app.command(2);
    EXPECT_TRUE(seen.answer_area_is_clear);
    EXPECT_EQ(seen.command_area, bytes_of(record_of("xsw")) + std::string(4096 - 500, '\0'));
}

TEST_F(Ipcc, AnAcknowledgementWithoutAnAnswerIsAPlainOk)
{
    const ServingEnd app(camera, [](int, const std::string &) { return std::string(); });
    std::memset(&answer, 'x', sizeof(answer));
    EXPECT_EQ(send("lens"), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0));
}

TEST_F(Ipcc, NoRecordOrNoAnswerIsRefused)
{
    const cmd_data record = record_of("lens");
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_SCRIPT, nullptr, nullptr), 0);
    EXPECT_TRUE(camera.logged("cmd_data is NULL "));
    EXPECT_FALSE(camera.logged("resp is NULL "));
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_SCRIPT, &record, nullptr), 0);
    EXPECT_TRUE(camera.logged("resp is NULL "));
}

TEST_F(Ipcc, AFolderThatIsNotReadableGivesNoKey)
{
    camera.remove("/tmp");
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to access (No such file or directory) "));
    EXPECT_TRUE(camera.logged("failed to generate msg key "));
    EXPECT_FALSE(camera.logged("failed to create mqueue"));
}

TEST_F(Ipcc, AKeyThatCannotBeMadeIsTold)
{
    camera.fault("sys_ftok", "-1 errno ENOENT");
    expect_failure();
    EXPECT_FALSE(camera.logged("failed to access"));
    EXPECT_TRUE(camera.logged("failed to generate msg key "));
}

TEST_F(Ipcc, WithoutAServingEndThereIsNoQueue)
{
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to create mqueue. (No such file or directory) "));
    EXPECT_EQ(sys_msgget(sys_ftok("/tmp", test::Channel().project), 0666), -1);
    EXPECT_FALSE(camera.exists("/dev/mem"));
}

TEST_F(Ipcc, MemoryThatCannotBeOpenedIsTold)
{
    ASSERT_GE(queue(), 0);
    camera.fault("sys_open", "-1 errno EACCES on /dev/mem");
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to open /dev/mem. (Permission denied) "));
}

TEST_F(Ipcc, AnAreaThatTheMemoryDoesNotHaveIsTold)
{
    ASSERT_GE(queue(), 0);
    for (std::uintmax_t size : {std::uintmax_t{0}, std::uintmax_t{0x85c21000}}) {
        camera.write("/dev/mem", "");
        camera.remove("/virtual/dlog");
        std::filesystem::resize_file(camera.path("/dev/mem"), size);
        expect_failure();
        EXPECT_TRUE(camera.logged("failed to mmap (No such device or address) ")) << size;
    }
}

TEST_F(Ipcc, AQueueThatIsRemovedMeanwhileIsTold)
{
    ASSERT_GE(queue(), 0);
    test::wrap_fail("msgsnd", -1, EIDRM);
    expect_failure();
    EXPECT_TRUE(camera.logged("msgsnd failed (Identifier removed) "));
}

// A serving end that was killed leaves its queue, which fills up with commands nobody reads.
TEST_F(Ipcc, AFullQueueIsTold)
{
    const int mq_id = queue();
    ASSERT_GE(mq_id, 0);
    msqid_ds attributes = {};
    ASSERT_EQ(sys_msgctl(mq_id, IPC_STAT, &attributes), 0);
    attributes.msg_qbytes = 15;
    ASSERT_EQ(sys_msgctl(mq_id, IPC_SET, &attributes), 0);
    camera.speed(1e6);
    expect_failure();
    EXPECT_TRUE(time_ran_out_after(360));
    expect_failure();
    EXPECT_TRUE(camera.logged("msgsnd failed (Resource temporarily unavailable) "));
}

TEST_F(Ipcc, ASemaphoreThatCannotBeOpenedIsTold)
{
    const ServingEnd app(camera, never);
    camera.fault("sys_sem_open", "-1 errno EACCES");
    expect_failure();
    EXPECT_TRUE(camera.logged("Semaphore open Fail! (name:sem_rova_resp, Permission denied)"));
    EXPECT_FALSE(camera.logged("rova_sem_timedwait failed"));
    EXPECT_EQ(app.command(1).type, ROVA_CMD_SCRIPT); // the command was on its way already
}

TEST_F(Ipcc, AWaitThatFailsIsToldWithItsReason)
{
    ASSERT_GE(queue(), 0);
    const struct {
        int error;
        const char *text;
    } rows[] = {
        {EAGAIN, "EAGAIN "},
        {EINVAL, "Invalid semaphore "},
        {ETIMEDOUT, "sem_wait leached 360 seconds timeout."},
    };
    for (const auto &row : rows) {
        camera.remove("/virtual/dlog");
        test::wrap_fail("sem_timedwait", -1, row.error);
        expect_failure();
        EXPECT_TRUE(camera.logged(row.text)) << row.text;
        EXPECT_TRUE(camera.logged("rova_sem_timedwait failed, timeout=360 "));
    }
}

TEST_F(Ipcc, AnyOtherFailureOfTheWaitCountsAsAnAnswer)
{
    ASSERT_GE(queue(), 0);
    test::wrap_fail("sem_timedwait", -1, EDEADLK);
    std::memset(&answer, 'x', sizeof(answer));
    EXPECT_EQ(send("lens"), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0));
    EXPECT_FALSE(camera.logged("rova_sem_timedwait failed"));
}

TEST_F(Ipcc, AWaitWithoutLimitFailsAsOneWith)
{
    ASSERT_GE(queue(), 0);
    test::wrap_fail("sem_wait", -1, EINVAL);
    expect_failure("shutter");
    EXPECT_TRUE(camera.logged("Invalid semaphore "));
    EXPECT_TRUE(camera.logged("rova_sem_timedwait failed, timeout=0 "));
}

TEST_F(Ipcc, AnInterruptedWaitGoesOn)
{
    const ServingEnd app(camera, plain_ok);
    test::wrap_fail("sem_timedwait", -1, EINTR);
    EXPECT_EQ(send("lens"), 1);
    test::wrap_fail("sem_wait", -1, EINTR);
    EXPECT_EQ(send("shutter"), 1);
    EXPECT_FALSE(camera.logged("failed"));
}

TEST_F(Ipcc, ShutterWaitsWithoutLimitWhateverItsCase)
{
    const ServingEnd app(camera, plain_ok);
    test::wrap_fail("sem_timedwait", -1, ETIMEDOUT, 1, true);
    for (const char *cmd : {"shutter", "SHUTTER", "Shutter"}) {
        EXPECT_EQ(send(record_of(cmd, "open")), 1) << cmd;
        EXPECT_EQ(send(cmd), 1) << cmd;
    }
    expect_failure("shutter_speed");
}

namespace
{

struct TimeOut {
    const char *cmd;
    const char *script;
    int seconds;
};

class IpccTimeOut : public Ipcc, public testing::WithParamInterface<TimeOut>
{
};

} // namespace

TEST_P(IpccTimeOut, IsThatOfTheWordAndTheMode)
{
    const ServingEnd app(camera, never);
    constexpr double SPEED = 10000;
    camera.speed(SPEED);
    rova_set_alt_mode(GetParam().script);
    const Clock::time_point begin = Clock::now();
    expect_failure(GetParam().cmd);
    const std::chrono::duration<double> took = Clock::now() - begin;
    EXPECT_GT(took.count(), (GetParam().seconds - 1) / SPEED);
    EXPECT_TRUE(time_ran_out_after(GetParam().seconds));
}

INSTANTIATE_TEST_SUITE_P(
    Words, IpccTimeOut,
    testing::Values(TimeOut{"lens", ORDINARY_SCRIPT, 360}, TimeOut{"lens", ALT_SCRIPT, 60},
                    TimeOut{"defect_pixel", ORDINARY_SCRIPT, 600},
                    TimeOut{"defect_pixel", ALT_SCRIPT, 600}, TimeOut{"Vfpn", ORDINARY_SCRIPT, 600},
                    TimeOut{"vfpn", ALT_SCRIPT, 600}, TimeOut{"vfpn2", ORDINARY_SCRIPT, 360}),
    [](const auto &row) {
        return std::string(row.param.cmd) + (row.param.script == ALT_SCRIPT ? "_alt" : "");
    });

TEST_F(Ipcc, ATimeOutBelowZeroIsInvalid)
{
    ASSERT_GE(queue(), 0);
    rova_channel channel = {
        ROVA_IPCC_PROJECT, ROVA_IPCC_SEM, 8, [](const cmd_data *) { return -1; }, {}};
    const cmd_data record = record_of("lens");
    EXPECT_EQ(rova_channel_send(&channel, ROVA_CMD_SCRIPT, &record, &answer), 0);
    EXPECT_TRUE(camera.logged("invalid timeout (sec = -1) "));
}

TEST_F(Ipcc, AnAnswerThatComesTooLateEndsTheNextWaitAtOnce)
{
    const ServingEnd app(camera, [&](int nth, const std::string &) -> std::optional<std::string> {
        if (nth != 1 || !test::wait_for([&] { return camera.exists("/tmp/go"); }))
            return std::nullopt;
        return answer_bytes(0, 1);
    });
    camera.speed(10000);
    expect_failure("lens");
    EXPECT_TRUE(time_ran_out_after(360));
    camera.write("/tmp/go", "");
    ASSERT_TRUE(test::wait_for([&] { return app.answered(1); }));

    camera.speed(1);
    EXPECT_EQ(send("shutter"), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0)); // not the late answer: the area was cleared
}

TEST_F(Ipcc, TwoSendersTakeTurns)
{
    const ServingEnd app(camera, [](int, const std::string &area) {
        return answer_bytes(2, 0, 0, 0, 0, 1, area.substr(36, 31));
    });
    auto send_many = [](const char *name, std::atomic<int> *good) {
        for (int i = 0; i < 20; i++) {
            const std::string word = name + std::to_string(i);
            const cmd_data record = record_of("lens", word);
            rova_cmd_response own = {};
            *good += rova_ipcc_send(ROVA_CMD_SCRIPT, &record, &own) == 1 && own.stream.text == word;
        }
    };
    std::atomic<int> good = 0;
    std::thread other(send_many, "other", &good);
    send_many("this", &good);
    other.join();
    EXPECT_EQ(good, 40);
}

namespace
{

std::atomic<int64_t> last_signal = 0;

int64_t now()
{
    return Clock::now().time_since_epoch().count();
}

void note_signal(int)
{
    last_signal = now();
}

// Of the calling thread; the signal reaches no other one.
class SignalHere
{
public:
    SignalHere()
    {
        last_signal = 0;
        struct sigaction action = {};
        action.sa_handler = note_signal; // without SA_RESTART
        sigaction(SIGUSR1, &action, &before_);
    }
    ~SignalHere() { sigaction(SIGUSR1, &before_, nullptr); }
    SignalHere(const SignalHere &) = delete;
    SignalHere &operator=(const SignalHere &) = delete;

private:
    struct sigaction before_ = {};
};

} // namespace

TEST_F(Ipcc, ASignalDoesNotEndTheWait)
{
    const SignalHere handler;
    const ServingEnd app(camera, [&](int, const std::string &) -> std::optional<std::string> {
        if (!test::wait_for([&] { return camera.exists("/tmp/go"); }))
            return std::nullopt;
        return answer_bytes(0, 3);
    });
    std::thread person([&] {
        sigset_t usr1;
        sigemptyset(&usr1);
        sigaddset(&usr1, SIGUSR1);
        pthread_sigmask(SIG_BLOCK, &usr1, nullptr);
        app.command(1);
        for (int i = 0; i < 5; i++) {
            last_signal = 0;
            test::send_signal(getpid(), SIGUSR1);
            EXPECT_TRUE(test::wait_for([] { return last_signal != 0; }));
        }
        camera.write("/tmp/go", "");
    });
    const cmd_data record = record_of("lens");
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_SCRIPT, &record, &answer), 1);
    person.join();
    EXPECT_EQ(answer.result, 3);
}

TEST_F(Ipcc, AnInterruptedWaitHasItsWholeTimeAgain)
{
    const SignalHere handler;
    const ServingEnd app(camera, never);
    rova_set_alt_mode(ALT_SCRIPT);
    constexpr double SPEED = 300;
    camera.speed(SPEED);
    // On a machine that is held up the signal may come when the time has run out already.
    for (int nth = 1; nth < 20; nth++) {
        last_signal = 0;
        std::thread person([&] {
            sigset_t usr1;
            sigemptyset(&usr1);
            sigaddset(&usr1, SIGUSR1);
            pthread_sigmask(SIG_BLOCK, &usr1, nullptr);
            app.command(nth);
            test::send_signal(getpid(), SIGUSR1);
        });
        const cmd_data record = record_of("lens");
        EXPECT_EQ(rova_ipcc_send(ROVA_CMD_SCRIPT, &record, &answer), 0);
        const int64_t end = now();
        const int64_t signal = last_signal;
        person.join();
        if (signal == 0)
            continue;
        EXPECT_GT(Clock::duration(end - signal), std::chrono::duration<double>(59 / SPEED));
        return;
    }
    FAIL() << "no signal came in time";
}

namespace
{

char camera_handle; // its address

class IpccServing : public Ipcc
{
protected:
    ~IpccServing() override { rova_stop_ipcc(); }

    int start() { return rova_start_ipcc(&camera_handle); }
    template <typename Function> Function *service(uint32_t number) const
    {
        return reinterpret_cast<Function *>(virt::app_service(number));
    }
};

} // namespace

TEST_F(IpccServing, NeedsAHandle)
{
    EXPECT_EQ(rova_start_ipcc(nullptr), 0);
    EXPECT_TRUE(camera.logged("handle is NULL "));
    EXPECT_EQ(test::SERVED_IPCC.queue(), -1);
    ASSERT_EQ(start(), 1);
    EXPECT_EQ(rova_start_ipcc(nullptr), 1); // it is started, whatever it is given
}

TEST_F(IpccServing, TheStackIsGivenTheCallbackAndThenTheServicesInTheirOrder)
{
    ASSERT_EQ(start(), 1);
    std::vector<std::string> expected = {"mm_camera_ioctl(117)"};
    for (int number : {1, 2, 3, 4, 6, 7, 8, 9, 10, 11, 20, 21})
        expected.push_back("mm_camera_ioctl(120, " + std::to_string(number) + ")");
    EXPECT_EQ(camera.call_texts(), expected);
}

TEST_F(IpccServing, EachNumberStandsForItsService)
{
    ASSERT_EQ(start(), 1);
    const struct {
        uint32_t number;
        void (*function)(void);
    } rows[] = {
        {1, reinterpret_cast<void (*)(void)>(rova_set_adjdata)},
        {2, reinterpret_cast<void (*)(void)>(rova_csv_create)},
        {3, reinterpret_cast<void (*)(void)>(rova_csv_write)},
        {4, reinterpret_cast<void (*)(void)>(rova_csv_close)},
        {6, reinterpret_cast<void (*)(void)>(rova_osd_ipcc_text_size)},
        {7, reinterpret_cast<void (*)(void)>(rova_osd_ipcc_text_color)},
        {8, reinterpret_cast<void (*)(void)>(rova_osd_ipcc_text)},
        {9, reinterpret_cast<void (*)(void)>(rova_osd_ipcc_clear_screen)},
        {10, reinterpret_cast<void (*)(void)>(rova_osd_ipcc_clear_window)},
        {11, reinterpret_cast<void (*)(void)>(rova_osd_ipcc_bg_color)},
        {20, reinterpret_cast<void (*)(void)>(rova_power_reset)},
        {21, reinterpret_cast<void (*)(void)>(rova_power_reboot)},
    };
    for (const auto &row : rows)
        EXPECT_EQ(virt::app_service(row.number), row.function) << row.number;
    for (uint32_t unset : {0U, 5U, 12U, 19U, 22U, 0xffffffffU})
        EXPECT_EQ(virt::app_service(unset), nullptr) << unset;
}

TEST_F(IpccServing, ServicesDoTheirWorkForTheCamerasCommands)
{
    ASSERT_EQ(start(), 1);
    rova_csv_handle csv = service<decltype(rova_csv_create)>(2)("lens.csv", "mm");
    ASSERT_NE(csv, nullptr);
    EXPECT_EQ(service<decltype(rova_csv_write)>(3)(csv, "%d", 35), 1);
    rova_resp_stream stream = {};
    EXPECT_EQ(service<decltype(rova_csv_close)>(4)(csv, &stream), 1);
    EXPECT_THAT(camera.read(stream.text), testing::HasSubstr("35"));
    // No display thread serves in this process: the request is refused, not lost.
    EXPECT_EQ(service<decltype(rova_osd_ipcc_text)>(8)(1, "%s", "lens"), -1);
}

TEST_F(IpccServing, AStackThatRefusesIsToldAndServedAllTheSame)
{
    camera.fault("mm_camera_ioctl", "-1 at 1");
    ASSERT_EQ(start(), 1);
    EXPECT_TRUE(camera.logged("failed to register the completion callback "));
    EXPECT_FALSE(camera.logged("failed to register service"));
    rova_stop_ipcc();

    camera.fault("mm_camera_ioctl", "1 at 4"); // the callback, 1, 2, then 3
    ASSERT_EQ(start(), 1);
    EXPECT_TRUE(camera.logged("failed to register service 3 "));
    EXPECT_EQ(camera.calls("mm_camera_ioctl").size(), 26U);
    EXPECT_EQ(send("lens"), 1);
}

TEST_F(IpccServing, CommandsAreCountedFromOneAndNamed)
{
    ASSERT_EQ(start(), 1);
    const cmd_data record = record_of("lens");
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_CARD, &record, &answer), 1);
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_PTP2, &record, &answer), 1);
    EXPECT_EQ(rova_ipcc_send(77, &record, &answer), 1);
    for (const char *line : {"rova-ipcc: 1th cmd recieved [card] -------- ",
                             "rova-ipcc: 2th cmd recieved [ptp2] -------- ",
                             "rova-ipcc: 3th cmd recieved [unknown] -------- "})
        EXPECT_TRUE(camera.logged(line)) << line;
    EXPECT_TRUE(
        test::wait_for([&] { return camera.logged("rova-ipcc: 3th cmd done ------------- "); }));
    EXPECT_TRUE(camera.logged("cmd result = 0 "));
    rova_stop_ipcc();
    ASSERT_EQ(start(), 1);
    camera.remove("/virtual/dlog");
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_CARD, &record, &answer), 1);
    EXPECT_TRUE(camera.logged("rova-ipcc: 1th cmd recieved [card] -------- "));
}

TEST_F(IpccServing, WhatTheStackReturnsForACommandIsNotLookedAt)
{
    ASSERT_EQ(start(), 1);
    camera.fault("mm_camera_ioctl", "-1 at 1"); // this command is not carried out
    camera.speed(10000);
    expect_failure("lens");
    EXPECT_TRUE(test::wait_for([&] { return camera.logged("rova-ipcc: 1th cmd done "); }));
    camera.speed(1);
    const cmd_data record = record_of("lens");
    EXPECT_EQ(rova_ipcc_send(ROVA_CMD_SCRIPT, &record, &answer), 1);
}

TEST_F(IpccServing, AMessageWithAnAddressOutsideTheMemoryIsLeftUnanswered)
{
    ASSERT_EQ(start(), 1);
    const rova_channel_message message = {ROVA_CMD_SCRIPT, 0xffffffff, 0};
    ASSERT_EQ(msgsnd(test::SERVED_IPCC.queue(), &message, ROVA_IPCC_MESSAGE_SIZE, 0), 0);
    EXPECT_TRUE(test::wait_for([&] { return camera.logged("rova-ipcc: 1th cmd done"); }));
    EXPECT_TRUE(camera.calls("app_command").empty());
}

TEST_F(IpccServing, CommandsOnTheQueueAreHandedOnBeforeAStop)
{
    ASSERT_EQ(start(), 1);
    const rova_channel_message message = {ROVA_CMD_SCRIPT, ROVA_CMD_AREA_ADDR, 0};
    for (int i = 0; i < 5; i++)
        ASSERT_EQ(msgsnd(test::SERVED_IPCC.queue(), &message, ROVA_IPCC_MESSAGE_SIZE, 0), 0);
    EXPECT_EQ(rova_stop_ipcc(), 1);
    EXPECT_TRUE(camera.logged("rova-ipcc: 5th cmd done"));
    EXPECT_TRUE(test::wait_for([&] { return camera.calls("app_command").size() == 5; }));
}

TEST_F(IpccServing, AnAcknowledgementEndsTheWaitOfTheSender)
{
    uint8_t bytes[ROVA_CMD_RESPONSE_SIZE] = {3};
    EXPECT_EQ(rova_ipcc_ack(bytes), 0);
    EXPECT_TRUE(camera.logged("cmd result = 3 "));
    ASSERT_GE(queue(), 0);
    EXPECT_EQ(send("shutter"), 1);
}

TEST_F(IpccServing, AnAcknowledgementWithoutAnAnswerIsRefused)
{
    EXPECT_EQ(rova_ipcc_ack(nullptr), -1);
    EXPECT_TRUE(camera.logged("param is null "));
    EXPECT_FALSE(test::SERVED_IPCC.has_semaphore());
}

TEST_F(IpccServing, AnAcknowledgementThatCannotBeGivenIsTold)
{
    uint8_t bytes[ROVA_CMD_RESPONSE_SIZE] = {};
    camera.fault("sys_sem_open", "-1 at 1 errno EACCES");
    EXPECT_EQ(rova_ipcc_ack(bytes), -1);
    EXPECT_TRUE(camera.logged("Semaphore open Fail! (name: sem_rova_resp, Permission denied)"));
    EXPECT_TRUE(camera.logged("__rova_sem_put failed "));

    camera.remove("/virtual/dlog");
    const std::size_t before = things_held();
    test::wrap_fail("sem_post", -1, EOVERFLOW);
    EXPECT_EQ(rova_ipcc_ack(bytes), -1);
    EXPECT_EQ(things_held(), before);
    EXPECT_TRUE(camera.logged(
        "sem_post failed (name: sem_rova_resp, Value too large for defined data type) "));
    EXPECT_TRUE(camera.logged("__rova_sem_put failed "));
}
