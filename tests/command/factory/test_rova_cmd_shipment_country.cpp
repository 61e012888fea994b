#include "command/factory/rova_cmd_factory.h"
#include "command/rova_cmd_handler.h"
#include "common/rova_adjdata_handler.h"
#include "tests/command/command_test.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <platform/pref.h>

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

namespace fs = std::filesystem;

constexpr char FLASH[] = "/virtual/pref/adj_sys.flash";
constexpr char CARD_CSV[] = "/sdcard/shipment_country.csv";
constexpr char CSV_HEADER[] =
    "Index,CIS S/N,Country,LANG DEF,LANG ADD,WIFI GW,WIFI CH,WIFI 5GHz,WIFI SNS,WIFI TELMAX,"
    "QWERTY_DEF,QWERTY_ADD,AV,AFRICA,SAUDI\r\n";
constexpr char TOLD_DEVICE[] = "device_set_property[4,21,1]";

// The items of the block in the order of writing, and how `shipment_country set` logs each.
struct Item {
    const char *name;
    uint64_t id;
    uint32_t size;
    const char *log;
    int of_korea; // what country 55 gives it
};

constexpr int CODE_KR = 'K' + 256 * 'R';

const std::vector<Item> items = {
    // clang-format off
    {"SHIPPING_COUNTRY", ADJ_ID_SHIPPING_COUNTRY, 2, "0x8560000000000000, size=2, save=0", 55},
    {"LOCAL_MARKET_AFRICA", ADJ_ID_LOCAL_MARKET_AFRICA, 1, "0x8560000000000002, size=1, save=0", 0},
    {"LOCAL_MARKET_SAUDI", ADJ_ID_LOCAL_MARKET_SAUDI, 1, "0x8560000000000003, size=1, save=0", 0},
    {"LANG_DEFAULT", ADJ_ID_LANG_DEFAULT, 2, "0x8560000000000018, size=2, save=0", 1},
    {"LANG_SUB", ADJ_ID_LANG_SUB, 2, "0x856000000000001a, size=2, save=0", 1},
    {"VOUT_DEFAULT", ADJ_ID_VOUT_DEFAULT, 2, "0x856000000000001c, size=2, save=0", 0},
    {"QWERTY_TYPE", ADJ_ID_QWERTY_TYPE, 2, "0x856000000000001e, size=2, save=0", 0},
    {"QWERTY_DEFAULT", ADJ_ID_QWERTY_DEFAULT, 2, "0x8560000000000020, size=2, save=0", 2},
    {"WIFI_INFINITIUM_CERT", ADJ_ID_WIFI_INFINITIUM_CERT, 1, "0x856000000000007a, size=1, save=0", 0},
    {"WIFI_SNS_GATEWAY", ADJ_ID_WIFI_SNS_GATEWAY, 2, "0x856000000000007b, size=2, save=0", 3},
    {"WIFI_COUNTRY_CODE", ADJ_ID_WIFI_COUNTRY_CODE, 2, "0x856000000000007d, size=2, save=0", 1},
    {"WIFI_COUNTRY_CODE_5G", ADJ_ID_WIFI_COUNTRY_CODE_5G, 2, "0x856000000000007f, size=2, save=0", CODE_KR},
    {"WIFI_COUNTRY_CH", ADJ_ID_WIFI_COUNTRY_CH, 2, "0x8560000000000081, size=2, save=1", 13},
    // clang-format on
};

int value(const Item &item)
{
    return rova_adjdata_number(rova_get_adjdata(item.id), item.size);
}

// All bytes of all items of the block become 0x11.
constexpr int FILLED[] = {0, 0x11, 0x1111};

void fill_block()
{
    for (const Item &item : items)
        ASSERT_EQ(rova_set_adjdata(item.id, "\x11\x11", item.size, 0), 1);
}

void store(uint64_t id, int number, uint32_t size = 2)
{
    ASSERT_EQ(rova_set_adjdata(id, &number, size, 0), 1);
}

std::string row(const std::string &text)
{
    return std::string(CSV_HEADER) + "1,0," + text + "\r\n";
}

} // namespace

