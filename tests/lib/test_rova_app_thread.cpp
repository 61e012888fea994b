#include "lib/rova_app_thread.h"

#include "common/rova_util.h"
#include "lib/rova_app_table.h"
#include "lib/rova_channel.h"
#include "lib/rova_ipcc.h"
#include "platform/sys.h"
#include "tests/lib/channel_test.h"
#include "tests/support/wrap.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <span>
#include <string>
#include <sys/msg.h>
#include <thread>
#include <vector>

using test::answer_bytes;
using test::bytes_of;
using test::never;
using test::plain_ok;
using test::record_of;
using test::ServingEnd;
using test::things_held;

namespace
{

constexpr char ALT_SCRIPT[] = "/sdcard/alt.adj";
constexpr char ORDINARY_SCRIPT[] = "/sdcard/info.adj";

// What the application's command function does in this test.
std::function<int(const cmd_data *, rova_cmd_response *)> work;
std::atomic<int> commands = 0;
std::atomic<pthread_t> thread = 0;

int exec(const cmd_data *record, rova_cmd_response *answer)
{
    thread = pthread_self();
    const int result = work(record, answer);
    commands++;
    return result;
}

int write_result(const cmd_data *, rova_cmd_response *answer)
{
    answer->result = 5;
    return 1;
}

int leave_it(const cmd_data *, rova_cmd_response *)
{
    return 0;
}

std::vector<std::string> looked_up;
std::atomic<pthread_t> look_up_thread = 0;

int write_text(const cmd_data *record, rova_cmd_response *answer)
{
    look_up_thread = pthread_self();
    looked_up.push_back(std::string(record->cmd) + " " + record->p[0]);
    std::strcpy(answer->stream.text, "looked up");
    return 0;
}

constexpr rova_app_cmd APP_CMDS[] = {{"mot", write_text},
                                     {"dust", write_text},
                                     {"noise", write_text},
                                     {"movie", write_text},
                                     {"afi_adj", write_text}};

class AppThread : public testing::Test
{
protected:
    AppThread()
    {
        work = write_result;
        commands = 0;
        thread = 0;
        looked_up.clear();
        look_up_thread = 0;
    }
    ~AppThread() override
    {
        test::wrap_clear();
        rova_stop_app();
        rova_set_alt_mode(ORDINARY_SCRIPT);
        for (int id = 0; id < ROVA_APP_FUNC_COUNT; id++)
            rova_register_app_func(id, nullptr);
    }

    int send(const cmd_data &record, uint32_t cmd_type = ROVA_CMD_SCRIPT)
    {
        return rova_send_to_app(cmd_type, &record, &answer);
    }
    int send(const std::string &cmd) { return send(record_of(cmd)); }
    // Fails, with the answer untouched and nothing held.
    void expect_failure(const std::string &cmd = "exposure")
    {
        const std::size_t before = things_held();
        std::memset(&answer, 'x', sizeof(answer));
        EXPECT_EQ(send(cmd), 0);
        EXPECT_EQ(bytes_of(answer), std::string(sizeof(answer), 'x'));
        EXPECT_EQ(things_held(), before);
    }
    int queue() const
    {
        return sys_msgget(sys_ftok("/tmp", test::APP_CHANNEL.project), IPC_CREAT | 0666);
    }
    static int put_command(int mq_id)
    {
        const rova_channel_message message = {ROVA_CMD_SCRIPT, 0, 0};
        return msgsnd(mq_id, &message, ROVA_APP_MESSAGE_SIZE, IPC_NOWAIT);
    }
    void expect_start_fails()
    {
        const std::size_t before = things_held();
        EXPECT_EQ(rova_start_app(exec), 0);
        EXPECT_EQ(things_held(), before);
        EXPECT_EQ(test::SERVED_APP.queue(), -1);
        EXPECT_FALSE(test::SERVED_APP.has_semaphore());
    }
    bool exited() const { return camera.logged("rova-app: thread exited "); }

