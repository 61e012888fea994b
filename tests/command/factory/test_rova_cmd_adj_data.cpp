#include "command/rova_cmd_handler.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_log.h"
#include "common/rova_proc_mark_handler.h"
#include "common/rova_ptp_keys.h"
#include "common/rova_util.h"
#include "platform/pref.h"
#include "tests/command/command_test.h"
#include "tests/support/text.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

using namespace test;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

constexpr char CARD_CSV[] = "/sdcard/adjdata.csv";
constexpr char PC_CSV[] = "/tmp/adjdata.csv";
constexpr char CARD_ARCHIVE[] = "/sdcard/pref.zip";
constexpr char PC_ARCHIVE[] = "/tmp/pref.zip";
constexpr char CSV_HEADER[] = "Index,CIS S/N,ID,SIZE, VALUE,[HEXA]\r\n";

constexpr int LAST_MARK = 67;
constexpr std::size_t NUMBERS = 33 + 21 + 17 + 20 + 2 + 30; // items of 1, 2 and 4 bytes

// Lines of the platform log by their level, which shows in the colour.
std::string error(const std::string &text)
{
    return "> \033[31m" + text + "\033[m";
}

std::string info(const std::string &text)
{
    return "> \033[m" + text + "\033[m";
}

std::string notice(const std::string &text)
{
    return "> \033[33m" + text + "\033[m";
}

std::string shows(int row, const std::string &text)
{
    return "factory_osd_text_set[" + std::to_string(row) + ",\"" + text + "\"]";
}

std::string stored(const char *id, int size, const char *name)
{
    return "set_adjdata: " + std::string(id) + ", size=" + std::to_string(size) + ", save=1, " +
           name + ", OK \n";
}

void put(const char *name, int32_t value)
{
    uint32_t size = 0;
    uint64_t id = rova_get_adjdata_id(name, &size);
    ASSERT_TRUE(rova_adjdata_is_number(size)) << name;
    std::memcpy(rova_get_adjdata(id), &value, size);
}

int32_t number(const char *name)
{
    uint32_t size = 0;
    uint64_t id = rova_get_adjdata_id(name, &size);
    return rova_adjdata_number(rova_get_adjdata(id), size);
}

uint8_t *data_of(int pref_id)
{
    return static_cast<uint8_t *>(pref_get_addr(pref_id, nullptr)) + PREF_HEADER_SIZE;
}

} // namespace

class AdjDataCommand : public CommandTest
{
protected:
    // Hundreds of synced lines would keep the PC's disk busy.
    AdjDataCommand() { camera.fault("sys_fdatasync", "0"); }

    bool logged(const std::string &line) const { return camera.logged(line); }
    std::vector<std::string> shown() const { return told({"factory_osd_text_set"}); }
    std::vector<std::string> saves() const { return told({"pref_save"}); }
    // The rows of the card's file as they were written, without the header.
    std::vector<std::string> csv_rows() const
    {
        std::vector<std::string> rows = lines_of(camera.read(CARD_CSV));
        if (!rows.empty())
            rows.erase(rows.begin());
        return rows;
    }
};

TEST(AdjDataItems, HaveNamesThatFitACommandsWord)
{
    for (const adjdata_part &part : rova_adjdata_parts())
        for (const adjdata_info *row = part.items; row->size != 0; row++)
            EXPECT_LT(std::strlen(row->name), ROVA_CMD_WORD_SIZE) << row->name;
}

// ------------------------------------------------------------------------- the family

TEST_F(AdjDataCommand, ASubcommandThatIsNotThereIsLeftToTheDispatcher)
{
    EXPECT_EQ(run("adj_data"), NO_ANSWER);
    EXPECT_EQ(run("adj_data erase"), NO_ANSWER);
    EXPECT_EQ(run("adj_data 100%n%s%s"), NO_ANSWER);
    EXPECT_EQ(times_logged(error("Not found on adj_data command table ")), 3U);
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}

TEST_F(AdjDataCommand, SubcommandsAreFoundInCapitalsToo)
{
    EXPECT_THAT(run("adj_data WRITE CIS_SN 4 7"), EndsWith(OK));
    EXPECT_EQ(run("ADJ_DATA Read CIS_SN 4"), OK);
}

TEST_F(AdjDataCommand, TooFewParametersAreRefusedWithoutAWord)
{
    for (const char *line : {"adj_data read", "adj_data read CIS_SN", "adj_data write",
                             "adj_data write CIS_SN", "adj_data check", "adj_data check CIS_SN 4 0",
                             "adj_data check CIS_SN", "adj_data restore", "adj_data backup"}) {
        EXPECT_EQ(run(line), NG) << line;
        EXPECT_EQ(run(line, ROVA_CMD_PTP), PTP_NG) << line;
    }
    EXPECT_EQ(times_logged("\033[31m"), 0U);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(saves(), IsEmpty());
}

