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

constexpr char PRODUCT_SAVED[] =
    "set_adjdata: 0x856000000000004a, size=16, save=1, PRODUCT_NUMBER, OK \nresp : OK \n";
constexpr char SENSOR_SAVED[] =
    "set_adjdata: 0x8560100000000000, size=4, save=1, CIS_SN, OK \nresp : OK \n";
constexpr char PTP_OK_FILE[] = "resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n";
constexpr char PTP_NG_FILE[] = "resp : NG <ptp> 0x10000002, 0x00000001, 0x00010000 \n";
constexpr char NOT_FOUND[] = "Not found on command table, so skip all next command! ";
constexpr char CARD_HEADER[] = "Index,CIS S/N,";
constexpr std::size_t HEADER = PREF_HEADER_SIZE;

} // namespace

class SerialNumber : public CommandTest
{
protected:
    static std::string product()
    {
        return std::string(static_cast<const char *>(rova_get_adjdata(ADJ_ID_PRODUCT_NUMBER)), 16);
    }

    static int32_t sensor() { return rova_adjdata_number(rova_get_adjdata(ADJ_ID_CIS_SN), 4); }

    static void store_product(const std::string &bytes)
    {
        std::string item = bytes + std::string(16 - bytes.size(), '\0');
        ASSERT_EQ(rova_set_adjdata(ADJ_ID_PRODUCT_NUMBER, item.data(), 16, 0), 1);
    }

    // A number that fills its item, with more text where a reader of texts would go on.
    static void store_full_product()
    {
        store_product("0123456789ABCDEF");
        ASSERT_EQ(rova_set_adjdata(ADJ_ID_SYSTEM_RESERVED3, "more", 4, 0), 1);
    }

    static void store_sensor(int32_t number)
    {
        ASSERT_EQ(rova_set_adjdata(ADJ_ID_CIS_SN, &number, 4, 0), 1);
    }

    std::vector<std::string> shown() const { return told({"factory_osd_text_set"}); }

    // Neither a script nor a PC hears of the command; it counts as unknown.
    void expect_no_response(const std::string &line, const std::string &file_log,
                            const std::string &reason)
    {
        for (uint32_t type : {ROVA_CMD_CARD, ROVA_CMD_SCRIPT, ROVA_CMD_PTP, ROVA_CMD_PTP2}) {
            rova_cmd_set_result(0);
            EXPECT_EQ(run(line, type), file_log);
            EXPECT_EQ(rova_cmd_get_result(), 1U);
        }
        EXPECT_EQ(times_logged(reason), 4U);
        EXPECT_EQ(times_logged(NOT_FOUND), 4U);
        EXPECT_EQ(camera.key_int("memory/private/pmode_Param1"), std::nullopt);
    }
};

// ------------------------------------------------------------------------- show

TEST_F(SerialNumber, ShowWritesTheProductNumberToRow2)
{
    store_product("RV26B20K");
    EXPECT_EQ(run("serial_number show product"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"RV26B20K"])"));
}

TEST_F(SerialNumber, ShowPrintsAllOfANumberWithoutTerminator)
{
    store_full_product();
    EXPECT_EQ(run("serial_number show product"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"0123456789ABCDEF"])"));
}

TEST_F(SerialNumber, ShowTakesPercentSignsAsTheyStand)
{
    store_product("%s%n");
    EXPECT_EQ(run("serial_number show product"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"%s%n"])"));
}

TEST_F(SerialNumber, ShowWritesTheSensorsNumberWithItsSign)
{
    EXPECT_EQ(run("serial_number show cis"), OK);
    store_sensor(-40017);
    EXPECT_EQ(run("SERIAL_NUMBER Show CIS", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"0"])",
                                     R"(factory_osd_text_set[2,"-40017"])"));
}

TEST_F(SerialNumber, ShowOfAnotherWordOrNoneIsNg)
{
    EXPECT_EQ(run("serial_number show products"), NG);
    EXPECT_EQ(run("serial_number show"), NG);
    EXPECT_EQ(times_logged("show not found command"), 2U);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(SerialNumber, ShowDoesNotLookAtTheCount)
{
    store_product("A1");
    cmd_data record = record_of("serial_number show product");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"A1"])"));
}

TEST_F(SerialNumber, ShowWithoutThePartitionIsNg)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(run("serial_number show product"),
              "pref_addr is NULL (id=0x856000000000004a) \nresp : NG \n");
    EXPECT_EQ(run("serial_number show cis"),
              "pref_addr is NULL (id=0x8560100000000000) \nresp : NG \n");
    EXPECT_THAT(shown(), IsEmpty());
}

