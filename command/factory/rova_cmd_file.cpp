#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"

#include <cstdio>
#include <fcntl.h>
#include <platform/sys.h>
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

static constexpr rova_cmd_entry file_table[] = {
    {"delete", rova_cmd_file_delete},
};
static_assert(rova_cmd_table_is_sound(file_table));

int rova_cmd_file(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(file_table, "file", cmd_type, record);
}