TEST_F(AdjDataCommand, ARecordThatCountsNoParameterIsRefused)
{
    for (const char *word :
         {"read", "write", "check", "restore", "backup", "default", "log_file", "save"}) {
        cmd_data record = record_of(std::string("adj_data ") + word);
        record.p_count = 0;
        EXPECT_EQ(run(record, ROVA_CMD_SCRIPT), NG) << word;
    }
    EXPECT_EQ(times_logged("\033[31m"), 0U);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_THAT(told({"pref_save", "pref_load"}), IsEmpty());
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

// ------------------------------------------------------------------------- read

TEST_F(AdjDataCommand, ReadShowsANumberOfEachSizeInTheLogAndOnScreen)
{
    put("WIFI_INFINITIUM_CERT", 5);
    put("LANG_DEFAULT", 300);
    put("CIS_SN", 0x1234);
    EXPECT_EQ(run("adj_data read WIFI_INFINITIUM_CERT 1"), OK);
    EXPECT_EQ(run("adj_data read LANG_DEFAULT 2"), OK);
    EXPECT_EQ(run("adj_data read CIS_SN 4", ROVA_CMD_PTP), PTP_OK);
    EXPECT_TRUE(logged(info("WIFI_INFINITIUM_CERT [sz=1]: 5 (0x05) ")));
    EXPECT_TRUE(logged(info("LANG_DEFAULT [sz=2]: 300 (0x012c) ")));
    EXPECT_TRUE(logged(info("CIS_SN [sz=4]: 4660 (0x00001234) ")));
    EXPECT_THAT(shown(), ElementsAre(shows(1, "WIFI_INFINITIUM_CERT [sz=1] = 5 (0x05)"),
                                     shows(1, "LANG_DEFAULT [sz=2] = 300 (0x12c)"),
                                     shows(1, "CIS_SN [sz=4] = 4660 (0x1234)")));
    EXPECT_THAT(saves(), IsEmpty());
}

TEST_F(AdjDataCommand, ReadShowsNumbersWithTheirSignAndAll32Bits)
{
    put("WIFI_INFINITIUM_CERT", 0x80);
    put("LANG_DEFAULT", 0xffff);
    put("CIS_SN", -2);
    EXPECT_EQ(run("adj_data read WIFI_INFINITIUM_CERT 1"), OK);
    EXPECT_EQ(run("adj_data read LANG_DEFAULT 2"), OK);
    EXPECT_EQ(run("adj_data read CIS_SN 4"), OK);
    EXPECT_TRUE(logged(info("WIFI_INFINITIUM_CERT [sz=1]: -128 (0xffffff80) ")));
    EXPECT_TRUE(logged(info("LANG_DEFAULT [sz=2]: -1 (0xffffffff) ")));
    EXPECT_TRUE(logged(info("CIS_SN [sz=4]: -2 (0xfffffffe) ")));
    EXPECT_THAT(shown(), testing::Contains(shows(1, "LANG_DEFAULT [sz=2] = -1 (0xffffffff)")));
}

TEST_F(AdjDataCommand, ReadRefusesASizeThatIsNotTheItems)
{
    EXPECT_EQ(run("adj_data read CIS_SN 2"), NG);
    EXPECT_TRUE(logged(error("Invalid size [CIS_SN, 4] size=2 ")));
    EXPECT_EQ(run("adj_data read CIS_SN -4"), NG);
    EXPECT_TRUE(logged(error("Invalid size [CIS_SN, 4] size=-4 ")));
    EXPECT_EQ(run("adj_data read CIS_SN four"), NG);
    EXPECT_TRUE(logged(error("Invalid size [CIS_SN, 4] size=0 ")));
    EXPECT_EQ(run("adj_data read CIS_SN 99999999999999999999"), NG);
    EXPECT_TRUE(logged(error("Invalid size [CIS_SN, 4] size=2147483647 ")));
    EXPECT_EQ(run("adj_data read CIS_SN 0x4"), NG); // decimal only
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AdjDataCommand, ReadRefusesNamesThatAreNotThere)
{
    EXPECT_EQ(run("adj_data read CIS_SM 4"), NG);
    EXPECT_TRUE(logged(error("Unknown id (CIS_SM) (0x0) ")));
    EXPECT_EQ(run("adj_data read cis_sn 4"), NG);
    EXPECT_TRUE(logged(error("Unknown id (cis_sn) (0x0) ")));
    EXPECT_EQ(run("adj_data read end 0"), NG);
    EXPECT_TRUE(logged(error("Unknown id (end) (0x0) ")));
    EXPECT_EQ(run("adj_data read %s%n%s 4"), NG);
    EXPECT_TRUE(logged(error("Unknown id (%s%n%s) (0x0) ")));
    std::string longest(31, 'N');
    EXPECT_EQ(run("adj_data read " + longest + " 4"), NG);
    EXPECT_TRUE(logged(error("Unknown id (" + longest + ") (0x0) ")));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AdjDataCommand, TheNameIsLookedAtBeforeTheSize)
{
    EXPECT_EQ(run("adj_data read NOTHING 77"), NG);
    EXPECT_EQ(run("adj_data write NOTHING 77 1"), NG);
    EXPECT_EQ(run("adj_data check NOTHING 77 9 1"), NG);
    EXPECT_EQ(times_logged("Unknown id (NOTHING)"), 3U);
    EXPECT_EQ(times_logged("Invalid"), 0U);
}

TEST_F(AdjDataCommand, ReadRefusesTextsAndTables)
{
    EXPECT_EQ(run("adj_data read PRODUCT_NUMBER 16"), NG);
    EXPECT_TRUE(logged(error("Not support size (sz=16) ")));
    EXPECT_EQ(run("adj_data read DPC_LV3_DATA 1799996"), NG);
    EXPECT_TRUE(logged(error("Not support size (sz=1799996) ")));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AdjDataCommand, ReadAndCheckOfAMissingPartitionAreRefused)
{
    camera.fault("pref_get_addr", "0 on adj_cap");
    std::string why = "pref_addr is NULL (id=0x8560100000000000) \n";
    EXPECT_EQ(run("adj_data read CIS_SN 4"), why + NG);
    EXPECT_EQ(run("adj_data check CIS_SN 4 0 0"), why + NG);
    EXPECT_EQ(times_logged("check="), 0U);
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AdjDataCommand, AScreenThatFailsIsNoFailureOfReadAndDefault)
{
    camera.fault("factory_osd_text_set", "-1");
    EXPECT_EQ(run("adj_data read CIS_SN 4"), OK);
    EXPECT_EQ(run("adj_data default adj_cap"), OK);
}

// ------------------------------------------------------------------------- write

TEST_F(AdjDataCommand, WriteStoresANumberOfEachSizeAndSavesItsPartition)
{
    EXPECT_EQ(run("adj_data write CIS_SN 4 123456789"),
              stored("0x8560100000000000", 4, "CIS_SN") + OK);
    EXPECT_EQ(run("adj_data write SHIPPING_COUNTRY 2 -7", ROVA_CMD_PTP),
              stored("0x8560000000000000", 2, "SHIPPING_COUNTRY") + PTP_OK);
    EXPECT_EQ(run("adj_data write LOCAL_MARKET_AFRICA 1 1"),
              stored("0x8560000000000002", 1, "LOCAL_MARKET_AFRICA") + OK);
    EXPECT_EQ(number("CIS_SN"), 123456789);
    EXPECT_EQ(number("SHIPPING_COUNTRY"), -7);
    EXPECT_EQ(number("LOCAL_MARKET_AFRICA"), 1);
    EXPECT_THAT(saves(), ElementsAre("pref_save[5]", "pref_save[4]", "pref_save[4]"));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AdjDataCommand, WriteTakesHexadecimalNumbers)
{
    EXPECT_THAT(run("adj_data write CIS_SN 4 0xDeadBeef"), EndsWith(OK));
    EXPECT_EQ(number("CIS_SN"), static_cast<int32_t>(0xdeadbeef));
    EXPECT_THAT(run("adj_data write CIS_SN 4 0X1G"), EndsWith(OK));
    EXPECT_EQ(number("CIS_SN"), 1);
    EXPECT_THAT(run("adj_data write CIS_SN 4 012"), EndsWith(OK));
    EXPECT_EQ(number("CIS_SN"), 12);
}

TEST_F(AdjDataCommand, WriteWithoutAValueStores0)
{
    put("CIS_SN", 4711);
    EXPECT_THAT(run("adj_data write CIS_SN 4"), EndsWith(OK));
    EXPECT_EQ(number("CIS_SN"), 0);
    EXPECT_THAT(saves(), ElementsAre("pref_save[5]"));
}

TEST_F(AdjDataCommand, WriteCutsTheValueToTheItemsWidth)
{
    put("LOCAL_MARKET_SAUDI", 0x55);
    put("LANG_SUB", 0x5555);
    EXPECT_THAT(run("adj_data write LOCAL_MARKET_AFRICA 1 0x1ff"), EndsWith(OK));
    EXPECT_EQ(number("LOCAL_MARKET_AFRICA"), -1);
    EXPECT_EQ(number("LOCAL_MARKET_SAUDI"), 0x55);
    EXPECT_THAT(run("adj_data write LANG_DEFAULT 2 65537"), EndsWith(OK));
    EXPECT_EQ(number("LANG_DEFAULT"), 1);
    EXPECT_EQ(number("LANG_SUB"), 0x5555);
    EXPECT_THAT(run("adj_data write CIS_SN 4 99999999999999999999"), EndsWith(OK));
    EXPECT_EQ(number("CIS_SN"), rova_str2int("99999999999999999999"));
}

TEST_F(AdjDataCommand, WriteRefusesABadNameSizeOrKind)
{
    EXPECT_EQ(run("adj_data write cis_sn 4 1"), NG);
    EXPECT_TRUE(logged(error("Unknown id (cis_sn) ")));
    EXPECT_EQ(run("adj_data write SHIPPING_COUNTRY 4 1"), NG);
    EXPECT_TRUE(logged(error("Invalid size [SHIPPING_COUNTRY, 2] size=4 ")));
    EXPECT_EQ(run("adj_data write WIFI_MAC_ADDR 12 1"), NG);
    EXPECT_TRUE(logged(error("Not support size (sz=12) ")));
    EXPECT_THAT(saves(), IsEmpty());
    EXPECT_EQ(number("SHIPPING_COUNTRY"), 0);
}

TEST_F(AdjDataCommand, WriteThatCannotBeSavedIsRefusedAndTheImageStaysChanged)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(run("adj_data write LANG_DEFAULT 2 65535"),
              std::string("set_adjdata: 0x8560000000000018, size=2, save=1, LANG_DEFAULT, "
                          "pref_save(4) failed, NG \n") +
                  NG);
    EXPECT_TRUE(logged(error("rova_set_adjdata() failed [LANG_DEFAULT] val=-1, sz=2 ")));
    EXPECT_EQ(number("LANG_DEFAULT"), -1);
}

