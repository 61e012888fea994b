#include "core/rova_event.h"

#include "common/rova_thread.h"
#include "core/rova_loop.h"
#include "core/rova_parser.h"
#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <glib.h>
#include <gtest/gtest.h>
#include <mutex>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <thread>

namespace
{

cmd_data record_of(std::string line)
{
    cmd_data record = {};
    EXPECT_EQ(rova_parse_cmd_data(line.data(), 1, &record), 0);
    return record;
}

std::string text_of(const cmd_data &record)
{
    std::string text = record.cmd;
    for (uint32_t i = 0; i < record.p_count; i++)
        text += std::string(" ") + record.p[i];
    return text;
}

// A queue with somebody who takes every packet and notes its text.
class Event : public testing::Test
{
protected:
    Event() { EXPECT_EQ(rova_event_init(&ipc, ROVA_IPC_MQ, 3), 1); }
    ~Event() override
    {
        test::wrap_clear();
        if (ipc == nullptr)
            return;
        take_all();
        rova_event_deinit(&ipc);
    }

    void take_all()
    {
        while (ipc->kind == ROVA_IPC_MQ && queued() > 0) {
            uint32_t type = 0;
            uint32_t size = 0;
            void *buffer = nullptr;
            rova_event_receive(ipc, &type, &buffer, &size);
            g_free(buffer);
        }
    }

    // What arrives when `line` is sent as `type`.
    std::vector<std::string> sent(const std::string &line, uint32_t type = ROVA_CMD_CARD)
    {
        std::vector<std::string> texts;
        std::thread receiver([&] {
            for (;;) {
                uint32_t taken_type = 0;
                uint32_t size = 0;
                void *buffer = nullptr;
                if (rova_event_receive(ipc, &taken_type, &buffer, &size) != 0 ||
                    taken_type == ROVA_CTRL_STOP_PACKET)
                    return g_free(buffer);
                EXPECT_EQ(size, sizeof(cmd_data));
                EXPECT_EQ(taken_type, type);
                texts.push_back(text_of(*static_cast<cmd_data *>(buffer)));
                g_free(buffer);
            }
        });
        record = record_of(line);
        status = rova_event_send(ipc, type, &record, sizeof(record));
        cmd_data stop = {};
        EXPECT_EQ(rova_event_send(ipc, ROVA_CTRL_STOP_PACKET, &stop, sizeof(stop)), 0);
        receiver.join();
        return texts;
    }

    msgqnum_t queued() const
    {
        msqid_ds data = {};
        msgctl(ipc->mq_id, IPC_STAT, &data);
        return data.msg_qnum;
    }

    test::Camera camera;
    rova_ipc *ipc = nullptr;
    cmd_data record = {};
    int status = 1;
};

using Repeat = Event;
using Texts = std::vector<std::string>;

} // namespace

TEST_F(Event, RecordArrivesAsACopy)
{
    record = record_of("led af on");
    record.e[2] = -7;
    ASSERT_EQ(rova_event_send(ipc, ROVA_CMD_PTP, &record, sizeof(record)), 0);
    const cmd_data before = record;
    std::memset(&record, 'x', sizeof(record));

    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = nullptr;
    ASSERT_EQ(rova_event_receive(ipc, &type, &buffer, &size), 0);
    EXPECT_EQ(type, ROVA_CMD_PTP);
    EXPECT_EQ(size, 500u);
    EXPECT_EQ(std::memcmp(buffer, &before, sizeof(before)), 0);
    g_free(buffer);
}

TEST_F(Event, QueueHoldsThreePackets)
{
    msqid_ds data = {};
    ASSERT_EQ(msgctl(ipc->mq_id, IPC_STAT, &data), 0);
    EXPECT_EQ(data.msg_qbytes, 36u);
}

TEST_F(Event, SendRefusesBadArguments)
{
    EXPECT_EQ(rova_event_send(nullptr, ROVA_CMD_CARD, &record, sizeof(record)), -1);
    EXPECT_TRUE(camera.logged("IPC is NULL"));
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, nullptr, sizeof(record)), -3);
    EXPECT_TRUE(camera.logged("cmd_data is NULL"));
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, &record, 0), -3);
    EXPECT_TRUE(camera.logged("size is 0"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Event, FailedAllocationSendsNothing)
{
    record = record_of("led on");
    test::wrap_fail("g_try_malloc", 0);
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, &record, sizeof(record)), -1);
    EXPECT_TRUE(camera.logged("Memory Allocation failed"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Event, FailedSendIsReported)
{
    record = record_of("led on");
    test::wrap_fail("msgsnd", -1, EIDRM);
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, &record, sizeof(record)), -1);
    EXPECT_TRUE(camera.logged("ipc_send() failed"));
}

