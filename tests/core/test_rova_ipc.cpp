#include "core/rova_ipc.h"

#include "tests/support/camera.h"
#include "tests/support/wrap.h"

#include <cerrno>
#include <cstring>
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <thread>

namespace
{

class Ipc : public testing::TestWithParam<rova_ipc_kind>
{
protected:
    ~Ipc() override { test::wrap_clear(); }

    static rova_ipc *make(uint32_t kind, std::size_t depth = 3)
    {
        rova_ipc *ipc = rova_ipc_init(kind);
        EXPECT_NE(ipc, nullptr);
        EXPECT_EQ(rova_ipc_set_size(ipc, depth * ROVA_PACKET_SIZE), 1);
        return ipc;
    }

    test::Camera camera;
    int blocks[16] = {}; // something to point at
};

using MessageQueue = Ipc;
using Ring = Ipc;

msqid_ds attributes(const rova_ipc *ipc)
{
    msqid_ds data = {};
    EXPECT_EQ(msgctl(ipc->mq_id, IPC_STAT, &data), 0);
    return data;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Kinds, Ipc, testing::Values(ROVA_IPC_MQ, ROVA_IPC_SEM),
                         [](const auto &kind) {
                             return std::string(kind.param == ROVA_IPC_MQ ? "Queue" : "Ring");
                         });

TEST_P(Ipc, PacketsArriveWholeAndInOrder)
{
    rova_ipc *ipc = make(GetParam());
    for (uint32_t round = 0; round < 5; round++) {
        for (uint32_t i = 0; i < 3; i++) {
            const rova_packet packet = {i + 1, 500 + i, &blocks[i]};
            ASSERT_EQ(ipc->send(ipc, &packet), 1);
        }
        for (uint32_t i = 0; i < 3; i++) {
            rova_packet packet = {};
            ASSERT_EQ(ipc->receive(ipc, &packet), 1);
            EXPECT_EQ(packet.type, i + 1);
            EXPECT_EQ(packet.size, 500 + i);
            EXPECT_EQ(packet.data, &blocks[i]);
        }
    }
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_P(Ipc, ReceiveNowaitTakesWhatIsThere)
{
    rova_ipc *ipc = make(GetParam());
    const rova_packet sent = {4, 500, blocks};
    ASSERT_EQ(ipc->send(ipc, &sent), 1);
    rova_packet packet = {};
    EXPECT_EQ(ipc->receive_nowait(ipc, &packet), 1);
    EXPECT_EQ(packet.data, blocks);
    EXPECT_EQ(ipc->receive_nowait(ipc, &packet), 0);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_P(Ipc, FullChannelBlocksTheSenderUntilAPacketIsTaken)
{
    rova_ipc *ipc = make(GetParam());
    std::atomic<int> sent{0};
    std::thread sender([&] {
        for (uint32_t i = 0; i < 4; i++) {
            const rova_packet packet = {2, i, blocks};
            ipc->send(ipc, &packet);
            sent++;
        }
    });
    ASSERT_TRUE(test::wait_for([&] { return sent == 3; }));
    EXPECT_EQ(sent, 3);
    for (uint32_t i = 0; i < 4; i++) {
        rova_packet packet = {};
        ASSERT_EQ(ipc->receive(ipc, &packet), 1);
        EXPECT_EQ(packet.size, i);
    }
    sender.join();
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_P(Ipc, NullArgumentsAreRefused)
{
    rova_ipc *ipc = make(GetParam());
    rova_packet packet = {};
    EXPECT_EQ(ipc->send(nullptr, &packet), 0);
    EXPECT_EQ(ipc->send(ipc, nullptr), 0);
    EXPECT_EQ(ipc->receive(nullptr, &packet), 0);
    EXPECT_EQ(ipc->receive(ipc, nullptr), 0);
    EXPECT_EQ(ipc->receive_nowait(nullptr, &packet), 0);
    EXPECT_EQ(ipc->receive_nowait(ipc, nullptr), 0);
    EXPECT_EQ(rova_ipc_set_size(nullptr, 36), 0);
    EXPECT_EQ(rova_ipc_deinit(nullptr), 0);
    EXPECT_TRUE(camera.logged("Invalid parameter"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_P(Ipc, FailedAllocationGivesNoChannel)
{
    test::wrap_fail("g_try_malloc0", 0);
    EXPECT_EQ(rova_ipc_init(GetParam()), nullptr);
    EXPECT_TRUE(camera.logged("g_malloc is failed"));
}

TEST_F(MessageQueue, HoldsExactlyThreePackets)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    EXPECT_EQ(attributes(ipc).msg_qbytes, 36u);
    for (int i = 0; i < 3; i++) {
        const rova_packet packet = {2, 500, blocks};
        ASSERT_EQ(ipc->send(ipc, &packet), 1);
    }
    EXPECT_EQ(attributes(ipc).msg_qnum, 3u);
    struct {
        long type;
        char bytes[ROVA_PACKET_SIZE];
    } fourth = {2, {}};
    EXPECT_EQ(msgsnd(ipc->mq_id, &fourth, sizeof(fourth.bytes), IPC_NOWAIT), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, HasTheModeOfTheChannel)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    EXPECT_EQ(attributes(ipc).msg_perm.mode & 0777, 0766);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, IsRemovedAtTheEnd)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    const int id = ipc->mq_id;
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
    msqid_ds data = {};
    EXPECT_EQ(msgctl(id, IPC_STAT, &data), -1);
}

TEST_F(MessageQueue, FailedMsggetIsReported)
{
    camera.fault("sys_msgget", "-1 errno ENOSPC");
    EXPECT_EQ(rova_ipc_init(ROVA_IPC_MQ), nullptr);
    EXPECT_TRUE(camera.logged("msgget failed errno [28]"));
}

TEST_F(MessageQueue, UnreadableAttributesAreReported)
{
    rova_ipc *ipc = rova_ipc_init(ROVA_IPC_MQ);
    camera.fault("sys_msgctl", "-1 at 1");
    EXPECT_EQ(rova_ipc_set_size(ipc, 36), 0);
    EXPECT_TRUE(camera.logged("Getting MQ attribute Failed"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, AttributesOfAnotherQueueAreNotTaken)
{
    rova_ipc *ipc = rova_ipc_init(ROVA_IPC_MQ);
    const msglen_t before = attributes(ipc).msg_qbytes;
    camera.fault("sys_msgctl", std::to_string(ipc->mq_id + 1) + " at 1");
    EXPECT_EQ(rova_ipc_set_size(ipc, 36), 0);
    EXPECT_TRUE(camera.logged("Getting MQ attribute Failed"));
    EXPECT_EQ(attributes(ipc).msg_qbytes, before);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, UnwritableAttributesAreReported)
{
    rova_ipc *ipc = rova_ipc_init(ROVA_IPC_MQ);
    camera.fault("sys_msgctl", "-1 at 2");
    EXPECT_EQ(rova_ipc_set_size(ipc, 36), 0);
    EXPECT_TRUE(camera.logged("Setting MQ attribute Failed"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, FailedSendIsReportedWithTheReason)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    const rova_packet packet = {2, 500, blocks};
    test::wrap_fail("msgsnd", -1, EIDRM);
    EXPECT_EQ(ipc->send(ipc, &packet), 0);
    EXPECT_TRUE(camera.logged("msgsnd failed mq_id = [" + std::to_string(ipc->mq_id) +
                              "] errno [43] (" + std::strerror(EIDRM) + ") "));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, TypeZeroIsRefusedByTheKernel)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    const rova_packet packet = {0, 500, blocks};
    EXPECT_EQ(ipc->send(ipc, &packet), 0);
    EXPECT_TRUE(camera.logged("msgsnd failed"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, ReceiveGoesOnAfterAnInterruption)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    const rova_packet sent = {2, 500, blocks};
    ASSERT_EQ(ipc->send(ipc, &sent), 1);
    rova_packet packet = {};
    test::wrap_fail("msgrcv", -1, EINTR);
    EXPECT_EQ(ipc->receive(ipc, &packet), 1);
    EXPECT_EQ(packet.data, blocks);
    EXPECT_FALSE(camera.logged("msgrcv failed"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, ReceiveNowaitEndsAtAnInterruption)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    const rova_packet sent = {2, 500, blocks};
    ASSERT_EQ(ipc->send(ipc, &sent), 1);
    rova_packet packet = {};
    test::wrap_fail("msgrcv", -1, EINTR);
    EXPECT_EQ(ipc->receive_nowait(ipc, &packet), 0);
    EXPECT_TRUE(
        camera.logged("msgrcv failed mq_id = [" + std::to_string(ipc->mq_id) + "] errno [4]"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, FailedReceiveIsReported)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    rova_packet packet = {};
    test::wrap_fail("msgrcv", -1, EIDRM);
    EXPECT_EQ(ipc->receive(ipc, &packet), 0);
    EXPECT_TRUE(
        camera.logged("msgrcv failed mq_id = [" + std::to_string(ipc->mq_id) + "] errno [43]"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(MessageQueue, FailedRemovalKeepsTheObject)
{
    rova_ipc *ipc = make(ROVA_IPC_MQ);
    camera.fault("sys_msgctl", "-1 at 1");
    EXPECT_EQ(rova_ipc_deinit(ipc), 0);
    EXPECT_TRUE(camera.logged("msgctl(IPC_RMID) is failed"));
    EXPECT_EQ(ipc->kind, 0u);

    EXPECT_EQ(rova_ipc_deinit(ipc), 0); // its kind is gone
    EXPECT_TRUE(camera.logged("Unknow IPC type"));
    EXPECT_EQ(rova_ipc_set_size(ipc, 36), 0);
    EXPECT_TRUE(camera.logged("Unknown IPC type"));
    msgctl(ipc->mq_id, IPC_RMID, nullptr);
    g_free(ipc);
}

TEST_F(Ring, FailedSemaphoreIsReported)
{
    test::wrap_fail("sem_init", -1, ENOSYS);
    EXPECT_EQ(rova_ipc_init(ROVA_IPC_SEM), nullptr);
    EXPECT_TRUE(camera.logged("sem_init failed errno [38]"));
}

TEST_F(Ring, CapacityIsTheSizeInPackets)
{
    rova_ipc *ipc = make(ROVA_IPC_SEM, 5);
    EXPECT_EQ(ipc->capacity, 5u);
    EXPECT_EQ(rova_ipc_set_size(ipc, 30), 1);
    EXPECT_EQ(ipc->capacity, 2u);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(Ring, FailedRingAllocationIsReported)
{
    rova_ipc *ipc = rova_ipc_init(ROVA_IPC_SEM);
    test::wrap_fail("g_try_malloc0", 0);
    EXPECT_EQ(rova_ipc_set_size(ipc, 36), 0);
    EXPECT_TRUE(camera.logged("g_malloc is failed"));
    EXPECT_EQ(ipc->capacity, 0u);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(Ring, WithoutARingNothingIsSent)
{
    rova_ipc *ipc = rova_ipc_init(ROVA_IPC_SEM);
    rova_packet packet = {2, 500, blocks};
    EXPECT_EQ(ipc->send(ipc, &packet), 0);
    EXPECT_EQ(ipc->receive(ipc, &packet), 0);
    EXPECT_TRUE(camera.logged("Invalid parameter"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(Ring, FailedPostLeavesThePacketWithTheSender)
{
    rova_ipc *ipc = make(ROVA_IPC_SEM);
    const rova_packet lost = {2, 1, blocks};
    const rova_packet sent = {2, 2, blocks};
    test::wrap_fail("sem_post", -1, EOVERFLOW);
    EXPECT_EQ(ipc->send(ipc, &lost), 0);
    EXPECT_TRUE(camera.logged("sem_post is failed"));
    EXPECT_EQ(ipc->send(ipc, &sent), 1);
    rova_packet packet = {};
    EXPECT_EQ(ipc->receive(ipc, &packet), 1);
    EXPECT_EQ(packet.size, 2u);
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(Ring, FailedWaitIsReportedForBothWays)
{
    rova_ipc *ipc = make(ROVA_IPC_SEM);
    rova_packet packet = {};
    test::wrap_fail("sem_wait", -1, EINTR);
    EXPECT_EQ(ipc->receive(ipc, &packet), 0);
    EXPECT_TRUE(camera.logged("sem_wait is failed"));
    camera.write("/virtual/dlog", "");
    EXPECT_EQ(ipc->receive_nowait(ipc, &packet), 0);
    EXPECT_TRUE(camera.logged("sem_wait is failed"));
    EXPECT_EQ(rova_ipc_deinit(ipc), 1);
}

TEST_F(Ring, FailedDestructionKeepsTheObject)
{
    rova_ipc *ipc = make(ROVA_IPC_SEM);
    test::wrap_fail("sem_destroy", -1, EINVAL);
    EXPECT_EQ(rova_ipc_deinit(ipc), 0);
    EXPECT_TRUE(camera.logged("sem_destroy is failed"));
    EXPECT_EQ(ipc->kind, 0u);
    EXPECT_EQ(ipc->ring, nullptr);
    EXPECT_EQ(ipc->head, 0u);
    g_free(ipc);
}

TEST_F(Ipc, UnknownKindGivesNoChannel)
{
    EXPECT_EQ(rova_ipc_init(3), nullptr);
    EXPECT_TRUE(camera.logged("Unknown IPC"));
}
