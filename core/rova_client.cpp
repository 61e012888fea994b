#include "core/rova_client.h"

#include "common/rova_card_mode.h"
#include "common/rova_guard.h"
#include "common/rova_log.h"
#include "common/rova_thread.h"
#include "core/rova_event.h"
#include "core/rova_parser.h"
#include "core/rova_ptp.h"
#include "platform/sys.h"
#include "platform/vconf.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{

constexpr char THREAD_NAME[] = "ROVA Client";
constexpr int LINE_SIZE = 1024;
constexpr int SCRIPT_NAME_MAX = 80;
constexpr std::size_t COPY_COMMAND_SIZE = 256;

int32_t script_request_count = 0;
std::mutex script_lock;

bool is_readable(const char *path)
{
    return sys_access(path, R_OK) == 0;
}

// The copy goes through a shell, and the name comes from the card: a name with anything in it that
// a shell might act on is not copied.
bool is_safe_in_shell(const char *path)
{
    if (*path == '-')
        return false; // would be an option
    for (; *path != '\0'; path++) {
        const auto c = static_cast<unsigned char>(*path);
        if (c < 0x80 && std::isalnum(c) == 0 && std::strchr("/._-+,:=@%", c) == nullptr)
            return false;
    }
    return true;
}

// A failure shows when the copy is opened.
void copy_to_tmp(const char *path)
{
    if (!is_safe_in_shell(path)) {
        ROVA_LOG_ERR("the name (%s) cannot be copied to /tmp \n", path);
        return;
    }
    char command[COPY_COMMAND_SIZE];
    std::snprintf(command, sizeof(command), "cp -f %s /tmp/", path);
    if (int status = sys_system(command); status != 0)
        ROVA_LOG_ERR("'%s' failed (%d) \n", command, status);
}

// Afterwards the card may go away or be rewritten.
void stage_script(const char *script_file)
{
    if (is_readable(ROVA_MARKER_SCRIPT)) {
        copy_to_tmp(ROVA_MARKER_SCRIPT);
        copy_to_tmp(script_file);
    } else if (is_readable(ROVA_MARKER_CS)) {
        copy_to_tmp(script_file);
    }
}

// "/tmp/" and the part behind the last slash; a name without a slash leaves nothing behind it.
void redirect_to_tmp(char (&script_file)[ROVA_SCRIPT_FILE_SIZE])
{
    const char *slash = std::strrchr(script_file, '/');
    char path[ROVA_SCRIPT_FILE_SIZE] = {};
    std::snprintf(path, sizeof(path), "/tmp/%.*s", SCRIPT_NAME_MAX, slash ? slash + 1 : "");
    std::memcpy(script_file, path, sizeof(path));
}

// Refuses what is no file: opening a pipe without a writer would never return.
rova_file open_script(const char *path)
{
    struct stat status = {};
    rova_file file;
    if (sys_stat(path, &status) == 0 && S_ISREG(status.st_mode))
        file.reset(sys_fopen(path, "r"));
    if (file == nullptr)
        ROVA_LOG_ERR("fopen(%s) failed \n", path);
    return file;
}

// The next line as a record.  1, 0 at the end of the file, -1 when the line could not be parsed.
int read_command(std::FILE *file, cmd_data *record)
{
    char line[LINE_SIZE] = {};
    *record = {};
    if (std::fgets(line, sizeof(line), file) == nullptr) {
        ROVA_LOG_INFO("rova-client: reached to end-of-file. \n");
        return 0;
    }
    line[sizeof(line) - 1] = '\0';
    return rova_parse_cmd_data(line, sizeof(line), record) == 0 ? 1 : -1;
}

// Never a part of a caller that has something to unwind.
[[gnu::noinline]] void test_for_cancellation()
{
    rova_thread_open_cancel_window();
    rova_thread_close_cancel_window();
}

void send_script(rova_ipc *ipc, std::FILE *file)
{
    cmd_data record;
    for (int number = 1;; number++) {
        test_for_cancellation();
        const int status = read_command(file, &record);
        if (status == 0)
            return;
        if (status < 0) {
            ROVA_LOG_ERR("failed to parse line (num: %d) \n", number);
            return;
        }
        if (record.p_count == 0)
            continue;
        if (rova_event_send(ipc, ROVA_CMD_CARD, &record, sizeof(record)) < 0) {
            ROVA_LOG_ERR("failed to send command (num: %d) \n", number);
            return;
        }
    }
}

