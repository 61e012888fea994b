#include "core/rova_server.h"

#include "command/rova_cmd_handler.h"
#include "common/rova_log.h"
#include "common/rova_power.h"
#include "common/rova_thread.h"
#include "common/rova_util.h"
#include "core/rova_event.h"
#include "core/rova_ptp.h"
#include "platform/device.h"
#include "platform/vconf.h"

#include <algorithm>
#include <cstring>
#include <glib.h>
#include <sys/prctl.h>

namespace
{

constexpr char THREAD_NAME[] = "ROVA Server";
constexpr char THREAD_RESULT[] = "rova_server_thread";
constexpr char KEY_UNMASK_ON_BOOT[] = "/sys/devices/platform/m7-keys/key_unmask_on_boot";
constexpr int ALT_WATCHDOG_SECONDS = 60;

// Of the server thread alone, for the life of the process.
int32_t cmd_seq = 1;
cmd_data *last_ptp_record = nullptr;
uint8_t shipment_done = 0;

bool is_word(const char (&word)[ROVA_CMD_WORD_SIZE], const char *text)
{
    return std::strncmp(word, text, sizeof(word)) == 0;
}

void free_last_ptp_record()
{
    g_free(last_ptp_record);
    last_ptp_record = nullptr;
}

void activate_ptp()
{
    if (int ret = vconf_set_str(ROVA_KEY_PTP_ACTIVATION, ""); ret != 0)
        ROVA_LOG_ERR("vconf_set_str(%s) failed (ret = %d) \n", ROVA_KEY_PTP_ACTIVATION, ret);
    int ret = vconf_notify_key_changed(ROVA_KEY_PTP_ACTIVATION, rova_ptp_activation_cb, nullptr);
    if (ret != 0)
        ROVA_LOG_ERR("failed to vconf_notify_key_changed(%s) (ret = %d) \n",
                     ROVA_KEY_PTP_ACTIVATION, ret);
    if (ret = vconf_set_str(ROVA_KEY_PTP_ACTIVATION, "start"); ret != 0)
        ROVA_LOG_ERR("vconf_set_str(%s) failed (ret = %d) \n", ROVA_KEY_PTP_ACTIVATION, ret);
}

// The life test runs only on a boot that left the keys unmasked.
void rova_check_alt_boot_status()
{
    rova_log("ALT test... \n");
    ROVA_LOG_NOTICE("\033[33mALT: set wdt to %d sec \n", ALT_WATCHDOG_SECONDS);
    if (rova_sysfs_read_int(KEY_UNMASK_ON_BOOT) == 1)
        return;
    ROVA_LOG_NOTICE("\033[33mALT: key is not unmasked, reboot it. \n");
    rova_power_reset(0);
}

void skip_command(uint32_t type, cmd_data *record)
{
    ROVA_LOG_NOTICE("\033[33mrova-server: %dth cmd skipped [%s] -------- \n", cmd_seq,
                    rova_cmd_type_name(type));
    cmd_seq++;
    g_free(record);
    free_last_ptp_record();
}

// After a failure only the PC goes on; once the daemon is to stop, nobody does.
bool must_skip(uint32_t type)
{
    if (rova_cmd_get_result() == 1 && !rova_cmd_is_ptp(type)) {
        if (rova_get_alt_mode())
            rova_power_reset(0);
        return true;
    }
    return rova_check_stop() != 0;
}

// A predefined command takes its texts from the line before it.
void take_last_parameters(cmd_data *record)
{
    if (last_ptp_record == nullptr)
        return;
    record->p_count = last_ptp_record->p_count;
    std::memcpy(record->p, last_ptp_record->p,
                std::min<std::size_t>(record->p_count, ROVA_CMD_PARAM_MAX) * sizeof(record->p[0]));
}

void execute(uint32_t type, cmd_data *record)
{
    ROVA_LOG_NOTICE("\033[33mrova-server: %dth cmd recieved [%s] -------- \n", cmd_seq,
                    rova_cmd_type_name(type));
    rova_log("cmd[%04d]: <%s> ", cmd_seq, rova_cmd_type_name(type));
    if (rova_get_alt_mode())
        rova_wdt_set(is_word(record->cmd, "delay") ? 0 : ALT_WATCHDOG_SECONDS, 0);
    rova_show_cmd_data(record, type);

    rova_cmd_show_start(type, record);
    rova_process_cmd(type, record);
    rova_cmd_show_result(type, record);

    if (rova_cmd_get_result() != 0)
        ROVA_LOG_NOTICE("\033[33mrova-server: %dth cmd done [%s] ------------- \n", cmd_seq, "NG");
    else
        ROVA_LOG_INFO("rova-server: %dth cmd done [%s] ------------- \n", cmd_seq, "OK");
    cmd_seq++;
}

// Whether the command just run switches the camera off: a camera that was set for shipment stays
// on the way that the shipment command chose.
bool is_power_pending(const cmd_data *record)
{
    if (is_word(record->cmd, "shipment_country"))
        shipment_done = 1;
    if (shipment_done)
        return false;
    return is_word(record->cmd, "power") &&
           (is_word(record->p[0], "off") || is_word(record->p[0], "reboot"));
}

void keep_or_free(uint32_t type, cmd_data *record)
{
    free_last_ptp_record();
    if (rova_cmd_is_ptp(type))
        last_ptp_record = record;
    else
        g_free(record);
}

void take_stop_packet(cmd_data *record, bool power_pending)
{
    ROVA_LOG_INFO("ROVA_CTRL_STOP_PACKET is received \n");
    g_free(record);
    free_last_ptp_record();
    if (!power_pending)
        return;
    if (int ret = device_set_property(4, 21, 0); ret != 0)
        ROVA_LOG_ERR("device_set_property(4, 21, 0) failed (ret = %d) \n", ret);
}

void serve(rova_ipc *ipc)
{
    bool power_pending = false;
    for (;;) {
        uint32_t type = 0;
        uint32_t size = 0;
        void *buffer = nullptr;
        if (rova_event_receive(ipc, &type, &buffer, &size) < 0) {
            ROVA_LOG_ERR("ipc_receive failed \n");
            return;
        }
        auto *record = static_cast<cmd_data *>(buffer);
        if (type == ROVA_CTRL_STOP_PACKET)
            return take_stop_packet(record, power_pending);
        if (must_skip(type)) {
            skip_command(type, record);
            continue;
        }
        if (type == ROVA_CMD_PTP2)
            take_last_parameters(record);
        execute(type, record);
        power_pending = is_power_pending(record);
        keep_or_free(type, record);
    }
}

void run_server(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return;
    }
    if (pdata->ipc == nullptr) {
        ROVA_LOG_ERR("ipc is NULL \n");
        return;
    }
    if (pdata->option->ptp)
        activate_ptp();
    if (rova_get_alt_mode())
        rova_check_alt_boot_status();
    serve(pdata->ipc);
}

