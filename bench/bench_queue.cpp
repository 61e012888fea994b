// Handing a packet from one thread to another: the event queue against its bare system calls.
#include "core/rova_event.h"
#include "tests/support/camera.h"

#include <benchmark/benchmark.h>
#include <glib.h>

#include <chrono>
#include <cstring>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <thread>

namespace
{

constexpr int PACKETS = 20000;

double seconds_of(const auto &send, const auto &receive)
{
    const auto begin = std::chrono::steady_clock::now();
    std::thread receiver([&] {
        for (int i = 0; i < PACKETS; i++)
            receive();
    });
    for (int i = 0; i < PACKETS; i++)
        send();
    receiver.join();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

struct Message {
    long type = 1;
    char bytes[ROVA_PACKET_SIZE] = {};
};

double bare_seconds(int queue)
{
    return seconds_of(
        [=] {
            Message message;
            msgsnd(queue, &message, ROVA_PACKET_SIZE, 0);
        },
        [=] {
            Message message;
            msgrcv(queue, &message, ROVA_PACKET_SIZE, 0, 0);
        });
}

double event_seconds(rova_ipc *ipc)
{
    cmd_data record{};
    std::strcpy(record.cmd, "delay");
    return seconds_of([&] { rova_event_send(ipc, ROVA_CMD_CARD, &record, ROVA_CMD_DATA_SIZE); },
                      [&] {
                          uint32_t type = 0;
                          uint32_t size = 0;
                          void *buffer = nullptr;
                          if (rova_event_receive(ipc, &type, &buffer, &size) == 0)
                              g_free(buffer);
                      });
}

// A queue of three, as the daemon has it.
void queue_hand_over(benchmark::State &state)
{
    const test::Camera camera;
    rova_ipc *ipc = nullptr;
    if (rova_event_init(&ipc, ROVA_IPC_MQ, 3) != 1) {
        state.SkipWithError("no queue");
        return;
    }
    double bare = 0;
    double events = 0;
    for (auto _ : state) {
        bare += bare_seconds(ipc->mq_id);
        const double seconds = event_seconds(ipc);
        events += seconds;
        state.SetIterationTime(seconds);
    }
    rova_event_deinit(&ipc);
    state.SetItemsProcessed(state.iterations() * PACKETS);
    state.counters["ratio_to_bare"] = events / bare;
}
BENCHMARK(queue_hand_over)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace
