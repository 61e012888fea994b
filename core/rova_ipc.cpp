#include "core/rova_ipc.h"

#include "common/rova_log.h"
#include "common/rova_thread.h"
#include "core/rova_loop.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstring>
#include <glib.h>
#include <new>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/msg.h>

namespace
{

constexpr int MQ_FLAGS = 0766;

// The two members of a packet behind its type.
struct mq_packet {
    uint32_t size;
    char data[sizeof(void *)]; // bytes, because the address is not aligned
};

// What msgsnd and msgrcv see of a packet: its type widened to the kernel's type word, then
// ROVA_PACKET_SIZE bytes.  Where pointers are short the last of them mean nothing.
struct mq_message {
    long type;
    union {
        mq_packet packet;
        char room[ROVA_PACKET_SIZE];
    };
};
static_assert(offsetof(mq_message, room) == sizeof(long));
static_assert(sizeof(uint32_t) + sizeof(void *) <= ROVA_PACKET_SIZE);

int invalid_parameter()
{
    ROVA_LOG_ERR("Invalid parameter\n");
    return 0;
}

// A full queue must keep neither a cancellation nor a stop signal out.  In a function of its own,
// which has nothing to unwind: a cancellation between two calls could not unwind any other.
[[gnu::noinline]] int send_in_window(int mq_id, const mq_message *message)
{
    rova_loop_open_signal_window();
    rova_thread_open_cancel_window();
    const int status = msgsnd(mq_id, message, ROVA_PACKET_SIZE, 0);
    rova_thread_close_cancel_window();
    rova_loop_close_signal_window();
    return status;
}

int __rova_send_to_mq(rova_ipc *ipc, const rova_packet *packet)
{
    if (ipc == nullptr || packet == nullptr)
        return invalid_parameter();

    mq_message message = {};
    message.type = static_cast<long>(packet->type);
    message.packet.size = packet->size;
    std::memcpy(message.packet.data, &packet->data, sizeof(packet->data));
    if (send_in_window(ipc->mq_id, &message) != 0) {
        ROVA_LOG_ERR("msgsnd failed mq_id = [%d] errno [%d] (%s) \n", ipc->mq_id, errno,
                     rova_reason());
        return 0;
    }
    return 1;
}

// Takes one message, or says why not; true when one has been taken.
bool take_message(rova_ipc *ipc, rova_packet *packet, int flags)
{
    mq_message message = {};
    if (msgrcv(ipc->mq_id, &message, ROVA_PACKET_SIZE, 0, flags) < 0)
        return false;
    packet->type = static_cast<uint32_t>(message.type);
    packet->size = message.packet.size;
    std::memcpy(&packet->data, message.packet.data, sizeof(packet->data));
    return true;
}

int receive_failed(const rova_ipc *ipc)
{
    ROVA_LOG_ERR("msgrcv failed mq_id = [%d] errno [%d]\n", ipc->mq_id, errno);
    return 0;
}

int __rova_receive_from_mq(rova_ipc *ipc, rova_packet *packet)
{
    if (ipc == nullptr || packet == nullptr)
        return invalid_parameter();
    while (!take_message(ipc, packet, 0))
        if (errno != EINTR)
            return receive_failed(ipc);
    return 1;
}

int __rova_receive_from_mq_nowait(rova_ipc *ipc, rova_packet *packet)
{
    if (ipc == nullptr || packet == nullptr)
        return invalid_parameter();
    if (!take_message(ipc, packet, IPC_NOWAIT))
        return receive_failed(ipc);
    return 1;
}

[[gnu::noinline]] void yield_in_window()
{
    rova_thread_open_cancel_window();
    sched_yield();
    rova_thread_close_cancel_window();
}

int __rova_sem_post(rova_ipc *ipc, const rova_packet *packet)
{
    if (ipc == nullptr || packet == nullptr || ipc->ring == nullptr || ipc->capacity == 0)
        return invalid_parameter();

    while (ipc->head - ipc->tail.load(std::memory_order_acquire) == ipc->capacity)
        yield_in_window();
    ipc->ring[ipc->head % ipc->capacity] = *packet;
    ipc->head++;
    if (sem_post(&ipc->sem) != 0) {
        ROVA_LOG_ERR("sem_post is failed\n");
        ipc->head--; // nobody was told of the entry: it stays with the sender
        return 0;
    }
    return 1;
}

void take_entry(rova_ipc *ipc, rova_packet *packet)
{
    *packet = ipc->ring[ipc->tail.load(std::memory_order_relaxed) % ipc->capacity];
    // A fence on both sides: the entry is copied before its place is given back.
    ipc->tail.fetch_add(1, std::memory_order_seq_cst);
}

int receive_by_sem(rova_ipc *ipc, rova_packet *packet, int (*wait)(sem_t *))
{
    if (ipc == nullptr || packet == nullptr || ipc->ring == nullptr || ipc->capacity == 0)
        return invalid_parameter();
    if (wait(&ipc->sem) != 0) {
        ROVA_LOG_ERR("sem_wait is failed\n");
        return 0;
    }
    take_entry(ipc, packet);
    return 1;
}

int __rova_sem_wait(rova_ipc *ipc, rova_packet *packet)
{
    return receive_by_sem(ipc, packet, sem_wait);
}

int __rova_sem_nowait(rova_ipc *ipc, rova_packet *packet)
{
    return receive_by_sem(ipc, packet, sem_trywait);
}

bool open_mq(rova_ipc *ipc)
{
    ipc->mq_id = sys_msgget(IPC_PRIVATE, MQ_FLAGS);
    if (ipc->mq_id < 0) {
        ROVA_LOG_ERR("msgget failed errno [%d]\n", errno);
        return false;
    }
    ipc->send = __rova_send_to_mq;
    ipc->receive = __rova_receive_from_mq;
    ipc->receive_nowait = __rova_receive_from_mq_nowait;
    return true;
}

bool open_sem(rova_ipc *ipc)
{
    if (sem_init(&ipc->sem, 0, 0) != 0) {
        ROVA_LOG_ERR("sem_init failed errno [%d]\n", errno);
        return false;
    }
    ipc->send = __rova_sem_post;
    ipc->receive = __rova_sem_wait;
    ipc->receive_nowait = __rova_sem_nowait;
    return true;
}

bool open_kind(rova_ipc *ipc, uint32_t kind)
{
    switch (kind) {
    case ROVA_IPC_MQ:
        return open_mq(ipc);
    case ROVA_IPC_SEM:
        return open_sem(ipc);
    }
    ROVA_LOG_ERR("Unknown IPC\n");
    return false;
}

int set_mq_size(const rova_ipc *ipc, std::size_t bytes)
{
    // MSG_STAT looks at the slot in the kernel's table only, and answers with the identifier of the
    // queue that is there now.
    msqid_ds attributes = {};
    if (sys_msgctl(ipc->mq_id, MSG_STAT, &attributes) != ipc->mq_id) {
        ROVA_LOG_ERR("Getting MQ attribute Failed");
        return 0;
    }
    attributes.msg_qbytes = static_cast<msglen_t>(bytes);
    if (sys_msgctl(ipc->mq_id, IPC_SET, &attributes) != 0) {
        ROVA_LOG_ERR("Setting MQ attribute Failed");
        return 0;
    }
    return 1;
}

int set_ring_size(rova_ipc *ipc, std::size_t bytes)
{
    g_free(ipc->ring);
    ipc->capacity = 0;
    ipc->ring =
        static_cast<rova_packet *>(g_try_malloc0(bytes / ROVA_PACKET_SIZE * sizeof(rova_packet)));
    if (ipc->ring == nullptr) {
        ROVA_LOG_ERR("g_malloc is failed\n");
        return 0;
    }
    ipc->capacity = static_cast<uint32_t>(bytes / ROVA_PACKET_SIZE);
    return 1;
}

bool close_mq(rova_ipc *ipc)
{
    ipc->kind = 0;
    if (sys_msgctl(ipc->mq_id, IPC_RMID, nullptr) == 0)
        return true;
    ROVA_LOG_ERR("msgctl(IPC_RMID) is failed\n");
    return false;
}

bool close_sem(rova_ipc *ipc)
{
    g_free(ipc->ring);
    ipc->ring = nullptr;
    ipc->head = 0;
    ipc->tail.store(0);
    ipc->kind = 0;
    if (sem_destroy(&ipc->sem) == 0)
        return true;
    ROVA_LOG_ERR("sem_destroy is failed\n");
    return false;
}

bool close_kind(rova_ipc *ipc)
{
    switch (ipc->kind) {
    case ROVA_IPC_MQ:
        return close_mq(ipc);
    case ROVA_IPC_SEM:
        return close_sem(ipc);
    }
    ROVA_LOG_ERR("Unknow IPC type\n");
    return false;
}

} // namespace

rova_ipc *rova_ipc_init(uint32_t kind)
{
    void *room = g_try_malloc0(sizeof(rova_ipc));
    if (room == nullptr) {
        ROVA_LOG_ERR("g_malloc is failed\n");
        return nullptr;
    }
    auto *ipc = new (room) rova_ipc();
    if (!open_kind(ipc, kind)) {
        g_free(ipc);
        return nullptr;
    }
    ipc->kind = kind;
    return ipc;
}

int rova_ipc_set_size(rova_ipc *ipc, std::size_t bytes)
{
    if (ipc == nullptr)
        return invalid_parameter();
    switch (ipc->kind) {
    case ROVA_IPC_MQ:
        return set_mq_size(ipc, bytes);
    case ROVA_IPC_SEM:
        return set_ring_size(ipc, bytes);
    }
    ROVA_LOG_ERR("Unknown IPC type\n");
    return 0;
}

int rova_ipc_deinit(rova_ipc *ipc)
{
    if (ipc == nullptr)
        return invalid_parameter();
    if (!close_kind(ipc))
        return 0;
    g_free(ipc);
    return 1;
}
