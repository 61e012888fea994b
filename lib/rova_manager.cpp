#include "lib/rova_manager.h"

#include "common/rova_log.h"
#include "common/rova_util.h"
#include "lib/rova_process.h"
#include "platform/device.h"
#include "platform/sys.h"
#include "platform/vconf.h"

namespace
{

constexpr char DAEMON_PATH[] = "/usr/bin/rovad";
constexpr useconds_t POLL_INTERVAL = 100000;
constexpr int START_POLLS = 30;
constexpr int STOP_POLLS = 50;

constexpr int KIND_KEY_ONLY = 0;
constexpr int KIND_TEST = 1;

// Waits for the daemon to clear a key; false when it has not after `polls` looks.
bool wait_for_zero(const char *key, int polls)
{
    for (int i = 0; i < polls; i++) {
        int value = 1;
        vconf_get_int(key, &value);
        if (value == 0)
            return true;
        sys_usleep(POLL_INTERVAL);
    }
    return false;
}

} // namespace

int rova_launch_daemon(int kind)
{
    vconf_set_int(ROVA_KEY_START_CMD, 1);
    if (kind == KIND_KEY_ONLY)
        return 0;
    const char *args = kind == KIND_TEST ? "--test" : nullptr;
    if (rova_launch_app_with_nice(DAEMON_PATH, args, 0) < 0) {
        ROVA_LOG_ERR("Launching rova daemon failed. \n");
        return 0;
    }
    wait_for_zero(ROVA_KEY_START_CMD, START_POLLS);
    return 1;
}

int rova_terminate_daemon()
{
    device_set_property(4, 21, 1);
    if (rova_get_exec_pid(DAEMON_PATH) < 0) {
        ROVA_LOG_ERR("daemon is not launched yet \n");
        return 1;
    }
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    bool stopped = wait_for_zero(ROVA_KEY_STOP_CMD, STOP_POLLS);
    if (rova_terminate_app(DAEMON_PATH) < 0) {
        ROVA_LOG_ERR("Terminating rova daemon failed. \n");
        return 0;
    }
    if (stopped)
        return 1;
    ROVA_LOG_ERR("stop had been retried maximum times, thus shutdown! \n");
    device_set_property(4, 21, 1);
    return 0;
}

int rova_check_power_off()
{
    int value = 0;
    vconf_get_int(ROVA_KEY_POWER_OFF, &value);
    vconf_set_int(ROVA_KEY_POWER_OFF, 0);
    return value == 1 ? 1 : 0;
}
