#include "common/rova_adjdata_handler.h"
#include "tests/command/wifi/wifi_test.h"
#include "tests/support/text.h"

using namespace test;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace
{

constexpr char MAC_FILE[] = "/opt/etc/.mac.info";
constexpr char REGION_FILE[] = "/opt/etc/wl-regdom.conf";

} // namespace

// ------------------------------------------------------------------------- address

TEST_F(Wifi, AddrSetWritesItemAndFile)
{
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(OK));
    EXPECT_EQ(camera.read(MAC_FILE), "01:23:45:67:89:AB");
    EXPECT_EQ(std::string(static_cast<const char *>(rova_get_adjdata(ADJ_ID_WIFI_MAC_ADDR)), 12),
              "0123456789AB");
    EXPECT_EQ(camera.calls("pref_save").size(), 1U);
    for (const char *message :
         {"rova_cmd_wifi_addr_set : mac address [0123456789AB]", "mac_address [01:23:45:67:89:AB]",
          "SET WiFi MAC: OK[0123456789AB]"})
        EXPECT_TRUE(camera.logged(message)) << message;
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"SET WiFi MAC: OK[0123456789AB]\"]"));
}

TEST_F(Wifi, AddrSetTakesAnyTwelveCharacters)
{
    EXPECT_THAT(run("wifi addr_set zz-not-hex!!"), EndsWith(OK));
    EXPECT_EQ(camera.read(MAC_FILE), "zz:-n:ot:-h:ex:!!");
}

TEST_F(Wifi, AddrSetChecksItsWord)
{
    EXPECT_EQ(run("wifi addr_set"), NG);
    EXPECT_EQ(run("wifi addr_set 0123456789A"), NG);
    EXPECT_EQ(run("wifi addr_set 01:23:45:67:89:AB"), NG);
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR1[0123456789A]"));
    EXPECT_FALSE(camera.logged("ERROR0"));
    EXPECT_THAT(osd(),
                ElementsAre("factory_osd_text_set[2,\"SET WiFi MAC: ERROR0[no param]\"]",
                            "factory_osd_text_set[2,\"SET WiFi MAC: ERROR1[0123456789A]\"]",
                            "factory_osd_text_set[2,\"SET WiFi MAC: ERROR1[01:23:45:67:89:AB]\"]"));
    EXPECT_FALSE(camera.exists(MAC_FILE));
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_F(Wifi, AddrSetThatCannotSaveWritesNoFile)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR3[0123456789AB]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET WiFi MAC: ERROR3[0123456789AB]\"]");
    EXPECT_FALSE(camera.exists(MAC_FILE));
}

TEST_F(Wifi, AddrSetWithoutItsFileIsRefused)
{
    camera.fault("sys_fopen", "0 errno EACCES on .mac.info");
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("file open failed"));
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR2[0123456789AB]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET WiFi MAC: ERROR2[0123456789AB]\"]");
    EXPECT_FALSE(camera.logged("mac_address ["));
}

TEST_F(Wifi, FilesOnAFullDiskAreRefused)
{
    for (const char *path : {MAC_FILE, REGION_FILE})
        std::filesystem::create_symlink("/dev/full", camera.path(path));
    EXPECT_THAT(run("wifi addr_set 0123456789AB"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("failed to write /opt/etc/.mac.info (No space left on device)"));
    EXPECT_TRUE(camera.logged("SET WiFi MAC: ERROR2[0123456789AB]"));
    new_messages();
    EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(NG));
    EXPECT_THAT(new_messages(),
                testing::IsSupersetOf({"country code [KR]", "SET C.CH 5GHz: ERROR2[KR]"}));
}

TEST_F(Wifi, AddrGetTellsTheAddress)
{
    run("wifi addr_set 0123456789AB");
    new_messages();
    EXPECT_THAT(run("wifi addr_get"), EndsWith(OK));
    EXPECT_THAT(new_messages(), AllOf(Contains("WiFi MAC in NAND [12]= 0123456789AB"),
                                      Contains("GET WiFi MAC: OK[12]= 01:23:45:67:89:AB")));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"GET WiFi MAC: OK[01:23:45:67:89:AB]\"]");
    EXPECT_THAT(lines_of(camera.read("/sdcard/wifi_addr.csv")),
                ElementsAre("Index,CIS S/N,WiFi address\r", EndsWith(",0123456789AB\r")));
}

