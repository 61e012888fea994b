#include "common/rova_osd.h"

#include "common/rova_log.h"
#include "common/rova_thread.h"
#include "platform/factory_osd.h"
#include "platform/sys.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/msg.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{

constexpr char QUEUE_DIR[] = "/tmp";
constexpr int QUEUE_PROJECT = 1501901107;
constexpr int QUEUE_ACCESS = 0666;
constexpr int QUEUE_CREATE = IPC_CREAT | IPC_EXCL | QUEUE_ACCESS;
static_assert(QUEUE_CREATE == 1974 && QUEUE_ACCESS == 438);

constexpr char SEM_NAME[] = "sem_rova_osd_resp";
constexpr int TIMEOUT_SECONDS = 60;

constexpr std::size_t FORMAT_SIZE = 1024;
constexpr std::size_t TEXT_SIZE = 512;

enum osd_func : long {
    ROVA_OSD_FUNC_STOP = 1,
    ROVA_OSD_FUNC_TEXT_SIZE = 2,
    ROVA_OSD_FUNC_TEXT_COLOR = 3,
    ROVA_OSD_FUNC_TEXT = 4,
    ROVA_OSD_FUNC_CLEAR_SCREEN = 5,
    ROVA_OSD_FUNC_CLEAR_WINDOW = 6,
    ROVA_OSD_FUNC_BG_COLOR = 7,
};

struct osd_row_text {
    uint16_t row;
    char text[514];
};

union osd_body {
    int32_t value;
    osd_row_text line;
    char bytes[520];
};

struct osd_message {
    long func;
    osd_body body;
};

constexpr std::size_t MESSAGE_SIZE = sizeof(osd_body);
static_assert(MESSAGE_SIZE == 520);
static_assert(offsetof(osd_row_text, text) == 2);
static_assert(offsetof(osd_message, body) == sizeof(long));
static_assert(sizeof(osd_message) == sizeof(long) + MESSAGE_SIZE);

struct osd_state {
    int queue = -1;
    sem_t *sem = nullptr;
    pthread_t thread = 0;
};

osd_state state;
std::mutex osd_mutex; // one request at a time

void format_text(char (&text)[TEXT_SIZE], const char *fmt, va_list args)
{
    char formatted[FORMAT_SIZE] = {};
    std::vsnprintf(formatted, sizeof(formatted), fmt, args);
    std::size_t length = std::strlen(formatted);
    if (length > 0 && formatted[length - 1] == '\n')
        formatted[length - 1] = '\0';
    std::memcpy(text, formatted, sizeof(text) - 1);
    text[sizeof(text) - 1] = '\0';
}

// The queue's identifier, or -1.
int get_queue(int flags)
{
    if (sys_access(QUEUE_DIR, R_OK) != 0) {
        ROVA_LOG_ERR("failed to access (%s) \n", rova_reason());
        return -1;
    }
    key_t key = sys_ftok(QUEUE_DIR, QUEUE_PROJECT);
    if (key == -1) {
        ROVA_LOG_ERR("failed to ftok (%s) \n", rova_reason());
        return -1;
    }
    int queue = sys_msgget(key, flags);
    if (queue < 0)
        ROVA_LOG_ERR("failed to msgget (%s) \n", rova_reason());
    return queue;
}

int rova_osd_ipcc_preproc()
{
    return get_queue(QUEUE_ACCESS);
}

sem_t *open_semaphore()
{
    sem_t *sem = sys_sem_open(SEM_NAME, O_CREAT, 0666, 0);
    if (sem != SEM_FAILED)
        return sem;
    ROVA_LOG_ERR("sem_open Fail! (name:%s, %s)\n", SEM_NAME, rova_reason());
    return nullptr;
}

int wait_until_deadline(sem_t *sem)
{
    int result;
    do {
        struct timespec deadline = {};
        sys_deadline(TIMEOUT_SECONDS * 1000, &deadline);
        result = sem_timedwait(sem, &deadline);
    } while (result != 0 && errno == EINTR);
    return result;
}

void log_wait_failure(int error)
{
    if (error == EAGAIN)
        ROVA_LOG_ERR("EAGAIN \n");
    else if (error == EINVAL)
        ROVA_LOG_ERR("Invalid semaphore \n");
    else if (error == ETIMEDOUT)
        ROVA_LOG_ERR("sem_wait leached %d seconds timeout.\n", TIMEOUT_SECONDS);
}

int rova_osd_sem_timedwait()
{
    sem_t *sem = open_semaphore();
    if (sem == nullptr)
        return -1;
    int result = wait_until_deadline(sem);
    int error = errno;
    sem_close(sem);
    if (result == 0)
        return 0;
    log_wait_failure(error);
    errno = error;
    return -1;
}

int rova_osd_ipcc_postproc()
{
    if (rova_osd_sem_timedwait() == 0)
        return 0;
    ROVA_LOG_ERR("rova_osd_sem_timedwait failed, to=%d (%s) \n", TIMEOUT_SECONDS, rova_reason());
    return -1;
}

// Has the display thread carry out a message.
int request(const osd_message &message)
{
    int queue = rova_osd_ipcc_preproc();
    if (queue < 0) {
        ROVA_LOG_ERR("failed to rova_osd_ipcc_preproc (%s) \n", rova_reason());
        return -1;
    }
    std::lock_guard guard(osd_mutex);
    if (msgsnd(queue, &message, MESSAGE_SIZE, 0) != 0) {
        ROVA_LOG_ERR("failed to msgsnd (%s) \n", rova_reason());
        return -1;
    }
    return rova_osd_ipcc_postproc();
}

