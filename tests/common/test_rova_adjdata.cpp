#include "common/rova_adjdata_handler.h"

#include "common/rova_log.h"
#include "platform/pref.h"
#include "platform/virtual/pref.h"
#include "tests/common/adjdata_layout.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Texts = std::vector<std::string>;

// The texts of the platform log's lines at error level (red) or below it, without what surrounds
// them.
Texts platform_texts(const test::Camera &camera, bool errors)
{
    const std::regex line(errors ? " 6 SYS_ROVA [^>]*> \x1b\\[31m(.*)\x1b\\[m$"
                                 : " 4 SYS_ROVA [^>]*> \x1b\\[m(.*)\x1b\\[m$");
    Texts texts;
    std::smatch found;
    for (const std::string &text : test::lines_of(camera.platform_log()))
        if (std::regex_search(text, found, line))
            texts.push_back(found[1]);
    return texts;
}

struct AdjData : testing::Test {
    AdjData() { rova_log_set_enable(1); }
    ~AdjData() override { rova_log_set_enable(0); }

    Texts errors() const { return platform_texts(camera, true); }
    Texts infos() const { return platform_texts(camera, false); }
    // The file log with each time replaced by "@ ".
    std::string file_log() const
    {
        static const std::regex stamp("[0-9]{8} [0-9]{2}:[0-9]{2}:[0-9]{2} : ");
        return std::regex_replace(camera.file_log(), stamp, "@ ");
    }
    std::string flash(const std::string &name) const
    {
        return camera.read("/virtual/pref/" + name + ".flash");
    }

    test::Camera camera;
};

std::string data_of(int pref_id)
{
    uint32_t size = 0;
    const auto *image = static_cast<const char *>(pref_get_addr(pref_id, &size));
    return image != nullptr ? std::string(image + 512, size) : "";
}

void fill(int pref_id, char byte)
{
    uint32_t size = 0;
    auto *image = static_cast<char *>(pref_get_addr(pref_id, &size));
    ASSERT_NE(image, nullptr);
    std::memset(image + 512, byte, size);
}

bool all_bytes_are(const std::string &data, char byte)
{
    return !data.empty() && data.find_first_not_of(byte) == std::string::npos;
}

std::string put_numbers(std::string data, const std::map<std::size_t, uint8_t> &numbers)
{
    for (auto [offset, number] : numbers)
        data.replace(offset, 4, {static_cast<char>(number), '\0', '\0', '\0'});
    return data;
}

// What a new camera's adj_sys holds: the temperature limits, in whole numbers below 256.
std::string default_sys()
{
    return put_numbers(
        std::string(1169, '\0'),
        {{145, 4}, {149, 106}, {153, 110}, {157, 102}, {161, 105}, {165, 106}, {169, 110}});
}

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

TEST(AdjDataNumber, KeepsTheSignOfItsSize)
{
    const uint8_t bytes[4] = {0xfe, 0xff, 0xff, 0x80};
    EXPECT_EQ(rova_adjdata_number(bytes, 1), -2);
    EXPECT_EQ(rova_adjdata_number(bytes, 2), -2);
    EXPECT_EQ(rova_adjdata_number(bytes, 4), static_cast<int32_t>(0x80fffffe));
    const uint8_t small[4] = {0x7f, 0x00, 0xff, 0xff};
    EXPECT_EQ(rova_adjdata_number(small, 1), 127);
    EXPECT_EQ(rova_adjdata_number(small, 2), 127);
    for (uint32_t size : {0U, 3U, 5U, 16U}) {
        EXPECT_FALSE(rova_adjdata_is_number(size));
        EXPECT_EQ(rova_adjdata_number(bytes, size), 0);
    }
    for (uint32_t size : {1U, 2U, 4U})
        EXPECT_TRUE(rova_adjdata_is_number(size));
}

TEST_F(AdjData, ANumberIsReadFromItsItem)
{
    int16_t stored = -2;
    ASSERT_EQ(rova_set_adjdata(ADJ_ID_LANG_SUB, &stored, 2, 0), 1);
    int32_t number = 7;
    EXPECT_TRUE(rova_read_adjdata_number(ADJ_ID_LANG_SUB, 2, &number));
    EXPECT_EQ(number, -2);
}