TEST_F(AdjDataCommand, WriteToAMissingPartitionIsRefused)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_THAT(run("adj_data write CIS_SN 4 5"), EndsWith(std::string(", NG \n") + NG));
    EXPECT_TRUE(logged(error("rova_set_adjdata() failed [CIS_SN] val=5, sz=4 ")));
    EXPECT_THAT(saves(), IsEmpty());
}

// ------------------------------------------------------------------------- check

TEST_F(AdjDataCommand, CheckTakesBothLimitsAsWithin)
{
    put("CIS_SN", 10);
    EXPECT_EQ(run("adj_data check CIS_SN 4 10 20"), OK);
    EXPECT_TRUE(logged(info("CIS_SN [sz=4]: 10 (0x0a), check=OK [10, 20] ")));
    EXPECT_EQ(run("adj_data check CIS_SN 4 -5 10", ROVA_CMD_PTP), PTP_OK);
    EXPECT_TRUE(logged(info("CIS_SN [sz=4]: 10 (0x0a), check=OK [-5, 10] ")));
    EXPECT_EQ(run("adj_data check CIS_SN 4 11 20"), NG);
    EXPECT_TRUE(logged(error("CIS_SN [sz=4]: 10 (0x0a), check=NG [11, 20] ")));
    EXPECT_EQ(run("adj_data check CIS_SN 4 -5 9", ROVA_CMD_PTP), PTP_NG);
    EXPECT_TRUE(logged(error("CIS_SN [sz=4]: 10 (0x0a), check=NG [-5, 9] ")));
    EXPECT_THAT(shown(), IsEmpty());
}

