#include "command/rova_cmd_handler.h"
#include "command/rova_cmd_util.h"
#include "command/rova_ptp_resp.h"
#include "command/wifi/rova_cmd_wireless.h"
#include "command/wifi/rova_connectivity_bluetooth.h"
#include "command/wifi/rova_driver_file.h"
#include "command/wifi/rova_mac_addr.h"
#include "common/rova_adjdata_items.h"

#include <cstring>
#include <platform/sys.h>
#include <span>
#include <utility>

namespace
{

constexpr std::size_t SCRATCH_SIZE = 526;
constexpr char MAC_FILE[] = "/opt/etc/btmac.info";

// ------------------------------------------------------------------------- adapter and tests

struct mode_row {
    const char *name;
    int command;
    int mode;
};

constexpr mode_row ACTIVATION_MODES[] = {{"normal", 0, 0}};
constexpr mode_row DEACTIVATION_MODES[] = {
    {"normal", 2, 0},
    {"rf_test", 2, 1},
    {"audio_test", 2, 2},
};
constexpr mode_row RF_TEST_MODES[] = {{"activation", 3, 0}};
constexpr mode_row AUDIO_TEST_MODES[] = {{"activation", 4, 0}};

bool succeeds(int command, int mode)
{
    char scratch[SCRATCH_SIZE] = {};
    return process_FCBTTEST(command, mode, scratch) == 0;
}

int run_mode(std::span<const mode_row> modes, uint32_t cmd_type, const cmd_data *record)
{
    const mode_row *row = rova_cmd_find_named(modes, record);
    return rova_cmd_answer(cmd_type, row != nullptr && succeeds(row->command, row->mode));
}

int rova_cmd_bluetooth_activation(uint32_t cmd_type, cmd_data *record)
{
    ROVA_LOG_RADIO("rova_cmd_bluetooth_activation\n");
    return run_mode(ACTIVATION_MODES, cmd_type, record);
}

int rova_cmd_bluetooth_deactivation(uint32_t cmd_type, cmd_data *record)
{
    return run_mode(DEACTIVATION_MODES, cmd_type, record);
}

int rova_cmd_bluetooth_rf_test(uint32_t cmd_type, cmd_data *record)
{
    return run_mode(RF_TEST_MODES, cmd_type, record);
}

int rova_cmd_bluetooth_audio_test(uint32_t cmd_type, cmd_data *record)
{
    return run_mode(AUDIO_TEST_MODES, cmd_type, record);
}

// ------------------------------------------------------------------------- search

constexpr uint32_t DEVICES_FOUND = 0x40000;

int answer_search(uint32_t cmd_type, uint32_t result, uint32_t value)
{
    return rova_cmd_resp_ex(cmd_type, result, ROVA_PTP_RESP_NUMBER, value, 0, nullptr);
}

int search_with_ack(uint32_t cmd_type)
{
    if (!succeeds(1, 1)) {
        ROVA_LOG_ERR("search_with_ack failed\n");
        return answer_search(cmd_type, 1, 0);
    }
    ROVA_LOG_RADIO("search_with_ack is success with %d devices found\n", g_dev_cnt);
    ROVA_LOG_RADIO("search_with_ack is success with 0X%x devices found\n",
                   static_cast<unsigned int>(g_dev_cnt));
    const auto count = static_cast<uint32_t>(std::exchange(g_dev_cnt, 0));
    return answer_search(cmd_type, 0, count + DEVICES_FOUND);
}

int rova_cmd_bluetooth_search(uint32_t cmd_type, cmd_data *record)
{
    const char *word = rova_cmd_param(record, 1);
    if (*word == '\0')
        return answer_search(cmd_type, 1, 0);
    if (std::strcmp(word, "search") == 0)
        return answer_search(cmd_type, succeeds(1, 0) ? 0 : 1, 0);
    if (std::strcmp(word, "search_with_ack") == 0)
        return search_with_ack(cmd_type);
    return answer_search(cmd_type, 0, 0);
}

// ------------------------------------------------------------------------- low energy

struct word_row {
    const char *name;
};

constexpr word_row LE_TEST_1_WORDS[] = {
    {"tx_power_ch_0"}, {"tx_power_ch_19"}, {"tx_power_ch_39"}, {"tx_mod_ch_0"}, {"tx_mod_ch_19"},
    {"tx_mod_ch_39"},  {"tx_aa_ch_0"},     {"tx_aa_ch_19"},    {"tx_aa_ch_39"},
};

constexpr word_row LE_TEST_2_WORDS[] = {
    {"tx_carrier_feq_ch_0"},
    {"tx_carrier_feq_ch_19"},
    {"tx_carrier_feq_ch_39"},
    {"tx_inband_emission_ch_2"},
    {"tx_inband_emission_ch_19"},
    {"tx_inband_emission_ch_37"},
    {"rx_ch_0"},
    {"rx_ch_19"},
    {"rx_ch_39"},
    {"rx_tx_test_end"},
};

// The words are kept; the radio is not touched.
int rova_cmd_bluetooth_le_test_1(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type, rova_cmd_find_named(LE_TEST_1_WORDS, record) != nullptr);
}

