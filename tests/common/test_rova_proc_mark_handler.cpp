#include "common/rova_proc_mark_handler.h"

#include "common/rova_log.h"
#include "common/rova_step_label_handler.h"
#include "platform/pref.h"
#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

using testing::EndsWith;

namespace
{

constexpr uint64_t STEP_LABEL = 0x8550000000000000;
constexpr uint64_t KEY = 0x8550000000000002;
constexpr uint64_t MR = 0x8550000000000043;
constexpr uint64_t NO_MARK = 0x8550000000000100;
constexpr uint64_t ALL_ONES = 0xffffffffffffffff;
constexpr std::size_t MARKS = 68;

const std::vector<std::string> names = {
    "STEP_LABEL",
    "SNAPSHOT",
    "KEY",
    "POPUP",
    "JOG1",
    "JOG2",
    "WHEEL",
    "MODE_DIAL",
    "DRIVE_DIAL",
    "HDMI",
    "EXT_RELEASE",
    "EARJACK",
    "USB",
    "PROXIMITY",
    "NFC",
    "SWIVEL",
    "ROTATION",
    "RTC",
    "BATTERY_LEVEL",
    "TOUCH",
    "DR",
    "SHIPMENT_COUNTRY",
    "WIFI",
    "ISO",
    "AWB",
    "DEFECT_PIXEL",
    "VFPN",
    "HOTSHOE",
    "MOT",
    "DUST",
    "NOISE",
    "MOVIE",
    "ACCELOMETER",
    "PAF",
    "EFS",
    "GYROSCOPE",
    "STROBE",
    "FLANGEBACK",
    "CAPTURE",
    "XSW",
    "SHUTTER",
    "CIS_DATA",
    "SHUTTER_SPEED",
    "LENS_MOUNT",
    "LOOPBACK",
    "LCD",
    "SPEAKER",
    "PBA",
    "BLUETOOTH",
    "SHUTTER_HORIZON",
    "COLOR_SHADING",
    "VGRIP",
    "STLCD",
    "EVF",
    "SDCARD",
    "TILT",
    "IMG_SENSOR",
    "AFLED",
    "MIC",
    "CUR_CHARGE",
    "CUR_CONSUMPTION",
    "CUR_LEAKAGE",
    "MAC_ADDRESS",
    "FUNC_LED",
    "FWVERSION_BODY",
    "FWVERSION_MICOM",
    "ADJ_DATA",
    "MR",
};

struct ProcMark : testing::Test {
    ProcMark() { rova_log_set_enable(1); }
    ~ProcMark() override { rova_log_set_enable(0); }

    // The file log's only line, without its time: "20260115 13:05:09 : ".
    std::string file_line() const { return camera.file_log().substr(20); }

    uint8_t *data() const
    {
        return static_cast<uint8_t *>(pref_get_addr(2, nullptr)) + PREF_HEADER_SIZE;
    }

    std::string flash() const { return camera.read("/virtual/pref/line.flash"); }

    test::Camera camera;
};

} // namespace

TEST(ProcMarkTable, HoldsTheMarksInTheOrderOfTheirBytes)
{
    ASSERT_EQ(names.size(), MARKS);
    for (std::size_t i = 0; i < MARKS; i++) {
        EXPECT_EQ(rova_proc_mark_info[i].name, names[i]);
        EXPECT_EQ(rova_proc_mark_info[i].id, 0x8550000000000000 + i) << names[i];
    }
}

TEST(ProcMarkTable, EndsWithARowOfItsOwn)
{
    EXPECT_STREQ(rova_proc_mark_info[MARKS].name, "end");
    EXPECT_EQ(rova_proc_mark_info[MARKS].id, ALL_ONES);
}

TEST(ProcMarkTable, ARowIsFoundByItsExactName)
{
    for (std::size_t i = 0; i < MARKS; i++)
        EXPECT_EQ(rova_find_proc_mark(names[i].c_str()), &rova_proc_mark_info[i]);
    for (const char *name : {"", "key", "KE", "KEYS", "end", "END", "JOG"})
        EXPECT_EQ(rova_find_proc_mark(name), nullptr) << name;
}

TEST(ProcMarkTable, ARowIsFoundByItsId)
{
    for (std::size_t i = 0; i < MARKS; i++)
        EXPECT_EQ(rova_get_proc_mark_info(STEP_LABEL + i), &rova_proc_mark_info[i]);
    for (uint64_t id : {uint64_t{0}, uint64_t{2}, MR + 1, NO_MARK, ALL_ONES})
        EXPECT_EQ(rova_get_proc_mark_info(id), nullptr) << id;
}

TEST_F(ProcMark, TheNameOfAnIdIsItsRows)
{
    EXPECT_STREQ(rova_get_proc_mark_name(STEP_LABEL), "STEP_LABEL");
    EXPECT_STREQ(rova_get_proc_mark_name(MR), "MR");
    EXPECT_FALSE(camera.logged("Not found"));
}

