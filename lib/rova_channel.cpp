#include "lib/rova_channel.h"

#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/msg.h>
#include <unistd.h>

rova_area::~rova_area()
{
    if (start_ != nullptr)
        munmap(base_, size_ + static_cast<std::size_t>(static_cast<char *>(start_) -
                                                       static_cast<char *>(base_)));
}

bool rova_area::map(int fd, uint32_t address, std::size_t size)
{
    size_ = size;
    return rova_mmap_region(fd, static_cast<off_t>(address), size, &start_, &base_) == 0;
}

void rova_area::clear() const
{
    std::memset(start_, 0, size_);
}

namespace
{

const char *reason()
{
    return std::strerror(errno);
}

// Both areas, and the file behind them, for one command.
struct channel_memory {
    channel_memory() = default;
    ~channel_memory()
    {
        if (fd >= 0)
            close(fd);
    }
    channel_memory(const channel_memory &) = delete;
    channel_memory &operator=(const channel_memory &) = delete;

    int fd = -1;
    rova_area command;
    rova_area answer;
};

key_t make_key(const rova_channel *channel)
{
    if (sys_access(ROVA_CHANNEL_DIR, R_OK) != 0) {
        ROVA_LOG_ERR("failed to access (%s) \n", reason());
        return -1;
    }
    return sys_ftok(ROVA_CHANNEL_DIR, channel->project);
}

bool map_cleared(rova_area *area, int fd, uint32_t address, std::size_t size)
{
    if (!area->map(fd, address, size)) {
        ROVA_LOG_ERR("failed to mmap (%s) \n", reason());
        return false;
    }
    area->clear();
    return true;
}

// Cleared, so that a serving end that acknowledges without writing has answered a plain OK.
bool open_memory(channel_memory *memory)
{
    memory->fd = sys_open(ROVA_CHANNEL_MEM, O_RDWR | O_CLOEXEC, 0);
    if (memory->fd < 0) {
        ROVA_LOG_ERR("failed to open /dev/mem. (%s) \n", reason());
        return false;
    }
    return map_cleared(&memory->command, memory->fd, ROVA_CMD_AREA_ADDR, ROVA_CMD_AREA_SIZE) &&
           map_cleared(&memory->answer, memory->fd, ROVA_RESP_AREA_ADDR, ROVA_RESP_AREA_SIZE);
}

// A full queue is one that nobody reads: waiting for room would be for ever.
bool send_message(const rova_channel *channel, int queue, uint32_t cmd_type)
{
    rova_channel_message message = {};
    message.type = static_cast<long>(cmd_type);
    message.address = ROVA_CMD_AREA_ADDR;
    if (msgsnd(queue, &message, channel->message_size, IPC_NOWAIT) == 0)
        return true;
    ROVA_LOG_ERR("msgsnd failed (%s) \n", reason());
    return false;
}

int wait_once(sem_t *sem, int seconds)
{
    if (seconds == 0)
        return sem_wait(sem);
    timespec deadline = {};
    sys_deadline_seconds(static_cast<unsigned int>(seconds), &deadline);
    return sem_timedwait(sem, &deadline);
}

// An interrupted wait begins anew, with its whole time.
bool wait_for_post(sem_t *sem, int seconds)
{
    int status = 0;
    do
        status = wait_once(sem, seconds);
    while (status != 0 && errno == EINTR);
    if (status == 0)
        return true;

    switch (errno) {
    case EAGAIN:
        ROVA_LOG_ERR("EAGAIN \n");
        return false;
    case EINVAL:
        ROVA_LOG_ERR("Invalid semaphore \n");
        return false;
    case ETIMEDOUT:
        ROVA_LOG_ERR("sem_wait leached %d seconds timeout.\n", seconds);
        return false;
    }
    return true; // as if posted: the cleared area then reads as a plain OK
}

bool wait_for_answer(const rova_channel *channel, int seconds)
{
    if (seconds < 0) {
        ROVA_LOG_ERR("invalid timeout (sec = %d) \n", seconds);
        return false;
    }
    sem_t *sem = sys_sem_open(channel->semaphore, O_CREAT, ROVA_CHANNEL_SEM_MODE, 0);
    if (sem == SEM_FAILED) {
        ROVA_LOG_ERR("Semaphore open Fail! (name:%s, %s)\n", channel->semaphore, reason());
        return false;
    }
    const bool answered = wait_for_post(sem, seconds);
    sem_close(sem);
    if (!answered)
        ROVA_LOG_ERR("rova_sem_timedwait failed, timeout=%d \n", seconds);
    return answered;
}

} // namespace

key_t rova_channel_key(const rova_channel *channel)
{
    const key_t key = make_key(channel);
    if (key == -1)
        ROVA_LOG_ERR("failed to generate msg key \n");
    return key;
}

int rova_channel_queue(key_t key, int flags)
{
    const int queue = sys_msgget(key, flags);
    if (queue < 0)
        ROVA_LOG_ERR("failed to create mqueue. (%s) \n", reason());
    return queue;
}

int rova_channel_send(rova_channel *channel, uint32_t cmd_type, const cmd_data *record,
                      rova_cmd_response *answer)
{
    if (record == nullptr) {
        ROVA_LOG_ERR("cmd_data is NULL \n");
        return 0;
    }
    if (answer == nullptr) {
        ROVA_LOG_ERR("resp is NULL \n");
        return 0;
    }
    const key_t key = rova_channel_key(channel);
    if (key == -1)
        return 0;
    const int queue = rova_channel_queue(key, ROVA_CHANNEL_SEND_FLAGS);
    if (queue < 0)
        return 0;

    const std::lock_guard lock(channel->send_lock);
    channel_memory memory;
    if (!open_memory(&memory))
        return 0;
    std::memcpy(memory.command.get(), record, ROVA_CMD_DATA_SIZE);
    if (!send_message(channel, queue, cmd_type) ||
        !wait_for_answer(channel, channel->timeout(record)))
        return 0;
    std::memcpy(answer, memory.answer.get(), ROVA_CMD_RESPONSE_SIZE);
    return 1;
}