class ShipmentCountry : public CommandTest
{
protected:
    void expect_refused(const std::string &id)
    {
        EXPECT_EQ(run("shipment_country set " + id), NG) << id;
        EXPECT_EQ(run("shipment_country set " + id, ROVA_CMD_PTP), PTP_NG) << id;
        for (const Item &item : items)
            EXPECT_EQ(value(item), 0) << item.name << " by " << id;
        EXPECT_THAT(told({"pref_save", "device_set_property"}), IsEmpty());
    }
};

// ------------------------------------------------------------------------- set

TEST_F(ShipmentCountry, SetWritesTheItemsInOrderAndSavesWithTheLast)
{
    std::string expected;
    for (const Item &item : items)
        expected += std::string("set_adjdata: ") + item.log + ", " + item.name + ", OK \n";
    EXPECT_EQ(run("shipment_country set 55"), expected + OK);
    for (const Item &item : items)
        EXPECT_EQ(value(item), item.of_korea) << item.name;
    EXPECT_THAT(told({"pref_save", "device_set_property"}),
                ElementsAre("pref_save[4]", TOLD_DEVICE));
}

TEST_F(ShipmentCountry, SetSurvivesThePowerCut)
{
    run("SHIPMENT_COUNTRY Set 120");
    std::string data = camera.read(FLASH).substr(PREF_HEADER_SIZE);
    EXPECT_EQ(data.substr(0, 4), std::string("\170\0\0\0", 4));
    EXPECT_EQ(data.substr(0x18, 10), std::string("\7\0\0\0\0\0\0\0\5\0", 10));
    EXPECT_EQ(data.substr(0x7a, 9), std::string("\0\3\0\0\0TW\13\0", 9));
}

TEST_F(ShipmentCountry, SetLeavesAllOtherItemsAlone)
{
    auto *data = static_cast<char *>(rova_get_adjdata(ADJ_ID_SHIPPING_COUNTRY));
    std::fill_n(data, sizeof(adj_sys_data), '\x7f');
    run("shipment_country set 55");
    std::string after(data, sizeof(adj_sys_data));
    for (const Item &item : items)
        after.replace(static_cast<uint32_t>(item.id), item.size, item.size, '\x7f');
    EXPECT_EQ(after, std::string(sizeof(adj_sys_data), '\x7f'));
}

TEST_F(ShipmentCountry, SetOverwritesWhatWasThere)
{
    fill_block();
    EXPECT_TRUE(run("shipment_country set 55", ROVA_CMD_PTP).ends_with(PTP_OK));
    for (const Item &item : items)
        EXPECT_EQ(value(item), item.of_korea) << item.name;
}

TEST_F(ShipmentCountry, SetOf142WritesARowOfMostlyZero)
{
    fill_block();
    EXPECT_TRUE(run("shipment_country set 142").ends_with(OK));
    std::vector<int> values;
    for (const Item &item : items)
        values.push_back(value(item));
    EXPECT_THAT(values, ElementsAre(142, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, '0' + 256 * '0', 13));
}

TEST_F(ShipmentCountry, SetOf0IsACountryLikeAnother)
{
    EXPECT_TRUE(run("shipment_country set 0").ends_with(OK));
    EXPECT_EQ(rova_adjdata_number(rova_get_adjdata(ADJ_ID_LANG_SUB), 2), 255);
}

TEST_F(ShipmentCountry, SetWithoutANumberOrWithAWordIsCountry0)
{
    run("shipment_country set 55");
    EXPECT_TRUE(run("shipment_country set").ends_with(OK));
    EXPECT_EQ(value(items[0]), 0);
    run("shipment_country set 55");
    EXPECT_TRUE(run("shipment_country set korea").ends_with(OK));
    EXPECT_EQ(value(items[0]), 0);
}

TEST_F(ShipmentCountry, SetWithoutAnyParameterIsNgWithoutAMessage)
{
    cmd_data record = record_of("shipment_country set 55");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_PTP2), PTP_NG);
    EXPECT_EQ(camera.platform_log().find("failed"), std::string::npos);
    EXPECT_EQ(value(items[0]), 0);
}