TEST_F(ProcMark, AnIdWithoutARowHasNoName)
{
    EXPECT_EQ(rova_get_proc_mark_name(NO_MARK), nullptr);
    EXPECT_TRUE(camera.logged("Not found id=0x8550000000000100 on proc_mark list \033[m"));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(ProcMark, TheIdOfTheLastRowIsNoMarks)
{
    EXPECT_EQ(rova_get_proc_mark_name(ALL_ONES), nullptr);
    EXPECT_TRUE(camera.logged("Not found id=0xffffffffffffffff on proc_mark list \033[m"));
    EXPECT_EQ(rova_set_proc_mark_value(ALL_ONES, 2), 0);
    EXPECT_TRUE(camera.logged("Not found on proc_mark table (id=0xffffffffffffffff) \033[m"));
}

TEST_F(ProcMark, AFreshCameraHasNone)
{
    for (const std::string &name : names)
        EXPECT_EQ(rova_get_proc_mark_value(rova_find_proc_mark(name.c_str())->id), 0) << name;
}

TEST_F(ProcMark, SettingStoresTheByteAndSavesThePartition)
{
    EXPECT_EQ(rova_set_proc_mark_value(KEY, 2), 1);
    EXPECT_EQ(rova_get_proc_mark_value(KEY), 2);
    EXPECT_EQ(data()[2], 2);
    ASSERT_EQ(flash().size(), 512u + 65536u);
    EXPECT_EQ(flash()[512 + 2], 2);
    EXPECT_EQ(file_line(), "set_proc_mark: 0x8550000000000002, value=2, KEY, OK \n");
    EXPECT_EQ(camera.call_texts(), std::vector<std::string>{"pref_save(2)"});
}

TEST_F(ProcMark, EachMarkHasAByteOfItsOwn)
{
    for (std::size_t i = 0; i < MARKS; i++)
        ASSERT_EQ(rova_set_proc_mark_value(STEP_LABEL + i, static_cast<int>(i) + 100), 1);
    for (std::size_t i = 0; i < MARKS; i++) {
        EXPECT_EQ(data()[i], i + 100) << names[i];
        EXPECT_EQ(rova_get_proc_mark_value(STEP_LABEL + i), i + 100) << names[i];
    }
}

TEST_F(ProcMark, SettingTheLastMarkWritesItsByteAlone)
{
    EXPECT_EQ(rova_set_proc_mark_value(MR, 1), 1);
    std::string expected(65536, '\0');
    expected[67] = 1;
    EXPECT_EQ(flash().substr(512), expected);
    EXPECT_EQ(std::memcmp(data(), expected.data(), expected.size()), 0);
    EXPECT_EQ(file_line(), "set_proc_mark: 0x8550000000000043, value=1, MR, OK \n");
}

TEST_F(ProcMark, ClearingSetsTheMarksAndNothingElse)
{
    std::memset(data(), 2, MARKS + 1);
    rova_clear_proc_marks();
    for (std::size_t i = 0; i < MARKS; i++)
        EXPECT_EQ(data()[i], 0) << names[i];
    EXPECT_EQ(data()[MARKS], 2);
    EXPECT_EQ(camera.calls("pref_save").size(), MARKS);
}

TEST_F(ProcMark, ClearingGoesOnWhenSavingFails)
{
    std::memset(data(), 2, MARKS);
    camera.fault("pref_save", "-1");
    rova_clear_proc_marks();
    EXPECT_EQ(std::vector<uint8_t>(data(), data() + MARKS), std::vector<uint8_t>(MARKS, 0));
}

TEST_F(ProcMark, OutlivesAPowerOff)
{
    ASSERT_EQ(rova_set_proc_mark_value(KEY, 2), 1);
    std::memset(data(), 0, 65536);
    ASSERT_EQ(pref_load(2, 0), 0);
    EXPECT_EQ(rova_get_proc_mark_value(KEY), 2);
}

TEST_F(ProcMark, OnlyTheLowByteOfAValueIsStored)
{
    EXPECT_EQ(rova_set_proc_mark_value(KEY, 0x102), 1);
    EXPECT_EQ(data()[2], 2);
    EXPECT_EQ(data()[3], 0);
    EXPECT_THAT(camera.file_log(), EndsWith("value=258, KEY, OK \n"));
}

TEST_F(ProcMark, IsReadUnsigned)
{
    data()[2] = 0xff;
    EXPECT_EQ(rova_get_proc_mark_value(KEY), 255);
    EXPECT_TRUE(camera.logged("id=KEY \033[m"));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(ProcMark, TheIdZeroIsRefused)
{
    EXPECT_EQ(rova_set_proc_mark_value(0, 2), 0);
    EXPECT_TRUE(camera.logged("Invalid id (id=0x0)\033[m"));
    EXPECT_FALSE(camera.logged("Invalid id (id=0x0) \033[m"));
    EXPECT_EQ(rova_get_proc_mark_value(0), 0);
    EXPECT_TRUE(camera.logged("Invalid id (id=0x0) \033[m"));
    EXPECT_EQ(camera.file_log(), "");
    EXPECT_TRUE(camera.call_texts().empty());
}

TEST_F(ProcMark, AnIdOutsideTheTableIsNotSet)
{
    data()[0x100] = 7;
    EXPECT_EQ(rova_set_proc_mark_value(NO_MARK, 2), 0);
    EXPECT_EQ(data()[0x100], 7);
    EXPECT_TRUE(camera.logged("Not found on proc_mark table (id=0x8550000000000100) \033[m"));
    EXPECT_EQ(file_line(), "set_proc_mark: 0x8550000000000100, value=2"
                           ", Not found on proc_mark table, NG \n");
    EXPECT_TRUE(camera.call_texts().empty());
}

TEST_F(ProcMark, AnIdOutsideTheTableIsReadAllTheSame)
{
    data()[0x100] = 7;
    EXPECT_EQ(rova_get_proc_mark_value(NO_MARK), 7);
    EXPECT_TRUE(camera.logged("Not found id=0x8550000000000100 on proc_mark list \033[m"));
    EXPECT_TRUE(camera.logged("id=(null) \033[m"));
}

TEST_F(ProcMark, NothingIsReadBehindThePartition)
{
    data()[0xffff] = 9;
    EXPECT_EQ(rova_get_proc_mark_value(0x855000000000ffff), 9);
    EXPECT_FALSE(camera.logged("beyond"));
    EXPECT_EQ(rova_get_proc_mark_value(0x8550000000010000), 0);
    EXPECT_TRUE(camera.logged("offset is beyond the partition (id=0x8550000000010000) \033[m"));
    EXPECT_EQ(rova_get_proc_mark_value(ALL_ONES), 0);
}

TEST_F(ProcMark, SettingWithoutThePartitionFails)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_set_proc_mark_value(KEY, 2), 0);
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8550000000000002) \033[m"));
    EXPECT_EQ(file_line(), "set_proc_mark: 0x8550000000000002, value=2, pref_addr is NULL, NG \n");
    EXPECT_TRUE(camera.calls("pref_save").empty());
}

