#include "command/system/rova_dial.h"

#include "command/rova_cmd_util.h"
#include "command/system/rova_fake_key.h"
#include "common/rova_util.h"
#include "platform/sys.h"

static constexpr useconds_t POLL_US = 100000;

static bool wait_for(const char *path, uint32_t value)
{
    while (rova_check_stop() == 0) {
        int now = rova_sysfs_read_int(path);
        if (now < 0)
            return false;
        if (now == static_cast<int>(value))
            return true;
        sys_usleep(POLL_US);
    }
    return true;
}

int rova_dial_wait(uint32_t cmd_type, const cmd_data *record, const rova_dial &dial)
{
    const rova_dial_row *position = rova_cmd_find_named(dial.rows, record);
    if (position == nullptr)
        return rova_cmd_ng(cmd_type);
    return rova_cmd_answer(cmd_type, position->value == ROVA_DIAL_NO_VALUE ||
                                         wait_for(dial.path, position->value));
}

int rova_dial_set(uint32_t cmd_type, const cmd_data *record, const rova_dial &dial)
{
    const rova_dial_row *position = rova_cmd_find_named(dial.rows, record);
    return rova_cmd_answer(cmd_type, position != nullptr && rova_fake_key_click(position->code));
}
