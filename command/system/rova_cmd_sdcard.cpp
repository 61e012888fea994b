#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_property.h"
#include "common/rova_log.h"

namespace
{

constexpr int CARD_CLASS = 11;
constexpr int CARD_LOCK = 1;

struct lock_row {
    const char *name;
    int status;
};

constexpr lock_row locks[] = {{"lock", 1}, {"unlock", 0}};

int rova_cmd_sdcard_check(uint32_t cmd_type, cmd_data *record)
{
    int status = 0;
    if (!rova_property_get(CARD_CLASS, CARD_LOCK, &status))
        return rova_cmd_ng(cmd_type);
    ROVA_LOG_NOTICE("\033[33mwrite_protect 1 -> lock : 0 -> unlock\n");
    ROVA_LOG_INFO("sdcard lock status : %d\n", status);
    const lock_row *wanted = rova_cmd_find_named(locks, record);
    if (wanted == nullptr)
        ROVA_LOG_ERR("Not found on sdcard command table\n");
    return rova_cmd_answer(cmd_type, wanted != nullptr && wanted->status == status);
}

constexpr rova_cmd_entry sdcard_table[] = {
    {"check", rova_cmd_sdcard_check},
};
static_assert(rova_cmd_table_is_sound(sdcard_table));

} // namespace

int rova_cmd_sdcard(uint32_t cmd_type, cmd_data *record)
{
    // Names another family; who reads the logs knows it by this text.
    return rova_cmd_run_sub(sdcard_table, "led", cmd_type, record);
}
