#include "common/rova_step_label_handler.h"

#include "common/rova_log.h"
#include "platform/pref.h"
#include "tests/support/camera.h"

#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace
{

struct StepLabel : testing::Test {
    StepLabel() { rova_log_set_enable(1); }
    ~StepLabel() override
    {
        EXPECT_EQ(camera.file_log(), ""); // these operations leave it to the marks
        rova_log_set_enable(0);
    }

    uint8_t *data() const
    {
        return static_cast<uint8_t *>(pref_get_addr(2, nullptr)) + PREF_HEADER_SIZE;
    }

    std::string flash() const { return camera.read("/virtual/pref/line.flash"); }

    test::Camera camera;
};

} // namespace

TEST_F(StepLabel, IsZeroOnAFreshCamera)
{
    EXPECT_EQ(rova_get_step_label_value(), 0);
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(StepLabel, SettingStoresTheFirstByteAndSavesThePartition)
{
    EXPECT_EQ(rova_set_step_label_value(99), 1);
    EXPECT_EQ(rova_get_step_label_value(), 99);
    std::string expected(65536, '\0');
    expected[0] = 99;
    EXPECT_EQ(std::memcmp(data(), expected.data(), expected.size()), 0);
    ASSERT_EQ(flash().size(), 512u + 65536u);
    EXPECT_EQ(flash().substr(512), expected);
    EXPECT_EQ(camera.call_texts(), std::vector<std::string>{"pref_save(2)"});
    EXPECT_EQ(camera.platform_log(), "");
}

TEST_F(StepLabel, IsReadSigned)
{
    data()[0] = 0xff;
    EXPECT_EQ(rova_get_step_label_value(), -1);
    EXPECT_EQ(rova_set_step_label_value(-128), 1);
    EXPECT_EQ(data()[0], 0x80);
    EXPECT_EQ(rova_get_step_label_value(), -128);
}

TEST_F(StepLabel, OutlivesAPowerOff)
{
    ASSERT_EQ(rova_set_step_label_value(42), 1);
    std::memset(data(), 0, 65536);
    ASSERT_EQ(pref_load(2, 0), 0);
    EXPECT_EQ(rova_get_step_label_value(), 42);
}

TEST_F(StepLabel, SettingWithoutThePartitionFails)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_set_step_label_value(5), 0);
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8550000000000000) \033[m"));
    EXPECT_TRUE(camera.calls("pref_save").empty());
}

TEST_F(StepLabel, ReadsAsZeroWithoutThePartition)
{
    data()[0] = 5;
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_get_step_label_value(), 0);
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8550000000000000) \033[m"));
}

TEST_F(StepLabel, SettingFailsWhenSavingDoes)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(rova_set_step_label_value(5), 0);
    EXPECT_TRUE(camera.logged("pref_save(PREF_ID_LINE) failed \033[m"));
    EXPECT_EQ(flash(), "");
}

TEST_F(StepLabel, OnlyANegativeResultOfSavingIsAFailure)
{
    camera.fault("pref_save", "1");
    EXPECT_EQ(rova_set_step_label_value(5), 1);
    EXPECT_EQ(camera.platform_log(), "");
}
