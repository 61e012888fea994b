#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_property.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/sys.h"

namespace
{

constexpr int DR_CLASS = 16;
constexpr int DR_COMMAND = 0;
constexpr int DR_STATE = 2;
constexpr int DR_RUN = 2;
constexpr int DR_AT_REST = 0;

constexpr useconds_t POLL_US = 100000;

// Waits for the unit to come to rest.  True when it was so at once, or the daemon is to stop.
bool wait_for_rest()
{
    bool at_once = true;
    while (rova_check_stop() == 0) {
        int state = 0;
        if (!rova_property_get(DR_CLASS, DR_STATE, &state))
            return false;
        if (state == DR_AT_REST)
            return at_once;
        at_once = false;
        sys_usleep(POLL_US);
    }
    return true;
}

int rova_cmd_dr_run(uint32_t cmd_type, cmd_data * /*record*/)
{
    ROVA_LOG_NOTICE("\033[33mrova_cmd_dr_run cmd: %d\n", DR_RUN);
    return rova_cmd_answer(cmd_type,
                           rova_property_set(DR_CLASS, DR_COMMAND, DR_RUN) && wait_for_rest());
}

constexpr rova_cmd_entry dr_table[] = {
    {"run", rova_cmd_dr_run},
};
static_assert(rova_cmd_table_is_sound(dr_table));

} // namespace

int rova_cmd_dr(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(dr_table, "dr", cmd_type, record);
}
