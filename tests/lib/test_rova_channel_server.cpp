// What serving is on both channels.
#include "lib/rova_channel_server.h"

#include "common/rova_util.h"
#include "platform/sys.h"
#include "platform/virtual/objects.h"
#include "tests/lib/channel_test.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/msg.h>
#include <thread>

using test::answer_bytes;
using test::Application;
using test::bytes_of;
using test::record_of;
using test::things_held;

namespace
{

class ServedChannel : public testing::TestWithParam<const test::Served *>
{
protected:
    ~ServedChannel() override
    {
        test::wrap_clear();
        served.stop();
    }

    int send(const std::string &cmd, const std::string &p0 = "")
    {
        const cmd_data record = record_of(cmd, p0);
        return served.send(ROVA_CMD_SCRIPT, &record, &answer);
    }
    void answers(const std::string &name, const std::string &text) const
    {
        camera.write("/virtual/app/answer/" + name, text);
    }
    bool logged(const std::string &text) const { return camera.logged(text); }
    bool ended() const { return logged("\033[33m" + std::string(served.log) + ": thread exited "); }
    // A message as no sender sends it.
    int put(long type, std::size_t size) const
    {
        struct {
            long type;
            char bytes[64];
        } message = {type, {}};
        return msgsnd(served.queue(), &message, size, IPC_NOWAIT);
    }
    int put_command() const { return put(ROVA_CMD_SCRIPT, served.channel.message_size); }
    void expect_nothing_left()
    {
        EXPECT_EQ(served.queue(), -1);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_FALSE(served.has_semaphore());
    }
    void expect_start_fails()
    {
        const std::size_t before = things_held();
        EXPECT_EQ(served.start(), 0);
        EXPECT_LE(things_held(), before);
        expect_nothing_left();
    }

    const test::Served &served = *GetParam();
    test::Camera camera;
    rova_cmd_response answer = {};
};

INSTANTIATE_TEST_SUITE_P(Channels, ServedChannel,
                         testing::Values(&test::SERVED_IPCC, &test::SERVED_APP),
                         [](const auto &row) { return std::string(row.param->label); });

} // namespace

TEST_P(ServedChannel, AnotherProcessCarriesACommandOutAndAnswersIt)
{
    answers("lens.get", "ng\nparams 1 0x20 -1\nstream 2 a  text\n");
    Application app(camera, served);
    cmd_data record = record_of("LENS", "Get");
    record.p_count = 3;
    std::strcpy(record.p[2], "c");
    EXPECT_EQ(served.send(ROVA_CMD_PTP, &record, &answer), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(1, 1, 1, 0x20, 0xffffffff, 2, "a  text"));

    const auto calls = camera.calls("app_command");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0]["args"], (nlohmann::json{served.label, {"LENS", "Get", "", "c"}}));
    EXPECT_EQ(app.stop(), 0);
    expect_nothing_left();
    EXPECT_TRUE(logged("ROVA_CTRL_STOP_PACKET is received "));
    EXPECT_TRUE(ended());
}

TEST_P(ServedChannel, ManyCommandsAreAnsweredInTurn)
{
    answers("even", "result 2");
    answers("odd", "result 3");
    ASSERT_EQ(served.start(), 1);
    for (int i = 0; i < 20; i++) {
        ASSERT_EQ(send(i % 2 != 0 ? "odd" : "even"), 1);
        EXPECT_EQ(answer.result, i % 2 + 2);
    }
}

TEST_P(ServedChannel, ASecondStartIsTakenForGranted)
{
    ASSERT_EQ(served.start(), 1);
    const std::size_t before = things_held();
    EXPECT_EQ(served.start(), 1);
    EXPECT_TRUE(logged("already started " + std::string(served.already) + " "));
    EXPECT_LE(things_held(), before);
    EXPECT_EQ(send("lens"), 1);
}

TEST_P(ServedChannel, ASecondStopIsTakenForGranted)
{
    EXPECT_EQ(served.stop(), 1);
    EXPECT_TRUE(logged("already stopped " + std::string(served.already) + " "));
    ASSERT_EQ(served.start(), 1);
    camera.remove("/virtual/dlog");
    EXPECT_EQ(served.stop(), 1);
    EXPECT_FALSE(logged("already stopped"));
    EXPECT_EQ(served.stop(), 1);
    EXPECT_TRUE(logged("already stopped"));
}