TEST_F(AdjDataCommand, CheckReadsItemsWithTheirSign)
{
    put("LANG_DEFAULT", 0xffff);
    EXPECT_EQ(run("adj_data check LANG_DEFAULT 2 -2 0"), OK);
    EXPECT_TRUE(logged(info("LANG_DEFAULT [sz=2]: -1 (0xffffffff), check=OK [-2, 0] ")));
    put("WIFI_INFINITIUM_CERT", 0x80);
    EXPECT_EQ(run("adj_data check WIFI_INFINITIUM_CERT 1 -128 -128"), OK);
    EXPECT_TRUE(
        logged(info("WIFI_INFINITIUM_CERT [sz=1]: -128 (0xffffff80), check=OK [-128, -128] ")));
}

TEST_F(AdjDataCommand, CheckCutsTheLimitsToTheItemsWidth)
{
    put("WIFI_INFINITIUM_CERT", 5);
    EXPECT_EQ(run("adj_data check WIFI_INFINITIUM_CERT 1 256 266"), OK);
    EXPECT_TRUE(logged(info("WIFI_INFINITIUM_CERT [sz=1]: 5 (0x05), check=OK [0, 10] ")));
    put("LANG_DEFAULT", -1);
    EXPECT_EQ(run("adj_data check LANG_DEFAULT 2 65534 65535"), OK);
    EXPECT_TRUE(logged(info("LANG_DEFAULT [sz=2]: -1 (0xffffffff), check=OK [-2, -1] ")));
}

TEST_F(AdjDataCommand, CheckIsRefusedWhenTheCutTurnsTheLimitsRound)
{
    put("WIFI_INFINITIUM_CERT", 5);
    EXPECT_EQ(run("adj_data check WIFI_INFINITIUM_CERT 1 0 255"), NG);
    EXPECT_TRUE(logged(error("WIFI_INFINITIUM_CERT [sz=1]: 5 (0x05), check=NG [0, -1] ")));
    EXPECT_EQ(times_logged("Invalid range"), 0U);
}

TEST_F(AdjDataCommand, CheckLooksAtTheRangeBeforeTheItem)
{
    EXPECT_EQ(run("adj_data check LANG_DEFAULT 2 300 100"), NG);
    EXPECT_TRUE(logged(error("Invalid range: min=300, max=100 ")));
    EXPECT_EQ(times_logged("check="), 0U);
    EXPECT_EQ(times_logged("id=LANG_DEFAULT"), 0U);
}

TEST_F(AdjDataCommand, CheckComparesTheRangeAs32BitNumbers)
{
    put("CIS_SN", INT32_MAX);
    EXPECT_EQ(run("adj_data check CIS_SN 4 -99999999999999999999 99999999999999999999"), OK);
    EXPECT_TRUE(logged(info("CIS_SN [sz=4]: 2147483647 (0x7fffffff), check=OK "
                            "[-2147483648, 2147483647] ")));
}

