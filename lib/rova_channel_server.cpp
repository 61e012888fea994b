#include "lib/rova_channel_server.h"

#include "common/rova_log.h"
#include "common/rova_thread.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/msg.h>

namespace
{

const char *reason()
{
    return std::strerror(errno);
}

sem_t *open_semaphore(const rova_channel *channel)
{
    return sys_sem_open(channel->semaphore, O_CREAT, ROVA_CHANNEL_SEM_MODE, 0);
}

// Never waits for room: the thread that would make it may be gone.
bool send_end_packet(const rova_channel_server *server)
{
    rova_channel_message message = {};
    message.type = ROVA_CTRL_STOP_PACKET;
    if (msgsnd(server->mq_id, &message, server->channel->message_size, IPC_NOWAIT) == 0)
        return true;
    ROVA_LOG_ERR("failed to send end packet \n");
    return false;
}

// Never a part of a caller that has something to unwind.
[[gnu::noinline]] ssize_t receive_in_window(int queue, rova_channel_message *message,
                                            std::size_t size)
{
    rova_thread_open_cancel_window();
    const ssize_t got = msgrcv(queue, message, size, 0, 0);
    rova_thread_close_cancel_window();
    return got;
}

// 0, or -1 with the reason logged.
int __rova_sem_put(const rova_channel *channel)
{
    sem_t *sem = open_semaphore(channel);
    if (sem == SEM_FAILED) {
        ROVA_LOG_ERR("Semaphore open Fail! (name: %s, %s)\n", channel->semaphore, reason());
        return -1;
    }
    const int status = sem_post(sem);
    if (status != 0)
        ROVA_LOG_ERR("sem_post failed (name: %s, %s) \n", channel->semaphore, reason());
    sem_close(sem);
    return status != 0 ? -1 : 0;
}

} // namespace

bool rova_channel_open(rova_channel_server *server, key_t key)
{
    server->mq_id = rova_channel_queue(key, ROVA_CHANNEL_SERVE_FLAGS);
    if (server->mq_id < 0)
        return false;
    sem_t *sem = open_semaphore(server->channel);
    if (sem == SEM_FAILED) {
        ROVA_LOG_ERR("failed to create semaphore. (%s) \n", reason());
        return false;
    }
    server->sem = sem;
    return true;
}

bool rova_channel_start(rova_channel_server *server, void *(*body)(void *), void *arg)
{
    if (rova_serving_thread_create(&server->thread, body, arg) == 0)
        return true;
    ROVA_LOG_ERR("rova_thread_create failed \n");
    return false;
}

void rova_channel_stop(rova_channel_server *server)
{
    if (server->thread == 0)
        return;
    // A thread that cannot be told to end is ended by the removal of its queue.
    if (!send_end_packet(server))
        sys_msgctl(server->mq_id, IPC_RMID, nullptr);
    if (rova_serving_thread_join(server->thread) != 0)
        ROVA_LOG_ERR("failed to join %s thread \n", server->name);
    server->thread = 0;
}

void rova_channel_close(rova_channel_server *server)
{
    if (server->mq_id >= 0) // the kernel's first queue has the number 0
        sys_msgctl(server->mq_id, IPC_RMID, nullptr);
    server->mq_id = -1;
    // Only what this process opened: a start that found another one's queue leaves its semaphore.
    if (server->sem != nullptr) {
        sem_close(server->sem);
        sys_sem_unlink(server->channel->semaphore);
    }
    server->sem = nullptr;
    server->started = 0;
}

bool rova_channel_receive(const rova_channel_server *server, rova_channel_message *message)
{
    ssize_t got = 0;
    do
        got = receive_in_window(server->mq_id, message, server->channel->message_size);
    while (got < 0 && errno == EINTR);
    if (got < 0) {
        ROVA_LOG_ERR("msgrcv failed (ret=%d, %s) \n", static_cast<int>(got), reason());
        return false;
    }
    if (message->type != ROVA_CTRL_STOP_PACKET)
        return true;
    ROVA_LOG_INFO("ROVA_CTRL_STOP_PACKET is received \n");
    return false;
}

int rova_channel_acknowledge(const rova_channel *channel)
{
    if (__rova_sem_put(channel) == 0)
        return 0;
    ROVA_LOG_ERR("__rova_sem_put failed \n");
    return -1;
}