TEST_F(ShipmentCountry, SetRefusesSomeNumbersWithoutAMessage)
{
    for (const char *id : {"57", "137", "143", "144", "32767", "65593", "65673", "65679", "-65479"})
        expect_refused(id);
    EXPECT_EQ(times_logged("\033[31m"), 0U);
}

TEST_F(ShipmentCountry, SetRefusesNegativeNumbersWithAMessage)
{
    expect_refused("-1");
    EXPECT_EQ(times_logged("failed to get_shipment_info() country_id=-1"), 2U);
    expect_refused("-57");
    EXPECT_EQ(times_logged("failed to get_shipment_info() country_id=-57"), 2U);
    expect_refused("32768");
    EXPECT_EQ(times_logged("failed to get_shipment_info() country_id=-32768"), 2U);
    expect_refused("65535");
    EXPECT_EQ(times_logged("failed to get_shipment_info() country_id=-1"), 4U);
    expect_refused("99999999999999999999");
    EXPECT_EQ(times_logged("failed to get_shipment_info() country_id=-1"), 6U);
}

TEST_F(ShipmentCountry, SetCutsTheNumberTo16Bits)
{
    EXPECT_TRUE(run("shipment_country set 65591").ends_with(OK));
    EXPECT_EQ(value(items[0]), 55);
}

class ShipmentCountryWrite : public ShipmentCountry, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(ShipmentCountryWrite, FailingIsNgAndKeepsTheEarlierOnesInMemoryOnly)
{
    std::size_t failing = GetParam();
    ASSERT_EQ(pref_save(4), 0);
    std::string flash = camera.read(FLASH);
    fill_block();
    camera.fault("pref_get_addr", "0 at " + std::to_string(failing + 1));

    EXPECT_TRUE(run("shipment_country set 55").ends_with(NG));
    EXPECT_EQ(times_logged("failed to rova_set_adjdata() ADJ_ID_"), 1U);
    EXPECT_TRUE(camera.logged(std::string("failed to rova_set_adjdata() ADJ_ID_") +
                              items[failing].name + "\033[m"));
    for (std::size_t i = 0; i < items.size(); i++)
        EXPECT_EQ(value(items[i]), i < failing ? items[i].of_korea : FILLED[items[i].size])
            << items[i].name;
    EXPECT_EQ(camera.read(FLASH), flash);
    EXPECT_THAT(told({"pref_save", "device_set_property"}), ElementsAre("pref_save[4]"));
}

INSTANTIATE_TEST_SUITE_P(Items, ShipmentCountryWrite, testing::Range<std::size_t>(0, 13),
                         [](const auto &row) { return items[row.param].name; });

TEST_F(ShipmentCountry, SetThatCannotBeSavedIsNgAndStaysInMemory)
{
    camera.fault("pref_save", "-1");
    EXPECT_TRUE(run("shipment_country set 55", ROVA_CMD_PTP)
                    .ends_with("set_adjdata: 0x8560000000000081, size=2, save=1, "
                               "WIFI_COUNTRY_CH, pref_save(4) failed, NG \n" +
                               std::string(PTP_NG)));
    EXPECT_TRUE(camera.logged("failed to rova_set_adjdata() ADJ_ID_WIFI_COUNTRY_CH\033[m"));
    for (const Item &item : items)
        EXPECT_EQ(value(item), item.of_korea) << item.name;
    EXPECT_FALSE(camera.exists(FLASH));
    EXPECT_THAT(told({"device_set_property"}), IsEmpty());
}

TEST_F(ShipmentCountry, SetIsOkWhenOnlyTheDeviceServiceRefuses)
{
    camera.fault("device_set_property", "-5");
    EXPECT_TRUE(run("shipment_country set 55").ends_with(OK));
    EXPECT_TRUE(camera.logged("device_set_property(4, 21, 1) failed (ret = -5) "));
    EXPECT_TRUE(camera.exists(FLASH));
}

// ------------------------------------------------------------------------- log_file

