// The radio station: passed by a good camera, and at its line by no other.
#include "tests/e2e/operator.h"
#include "tests/e2e/verdicts.h"

#include "common/rova_util.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

using e2e::ended_at;
using e2e::Line;
using e2e::verdicts;

namespace
{

constexpr char SCRIPT[] = EXAMPLES "/radio.adj";

// A camera at the station, with its surroundings.
class Station
{
public:
    Station()
    {
        line.speed(200);
        radio({"wifi", "access_points", "2.4 -40 station", "5 -50 station"});
        radio({"bluetooth", "devices", "01:23:45:67:89:AD station"});
    }

    // "lose FILE" takes a file from the camera, "spoil FILE" lets nobody run it, all else is
    // vcam's.
    void act(const std::string &action) const
    {
        const std::vector<std::string> words = e2e::words_of(action);
        if (words[0] == "lose")
            line.remove(words[1]);
        else if (words[0] == "spoil")
            std::filesystem::permissions(line.path(words[1]), std::filesystem::perms::owner_read);
        else
            EXPECT_EQ(line.vcam(words).status, 0) << action;
    }

    void act(const std::vector<const char *> &actions) const
    {
        for (const char *action : actions)
            act(std::string(action));
    }

    test::Outcome work(const std::function<void(const std::string &)> &hand) const
    {
        return person.work(SCRIPT, hand);
    }
    test::Outcome work() const
    {
        return work([this](const std::string &what) { person.obey(what); });
    }

    // By vcam radio.
    void radio(std::vector<std::string> words) const
    {
        words.insert(words.begin(), "radio");
        EXPECT_EQ(line.vcam(words).status, 0) << words[1];
    }
    std::string radio(const std::string &name, const std::string &item) const
    {
        return line.vcam({"radio", name, item}).out;
    }

