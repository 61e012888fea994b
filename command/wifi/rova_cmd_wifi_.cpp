#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/rova_ptp_resp.h"
#include "command/wifi/rova_cmd_wireless.h"
#include "command/wifi/rova_driver_file.h"
#include "command/wifi/rova_execute_file.h"
#include "command/wifi/rova_mac_addr.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_guard.h"
#include "common/rova_osd.h"
#include "common/rova_util.h"

#include <cstring>
#include <platform/sys.h>
#include <platform/wlan.h>
#include <string>
#include <vector>

namespace
{

constexpr char WLAN_SCRIPT[] = "/usr/bin/wlan.sh";
constexpr char SCAN_SCRIPT[] = "/mnt/mmc/scan.sh";
constexpr char AP_LIST[] = "/mnt/mmc/ap.list";
constexpr char MAC_FILE[] = "/opt/etc/.mac.info";
constexpr char REGION_FILE[] = "/opt/etc/wl-regdom.conf";
constexpr int OSD_ROW = 2;

// ------------------------------------------------------------------------- the vendor's calls

// Tells the code that the vendor's call behind `label` gave to `function`; whether it succeeded.
bool took(const char *function, const char *label, int code)
{
    ROVA_LOG_RADIO("%s ret=%d\n", label, code);
    if (code == 0)
        return true;
    const char *text = MRVL_RFT_GetErrorString(code);
    ROVA_LOG_ERR("%s ERROR : [%s]\n", function, text != nullptr ? text : "");
    return false;
}

// The same, and the library is told of a failure.
bool took_checked(const char *function, const char *label, int code)
{
    const bool good = took(function, label, code);
    if (!good)
        Wlan_Status_Check(code);
    return good;
}

// Exactly the words of a script; false only when there was no process for it.
bool run_script(const char *path, const char *word = nullptr)
{
    char *const argv[] = {const_cast<char *>(path), const_cast<char *>(word), nullptr};
    char *const no_variables[] = {nullptr};
    return rova_execute_file(path, argv, no_variables) != 0;
}

// ------------------------------------------------------------------------- settings

int set_preamble(int value)
{
    switch (value) {
    case 1:
        return MRVL_RFT_SetPreamble(0);
    case 2:
        return MRVL_RFT_SetPreamble(1);
    case 3:
        return MRVL_RFT_SetShortGI(1);
    case 4:
        return MRVL_RFT_SetShortGI(0);
    default:
        return -1;
    }
}

int band = -1;
int band_width = -1;
int channel = -1;
int data_rate = -1;
int preamble = -1;
int tx_gain = 10;
int payload_length = 1024;
int burst_interval = 100;

struct setting_row {
    const char *name;
    int *value;
    int skip; // this value leaves the radio as it is
    int (*set)(int value);
    const char *label;
};

// In the order in which the radio is given them.
constexpr setting_row SETTINGS[] = {
    // clang-format off
    {"band",           &band,           -1,   MRVL_RFT_SetBandAG,       "SetBand"},
    {"band_width",     &band_width,     -1,   MRVL_RFT_SetChannelBw,    "SetBandWidth"},
    {"channel",        &channel,        -1,   MRVL_RFT_Channel,         "SetChannel"},
    {"data_rate",      &data_rate,      -1,   MRVL_RFT_TxDataRate,      "SetDataRate"},
    {"preamble",       &preamble,       -1,   set_preamble,             "SetPreamble"},
    {"tx_gain",        &tx_gain,        10,   MRVL_RFT_TxGain,          "TxGain"},
    {"payload_length", &payload_length, 1024, MRVL_RFT_TxPayloadLength, "SetPayload"},
    {"burst_interval", &burst_interval, 100,  MRVL_RFT_TxBurstInterval, "SetBurstInterval"},
    // clang-format on
};

int rova_cmd_wifi_setting(uint32_t cmd_type, cmd_data *record)
{
    const setting_row *row = rova_cmd_find_named(SETTINGS, record);
    if (row == nullptr || record->p_count < 3)
        return rova_cmd_ng(cmd_type);
    *row->value = rova_cmd_number(record->p[2]);
    return rova_cmd_ok(cmd_type);
}

bool give_settings(const char *function)
{
    for (const setting_row &row : SETTINGS)
        if (*row.value != row.skip && !took_checked(function, row.label, row.set(*row.value)))
            return false;
    return true;
}

int __set_wlan_mfg_settings()
{
    ROVA_LOG_RADIO("==============%s Enter\n", __func__);
    for (const setting_row &row : SETTINGS)
        ROVA_LOG_RADIO("%s = %d\n", row.name, *row.value);
    const bool given = give_settings(__func__);
    ROVA_LOG_RADIO("==============%s Exit\n", __func__);
    return given ? 0 : 1;
}

// ------------------------------------------------------------------------- drivers

struct driver_step {
    const char *name;
    const char *word; // for the script
    const char *failure;
    const char *success;
    useconds_t settle_us;
};

constexpr driver_step MFG_START = {"WLAN_SCRIPT_MFG_START", "rftest",
                                   "Failed to load mfg device driver",
                                   "Successfully loaded mfg device driver", 2000000};
constexpr driver_step MFG_STOP = {"WLAN_SCRIPT_MFG_STOP", "stop",
                                  "Failed to remove mfg device driver",
                                  "Successfully removed mfg device driver", 1000000};
constexpr driver_step STA_START = {"WLAN_SCRIPT_STA_START", "start",
                                   "Failed to load wireless device driver",
                                   "Successfully loaded wireless device driver", 1000000};
constexpr driver_step STA_STOP = {"WLAN_SCRIPT_STA_STOP", "stop",
                                  "Failed to remove wireless device driver",
                                  "Successfully removed wireless device driver", 2000000};
constexpr int SCRIPT_FAILED = -5;

bool run_driver_step(const driver_step &step)
{
    ROVA_LOG_RADIO("%s\n", step.name);
    if (!run_script(WLAN_SCRIPT, step.word)) {
        ROVA_LOG_ERR("%s", step.failure);
        ROVA_LOG_RADIO("%s ret=%d\n", step.name, SCRIPT_FAILED);
        return false;
    }
    ROVA_LOG_RADIO("%s", step.success);
    sys_usleep(step.settle_us);
    return true;
}

bool open_dut(const char *function)
{
    if (!run_driver_step(MFG_START))
        return false;
    ROVA_LOG_RADIO("CONTROL_DUT_OPEN_DUT\n");
    return took(function, "OpenDUT", MRVL_RFT_OpenDUT());
}

bool close_dut(const char *function)
{
    ROVA_LOG_RADIO("CONTROL_DUT_CLOSE_DUT\n");
    return took(function, "CloseDUT", MRVL_RFT_CloseDUT()) && run_driver_step(MFG_STOP);
}

bool wifi_on(const char *)
{
    const bool started = run_driver_step(STA_START);
    if (started)
        ROVA_LOG_RADIO("CONTROL_DUT_WIFI_ON\n");
    return started;
}

bool wifi_off(const char *function)
{
    ROVA_LOG_RADIO("CONTROL_DUT_WIFI_OFF\n");
    return took(function, "CloseDUT", MRVL_RFT_CloseDUT()) && run_driver_step(STA_STOP);
}

struct dut_row {
    const char *name;
    bool (*run)(const char *function);
};

constexpr dut_row DUT_WORDS[] = {
    {"open_dut", open_dut},
    {"close_dut", close_dut},
    {"wifi_on", wifi_on},
    {"wifi_off", wifi_off},
};

int rova_cmd_wifi_control_dut(uint32_t cmd_type, cmd_data *record)
{
    const dut_row *row = rova_cmd_find_named(DUT_WORDS, record);
    return rova_cmd_answer(cmd_type, row != nullptr && row->run(__func__));
}

// ------------------------------------------------------------------------- transmitting, receiving

struct run_row {
    const char *name;
    const char *told;
    const char *label;
    int (*call)();
    bool with_settings;
};

constexpr run_row TX_WORDS[] = {
    {"start_tx", "TX_START_TX\n", "TxStartWithMod", MRVL_RFT_TxStart, true},
    {"stop_tx", "TX_STOP_TX\n", "TxStop", MRVL_RFT_TxStop, false},
};

constexpr run_row RX_WORDS[] = {
    {"start_rx", "RX_START_RX\n", "RxStart", MRVL_RFT_RxStart, true},
    {"stop_rx", "RX_STOP_RX\n", "RxStop", [] { return MRVL_RFT_RxStop(0); }, false},
};

bool start_or_stop(const char *function, const run_row *row)
{
    if (row == nullptr || (row->with_settings && __set_wlan_mfg_settings() != 0))
        return false;
    ROVA_LOG_RADIO("%s", row->told);
    return took_checked(function, row->label, row->call());
}

int rova_cmd_wifi_tx(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type,
                           start_or_stop(__func__, rova_cmd_find_named(TX_WORDS, record)));
}

