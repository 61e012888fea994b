#include "common/rova_osd.h"

#include "platform/sys.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/msg.h>
#include <thread>
#include <utility>
#include <vector>

using testing::Contains;
using testing::ElementsAre;

namespace
{

constexpr int PROJECT = 1501901107;

// The record on the queue, put down byte by byte.
struct RawMessage {
    long func;
    unsigned char bytes[520];
};

struct Osd : testing::Test {
    ~Osd() override { test::wrap_clear(); }
    int queue(int flags = 0666) const { return sys_msgget(sys_ftok("/tmp", PROJECT), flags); }
    void send(const RawMessage &message) const
    {
        EXPECT_EQ(msgsnd(queue(), &message, sizeof(message.bytes), 0), 0);
    }
    RawMessage receive() const
    {
        RawMessage message = {};
        EXPECT_EQ(msgrcv(queue(), &message, sizeof(message.bytes), 0, 0),
                  static_cast<ssize_t>(sizeof(message.bytes)));
        return message;
    }
    msgqnum_t waiting() const
    {
        msqid_ds state = {};
        EXPECT_EQ(msgctl(queue(), IPC_STAT, &state), 0);
        return state.msg_qnum;
    }
    void answer() const
    {
        sem_t *sem = sys_sem_open("sem_rova_osd_resp", O_CREAT, 0666, 0);
        ASSERT_NE(sem, SEM_FAILED);
        sem_post(sem);
        sem_close(sem);
    }
    void expect_request(int (*request)(), long func) const
    {
        std::thread sender([&] { EXPECT_EQ(request(), 0); });
        EXPECT_EQ(receive().func, func);
        answer();
        sender.join();
    }
    std::string last_call() const
    {
        std::vector<std::string> all = camera.call_texts();
        return all.empty() ? "" : all.back();
    }
    void expect_failed_init(const std::string &message)
    {
        EXPECT_EQ(rova_osd_init(), -1);
        EXPECT_TRUE(camera.logged(message)) << message;
        EXPECT_EQ(queue(), -1) << message;
        EXPECT_THAT(camera.call_texts(), ElementsAre("factory_osd_init()", "factory_osd_deinit()"));
        EXPECT_FALSE(semaphore_exists()) << message;
    }
    bool semaphore_exists() const
    {
        sem_t *sem = sys_sem_open("sem_rova_osd_resp", 0, 0, 0);
        if (sem == SEM_FAILED)
            return false;
        sem_close(sem);
        return true;
    }
    test::Camera camera;
};

struct OsdThread : Osd {
    OsdThread() { EXPECT_EQ(rova_osd_init(), 0); }
    ~OsdThread() override
    {
        test::wrap_clear();
        rova_osd_exit();
    }
};

} // namespace

TEST_F(Osd, ATextLosesOneLineFeed)
{
    rova_osd_printf(3, "%s %d\n\n", "row", 3);
    EXPECT_EQ(last_call(), "factory_osd_text_set(3, \"row 3\\n\")");
    rova_osd_grid_printf(0, "grid\n");
    EXPECT_EQ(last_call(), "factory_osd_grid_text_set(0, \"grid\")");
    rova_osd_printf(1, "%s", "");
    EXPECT_EQ(last_call(), "factory_osd_text_set(1, \"\")");
}

TEST_F(Osd, ADrawingIsHandedOnAndItsFailureLogged)
{
    rova_osd_draw(50, "1,2,3,4,green");
    EXPECT_EQ(last_call(), "factory_osd_draw(50, \"1,2,3,4,green\")");
    EXPECT_FALSE(camera.logged("factory_osd_draw"));
    camera.fault("factory_osd_draw", "-5");
    rova_osd_draw(20, "");
    EXPECT_TRUE(camera.logged("failed to factory_osd_draw 20 (-5)"));
}

TEST_F(Osd, ARowIsA16BitNumber)
{
    rova_osd_printf(0x10002, "x");
    EXPECT_EQ(last_call(), "factory_osd_text_set(2, \"x\")");
}

TEST_F(Osd, ATextIsCutAt511Bytes)
{
    std::string text(2000, 't');
    rova_osd_printf(1, "%s", text.c_str());
    EXPECT_EQ(last_call(), "factory_osd_text_set(1, \"" + text.substr(0, 511) + "\")");
    rova_osd_grid_printf(1, "%s", text.c_str());
    EXPECT_EQ(last_call(), "factory_osd_grid_text_set(1, \"" + text.substr(0, 511) + "\")");
}