// Unwinding leaves the frames below poisoned, and resuming it from an instrumented function would
// have the address sanitizer stumble over them.
[[gnu::no_sanitize_address]] void run_client(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return;
    }
    if (pdata->ipc == nullptr) {
        ROVA_LOG_ERR("ipc is NULL \n");
        return;
    }
    stage_script(pdata->option->script_file);
    redirect_to_tmp(pdata->option->script_file);
    // A cancelled thread unwinds through here, and the file is closed.
    const rova_file file = open_script(pdata->option->script_file);
    if (file != nullptr)
        send_script(pdata->ipc, file.get());
}

void *rova_client_thread(void *argument)
{
    prctl(PR_SET_NAME, THREAD_NAME);
    rova_thread_make_cancellable();
    run_client(static_cast<rova_main_data *>(argument));
    ROVA_LOG_NOTICE("\033[33mrova-client: thread exited \n");
    rova_thread_exit(nullptr);
}

// The number in the messages counts the requests, this one included.
void handle_request(keynode_t *key, rova_main_data *pdata)
{
    if (vconf_keynode_get_type(key) != VCONF_TYPE_STRING) {
        ROVA_LOG_ERR("VCONFKEY_ROVA_STOP_CMD type is not string \n");
        return;
    }
    char *line = vconf_keynode_get_str(key);
    if (line == nullptr) {
        ROVA_LOG_ERR("vconf_keynode_get_str(%s) failed (ret is NULL) \n", ROVA_KEY_SCRIPT_CMD);
        return;
    }
    ROVA_LOG_INFO("script request: %s (cnt=%d) \n", line, script_request_count);
    script_request_count++;

    cmd_data record = {};
    if (rova_parse_cmd_data(line, static_cast<uint32_t>(std::strlen(line) + 1), &record) != 0) {
        ROVA_LOG_ERR("failed to parse line (num: %d) \n", script_request_count);
        return;
    }
    if (std::strcmp(record.cmd, "comment") == 0)
        return;
    if (rova_event_send(pdata->ipc, ROVA_CMD_SCRIPT, &record, sizeof(record)) < 0)
        ROVA_LOG_ERR("failed to send command (num: %d) \n", script_request_count);
}

void rova_script_request_normal_cb(keynode_t *key, void *user_data)
{
    if (key == nullptr) {
        ROVA_LOG_ERR("key is NULL \n");
        return;
    }
    if (user_data == nullptr) {
        ROVA_LOG_ERR("rova_main_data is NULL \n");
        return;
    }
    ROVA_LOG_INFO("rova_script_request_normal_cb() started. \n");
    std::lock_guard guard(script_lock);
    handle_request(key, static_cast<rova_main_data *>(user_data));
    ROVA_LOG_INFO("rova_script_request_normal_cb() done. \n");
}

int watch_script_key(rova_main_data *pdata)
{
    if (int ret = vconf_set_str(ROVA_KEY_SCRIPT_CMD, "init_"); ret != 0)
        ROVA_LOG_ERR("vconf_set_str(%s) failed (ret = %d) \n", ROVA_KEY_SCRIPT_CMD, ret);
    int ret = vconf_notify_key_changed(ROVA_KEY_SCRIPT_CMD, rova_script_request_normal_cb, pdata);
    if (ret != 0) {
        ROVA_LOG_ERR("failed to vconf_notify_key_changed(%s) (ret = %d) \n", ROVA_KEY_SCRIPT_CMD,
                     ret);
        return 0;
    }
    return 1;
}

bool start_client_thread(rova_main_data *pdata)
{
    if (rova_thread_create(&pdata->client_thread, THREAD_NAME, ROVA_THREAD_PRIORITY, 1, 0,
                           rova_client_thread, pdata) == 0)
        return true;
    ROVA_LOG_ERR("rova_thread_create() failed \n");
    return false;
}

void stop_client_thread(rova_main_data *pdata)
{
    rova_thread_cancel(pdata->client_thread);
    if (rova_thread_join(pdata->client_thread, nullptr) != 0)
        ROVA_LOG_ERR("failed to join client thread (id=%u) \n",
                     static_cast<unsigned int>(pdata->client_thread));
    pdata->client_thread = 0;
}

} // namespace

int rova_init_client(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return 0;
    }
    if (pdata->option->card) {
        if (!start_client_thread(pdata))
            return 0;
    } else {
        if (!pdata->option->ptp && !pdata->option->test)
            return 0;
        rova_ptp_init(pdata);
    }
    if (watch_script_key(pdata))
        return 1;
    // The caller frees what the thread reads.
    if (pdata->client_thread != 0)
        stop_client_thread(pdata);
    return 0;
}

int rova_deinit_client(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return 0;
    }
    if (pdata->client_thread != 0) {
        stop_client_thread(pdata);
        ROVA_LOG_NOTICE("\033[33mrova-client: thread terminated. \n");
    }
    if (pdata->option->ptp || pdata->option->test)
        rova_ptp_deinit(pdata);
    return 1;
}