int rova_cmd_wifi_rx(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type,
                           start_or_stop(__func__, rova_cmd_find_named(RX_WORDS, record)));
}

struct frame_row {
    const char *name;
    const char *told;
    const char *label;
    int (*read)();
    uint32_t mark; // tells the PC which reading it gets
};

constexpr frame_row FRAME_WORDS[] = {
    {"receive_error", "RX_FRAME_RECEIVE_ERROR\n", "GetErrorFrame", MRVL_RFT_FRError, 0x10000},
    {"receive_good", "RX_FRAME_RECEIVE_GOOD\n", "GetGoodFrame", MRVL_RFT_FRGood, 0x20000},
    {"read_rssi", "RX_READ_RSSI\n", "Read Rssi", MRVL_RFT_Get_RSSI, 0x30000},
};

int rova_cmd_wifi_rx_frame(uint32_t cmd_type, cmd_data *record)
{
    const frame_row *row = rova_cmd_find_named(FRAME_WORDS, record);
    if (row == nullptr)
        return rova_cmd_resp_ex(cmd_type, 1, ROVA_PTP_RESP_NUMBER, 0, 0, nullptr);
    ROVA_LOG_RADIO("%s", row->told);
    const int reading = row->read();
    ROVA_LOG_RADIO("%s ret=%d\n", row->label, reading);
    const uint32_t number = static_cast<uint32_t>(reading) + row->mark;
    return rova_cmd_resp_ex(cmd_type, 0, ROVA_PTP_RESP_NUMBER, number, 0, nullptr);
}