TEST_P(ServedChannel, AStopLeavesNothingBehindAndTheNextStartServes)
{
    const std::size_t before = things_held();
    for (int i = 0; i < 3; i++) {
        ASSERT_EQ(served.start(), 1);
        EXPECT_EQ(send("lens"), 1);
        ASSERT_EQ(served.stop(), 1);
        EXPECT_TRUE(test::wait_for([&] { return things_held() <= before; }));
        expect_nothing_left();
    }
}

TEST_P(ServedChannel, TheThreadIsNamedAndHasItsStack)
{
    ASSERT_EQ(served.start(), 1);
    const pthread_t thread = test::wrap_last_thread();
    char name[16] = {};
    EXPECT_TRUE(test::wait_for([&] {
        return pthread_getname_np(thread, name, sizeof(name)) == 0 &&
               std::strcmp(name, served.comm) == 0;
    })) << name;
    pthread_attr_t attributes;
    std::size_t stack = 0;
    pthread_getattr_np(thread, &attributes);
    pthread_attr_getstacksize(&attributes, &stack);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(stack, 0x100000U);
}

TEST_P(ServedChannel, QueueAndSemaphoreAreMadeAsEveryoneExpectsThem)
{
    ASSERT_EQ(served.start(), 1);
    msqid_ds attributes = {};
    ASSERT_EQ(sys_msgctl(served.queue(), IPC_STAT, &attributes), 0);
    EXPECT_EQ(attributes.msg_perm.mode & 0777, 0666);
    EXPECT_TRUE(served.has_semaphore());
}

TEST_P(ServedChannel, StartsWithoutAKeyFail)
{
    camera.remove("/tmp");
    expect_start_fails();
    EXPECT_TRUE(logged("failed to access (No such file or directory) "));
    EXPECT_TRUE(logged("failed to generate msg key "));
    std::filesystem::create_directories(camera.path("/tmp"));
    camera.fault("sys_ftok", "-1 at 1 errno ENOENT");
    expect_start_fails();
    EXPECT_EQ(served.start(), 1);
}

TEST_P(ServedChannel, StartsWithoutASemaphoreFail)
{
    camera.fault("sys_sem_open", "-1 at 1 errno EACCES");
    EXPECT_EQ(served.start(), 0);
    EXPECT_TRUE(logged("failed to create semaphore. (Permission denied) "));
    expect_nothing_left();
    EXPECT_EQ(served.start(), 1);
}

TEST_P(ServedChannel, EachStepOfTheThreadThatFailsEndsTheStart)
{
    for (const char *step : {"pthread_attr_init", "pthread_attr_setdetachstate",
                             "pthread_attr_setstacksize", "pthread_create"}) {
        camera.remove("/virtual/dlog");
        test::wrap_fail(step, EAGAIN, EAGAIN);
        expect_start_fails();
        EXPECT_TRUE(logged(std::string(step) + " failed (errno=11) ")) << step;
        EXPECT_TRUE(logged("rova_thread_create failed "));
    }
    EXPECT_EQ(served.start(), 1);
    EXPECT_EQ(send("lens"), 1);
}

// Whoever owns it, it may still be served.
TEST_P(ServedChannel, AQueueThatIsThereMakesTheStartFailAndStays)
{
    Application app(camera, served);
    const std::size_t registered = camera.calls("mm_camera_ioctl").size();
    EXPECT_EQ(served.start(), 0);
    EXPECT_TRUE(logged("failed to create mqueue. (File exists) "));
    EXPECT_EQ(camera.calls("mm_camera_ioctl").size(), registered);
    EXPECT_TRUE(served.has_semaphore());
    EXPECT_EQ(send("lens"), 1);
    EXPECT_EQ(app.stop(), 0);
    EXPECT_EQ(served.start(), 1);
}

TEST_P(ServedChannel, AnApplicationThatStartsLaterServesFromThenOn)
{
    EXPECT_EQ(send("lens"), 0);
    EXPECT_TRUE(logged("failed to create mqueue. (No such file or directory) "));
    const Application app(camera, served);
    EXPECT_EQ(send("lens"), 1);
}

