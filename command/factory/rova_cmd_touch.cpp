#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/rova_wait.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"

#include <cstring>
#include <platform/factory_osd.h>

namespace
{

constexpr useconds_t POLL_US = 100000;

int rova_cmd_touch_test(uint32_t cmd_type, cmd_data * /*record*/)
{
    ROVA_LOG_NOTICE("\033[33mfactory_osd_touch_test() start");
    bool passed = rova_cmd_succeeded("factory_osd_touch_test", factory_osd_touch_test());
    ROVA_LOG_NOTICE("\033[33mfactory_osd_touch_test() end");
    return rova_cmd_answer(cmd_type, passed);
}

// Any other word, and none, leaves the lines out.
int rova_cmd_touch_ready(uint32_t cmd_type, cmd_data *record)
{
    ROVA_LOG_NOTICE("\033[33mrova_cmd_touch_ready()");
    bool draws_lines = std::strcmp(rova_cmd_param(record, 1), "linedraw_on") == 0;
    bool ready =
        rova_cmd_succeeded("factory_osd_touch_ready", factory_osd_touch_ready(draws_lines ? 1 : 0));
    int state = factory_osd_get_touch_state();
    bool known = rova_cmd_succeeded("factory_osd_get_touch_state", state);
    ROVA_LOG_NOTICE("\033[33mrova_cmd_touch_ready() end. [touch_status : %d]", state);
    return rova_cmd_answer(cmd_type, ready && known);
}

rova_look look_at_panel()
{
    int state = factory_osd_get_touch_state();
    if (!rova_cmd_succeeded("factory_osd_get_touch_state", state))
        return rova_look::bad;
    if (state == FACTORY_OSD_TOUCH_GHOST) {
        rova_osd_printf(2, "Touch Test GHOST NG");
        return rova_look::bad;
    }
    return state == FACTORY_OSD_TOUCH_TOUCHED ? rova_look::good : rova_look::again;
}

int rova_cmd_touch_check(uint32_t cmd_type, cmd_data * /*record*/)
{
    return rova_cmd_answer(cmd_type, rova_wait(POLL_US, look_at_panel));
}

constexpr rova_cmd_entry touch_table[] = {
    {"test", rova_cmd_touch_test},
    {"ready", rova_cmd_touch_ready},
    {"check", rova_cmd_touch_check},
};
static_assert(rova_cmd_table_is_sound(touch_table));

} // namespace

int rova_cmd_touch(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(touch_table, "touch", cmd_type, record);
}