// ------------------------------------------------------------------------- words that only log

struct told_row {
    const char *name;
    const char *told;
};

constexpr told_row SLEEP_WORDS[] = {
    {"enter_sleep", "SLEEP_ENTER_SLEEP\n"},
    {"wake_sleep", "SLEEP_WAKEUP\n"},
};

struct word_row {
    const char *name;
};

constexpr word_row MIMO_WORDS[] = {{"all"}, {"ant_1"}, {"ant_2"}};

int rova_cmd_wifi_sleep(uint32_t cmd_type, cmd_data *record)
{
    const told_row *row = rova_cmd_find_named(SLEEP_WORDS, record);
    if (row != nullptr)
        ROVA_LOG_RADIO("%s", row->told);
    return rova_cmd_answer(cmd_type, row != nullptr);
}

int rova_cmd_wifi_mimo(uint32_t cmd_type, cmd_data *record)
{
    const word_row *row = rova_cmd_find_named(MIMO_WORDS, record);
    if (row != nullptr)
        ROVA_LOG_RADIO("MIMO_OPT type = %d\n", rova_cmd_number(rova_cmd_param(record, 2)));
    return rova_cmd_answer(cmd_type, row != nullptr);
}

// ------------------------------------------------------------------------- networks

struct access_row {
    const char *name;
    const char *told;
    bool tells_ssid;
    const char *label;
    int (*join)(const char *ssid);
};

constexpr access_row ACCESS_WORDS[] = {
    {"access_ssid", "AP_ACCESS_ACCESS_SSID: ", true, "JoinWithSSID", MRVL_RFT_SetSSID},
    {"access_ssid_2g", "AP_ACCESS_ACCESS_SSID_2G", false, "JoinWithSSID2G", MRVL_RFT_SetSSID_24G},
    {"access_ssid_5g", "AP_ACCESS_ACCESS_SSID_5G", false, "JoinWithSSID5G", MRVL_RFT_SetSSID_5G},
};

int rova_cmd_wifi_ap_access(uint32_t cmd_type, cmd_data *record)
{
    const access_row *row = rova_cmd_find_named(ACCESS_WORDS, record);
    if (row == nullptr || record->p_count < 3)
        return rova_cmd_ng(cmd_type);
    const char *ssid = record->p[2];
    ROVA_LOG_RADIO("%s%s\n", row->told, row->tells_ssid ? ssid : "");
    return rova_cmd_answer(cmd_type, took_checked(__func__, row->label, row->join(ssid)));
}

