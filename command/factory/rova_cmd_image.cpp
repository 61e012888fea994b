#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"

static constexpr rova_cmd_entry image_table[] = {
    // clang-format off
    {"delete", rova_cmd_app_exec},
    {"get",    rova_cmd_app_exec},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(image_table));

int rova_cmd_image(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(image_table, "image", cmd_type, record);
}
