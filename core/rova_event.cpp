#include "core/rova_event.h"

#include "common/rova_log.h"
#include "common/rova_thread.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <glib.h>

namespace
{

constexpr uint32_t REPEAT_MAX = 8092;
constexpr uint32_t REPEAT_WORDS = 3; // count, delay, command

// The copy that a cancellable thread is handing over.  Such a thread can end inside the send, with
// the packet in the queue or not: which of the two, only the receiver learns.  So the sender notes
// the copy here, the receiver crosses out what it has taken, and when both have ended, what still
// stands here was never sent.
std::atomic<void *> in_flight{nullptr};

// What a sender wrote is seen by whoever takes the packet.  The kernel's queue sees to that, but
// the language knows nothing of it: the sender's increment and the receiver's look say it in its
// terms.
std::atomic<uint32_t> handed_over{0};

// Nobody takes packets from behind the stop packet: a sender would wait for ever once the queue is
// full.
std::atomic<bool> stop_packet_sent{false};

int hand_over(rova_ipc *ipc, const rova_packet *packet)
{
    handed_over.fetch_add(1, std::memory_order_release);
    if (!rova_thread_is_cancellable())
        return ipc->send(ipc, packet);
    in_flight.store(packet->data);
    const int sent = ipc->send(ipc, packet);
    in_flight.store(nullptr);
    return sent;
}

int send_copy(rova_ipc *ipc, uint32_t type, const cmd_data *record, uint32_t size)
{
    if (stop_packet_sent.load()) {
        ROVA_LOG_ERR("the event queue has been stopped, '%.31s' is not sent \n", record->cmd);
        return -1;
    }
    void *copy = g_try_malloc(size);
    if (copy == nullptr) {
        ROVA_LOG_ERR("Memory Allocation failed\n");
        return -1;
    }
    std::memcpy(copy, record, size);
    const rova_packet packet = {type, size, copy};
    if (hand_over(ipc, &packet) == 0) {
        ROVA_LOG_ERR("ipc_send() failed \n");
        g_free(copy);
        return -1;
    }
    return 0;
}

struct repetition {
    uint32_t count;
    int delay; // milliseconds behind each packet
};

// Turns "repeat COUNT DELAY COMMAND [PARAMETERS]" into "COMMAND [PARAMETERS]".
void drop_repeat_words(cmd_data *record)
{
    const uint32_t given = std::min<uint32_t>(record->p_count, ROVA_CMD_PARAM_MAX);
    std::memcpy(record->cmd, record->p[REPEAT_WORDS - 1], sizeof(record->cmd));
    for (uint32_t i = REPEAT_WORDS; i < given; i++)
        std::memcpy(record->p[i - REPEAT_WORDS], record->p[i], sizeof(record->p[i]));
    record->p_count = given - REPEAT_WORDS;
}

// 0 with the repetition asked for and `record` rewritten, or -1.
int read_repeat(cmd_data *record, repetition *repeat)
{
    if (record->p_count < REPEAT_WORDS) {
        ROVA_LOG_ERR("repeat cmd param is not enough! \n");
        return -1;
    }
    repeat->count = static_cast<uint32_t>(std::atoi(record->p[0])); // negative: far too large
    if (repeat->count > REPEAT_MAX) {
        ROVA_LOG_ERR("repeat count (%ld) is not supported! \n", static_cast<long>(repeat->count));
        return -1;
    }
    repeat->delay = std::atoi(record->p[1]);
    drop_repeat_words(record);
    return 0;
}

cmd_data make_delay(int milliseconds)
{
    cmd_data record = {};
    std::strcpy(record.cmd, "delay");
    record.p_count = 1;
    std::snprintf(record.p[0], sizeof(record.p[0]), "%d", milliseconds);
    return record;
}

int send_repeatedly(rova_ipc *ipc, uint32_t type, const cmd_data *record, uint32_t size,
                    const repetition &repeat)
{
    const cmd_data delay = make_delay(repeat.delay);
    for (uint32_t i = 0; i < repeat.count; i++) {
        if (send_copy(ipc, type, record, size) < 0)
            return -1;
        if (repeat.delay > 0 && send_copy(ipc, type, &delay, sizeof(delay)) < 0)
            return -1;
    }
    return 0;
}

int check_send(const rova_ipc *ipc, const cmd_data *record, uint32_t size)
{
    if (ipc == nullptr) {
        ROVA_LOG_ERR("IPC is NULL \n");
        return -1;
    }
    if (record == nullptr) {
        ROVA_LOG_ERR("cmd_data is NULL \n");
        return -3;
    }
    if (size == 0) {
        ROVA_LOG_ERR("size is 0 \n");
        return -3;
    }
    return 0;
}

int check_receive(const rova_ipc *ipc, void *const *buffer)
{
    if (ipc == nullptr) {
        ROVA_LOG_ERR("IPC is NULL\n");
        return -1;
    }
    if (buffer == nullptr) {
        ROVA_LOG_ERR("buffer ptr is NULL\n");
        return -3;
    }
    if (*buffer != nullptr) {
        ROVA_LOG_ERR("buffer is not NULL\n");
        return -3;
    }
    return 0;
}

} // namespace