    Line line;
    const e2e::Operator person{line, "grid", "21"};
};

// ------------------------------------------------------------------------- faults

struct fault_row {
    const char *name;
    std::vector<const char *> actions; // before the script begins
    const char *ng;
    int nth = 1; // of the lines that read so
};

const fault_row FAULTS[] = {
    // clang-format off
    // Addresses and countries.
    {"AddressIsNotSaved", {"fault pref_save -1"}, "wifi addr_set 0123456789AB"},
    {"AddressFileIsNotWritten", {"fault sys_fopen 0 --errno EROFS --on .mac.info"},
     "wifi addr_set 0123456789AB"},
    {"BluetoothAddressIsNotSaved", {"fault pref_save -1 --at 2"},
     "bluetooth addr_set 0123456789AC"},
    {"BluetoothAddressFileIsNotWritten", {"fault sys_fopen 0 --errno EROFS --on btmac.info"},
     "bluetooth addr_set 0123456789AC"},
    {"CountryIsNotSaved", {"fault pref_save -1 --at 3"}, "wifi set_country KR"},
    {"GatewayIsNotSaved", {"fault pref_save -1 --at 4"}, "wifi set_sns_gateway 01"},
    {"ChannelsAreNotSaved", {"fault pref_save -1 --at 5"}, "wifi set_country_channel KR"},
    {"ChannelsOf5GHzAreNotSaved", {"fault pref_save -1 --at 6"}, "wifi set_country_channel_5g KR"},
    {"CountryFileIsNotWritten", {"fault sys_fopen 0 --errno EROFS --on wl-regdom.conf"},
     "wifi set_country_channel_5g KR"},

    // NFC.
    {"NfcManagerDoesNotStart", {"fault nfc_manager_initialize -32255"}, "nfc nfc_on"},
    {"NfcDoesNotSwitchOn", {"fault nfc_manager_set_activation -32255"}, "nfc nfc_on"},
    {"NfcStaysOff", {"radio nfc result 1"}, "nfc read_taginfo"},
    {"TagIsMissing", {"lose /opt/etc/nfctag.info"}, "nfc read_taginfo"},
    {"NfcDoesNotSwitchOff", {"fault nfc_manager_set_activation -32255 --at 2"}, "nfc nfc_off"},
    {"NfcManagerDoesNotEnd", {"fault nfc_manager_deinitialize -32255"}, "nfc nfc_off"},
    {"SupportCardIsNotReleased", {"lose /sys/devices/platform/dw_mmc_sdio.0/support_card"},
     "nfc nfc_off"},

    // Bluetooth.
    {"BluetoothHasNoService", {"fault bluetooth_register_callback -1"},
     "bluetooth activation normal"},
    {"AdapterIsNotKnown", {"fault bluetooth_check_adapter -1"}, "bluetooth activation normal"},
    {"AdapterDoesNotStart", {"fault bluetooth_enable_adapter -1"}, "bluetooth activation normal"},
    {"AdapterFails", {"radio bluetooth result 3"}, "bluetooth activation normal"},
    {"CameraStaysHidden", {"fault bluetooth_set_discoverable_mode -1"},
     "bluetooth activation normal"},
    {"SearchDoesNotStart", {"fault bluetooth_start_custom_discovery -1"},
     "bluetooth search search_with_ack"},
    {"RfTestDoesNotRegister", {"fault bluetooth_register_callback -1 --at 3"},
     "bluetooth rf_test activation"},
    {"RfTestDoesNotStart", {"fault bluetooth_enable_adapter -1 --at 2"},
     "bluetooth rf_test activation"},
    {"RfTestDoesNotRegisterItsEnd", {"fault bluetooth_register_callback -1 --at 4"},
     "bluetooth deactivation rf_test"},
    {"AdapterDoesNotStartAgain", {"fault bluetooth_enable_adapter -1 --at 3"},
     "bluetooth activation normal", 2},
    {"AdapterDoesNotStop", {"fault bluetooth_disable_adapter -1"},
     "bluetooth deactivation normal"},

    // WLAN.
    {"WlanScriptIsMissing", {"lose /usr/bin/wlan.sh"}, "wifi control_dut open_dut"},
    {"WlanScriptMayNotBeRun", {"spoil /usr/bin/wlan.sh"}, "wifi control_dut open_dut"},
    {"RadioDoesNotOpen", {"fault MRVL_RFT_OpenDUT 7"}, "wifi control_dut open_dut"},
    {"BandIsRefused", {"fault MRVL_RFT_SetBandAG 7"}, "wifi tx start_tx"},
    {"BandWidthIsRefused", {"fault MRVL_RFT_SetChannelBw 7"}, "wifi tx start_tx"},
    {"ChannelIsRefused", {"fault MRVL_RFT_Channel 7"}, "wifi tx start_tx"},
    {"DataRateIsRefused", {"fault MRVL_RFT_TxDataRate 7"}, "wifi tx start_tx"},
    {"PreambleIsRefused", {"fault MRVL_RFT_SetPreamble 7"}, "wifi tx start_tx"},
    {"GainIsRefused", {"fault MRVL_RFT_TxGain 7"}, "wifi tx start_tx"},
    {"PayloadIsRefused", {"fault MRVL_RFT_TxPayloadLength 7"}, "wifi tx start_tx"},
    {"BurstIsRefused", {"fault MRVL_RFT_TxBurstInterval 7"}, "wifi tx start_tx"},
    {"RadioDoesNotTransmit", {"fault MRVL_RFT_TxStart 7"}, "wifi tx start_tx"},
    {"RadioTransmitsForEver", {"fault MRVL_RFT_TxStop 7"}, "wifi tx stop_tx"},
    {"NextChannelIsRefused", {"fault MRVL_RFT_Channel 7 --at 2"}, "wifi rx start_rx"},
    {"RadioDoesNotReceive", {"fault MRVL_RFT_RxStart 7"}, "wifi rx start_rx"},
    {"RadioReceivesForEver", {"fault MRVL_RFT_RxStop 7"}, "wifi rx stop_rx"},
    {"AccessPointIsNotJoined", {"fault MRVL_RFT_SetSSID 7"}, "wifi ap_access access_ssid station"},
    {"NoAccessPointIsInRange", {"radio wifi access_points none"},
     "wifi ap_access access_ssid station"},
    {"BandOf2GHzIsDeaf", {"fault MRVL_RFT_SetSSID_24G 7"},
     "wifi ap_access access_ssid_2g station"},
    {"BandOf5GHzIsDeaf", {"fault MRVL_RFT_SetSSID_5G 7"}, "wifi ap_access access_ssid_5g station"},
    {"RadioStaysOpen", {"fault MRVL_RFT_CloseDUT 7"}, "wifi control_dut close_dut"},
    {"ScanFindsNothing", {"lose /sdcard/scan.sh", "attr set /sdcard/ap.list nothing"}, "wifi scan"},
    {"StationDriverStays", {"fault MRVL_RFT_CloseDUT 7 --at 2"}, "wifi control_dut wifi_off"},
    // clang-format on
};

void PrintTo(const fault_row &row, std::ostream *out)
{
    *out << row.name;
}

class RadioFault : public testing::TestWithParam<fault_row>
{
};

// ------------------------------------------------------------------------- silence

// An event that never comes: only the stop key ends the wait for it.
struct silence_row {
    const char *name;
    const char *action;
    const char *begun; // logged when the wait begins
    const char *ng;
};

constexpr silence_row SILENCES[] = {
    {"Nfc", "radio nfc delay never", "nfc_manager_set_activation - Operation succeeded!",
     "nfc nfc_on"},
    {"Bluetooth", "radio bluetooth delay never", "Bluetooth Activation",
     "bluetooth activation normal"},
    {"RfTest", "lose /usr/etc/bluetooth/bt-edutm-off.sh", "child is terminated",
     "bluetooth rf_test activation"},
};

void PrintTo(const silence_row &row, std::ostream *out)
{
    *out << row.name;
}

class RadioSilence : public testing::TestWithParam<silence_row>
{
};

const auto row_name = [](const auto &info) { return std::string(info.param.name); };

// The daemon may be gone before vcam has read the last lines of it.
void expect_verdicts(const test::Outcome &run, e2e::Lines expected, std::size_t least)
{
    const e2e::Lines told = verdicts(run.out);
    ASSERT_LE(told.size(), expected.size());
    EXPECT_GE(told.size(), least);
    expected.resize(told.size());
    EXPECT_EQ(told, expected) << run.out;
}

} // namespace

