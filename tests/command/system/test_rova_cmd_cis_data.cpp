#include "command/rova_cmd_handler.h"
#include "common/rova_adjdata_handler.h"
#include "common/rova_cis_data.h"
#include "tests/command/command_test.h"

#include <cstring>
#include <fstream>

using namespace test;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

namespace
{

constexpr char ADJUST[] = "cis_data adjust";
constexpr char LIST[] = "/sdcard/serial_sensor.csv";
constexpr char CARD_FILE[] = "/sdcard/LOT17/00123.sn";
constexpr char PC_DATA[] = "/var/run/memory/private/pmode_shutter_data";
constexpr char DOT_BIN[] = "/opt/share/rova/CIS_DOT.bin";

// Section n has n + 1 pixels; 45 in all.
std::string dot_file()
{
    std::string text = "LOT= A17\r\nNO= 123456\r\nVer= 3\r\nCIS CLAMP 64\r\n";
    int count = 0;
    for (char section : std::string("BOTWCXSPL")) {
        text += std::string(1, section) + "\r\n";
        count++;
        for (int i = 0; i < count; i++)
            text += std::to_string(100 * count + i) + " " + std::to_string(i) + "\r\n";
    }
    return text + "#\r\n";
}

// The list that such a file becomes.
std::string pixel_list()
{
    std::string list;
    auto add = [&](int number) {
        list.append({static_cast<char>(number & 0xff), static_cast<char>(number >> 8)});
    };
    for (int section = 1; section <= 9; section++)
        for (int i = 0; i < section; i++) {
            add(100 * section + i);
            add(i);
        }
    return list;
}

std::string pixels(int count)
{
    std::string text = "B\n";
    for (int i = 0; i < count; i++)
        text += "7 8\n";
    return text;
}

int item(const char *name)
{
    uint32_t size = 0;
    uint64_t id = rova_get_adjdata_id(name, &size);
    return rova_adjdata_number(rova_get_adjdata(id), size);
}

std::vector<int> items(const std::vector<const char *> &names)
{
    std::vector<int> numbers;
    for (const char *name : names)
        numbers.push_back(item(name));
    return numbers;
}

std::vector<int> counts()
{
    return items({"CIS_PIXEL_NUM_B", "CIS_PIXEL_NUM_O", "CIS_PIXEL_NUM_T", "CIS_PIXEL_NUM_W",
                  "CIS_PIXEL_NUM_C", "CIS_PIXEL_NUM_X", "CIS_PIXEL_NUM_S", "CIS_PIXEL_NUM_P",
                  "CIS_PIXEL_NUM_L"});
}

std::vector<int> sensor()
{
    return items({"CIS_SN", "CIS_CHIP_VERSION", "CIS_CLAMP_LEVEL"});
}

std::string preset()
{
    return {static_cast<const char *>(rova_get_adjdata(ADJ_ID_DPC_PRESET_DATA)), 8412};
}

std::string stored(const char *id, int size, int save, const char *name)
{
    return std::string("set_adjdata: 0x") + id + ", size=" + std::to_string(size) +
           ", save=" + std::to_string(save) + ", " + name + ", OK \n";
}

const std::string SENSOR_STORED = stored("8560100000000000", 4, 0, "CIS_SN") +
                                  stored("8560100000000004", 2, 0, "CIS_CHIP_VERSION") +
                                  stored("8560100000000006", 2, 0, "CIS_CLAMP_LEVEL");
const std::string PRESET_STORED = stored("85619000000001f0", 8412, 0, "DPC_PRESET_DATA");
const std::string SIZE_STORED = stored("85619000000022cc", 4, 1, "DPC_PRESET_NUM");
const std::string COUNTS_STORED = stored("8560100000000008", 2, 0, "CIS_PIXEL_NUM_B") +
                                  stored("856010000000004e", 2, 0, "CIS_PIXEL_NUM_O") +
                                  stored("856010000000000c", 2, 0, "CIS_PIXEL_NUM_T") +
                                  stored("8560100000000050", 2, 0, "CIS_PIXEL_NUM_W") +
                                  stored("8560100000000052", 2, 0, "CIS_PIXEL_NUM_C") +
                                  stored("856010000000000a", 2, 0, "CIS_PIXEL_NUM_X") +
                                  stored("8560100000000010", 2, 0, "CIS_PIXEL_NUM_S") +
                                  stored("8560100000000012", 2, 0, "CIS_PIXEL_NUM_P") +
                                  stored("856010000000000e", 2, 1, "CIS_PIXEL_NUM_L");

const std::string ALL_STORED = SENSOR_STORED + SIZE_STORED + COUNTS_STORED;

// What stands in the partition's flash, as the next start of the camera finds it.
std::string in_flash(const Camera &camera, const std::string &part, std::size_t at,
                     std::size_t size)
{
    std::ifstream in(camera.path("/virtual/pref/" + part + ".flash"), std::ios::binary);
    in.seekg(static_cast<std::streamoff>(512 + at));
    std::string bytes(size, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(size));
    return in ? bytes : "";
}

} // namespace