    test::Camera camera;
    rova_cmd_response answer = {};
};

} // namespace

// In the place of the library's own table: the linker sends its callers here.
std::span<const rova_app_cmd> test_app_cmds() asm("__wrap__Z13rova_app_cmdsv");
std::span<const rova_app_cmd> test_app_cmds()
{
    return APP_CMDS;
}

// The sending end.

TEST_F(AppThread, ACommandAndItsAnswerCrossByteForByte)
{
    std::string bytes =
        answer_bytes(1, 7, 0x11223344, 0x55667788, 0x99aabbcc, 2, std::string(510, 'z'));
    const ServingEnd app(
        camera, [&](int, const std::string &) { return bytes; }, test::APP_CHANNEL);
    cmd_data record = record_of("mot", "set");
    std::memset(record.data_path, 'd', sizeof(record.data_path));
    EXPECT_EQ(send(record, ROVA_CMD_PTP2), 1);
    EXPECT_EQ(bytes_of(answer), bytes);
    const ServingEnd::Command seen = app.command(1);
    EXPECT_EQ(seen.type, 5);
    EXPECT_EQ(seen.message.size(), 4U);
    EXPECT_EQ(seen.command_area, bytes_of(record) + std::string(4096 - 500, '\0'));
}

TEST_F(AppThread, BothAreasAreClearedBeforeEachCommand)
{
    const ServingEnd app(
        camera,
        [](int nth, const std::string &) {
            return nth == 1 ? std::string(0xff000, 'o') : std::string();
        },
        test::APP_CHANNEL);
    ASSERT_EQ(send("mot"), 1);
    std::fstream memory(camera.path("/dev/mem"), std::ios::in | std::ios::out | std::ios::binary);
    memory.seekp(0x85c20000) << std::string(4096, 'o');
    memory.close();
    EXPECT_EQ(send("dust"), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0));
    const ServingEnd::Command seen = app.command(2);
    EXPECT_TRUE(seen.answer_area_is_clear);
    EXPECT_EQ(seen.command_area, bytes_of(record_of("dust")) + std::string(4096 - 500, '\0'));
}

TEST_F(AppThread, NoRecordOrNoAnswerIsRefused)
{
    const cmd_data record = record_of("mot");
    EXPECT_EQ(rova_send_to_app(ROVA_CMD_SCRIPT, nullptr, &answer), 0);
    EXPECT_TRUE(camera.logged("cmd_data is NULL "));
    EXPECT_EQ(rova_send_to_app(ROVA_CMD_SCRIPT, &record, nullptr), 0);
    EXPECT_TRUE(camera.logged("resp is NULL "));
}

TEST_F(AppThread, EachStepOfASendThatFailsIsTold)
{
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to create mqueue. (No such file or directory) "));

    ASSERT_GE(queue(), 0);
    camera.fault("sys_ftok", "-1 at 1 errno ENOENT");
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to generate msg key "));

    camera.fault("sys_open", "-1 at 1 errno EACCES on /dev/mem");
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to open /dev/mem. (Permission denied) "));

    test::wrap_fail("msgsnd", -1, EIDRM);
    expect_failure();
    EXPECT_TRUE(camera.logged("msgsnd failed (Identifier removed) "));

    camera.fault("sys_sem_open", "-1 at 1 errno EACCES");
    expect_failure();
    EXPECT_TRUE(camera.logged("Semaphore open Fail! (name:sem_rova_app_resp, Permission denied)"));

    camera.write("/dev/mem", "");
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to mmap (No such device or address) "));

    camera.remove("/tmp");
    expect_failure();
    EXPECT_TRUE(camera.logged("failed to access (No such file or directory) "));
}