TEST(RadioStation, IsPassedByAGoodCamera)
{
    const Station station;
    const auto run = station.work();
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(verdicts(run.out), ended_at(SCRIPT, "osd grid_text 21 done", "OK")) << run.out;

    const Line &line = station.line;
    EXPECT_EQ(line.read("/opt/etc/.mac.info"), "01:23:45:67:89:AB");
    EXPECT_EQ(line.read("/opt/etc/btmac.info"), "01:23:45:67:89:AC");
    EXPECT_EQ(line.read("/opt/etc/wl-regdom.conf"), "KR");
    for (const char *table : {"wifi_addr.csv", "bluetooth_addr.csv", "nfc_tag.csv"})
        EXPECT_TRUE(line.exists(std::string("/sdcard/") + table)) << table;
    EXPECT_TRUE(line.tells("search_with_ack is success with 1 devices found"));
    EXPECT_TRUE(line.tells("WiFi SCAN : 2 APs"));
    EXPECT_EQ(station.radio("wifi", "channel"), "11\n");
    EXPECT_EQ(station.radio("wifi", "tx_gain"), "14\n");
    EXPECT_EQ(station.radio("wifi", "ssid"), "station\n");
    EXPECT_EQ(station.radio("wifi", "driver"), "none\n");
    for (const char *radio :
         {"nfc chip", "nfc manager", "bluetooth adapter", "bluetooth test_mode"})
        EXPECT_EQ(station.radio(e2e::words_of(radio)[0], e2e::words_of(radio)[1]), "0\n") << radio;
}

TEST_P(RadioFault, IsNgAtItsLineAndAllBehindItAreSkipped)
{
    const fault_row &fault = GetParam();
    const Station station;
    station.act(fault.actions);
    const auto run = station.work();
    EXPECT_EQ(run.status, 1) << run.out << run.err;
    EXPECT_EQ(verdicts(run.out), ended_at(SCRIPT, fault.ng, "NG", fault.nth)) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Each, RadioFault, testing::ValuesIn(FAULTS), row_name);

TEST_P(RadioSilence, IsNgOnceTheStopKeyEndsIt)
{
    const silence_row &silence = GetParam();
    const Station station;
    station.act(std::string(silence.action));
    const Line &line = station.line;
    test::Process run({VCAM_PROGRAM, "-C", line.root().string(), "run", SCRIPT}, "",
                      line.path("/tmp/station"));
    const e2e::Lines expected = ended_at(SCRIPT, silence.ng, "NG");
    const std::size_t begun = e2e::count_ok(expected) + 1;
    ASSERT_TRUE(line.hears("th cmd recieved", static_cast<int>(begun)));
    ASSERT_TRUE(line.hears(silence.begun));
    line.key(ROVA_KEY_STOP_CMD, 1);
    const int status = run.wait();
    EXPECT_NE(status, 0);
    EXPECT_TRUE(line.tells("stopped while waiting for an event"));
    expect_verdicts({status, line.read("/tmp/station"), ""}, expected, begun);
}

INSTANTIATE_TEST_SUITE_P(Each, RadioSilence, testing::ValuesIn(SILENCES), row_name);

TEST(RadioStation, WaitsForACardUntilTheStopKey)
{
    const Station station;
    const e2e::Lines expected = ended_at(SCRIPT, "nfc wait in", "OK");
    const std::size_t begun = e2e::count_ok(expected);
    const auto run = station.work([&](const std::string &what) {
        if (what != "plug nfc")
            return;
        EXPECT_TRUE(station.line.hears("th cmd recieved", static_cast<int>(begun)));
        station.line.key(ROVA_KEY_STOP_CMD, 1);
    });
    EXPECT_NE(run.status, 0) << run.out << run.err;
    expect_verdicts(run, expected, begun);
}

// What becomes of the script does not count, and a list that cannot be had is no bad list.
TEST(RadioStation, IsPassedWithoutTwoOfItsScripts)
{
    const Station station;
    for (const char *script : {"lose /usr/etc/bluetooth/bt-edutm-on.sh", "lose /sdcard/scan.sh"})
        station.act(std::string(script));
    const auto run = station.work();
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_TRUE(station.line.tells("Failed to open ap.list"));
}
