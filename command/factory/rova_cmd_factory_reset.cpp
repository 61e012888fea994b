#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry factory_reset_table[] = {
    // clang-format off
    {"on",  rova_cmd_app_exec},
    {"off", rova_cmd_app_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(factory_reset_table));

int rova_cmd_factory_reset(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(factory_reset_table, "factory_reset", cmd_type, record);
}