TEST_F(ProcMark, AMissingPartitionIsToldBeforeAnUnknownId)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_set_proc_mark_value(NO_MARK, 2), 0);
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8550000000000100) \033[m"));
    EXPECT_FALSE(camera.logged("Not found"));
}

TEST_F(ProcMark, ReadsAsNoneWithoutThePartition)
{
    data()[2] = 2;
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_get_proc_mark_value(KEY), 0);
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8550000000000002) \033[m"));
    EXPECT_EQ(file_line(), "get_proc_mark: pref_addr is NULL (id=0x8550000000000002) \n");
    EXPECT_FALSE(camera.logged("id=KEY"));
}

TEST_F(ProcMark, SettingFailsWhenSavingDoes)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(rova_set_proc_mark_value(KEY, 2), 0);
    EXPECT_TRUE(camera.logged("pref_save(PREF_ID_LINE) failed \033[m"));
    EXPECT_EQ(file_line(),
              "set_proc_mark: 0x8550000000000002, value=2, pref_save(PREF_ID_LINE) failed, NG \n");
    EXPECT_EQ(flash(), "");
}

TEST_F(ProcMark, OnlyANegativeResultOfSavingIsAFailure)
{
    camera.fault("pref_save", "1");
    EXPECT_EQ(rova_set_proc_mark_value(KEY, 2), 1);
    EXPECT_THAT(camera.file_log(), EndsWith(", KEY, OK \n"));
}

TEST_F(ProcMark, TheFirstMarkIsTheStepLabel)
{
    EXPECT_EQ(rova_set_proc_mark_value(STEP_LABEL, 2), 1);
    EXPECT_EQ(rova_get_step_label_value(), 2);
    EXPECT_EQ(rova_set_step_label_value(1), 1);
    EXPECT_EQ(rova_get_proc_mark_value(STEP_LABEL), 1);
}

TEST(ProcMarkValue, OnlyThreeLettersAreTaken)
{
    EXPECT_EQ(rova_proc_mark_value("N"), 0);
    EXPECT_EQ(rova_proc_mark_value("E"), 1);
    EXPECT_EQ(rova_proc_mark_value("P"), 2);
    for (const char *text : {"", "U", "n", "e", "p", "PP", "P ", " P", "NEP", "0", "2"})
        EXPECT_EQ(rova_proc_mark_value(text), -1) << text;
}

TEST(ProcMarkText, AnyOtherValueIsShownAsU)
{
    EXPECT_STREQ(rova_proc_mark_text(0), "N");
    EXPECT_STREQ(rova_proc_mark_text(1), "E");
    EXPECT_STREQ(rova_proc_mark_text(2), "P");
    for (int value : {-1, 3, 255, 256})
        EXPECT_STREQ(rova_proc_mark_text(value), "U") << value;
}