TEST_F(AdjDataCommand, CheckLooksAtNameThenSizeThenRangeThenKind)
{
    EXPECT_EQ(run("adj_data check CIS_SNX 1 9 1"), NG);
    EXPECT_TRUE(logged(error("Unknown id (CIS_SNX) ")));
    EXPECT_EQ(run("adj_data check CIS_SN 1 9 1"), NG);
    EXPECT_TRUE(logged(error("Invalid size [CIS_SN, 4] size=1 ")));
    EXPECT_EQ(times_logged("Invalid range"), 0U);
    EXPECT_EQ(run("adj_data check CIS_LOT_NUMBER 32 9 1"), NG);
    EXPECT_TRUE(logged(error("Invalid range: min=9, max=1 ")));
    EXPECT_EQ(times_logged("Not support size"), 0U);
    EXPECT_EQ(run("adj_data check CIS_LOT_NUMBER 32 1 9"), NG);
    EXPECT_TRUE(logged(error("Not support size (sz=32) ")));
}

TEST_F(AdjDataCommand, CheckTakesWordsForTheNumber0)
{
    EXPECT_EQ(run("adj_data check CIS_SN 4 low high"), OK);
    EXPECT_TRUE(logged(info("CIS_SN [sz=4]: 0 (0x00), check=OK [0, 0] ")));
}

// ------------------------------------------------------------------------- backup and restore

TEST_F(AdjDataCommand, BackupAndRestoreOfAPartitionBringBackItsItems)
{
    put("CIS_SN", 77);
    EXPECT_THAT(run("adj_data backup adj_cap"), EndsWith(OK));
    EXPECT_THAT(told({"pref_save_to_file"}),
                ElementsAre(R"(pref_save_to_file[5,"/sdcard/adj_cap.bin"])"));
    put("CIS_SN", 1);
    EXPECT_THAT(run("adj_data restore adj_cap", ROVA_CMD_PTP), EndsWith(PTP_OK));
    EXPECT_EQ(number("CIS_SN"), 77);
    EXPECT_THAT(saves(), IsEmpty());
}

TEST_F(AdjDataCommand, BackupTakesPartitionNamesAndAllExactly)
{
    EXPECT_EQ(run("adj_data BACKUP All"),
              "backup_adjdata: All, not found partition, NG \n" + std::string(NG));
    EXPECT_THAT(run("adj_data backup ADJ_SYS"), EndsWith(NG));
    EXPECT_THAT(run("adj_data backup line"), EndsWith(NG));
    EXPECT_THAT(run("adj_data restore ALL"), EndsWith(NG));
    EXPECT_THAT(run("adj_data restore Adj_sys"), EndsWith(NG));
    EXPECT_THAT(told({"pref_save_to_file", "pref_load_from_file"}), IsEmpty());
    EXPECT_FALSE(camera.exists("/tmp/backup"));
}

TEST_F(AdjDataCommand, BackupOfAllGoesToTheCardForAScriptAndToTmpForThePc)
{
    EXPECT_THAT(run("adj_data backup all", ROVA_CMD_CARD), EndsWith(OK));
    EXPECT_TRUE(camera.exists(CARD_ARCHIVE));
    EXPECT_FALSE(camera.exists(PC_ARCHIVE));
    camera.remove(CARD_ARCHIVE);
    EXPECT_THAT(run("adj_data backup all", ROVA_CMD_PTP), EndsWith(PTP_OK));
    EXPECT_TRUE(camera.exists(PC_ARCHIVE));
    EXPECT_FALSE(camera.exists(CARD_ARCHIVE));
}

TEST_F(AdjDataCommand, RestoreOfAllBringsBackAndSavesWhatABackupOfAllKept)
{
    put("CIS_SN", 77);
    EXPECT_THAT(run("adj_data backup all"), EndsWith(OK));
    put("CIS_SN", 1);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(camera.path("/sdcard"));
    EXPECT_THAT(run("adj_data restore all"), EndsWith(OK));
    std::filesystem::current_path(before);
    EXPECT_EQ(number("CIS_SN"), 77);
    EXPECT_EQ(saves().size(), 6U);
}

TEST_F(AdjDataCommand, BackupAndRestoreThatFailAreRefused)
{
    EXPECT_THAT(run("adj_data restore adj_cap"), EndsWith(NG));
    EXPECT_THAT(run("adj_data restore all"), EndsWith(NG));
    camera.fault("pref_save_to_file", "-1");
    EXPECT_THAT(run("adj_data backup adj_cap"), EndsWith(NG));
    EXPECT_THAT(run("adj_data backup all", ROVA_CMD_PTP), EndsWith(PTP_NG));
    EXPECT_FALSE(camera.exists(PC_ARCHIVE));
}

TEST_F(AdjDataCommand, BackupWithoutACardIsRefused)
{
    camera.remove("/sdcard");
    EXPECT_THAT(run("adj_data backup adj_cap"), EndsWith(NG));
    EXPECT_THAT(run("adj_data restore all"), EndsWith(NG));
}

