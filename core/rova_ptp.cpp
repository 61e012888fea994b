#include "core/rova_ptp.h"

#include "common/rova_log.h"
#include "common/rova_ptp_keys.h"
#include "core/rova_event.h"
#include "core/rova_parser.h"
#include "lib/rova_process.h"
#include "platform/sys.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <unistd.h>

namespace
{

constexpr char MTP_RESPONDER[] = "/usr/bin/mtp-responder";
constexpr useconds_t ACTIVATION_DELAY = 500000;

constexpr const char *PROTOCOL_KEYS[] = {
    ROVA_KEY_PMODE_PROTOCOL1, ROVA_KEY_PMODE_PROTOCOL2, ROVA_KEY_PMODE_PROTOCOL3,
    ROVA_KEY_PMODE_PROTOCOL4, ROVA_KEY_PMODE_PROTOCOL5,
};
constexpr std::size_t PROTOCOL_COUNT = std::size(PROTOCOL_KEYS);

struct predef_cmd {
    uint32_t number;
    const char *word;
};

// clang-format off
constexpr predef_cmd PREDEF_CMDS[] = {
    {0x10011000, "shutter_speed2"},
    {0x10021000, "cis_data2"},
    {0x10021001, "cis_data_info"},
    {0x10021002, "cis_data_file"},
    {0x10030000, "rtc2"},
    {0x10040000, "paf2"},
};
// clang-format on

std::mutex request_lock;

bool check_request(const keynode_t *key, const void *user_data)
{
    if (key == nullptr) {
        ROVA_LOG_ERR("key is NULL \n");
        return false;
    }
    if (user_data == nullptr) {
        ROVA_LOG_ERR("rova_main_data is NULL \n");
        return false;
    }
    return true;
}

void send_request(void *user_data, uint32_t type, cmd_data *record)
{
    auto *pdata = static_cast<rova_main_data *>(user_data);
    if (rova_event_send(pdata->ipc, type, record, sizeof(*record)) < 0)
        ROVA_LOG_ERR("failed to send command (num: %d) \n", 0);
}

void rova_ptp_request_normal_cb(keynode_t *key, void *user_data)
{
    if (!check_request(key, user_data))
        return;
    std::lock_guard guard(request_lock);
    if (vconf_keynode_get_type(key) != VCONF_TYPE_STRING) {
        ROVA_LOG_ERR("VCONFKEY_ROVA_STOP_CMD type is not string \n");
        return;
    }
    char *line = vconf_keynode_get_str(key);
    if (line == nullptr) {
        ROVA_LOG_ERR("vconf_keynode_get_str(%s) failed (ret is NULL) \n", ROVA_KEY_PMODE);
        return;
    }
    cmd_data record = {};
    if (rova_parse_cmd_data(line, static_cast<uint32_t>(std::strlen(line) + 1), &record) != 0) {
        ROVA_LOG_ERR("failed to parse line (num: %d) \n", 0);
        return;
    }
    if (std::strcmp(record.cmd, "comment") != 0)
        send_request(user_data, ROVA_CMD_PTP, &record);
}

bool read_protocol_keys(int (&values)[PROTOCOL_COUNT])
{
    for (std::size_t i = 0; i < PROTOCOL_COUNT; i++)
        if (vconf_get_int(PROTOCOL_KEYS[i], &values[i]) != 0) {
            ROVA_LOG_ERR("vconf_get_int() failed \n");
            return false;
        }
    return true;
}

// NULL for a number that stands for no command.
const char *find_predef_word(uint32_t number)
{
    for (const predef_cmd &cmd : PREDEF_CMDS)
        if (cmd.number == number)
            return cmd.word;
    ROVA_LOG_ERR("Not found on rova command table \n");
    return nullptr;
}

cmd_data make_predef_record(const char *word, const int (&values)[PROTOCOL_COUNT],
                            const char *data_path)
{
    cmd_data record = {};
    std::snprintf(record.cmd, sizeof(record.cmd), "%s", word);
    for (std::size_t i = 0; i < std::size(record.e); i++)
        record.e[i] = values[i + 1];
    if (data_path != nullptr)
        std::snprintf(record.data_path, sizeof(record.data_path), "%s", data_path);
    return record;
}

// The data key's bare name, when there is a file of that name in the working directory.
const char *find_data_path()
{
    return sys_access(ROVA_KEY_PMODE_SHUTTER_DATA, R_OK) == 0 ? ROVA_KEY_PMODE_SHUTTER_DATA
                                                              : nullptr;
}

void rova_ptp_request_predef_cb(keynode_t *key, void *user_data)
{
    if (!check_request(key, user_data))
        return;
    std::lock_guard guard(request_lock);
    if (vconf_keynode_get_type(key) != VCONF_TYPE_INT) {
        ROVA_LOG_ERR("VCONFKEY_ROVA_STOP_CMD type is not string \n");
        return;
    }
    if (vconf_keynode_get_int(key) == 0) {
        ROVA_LOG_INFO("value(0) is no meaning (key=%s) \n", ROVA_KEY_PMODE_PROTOCOL1);
        return;
    }
    int values[PROTOCOL_COUNT] = {};
    if (!read_protocol_keys(values))
        return;
    const char *data_path = find_data_path();
    const char *word = find_predef_word(static_cast<uint32_t>(values[0]));
    if (word == nullptr)
        return;
    cmd_data record = make_predef_record(word, values, data_path);
    send_request(user_data, ROVA_CMD_PTP2, &record);
}

bool watch(const char *key, vconf_callback_fn callback, void *user_data)
{
    const int ret = vconf_notify_key_changed(key, callback, user_data);
    if (ret != 0)
        ROVA_LOG_ERR("failed to vconf_notify_key_changed(%s) (ret = %d) \n", key, ret);
    return ret == 0;
}

bool ignore(const char *key, vconf_callback_fn callback)
{
    const int ret = vconf_ignore_key_changed(key, callback);
    if (ret != 0)
        ROVA_LOG_ERR("failed to vconf_ignore_key_changed(%s) (ret=%d) \n", key, ret);
    return ret == 0;
}

void report_set(const char *key, int ret)
{
    if (ret != 0)
        ROVA_LOG_ERR("vconf_set(%s) failed (ret = %d) \n", key, ret);
}

// Starts or ends the responder, as the cable is plugged in or not.
void rova_change_ptp_mode()
{
    int status = 0;
    if (vconf_get_int(ROVA_KEY_USB_STATUS, &status) != 0) {
        ROVA_LOG_ERR("vconf_get_int(%s) failed \n", ROVA_KEY_USB_STATUS);
        return;
    }
    switch (status) {
    case 2:
        ROVA_LOG_INFO("usb_status is available \n");
        rova_launch_app_with_nice(MTP_RESPONDER, nullptr, 0);
        break;
    case 0:
        ROVA_LOG_INFO("usb_status is disconnected \n");
        rova_terminate_app(MTP_RESPONDER);
        break;
    default:
        ROVA_LOG_INFO("usb_status is not handled (%d) \n", status);
        break;
    }
}

void rova_usb_connection_cb(keynode_t *key, void *)
{
    const char *name = key != nullptr ? vconf_keynode_get_name(key) : nullptr;
    if (name != nullptr && std::strcmp(name, ROVA_KEY_USB_STATUS) == 0)
        rova_change_ptp_mode();
}

} // namespace