TEST_F(Event, ReceiveRefusesBadArguments)
{
    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = nullptr;
    EXPECT_EQ(rova_event_receive(nullptr, &type, &buffer, &size), -1);
    EXPECT_TRUE(camera.logged("IPC is NULL"));
    EXPECT_EQ(rova_event_receive(ipc, &type, nullptr, &size), -3);
    EXPECT_TRUE(camera.logged("buffer ptr is NULL"));
}

TEST_F(Event, ReceiveWithABufferLeftOverTakesNoPacket)
{
    record = record_of("led on");
    ASSERT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, &record, sizeof(record)), 0);
    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = &record;
    EXPECT_EQ(rova_event_receive(ipc, &type, &buffer, &size), -3);
    EXPECT_TRUE(camera.logged("buffer is not NULL"));
    EXPECT_EQ(queued(), 1u);
    buffer = nullptr;
    EXPECT_EQ(rova_event_receive(ipc, &type, &buffer, &size), 0);
    g_free(buffer);
}

TEST_F(Event, FailedReceiveIsReported)
{
    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = nullptr;
    test::wrap_fail("msgrcv", -1, EIDRM);
    EXPECT_EQ(rova_event_receive(ipc, &type, &buffer, &size), -1);
    EXPECT_TRUE(camera.logged("ipc_receive() failed"));
    EXPECT_EQ(buffer, nullptr);
}

TEST_F(Event, PacketWithoutDataIsRefused)
{
    const rova_packet empty = {ROVA_CMD_CARD, 500, nullptr};
    ASSERT_EQ(ipc->send(ipc, &empty), 1);
    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = nullptr;
    EXPECT_EQ(rova_event_receive(ipc, &type, &buffer, &size), -1);
    EXPECT_TRUE(camera.logged("pkt is empty"));
}

TEST_F(Event, NothingIsSentBehindTheStopPacket)
{
    EXPECT_EQ(sent("led on"), Texts{"led on"});
    record = record_of("led off");
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_SCRIPT, &record, sizeof(record)), -1);
    EXPECT_TRUE(camera.logged("the event queue has been stopped, 'led' is not sent"));
    EXPECT_EQ(queued(), 0u);
}

TEST_F(Event, InitFailuresAreReportedAndLeaveNothing)
{
    rova_ipc *other = nullptr;
    EXPECT_EQ(rova_event_init(&other, 9, 3), 0);
    EXPECT_TRUE(camera.logged("rova_ipc_init() failed [0]"));
    camera.fault("sys_msgctl", "-1 at 1");
    EXPECT_EQ(rova_event_init(&other, ROVA_IPC_MQ, 3), 0);
    EXPECT_TRUE(camera.logged("rova_ipc_set_size() failed [0]"));
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(rova_event_init(nullptr, ROVA_IPC_MQ, 3), 0);
    EXPECT_EQ(rova_event_deinit(nullptr), 0);
    EXPECT_TRUE(camera.logged("Invalid parameter"));
}

TEST_F(Event, FailedDeinitKeepsThePointer)
{
    camera.fault("sys_msgctl", "-1 at 1");
    const int id = ipc->mq_id;
    EXPECT_EQ(rova_event_deinit(&ipc), 0);
    EXPECT_TRUE(camera.logged("rova_ipc_deinit() failed [0]"));
    ASSERT_NE(ipc, nullptr);
    msgctl(id, IPC_RMID, nullptr);
    g_free(ipc);
    ipc = nullptr;
}

TEST_F(Event, DeinitClearsThePointer)
{
    EXPECT_EQ(rova_event_deinit(&ipc), 1);
    EXPECT_EQ(ipc, nullptr);
}

TEST_F(Event, WorksOverTheRingToo)
{
    ASSERT_EQ(rova_event_deinit(&ipc), 1);
    ASSERT_EQ(rova_event_init(&ipc, ROVA_IPC_SEM, 3), 1);
    EXPECT_EQ(sent("repeat 4 5 led on"), (Texts{"led on", "delay 5", "led on", "delay 5", "led on",
                                                "delay 5", "led on", "delay 5"}));
}