TEST_F(AdjDataCommand, BackupShowsAStrangeNameAsItStands)
{
    EXPECT_EQ(run("adj_data backup %s%n%s"),
              "backup_adjdata: %s%n%s, not found partition, NG \n" + std::string(NG));
    EXPECT_EQ(run("adj_data restore ../../%d"),
              "restore_adjdata: ../../%d, not found partition, NG \n" + std::string(NG));
}

// ------------------------------------------------------------------------- get

TEST_F(AdjDataCommand, GetGivesThePcThePathOfTheArchiveEndedByABar)
{
    camera.write(PC_ARCHIVE, "x");
    EXPECT_EQ(run("adj_data get", ROVA_CMD_PTP),
              "resp : OK <ptp> 0x10000002, 0x00000000, 0x00020000 \n");
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "/tmp/pref.zip|");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 2);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_PARAM3), 0x20000);
}

TEST_F(AdjDataCommand, GetTellsItsStepsAndMakesNoBackup)
{
    camera.write(PC_ARCHIVE, "x");
    EXPECT_EQ(run("adj_data get"), OK);
    std::vector<std::string> lines = lines_of(camera.platform_log());
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], EndsWith(notice("start backup!!1")));
    EXPECT_THAT(lines[1], EndsWith(notice("finish backup!!1")));
    EXPECT_THAT(lines[2], EndsWith(notice("PATH : /tmp/pref.zip, streambuffer : /tmp/pref.zip|")));
    EXPECT_THAT(told({"pref_save_to_file", "sys_system"}), IsEmpty());
    EXPECT_EQ(camera.read(PC_ARCHIVE), "x");
}

TEST_F(AdjDataCommand, GetWithoutAnArchiveIsRefusedAndNamesItWithoutTheBar)
{
    EXPECT_EQ(run("adj_data get", ROVA_CMD_PTP),
              "resp : NG <ptp> 0x10000002, 0x00000001, 0x00020000 \n");
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "/tmp/pref.zip");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 2);
    EXPECT_TRUE(logged(notice("finish backup!!1")));
    EXPECT_TRUE(logged(error("NOT ACCESS PATH!!! ")));
    EXPECT_EQ(times_logged("PATH : "), 0U);
}

TEST_F(AdjDataCommand, GetIsRefusedWhenTheArchiveMayNotBeRead)
{
    camera.write(PC_ARCHIVE, "x");
    camera.fault("sys_access", std::string("-1 errno EACCES on ") + PC_ARCHIVE);
    EXPECT_EQ(run("adj_data get"), NG);
    EXPECT_TRUE(logged(error("NOT ACCESS PATH!!! ")));
}

TEST_F(AdjDataCommand, GetThatCountsNoParameterStillNamesTheArchive)
{
    camera.write(PC_ARCHIVE, "x");
    cmd_data record = record_of("adj_data get");
    record.p_count = 0;
    EXPECT_EQ(run(record, ROVA_CMD_PTP), "resp : NG <ptp> 0x10000002, 0x00000001, 0x00020000 \n");
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "/tmp/pref.zip");
    EXPECT_EQ(times_logged("backup!!1"), 0U);
}

TEST_F(AdjDataCommand, ABackupOfAllIsWhatGetThenOffers)
{
    EXPECT_THAT(run("adj_data backup all", ROVA_CMD_PTP), EndsWith(PTP_OK));
    EXPECT_THAT(run("adj_data get", ROVA_CMD_PTP), StartsWith("resp : OK <ptp>"));
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "/tmp/pref.zip|");
}

// ------------------------------------------------------------------------- log_file

TEST_F(AdjDataCommand, LogFileWritesARowForEachNumberInTheOrderOfThePartitions)
{
    put("CIS_SN", 321);
    put("SHIPPING_COUNTRY", -2);
    put("WIFI_INFINITIUM_CERT", 0x80);
    put("PAF_OFFSET_V", 0x7fffffff);
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    EXPECT_THAT(camera.read(CARD_CSV), StartsWith(CSV_HEADER));

    // sys, cap, dpc, vfpn, cs, iq: all items but texts and tables.
    std::vector<std::string> expected;
    for (int pref_id : {4, 5, 9, 7, 8, 6})
        for (const adjdata_part &part : rova_adjdata_parts())
            for (const adjdata_info *row = part.items; row->size != 0; row++) {
                if (part.pref_id != static_cast<uint32_t>(pref_id) || row->size == 3 ||
                    row->size > 4)
                    continue;
                int value = number(row->name);
                char text[120];
                std::snprintf(text, sizeof(text), "%zu,321,%s,%u,%d,0x%x\r", expected.size() + 1,
                              row->name, row->size, value, static_cast<unsigned>(value));
                expected.push_back(text);
            }
    EXPECT_EQ(csv_rows(), expected);
    EXPECT_EQ(expected.size(), NUMBERS);
}