constexpr int SCAN_ATTEMPTS = 5;
constexpr useconds_t SCAN_PAUSE_US = 200000;
constexpr std::size_t LINE_LENGTH = 1024;
constexpr useconds_t LINE_PAUSE_US = 10000;
constexpr std::size_t AP_LENGTH = 128;
constexpr std::size_t APS_SHOWN = 3;
constexpr int LINES_WITHOUT_AP = 11;

// The first lines of access points: one more than is shown at most.
std::vector<std::string> read_aps(std::FILE *list)
{
    std::vector<std::string> aps;
    char line[LINE_LENGTH + 1];
    for (int lines = 1; aps.size() <= APS_SHOWN && rova_check_stop() == 0 &&
                        std::fgets(line, sizeof(line), list) != nullptr;
         lines++) {
        if (std::strstr(line, "ESSID") != nullptr)
            aps.emplace_back(line, strnlen(line, AP_LENGTH));
        sys_usleep(LINE_PAUSE_US);
        if (aps.empty() && lines >= LINES_WITHOUT_AP) {
            ROVA_LOG_ERR("INVALID ap.list");
            rova_osd_printf(OSD_ROW, "INVALID ap.list");
            break;
        }
    }
    return aps;
}

void show_aps(const std::vector<std::string> &aps)
{
    const int count = static_cast<int>(aps.size());
    ROVA_LOG_RADIO("WiFi SCAN : %d APs", count);
    rova_osd_printf(OSD_ROW, "WiFi SCAN : %d APs", count);
    for (std::size_t at = 0; at < aps.size() && at < APS_SHOWN; at++)
        rova_osd_printf(OSD_ROW + 1 + static_cast<int>(at), "%s", aps[at].c_str());
}

// The opened list of a new scan; none when it failed.
rova_file scan_list()
{
    if (!run_script(SCAN_SCRIPT)) {
        ROVA_LOG_ERR("Failed to excute iwlist");
        rova_osd_printf(OSD_ROW, "WiFi SCAN FAILED");
        return nullptr;
    }
    ROVA_LOG_RADIO("Successfully excueted iwlist");
    rova_file list(sys_fopen(AP_LIST, "r"));
    if (!list) {
        ROVA_LOG_ERR("Failed to open ap.list");
        rova_osd_printf(OSD_ROW, "OPEN AP.LIST FAILED");
    }
    return list;
}

// Whether there were access points.  Only a list without any makes `*result` 1.
bool scan_once(int retry, uint32_t *result)
{
    const rova_file list = scan_list();
    if (!list)
        return false;
    const std::vector<std::string> aps = read_aps(list.get());
    if (!aps.empty()) {
        show_aps(aps);
        return true;
    }
    ROVA_LOG_ERR("WiFi SCAN : AP NOT FOUND(retry:%d)", retry);
    rova_osd_printf(OSD_ROW, "WiFi SCAN : AP NOT FOUND.. retry");
    *result = 1;
    return false;
}

int rova_cmd_wifi_scan(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count == 0)
        return rova_cmd_ng(cmd_type);
    uint32_t result = 0;
    for (int retry = SCAN_ATTEMPTS - 1; retry >= 0; retry--) {
        if (scan_once(retry, &result))
            return rova_cmd_ok(cmd_type);
        if (rova_check_stop() != 0)
            break;
        sys_usleep(SCAN_PAUSE_US);
    }
    return rova_cmd_resp(cmd_type, result, nullptr);
}

// ------------------------------------------------------------------------- address

bool write_mac_file(const std::string &text)
{
    const bool written = rova_driver_file_write(MAC_FILE, text);
    if (written)
        ROVA_LOG_RADIO("mac_address [%s]\n", text.c_str());
    return written;
}

constexpr rova_mac_addr WIFI_MAC = {
    .family = "wifi",
    .radio = "WiFi",
    .item = ADJ_ID_WIFI_MAC_ADDR,
    .write_file = write_mac_file,
    .csv = "wifi_addr.csv",
    .csv_heading = "WiFi address",
};

int rova_cmd_wifi_addr_set(uint32_t cmd_type, cmd_data *record)
{
    return rova_mac_addr_set(WIFI_MAC, cmd_type, record);
}

int rova_cmd_wifi_addr_get(uint32_t cmd_type, cmd_data *record)
{
    return rova_mac_addr_get(WIFI_MAC, cmd_type, record);
}

// ------------------------------------------------------------------------- country

constexpr uint32_t CODE_LENGTH = 2;