TEST_P(ServedChannel, AKilledApplicationLeavesItsQueueUntilTheCameraIsSwitchedOff)
{
    answers("lens.crash", "crash");
    camera.speed(10000);
    Application app(camera, served);
    EXPECT_EQ(send("lens", "crash"), 0);
    EXPECT_TRUE(logged("sem_wait leached 360 seconds timeout."));
    EXPECT_EQ(app.wait(), 128 + SIGABRT);

    EXPECT_EQ(served.start(), 0);
    EXPECT_TRUE(logged("failed to create mqueue. (File exists) "));
    EXPECT_EQ(send("lens"), 0); // into a queue that nobody reads

    virt::clear_kernel_objects();
    ASSERT_EQ(served.start(), 1);
    camera.speed(1);
    EXPECT_EQ(send("lens"), 1);
}

TEST_P(ServedChannel, AnApplicationKilledBetweenCommandsDoesTheSame)
{
    camera.speed(10000);
    Application app(camera, served);
    EXPECT_EQ(send("lens"), 1);
    EXPECT_EQ(app.end(SIGKILL), 128 + SIGKILL);
    EXPECT_EQ(send("lens"), 0);
    EXPECT_EQ(served.start(), 0);
}

TEST_P(ServedChannel, AnAnswerThatIsNeverGivenTakesTheWholeTime)
{
    answers("lens", "never");
    camera.speed(10000);
    Application app(camera, served);
    EXPECT_EQ(send("lens"), 0);
    EXPECT_TRUE(logged("sem_wait leached 360 seconds timeout."));
    EXPECT_TRUE(logged("rova_sem_timedwait failed, timeout=360 "));
}

TEST_P(ServedChannel, ALateAnswerIsWaitedFor)
{
    answers("lens", "late 1000\nresult 4");
    camera.speed(50);
    ASSERT_EQ(served.start(), 1);
    EXPECT_EQ(send("lens"), 1);
    EXPECT_EQ(answer.result, 4);
}

TEST_P(ServedChannel, AnAnswerThatComesTooLateEndsTheNextWait)
{
    answers("lens", "late 3000000\nng");
    camera.speed(10000);
    Application app(camera, served);
    EXPECT_EQ(send("lens"), 0);
    int count = 0;
    sem_t *semaphore = sys_sem_open(served.channel.semaphore, 0, 0, 0);
    ASSERT_NE(semaphore, SEM_FAILED);
    EXPECT_TRUE(test::wait_for([&] { return sem_getvalue(semaphore, &count) == 0 && count == 1; }));
    sem_close(semaphore);

    answers("xsw", "never"); // only the late acknowledgement can end this wait
    EXPECT_EQ(send("xsw"), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0));
}

TEST_P(ServedChannel, TwoSendersAreAnsweredEachItsOwn)
{
    answers("lens.this", "result 5");
    answers("lens.other", "result 6");
    const Application app(camera, served);
    auto send_many = [&](const char *word, int result, std::atomic<int> *good) {
        const cmd_data record = record_of("lens", word);
        for (int i = 0; i < 20; i++) {
            rova_cmd_response own = {};
            *good += served.send(ROVA_CMD_SCRIPT, &record, &own) == 1 && own.result == result;
        }
    };
    std::atomic<int> good = 0;
    std::thread other(send_many, "other", 6, &good);
    send_many("this", 5, &good);
    other.join();
    EXPECT_EQ(good, 40);
}

TEST_P(ServedChannel, ARecordOfJunkIsCarriedOutAsAnUnknownWord)
{
    Application app(camera, served);
    for (int byte : {0xff, int{'/'}, int{'.'}, 0}) {
        cmd_data record;
        std::memset(&record, byte, sizeof(record));
        std::memset(&answer, 'x', sizeof(answer));
        EXPECT_EQ(served.send(0x7fffffff, &record, &answer), 1);
        EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0)) << byte;
    }
    const auto calls = camera.calls("app_command"); // each of them a sound line
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[0]["args"][1].size(), 11U); // no more words than a record holds
    EXPECT_EQ(calls[1]["args"][1][0], std::string(32, '/'));
    EXPECT_EQ(app.stop(), 0);
}