TEST_F(AdjData, ANumberThatCannotBeReachedIsLeftAlone)
{
    camera.fault("pref_get_addr", "0");
    int32_t number = 7;
    EXPECT_FALSE(rova_read_adjdata_number(ADJ_ID_LANG_SUB, 2, &number));
    EXPECT_FALSE(rova_read_adjdata_number(0, 2, &number));
    EXPECT_EQ(number, 7);
}

TEST(AdjDataTable, SixPartitionsStandInTheOrderOfTheirNumbers)
{
    const struct {
        uint32_t pref_id, rows, size;
    } parts[] = {{4, 39, 1169},  {5, 22, 84},   {6, 31, 152},
                 {7, 22, 22470}, {8, 4, 56392}, {9, 34, 4998916}};
    ASSERT_EQ(rova_adjdata_parts().size(), std::size(parts));
    for (std::size_t i = 0; i < std::size(parts); i++) {
        const adjdata_part &part = rova_adjdata_parts()[i];
        uint32_t rows = 0;
        while (part.items[rows].size != 0)
            rows++;
        EXPECT_EQ(part.pref_id, parts[i].pref_id);
        EXPECT_EQ(rows, parts[i].rows);
        EXPECT_EQ(part.data_size, parts[i].size);
        EXPECT_EQ(virt::partition(static_cast<int>(part.pref_id))->size, parts[i].size);
    }
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
        EXPECT_EQ(row->id, 0U);
    }
}

TEST(AdjDataTable, HasTheItemsOfTheLayoutInItsOrder)
{
    const AdjItem *item = std::begin(ADJ_LAYOUT);
    for (const adjdata_part &part : rova_adjdata_parts())
        for (const adjdata_info *row = part.items; row->size != 0; row++, item++) {
            ASSERT_NE(item, std::end(ADJ_LAYOUT)) << row->name;
            EXPECT_STREQ(row->name, item->name);
            EXPECT_EQ(row->id, item->id) << row->name;
            EXPECT_EQ(row->size, item->size) << row->name;
        }
    EXPECT_EQ(item, std::end(ADJ_LAYOUT));
    EXPECT_EQ(std::size(ADJ_LAYOUT), 152U);
}

TEST(AdjDataTable, EveryItemIsFoundByItsNameAndByItsId)
{
    for (const AdjItem &item : ADJ_LAYOUT) {
        uint32_t size = 0;
        EXPECT_EQ(rova_get_adjdata_id(item.name, &size), item.id) << item.name;
        EXPECT_EQ(size, item.size) << item.name;
        const adjdata_info *row = rova_get_adjdata_info(item.id);
        ASSERT_NE(row, nullptr) << item.name;
        EXPECT_STREQ(row->name, item.name);
    }
}

TEST(AdjDataTable, ARowIsSearchedFromAnotherOnToTheEnd)
{
    const adjdata_info rows[] = {
        {.name = "ONE", .id = 1, .size = 4},
        {.name = "TWO", .id = 2, .size = 4},
        {.name = "end", .id = 0, .size = 0},
    };
    EXPECT_EQ(rova_find_adjdata_row(rows, 2), rows + 1);
    EXPECT_EQ(rova_find_adjdata_row(rows + 1, 2), rows + 1);
    EXPECT_EQ(rova_find_adjdata_row(rows + 1, 1), nullptr);
    EXPECT_EQ(rova_find_adjdata_row(rows, 0), nullptr); // the end's own id is nobody's
}

TEST(AdjDataTable, DefaultsAreZeroButForTheTemperatureLimits)
{
    const std::string sys = default_sys();
    for (const adjdata_part &part : rova_adjdata_parts()) {
        const std::string image(static_cast<const char *>(part.default_image), part.data_size);
        if (part.pref_id == 4)
            EXPECT_EQ(image, sys);
        else
            EXPECT_TRUE(all_bytes_are(image, '\0')) << part.pref_id;
    }
}

