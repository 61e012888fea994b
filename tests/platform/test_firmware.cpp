#include "platform/firmware.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace
{

constexpr char FILE_NAME[] = "lumen1.bin";
constexpr char FILE_PATH[] = "/mnt/mmc/lumen1.bin";

// The card under the name that the firmware service uses.
class Firmware : public testing::Test
{
protected:
    Firmware() { put("LUMEN1 1.01\n"); }

    void put(const std::string &text) const { camera.write(FILE_PATH, text); }
    bool is_valid() const
    {
        fw_info info = {};
        return fw_validate(&info, FILE_PATH) == 0;
    }

    test::Camera camera;
};

TEST(BoardVersion, IsOneUnlessTheFileSaysOtherwise)
{
    test::Camera camera;
    EXPECT_EQ(get_board_version(), 1);
    camera.write("/virtual/firmware/board_version", "0\n");
    EXPECT_EQ(get_board_version(), 0);
    camera.fault("get_board_version", "-1");
    EXPECT_EQ(get_board_version(), -1);
}

TEST_F(Firmware, ProjectAndVersionHaveDefaults)
{
    EXPECT_STREQ(get_project_name(), "LUMEN1");
    EXPECT_STREQ(get_fw_version_short(), "1.00");
}

TEST_F(Firmware, ProjectAndVersionComeFromTheirFiles)
{
    camera.write("/virtual/firmware/project", "Body 2\n");
    camera.write("/virtual/firmware/version", "2.17\n");
    EXPECT_STREQ(get_project_name(), "Body 2");
    EXPECT_STREQ(get_fw_version_short(), "2.17");
}

TEST_F(Firmware, ATextGivenAwayStaysWhenTheValueChanges)
{
    const char *before = get_fw_version_short();
    camera.write("/virtual/firmware/version", "9.99\n");
    EXPECT_STREQ(get_fw_version_short(), "9.99");
    EXPECT_STREQ(before, "1.00");
}

TEST_F(Firmware, AFaultGivesAnEmptyText)
{
    camera.fault("get_project_name", "0");
    camera.fault("get_fw_version_short", "0");
    EXPECT_STREQ(get_project_name(), "");
    EXPECT_STREQ(get_fw_version_short(), "");
}

TEST_F(Firmware, TheFirstLineOfAFileNamesBodyAndVersion)
{
    put("LUMEN1 1.01\nanything\n");
    fw_info info = {};
    EXPECT_EQ(fw_validate(&info, FILE_PATH), 0);
    EXPECT_STREQ(info.version, "");
    EXPECT_EQ(fw_get_info(&info, FILE_PATH), 0);
    EXPECT_STREQ(info.version, "1.01");
}

TEST_F(Firmware, AFileOfAnotherFormOrBodyIsNotValid)
{
    for (const char *text : {"", "LUMEN1", "LUMEN1 1.01 x", "lumen1 1.01", "\nLUMEN1 1.01\n"}) {
        put(text);
        fw_info info = {"old"};
        EXPECT_EQ(fw_validate(&info, FILE_PATH), -1) << text;
        EXPECT_STREQ(info.version, "") << text;
        EXPECT_EQ(fw_get_info(&info, FILE_PATH), -1) << text;
    }
    camera.write("/virtual/firmware/project", "lumen1\n");
    put("lumen1 1.01");
    EXPECT_TRUE(is_valid());
}

TEST_F(Firmware, AVersionHasAtMost31Characters)
{
    put("LUMEN1 " + std::string(31, '1'));
    fw_info info = {};
    EXPECT_EQ(fw_get_info(&info, FILE_PATH), 0);
    EXPECT_EQ(std::string(info.version), std::string(31, '1'));
    put("LUMEN1 " + std::string(32, '1'));
    EXPECT_EQ(fw_get_info(&info, FILE_PATH), -1);
    EXPECT_STREQ(info.version, "");
    EXPECT_FALSE(is_valid());
}

TEST_F(Firmware, AFileThatIsMissingFails)
{
    camera.remove(FILE_PATH);
    fw_info info = {};
    EXPECT_EQ(fw_validate(&info, FILE_PATH), -1);
    EXPECT_EQ(fw_get_info(&info, FILE_PATH), -1);
    EXPECT_EQ(fw_start_upgrade(FILE_NAME), -1);
    EXPECT_STREQ(get_fw_version_short(), "1.00");
}

TEST_F(Firmware, NullFails)
{
    fw_info info = {};
    EXPECT_EQ(fw_validate(nullptr, FILE_PATH), -1);
    EXPECT_EQ(fw_validate(&info, nullptr), -1);
    EXPECT_EQ(fw_get_info(nullptr, FILE_PATH), -1);
    EXPECT_EQ(fw_get_info(&info, nullptr), -1);
    EXPECT_EQ(fw_start_upgrade(nullptr), -1);
}

TEST_F(Firmware, TheUpgradeIsToldAndChangesTheVersion)
{
    EXPECT_EQ(fw_start_upgrade(FILE_NAME), 0);
    EXPECT_STREQ(get_fw_version_short(), "1.01");
    auto calls = camera.calls("fw_start_upgrade");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0]["args"].dump(), R"(["lumen1.bin"])");
    EXPECT_EQ(calls[0]["result"], 0);
}

TEST_F(Firmware, FaultsOfTheFileCallsAreGivenBack)
{
    camera.fault("fw_validate", "-2 on lumen1");
    camera.fault("fw_get_info", "-3");
    camera.fault("fw_start_upgrade", "-4");
    fw_info info = {"old"};
    EXPECT_EQ(fw_validate(&info, FILE_PATH), -2);
    EXPECT_EQ(fw_get_info(&info, FILE_PATH), -3);
    EXPECT_STREQ(info.version, "");
    EXPECT_EQ(fw_start_upgrade(FILE_NAME), -4);
    EXPECT_STREQ(get_fw_version_short(), "1.00");
}

TEST_F(Firmware, TheMicroControllerHasDefaults)
{
    uint32_t version = 9;
    uint32_t status = 9;
    EXPECT_EQ(get_micom_version(&version, &status), 0);
    EXPECT_EQ(version, 1U);
    EXPECT_EQ(status, 0U);
}

TEST_F(Firmware, TheMicroControllersWordsComeFromTheirFiles)
{
    camera.write("/virtual/firmware/micom_version", "0xfedcba98\n");
    camera.write("/virtual/firmware/micom_status", "3\n");
    uint32_t version = 9;
    uint32_t status = 9;
    EXPECT_EQ(get_micom_version(&version, &status), 0);
    EXPECT_EQ(version, 0xfedcba98U);
    EXPECT_EQ(status, 3U);
}

TEST_F(Firmware, AMicroControllerThatFailsLeavesTheWordsAlone)
{
    uint32_t version = 9;
    uint32_t status = 8;
    camera.fault("get_micom_version", "-1");
    EXPECT_EQ(get_micom_version(&version, &status), -1);
    EXPECT_EQ(version, 9U);
    EXPECT_EQ(status, 8U);
    camera.clear_fault("get_micom_version");
    EXPECT_EQ(get_micom_version(nullptr, &status), -1);
    EXPECT_EQ(get_micom_version(&version, nullptr), -1);
}

} // namespace