TEST_F(AppThread, EveryWordWaitsTheSameTimeInEveryMode)
{
    const ServingEnd app(camera, never, test::APP_CHANNEL);
    camera.speed(10000);
    test::wrap_fail("sem_wait", 0); // a wait without limit would succeed
    for (const char *script : {ORDINARY_SCRIPT, ALT_SCRIPT}) {
        rova_set_alt_mode(script);
        for (const char *cmd : {"mot", "shutter", "vfpn", "defect_pixel"}) {
            camera.remove("/virtual/dlog");
            expect_failure(cmd);
            EXPECT_TRUE(camera.logged("sem_wait leached 360 seconds timeout.")) << cmd;
            EXPECT_TRUE(camera.logged("rova_sem_timedwait failed, timeout=360 ")) << cmd;
        }
    }
}

TEST_F(AppThread, ACommandOfTheOtherChannelDoesNotHoldASenderUp)
{
    const ServingEnd stack(camera, [&](int, const std::string &) -> std::optional<std::string> {
        if (!test::wait_for([&] { return camera.exists("/tmp/go"); }))
            return std::nullopt;
        return answer_bytes(0, 3);
    });
    const ServingEnd app(camera, plain_ok, test::APP_CHANNEL);
    std::thread other([] {
        const cmd_data record = record_of("shutter", "open");
        rova_cmd_response own = {};
        EXPECT_EQ(rova_ipcc_send(ROVA_CMD_SCRIPT, &record, &own), 1);
        EXPECT_EQ(own.result, 3);
    });
    stack.command(1);
    EXPECT_EQ(send("exposure"), 1);
    camera.write("/tmp/go", "");
    other.join();
}

// The serving end.

TEST_F(AppThread, TheApplicationsFunctionGetsTheRecordAndWritesTheAnswer)
{
    cmd_data seen = {};
    work = [&](const cmd_data *record, rova_cmd_response *own) {
        seen = *record;
        std::strcpy(own->stream.text, "path");
        own->stream.stream_type = 1;
        return 1;
    };
    ASSERT_EQ(rova_start_app(exec), 1);
    const cmd_data record = record_of("mot", "foo");
    EXPECT_EQ(send(record), 1);
    EXPECT_EQ(bytes_of(seen), bytes_of(record));
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0, 0, 0, 0, 1, "path"));
}

TEST_F(AppThread, AWordThatNobodyCarriesOutIsAPlainOk)
{
    work = leave_it;
    for (rova_app_exec of_its_own : {rova_app_exec(exec), rova_app_exec(nullptr)}) {
        ASSERT_EQ(rova_start_app(of_its_own), 1);
        std::memset(&answer, 'x', sizeof(answer));
        EXPECT_EQ(send("no_such_word"), 1);
        EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0));
        rova_stop_app();
    }
    EXPECT_TRUE(looked_up.empty());
}

TEST_F(AppThread, ACommandThatTheApplicationLeavesIsTheLibrarys)
{
    work = leave_it;
    ASSERT_EQ(rova_start_app(exec), 1);
    EXPECT_EQ(send(record_of("Mot", "set")), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0, 0, 0, 0, 0, "looked up"));
    EXPECT_EQ(commands, 1) << "the application is asked first";
    EXPECT_EQ(look_up_thread.load(), thread.load());
    rova_stop_app();
    ASSERT_EQ(rova_start_app(nullptr), 1); // an application without commands of its own
    EXPECT_EQ(send(record_of("afi_adj", "foo")), 1);
    EXPECT_EQ(bytes_of(answer), answer_bytes(0, 0, 0, 0, 0, 0, "looked up"));
    EXPECT_EQ(looked_up, (std::vector<std::string>{"Mot set", "afi_adj foo"}));
}

TEST_F(AppThread, ACommandThatTheApplicationCarriedOutIsNotLookedUp)
{
    ASSERT_EQ(rova_start_app(exec), 1);
    for (const rova_app_cmd &row : APP_CMDS) {
        EXPECT_EQ(send(record_of(row.cmd, "set")), 1);
        EXPECT_EQ(bytes_of(answer), answer_bytes(0, 5)) << row.cmd;
    }
    EXPECT_EQ(commands, 5);
    EXPECT_TRUE(looked_up.empty());
}