TEST_F(AdjData, NamesAreCaseSensitive)
{
    uint32_t size = 77;
    EXPECT_EQ(rova_get_adjdata_id("CIS_SN", &size), 0x8560100000000000U);
    EXPECT_EQ(size, 4U);
    EXPECT_EQ(rova_get_adjdata_id("cis_sn", &size), 0U);
    EXPECT_EQ(size, 0U);
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AdjData, TheSizeNeedNotBeAskedFor)
{
    EXPECT_EQ(rova_get_adjdata_id("DPC_LV4_NUM", nullptr), ADJ_ID_DPC_LV4_NUM);
    EXPECT_EQ(rova_get_adjdata_id("nothing", nullptr), 0U);
}

TEST_F(AdjData, TheEndOfATableIsNoItem)
{
    uint32_t size = 77;
    EXPECT_EQ(rova_get_adjdata_id("end", &size), 0U);
    EXPECT_EQ(size, 0U);
}

TEST_F(AdjData, NoNameIsInvalidAndStoresNothing)
{
    uint32_t size = 77;
    EXPECT_EQ(rova_get_adjdata_id(nullptr, &size), 0U);
    EXPECT_EQ(rova_get_adjdata_id("", &size), 0U);
    EXPECT_EQ(size, 77U);
    EXPECT_THAT(errors(), ElementsAre("strId is invalid ", "strId is invalid "));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(AdjData, ARowIsFoundByItsExactId)
{
    const adjdata_info *row = rova_get_adjdata_info(0x8560100000000014);
    ASSERT_NE(row, nullptr);
    EXPECT_STREQ(row->name, "CIS_LOT_NUMBER");
    EXPECT_EQ(row->size, 32U);
    EXPECT_EQ(rova_get_adjdata_info(0x8560100000000015), nullptr);
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(rova_get_adjdata_info(0), nullptr);
    EXPECT_THAT(errors(), ElementsAre("id is invalid (id = 0) "));
}

TEST_F(AdjData, AnItemStandsBehindTheHeaderAtItsOffset)
{
    auto *image = static_cast<char *>(pref_get_addr(5, nullptr));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(rova_get_adjdata(ADJ_ID_CIS_SN), image + 512);
    EXPECT_EQ(rova_get_adjdata(0x8560100000000014), image + 512 + 0x14);
    EXPECT_THAT(infos(), ElementsAre("id=CIS_SN ", "id=CIS_LOT_NUMBER "));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(AdjData, ThePartitionsWithoutItemsHaveAddressesToo)
{
    for (uint64_t id :
         {0x8548000000000000U, 0x854e000000000010U, 0x8550000000000020U, 0x8558000000000030U})
        EXPECT_EQ(rova_get_adjdata(id),
                  static_cast<char *>(pref_get_addr(rova_adjdata_pref_id(id), nullptr)) + 512 +
                      static_cast<uint32_t>(id));
}

TEST_F(AdjData, AnIdWithoutARowHasAnAddressAndNoName)
{
    auto *image = static_cast<char *>(pref_get_addr(4, nullptr));
    EXPECT_EQ(rova_get_adjdata(0x8560000000000123), image + 512 + 0x123);
    EXPECT_THAT(infos(), ElementsAre("id=(null) "));
}

TEST_F(AdjData, TheIdZeroIsInvalid)
{
    EXPECT_EQ(rova_get_adjdata(0), nullptr);
    EXPECT_THAT(errors(), ElementsAre("Invalid id (id=0x0) "));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(AdjData, AnUnknownPartitionIsToldInBothLogs)
{
    EXPECT_EQ(rova_get_adjdata(0x8560100100000000), nullptr);
    EXPECT_THAT(errors(), ElementsAre("pref_id is invalid (id=0x8560100100000000) "));
    EXPECT_EQ(file_log(), "@ get_adjdata: pref_id is invalid (id=0x8560100100000000) \n");
}

TEST_F(AdjData, AMissingPartitionIsToldInBothLogs)
{
    camera.fault("pref_get_addr", "0");
    EXPECT_EQ(rova_get_adjdata(ADJ_ID_CIS_SN), nullptr);
    EXPECT_THAT(errors(), ElementsAre("pref_addr is NULL (id=0x8560100000000000) "));
    EXPECT_EQ(file_log(), "@ pref_addr is NULL (id=0x8560100000000000) \n");
}

TEST_F(AdjData, ASizeIsKeptToTheByte)
{
    const auto *data = static_cast<char *>(pref_get_addr(9, nullptr)) + 512;
    const int32_t count = 0x01020304;
    EXPECT_EQ(ADJ_ID_DPC_LV3_NUM, 0x856190000024e8dcU);
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_DPC_LV3_NUM, &count, 4, 0), 1);
    EXPECT_EQ(std::memcmp(data + 0x24e8dc, "\4\3\2\1", 4), 0);
    const std::string list(1799996, 'x');
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_DPC_LV3_DATA, list.data(), 1799996, 0), 1);
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_DPC_LV3_DATA, list.data(), 1799995, 0), 0);
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_DPC_LV3_DATA, list.data(), 1799997, 0), 0);
    EXPECT_EQ(std::memcmp(data + 0x24e8db, "x\4\3\2\1\0", 6), 0);
    EXPECT_EQ(data[0x24e8dc - 1799996], 'x');
    EXPECT_EQ(data[0x24e8dc - 1799997], '\0');
}