TEST_F(OsdThread, EachRequestIsCarriedOutBeforeItReturns)
{
    EXPECT_EQ(rova_osd_ipcc_text_size(30), 0);
    EXPECT_EQ(last_call(), "factory_osd_text_size_set(30)");
    EXPECT_EQ(rova_osd_ipcc_text_color(4), 0);
    EXPECT_EQ(last_call(), "factory_osd_text_color_set(4)");
    EXPECT_EQ(rova_osd_ipcc_bg_color(12), 0);
    EXPECT_EQ(last_call(), "factory_osd_background_color_set(12)");
    EXPECT_EQ(rova_osd_ipcc_text(5, "%s %d\n", "result", 1), 0);
    EXPECT_EQ(last_call(), "factory_osd_text_set(5, \"result 1\")");
    EXPECT_EQ(rova_osd_ipcc_clear_screen(), 0);
    EXPECT_EQ(last_call(), "factory_osd_text_clear()");
    EXPECT_EQ(rova_osd_ipcc_clear_window(), 0);
    EXPECT_EQ(last_call(), "factory_osd_clear()");
}

TEST_F(OsdThread, ARequestedTextIsCutAt511Bytes)
{
    std::string text(600, 't');
    EXPECT_EQ(rova_osd_ipcc_text(1, "%s", text.c_str()), 0);
    EXPECT_EQ(last_call(), "factory_osd_text_set(1, \"" + text.substr(0, 511) + "\")");
}

TEST_F(OsdThread, APerCentSignIsText)
{
    EXPECT_EQ(rova_osd_ipcc_text(1, "%s", "100%s %n"), 0);
    EXPECT_EQ(last_call(), "factory_osd_text_set(1, \"100%s %n\")");
}

TEST_F(OsdThread, TheTextOfARecordStandsBehindA16BitRow)
{
    RawMessage message = {};
    message.func = 4;
    message.bytes[0] = 7;
    std::strcpy(reinterpret_cast<char *>(message.bytes + 2), "raw");
    send(message);
    EXPECT_TRUE(test::wait_for([&] { return last_call() == "factory_osd_text_set(7, \"raw\")"; }));
}

TEST_F(OsdThread, EachFunctionHasItsNumber)
{
    const std::pair<long, const char *> rows[] = {
        {2, "factory_osd_text_size_set(9)"},
        {3, "factory_osd_text_color_set(9)"},
        {5, "factory_osd_text_clear()"},
        {6, "factory_osd_clear()"},
        {7, "factory_osd_background_color_set(9)"},
    };
    for (const auto &row : rows) {
        RawMessage message = {row.first, {9}};
        send(message);
        EXPECT_TRUE(test::wait_for([&] { return last_call() == row.second; })) << row.first;
    }
}

TEST_F(OsdThread, TheThreadHasItsName)
{
    EXPECT_EQ(rova_osd_ipcc_text_size(1), 0); // it runs and has named itself
    std::vector<std::string> names;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "comm");
        std::getline(file, names.emplace_back());
    }
    EXPECT_THAT(names, Contains("ROVA OSD Thread"));
}

TEST_F(OsdThread, ATextWithoutATerminatorIsCut)
{
    RawMessage message = {};
    message.func = 4;
    std::memset(message.bytes, 'x', sizeof(message.bytes));
    send(message);
    std::string call = "factory_osd_text_set(30840, \"" + std::string(511, 'x') + "\")";
    EXPECT_TRUE(test::wait_for([&] { return last_call() == call; }));
}

TEST_F(OsdThread, AnUnknownFunctionIsNotAnswered)
{
    RawMessage message = {};
    message.func = 99;
    send(message);
    EXPECT_TRUE(test::wait_for([&] { return camera.logged("unknown func: 99 "); }));
    sem_t *sem = sys_sem_open("sem_rova_osd_resp", O_CREAT, 0666, 0);
    ASSERT_NE(sem, SEM_FAILED);
    int value = -1;
    sem_getvalue(sem, &value);
    sem_close(sem);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(rova_osd_ipcc_text_size(1), 0); // the thread goes on
}

TEST_F(OsdThread, AnInterruptedReceiveGoesOn)
{
    test::wrap_fail("msgrcv", -1, EINTR);
    EXPECT_EQ(rova_osd_ipcc_text_size(1), 0);
    EXPECT_EQ(rova_osd_ipcc_text_size(2), 0);
    EXPECT_FALSE(camera.logged("rova-osd: thread exited"));
}

TEST_F(OsdThread, AFailedReceiveEndsTheThread)
{
    camera.speed(2000);
    test::wrap_fail("msgrcv", -1, EIO);
    rova_osd_ipcc_text_size(1); // the thread may stand in a call that still works
    EXPECT_TRUE(test::wait_for([&] { return camera.logged("rova-osd: thread exited "); }));
}

