#include "common/rova_adjdata_handler.h"
#include "common/rova_adjdata_table.h"

#include "common/rova_log.h"
#include "platform/pref.h"
#include "tests/support/camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using testing::EndsWith;

namespace
{

struct AdjData : testing::Test {
    AdjData() { rova_log_set_enable(1); }
    ~AdjData() override { rova_log_set_enable(0); }
    test::Camera camera;
};

} // namespace

TEST(AdjDataPrefId, EachHighWordHasItsPartition)
{
    const uint64_t words[] = {0x85480000, 0x854e0000, 0x85500000, 0x85580000, 0x85600000,
                              0x85601000, 0x85602000, 0x85603000, 0x85609000, 0x85619000};
    for (int i = 0; i < 10; i++) {
        EXPECT_EQ(rova_adjdata_pref_id(words[i] << 32), i);
        EXPECT_EQ(rova_adjdata_pref_id(words[i] << 32 | 0xffffffff), i);
    }
}

TEST(AdjDataPrefId, OtherHighWordsAreRefused)
{
    EXPECT_EQ(rova_adjdata_pref_id(0), -1);
    EXPECT_EQ(rova_adjdata_pref_id(0x85601000), -1); // stands in the low word
    EXPECT_EQ(rova_adjdata_pref_id(0x8560100100000000), -1);
}

TEST_F(AdjData, AnItemStandsBehindTheHeaderAtItsOffset)
{
    auto *image = static_cast<char *>(pref_get_addr(5, nullptr));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(rova_get_adjdata(ADJ_ID_CIS_SN), image + 512);
    EXPECT_TRUE(camera.logged("id=CIS_SN "));
    EXPECT_EQ(rova_get_adjdata(0x8560100000000014), image + 512 + 0x14);
    EXPECT_TRUE(camera.logged("id=CIS_LOT_NUMBER "));
}

TEST_F(AdjData, AnIdWithoutARowHasAnAddressAndNoName)
{
    auto *image = static_cast<char *>(pref_get_addr(4, nullptr));
    EXPECT_EQ(rova_get_adjdata(0x8560000000000123), image + 512 + 0x123);
    EXPECT_TRUE(camera.logged("id=(null) "));
}

TEST_F(AdjData, TheIdZeroIsInvalid)
{
    EXPECT_EQ(rova_get_adjdata(0), nullptr);
    EXPECT_TRUE(camera.logged("Invalid id (id=0x0) "));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(AdjData, AnUnknownPartitionIsToldInBothLogs)
{
    EXPECT_EQ(rova_get_adjdata(0x8560100100000000), nullptr);
    EXPECT_TRUE(camera.logged("pref_id is invalid (id=0x8560100100000000) "));
    EXPECT_THAT(camera.file_log(),
                EndsWith(" : get_adjdata: pref_id is invalid (id=0x8560100100000000) \n"));
}

TEST_F(AdjData, AMissingPartitionIsToldInBothLogs)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_get_adjdata(ADJ_ID_CIS_SN), nullptr);
    EXPECT_TRUE(camera.logged("pref_addr is NULL (id=0x8560100000000000) "));
    EXPECT_THAT(camera.file_log(), EndsWith(" : pref_addr is NULL (id=0x8560100000000000) \n"));
}

TEST_F(AdjData, ARowIsFoundByItsExactId)
{
    const adjdata_info *row = rova_get_adjdata_info(0x8560100000000014);
    ASSERT_NE(row, nullptr);
    EXPECT_STREQ(row->name, "CIS_LOT_NUMBER");
    EXPECT_EQ(row->size, 32u);
    EXPECT_EQ(rova_get_adjdata_info(0x8560100000000015), nullptr);
    EXPECT_EQ(rova_get_adjdata_info(0), nullptr);
    EXPECT_TRUE(camera.logged("id is invalid (id = 0) "));
}

TEST(AdjDataTable, ItemsArePackedAndFillThePartition)
{
    for (const adjdata_part &part : rova_adjdata_parts()) {
        uint64_t offset = 0;
        const adjdata_info *row = part.items;
        for (; row->size != 0; row++) {
            EXPECT_EQ(row->id & 0xffffffff, offset) << row->name;
            EXPECT_EQ(rova_adjdata_pref_id(row->id), static_cast<int>(part.pref_id)) << row->name;
            offset += row->size;
        }
        EXPECT_EQ(offset, part.data_size);
        EXPECT_STREQ(row->name, "end");
        EXPECT_EQ(row->id, 0u);
    }
}

TEST(AdjDataTable, TheSensorPartitionsItemsStandAtTheirOffsets)
{
    const struct {
        const char *name;
        uint32_t offset;
        uint32_t size;
    } items[] = {
        {"CIS_SN", 0, 4},
        {"CIS_CHIP_VERSION", 4, 2},
        {"CIS_CLAMP_LEVEL", 6, 2},
        {"CIS_PIXEL_NUM_B", 8, 2},
        {"CIS_PIXEL_NUM_X", 10, 2},
        {"CIS_PIXEL_NUM_T", 12, 2},
        {"CIS_PIXEL_NUM_L", 14, 2},
        {"CIS_PIXEL_NUM_S", 16, 2},
        {"CIS_PIXEL_NUM_P", 18, 2},
        {"CIS_LOT_NUMBER", 20, 32},
        {"LENS_MOUNT_PIN_STATUS", 52, 2},
        {"SS_OFFSET", 54, 2},
        {"SS_AVR", 56, 2},
        {"SS_VAR", 58, 2},
        {"SS_MURA", 60, 2},
        {"EFS_OFFSET", 62, 4},
        {"EFS_COEFF1", 66, 4},
        {"EFS_COEFF2", 70, 4},
        {"EFS_COEFF3", 74, 4},
        {"CIS_PIXEL_NUM_O", 78, 2},
        {"CIS_PIXEL_NUM_W", 80, 2},
        {"CIS_PIXEL_NUM_C", 82, 2},
    };
    for (const auto &item : items) {
        const adjdata_info *row = rova_get_adjdata_info(0x8560100000000000 + item.offset);
        ASSERT_NE(row, nullptr) << item.name;
        EXPECT_STREQ(row->name, item.name);
        EXPECT_EQ(row->size, item.size) << item.name;
    }
}