TEST_F(Wifi, AddrGetSendsItsFileToThePc)
{
    camera.write("/sdcard/info.tgw", "");
    run("wifi addr_set 0123456789AB");
    EXPECT_THAT(run("wifi addr_get", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/wifi_addr.csv");
    EXPECT_THAT(camera.read("/tmp/wifi_addr.csv"), HasSubstr(",0123456789AB\r\n"));
}

TEST_F(Wifi, AddrGetOfAnAddressNeverSetIsRefused)
{
    EXPECT_THAT(run("wifi addr_get"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("WiFi MAC in NAND [0]= "));
    EXPECT_TRUE(camera.logged("GET WiFi MAC: ERROR"));
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"GET WiFi MAC: ERROR[]\"]"));
    EXPECT_EQ(camera.read("/sdcard/wifi_addr.csv"), "Index,CIS S/N,WiFi address\r\n");
    camera.write("/sdcard/info.tgw", "");
    EXPECT_THAT(run("wifi addr_get", ROVA_CMD_PTP),
                EndsWith("resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/wifi_addr.csv");
}

TEST_F(Wifi, AddrGetOfAnUnreadableAddressWithoutACardSaysNothingOfItsTable)
{
    camera.fault("pref_get_addr", "0");
    camera.remove("/sdcard");
    const std::string told = run("wifi addr_get");
    EXPECT_THAT(told, EndsWith(NG));
    EXPECT_THAT(told, testing::Not(testing::HasSubstr("csv_close")));
    EXPECT_TRUE(camera.logged("WiFi MAC in NAND [0]= "));
}

TEST_F(Wifi, AddrGetOfAnAddressInPartIsRefused)
{
    ASSERT_NE(rova_set_adjdata(ADJ_ID_WIFI_MAC_ADDR, "0123456789A", 12, 1), 0);
    EXPECT_THAT(run("wifi addr_get"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("WiFi MAC in NAND [11]= 0123456789A"));
    EXPECT_THAT(osd(), ElementsAre("factory_osd_text_set[2,\"GET WiFi MAC: ERROR[0123456789A]\"]"));
}

TEST_F(Wifi, AddrGetNeedsAParameterButNoCard)
{
    run("wifi addr_set 0123456789AB");
    camera.remove("/sdcard");
    EXPECT_THAT(run("wifi addr_get"), EndsWith(OK));
    cmd_data record = record_of("wifi addr_get");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG);
}

// ------------------------------------------------------------------------- country

struct Code {
    const char *word;
    uint64_t item;
    uint64_t offset;
};

class WifiCode : public Wifi, public testing::WithParamInterface<Code>
{
protected:
    std::string stored() const
    {
        return std::string(static_cast<const char *>(rova_get_adjdata(GetParam().item)), 2);
    }
    std::string line(const std::string &rest) const
    {
        return std::string("wifi ") + GetParam().word + rest;
    }
};

TEST_P(WifiCode, IsStoredAndSaved)
{
    EXPECT_EQ(GetParam().item, 0x8560000000000000 + GetParam().offset);
    EXPECT_THAT(run(line(" USA")), EndsWith(OK));
    EXPECT_EQ(stored(), "US") << "two characters";
    EXPECT_TRUE(camera.logged(std::string("rova_cmd_wifi_") + GetParam().word + " : OK [USA]"));
    EXPECT_EQ(camera.calls("pref_save").size(), 1U);
    EXPECT_THAT(osd(), IsEmpty());
}

TEST_P(WifiCode, MissingOneIsRefused)
{
    EXPECT_EQ(run(line("")), NG);
    EXPECT_THAT(new_messages(), IsEmpty());
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_P(WifiCode, ThatCannotBeSavedIsRefused)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run(line(" KR")), EndsWith(NG));
    EXPECT_FALSE(camera.logged(" : OK ["));
}

INSTANTIATE_TEST_SUITE_P(Items, WifiCode,
                         testing::Values(Code{"set_country", ADJ_ID_WIFI_COUNTRY_CODE, 125},
                                         Code{"set_sns_gateway", ADJ_ID_WIFI_SNS_GATEWAY, 123},
                                         Code{"set_country_channel", ADJ_ID_WIFI_COUNTRY_CH, 129}));

TEST_F(Wifi, CountryChannel5gWritesItemAndFile)
{
    static_assert(ADJ_ID_WIFI_COUNTRY_CODE_5G == 0x8560000000000000 + 127);
    static_assert(ADJ_ID_WIFI_MAC_ADDR == 0x8560000000000000 + 0x5e);
    for (const char *code : {"KR", "AZ", "ZA", "00"}) {
        EXPECT_THAT(run(std::string("wifi set_country_channel_5g ") + code), EndsWith(OK)) << code;
        EXPECT_EQ(camera.read(REGION_FILE), code);
        const auto *item = static_cast<const char *>(rova_get_adjdata(ADJ_ID_WIFI_COUNTRY_CODE_5G));
        EXPECT_EQ(std::string(item, 2), code);
    }
    for (const char *message : {"rova_cmd_wifi_set_country_channel_5g : SET Country.CH 5GHz: [KR]",
                                "country code [KR]", "SET C.CH 5GHz:  OK[KR]"})
        EXPECT_TRUE(camera.logged(message)) << message;
    EXPECT_EQ(osd().front(), "factory_osd_text_set[2,\"SET C.CH 5GHz:  OK[KR]\"]");
}

TEST_F(Wifi, CountryChannel5gChecksItsWord)
{
    const std::pair<const char *, const char *> words[] = {
        {"USA", "ERROR: wrong length"}, {"U", "ERROR: wrong length"}, {"us", "ERROR: wrong data"},
        {"Us", "ERROR: wrong data"},    {"uS", "ERROR: wrong data"},  {"U0", "ERROR: wrong data"},
        {"0U", "ERROR: wrong data"},    {"01", "ERROR: wrong data"},  {"@A", "ERROR: wrong data"},
        {"A[", "ERROR: wrong data"},
    };
    for (const auto &[word, error] : words) {
        EXPECT_EQ(run(std::string("wifi set_country_channel_5g ") + word), NG) << word;
        const std::string text = std::string("SET C.CH 5GHz: ") + error + "[" + word + "]";
        EXPECT_TRUE(camera.logged(text)) << word;
        EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"" + text + "\"]");
    }
    new_messages();
    EXPECT_EQ(run("wifi set_country_channel_5g"), NG);
    EXPECT_THAT(new_messages(), IsEmpty());
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET C.CH 5GHz: ERROR: no param\"]");
    EXPECT_FALSE(camera.exists(REGION_FILE));
    EXPECT_THAT(camera.calls("pref_save"), IsEmpty());
}

TEST_F(Wifi, CountryChannel5gThatCannotSaveWritesNoFile)
{
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("SET C.CH 5GHz:  ERROR: failed[KR]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET C.CH 5GHz:  ERROR: failed[KR]\"]");
    EXPECT_FALSE(camera.exists(REGION_FILE));
}

TEST_F(Wifi, CountryChannel5gWithoutItsFileIsRefused)
{
    camera.fault("sys_fopen", "0 errno EACCES on wl-regdom.conf");
    EXPECT_THAT(run("wifi set_country_channel_5g KR"), EndsWith(NG));
    EXPECT_TRUE(camera.logged("file open failed"));
    EXPECT_TRUE(camera.logged("SET C.CH 5GHz: ERROR2[KR]"));
    EXPECT_EQ(osd().back(), "factory_osd_text_set[2,\"SET C.CH 5GHz: ERROR2[KR]\"]");
    EXPECT_FALSE(camera.logged("country code ["));
}