TEST_F(OsdThread, FailuresAheadOfARequestAreTold)
{
    camera.fault("sys_access", "-1 errno EACCES on /tmp");
    EXPECT_EQ(rova_osd_ipcc_clear_screen(), -1);
    EXPECT_TRUE(camera.logged("failed to access (Permission denied) "));
    EXPECT_TRUE(camera.logged("failed to rova_osd_ipcc_preproc (Permission denied) "));
    camera.clear_fault("sys_access");

    camera.fault("sys_ftok", "-1 errno ENOENT");
    EXPECT_EQ(rova_osd_ipcc_clear_screen(), -1);
    EXPECT_TRUE(camera.logged("failed to ftok (No such file or directory) "));
    camera.clear_fault("sys_ftok");

    camera.fault("sys_msgget", "-1 errno EIDRM");
    EXPECT_EQ(rova_osd_ipcc_clear_screen(), -1);
    EXPECT_TRUE(camera.logged("failed to msgget (Identifier removed) "));
    camera.clear_fault("sys_msgget");

    test::wrap_fail("msgsnd", -1, EIDRM);
    EXPECT_EQ(rova_osd_ipcc_clear_screen(), -1);
    EXPECT_TRUE(camera.logged("failed to msgsnd (Identifier removed) "));
    EXPECT_EQ(rova_osd_ipcc_clear_screen(), 0);
}

// The test stands in for the display thread here.
TEST_F(Osd, RequestsAreRecordsOfTheirNumberOneAtATime)
{
    ASSERT_GE(queue(IPC_CREAT | 0666), 0);
    std::thread first([] { EXPECT_EQ(rova_osd_ipcc_text(0x10003, "two %d", 2), 0); });
    RawMessage message = receive();
    EXPECT_EQ(message.func, 4);
    EXPECT_EQ(message.bytes[0], 3);
    EXPECT_EQ(message.bytes[1], 0);
    EXPECT_STREQ(reinterpret_cast<char *>(message.bytes + 2), "two 2");

    std::thread second([] { EXPECT_EQ(rova_osd_ipcc_text_color(0x01020304), 0); });
    EXPECT_FALSE(test::wait_for([&] { return waiting() > 0; }, 0.05));
    answer();
    first.join();
    message = receive();
    EXPECT_EQ(message.func, 3);
    EXPECT_EQ(std::string(message.bytes, message.bytes + 4), "\4\3\2\1");
    answer();
    second.join();

    expect_request([] { return rova_osd_ipcc_text_size(1); }, 2);
    expect_request(rova_osd_ipcc_clear_screen, 5);
    expect_request(rova_osd_ipcc_clear_window, 6);
    expect_request([] { return rova_osd_ipcc_bg_color(1); }, 7);
}

TEST_F(Osd, AnAnswerThatDoesNotComeIsWaitedForSixtySeconds)
{
    camera.speed(2000);
    ASSERT_GE(queue(IPC_CREAT | 0666), 0); // nobody reads
    EXPECT_EQ(rova_osd_ipcc_text_size(1), -1);
    EXPECT_TRUE(camera.logged("sem_wait leached 60 seconds timeout."));
    EXPECT_TRUE(camera.logged("rova_osd_sem_timedwait failed, to=60 (Connection timed out) "));
    EXPECT_EQ(rova_osd_ipcc_text_size(1), -1); // the mutex was released
}

TEST_F(OsdThread, FailuresOfTheWaitAreTold)
{
    camera.speed(2000);
    test::wrap_fail("sem_timedwait", -1, EAGAIN);
    EXPECT_EQ(rova_osd_ipcc_text_size(1), -1);
    EXPECT_TRUE(camera.logged("> \033[31mEAGAIN \033[m"));
    test::wrap_fail("sem_timedwait", -1, EINVAL);
    EXPECT_EQ(rova_osd_ipcc_text_size(1), -1);
    EXPECT_TRUE(camera.logged("Invalid semaphore "));
    EXPECT_TRUE(camera.logged("rova_osd_sem_timedwait failed, to=60 (Invalid argument) "));
    camera.fault("sys_sem_open", "0 errno EMFILE");
    EXPECT_EQ(rova_osd_ipcc_text_size(1), -1);
    EXPECT_TRUE(camera.logged("sem_open Fail! (name:sem_rova_osd_resp, Too many open files)"));
}