void *rova_server_thread(void *argument)
{
    prctl(PR_SET_NAME, THREAD_NAME);
    rova_thread_make_cancellable();
    run_server(static_cast<rova_main_data *>(argument));
    ROVA_LOG_NOTICE("\033[33mrova-server: thread exited \n");
    rova_thread_exit(const_cast<char *>(THREAD_RESULT));
}

void send_stop_packet(rova_ipc *ipc)
{
    cmd_data record = {};
    if (rova_event_send(ipc, ROVA_CTRL_STOP_PACKET, &record, sizeof(record)) < 0)
        ROVA_LOG_ERR("failed to send end packet \n");
}

} // namespace

int rova_init_server(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return 0;
    }
    if (rova_thread_create(&pdata->server_thread, THREAD_NAME, ROVA_THREAD_PRIORITY, 1, 0,
                           rova_server_thread, pdata) != 0) {
        ROVA_LOG_ERR("rova_thread_create failed \n");
        return 0;
    }
    return 1;
}

int rova_deinit_server(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return 0;
    }
    if (pdata->server_thread == 0)
        return 1;
    send_stop_packet(pdata->ipc);
    if (rova_thread_join(pdata->server_thread, nullptr) != 0)
        ROVA_LOG_ERR("failed to join server thread \n");
    pdata->server_thread = 0;
    ROVA_LOG_NOTICE("\033[33mrova-server: thread terminated. \n");
    return 1;
}