TEST_F(Repeat, SendsCommandAndDelayInTurn)
{
    EXPECT_EQ(sent("repeat 3 200 delay 100"), (Texts{"delay 100", "delay 200", "delay 100",
                                                     "delay 200", "delay 100", "delay 200"}));
    EXPECT_EQ(status, 0);
}

TEST_F(Repeat, KeepsTheTypeOfItsSource)
{
    EXPECT_EQ(sent("repeat 1 9 led on", ROVA_CMD_PTP), (Texts{"led on", "delay 9"}));
}

TEST_F(Repeat, WithoutDelaySendsTheCommandOnly)
{
    EXPECT_EQ(sent("repeat 5 0 led on"), Texts(5, "led on"));
    EXPECT_EQ(status, 0);
}

TEST_F(Repeat, NegativeDelayIsNoDelay)
{
    EXPECT_EQ(sent("repeat 2 -5 led on"), Texts(2, "led on"));
}

TEST_F(Repeat, CountZeroSendsNothing)
{
    EXPECT_EQ(sent("repeat 0 500 led on"), Texts{});
    EXPECT_EQ(status, 0);
}

TEST_F(Repeat, NonNumericCountReadsAsZero)
{
    EXPECT_EQ(sent("repeat many 500 led on"), Texts{});
    EXPECT_EQ(status, 0);
}

TEST_F(Repeat, CountAboveTheLimitIsRefused)
{
    EXPECT_EQ(sent("repeat 8093 0 led on"), Texts{});
    EXPECT_EQ(status, -1);
    EXPECT_TRUE(camera.logged("repeat count (8093) is not supported!"));
}

TEST_F(Repeat, CountAtTheLimitIsSent)
{
    EXPECT_EQ(sent("repeat 8092 0 led on").size(), 8092u);
    EXPECT_EQ(status, 0);
}

TEST_F(Repeat, NegativeCountIsTooLarge)
{
    EXPECT_EQ(sent("repeat -1 0 led on"), Texts{});
    EXPECT_EQ(status, -1);
    EXPECT_TRUE(camera.logged("repeat count (4294967295) is not supported!"));
}

TEST_F(Repeat, TooFewParametersAreRefused)
{
    EXPECT_EQ(sent("repeat 2 100"), Texts{});
    EXPECT_EQ(status, -1);
    EXPECT_TRUE(camera.logged("repeat cmd param is not enough!"));
}

TEST_F(Repeat, OtherSpellingIsAnOrdinaryWord)
{
    EXPECT_EQ(sent("REPEAT 2 0 led on"), Texts{"REPEAT 2 0 led on"});
}

TEST_F(Repeat, IsExpandedOnce)
{
    EXPECT_EQ(sent("repeat 2 0 repeat 3 0 led"), Texts(2, "repeat 3 0 led"));
}

TEST_F(Repeat, RewritesTheCallersRecordInPlace)
{
    sent("repeat 1 0 adj_data write a b c d e f");
    EXPECT_EQ(text_of(record), "adj_data write a b c d e f");
    EXPECT_STREQ(record.p[7], "d") << "what stood beyond the new count stays";
    EXPECT_STREQ(record.p[8], "e");
    EXPECT_STREQ(record.p[9], "f");
}

TEST_F(Repeat, KeepsNumbersAndDataPath)
{
    record = record_of("repeat 1 0 led on");
    record.e[1] = 42;
    std::strcpy(record.data_path, "there");
    ASSERT_EQ(rova_event_send(ipc, ROVA_CMD_PTP, &record, sizeof(record)), 0);
    uint32_t type = 0;
    uint32_t size = 0;
    void *buffer = nullptr;
    ASSERT_EQ(rova_event_receive(ipc, &type, &buffer, &size), 0);
    auto *taken = static_cast<cmd_data *>(buffer);
    EXPECT_EQ(taken->e[1], 42);
    EXPECT_STREQ(taken->data_path, "there");
    g_free(buffer);
}

TEST_F(Repeat, EndsAtTheFirstFailedSend)
{
    record = record_of("repeat 3 0 led on");
    test::wrap_fail("msgsnd", -1, EIDRM, 2);
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, &record, sizeof(record)), -1);
    EXPECT_EQ(queued(), 1u);
}

TEST_F(Repeat, EndsAtAFailedDelay)
{
    record = record_of("repeat 3 5 led on");
    test::wrap_fail("g_try_malloc", 0, 0, 2);
    EXPECT_EQ(rova_event_send(ipc, ROVA_CMD_CARD, &record, sizeof(record)), -1);
    EXPECT_EQ(queued(), 1u);
}

TEST_F(Repeat, EndsWhenASignalStopsTheQueueInBetween)
{
    static rova_ipc *queue = ipc;
    EXPECT_EXIT(
        {
            rova_loop_block_signals();
            rova_loop_catch_signals([](int) {
                rova_loop_hold_signals();
                cmd_data stop = {};
                rova_event_send(queue, ROVA_CTRL_STOP_PACKET, &stop, sizeof(stop));
            });
            raise(SIGTERM); // comes through when the first send begins to wait
            record = record_of("repeat 9 0 led on");
            status = rova_event_send(ipc, ROVA_CMD_SCRIPT, &record, sizeof(record));
            const msgqnum_t packets = queued();
            take_all(); // the queue is the parent's too, the records are not
            _exit(status == -1 && packets == 2 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "the event queue has been stopped, 'led' is not sent");
}

namespace
{

struct Sender {
    rova_ipc *ipc;
    std::atomic<int> sent{0};
};

void *send_for_ever(void *argument)
{
    auto *sender = static_cast<Sender *>(argument);
    rova_thread_make_cancellable();
    for (;;) {
        cmd_data record = {};
        std::snprintf(record.cmd, sizeof(record.cmd), "%d", sender->sent.load());
        if (rova_event_send(sender->ipc, ROVA_CMD_CARD, &record, sizeof(record)) != 0)
            return nullptr;
        sender->sent++;
    }
}

// Takes records until the stop packet; each must be the next one.
int count_in_order(rova_ipc *ipc)
{
    for (int count = 0;; count++) {
        uint32_t type = 0;
        uint32_t size = 0;
        void *buffer = nullptr;
        EXPECT_EQ(rova_event_receive(ipc, &type, &buffer, &size), 0);
        if (type != ROVA_CTRL_STOP_PACKET) {
            EXPECT_EQ(std::atoi(static_cast<cmd_data *>(buffer)->cmd), count);
        }
        g_free(buffer);
        if (type == ROVA_CTRL_STOP_PACKET)
            return count;
    }
}

} // namespace

TEST_F(Event, SenderCancelledAtAFullQueueLosesOnlyWhatWasInItsHand)
{
    Sender sender{ipc};
    pthread_t thread = 0;
    ASSERT_EQ(rova_thread_create(&thread, "", 0, 1, 0, send_for_ever, &sender), 0);
    ASSERT_TRUE(test::wait_for([&] { return sender.sent == 3; }));
    ASSERT_EQ(rova_thread_cancel(thread), 0);
    void *result = nullptr;
    ASSERT_EQ(rova_thread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(queued(), 3u);

    std::thread receiver([&] { EXPECT_EQ(count_in_order(ipc), 3); });
    cmd_data stop = {};
    EXPECT_EQ(rova_event_send(ipc, ROVA_CTRL_STOP_PACKET, &stop, sizeof(stop)), 0);
    receiver.join();
}

TEST_F(Event, SenderCancelledAtAnyMomentLeavesTheQueueInOrder)
{
#ifdef ROVA_SANITIZE_THREAD
    GTEST_SKIP() << "its instrumentation gives every function something to unwind, which a thread "
                    "that is cancelled between two calls cannot";
#endif
    for (int round = 0; round < 100; round++) {
        ASSERT_EQ(rova_event_deinit(&ipc), 1);
        ASSERT_EQ(rova_event_init(&ipc, ROVA_IPC_MQ, 3), 1);
        Sender sender{ipc};
        pthread_t thread = 0;
        int taken = 0;
        std::thread receiver([&] { taken = count_in_order(ipc); });
        EXPECT_EQ(rova_thread_create(&thread, "", 0, 1, 0, send_for_ever, &sender), 0);
        EXPECT_TRUE(test::wait_for([&] { return sender.sent >= round; }));
        EXPECT_EQ(rova_thread_cancel(thread), 0);
        EXPECT_EQ(rova_thread_join(thread, nullptr), 0);
        cmd_data stop = {};
        EXPECT_EQ(rova_event_send(ipc, ROVA_CTRL_STOP_PACKET, &stop, sizeof(stop)), 0);
        receiver.join();
        EXPECT_GE(taken, sender.sent);
        EXPECT_LE(taken, sender.sent + 1);
    }
}