TEST_F(AdjDataCommand, LogFileWritesNumbersWithTheirSignAndAll32Bits)
{
    put("CIS_SN", 321);
    put("SHIPPING_COUNTRY", -2);
    put("LOCAL_MARKET_AFRICA", 0x80);
    put("LOCAL_MARKET_SAUDI", 0x1f);
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    std::vector<std::string> rows = csv_rows();
    ASSERT_GT(rows.size(), 4U);
    EXPECT_EQ(rows[0], "1,321,SHIPPING_COUNTRY,2,-2,0xfffffffe\r");
    EXPECT_EQ(rows[1], "2,321,LOCAL_MARKET_AFRICA,1,-128,0xffffff80\r");
    EXPECT_EQ(rows[2], "3,321,LOCAL_MARKET_SAUDI,1,31,0x1f\r");
    EXPECT_EQ(rows[3], "4,321,ENGINEERING_SAMPLE,4,0,0x0\r");
    EXPECT_THAT(rows.back(), HasSubstr(",321,PAF_OFFSET_V,4,0,0x0"));
}

TEST_F(AdjDataCommand, LogFileTellsTheSizesOfTheSystemPartitionOnly)
{
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    EXPECT_TRUE(logged(info("size[0] 2, [adj_sz=39]")));
    EXPECT_TRUE(logged(info("size[4] 16, [adj_sz=39]")));
    EXPECT_TRUE(logged(info("size[38] 996, [adj_sz=39]")));
    EXPECT_EQ(times_logged("[adj_sz="), 39U);
}

TEST_F(AdjDataCommand, LogFileOnTheCardIsAppendedTo)
{
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    std::vector<std::string> rows = csv_rows();
    ASSERT_EQ(rows.size(), 2 * NUMBERS);
    EXPECT_EQ(rows[NUMBERS], "124,0,SHIPPING_COUNTRY,2,0,0x0\r");
}

TEST_F(AdjDataCommand, LogFileGivesThePcThePathOfItsFile)
{
    camera.write("/sdcard/info.tgw", "");
    EXPECT_THAT(run("adj_data log_file", ROVA_CMD_PTP),
                EndsWith("resp : OK <ptp> 0x10000002, 0x00000000, 0x00010000 \n"));
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), PC_CSV);
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 1);
    EXPECT_THAT(camera.read(PC_CSV), StartsWith(std::string("adjdata.csv\r\n") + CSV_HEADER));
    EXPECT_FALSE(camera.exists(CARD_CSV));
}

TEST_F(AdjDataCommand, LogFileWithoutACardWritesNoRowsAndNamesNoFile)
{
    camera.remove("/sdcard");
    std::string log = run("adj_data log_file", ROVA_CMD_PTP);
    EXPECT_THAT(log, EndsWith(std::string("csv_close: handle is NULL, NG \n") + PTP_OK));
    EXPECT_THAT(log, HasSubstr(", fopen failed, NG \n"));
    EXPECT_THAT(log, testing::Not(HasSubstr("csv_write")));
    EXPECT_EQ(camera.key_string(ROVA_KEY_PMODE_STREAM), "");
    EXPECT_EQ(camera.key_int(ROVA_KEY_PMODE_STREAM_TYPE), 0);
}

TEST_F(AdjDataCommand, LogFileThatCannotBeOpenedIsNoFailure)
{
    camera.fault("sys_open", std::string("-1 errno EROFS on ") + CARD_CSV);
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    EXPECT_EQ(times_logged("failed to open(/sdcard/adjdata.csv), Read-only file system"), 1U);
}

TEST_F(AdjDataCommand, LogFileOnAFullCardIsNoFailure)
{
    camera.fault("sys_write", std::string("-1 errno ENOSPC on ") + CARD_CSV);
    testing::internal::CaptureStderr();
    EXPECT_THAT(run("adj_data log_file"), EndsWith(OK));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("write failed \n"));
    EXPECT_EQ(camera.read(CARD_CSV), "");
}

TEST_F(AdjDataCommand, LogFileLeavesOutAMissingPartitionAndIsRefused)
{
    camera.fault("pref_get_addr", "0 on adj_vfpn");
    EXPECT_THAT(run("adj_data log_file"), EndsWith(NG));
    std::vector<std::string> rows = csv_rows();
    EXPECT_EQ(rows.size(), NUMBERS - 20);
    EXPECT_THAT(camera.read(CARD_CSV), testing::Not(HasSubstr("VFPN")));
    EXPECT_THAT(camera.read(CARD_CSV), HasSubstr(",PAF_OFFSET_V,4,0,0x0\r\n"));
}

// ------------------------------------------------------------------------- save

TEST_F(AdjDataCommand, SaveSavesTheSixPartitions)
{
    EXPECT_EQ(run("adj_data save"), OK);
    EXPECT_THAT(saves(), ElementsAre("pref_save[4]", "pref_save[5]", "pref_save[6]", "pref_save[7]",
                                     "pref_save[8]", "pref_save[9]"));
}

TEST_F(AdjDataCommand, SaveThatFailsIsNoFailureAndGoesOn)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(run("adj_data save", ROVA_CMD_PTP), PTP_OK);
    EXPECT_EQ(saves().size(), 6U);
}

// ------------------------------------------------------------------------- default