int rova_event_init(rova_ipc **ipc, uint32_t kind, uint32_t count)
{
    if (ipc == nullptr) {
        ROVA_LOG_ERR("Invalid parameter\n");
        return 0;
    }
    *ipc = rova_ipc_init(kind);
    if (*ipc == nullptr) {
        ROVA_LOG_ERR("rova_ipc_init() failed [%d]\n", 0);
        return 0;
    }
    const int status = rova_ipc_set_size(*ipc, count * ROVA_PACKET_SIZE);
    if (status == 0) {
        ROVA_LOG_ERR("rova_ipc_set_size() failed [%d]\n", status);
        rova_ipc_deinit(*ipc);
        *ipc = nullptr;
        return 0;
    }
    stop_packet_sent.store(false);
    return 1;
}

int rova_event_deinit(rova_ipc **ipc)
{
    if (ipc == nullptr) {
        ROVA_LOG_ERR("Invalid parameter\n");
        return 0;
    }
    g_free(in_flight.exchange(nullptr));
    const int status = rova_ipc_deinit(*ipc);
    if (status == 0) {
        ROVA_LOG_ERR("rova_ipc_deinit() failed [%d]\n", status);
        return 0;
    }
    *ipc = nullptr;
    return 1;
}

int rova_event_send(rova_ipc *ipc, uint32_t type, cmd_data *record, uint32_t size)
{
    if (int error = check_send(ipc, record, size); error != 0)
        return error;
    repetition repeat = {1, 0};
    if (std::strncmp(record->cmd, "repeat", sizeof(record->cmd)) == 0 &&
        read_repeat(record, &repeat) < 0)
        return -1;
    const int status = send_repeatedly(ipc, type, record, size, repeat);
    if (status == 0 && type == ROVA_CTRL_STOP_PACKET)
        stop_packet_sent.store(true);
    return status;
}

int rova_event_receive(rova_ipc *ipc, uint32_t *type, void **buffer, uint32_t *size)
{
    if (int error = check_receive(ipc, buffer); error != 0)
        return error;

    rova_packet packet = {};
    if (ipc->receive(ipc, &packet) == 0) {
        ROVA_LOG_ERR("ipc_receive() failed\n");
        g_free(packet.data);
        return -1;
    }
    handed_over.load(std::memory_order_acquire);
    void *taken = packet.data;
    if (taken == nullptr) {
        ROVA_LOG_ERR("pkt is empty \n");
        return -1;
    }
    in_flight.compare_exchange_strong(taken, nullptr);
    *type = packet.type;
    *buffer = packet.data;
    *size = packet.size;
    return 0;
}
