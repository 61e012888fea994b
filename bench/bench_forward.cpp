// A command handed to the camera application and answered at once: each channel against its bare
// system calls, which map and clear the same areas.
#include "lib/rova_app_thread.h"
#include "lib/rova_channel.h"
#include "lib/rova_ipcc.h"
#include "platform/sys.h"
#include "tests/support/camera.h"
#include "tests/support/process.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <semaphore.h>
#include <string>
#include <sys/mman.h>
#include <sys/msg.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int COMMANDS = 50;

struct Channel {
    int project;
    const char *semaphore;
    std::size_t message_size;
    int (*send)(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer);
};

constexpr Channel IPCC = {ROVA_IPCC_PROJECT, ROVA_IPCC_SEM, ROVA_IPCC_MESSAGE_SIZE, rova_ipcc_send};
constexpr Channel APP = {ROVA_APP_PROJECT, ROVA_APP_SEM, ROVA_APP_MESSAGE_SIZE, rova_send_to_app};

// Acknowledges every command, in a process of its own.
class Acknowledger
{
public:
    Acknowledger(const Channel &channel, int queue) : pid_(fork())
    {
        if (pid_ != 0)
            return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        sem_t *semaphore = sys_sem_open(channel.semaphore, O_CREAT, ROVA_CHANNEL_SEM_MODE, 0);
        rova_channel_message message = {};
        while (msgrcv(queue, &message, channel.message_size, 0, 0) >= 0)
            sem_post(semaphore);
        _exit(0);
    }
    ~Acknowledger()
    {
        test::send_signal(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Acknowledger(const Acknowledger &) = delete;
    Acknowledger &operator=(const Acknowledger &) = delete;

private:
    pid_t pid_;
};

void *map_cleared(int memory, off_t address, std::size_t size)
{
    void *area = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, address);
    return area == MAP_FAILED ? nullptr : std::memset(area, 0, size);
}

bool bare_send(const Channel &channel, const char *memory_file, int queue, const cmd_data &record,
               rova_cmd_response *answer)
{
    const int memory = open(memory_file, O_RDWR);
    void *command_area = map_cleared(memory, ROVA_CMD_AREA_ADDR, ROVA_CMD_AREA_SIZE);
    void *answer_area = map_cleared(memory, ROVA_RESP_AREA_ADDR, ROVA_RESP_AREA_SIZE);
    if (command_area == nullptr || answer_area == nullptr)
        return false;
    std::memcpy(command_area, &record, sizeof(record));
    const rova_channel_message message = {ROVA_CMD_SCRIPT, ROVA_CMD_AREA_ADDR, 0};
    sem_t *semaphore = sys_sem_open(channel.semaphore, O_CREAT, ROVA_CHANNEL_SEM_MODE, 0);
    const bool sent = msgsnd(queue, &message, channel.message_size, 0) == 0;
    const bool answered = sent && sem_wait(semaphore) == 0;
    sem_close(semaphore);
    std::memcpy(answer, answer_area, sizeof(*answer));
    munmap(answer_area, ROVA_RESP_AREA_SIZE);
    munmap(command_area, ROVA_CMD_AREA_SIZE);
    close(memory);
    return answered;
}

// Negative when a command failed.
double seconds_of(const auto &send)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < COMMANDS; i++)
        if (!send())
            return -1;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void forward_round_trip(benchmark::State &state, const Channel &wire)
{
    const test::Camera camera;
    const int queue =
        sys_msgget(sys_ftok(ROVA_CHANNEL_DIR, wire.project), ROVA_CHANNEL_SERVE_FLAGS);
    const Acknowledger app(wire, queue);
    const std::string memory = camera.path(ROVA_CHANNEL_MEM).string();
    cmd_data record = {};
    std::strcpy(record.cmd, "lens");
    rova_cmd_response answer = {};
    double bare = 0;
    double channel = 0;
    for (auto _ : state) {
        const double seconds =
            seconds_of([&] { return wire.send(ROVA_CMD_SCRIPT, &record, &answer) == 1; });
        const double bare_seconds =
            seconds_of([&] { return bare_send(wire, memory.c_str(), queue, record, &answer); });
        if (seconds < 0 || bare_seconds < 0) {
            state.SkipWithError("a command failed");
            break;
        }
        state.SetIterationTime(seconds);
        channel += seconds;
        bare += bare_seconds;
    }
    state.SetItemsProcessed(state.iterations() * COMMANDS);
    state.counters["ratio_to_bare"] = channel / bare;
}
BENCHMARK_CAPTURE(forward_round_trip, ipcc, IPCC)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);
BENCHMARK_CAPTURE(forward_round_trip, app, APP)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

} // namespace