class CisData : public CommandTest
{
protected:
    void put_on_card(const std::string &text)
    {
        camera.write(LIST, "LOT17,00123\r\n");
        camera.write(CARD_FILE, text);
    }

    void put_from_pc(const std::string &text) { camera.write(PC_DATA, text); }

    std::vector<std::string> saved() { return told({"pref_save"}); }

    void expect_nothing_stored()
    {
        EXPECT_THAT(sensor(), ElementsAre(0, 0, 0));
        EXPECT_THAT(counts(), testing::Each(0));
        EXPECT_EQ(item("DPC_PRESET_NUM"), 0);
        EXPECT_THAT(saved(), IsEmpty());
        EXPECT_FALSE(camera.exists(DOT_BIN));
    }

    // The `nth` store of the line fails; its message is the last one of the kind.
    void expect_failed_store(const std::string &line, int nth, const std::string &name)
    {
        camera.remove("/virtual/dlog");
        camera.fault("pref_get_addr", "0 at " + std::to_string(nth));
        EXPECT_THAT(run(line), EndsWith(", pref_addr is NULL, NG \n" + std::string(NG)));
        EXPECT_EQ(times_logged("failed to rova_set_adjdata() ADJ_ID_" + name), 1U) << name;
        EXPECT_EQ(times_logged("failed to rova_set_adjdata()"), 1U) << name;
        camera.clear_fault("pref_get_addr");
    }
};

// ------------------------------------------------------------------------- cis_data adjust

TEST_F(CisData, AdjustStoresTheFileOnTheCardInOrder)
{
    put_on_card(dot_file());
    put_from_pc("NO= 1\n");
    EXPECT_EQ(run(ADJUST), ALL_STORED + OK);
    EXPECT_THAT(sensor(), ElementsAre(123456, 3, 64));
    EXPECT_THAT(counts(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(item("DPC_PRESET_NUM"), 180);
    EXPECT_EQ(camera.read(DOT_BIN), pixel_list());
    EXPECT_FALSE(camera.exists(LIST));
}

TEST_F(CisData, AdjustTellsWhatItFound)
{
    put_on_card(dot_file());
    run(ADJUST);
    EXPECT_TRUE(camera.logged("total file size = " + std::to_string(dot_file().size()) + " "));
    EXPECT_TRUE(camera.logged("cis_serial=123456, chip_ver=3, clamp_level=64, dot_data_size=180 "));
    EXPECT_TRUE(camera.logged("pixel (b=1,o=2,t=3,w=4,c=5,x=6,s=7,p=8,l=9) "));
}

TEST_F(CisData, AdjustTakesThePcsDataWithoutAList)
{
    put_from_pc(dot_file());
    EXPECT_EQ(run(ADJUST), ALL_STORED + OK);
    EXPECT_THAT(sensor(), ElementsAre(123456, 3, 64));
}

TEST_F(CisData, AdjustLeavesTheListInTheStoreAlone)
{
    std::memset(rova_get_adjdata(ADJ_ID_DPC_PRESET_DATA), 0x55, 8412);
    put_on_card(pixels(3000));
    EXPECT_THAT(run(ADJUST), EndsWith(OK));
    EXPECT_EQ(item("DPC_PRESET_NUM"), 12000) << "of any size";
    EXPECT_EQ(preset(), std::string(8412, 0x55));
}

TEST_F(CisData, AdjustWithoutAFileIsNgAndStoresNothing)
{
    EXPECT_EQ(run(ADJUST), NG);
    EXPECT_TRUE(camera.logged("failed to access dot_data"));
    expect_nothing_stored();
}

TEST_F(CisData, AdjustWithAListThatNamesAMissingFileIsNg)
{
    camera.write(LIST, "LOT17,00123\r\n");
    put_from_pc(dot_file());
    EXPECT_EQ(run(ADJUST), NG);
    EXPECT_FALSE(camera.exists(LIST));
    expect_nothing_stored();
}

TEST_F(CisData, AdjustSavesEachPartitionOnce)
{
    put_on_card(dot_file());
    run(ADJUST);
    EXPECT_THAT(saved(), ElementsAre("pref_save[9]", "pref_save[5]"));
    EXPECT_EQ(in_flash(camera, "adj_cap", 0, 8), std::string("\x40\xe2\x01\0\x03\0\x40\0", 8));
    EXPECT_EQ(in_flash(camera, "adj_cap", 78, 6), std::string("\x02\0\x04\0\x05\0", 6));
    EXPECT_EQ(in_flash(camera, "adj_dpc", 8908, 4), std::string("\xb4\0\0\0", 4));
}

TEST_F(CisData, AdjustWritesThePixelListBetweenSizeAndCounts)
{
    put_on_card(dot_file());
    camera.fault("sys_open", "-1 errno EROFS on CIS_DOT");
    EXPECT_EQ(run(ADJUST), SENSOR_STORED + SIZE_STORED + NG);
    EXPECT_TRUE(camera.logged("failed to open /opt/share/rova/CIS_DOT.bin.new"));
    EXPECT_THAT(saved(), ElementsAre("pref_save[9]"));
}

TEST_F(CisData, AdjustNamesTheItemThatCouldNotBeStored)
{
    put_from_pc(dot_file());
    const char *const names[] = {"CIS_SN",          "CIS_CHIP_VERSION", "CIS_CLAMP_LEVEL",
                                 "DPC_PRESET_NUM",  "CIS_PIXEL_NUM_B",  "CIS_PIXEL_NUM_O",
                                 "CIS_PIXEL_NUM_T", "CIS_PIXEL_NUM_W",  "CIS_PIXEL_NUM_C",
                                 "CIS_PIXEL_NUM_X", "CIS_PIXEL_NUM_S",  "CIS_PIXEL_NUM_P",
                                 "CIS_PIXEL_NUM_L"};
    int nth = 0;
    for (const char *name : names)
        expect_failed_store(ADJUST, ++nth, name);
}

TEST_F(CisData, AdjustNamesTheItemWhosePartitionCouldNotBeSaved)
{
    put_from_pc(dot_file());
    camera.fault("pref_save", "-1 on adj_dpc");
    EXPECT_THAT(run(ADJUST),
                EndsWith(", DPC_PRESET_NUM, pref_save(9) failed, NG \n" + std::string(NG)));
    EXPECT_TRUE(camera.logged("failed to rova_set_adjdata() ADJ_ID_DPC_PRESET_NUM"));
    EXPECT_FALSE(camera.exists(DOT_BIN));
    camera.fault("pref_save", "-1 on adj_cap");
    EXPECT_THAT(run(ADJUST),
                EndsWith(", CIS_PIXEL_NUM_L, pref_save(5) failed, NG \n" + std::string(NG)));
    EXPECT_TRUE(camera.logged("failed to rova_set_adjdata() ADJ_ID_CIS_PIXEL_NUM_L"));
}

TEST_F(CisData, AdjustStoresZerosForAnEmptyFile)
{
    put_from_pc(dot_file());
    run(ADJUST);
    put_from_pc("");
    EXPECT_EQ(run(ADJUST), ALL_STORED + OK);
    EXPECT_THAT(sensor(), ElementsAre(0, 0, 0));
    EXPECT_THAT(counts(), testing::Each(0));
    EXPECT_TRUE(camera.exists(DOT_BIN));
    EXPECT_EQ(camera.read(DOT_BIN), "");
}

TEST_F(CisData, AdjustRefusesWhatTheStoreDoesNotHold)
{
    put_from_pc("Ver= 40000\n");
    EXPECT_EQ(run(ADJUST), NG);
    EXPECT_TRUE(camera.logged("dot_data: Ver= 40000 is out of range "));
    put_from_pc(pixels(32768));
    EXPECT_EQ(run(ADJUST), NG);
    EXPECT_TRUE(camera.logged("dot_data: too many pixels in section B "));
    expect_nothing_stored();
}

TEST_F(CisData, AdjustTellsOfLinesThatAreNoPixels)
{
    put_from_pc("1 2\n70000 1\n-1 5\n3 4\n");
    EXPECT_THAT(run(ADJUST), EndsWith(OK));
    EXPECT_TRUE(camera.logged("dot_data: 2 lines begin like a pixel and are none "));
    EXPECT_EQ(item("CIS_PIXEL_NUM_B"), 2);
}

TEST_F(CisData, AdjustAnswersThePc)
{
    EXPECT_EQ(run(ADJUST, ROVA_CMD_PTP), PTP_NG);
    put_from_pc(dot_file());
    EXPECT_EQ(run("CIS_DATA Adjust now", ROVA_CMD_PTP), ALL_STORED + PTP_OK);
}

TEST_F(CisData, AnUnknownWordIsNotAnswered)
{
    put_from_pc(dot_file());
    EXPECT_EQ(run("cis_data adjusted"), NO_ANSWER);
    EXPECT_EQ(run("cis_data"), NO_ANSWER);
    EXPECT_EQ(times_logged("Not found on cis_data command table "), 2U);
    expect_nothing_stored();
}

// ------------------------------------------------------------------------- cis_data2

TEST_F(CisData, PcStoresThePixelListToo)
{
    put_from_pc(dot_file());
    EXPECT_EQ(run("cis_data2", ROVA_CMD_PTP2),
              SENSOR_STORED + PRESET_STORED + SIZE_STORED + COUNTS_STORED + PTP_OK);
    EXPECT_EQ(preset(), pixel_list() + std::string(8412 - 180, '\0'));
    EXPECT_EQ(item("DPC_PRESET_NUM"), 180);
    EXPECT_THAT(sensor(), ElementsAre(123456, 3, 64));
    EXPECT_THAT(counts(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(camera.read(DOT_BIN), pixel_list());
    EXPECT_TRUE(camera.logged("cis_serial=123456, chip_ver=3, clamp_level=64, dot_data_size=180 "));
    EXPECT_TRUE(camera.logged("pixel (b=1,o=2,t=3,w=4,c=5,x=6,s=7,p=8,l=9) "));
}

TEST_F(CisData, PcSavesListAndSizeTogether)
{
    put_from_pc(dot_file());
    run("cis_data2", ROVA_CMD_PTP2);
    EXPECT_THAT(saved(), ElementsAre("pref_save[9]", "pref_save[5]"));
    EXPECT_EQ(in_flash(camera, "adj_dpc", 496, 8416), preset() + std::string("\xb4\0\0\0", 4));
}

TEST_F(CisData, PcReplacesALongerListWhole)
{
    put_from_pc(pixels(2103));
    ASSERT_THAT(run("cis_data2", ROVA_CMD_PTP2), EndsWith(PTP_OK));
    put_from_pc("1 2\n");
    ASSERT_THAT(run("cis_data2", ROVA_CMD_PTP2), EndsWith(PTP_OK));
    EXPECT_EQ(preset(), std::string("\x01\0\x02\0", 4) + std::string(8408, '\0'));
    EXPECT_EQ(item("DPC_PRESET_NUM"), 4);
}

TEST_F(CisData, PcNeverLooksAtTheCard)
{
    put_on_card(dot_file());
    EXPECT_EQ(run("cis_data2", ROVA_CMD_PTP2), PTP_NG);
    EXPECT_TRUE(camera.logged("failed to access dot_data"));
    EXPECT_TRUE(camera.exists(LIST));
    expect_nothing_stored();
}

TEST_F(CisData, PcListsFromOnePixelToTheItemsSizeAreTaken)
{
    put_from_pc(pixels(1));
    EXPECT_THAT(run("cis_data2"), EndsWith(OK));
    put_from_pc(pixels(2103));
    EXPECT_THAT(run("cis_data2"), EndsWith(OK));
    EXPECT_EQ(item("DPC_PRESET_NUM"), 8412);
}

TEST_F(CisData, PcListsOfAnotherSizeAreNgAndStoreNothing)
{
    put_from_pc("NO= 5\n");
    EXPECT_EQ(run("cis_data2"), NG);
    EXPECT_TRUE(camera.logged("dot_data_size(0) is not valid (0< <8413)"));
    put_from_pc(pixels(2104));
    EXPECT_EQ(run("cis_data2"), NG);
    EXPECT_TRUE(camera.logged("dot_data_size(8416) is not valid (0< <8413)"));
    expect_nothing_stored();
}

TEST_F(CisData, PcNamesTheItemThatCouldNotBeStored)
{
    put_from_pc(dot_file());
    const char *const names[] = {
        "CIS_SN",          "CIS_CHIP_VERSION", "CIS_CLAMP_LEVEL", "DPC_PRESET_DATA_SZ",
        "DPC_PRESET_NUM",  "CIS_PIXEL_NUM_B",  "CIS_PIXEL_NUM_O", "CIS_PIXEL_NUM_T",
        "CIS_PIXEL_NUM_W", "CIS_PIXEL_NUM_C",  "CIS_PIXEL_NUM_X", "CIS_PIXEL_NUM_S",
        "CIS_PIXEL_NUM_P", "CIS_PIXEL_NUM_L"};
    int nth = 0;
    for (const char *name : names)
        expect_failed_store("cis_data2", ++nth, name);
}

TEST_F(CisData, PcListThatCannotBeWrittenIsNg)
{
    put_from_pc(dot_file());
    camera.fault("sys_rename", "-1 errno EIO on CIS_DOT");
    EXPECT_EQ(run("cis_data2"), SENSOR_STORED + PRESET_STORED + SIZE_STORED + NG);
}

// ------------------------------------------------------------------------- cis_data_info

TEST_F(CisData, InfoStoresSixCountsOnlyInItsOwnOrder)
{
    put_from_pc(dot_file());
    EXPECT_EQ(run("cis_data_info", ROVA_CMD_PTP2),
              stored("8560100000000012", 2, 0, "CIS_PIXEL_NUM_P") +
                  stored("8560100000000010", 2, 0, "CIS_PIXEL_NUM_S") +
                  stored("856010000000000e", 2, 0, "CIS_PIXEL_NUM_L") +
                  stored("856010000000000c", 2, 0, "CIS_PIXEL_NUM_T") +
                  stored("856010000000000a", 2, 0, "CIS_PIXEL_NUM_X") +
                  stored("8560100000000008", 2, 1, "CIS_PIXEL_NUM_B") + PTP_OK);
    EXPECT_THAT(counts(), ElementsAre(1, 0, 3, 0, 0, 6, 7, 8, 9));
    EXPECT_THAT(sensor(), ElementsAre(0, 0, 0));
    EXPECT_EQ(item("DPC_PRESET_NUM"), 0);
    EXPECT_FALSE(camera.exists(DOT_BIN));
    EXPECT_THAT(saved(), ElementsAre("pref_save[5]"));
}

TEST_F(CisData, InfoTellsTheSixCounts)
{
    put_from_pc(dot_file());
    run("cis_data_info");
    EXPECT_TRUE(camera.logged("pixel (b=1,x=6,t=3,s=7,p=8,l=9) "));
    EXPECT_FALSE(camera.logged("cis_serial="));
}

TEST_F(CisData, InfoTakesAListOfAnySize)
{
    put_from_pc(pixels(0));
    EXPECT_THAT(run("cis_data_info"), EndsWith(OK));
    put_from_pc(pixels(3000));
    EXPECT_THAT(run("cis_data_info"), EndsWith(OK));
    EXPECT_EQ(item("CIS_PIXEL_NUM_B"), 3000);
}

TEST_F(CisData, InfoWithoutThePcsDataIsNg)
{
    put_on_card(dot_file());
    EXPECT_EQ(run("cis_data_info", ROVA_CMD_PTP2), PTP_NG);
    EXPECT_TRUE(camera.logged("failed to access dot_data"));
    EXPECT_TRUE(camera.exists(LIST));
    expect_nothing_stored();
}

TEST_F(CisData, InfoNamesTheItemThatCouldNotBeStored)
{
    put_from_pc(dot_file());
    int nth = 0;
    for (const char *section : {"P", "S", "L", "T", "X", "B"})
        expect_failed_store("cis_data_info", ++nth, std::string("CIS_PIXEL_NUM_") + section);
    camera.remove("/virtual/dlog");
    camera.fault("pref_save", "-1");
    EXPECT_THAT(run("cis_data_info"), EndsWith(NG));
    EXPECT_EQ(times_logged("failed to rova_set_adjdata() ADJ_ID_CIS_PIXEL_NUM_B"), 1U);
}

// ------------------------------------------------------------------------- cis_data_file

TEST_F(CisData, FileDoesWhatAdjustDoesAndAnswersOnce)
{
    put_on_card(dot_file());
    EXPECT_EQ(run("cis_data_file", ROVA_CMD_PTP2), ALL_STORED + PTP_OK);
    EXPECT_FALSE(camera.exists(LIST));
    EXPECT_EQ(camera.read(DOT_BIN), pixel_list());
}

TEST_F(CisData, FileIsNgOnceWhereAdjustIs)
{
    EXPECT_EQ(run("cis_data_file", ROVA_CMD_PTP2), PTP_NG);
    EXPECT_TRUE(camera.logged("failed to access dot_data"));
}