TEST_F(ShipmentCountry, LogFileTellsTheBlock)
{
    run("shipment_country set 55");
    store(ADJ_ID_CIS_SN, 40017, 4);
    store(ADJ_ID_LANG_SUB, 0x1a);
    store(ADJ_ID_WIFI_INFINITIUM_CERT, 4, 1);
    store(ADJ_ID_QWERTY_TYPE, 5);
    store(ADJ_ID_VOUT_DEFAULT, 6);
    store(ADJ_ID_LOCAL_MARKET_AFRICA, 7, 1);
    store(ADJ_ID_LOCAL_MARKET_SAUDI, 8, 1);
    EXPECT_TRUE(run("SHIPMENT_COUNTRY LOG_FILE").ends_with(OK));
    EXPECT_EQ(camera.read(CARD_CSV),
              std::string(CSV_HEADER) + "1,40017,55,1,1a,3,13,KR,1,4,2,5,6,7,8\r\n");
    EXPECT_TRUE(camera.logged("type=1, file=/sdcard/shipment_country.csv"));
}

TEST_F(ShipmentCountry, LogFileGivesTheKeyboardItsTypeInMemoryOnly)
{
    run("shipment_country set 55");
    std::string flash = camera.read(FLASH);
    EXPECT_TRUE(
        run("shipment_country log_file")
            .starts_with("set_adjdata: 0x856000000000001e, size=2, save=0, QWERTY_TYPE, OK \n"));
    EXPECT_EQ(camera.read(CARD_CSV), row("55,1,1,3,13,KR,1,0,2,1,0,0,0"));
    EXPECT_EQ(rova_adjdata_number(rova_get_adjdata(ADJ_ID_QWERTY_TYPE), 2), 1);
    EXPECT_EQ(camera.read(FLASH), flash);
}

TEST_F(ShipmentCountry, LogFileLeavesAKeyboardTypeAndACountryAlone)
{
    fill_block();
    run("shipment_country log_file");
    EXPECT_EQ(camera.read(CARD_CSV),
              row("4369,4369,1111,4369,4369,\x11\x11,4369,17,4369,4369,4369,17,17"));
    EXPECT_EQ(camera.file_log().find("QWERTY_TYPE, OK"),
              camera.file_log().rfind("QWERTY_TYPE, OK"));
}

TEST_F(ShipmentCountry, LogFileOfCountry0SetsTheSecondLanguagesInMemoryOnly)
{
    store(ADJ_ID_QWERTY_TYPE, 1);
    store(ADJ_ID_WIFI_COUNTRY_CODE_5G, '0' + 256 * '0');
    EXPECT_TRUE(run("shipment_country log_file").ends_with(OK));
    EXPECT_EQ(camera.read(CARD_CSV), row("0,0,ff,0,0,00,0,0,0,1,0,0,0"));
    EXPECT_EQ(rova_adjdata_number(rova_get_adjdata(ADJ_ID_LANG_SUB), 2), 255);
    EXPECT_FALSE(camera.exists(FLASH));
}

TEST_F(ShipmentCountry, LogFileReadsAllNumbersSigned)
{
    store(ADJ_ID_WIFI_COUNTRY_CODE_5G, 'U' + 256 * 'S');
    for (uint64_t id : {ADJ_ID_SHIPPING_COUNTRY, ADJ_ID_LANG_DEFAULT, ADJ_ID_LANG_SUB,
                        ADJ_ID_WIFI_SNS_GATEWAY, ADJ_ID_WIFI_COUNTRY_CH, ADJ_ID_WIFI_COUNTRY_CODE,
                        ADJ_ID_QWERTY_DEFAULT, ADJ_ID_QWERTY_TYPE, ADJ_ID_VOUT_DEFAULT})
        store(id, -2);
    store(ADJ_ID_WIFI_INFINITIUM_CERT, -3, 1);
    store(ADJ_ID_LOCAL_MARKET_AFRICA, -4, 1);
    store(ADJ_ID_LOCAL_MARKET_SAUDI, -5, 1);
    run("shipment_country log_file");
    EXPECT_EQ(camera.read(CARD_CSV), row("-2,-2,fffffffe,-2,-2,US,-2,-3,-2,-2,-2,-4,-5"));
}