TEST_F(AdjData, TheLastByteOfEachPartitionIsItsLastItems)
{
    for (uint64_t id : {ADJ_ID_SYSTEM_RESERVED4, ADJ_ID_CIS_PIXEL_NUM_C, ADJ_ID_PAF_OFFSET_V,
                        ADJ_ID_VFPN_CAPT_HTABLE_AVG, ADJ_ID_CS_VERSION, ADJ_ID_DPC_LV4_NUM}) {
        const adjdata_info *row = rova_get_adjdata_info(id);
        ASSERT_NE(row, nullptr);
        ASSERT_EQ(rova_set_adjdata(id, std::string(row->size, 'z').data(), row->size, 0), 1);
        const std::string data = data_of(rova_adjdata_pref_id(id));
        EXPECT_EQ(data.find_first_not_of('\0'), data.size() - row->size) << row->name;
        EXPECT_EQ(data.find_last_not_of('z'), data.size() - row->size - 1) << row->name;
    }
}

TEST_F(AdjData, SettingChangesTheItemAndNothingElse)
{
    fill(5, 'o');
    std::string expected = data_of(5);
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_CIS_CLAMP_LEVEL, "ab", 2, 0), 1);
    EXPECT_EQ(data_of(5), expected.replace(6, 2, "ab"));
    EXPECT_EQ(file_log(),
              "@ set_adjdata: 0x8560100000000006, size=2, save=0, CIS_CLAMP_LEVEL, OK \n");
    EXPECT_THAT(infos(), ElementsAre("set_adjdata done "));
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(camera.call_texts(), IsEmpty()); // nothing is saved
    EXPECT_EQ(flash("adj_cap"), "");
}

TEST_F(AdjData, SettingWithSaveMakesThePartitionLasting)
{
    fill(4, 'u'); // another partition's change is not saved with it
    const int32_t serial = -5;
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_CIS_SN, &serial, 4, 7), 1);
    EXPECT_EQ(file_log(), "@ set_adjdata: 0x8560100000000000, size=4, save=7, CIS_SN, OK \n");
    EXPECT_THAT(camera.call_texts(), ElementsAre("pref_save(5)"));
    EXPECT_EQ(flash("adj_cap").substr(512),
              std::string("\xfb\xff\xff\xff", 4) + std::string(80, '\0'));
    EXPECT_EQ(flash("adj_sys"), "");
}

