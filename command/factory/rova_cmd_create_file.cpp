#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"

#include <cstdio>
#include <cstring>
#include <platform/sys.h>
#include <unistd.h>

// Where the dump goes when it ends.
static char dump_path[sizeof("/sdcard/") + ROVA_CMD_WORD_SIZE];

// The name becomes a word of a shell command: nothing in it may mean anything to the shell.
static bool is_plain_name(const char *name)
{
    static constexpr char plain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                    "/._-+,=@:%";
    return name[std::strspn(name, plain)] == '\0';
}

static bool is_for_pc(uint32_t cmd_type)
{
    if (!rova_cmd_is_ptp(cmd_type))
        ROVA_LOG_ERR("This cmd is only for ptp-mode.\n");
    return rova_cmd_is_ptp(cmd_type);
}

static int rova_cmd_create_file_on(uint32_t cmd_type, cmd_data *record)
{
    if (!is_for_pc(cmd_type) || record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    if (!is_plain_name(record->p[1])) {
        ROVA_LOG_ERR("file name has characters that are not allowed (%s) \n", record->p[1]);
        return rova_cmd_ng(cmd_type);
    }
    std::snprintf(dump_path, sizeof(dump_path), "/sdcard/%s", record->p[1]);
    rova_cmd_set_dump(true);
    return rova_cmd_ok(cmd_type);
}

static bool run(const char *command)
{
    int status = sys_system(command);
    if (status != 0)
        ROVA_LOG_ERR("failed to run '%s' (status=%d) \n", command, status);
    return status == 0;
}

// The three commands follow each other whatever becomes of them.  A dump that got lost is NG; that
// there was nothing to dump is not.
static int rova_cmd_create_file_off(uint32_t cmd_type, cmd_data * /*record*/)
{
    if (!is_for_pc(cmd_type))
        return rova_cmd_ng(cmd_type);

    bool recorded = sys_access(ROVA_DUMP_FILE, F_OK) == 0;
    char copy[sizeof("cp  ") + sizeof(ROVA_DUMP_FILE) + sizeof(dump_path)];
    std::snprintf(copy, sizeof(copy), "cp %s %s", ROVA_DUMP_FILE, dump_path);
    bool copied = run(copy);
    run("rm /tmp/dump.log");
    run("sync");
    rova_cmd_set_dump(false);
    return rova_cmd_answer(cmd_type, copied || !recorded);
}

static constexpr rova_cmd_entry create_file_table[] = {
    {"on", rova_cmd_create_file_on},
    {"off", rova_cmd_create_file_off},
};
static_assert(rova_cmd_table_is_sound(create_file_table));

int rova_cmd_create_file(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(create_file_table, "create_file", cmd_type, record);
}
