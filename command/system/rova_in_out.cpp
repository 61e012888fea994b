#include "command/system/rova_in_out.h"

#include "command/rova_cmd_util.h"
#include "command/rova_wait.h"
#include "command/system/rova_property.h"

#include <cstring>

static constexpr int PLUG_CLASS = 2;
static constexpr useconds_t POLL_US = 100000;

static bool find_wanted(const cmd_data *record, const rova_in_out &device, int *wanted)
{
    const char *word = rova_cmd_param(record, 1);
    bool is_in = std::strcmp(word, "in") == 0;
    *wanted = is_in ? device.in : device.out;
    return is_in || std::strcmp(word, "out") == 0;
}

static bool wait_for(int property, int wanted)
{
    return rova_wait(POLL_US, [=] {
        int value = 0;
        if (!rova_property_get(PLUG_CLASS, property, &value))
            return rova_look::bad;
        return value == wanted ? rova_look::good : rova_look::again;
    });
}

int rova_in_out_wait(uint32_t cmd_type, const cmd_data *record, const rova_in_out &device)
{
    int wanted = 0;
    return rova_cmd_answer(cmd_type, find_wanted(record, device, &wanted) &&
                                         wait_for(device.property, wanted));
}

int rova_in_out_check(uint32_t cmd_type, const cmd_data *record, const rova_in_out &device)
{
    int wanted = 0;
    int value = 0;
    return rova_cmd_answer(cmd_type, find_wanted(record, device, &wanted) &&
                                         rova_property_get(PLUG_CLASS, device.property, &value) &&
                                         value == wanted);
}