TEST_F(AdjData, SettingTheIdZeroIsInvalid)
{
    EXPECT_EQ(rova_set_adjdata(0, "abcd", 4, 1), 0);
    EXPECT_THAT(errors(), ElementsAre("Invalid id (id=0x0)"));
    EXPECT_EQ(camera.file_log(), "");
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, SettingInAnUnknownPartitionIsRefused)
{
    EXPECT_EQ(rova_set_adjdata(0x8561000000000000, "abcd", 4, 1), 0);
    EXPECT_THAT(errors(), ElementsAre("pref_id is invalid (id=0x8561000000000000) "));
    EXPECT_EQ(file_log(),
              "@ set_adjdata: 0x8561000000000000, size=4, save=1, pref_id is invalid, NG \n");
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, SettingInAMissingPartitionIsRefused)
{
    camera.fault("pref_get_addr", "0 on adj_cap");
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_CIS_SN, "abcd", 4, 1), 0);
    EXPECT_THAT(errors(), ElementsAre("pref_addr is NULL (id=0x8560100000000000) "));
    EXPECT_EQ(file_log(),
              "@ set_adjdata: 0x8560100000000000, size=4, save=1, pref_addr is NULL, NG \n");
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, SettingAnIdWithoutARowIsRefused)
{
    for (uint64_t id : {0x8560100000000001U, 0x8550000000000000U}) {
        camera.remove("/opt/share/rova/rova.log");
        camera.remove("/virtual/dlog");
        std::ostringstream text;
        text << "(id=0x" << std::hex << id << ") ";
        EXPECT_EQ(rova_set_adjdata(id, "abcd", 4, 1), 0);
        EXPECT_THAT(errors(), ElementsAre("adjdata_info is NULL " + text.str()));
        EXPECT_EQ(file_log().substr(file_log().find(',')),
                  ", size=4, save=1, adjdata_info is NULL, NG \n");
    }
    EXPECT_EQ(data_of(5), std::string(84, '\0'));
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, SettingWithAnotherSizeLeavesTheItemAsItWas)
{
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_SHIPPING_COUNTRY, "ab", 2, 0), 1);
    camera.remove("/opt/share/rova/rova.log");
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_SHIPPING_COUNTRY, "cdef", 4, 1), 0);
    EXPECT_THAT(errors(),
                ElementsAre("size is different (id=0x8560000000000000, adj_size=2, size=4) "));
    EXPECT_EQ(file_log(), "@ set_adjdata: 0x8560000000000000, size=4, save=1, size is different "
                          "(SHIPPING_COUNTRY, 2), NG \n");
    EXPECT_EQ(data_of(4).substr(0, 5), std::string("ab\0\0\0", 5));
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, AFailedSaveLeavesTheImageChanged)
{
    camera.fault("pref_save", "-1");
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_CIS_SN, "abcd", 4, 1), 0);
    EXPECT_THAT(errors(), ElementsAre("pref_save()failed (pref_id=5) "));
    EXPECT_THAT(infos(), IsEmpty());
    EXPECT_EQ(file_log(), "@ set_adjdata: 0x8560100000000000, size=4, save=1, CIS_SN, "
                          "pref_save(5) failed, NG \n");
    EXPECT_EQ(data_of(5).substr(0, 4), "abcd");
    EXPECT_EQ(flash("adj_cap"), "");
}

TEST_F(AdjData, OnlyANegativeResultOfASaveIsAFailure)
{
    camera.fault("pref_save", "3");
    EXPECT_EQ(rova_set_adjdata(ADJ_ID_CIS_SN, "abcd", 4, 1), 1);
    EXPECT_EQ(rova_save_adjdata(ADJ_ID_CIS_SN), 1);
}

TEST_F(AdjData, SavingTakesThePartitionOfTheId)
{
    fill(7, 'v');
    EXPECT_EQ(rova_save_adjdata(0x8560300000000055), 1); // no item's id: the partition is enough
    EXPECT_EQ(file_log(), "@ save_adjdata: 0x8560300000000055, OK \n");
    EXPECT_THAT(camera.call_texts(), ElementsAre("pref_save(7)"));
    EXPECT_EQ(flash("adj_vfpn").substr(512), std::string(22470, 'v'));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AdjData, SavingTheIdZeroIsInvalid)
{
    EXPECT_EQ(rova_save_adjdata(0), 0);
    EXPECT_THAT(errors(), ElementsAre("Invalid id (id=0x0)"));
    EXPECT_EQ(camera.file_log(), "");
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, SavingAnUnknownPartitionIsRefused)
{
    EXPECT_EQ(rova_save_adjdata(0x1234000000000000), 0);
    EXPECT_THAT(errors(), ElementsAre("pref_id is invalid (id=0x1234000000000000) "));
    EXPECT_EQ(file_log(), "@ save_adjdata: 0x1234000000000000, pref_id is invalid, NG \n");
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, AFailedSaveIsToldInBothLogs)
{
    camera.fault("pref_save", "-3");
    EXPECT_EQ(rova_save_adjdata(ADJ_ID_CS_FLAG), 0);
    EXPECT_THAT(errors(), ElementsAre("pref_save() failed (pref_id=8) "));
    EXPECT_EQ(file_log(), "@ save_adjdata: 0x856090000000dc40, pref_save(8) failed, NG \n");
}

