#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"

#include <platform/device.h>
#include <platform/sys.h>

namespace
{

constexpr int USB_TYPE = 2;
constexpr int USB_STATE = 4;
constexpr useconds_t POLL_US = 100000;

// A state that cannot be read is not 0: the cable may still be there.
bool cable_is_in()
{
    int state = 1;
    device_get_property(USB_TYPE, USB_STATE, &state);
    return state != 0;
}

int rova_cmd_snapshot_make(uint32_t cmd_type, cmd_data * /*record*/)
{
    if (!rova_cmd_is_ptp(cmd_type)) {
        ROVA_LOG_ERR("This cmd is only ptp-mode\n");
        return rova_cmd_ng(cmd_type);
    }
    rova_osd_printf(3, "Please disconncet usb cable");
    while (cable_is_in() && !rova_check_stop())
        sys_usleep(POLL_US);

    int status = sys_system("make_snapshot.sh");
    if (status != 0)
        ROVA_LOG_ERR("failed to run make_snapshot.sh (status=%d) \n", status);
    return rova_cmd_answer(cmd_type, status == 0);
}

constexpr rova_cmd_entry snapshot_table[] = {
    {"make", rova_cmd_snapshot_make},
};
static_assert(rova_cmd_table_is_sound(snapshot_table));

} // namespace

int rova_cmd_snapshot(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(snapshot_table, "snapshot", cmd_type, record);
}