// ------------------------------------------------------------------------- set

TEST_F(SerialNumber, SetSavesTheProductNumberFilledWithZeros)
{
    store_product("0123456789ABCDEF");
    EXPECT_EQ(run("serial_number set product RV26B20K"), PRODUCT_SAVED);
    EXPECT_EQ(product(), std::string("RV26B20K\0\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(camera.read("/virtual/pref/adj_sys.flash").substr(HEADER + 0x4a, 16), product());
}

TEST_F(SerialNumber, SetOf16CharactersFillsTheItem)
{
    EXPECT_EQ(run("serial_number set Product 0123456789ABCDEF"), PRODUCT_SAVED);
    EXPECT_EQ(product(), "0123456789ABCDEF");
    EXPECT_EQ(rova_adjdata_number(rova_get_adjdata(ADJ_ID_SYSTEM_RESERVED3), 4), 0);
    EXPECT_EQ(run("serial_number show product"), OK);
    EXPECT_THAT(shown(), ElementsAre(R"(factory_osd_text_set[2,"0123456789ABCDEF"])"));
}

TEST_F(SerialNumber, SetOf17CharactersGivesNoResponseAtAll)
{
    store_product("OLD");
    expect_no_response("serial_number set product 0123456789ABCDEFG", NO_ANSWER,
                       "serial_number length must be equal or less than 16. length=17");
    EXPECT_EQ(product(), std::string("OLD").append(13, '\0'));
    EXPECT_FALSE(camera.exists("/virtual/pref/adj_sys.flash"));
}

TEST_F(SerialNumber, SetOfTheLongestWordTellsItsLength)
{
    EXPECT_EQ(run("serial_number set product " + std::string(40, 'x')), NO_ANSWER);
    EXPECT_TRUE(camera.logged("serial_number length must be equal or less than 16. length=31"));
}

TEST_F(SerialNumber, SetWithoutANumberClearsIt)
{
    store_product("OLD");
    EXPECT_EQ(run("serial_number set product"), PRODUCT_SAVED);
    EXPECT_EQ(product(), std::string(16, '\0'));
}

TEST_F(SerialNumber, SetThatCannotSaveTheProductNumberGivesNoResponse)
{
    camera.fault("pref_save", "-1");
    expect_no_response(
        "serial_number set product NEW",
        "set_adjdata: 0x856000000000004a, size=16, save=1, PRODUCT_NUMBER, pref_save(4) failed, "
        "NG \n",
        "failed to rova_set_adjdata() ADJ_ID_WIFI_SERIAL_NUM");
    EXPECT_EQ(product(), std::string("NEW").append(13, '\0'));
    EXPECT_FALSE(camera.exists("/virtual/pref/adj_sys.flash"));
}

TEST_F(SerialNumber, SetSavesTheSensorsNumber)
{
    EXPECT_EQ(run("serial_number set cis 40017"), SENSOR_SAVED);
    EXPECT_EQ(sensor(), 40017);
    EXPECT_EQ(camera.read("/virtual/pref/adj_cap.flash").substr(HEADER, 4),
              std::string("\x51\x9c\0\0", 4));
}

TEST_F(SerialNumber, SetReadsTheSensorsNumberUpToTheFirstOtherCharacter)
{
    EXPECT_EQ(run("serial_number set CIS -12x4"), SENSOR_SAVED);
    EXPECT_EQ(sensor(), -12);
    EXPECT_EQ(run("serial_number set cis 0x10"), SENSOR_SAVED);
    EXPECT_EQ(sensor(), 0);
    run("serial_number set cis 5");
    EXPECT_EQ(run("serial_number set cis"), SENSOR_SAVED);
    EXPECT_EQ(sensor(), 0);
}

TEST_F(SerialNumber, SetTakesTheNearestSensorNumberThatThereIs)
{
    run("serial_number set cis 99999999999");
    EXPECT_EQ(sensor(), INT32_MAX);
    run("serial_number set cis -99999999999");
    EXPECT_EQ(sensor(), INT32_MIN);
}

TEST_F(SerialNumber, SetThatCannotSaveTheSensorsNumberGivesNoResponse)
{
    camera.fault("pref_save", "-1");
    expect_no_response("serial_number set cis 7",
                       "set_adjdata: 0x8560100000000000, size=4, save=1, CIS_SN, pref_save(5) "
                       "failed, NG \n",
                       "failed to rova_set_adjdata() ADJ_ID_CIS_SN");
    EXPECT_EQ(sensor(), 7);
}

TEST_F(SerialNumber, SetOfAnotherWordIsNg)
{
    EXPECT_EQ(run("serial_number set lens 7"), NG);
    EXPECT_EQ(run("serial_number set lens 7", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(times_logged("set not found command"), 2U);
    EXPECT_THAT(told({"pref_save"}), IsEmpty());
}

TEST_F(SerialNumber, SetWithoutAWordIsNgWithoutAMessage)
{
    EXPECT_EQ(run("serial_number set"), NG);
    cmd_data record = record_of("serial_number set product NEW");
    record.p_count = 1;
    EXPECT_EQ(run(record, ROVA_CMD_PTP), PTP_NG);
    EXPECT_FALSE(camera.logged("set not found command"));
    EXPECT_EQ(product(), std::string(16, '\0'));
}

// ------------------------------------------------------------------------- get

TEST_F(SerialNumber, GetWithoutTheCameraApplicationIsNg)
{
    store_sensor(7);
    EXPECT_EQ(run("serial_number get cis"), NG);
    EXPECT_EQ(run("serial_number get CIS", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(times_logged("rova_ipcc_send() failed (serial_number) "), 2U);
}

TEST_F(SerialNumber, GetOfAnotherWordIsNgAndNamesIt)
{
    EXPECT_EQ(run("serial_number get product"), NG);
    EXPECT_TRUE(camera.logged("product not found command "));
    EXPECT_EQ(run("serial_number get"), NG);
    EXPECT_EQ(times_logged(" not found command "), 2U);
    EXPECT_FALSE(camera.logged("rova_ipcc_send() failed"));
}

TEST_F(SerialNumber, GetCountsItsParameters)
{
    cmd_data record = record_of("serial_number get cis");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_PTP2), PTP_NG);
    EXPECT_FALSE(camera.logged("rova_ipcc_send() failed"));
    EXPECT_FALSE(camera.logged("not found command"));
}

// ------------------------------------------------------------------------- log_file

TEST_F(SerialNumber, LogFileAppendsTheProductNumber)
{
    store_sensor(-5);
    store_full_product();
    EXPECT_TRUE(run("serial_number log_file product").ends_with(OK));
    store_product("B2");
    EXPECT_TRUE(run("serial_number LOG_FILE PRODUCT").ends_with(OK));
    EXPECT_EQ(camera.read("/sdcard/serial_num.csv"),
              std::string(CARD_HEADER) + "SERIAL_NO\r\n1,-5,0123456789ABCDEF\r\n2,-5,B2\r\n");
    EXPECT_EQ(times_logged("type=1, file=/sdcard/serial_num.csv"), 2U);
}

TEST_F(SerialNumber, LogFileAppendsTheSensorsNumber)
{
    store_sensor(-40017);
    EXPECT_TRUE(run("serial_number log_file cis").ends_with(OK));
    EXPECT_EQ(camera.read("/sdcard/cis_num.csv"),
              std::string(CARD_HEADER) + "CIS_NO\r\n1,-40017,-40017\r\n");
}

TEST_F(SerialNumber, LogFileForThePcTellsThePath)
{
    camera.write("/sdcard/info.tgw", "");
    EXPECT_TRUE(run("serial_number log_file cis", ROVA_CMD_PTP).ends_with(PTP_OK_FILE));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/cis_num.csv");
    EXPECT_TRUE(run("serial_number log_file product", ROVA_CMD_PTP).ends_with(PTP_OK_FILE));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/serial_num.csv");
    EXPECT_EQ(camera.read("/tmp/serial_num.csv"),
              std::string("serial_num.csv\r\n") + CARD_HEADER + "SERIAL_NO\r\n1,0,\r\n");
}

TEST_F(SerialNumber, LogFileWithoutACardIsOkWithAnEmptyStream)
{
    std::filesystem::remove_all(camera.path("/sdcard"));
    for (const char *line : {"serial_number log_file product", "serial_number log_file cis"}) {
        EXPECT_TRUE(run(line).ends_with(std::string("csv_close: handle is NULL, NG \n") + OK));
        EXPECT_TRUE(run(line, ROVA_CMD_PTP).ends_with(PTP_OK));
        EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
    }
}

TEST_F(SerialNumber, LogFileOfAnotherWordIsNg)
{
    EXPECT_EQ(run("serial_number log_file lens"), NG);
    EXPECT_EQ(run("serial_number log_file", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(times_logged("logfile not found command "), 2U);
    EXPECT_TRUE(std::filesystem::is_empty(camera.path("/sdcard")));
}

TEST_F(SerialNumber, LogFileCountsItsParameters)
{
    cmd_data record = record_of("serial_number log_file cis");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_PTP2), PTP_NG);
    EXPECT_FALSE(camera.logged("logfile not found command"));
    EXPECT_FALSE(camera.exists("/sdcard/cis_num.csv"));
}

TEST_F(SerialNumber, LogFileWithoutThePartitionIsNgWithoutAFile)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_TRUE(run("serial_number log_file product").ends_with(NG));
    EXPECT_TRUE(run("serial_number log_file cis", ROVA_CMD_PTP).ends_with(PTP_NG));
    EXPECT_TRUE(std::filesystem::is_empty(camera.path("/sdcard")));
}

// ------------------------------------------------------------------------- check

TEST_F(SerialNumber, CheckIgnoresCaseAndWritesBothNumbers)
{
    store_product("ABC");
    EXPECT_TRUE(run("serial_number check product abc").ends_with(OK));
    EXPECT_TRUE(run("serial_number check Product ABD").ends_with(NG));
    EXPECT_TRUE(run("serial_number check product AB").ends_with(NG));
    EXPECT_EQ(camera.read("/sdcard/serial_check.csv"),
              std::string(CARD_HEADER) + "SET  S/N, SCRIPT S/N, Result\r\n"
                                         "1,0,ABC,abc,OK\r\n2,0,ABC,ABD,NG\r\n3,0,ABC,AB,NG\r\n");
}

TEST_F(SerialNumber, CheckComparesAll16Characters)
{
    store_full_product();
    EXPECT_TRUE(run("serial_number check product 0123456789abcdef").ends_with(OK));
    EXPECT_TRUE(run("serial_number check product 0123456789abcdef0").ends_with(NG));
}

TEST_F(SerialNumber, CheckWithoutANumberMatchesAnEmptyOne)
{
    EXPECT_TRUE(run("serial_number check product").ends_with(OK));
    store_product("A");
    EXPECT_TRUE(run("serial_number check product").ends_with(NG));
}

TEST_F(SerialNumber, CheckTellsThePcThePathAlsoWhenNg)
{
    camera.write("/sdcard/info.tgw", "");
    store_product("A");
    EXPECT_TRUE(run("serial_number check product B", ROVA_CMD_PTP).ends_with(PTP_NG_FILE));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "/tmp/serial_check.csv");
}

TEST_F(SerialNumber, CheckWithoutACardFollowsTheComparison)
{
    std::filesystem::remove_all(camera.path("/sdcard"));
    store_product("A");
    EXPECT_TRUE(run("serial_number check product a", ROVA_CMD_PTP).ends_with(PTP_OK));
    EXPECT_TRUE(run("serial_number check product b", ROVA_CMD_PTP).ends_with(PTP_NG));
    EXPECT_EQ(camera.key_string("memory/private/pmode_stream"), "");
}

TEST_F(SerialNumber, CheckOfAnotherWordIsNgWithAnEmptyStream)
{
    EXPECT_EQ(run("serial_number check cis 7"), NG);
    EXPECT_EQ(run("serial_number check cis 7", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(times_logged("check not found command "), 2U);
    EXPECT_TRUE(std::filesystem::is_empty(camera.path("/sdcard")));
}

TEST_F(SerialNumber, CheckWithoutAWordIsNgWithoutAMessage)
{
    EXPECT_EQ(run("serial_number check"), NG);
    EXPECT_FALSE(camera.logged("check not found command"));
}

TEST_F(SerialNumber, CheckWithoutThePartitionIsNgWithoutAFile)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_TRUE(run("serial_number check product A").ends_with(NG));
    EXPECT_FALSE(camera.exists("/sdcard/serial_check.csv"));
}

TEST_F(SerialNumber, UnknownSubcommandIsNotItsOwn)
{
    cmd_data record = record_of("serial_number clear product");
    EXPECT_EQ(rova_cmd_serial_number(ROVA_CMD_SCRIPT, &record), 0);
    EXPECT_TRUE(camera.logged("Not found on serial_number command table "));
    EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NO_ANSWER);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}