TEST_F(AdjData, SavingAllTakesEachPartitionAndIgnoresFailures)
{
    camera.fault("pref_save", "-1 on adj_iq");
    EXPECT_EQ(rova_save_adjdata_all(), 1);
    EXPECT_THAT(camera.call_texts(), ElementsAre("pref_save(4)", "pref_save(5)", "pref_save(6)",
                                                 "pref_save(7)", "pref_save(8)", "pref_save(9)"));
    for (const char *name : {"adj_sys", "adj_cap", "adj_vfpn", "adj_cs", "adj_dpc"})
        EXPECT_TRUE(camera.exists(std::string("/virtual/pref/") + name + ".flash")) << name;
    EXPECT_EQ(flash("adj_iq"), "");
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(AdjData, SavingOneIgnoresItsFailure)
{
    for (int pref_id = 4; pref_id <= 9; pref_id++)
        EXPECT_EQ(rova_save_adjdata_part(pref_id), 1);
    camera.fault("pref_save", "-1");
    EXPECT_EQ(rova_save_adjdata_part(4), 1);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("pref_save(4)", "pref_save(5)", "pref_save(6)", "pref_save(7)",
                            "pref_save(8)", "pref_save(9)", "pref_save(4)"));
    EXPECT_EQ(camera.file_log(), "");
}

TEST_F(AdjData, SavingAPartitionWithoutItemsIsRefused)
{
    for (int pref_id : {3, 10, -1, 0})
        EXPECT_EQ(rova_save_adjdata_part(pref_id), 0);
    EXPECT_EQ(file_log(), "pref id invalid (3), NG \npref id invalid (10), NG \n"
                          "pref id invalid (-1), NG \npref id invalid (0), NG \n");
    EXPECT_THAT(camera.call_texts(), IsEmpty());
}

TEST_F(AdjData, TheDefectListsOutliveAResetOfAllDefaults)
{
    for (int pref_id = 4; pref_id <= 9; pref_id++)
        fill(pref_id, 'x');
    EXPECT_EQ(rova_load_default_adjdata_all(), 1);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("pref_load(4, 1)", "pref_save(4)", "pref_load(5, 1)", "pref_save(5)",
                            "pref_load(6, 1)", "pref_save(6)", "pref_load(7, 1)", "pref_save(7)",
                            "pref_load(8, 1)", "pref_save(8)"));
    for (int pref_id = 4; pref_id <= 8; pref_id++)
        EXPECT_TRUE(all_bytes_are(data_of(pref_id), '\0')) << pref_id;
    EXPECT_TRUE(all_bytes_are(data_of(9), 'x'));
    EXPECT_EQ(flash("adj_dpc"), "");
}

TEST_F(AdjData, AResetOfAllSavesAlsoWhatItCouldNotLoad)
{
    fill(6, 'x');
    camera.fault("pref_load", "-1 on adj_iq");
    testing::internal::CaptureStderr();
    EXPECT_EQ(rova_load_default_adjdata_all(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "pref_load(id=6) was failed! \n");
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("pref_load(4, 1)", "pref_save(4)", "pref_load(5, 1)", "pref_save(5)",
                            "pref_load(6, 1)", "pref_save(6)", "pref_load(7, 1)", "pref_save(7)",
                            "pref_load(8, 1)", "pref_save(8)"));
    EXPECT_EQ(flash("adj_iq").substr(512), std::string(152, 'x'));
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_EQ(camera.file_log(), "");
}

namespace
{

struct DefaultOf {
    int pref_id;
    const char *name;
    int (*load)();
};

struct AdjDataDefault : AdjData, testing::WithParamInterface<DefaultOf> {
};

} // namespace