int set_code(const char *function, uint64_t item, uint32_t cmd_type, const cmd_data *record)
{
    if (record->p_count < 2)
        return rova_cmd_ng(cmd_type);
    const bool stored = rova_set_adjdata(item, record->p[1], CODE_LENGTH, 1) != 0;
    if (stored)
        ROVA_LOG_RADIO("%s : OK [%s]\n", function, record->p[1]);
    return rova_cmd_answer(cmd_type, stored);
}

int rova_cmd_wifi_set_country_channel(uint32_t cmd_type, cmd_data *record)
{
    return set_code(__func__, ADJ_ID_WIFI_COUNTRY_CH, cmd_type, record);
}

int rova_cmd_wifi_set_sns_gateway(uint32_t cmd_type, cmd_data *record)
{
    return set_code(__func__, ADJ_ID_WIFI_SNS_GATEWAY, cmd_type, record);
}

int rova_cmd_wifi_set_country(uint32_t cmd_type, cmd_data *record)
{
    return set_code(__func__, ADJ_ID_WIFI_COUNTRY_CODE, cmd_type, record);
}

int refuse_5g(uint32_t cmd_type, const char *error, const char *text)
{
    ROVA_LOG_ERR("SET C.CH 5GHz: %s[%s]", error, text);
    rova_osd_printf(OSD_ROW, "SET C.CH 5GHz: %s[%s]", error, text);
    return rova_cmd_ng(cmd_type);
}

bool is_capital(char letter)
{
    return letter >= 'A' && letter <= 'Z';
}

bool is_region(const char *text)
{
    return std::strcmp(text, "00") == 0 || (is_capital(text[0]) && is_capital(text[1]));
}

bool write_region_file(const char *text)
{
    const rova_file file = rova_driver_file_open(REGION_FILE);
    if (!file)
        return false;
    ROVA_LOG_RADIO("country code [%s]\n", text);
    return rova_driver_file_put(file, REGION_FILE, text);
}

int rova_cmd_wifi_set_country_channel_5g(uint32_t cmd_type, cmd_data *record)
{
    if (record->p_count < 2) {
        rova_osd_printf(OSD_ROW, "SET C.CH 5GHz: ERROR: no param");
        return rova_cmd_ng(cmd_type);
    }
    const char *text = record->p[1];
    ROVA_LOG_RADIO("%s : SET Country.CH 5GHz: [%s]", __func__, text);
    if (std::strlen(text) != CODE_LENGTH)
        return refuse_5g(cmd_type, "ERROR: wrong length", text);
    if (!is_region(text))
        return refuse_5g(cmd_type, "ERROR: wrong data", text);
    if (rova_set_adjdata(ADJ_ID_WIFI_COUNTRY_CODE_5G, text, CODE_LENGTH, 1) == 0)
        return refuse_5g(cmd_type, " ERROR: failed", text);
    if (!write_region_file(text))
        return refuse_5g(cmd_type, "ERROR2", text);
    ROVA_LOG_RADIO("SET C.CH 5GHz:  OK[%s]", text);
    rova_osd_printf(OSD_ROW, "SET C.CH 5GHz:  OK[%s]", text);
    return rova_cmd_ok(cmd_type);
}

constexpr rova_cmd_entry wifi_table[] = {
    // clang-format off
    {"setting",                rova_cmd_wifi_setting},
    {"control_dut",            rova_cmd_wifi_control_dut},
    {"tx",                     rova_cmd_wifi_tx},
    {"rx",                     rova_cmd_wifi_rx},
    {"rx_frame",               rova_cmd_wifi_rx_frame},
    {"sleep",                  rova_cmd_wifi_sleep},
    {"ap_access",              rova_cmd_wifi_ap_access},
    {"mimo",                   rova_cmd_wifi_mimo},
    {"addr_set",               rova_cmd_wifi_addr_set},
    {"addr_get",               rova_cmd_wifi_addr_get},
    {"scan",                   rova_cmd_wifi_scan},
    {"set_country_channel",    rova_cmd_wifi_set_country_channel},
    {"set_country_channel_5g", rova_cmd_wifi_set_country_channel_5g},
    {"set_sns_gateway",        rova_cmd_wifi_set_sns_gateway},
    {"set_country",            rova_cmd_wifi_set_country},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(wifi_table));

} // namespace

int rova_cmd_wifi(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_run_sub(wifi_table, "wifi", cmd_type, record);
}