int rova_cmd_bluetooth_le_test_2(uint32_t cmd_type, cmd_data *record)
{
    return rova_cmd_answer(cmd_type, rova_cmd_find_named(LE_TEST_2_WORDS, record) != nullptr);
}

// ------------------------------------------------------------------------- address

bool __set_bt_address(const std::string &text)
{
    for (std::size_t at = 0; at < text.size(); at++)
        if (at % 3 != 2) // the colons between its pairs are not the address's own
            ROVA_LOG_RADIO("%c", text[at]);
    const bool written = rova_driver_file_write(MAC_FILE, text);
    if (written)
        ROVA_LOG_RADIO("mac_address : %s\n", text.c_str());
    return written;
}

bool set_bt_address(const std::string &text)
{
    const bool written = __set_bt_address(text);
    if (written)
        sys_sync();
    return written;
}

constexpr rova_mac_addr BT_MAC = {
    .family = "bluetooth",
    .radio = "BT",
    .item = ADJ_ID_BT_MAC_ADDR,
    .write_file = set_bt_address,
    .csv = "bluetooth_addr.csv",
    .csv_heading = "BT address",
};

int rova_cmd_bluetooth_addr_set(uint32_t cmd_type, cmd_data *record)
{
    return rova_mac_addr_set(BT_MAC, cmd_type, record);
}

int rova_cmd_bluetooth_addr_get(uint32_t cmd_type, cmd_data *record)
{
    const std::string raw = rova_mac_addr_read(BT_MAC);
    if (record->p_count > 0)
        ROVA_LOG_RADIO("BT MAC in NAND RAW [%d]= %s\n", static_cast<int>(raw.size()), raw.c_str());
    return rova_mac_addr_get(BT_MAC, cmd_type, record);
}

constexpr rova_cmd_entry bluetooth_table[] = {
    // clang-format off
    {"activation",   rova_cmd_bluetooth_activation},
    {"search",       rova_cmd_bluetooth_search},
    {"deactivation", rova_cmd_bluetooth_deactivation},
    {"rf_test",      rova_cmd_bluetooth_rf_test},
    {"audio_test",   rova_cmd_bluetooth_audio_test},
    {"le_test_1",    rova_cmd_bluetooth_le_test_1},
    {"le_test_2",    rova_cmd_bluetooth_le_test_2},
    {"addr_set",     rova_cmd_bluetooth_addr_set},
    {"addr_get",     rova_cmd_bluetooth_addr_get},
    // clang-format on
};
static_assert(rova_cmd_table_is_sound(bluetooth_table));

} // namespace

int rova_cmd_bluetooth(uint32_t cmd_type, cmd_data *record)
{
    ROVA_LOG_RADIO("rova_cmd_bluetooth\n");
    ROVA_LOG_RADIO("rova_cmd_bluetooth processing 2nd parameter\n");
    return rova_cmd_run_sub(bluetooth_table, "bluetooth", cmd_type, record);
}