TEST_F(AppThread, ACancellationWaitsForTheCommandAndThenEndsTheThread)
{
    std::atomic<bool> go = false;
    work = [&](const cmd_data *, rova_cmd_response *own) {
        EXPECT_TRUE(test::wait_for([&] { return go.load(); }));
        const std::string may_be_freed(1000, 'a');
        own->result = 6;
        return 1;
    };
    ASSERT_EQ(rova_start_app(exec), 1);
    std::thread person([&] {
        EXPECT_TRUE(test::wait_for([] { return thread.load() != 0; }));
        pthread_cancel(thread);
        go = true;
    });
    EXPECT_EQ(send("exposure"), 1);
    EXPECT_EQ(answer.result, 6);
    person.join();
    EXPECT_EQ(rova_stop_app(), 1);
    EXPECT_FALSE(exited()); // it did not come to its end
    EXPECT_FALSE(camera.logged("failed"));
    EXPECT_EQ(rova_start_app(exec), 1);
}

TEST_F(AppThread, AStartWithoutMemoryFails)
{
    camera.fault("sys_open", "-1 at 1 errno EACCES on /dev/mem");
    expect_start_fails();
    EXPECT_TRUE(camera.logged("failed to open /dev/mem. (Permission denied) "));
    EXPECT_EQ(rova_start_app(exec), 1);
}

TEST_F(AppThread, TheMemoryIsOpenedBeforeTheQueueIsMade)
{
    const int left_behind = queue();
    ASSERT_GE(left_behind, 0);
    camera.fault("sys_open", "-1 at 1 errno EACCES on /dev/mem");
    EXPECT_EQ(rova_start_app(exec), 0);
    EXPECT_TRUE(camera.logged("failed to open /dev/mem. (Permission denied) "));
    EXPECT_FALSE(camera.logged("failed to create mqueue"));
    EXPECT_EQ(test::SERVED_APP.queue(), left_behind);
}

TEST_F(AppThread, AStartWithoutAnAreaFails)
{
    const struct {
        std::uintmax_t size;
        const char *text;
    } rows[] = {{0, "failed to mmap1 (No such device or address) "},
                {0x85c21000, "failed to mmap2 (No such device or address) "}};
    for (const auto &row : rows) {
        camera.write("/dev/mem", "");
        camera.remove("/virtual/dlog");
        std::filesystem::resize_file(camera.path("/dev/mem"), row.size);
        expect_start_fails();
        EXPECT_TRUE(camera.logged(row.text)) << row.text;
    }
    camera.remove("/dev/mem");
    EXPECT_EQ(rova_start_app(exec), 1);
}

TEST_F(AppThread, TheAreasStayMappedFromStartToStop)
{
    const std::size_t before = things_held();
    ASSERT_EQ(rova_start_app(exec), 1);
    EXPECT_EQ(things_held(), before + 3); // two areas and the semaphore; no descriptor
    rova_stop_app();
    EXPECT_EQ(things_held(), before);
}

TEST_F(AppThread, AnAcknowledgementThatCannotBeGivenEndsTheThread)
{
    ASSERT_EQ(rova_start_app(exec), 1);
    camera.fault("sys_sem_open", "-1 at 1 errno EACCES");
    ASSERT_EQ(put_command(queue()), 0);
    EXPECT_TRUE(test::wait_for([&] { return exited(); }));
    EXPECT_TRUE(camera.logged("Semaphore open Fail! (name: sem_rova_app_resp, Permission denied)"));
    EXPECT_TRUE(camera.logged("__rova_sem_put failed "));
    rova_stop_app();

    camera.remove("/virtual/dlog");
    ASSERT_EQ(rova_start_app(exec), 1);
    test::wrap_fail("sem_post", -1, EINVAL);
    ASSERT_EQ(put_command(queue()), 0);
    EXPECT_TRUE(test::wait_for([&] { return exited(); }));
    EXPECT_TRUE(camera.logged("sem_post failed (name: sem_rova_app_resp, Invalid argument) "));
    EXPECT_TRUE(camera.logged("__rova_sem_put failed "));
}

