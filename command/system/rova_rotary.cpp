#include "command/system/rova_rotary.h"

#include "command/rova_cmd_util.h"
#include "command/system/rova_key_driver.h"
#include "command/system/rova_keymask.h"
#include "common/rova_log.h"
#include "common/rova_util.h"
#include "platform/sys.h"

static constexpr useconds_t POLL_US = 100000;

// A click that stays would be counted again.
static bool clear_click()
{
    if (rova_sysfs_write_int(ROVA_KEYCODE_PATH, 0) == 0)
        return true;
    ROVA_LOG_ERR("failed to write \"%s\" (%s) \n", ROVA_KEYCODE_PATH, rova_reason());
    return false;
}

bool rova_rotary_wait_clicks(const rova_rotary_row &wanted, const rova_rotary_row &opposite,
                             int count)
{
    for (;;) {
        int code = rova_sysfs_read_int(ROVA_KEYCODE_PATH);
        if (code < 0)
            return false;
        if (code == static_cast<int>(opposite.code)) {
            ROVA_LOG_INFO("opposite_keycode == cur_keycode\n");
            return false;
        }
        if (code == static_cast<int>(wanted.code) && rova_check_stop() == 0) {
            count--;
            if (!clear_click())
                return false;
        }
        sys_usleep(POLL_US);
        if (count <= 0)
            return true;
    }
}

int rova_rotary_wait(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary)
{
    const rova_rotary_row *wanted = rova_cmd_find_named(rotary.rows, record);
    if (wanted == nullptr)
        return rova_cmd_ng(cmd_type);

    const rova_rotary_row &opposite = rotary.rows[wanted == &rotary.rows[0] ? 1 : 0];
    if (rotary.log_codes)
        ROVA_LOG_INFO("wait_keycode : %d, opposite_keycode : %d\n", static_cast<int>(wanted->code),
                      static_cast<int>(opposite.code));
    int count = rova_cmd_number(rova_cmd_param(record, 2));
    return rova_cmd_answer(cmd_type, rova_rotary_wait_clicks(*wanted, opposite, count));
}

// A mask that cannot be written is logged, and costs nothing else.
static int change_mask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary,
                       bool masked)
{
    if (record->p_count == 0)
        return rova_cmd_ng(cmd_type);
    if (!rova_keymask_change(rotary.rows[0].mask, masked))
        ROVA_LOG_ERR("failed to read \"%s\"\n", ROVA_KEYMASK_PATH);
    return rova_cmd_ok(cmd_type);
}

int rova_rotary_mask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary)
{
    return change_mask(cmd_type, record, rotary, true);
}

int rova_rotary_unmask(uint32_t cmd_type, const cmd_data *record, const rova_rotary &rotary)
{
    return change_mask(cmd_type, record, rotary, false);
}