TEST_F(AdjDataCommand, DefaultOfAPartitionLoadsAndSavesItsDefaults)
{
    const struct {
        const char *name;
        int pref_id;
    } parts[] = {{"adj_sys", 4},  {"adj_cap", 5}, {"adj_iq", 6},
                 {"adj_vfpn", 7}, {"adj_cs", 8},  {"adj_dpc", 9}};
    rova_save_default_adjdata();
    std::vector<std::string> expected;
    for (const auto &part : parts) {
        std::string number = std::to_string(part.pref_id);
        data_of(part.pref_id)[0] = 0x55;
        EXPECT_EQ(run(std::string("adj_data default ") + part.name), OK);
        EXPECT_EQ(data_of(part.pref_id)[0], 0) << part.name;
        expected.push_back("pref_load[" + number + ",1]");
        expected.push_back("pref_save[" + number + "]");
        expected.push_back(shows(2, "set default " + std::string(part.name) + "!!"));
    }
    EXPECT_EQ(told({"pref_load", "pref_save", "factory_osd_text_set"}), expected);
    EXPECT_EQ(number("TEMP_SENSOR_SELECT"), 4);
    EXPECT_EQ(number("TEMP_SENSOR_ISP_TH_CRITICAL"), 110);
}

TEST_F(AdjDataCommand, DefaultTakesPartitionWordsInCapitals)
{
    EXPECT_EQ(run("adj_data default ADJ_Vfpn", ROVA_CMD_PTP), PTP_OK);
    EXPECT_THAT(told({"pref_load"}), ElementsAre("pref_load[7,1]"));
    EXPECT_THAT(shown(), ElementsAre(shows(2, "set default adj_vfpn!!")));
}

TEST_F(AdjDataCommand, DefaultOfAPartitionIsOkEvenWhenTheResetFails)
{
    camera.fault("pref_load", "-1");
    testing::internal::CaptureStderr();
    EXPECT_EQ(run("adj_data default adj_cs"), OK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "pref_load(id=8) was failed! \n");
    EXPECT_THAT(shown(), ElementsAre(shows(2, "set default adj_cs!!")));
    EXPECT_THAT(saves(), IsEmpty());
}

TEST_F(AdjDataCommand, DefaultOfAllLeavesTheDefectListsAndClearsEveryMark)
{
    rova_save_default_adjdata();
    for (int pref_id = 4; pref_id <= 9; pref_id++)
        data_of(pref_id)[0] = 0x55;
    std::memset(data_of(ROVA_PREF_ID_LINE), 2, LAST_MARK + 2);
    EXPECT_THAT(run("adj_data default"), EndsWith(OK));

    for (int pref_id = 4; pref_id <= 8; pref_id++)
        EXPECT_EQ(data_of(pref_id)[0], 0) << pref_id;
    EXPECT_EQ(data_of(9)[0], 0x55);
    for (int mark = 0; mark <= LAST_MARK; mark++)
        EXPECT_EQ(data_of(ROVA_PREF_ID_LINE)[mark], 0) << mark;
    EXPECT_EQ(data_of(ROVA_PREF_ID_LINE)[LAST_MARK + 1], 2); // behind the last mark
    EXPECT_THAT(told({"pref_load"}),
                ElementsAre("pref_load[4,1]", "pref_load[5,1]", "pref_load[6,1]", "pref_load[7,1]",
                            "pref_load[8,1]"));
    EXPECT_THAT(shown(), ElementsAre(shows(2, "set default adjdata!!")));
}

TEST_F(AdjDataCommand, DefaultOfAllSetsTheMarksOneByOneInTheirOrder)
{
    std::vector<std::string> lines = lines_of(run("adj_data default"));
    ASSERT_EQ(lines.size(), LAST_MARK + 2U);
    EXPECT_EQ(lines[0], "set_proc_mark: 0x8550000000000000, value=0, STEP_LABEL, OK ");
    EXPECT_EQ(lines[LAST_MARK], "set_proc_mark: 0x8550000000000043, value=0, MR, OK ");
    EXPECT_EQ(times_logged("Not found on proc_mark table"), 0U);
}

TEST_F(AdjDataCommand, DefaultOfAllIsOkEvenWhenEverythingFails)
{
    camera.fault("pref_load", "-1");
    camera.fault("pref_save", "-1");
    testing::internal::CaptureStderr();
    EXPECT_THAT(run("adj_data default", ROVA_CMD_PTP), EndsWith(PTP_OK));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                StartsWith("pref_load(id=4) was failed! \n"));
    EXPECT_THAT(shown(), ElementsAre(shows(2, "set default adjdata!!")));
}

TEST_F(AdjDataCommand, DefaultRefusesOtherWordsAndMoreOfThem)
{
    for (const char *words : {"adj_foo", "all", "line", "%s%n", "adj_sys adj_cap", "adj_sys x y"})
        EXPECT_EQ(run(std::string("adj_data default ") + words), NG) << words;
    EXPECT_EQ(times_logged(error("Not Found argument !!")), 6U);
    EXPECT_THAT(told({"pref_load", "pref_save", "factory_osd_text_set"}), IsEmpty());
}