TEST_F(AppThread, CommandsOnTheQueueRunBeforeAStop)
{
    std::atomic<bool> go = false;
    work = [&](const cmd_data *, rova_cmd_response *) {
        EXPECT_TRUE(test::wait_for([&] { return go.load(); }));
        return 1;
    };
    ASSERT_EQ(rova_start_app(exec), 1);
    const int mq_id = queue();
    for (int i = 0; i < 5; i++)
        ASSERT_EQ(put_command(mq_id), 0);
    std::thread stopper([] { EXPECT_EQ(rova_stop_app(), 1); });
    EXPECT_TRUE(test::wait_for([&] {
        msqid_ds attributes = {};
        return sys_msgctl(mq_id, IPC_STAT, &attributes) == 0 && attributes.msg_qnum == 5;
    })); // the end packet is behind the four that wait
    go = true;
    stopper.join();
    EXPECT_EQ(commands, 5);
}

TEST_F(AppThread, AStopWithAFullQueueWaitsForTheCommandInProgressOnly)
{
    std::atomic<bool> go = false;
    work = [&](const cmd_data *, rova_cmd_response *) {
        EXPECT_TRUE(test::wait_for([&] { return go.load(); }));
        return 1;
    };
    ASSERT_EQ(rova_start_app(exec), 1);
    const int mq_id = queue();
    ASSERT_EQ(put_command(mq_id), 0);
    ASSERT_TRUE(test::wait_for([] { return thread.load() != 0; }));
    while (put_command(mq_id) == 0) {
    }
    std::thread stopper([] { EXPECT_EQ(rova_stop_app(), 1); });
    EXPECT_TRUE(test::wait_for([] { return test::SERVED_APP.queue() == -1; }));
    EXPECT_TRUE(camera.logged("failed to send end packet "));
    EXPECT_FALSE(exited());
    go = true;
    stopper.join();
    EXPECT_EQ(commands, 1);
    EXPECT_TRUE(exited());
    EXPECT_EQ(test::SERVED_APP.queue(), -1);
}

// The application's functions.

TEST_F(AppThread, FunctionsStandInTheirSlots)
{
    void (*const first)(void) = [] { commands = 100; };
    void (*const last)(void) = [] { commands = 106; };
    for (int id = 0; id < ROVA_APP_FUNC_COUNT; id++)
        EXPECT_EQ(rova_get_app_func(id), nullptr) << id;
    EXPECT_EQ(rova_register_app_func(0, first), 1);
    EXPECT_EQ(rova_register_app_func(6, last), 1);
    rova_get_app_func(6)();
    EXPECT_EQ(commands, 106);
    rova_get_app_func(0)();
    EXPECT_EQ(commands, 100);
    EXPECT_EQ(rova_get_app_func(3), nullptr);
    EXPECT_EQ(rova_register_app_func(0, last), 1); // the newest counts
    EXPECT_EQ(rova_get_app_func(0), last);
}

TEST_F(AppThread, OtherSlotsAreRefused)
{
    for (int id : {7, -1, 0x7fffffff}) {
        EXPECT_EQ(rova_register_app_func(id, [] {}), 0);
        EXPECT_TRUE(camera.logged("unknown func (id=" + std::to_string(id) + ") ")) << id;
        EXPECT_EQ(rova_get_app_func(id), nullptr) << id;
    }
}

TEST_F(AppThread, FunctionsStayThroughStartAndStop)
{
    void (*const function)(void) = [] {};
    ASSERT_EQ(rova_register_app_func(2, function), 1);
    ASSERT_EQ(rova_start_app(exec), 1);
    rova_stop_app();
    EXPECT_EQ(rova_get_app_func(2), function);
}