int request_value(osd_func func, int value)
{
    osd_message message = {};
    message.func = func;
    message.body.value = value;
    return request(message);
}

// False for a function that nobody knows: its sender gets no answer.
bool carry_out(osd_message &message)
{
    osd_body &body = message.body;
    switch (message.func) {
    case ROVA_OSD_FUNC_TEXT_SIZE:
        factory_osd_text_size_set(body.value);
        return true;
    case ROVA_OSD_FUNC_TEXT_COLOR:
        factory_osd_text_color_set(body.value);
        return true;
    case ROVA_OSD_FUNC_TEXT:
        body.line.text[sizeof(body.line.text) - 1] = '\0';
        rova_osd_printf(body.line.row, "%s", body.line.text);
        return true;
    case ROVA_OSD_FUNC_CLEAR_SCREEN:
        factory_osd_text_clear();
        return true;
    case ROVA_OSD_FUNC_CLEAR_WINDOW:
        factory_osd_clear();
        return true;
    case ROVA_OSD_FUNC_BG_COLOR:
        factory_osd_background_color_set(body.value);
        return true;
    }
    ROVA_LOG_ERR("unknown func: %d \n", static_cast<int>(message.func));
    return false;
}

// The next message; false when the queue is gone.
bool receive(osd_message &message)
{
    ssize_t got;
    do {
        message = {};
        rova_thread_open_cancel_window();
        got = msgrcv(state.queue, &message, MESSAGE_SIZE, 0, 0);
        rova_thread_close_cancel_window();
    } while (got < 0 && errno == EINTR);
    return got >= 0;
}

void *rova_osd_thread(void * /*arg*/)
{
    prctl(PR_SET_NAME, "ROVA OSD Thread");
    rova_thread_make_cancellable();
    osd_message message = {};
    while (receive(message)) {
        if (message.func == ROVA_OSD_FUNC_STOP) {
            ROVA_LOG_INFO("ROVA_OSD_FUNC_STOP is received \n");
            break;
        }
        if (carry_out(message))
            sem_post(state.sem);
    }
    ROVA_LOG_NOTICE("\033[33mrova-osd: thread exited \n");
    return nullptr;
}

void remove_queue(int queue)
{
    if (queue >= 0)
        sys_msgctl(queue, IPC_RMID, nullptr);
}

void release_semaphore()
{
    if (state.sem != nullptr)
        sem_close(state.sem);
    sys_sem_unlink(SEM_NAME);
}

int undo_init()
{
    remove_queue(state.queue);
    release_semaphore();
    factory_osd_deinit();
    state = {};
    return -1;
}

bool send_stop(int queue)
{
    osd_message message = {};
    message.func = ROVA_OSD_FUNC_STOP;
    if (msgsnd(queue, &message, MESSAGE_SIZE, 0) == 0)
        return true;
    ROVA_LOG_ERR("failed to send end packet \n");
    return false;
}

} // namespace

void rova_osd_printf(int row, const char *fmt, ...)
{
    char text[TEXT_SIZE];
    va_list args;
    va_start(args, fmt);
    format_text(text, fmt, args);
    va_end(args);
    factory_osd_text_set(static_cast<uint16_t>(row), text);
}

void rova_osd_grid_printf(int row, const char *fmt, ...)
{
    char text[TEXT_SIZE];
    va_list args;
    va_start(args, fmt);
    format_text(text, fmt, args);
    va_end(args);
    factory_osd_grid_text_set(static_cast<uint16_t>(row), text);
}

void rova_osd_draw(int kind, const char *text)
{
    if (int result = factory_osd_draw(kind, text); result < 0)
        ROVA_LOG_ERR("failed to factory_osd_draw %d (%d) \n", kind, result);
}

int rova_osd_init()
{
    state = {};
    if (int result = factory_osd_init(); result < 0)
        ROVA_LOG_ERR("failed to factory_osd_init (%d) \n", result);
    state.queue = get_queue(QUEUE_CREATE);
    if (state.queue < 0)
        return undo_init();
    state.sem = open_semaphore();
    if (state.sem == nullptr)
        return undo_init();
    if (rova_serving_thread_create(&state.thread, rova_osd_thread, nullptr) != 0)
        return undo_init();
    return 0;
}

void rova_osd_exit()
{
    factory_osd_deinit();
    int queue = rova_osd_ipcc_preproc();
    if (queue < 0)
        queue = state.queue;
    // A thread that cannot be told to end is ended by the removal of its queue.
    bool told = send_stop(queue);
    if (!told)
        remove_queue(queue);
    rova_serving_thread_join(state.thread);
    if (told)
        remove_queue(queue);
    release_semaphore();
    state = {};
}

int rova_osd_ipcc_text_size(int size)
{
    return request_value(ROVA_OSD_FUNC_TEXT_SIZE, size);
}

int rova_osd_ipcc_text_color(int color)
{
    return request_value(ROVA_OSD_FUNC_TEXT_COLOR, color);
}

int rova_osd_ipcc_bg_color(int color)
{
    return request_value(ROVA_OSD_FUNC_BG_COLOR, color);
}

int rova_osd_ipcc_clear_screen()
{
    return request_value(ROVA_OSD_FUNC_CLEAR_SCREEN, 0);
}

int rova_osd_ipcc_clear_window()
{
    return request_value(ROVA_OSD_FUNC_CLEAR_WINDOW, 0);
}

int rova_osd_ipcc_text(int row, const char *fmt, ...)
{
    osd_message message = {};
    message.func = ROVA_OSD_FUNC_TEXT;
    message.body.line.row = static_cast<uint16_t>(row);
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(message.body.line.text, TEXT_SIZE, fmt, args);
    va_end(args);
    return request(message);
}