TEST_F(OsdThread, AnInterruptedWaitGoesOn)
{
    test::wrap_fail("sem_timedwait", -1, EINTR);
    EXPECT_EQ(rova_osd_ipcc_text_size(1), 0);
}

TEST_F(OsdThread, ALateAnswerIsTakenByTheNextRequest)
{
    test::wrap_fail("sem_timedwait", -1, ETIMEDOUT);
    EXPECT_EQ(rova_osd_ipcc_text_size(1), -1);
    EXPECT_EQ(rova_osd_ipcc_text_size(2), 0);
    EXPECT_TRUE(test::wait_for([&] { return last_call() == "factory_osd_text_size_set(2)"; }));
}

TEST_F(Osd, StartAndStopLeaveNothingBehind)
{
    ASSERT_EQ(rova_osd_init(), 0);
    EXPECT_GE(queue(), 0);
    EXPECT_TRUE(semaphore_exists());
    rova_osd_exit();
    EXPECT_TRUE(camera.logged("ROVA_OSD_FUNC_STOP is received "));
    EXPECT_TRUE(camera.logged("\033[33mrova-osd: thread exited "));
    EXPECT_EQ(queue(), -1);
    EXPECT_FALSE(semaphore_exists());
    EXPECT_THAT(camera.call_texts(), ElementsAre("factory_osd_init()", "factory_osd_deinit()"));
}

TEST_F(Osd, AfterACrashTheStartFailsAndTheStopRemovesTheOldQueue)
{
    ASSERT_GE(queue(IPC_CREAT | 0666), 0);
    EXPECT_EQ(rova_osd_init(), -1);
    EXPECT_TRUE(camera.logged("failed to msgget (File exists) "));
    EXPECT_GE(queue(), 0);
    EXPECT_THAT(camera.call_texts(), ElementsAre("factory_osd_init()", "factory_osd_deinit()"));
    rova_osd_exit();
    EXPECT_TRUE(camera.logged("pthread_join failed (errno=3) "));
    EXPECT_EQ(queue(), -1);
    ASSERT_EQ(rova_osd_init(), 0);
    rova_osd_exit();
}

TEST_F(Osd, AStartWithoutAccessFails)
{
    camera.fault("sys_access", "-1 errno EACCES on /tmp");
    expect_failed_init("failed to access (Permission denied) ");
}

TEST_F(Osd, AStartWithoutAKeyFails)
{
    camera.fault("sys_ftok", "-1 at 1 errno ENOENT");
    expect_failed_init("failed to ftok (No such file or directory) ");
}

TEST_F(Osd, AStartWithoutASemaphoreFails)
{
    camera.fault("sys_sem_open", "0 at 1 errno EMFILE");
    expect_failed_init("sem_open Fail! (name:sem_rova_osd_resp, Too many open files)");
}

TEST_F(Osd, AStartWithoutAThreadFails)
{
    for (const char *call : {"pthread_attr_init", "pthread_attr_setdetachstate",
                             "pthread_attr_setstacksize", "pthread_create"}) {
        camera.write("/virtual/calls.jsonl", "");
        test::wrap_fail(call, EAGAIN);
        expect_failed_init(std::string(call) + " failed (errno=11) ");
        test::wrap_clear();
    }
}

TEST_F(Osd, ADeadScreenDoesNotHinderTheStart)
{
    camera.fault("factory_osd_init", "-7");
    EXPECT_EQ(rova_osd_init(), 0);
    EXPECT_TRUE(camera.logged("failed to factory_osd_init (-7) "));
    rova_osd_exit();
}

TEST_F(Osd, AStopThatCannotBeSentEndsTheThreadAllTheSame)
{
    ASSERT_EQ(rova_osd_init(), 0);
    test::wrap_fail("msgsnd", -1, EIO);
    rova_osd_exit();
    EXPECT_TRUE(camera.logged("failed to send end packet "));
    EXPECT_TRUE(camera.logged("rova-osd: thread exited "));
    EXPECT_EQ(queue(), -1);
}

TEST_F(Osd, AStopThatCannotLookUpTheQueueKnowsItsOwn)
{
    ASSERT_EQ(rova_osd_init(), 0);
    camera.fault("sys_msgget", "-1 at 1 errno EIDRM");
    rova_osd_exit();
    EXPECT_TRUE(camera.logged("ROVA_OSD_FUNC_STOP is received "));
    EXPECT_EQ(queue(), -1);
}

TEST_F(Osd, AStopWithoutAnythingIsHarmless)
{
    rova_osd_exit();
    EXPECT_TRUE(camera.logged("failed to send end packet "));
    EXPECT_TRUE(camera.logged("pthread_join failed (errno=3) "));
}