// Two zero bytes are no text: the file holds them, the file log's copy of the row ends before them.
TEST_F(ShipmentCountry, LogFileKeepsACodeOfZeroBytes)
{
    run("shipment_country log_file");
    std::string file_log = camera.file_log();
    run("shipment_country log_file");

    std::string fields = "0,0,ff,0,0," + std::string(2, '\0') + ",0,0,0,1,0,0,0\r\n";
    EXPECT_EQ(camera.read(CARD_CSV), std::string(CSV_HEADER) + "1,0," + fields + "2,0," + fields);
    EXPECT_NE(file_log.find("1,0,0,0,ff,0,0,\r\n"), std::string::npos);
    EXPECT_EQ(file_log.find('\0'), std::string::npos);
}

TEST_F(ShipmentCountry, LogFileForThePcTellsThePath)
{
    camera.write("/sdcard/info.tgw", "");
    EXPECT_TRUE(run("shipment_country log_file", ROVA_CMD_PTP)
                    .ends_with("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/shipment_country.csv");
    EXPECT_TRUE(camera.read("/tmp/shipment_country.csv")
                    .starts_with(std::string("shipment_country.csv\r\n") + CSV_HEADER + "1,0,0,"));
}

TEST_F(ShipmentCountry, LogFileThatCannotRepairIsNgWithoutAFile)
{
    const char *names[] = {"QWERTY_TYPE", "LANG_SUB"};
    const char *counts[] = {"2", "4"}; // each repair reads one item and writes one
    for (int i = 0; i < 2; i++) {
        store(ADJ_ID_QWERTY_TYPE, 0);
        camera.fault("pref_get_addr", std::string("0 at ") + counts[i]);
        EXPECT_TRUE(run("shipment_country log_file", ROVA_CMD_PTP).ends_with(PTP_NG));
        EXPECT_EQ(camera.key_int("memory/private/pmode_stream_type"), 0);
        EXPECT_EQ(times_logged("failed to rova_set_adjdata() ADJ_ID_"),
                  1U + static_cast<unsigned>(i));
        EXPECT_TRUE(camera.logged(std::string("failed to rova_set_adjdata() ADJ_ID_") + names[i]));
        EXPECT_FALSE(camera.exists(CARD_CSV));
    }
}

TEST_F(ShipmentCountry, LogFileOfAPartitionThatCannotBeReadIsNg)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_TRUE(run("shipment_country log_file").ends_with(NG));
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(ShipmentCountry, LogFileOfAnItemThatCannotBeReadIsNgWithoutARow)
{
    store(ADJ_ID_QWERTY_TYPE, 1);
    store(ADJ_ID_SHIPPING_COUNTRY, 55);
    camera.fault("pref_get_addr", "0 at 9"); // behind the two of the repair
    EXPECT_TRUE(run("shipment_country log_file", ROVA_CMD_PTP).ends_with(PTP_NG));
    EXPECT_EQ(camera.read(CARD_CSV), CSV_HEADER);
}

TEST_F(ShipmentCountry, LogFileWithoutACardIsOkWithAnEmptyStream)
{
    fs::remove_all(camera.path("/sdcard"));
    EXPECT_TRUE(run("shipment_country log_file").ends_with(OK));
    EXPECT_TRUE(run("shipment_country log_file", ROVA_CMD_PTP).ends_with(PTP_OK));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
    EXPECT_EQ(rova_adjdata_number(rova_get_adjdata(ADJ_ID_LANG_SUB), 2), 255);
}

TEST_F(ShipmentCountry, LogFileDoesNotLookAtTheCount)
{
    cmd_data record = record_of("shipment_country log_file");
    record.p_count = 0;
    EXPECT_TRUE(run(record, ROVA_CMD_SCRIPT).ends_with(OK));
    EXPECT_TRUE(camera.exists(CARD_CSV));
}

TEST_F(ShipmentCountry, UnknownSubcommandIsNotItsOwn)
{
    cmd_data record = record_of("shipment_country get 55");
    EXPECT_EQ(rova_cmd_shipment_country(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_TRUE(camera.logged("Not found on shipment_country command table "));
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}