TEST_P(ServedChannel, AnInterruptedReceiveGoesOn)
{
    test::wrap_fail("msgrcv", -1, EINTR);
    ASSERT_EQ(served.start(), 1);
    EXPECT_EQ(send("lens"), 1);
    EXPECT_FALSE(logged("msgrcv failed"));
}

TEST_P(ServedChannel, AReceiveThatFailsEndsTheThread)
{
    test::wrap_fail("msgrcv", -1, EACCES);
    ASSERT_EQ(served.start(), 1);
    EXPECT_TRUE(test::wait_for([&] { return ended(); }));
    EXPECT_TRUE(logged("msgrcv failed (ret=-1, Permission denied) "));
    EXPECT_EQ(served.stop(), 1);
    EXPECT_FALSE(logged("failed to"));
    expect_nothing_left();
}

TEST_P(ServedChannel, AMessageThatIsTooLongEndsTheThread)
{
    ASSERT_EQ(served.start(), 1);
    ASSERT_EQ(put(ROVA_CMD_SCRIPT, served.channel.message_size + 1), 0);
    EXPECT_TRUE(test::wait_for([&] { return ended(); }));
    EXPECT_TRUE(logged("msgrcv failed (ret=-1, Argument list too long) "));
}

TEST_P(ServedChannel, AQueueRemovedByOthersEndsTheThread)
{
    ASSERT_EQ(served.start(), 1);
    ASSERT_EQ(sys_msgctl(served.queue(), IPC_RMID, nullptr), 0);
    EXPECT_TRUE(test::wait_for([&] { return ended(); }));
    EXPECT_EQ(served.stop(), 1);
    EXPECT_TRUE(logged("failed to send end packet "));
    expect_nothing_left();
}

TEST_P(ServedChannel, AThreadThatCannotBeJoinedIsTold)
{
    test::wrap_fail("msgrcv", -1, EACCES);
    ASSERT_EQ(served.start(), 1);
    ASSERT_TRUE(test::wait_for([&] { return ended(); }));
    test::wrap_fail("pthread_join", ESRCH);
    EXPECT_EQ(served.stop(), 1);
    EXPECT_TRUE(logged("pthread_join failed (errno=3) "));
    EXPECT_TRUE(logged("failed to join " + std::string(served.name) + " thread "));
    expect_nothing_left();
    void *result = nullptr;
    pthread_join(test::wrap_last_thread(), &result);
    EXPECT_STREQ(static_cast<const char *>(result), served.result);
}

TEST_P(ServedChannel, TheEndPacketIsAsLongAsACommandAndOtherwiseEmpty)
{
    test::wrap_fail("msgrcv", -1, EACCES);
    ASSERT_EQ(served.start(), 1);
    ASSERT_TRUE(test::wait_for([&] { return ended(); }));
    camera.fault("sys_msgctl", "-1 errno EPERM"); // the queue stays, with what is on it
    EXPECT_EQ(served.stop(), 1);
    struct {
        long type;
        char bytes[64];
    } message = {};
    const ssize_t size = msgrcv(served.queue(), &message, sizeof(message.bytes), 0, IPC_NOWAIT);
    ASSERT_EQ(size, static_cast<ssize_t>(served.channel.message_size));
    EXPECT_EQ(message.type, 1);
    EXPECT_EQ(std::string(message.bytes, 8), std::string(8, '\0'));
    EXPECT_FALSE(logged("failed to"));
}

TEST_P(ServedChannel, AStopThatCannotSendItsPacketEndsTheThreadAllTheSame)
{
    ASSERT_EQ(served.start(), 1);
    test::wrap_fail("msgsnd", -1, EAGAIN);
    EXPECT_EQ(served.stop(), 1);
    EXPECT_TRUE(logged("failed to send end packet "));
    EXPECT_TRUE(ended());
    expect_nothing_left();
}

TEST_P(ServedChannel, AStopWithCommandsNobodyTakesDoesNotHang)
{
    test::wrap_fail("msgrcv", -1, EACCES);
    ASSERT_EQ(served.start(), 1);
    ASSERT_TRUE(test::wait_for([&] { return ended(); }));
    while (put_command() == 0) {
    }
    ASSERT_EQ(errno, EAGAIN);
    EXPECT_EQ(served.stop(), 1);
    EXPECT_TRUE(logged("failed to send end packet "));
    expect_nothing_left();
}
