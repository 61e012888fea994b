#include "lib/rova_app_thread.h"

#include "common/rova_log.h"
#include "common/rova_thread.h"
#include "lib/rova_app_table.h"
#include "lib/rova_channel_server.h"
#include "platform/sys.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{

constexpr char THREAD_NAME[] = "ROVA App Thread";
constexpr char THREAD_RESULT[] = "rova_app_thread";

int timeout_of(const cmd_data *)
{
    return ROVA_APP_TIMEOUT_SECONDS;
}

constinit rova_channel app = {
    ROVA_APP_PROJECT, ROVA_APP_SEM, ROVA_APP_MESSAGE_SIZE, timeout_of, {}};

// Mapped from start to stop.
struct app_areas {
    rova_area command;
    rova_area answer;
};

struct app_state {
    rova_channel_server server = {.channel = &app, .name = "rova app"};
    rova_app_exec exec = nullptr;
    app_areas *areas = nullptr; // owned; not a member, so that a process may end with them mapped
};

constinit app_state state;
constinit std::atomic<bool> stopping = false;
constinit std::atomic<rova_app_func> functions[ROVA_APP_FUNC_COUNT] = {};

const char *reason()
{
    return std::strerror(errno);
}

bool map_areas(app_areas *areas, int fd)
{
    if (areas == nullptr || !areas->command.map(fd, ROVA_CMD_AREA_ADDR, ROVA_CMD_AREA_SIZE)) {
        ROVA_LOG_ERR("failed to mmap1 (%s) \n", reason());
        return false;
    }
    if (!areas->answer.map(fd, ROVA_RESP_AREA_ADDR, ROVA_RESP_AREA_SIZE)) {
        ROVA_LOG_ERR("failed to mmap2 (%s) \n", reason());
        return false;
    }
    return true;
}

bool open_areas()
{
    const int fd = sys_open(ROVA_CHANNEL_MEM, O_RDWR | O_CLOEXEC, 0);
    if (fd < 0) {
        ROVA_LOG_ERR("failed to open /dev/mem. (%s) \n", reason());
        return false;
    }
    std::unique_ptr<app_areas> areas(new (std::nothrow) app_areas);
    const bool mapped = map_areas(areas.get(), fd);
    close(fd);
    if (mapped)
        state.areas = areas.release();
    return mapped;
}

void close_all()
{
    rova_channel_close(&state.server);
    delete state.areas;
    state.areas = nullptr;
}

// The answer is what stands in the answer area afterwards.
void run_command(const app_state *pdata)
{
    const auto *record = static_cast<const cmd_data *>(pdata->areas->command.get());
    auto *answer = static_cast<rova_cmd_response *>(pdata->areas->answer.get());
    if (pdata->exec == nullptr || pdata->exec(record, answer) == 0)
        rova_app_cmd_exec(rova_app_cmds(), record, answer);
}

void serve(const app_state *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return;
    }
    rova_channel_message message = {};
    while (rova_channel_receive(&pdata->server, &message)) {
        run_command(pdata);
        if (rova_channel_acknowledge(pdata->server.channel) != 0)
            return;
    }
}

void *rova_app_thread(void *argument)
{
    prctl(PR_SET_NAME, THREAD_NAME);
    rova_thread_make_cancellable();
    serve(static_cast<const app_state *>(argument));
    ROVA_LOG_NOTICE("\033[33mrova-app: thread exited \n");
    rova_thread_exit(const_cast<char *>(THREAD_RESULT));
}

bool is_slot(int id)
{
    return id >= 0 && id < ROVA_APP_FUNC_COUNT;
}

} // namespace

int rova_send_to_app(uint32_t cmd_type, const cmd_data *record, rova_cmd_response *answer)
{
    return rova_channel_send(&app, cmd_type, record, answer);
}

int rova_start_app(rova_app_exec exec)
{
    if (state.server.started != 0) {
        ROVA_LOG_INFO("already started rova app thread \n");
        return 1;
    }
    state = {.exec = exec};
    const key_t key = rova_channel_key(&app);
    if (key == -1)
        return 0;
    if (!open_areas() || !rova_channel_open(&state.server, key) ||
        !rova_channel_start(&state.server, rova_app_thread, &state)) {
        close_all();
        return 0;
    }
    state.server.started = 1;
    return 1;
}

int rova_stop_app()
{
    if (state.server.started == 0) {
        ROVA_LOG_INFO("already stopped rova app thread \n");
        return 1;
    }
    stopping = true;
    rova_channel_stop(&state.server);
    stopping = false;
    close_all();
    return 1;
}

bool rova_app_is_stopping()
{
    return stopping;
}

int rova_register_app_func(int id, rova_app_func function)
{
    if (!is_slot(id)) {
        ROVA_LOG_ERR("unknown func (id=%d) \n", id);
        return 0;
    }
    functions[id] = function;
    return 1;
}

rova_app_func rova_get_app_func(int id)
{
    return is_slot(id) ? functions[id].load() : nullptr;
}
