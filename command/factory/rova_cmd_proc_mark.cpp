#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_proc_mark_handler.h"

#include <cinttypes>

// The last mark that was set, for "proc_mark show".
static uint64_t last_mark_id = 0;
static uint8_t last_mark_value = 0xff;

// A mark and a value as a command names them.
struct named_value {
    const char *name;
    const char *letter;
    int value;
    const proc_mark_info *mark; // NULL: no mark has this name
};

// False for a command without both words, and, with a message, for what is no letter of a value.
static bool read_named_value(const cmd_data *record, named_value *given)
{
    if (record->p_count < 3)
        return false;
    *given = {.name = record->p[1],
              .letter = record->p[2],
              .value = rova_proc_mark_value(record->p[2]),
              .mark = rova_find_proc_mark(record->p[1])};
    if (given->value >= 0)
        return true;
    ROVA_LOG_ERR("Unknown proc_mark value (%s) \n", given->letter);
    return false;
}

static int rova_cmd_proc_mark_show(uint32_t cmd_type, cmd_data * /*record*/)
{
    const proc_mark_info *mark = rova_get_proc_mark_info(last_mark_id);
    if (mark == nullptr) {
        ROVA_LOG_NOTICE("\033[33minvalid mark! (id = %" PRId64 ") \n",
                        static_cast<int64_t>(last_mark_id));
        return rova_cmd_ng(cmd_type);
    }
    ROVA_LOG_NOTICE("\033[33mid = %s, val = %s \n", mark->name,
                    rova_proc_mark_text(last_mark_value));
    return rova_cmd_ok(cmd_type);
}

static int rova_cmd_proc_mark_check(uint32_t cmd_type, cmd_data *record)
{
    named_value given;
    if (!read_named_value(record, &given))
        return rova_cmd_ng(cmd_type);
    if (given.mark == nullptr) {
        ROVA_LOG_ERR("Not found '%s' on proc_mark list \n", given.name);
        return rova_cmd_ng(cmd_type);
    }
    int stored = rova_get_proc_mark_value(given.mark->id);
    if (stored != given.value) {
        ROVA_LOG_ERR("value (%s) != check_value (%s) \n", rova_proc_mark_text(stored),
                     given.letter);
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_ok(cmd_type);
}

static int rova_cmd_proc_mark_set(uint32_t cmd_type, cmd_data *record)
{
    named_value given;
    if (!read_named_value(record, &given))
        return rova_cmd_ng(cmd_type);
    if (given.mark == nullptr) {
        ROVA_LOG_ERR("Not found `%s' on proc_mark list \n", given.name);
        return rova_cmd_ng(cmd_type);
    }
    if (rova_set_proc_mark_value(given.mark->id, given.value) <= 0) {
        ROVA_LOG_ERR("rova_set_proc_mark_value() failed (%s, %s) \n", given.name, given.letter);
        return rova_cmd_ng(cmd_type);
    }
    last_mark_id = given.mark->id;
    last_mark_value = static_cast<uint8_t>(given.value);
    return rova_cmd_ok(cmd_type);
}

static constexpr rova_cmd_entry proc_mark_table[] = {
    {"show", rova_cmd_proc_mark_show},
    {"check", rova_cmd_proc_mark_check},
    {"set", rova_cmd_proc_mark_set},
};
static_assert(rova_cmd_table_is_sound(proc_mark_table));

int rova_cmd_proc_mark(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(proc_mark_table, "proc_mark", cmd_type, record);
}
