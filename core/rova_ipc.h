// A channel for packets inside the process, of one of two kinds.  Operations return 1 on success
// and 0 on failure, with the reason logged.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <semaphore.h>

enum rova_ipc_kind : uint32_t {
    ROVA_IPC_MQ = 1,  // System V message queue: several senders
    ROVA_IPC_SEM = 2, // semaphore and ring in memory: one sender, one receiver
};

// A packet in the channel is 12 bytes wide; `data` is a heap block owned by whoever holds the
// packet.  The message queue copies 12 bytes behind the type word, hence the room behind `data`
// where pointers are short.
inline constexpr std::size_t ROVA_PACKET_SIZE = 12;

#pragma pack(push, 4)
struct rova_packet {
    uint32_t type;
    uint32_t size;
    void *data;
};
#pragma pack(pop)

struct rova_ipc {
    uint32_t kind;
    union {
        int mq_id;
        sem_t sem;
    };
    uint32_t head;
    std::atomic<uint32_t> tail;
    uint32_t capacity;
    rova_packet *ring;
    int (*send)(rova_ipc *ipc, const rova_packet *packet);
    int (*receive)(rova_ipc *ipc, rova_packet *packet);
    int (*receive_nowait)(rova_ipc *ipc, rova_packet *packet);
};

rova_ipc *rova_ipc_init(uint32_t kind); // owned by the caller; NULL on failure
int rova_ipc_set_size(rova_ipc *ipc, std::size_t bytes);
int rova_ipc_deinit(rova_ipc *ipc); // frees the object on success
