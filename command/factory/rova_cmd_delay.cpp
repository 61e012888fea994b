#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_util.h"
#include "common/rova_util.h"

#include <algorithm>
#include <platform/sys.h>

static constexpr int STEP_MS = 500;

// The time stands where other families have their subcommand.
int rova_cmd_delay(uint32_t cmd_type, cmd_data *record)
{
    int left = rova_cmd_number(rova_cmd_param(record, 0));
    if (left < 1)
        return rova_cmd_ng(cmd_type);

    while (left > 0) {
        int step = std::min(left, STEP_MS);
        sys_usleep(static_cast<useconds_t>(step) * 1000);
        left -= step;
        if (rova_check_stop())
            break;
    }
    return rova_cmd_ok(cmd_type);
}
