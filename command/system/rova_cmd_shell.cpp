#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "common/rova_log.h"

#include <platform/sys.h>
#include <unistd.h>

// What the script returns does not count; only one that could not be run at all is NG.
static int run_script(uint32_t cmd_type, const char *path)
{
    bool run = sys_system(path) != -1;
    if (!run)
        ROVA_LOG_ERR("failed to run %s (%s) \n", path, rova_reason());
    return rova_cmd_answer(cmd_type, run);
}

static int rova_cmd_shell_script(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    const char *path = record->p[1];
    if (sys_access(path, X_OK | R_OK) == 0)
        return run_script(cmd_type, path);
    ROVA_LOG_ERR("%s not exist (%s) \n", path, rova_reason());
    return rova_cmd_ng(cmd_type);
}

static constexpr rova_cmd_entry shell_table[] = {
    {"script", rova_cmd_shell_script},
};
static_assert(rova_cmd_table_is_sound(shell_table));

int rova_cmd_shell(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(shell_table, "shell", cmd_type, record);
}