TEST_P(AdjDataDefault, OfOnePartitionIsLoadedAndSaved)
{
    const int pref_id = GetParam().pref_id;
    const std::string number = std::to_string(pref_id);
    fill(pref_id, 'x');
    EXPECT_EQ(GetParam().load(), 1);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("pref_load(" + number + ", 1)", "pref_save(" + number + ")"));
    EXPECT_TRUE(all_bytes_are(data_of(pref_id), '\0'));
    EXPECT_TRUE(all_bytes_are(flash(GetParam().name).substr(512), '\0'));
}

TEST_P(AdjDataDefault, OfOnePartitionIsNotSavedWhenItsLoadFails)
{
    const std::string number = std::to_string(GetParam().pref_id);
    camera.fault("pref_load", "-1");
    testing::internal::CaptureStderr();
    EXPECT_EQ(GetParam().load(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "pref_load(id=" + number + ") was failed! \n");
    EXPECT_THAT(camera.call_texts(), ElementsAre("pref_load(" + number + ", 1)"));
    EXPECT_EQ(flash(GetParam().name), "");
}

TEST_P(AdjDataDefault, OfOnePartitionIsLoadedEvenIfItsSaveFails)
{
    fill(GetParam().pref_id, 'x');
    camera.fault("pref_save", "-1");
    EXPECT_EQ(GetParam().load(), 1);
    EXPECT_TRUE(all_bytes_are(data_of(GetParam().pref_id), '\0'));
}

INSTANTIATE_TEST_SUITE_P(Each, AdjDataDefault,
                         testing::Values(DefaultOf{4, "adj_sys", rova_load_default_adj_sys},
                                         DefaultOf{5, "adj_cap", rova_load_default_adj_cap},
                                         DefaultOf{6, "adj_iq", rova_load_default_adj_iq},
                                         DefaultOf{7, "adj_vfpn", rova_load_default_adj_vfpn},
                                         DefaultOf{8, "adj_cs", rova_load_default_adj_cs},
                                         DefaultOf{9, "adj_dpc", rova_load_default_adj_dpc}),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(AdjData, TheDefaultImagesBecomeTheDefaultContents)
{
    EXPECT_EQ(rova_save_default_adjdata(), 1);
    EXPECT_THAT(camera.call_texts(),
                ElementsAre("pref_save_default_to_file(4, 1169)",
                            "pref_save_default_to_file(5, 84)", "pref_save_default_to_file(6, 152)",
                            "pref_save_default_to_file(7, 22470)",
                            "pref_save_default_to_file(8, 56392)",
                            "pref_save_default_to_file(9, 4998916)"));
    fill(4, 'x');
    EXPECT_EQ(rova_load_default_adj_sys(), 1);
    EXPECT_EQ(data_of(4), default_sys());
    const auto number = [](uint64_t id) { return rova_adjdata_number(rova_get_adjdata(id), 4); };
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_SELECT), 4);
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_CIS_TH_WARNING), 106);
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_CIS_TH_CRITICAL), 110);
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_CPU_TH_WARNING), 102);
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_CPU_TH_CRITICAL), 105);
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_ISP_TH_WARNING), 106);
    EXPECT_EQ(number(ADJ_ID_TEMP_SENSOR_ISP_TH_CRITICAL), 110);
}

TEST_F(AdjData, APartitionWithoutANameGetsNoDefaultFile)
{
    camera.fault("pref_get_name", "0 on adj_cs");
    EXPECT_EQ(rova_save_default_adjdata(), 1);
    EXPECT_FALSE(camera.exists("/virtual/pref/adj_cs.default"));
    EXPECT_TRUE(camera.exists("/virtual/pref/adj_dpc.default"));
    EXPECT_EQ(camera.calls("pref_save_default_to_file").size(), 5U);
}

TEST_F(AdjData, AFailedDefaultFileDoesNotKeepTheOthersBack)
{
    camera.fault("pref_save_default_to_file", "-1 on adj_sys");
    EXPECT_EQ(rova_save_default_adjdata(), 1);
    EXPECT_EQ(camera.calls("pref_save_default_to_file").size(), 6U);
    EXPECT_FALSE(camera.exists("/virtual/pref/adj_sys.default"));
    EXPECT_TRUE(camera.exists("/virtual/pref/adj_cap.default"));
}
