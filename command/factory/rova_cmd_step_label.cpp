#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_step_label_handler.h"

#include <cstdlib>

static constexpr uint8_t LAST_LABEL = 99;

// Only the number's low 8 bits count: 257 is label 1.
static bool read_label(const char *text, int8_t *label)
{
    auto byte = static_cast<uint8_t>(std::strtol(text, nullptr, 10));
    *label = static_cast<int8_t>(byte);
    if (byte != 0 && byte <= LAST_LABEL)
        return true;
    ROVA_LOG_ERR("Invalid step_label value=%d,(0<value<=99)\n", *label);
    return false;
}

static int rova_cmd_step_label_check(uint32_t cmd_type, cmd_data *record)
{
    int8_t label = 0;
    if (record->p_count < 2 || !read_label(record->p[1], &label))
        return rova_cmd_ng(cmd_type);
    int stored = rova_get_step_label_value();
    if (stored != label) {
        ROVA_LOG_ERR("mismatched check_val(%d) != val(%d) \n", label, stored);
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_ok(cmd_type);
}

static int rova_cmd_step_label_set(uint32_t cmd_type, cmd_data *record)
{
    int8_t label = 0;
    if (record->p_count < 2 || !read_label(record->p[1], &label))
        return rova_cmd_ng(cmd_type);
    if (rova_set_step_label_value(label) == 0) {
        ROVA_LOG_ERR("failed rova_set_step_label_value(%d)\n", label);
        return rova_cmd_ng(cmd_type);
    }
    return rova_cmd_ok(cmd_type);
}

static constexpr rova_cmd_entry step_label_table[] = {
    {"check", rova_cmd_step_label_check},
    {"set", rova_cmd_step_label_set},
};
static_assert(rova_cmd_table_is_sound(step_label_table));

int rova_cmd_step_label(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(step_label_table, "step_label", cmd_type, record);
}
