#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_util.h"

#include <atomic>
#include <cstdio>
#include <fcntl.h>
#include <platform/sys.h>
#include <platform/vconf.h>
#include <unistd.h>

static bool can_be_opened(const char *path)
{
    int fd = sys_open(path, O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0)
        return false;
    close(fd);
    return true;
}

static int rova_cmd_file_delete(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);

    char path[sizeof("/sdcard/") + ROVA_CMD_WORD_SIZE];
    std::snprintf(path, sizeof(path), "/sdcard/%s", record->p[1]);
    if (!can_be_opened(path)) {
        ROVA_LOG_ERR("%s doesn't exist. \n", path);
        return rova_cmd_ng(cmd_type);
    }
    if (sys_unlink(path) < 0) {
        ROVA_LOG_ERR("failed to delete %s. \n", path);
        return rova_cmd_ng(cmd_type);
    }
    sys_sync();
    return rova_cmd_ok(cmd_type);
}

// ------------------------------------------------------------------------- format

static constexpr char FORMAT_KEY[] = "memory/sysman/mmc_format";
static constexpr int FORMAT_TRIES = 20;
static constexpr int NO_RESULT = -1;

// Written on the main loop, read by the server thread.
static std::atomic<int> format_result = NO_RESULT;

static void __rova_vconf_mmc_format_cb(keynode_t *node, void * /*user_data*/)
{
    if (vconf_keynode_get_type(node) == VCONF_TYPE_INT)
        format_result = vconf_keynode_get_int(node);
}

// The application's answer only tells that it has taken the command, so it is not passed on: the
// one answer of this command is given when the card is formatted.
static bool start_format(uint32_t cmd_type, const cmd_data *record)
{
    rova_cmd_response answer = {};
    if (rova_cmd_app_send(cmd_type, record, &answer) != 0)
        return true;
    ROVA_LOG_ERR("failed to format mmc \n");
    return false;
}

static bool wait_for_format()
{
    int tries = 0;
    while (tries < FORMAT_TRIES && format_result == NO_RESULT && !rova_check_stop()) {
        sys_usleep(1000000);
        tries++;
    }
    int result = format_result;
    if (result != 0)
        ROVA_LOG_ERR("failed to format mmc (vconf=%d, retry=%d) \n", result, tries);
    return result == 0;
}

// There may be no marker file to copy, so only a shell or a sync that fails is a failure.
static bool bring_back_markers()
{
    int status = sys_system("cp -f /tmp/*.tg /tmp/*.adj /sdcard/; sync");
    if (status != 0)
        ROVA_LOG_ERR("failed to copy the marker files (status=%d) \n", status);
    return status == 0;
}

static int rova_cmd_file_format(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count == 0)
        return rova_cmd_ng(cmd_type);

    format_result = NO_RESULT;
    int ret = vconf_notify_key_changed(FORMAT_KEY, __rova_vconf_mmc_format_cb, nullptr);
    if (ret < 0) {
        ROVA_LOG_ERR("failed to vconf_notify_key_changed(%s) (ret = %d) \n", FORMAT_KEY, ret);
        return rova_cmd_ng(cmd_type);
    }
    bool done = start_format(cmd_type, record) && wait_for_format() && bring_back_markers();
    vconf_ignore_key_changed(FORMAT_KEY, __rova_vconf_mmc_format_cb);
    return rova_cmd_answer(cmd_type, done);
}

static constexpr rova_cmd_entry file_table[] = {
    {"delete", rova_cmd_file_delete},
    {"format", rova_cmd_file_format},
};
static_assert(rova_cmd_table_is_sound(file_table));

int rova_cmd_file(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(file_table, "file", cmd_type, record);
}
