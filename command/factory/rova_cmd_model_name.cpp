#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry model_name_table[] = {
    {"get", rova_cmd_ipcc_exec},
};
static_assert(rova_cmd_table_is_sound(model_name_table));

int rova_cmd_model_name(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(model_name_table, "model_name", cmd_type, record);
}
