#include "core/rova_main.h"

#include "common/rova_log.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "core/rova_client.h"
#include "core/rova_event.h"
#include "core/rova_loop.h"
#include "core/rova_server.h"
#include "platform/device.h"
#include "platform/display.h"
#include "platform/vconf.h"

#include <glib-object.h>

namespace
{

constexpr char KEY_SKIP_LOW_BATTERY[] = "memory/sysman/battery_skip_low_batt_power_off";
constexpr uint32_t QUEUE_DEPTH = 3;

rova_main_data main_data;

void set_key(const char *key, int value)
{
    if (int ret = vconf_set_int(key, value); ret != 0)
        ROVA_LOG_ERR("vconf_set_int(%s, %d) failed (ret = %d) \n", key, value, ret);
}

void set_running_property(int value)
{
    if (int ret = device_set_property(17, 7, value); ret != 0)
        ROVA_LOG_ERR("device_set_property(17, 7, %d) failed (ret = %d) \n", value, ret);
}

void rova_handle_stop_cb(keynode_t *key, void *);

// Harmless when everything has been stopped before.
void rova_stop()
{
    rova_loop_hold_signals();
    rova_set_stopping(true);
    if (rova_deinit_client(&main_data) == 0)
        ROVA_LOG_ERR("Failed to deinit client thread \n");
    if (rova_deinit_server(&main_data) == 0)
        ROVA_LOG_ERR("Failed to deinit server thread \n");
    set_running_property(1);
    rova_loop_exit();
    rova_osd_exit();
    set_key(ROVA_KEY_STOP_CMD, 0);
}

int read_stop_key(const keynode_t *key)
{
    if (vconf_keynode_get_type(key) != VCONF_TYPE_INT)
        ROVA_LOG_ERR("VCONFKEY_ROVA_STOP_CMD type is not int \n");
    int value = 0;
    if (int ret = vconf_get_int(ROVA_KEY_STOP_CMD, &value); ret != 0)
        ROVA_LOG_ERR("vconf_get_int(%s) failed (ret = %d) \n", ROVA_KEY_STOP_CMD, ret);
    return value;
}

void stop_once_asked()
{
    int ret = vconf_ignore_key_changed(ROVA_KEY_STOP_CMD, rova_handle_stop_cb);
    if (ret != 0)
        ROVA_LOG_ERR("failed to vconf_ignore_key_changed(%s) (ret=%d) \n", ROVA_KEY_STOP_CMD, ret);
    rova_stop();
}

void rova_handle_stop_cb(keynode_t *key, void *)
{
    if (key == nullptr) {
        ROVA_LOG_ERR("key is NULL \n");
        return;
    }
    ROVA_LOG_INFO("rova_handle_stop_cb() started. \n");
    if (const int value = read_stop_key(key); value < 1)
        ROVA_LOG_INFO("key:value = %s: %d \n", ROVA_KEY_STOP_CMD, value);
    else
        stop_once_asked();
    ROVA_LOG_INFO("rova_handle_stop_cb() done. \n");
}

void signal_handler(int)
{
    rova_stop();
}

void prepare_platform()
{
    if (int ret = utilx_set_hdmi_state(2); ret != 0)
        ROVA_LOG_ERR("utilx_set_hdmi_state(2) failed (ret = %d) \n", ret);
    set_key(KEY_SKIP_LOW_BATTERY, 1);
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    g_type_init();
    G_GNUC_END_IGNORE_DEPRECATIONS
    set_key(ROVA_KEY_POWER_OFF, 0);
    set_key(ROVA_KEY_STOP_CMD, 0);
}

bool init_stop_key_and_queue()
{
    int ret = vconf_notify_key_changed(ROVA_KEY_STOP_CMD, rova_handle_stop_cb, nullptr);
    if (ret != 0) {
        ROVA_LOG_ERR("vconf_notify_key_changed is failed. (ret = %d) \n", ret);
        return false;
    }
    if (rova_event_init(&main_data.ipc, ROVA_IPC_MQ, QUEUE_DEPTH) == 0) {
        ROVA_LOG_ERR("failed to init event framework \n");
        return false;
    }
    return true;
}

void init_toolkit(int argc, char **argv)
{
    rova_log_set_enable(1);
    const char *mode = rova_option_mode_name(main_data.option);
    ROVA_LOG_NOTICE("\033[33mLaunched rovad daemon with %s mode %s \n", mode,
                    rova_get_alt_mode() ? "[ALT]..." : "...");
    rova_loop_init(argc, argv);
    rova_osd_init();
    rova_log("----------------- rovad starts (%s) ----------------- \n", mode);
    set_running_property(0);
}

bool start_threads()
{
    if (rova_init_server(&main_data) == 0) {
        ROVA_LOG_ERR("failed to run server thread \n");
        return false;
    }
    if (rova_init_client(&main_data) == 0) {
        ROVA_LOG_ERR("failed to run client thread \n");
        rova_deinit_server(&main_data);
        return false;
    }
    return true;
}

void free_option()
{
    rova_option_free(main_data.option);
    main_data.option = nullptr;
}

void run()
{
    rova_loop_catch_signals(signal_handler);
    set_key(ROVA_KEY_START_CMD, 0);
    rova_loop_run();
    rova_loop_shutdown();
    rova_event_deinit(&main_data.ipc);
    rova_log("----------------- rovad end (%s) ----------------- \n",
             rova_option_mode_name(main_data.option));
    free_option();
    ROVA_LOG_NOTICE("\033[33mprogram exited. \n");
}

} // namespace

int rova_main(int argc, char **argv)
{
    main_data.option = rova_option_parse(argc, argv);
    if (main_data.option == nullptr)
        return 1;
    if (main_data.option->help) {
        free_option();
        return 0;
    }
    rova_loop_block_signals();
    prepare_platform();
    if (!init_stop_key_and_queue()) {
        free_option();
        return 0;
    }
    init_toolkit(argc, argv);
    if (!start_threads()) {
        free_option();
        set_key(ROVA_KEY_STOP_CMD, 1);
        return 0;
    }
    run();
    return 0;
}
