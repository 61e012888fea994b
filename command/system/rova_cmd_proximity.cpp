#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/system/rova_cmd_system.h"
#include "command/system/rova_in_out.h"
#include "common/rova_log.h"

#include <cstring>
#include <platform/vconf.h>

namespace
{

// What the camera takes for the sensor's state, and with it chooses the display that it shows.
constexpr char PROXIMITY_KEY[] = "memory/sysman/proxy";
constexpr int SOMETHING_NEAR = 1;
constexpr int NOTHING_NEAR = 2;

int rova_cmd_proximity_wait(uint32_t cmd_type, cmd_data *record)
{
    return rova_in_out_wait(cmd_type, record, {.property = 13, .in = 1, .out = 0});
}

bool set_state(int state)
{
    int ret = vconf_set_int(PROXIMITY_KEY, state);
    if (ret < 0)
        ROVA_LOG_ERR("vconf_set_int(%s, %d) failed (ret = %d) \n", PROXIMITY_KEY, state, ret);
    return ret >= 0;
}

int set_by_word(uint32_t cmd_type, const cmd_data *record, const char *near, const char *far)
{
    const char *word = rova_cmd_param(record, 1);
    bool is_near = std::strcmp(word, near) == 0;
    bool is_known = is_near || std::strcmp(word, far) == 0;
    return rova_cmd_answer(cmd_type,
                           is_known && set_state(is_near ? SOMETHING_NEAR : NOTHING_NEAR));
}

int rova_cmd_proximity_set(uint32_t cmd_type, cmd_data *record)
{
    return set_by_word(cmd_type, record, "in", "out");
}

// An eye at the viewfinder switches it on.
int rova_cmd_proximity_evf(uint32_t cmd_type, cmd_data *record)
{
    return set_by_word(cmd_type, record, "on", "off");
}

constexpr rova_cmd_entry proximity_table[] = {
    {"wait", rova_cmd_proximity_wait},
    {"set", rova_cmd_proximity_set},
    {"evf", rova_cmd_proximity_evf},
};
static_assert(rova_cmd_table_is_sound(proximity_table));

} // namespace

int rova_cmd_proximity(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(proximity_table, "proximity", cmd_type, record);
}