void rova_ptp_activation_cb(keynode_t *key, void *)
{
    if (key == nullptr || vconf_keynode_get_type(key) != VCONF_TYPE_STRING) {
        ROVA_LOG_ERR("vconf_keynode(%s) is wrong type! \n", ROVA_KEY_PTP_ACTIVATION);
        return;
    }
    const char *value = vconf_keynode_get_str(key);
    if (value == nullptr || std::strcmp(value, "start") != 0)
        return;
    sys_usleep(ACTIVATION_DELAY);
    rova_change_ptp_mode();
    watch(ROVA_KEY_USB_STATUS, rova_usb_connection_cb, nullptr);
}

int rova_ptp_init(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return 0;
    }
    report_set(ROVA_KEY_PMODE, vconf_set_str(ROVA_KEY_PMODE, "init_"));
    if (!watch(ROVA_KEY_PMODE, rova_ptp_request_normal_cb, pdata))
        return 0;
    report_set(ROVA_KEY_PMODE_PROTOCOL1, vconf_set_int(ROVA_KEY_PMODE_PROTOCOL1, 0));
    if (!watch(ROVA_KEY_PMODE_PROTOCOL1, rova_ptp_request_predef_cb, pdata))
        return 0;
    return 1;
}

int rova_ptp_deinit(rova_main_data *pdata)
{
    if (pdata == nullptr) {
        ROVA_LOG_ERR("pdata is NULL \n");
        return 0;
    }
    const bool line_ignored = ignore(ROVA_KEY_PMODE, rova_ptp_request_normal_cb);
    const bool number_ignored = ignore(ROVA_KEY_PMODE_PROTOCOL1, rova_ptp_request_predef_cb);
    rova_terminate_app(MTP_RESPONDER);
    return line_ignored && number_ignored;
}
