// What the channels to the camera application have in common: a message queue that tells of a
// command, two areas of physical memory for the command and its answer, and a semaphore that tells
// of the answer.  The serving end makes the queue; it outlives both ends.
#pragma once

#include "lib/rova_cmd_response.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <sys/ipc.h>
#include <sys/types.h>

inline constexpr char ROVA_CHANNEL_DIR[] = "/tmp"; // the keys are made from it
inline constexpr int ROVA_CHANNEL_SERVE_FLAGS = IPC_CREAT | IPC_EXCL | 0666;
inline constexpr int ROVA_CHANNEL_SEND_FLAGS = 0666;
inline constexpr mode_t ROVA_CHANNEL_SEM_MODE = 0666;

// The board's memory map.
inline constexpr char ROVA_CHANNEL_MEM[] = "/dev/mem";
inline constexpr uint32_t ROVA_CMD_AREA_ADDR = 0x85c20000;
inline constexpr std::size_t ROVA_CMD_AREA_SIZE = 4096;
inline constexpr uint32_t ROVA_RESP_AREA_ADDR = 0x85c21000;
inline constexpr std::size_t ROVA_RESP_AREA_SIZE = 0xff000;

static_assert(ROVA_CHANNEL_SERVE_FLAGS == 03666);
static_assert(ROVA_CMD_DATA_SIZE <= ROVA_CMD_AREA_SIZE);
static_assert(ROVA_CMD_RESPONSE_SIZE <= ROVA_RESP_AREA_SIZE);

// A message is as long as the channel says, counted behind the type: the kernel's type word has
// the width of a long, the words behind it have 32 bits everywhere.
struct rova_channel_message {
    long type;        // rova_cmd_type
    uint32_t address; // of the command
    uint32_t unused;
};
static_assert(offsetof(rova_channel_message, address) == sizeof(long));
static_assert(sizeof(rova_channel_message) == sizeof(long) + 8);

struct rova_channel {
    int project; // of the queue's key
    const char *semaphore;
    std::size_t message_size;
    int (*timeout)(const cmd_data *record); // in seconds, 0: no limit
    std::mutex send_lock;
};

// The key of the channel's queue, and the queue itself by one of the flags above; -1 with the
// reason logged.
key_t rova_channel_key(const rova_channel *channel);
int rova_channel_queue(key_t key, int flags);

// Hands a command to the serving end and waits for the answer, which is owned by the caller.
// 1, or 0 with the reason logged; `answer` is written on success only.  Any thread; one sender at
// a time.
int rova_channel_send(rova_channel *channel, uint32_t cmd_type, const cmd_data *record,
                      rova_cmd_response *answer);

// An area of physical memory, as long as the guard lives.
class rova_area
{
public:
    rova_area() = default;
    ~rova_area();
    rova_area(const rova_area &) = delete;
    rova_area &operator=(const rova_area &) = delete;

    // `fd` is ROVA_CHANNEL_MEM, opened read-write; it may be closed afterwards.  False and errno on
    // failure.
    bool map(int fd, uint32_t address, std::size_t size);
    void clear() const; // to zeros
    void *get() const { return start_; }

private:
    void *start_ = nullptr;
    void *base_ = nullptr;
    std::size_t size_ = 0;
};
