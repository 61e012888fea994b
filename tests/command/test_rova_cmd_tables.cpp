#include "command/capture/rova_cmd_capture.h"
#include "command/factory/rova_cmd_factory.h"
#include "command/iq/rova_cmd_iq.h"
#include "command/rova_cmd_forward.h"
#include "command/rova_cmd_handler.h"
#include "command/system/rova_cmd_system.h"
#include "command/wifi/rova_cmd_wireless.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using Words = std::vector<std::string>;

// All words of the command reference, in the order of the search.
static const std::vector<std::pair<std::string, Words>> reference = {
    {"system", {"shell",     "proximity",     "key",           "ext_release", "usb",
                "wheel",     "mode_dial",     "drive_dial",    "jog1",        "jog2",
                "rtc",       "rtc2",          "hdmi",          "earjack",     "ext_mic",
                "rotation",  "thermistor",    "led",           "power",       "battery_level",
                "dr",        "adc",           "accelometer",   "gyroscope",   "cis_data",
                "cis_data2", "cis_data_info", "cis_data_file", "sound",       "stlcd",
                "vgrip",     "sdcard",        "free_fall",     "mr"}},
    {"factory", {"proc_mark",     "step_label",  "sample",        "adj_data",   "osd",
                 "touch",         "firmware",    "serial_number", "snapshot",   "shipment_country",
                 "factory_reset", "create_file", "file",          "image",      "sys_param",
                 "delay",         "exposure",    "lcd",           "model_name", "control",
                 "gpio"}},
    {"capture",
     {"lens_mount", "shutter_speed", "shutter_speed2", "lens", "capture", "st", "defect_pixel",
      "efs", "shutter", "xsw", "strobe", "hotshoe"}},
    {"image quality", {"iso", "awb", "color_shading", "flangeback", "paf", "vfpn"}},
    {"extra", {"mot", "dust", "noise", "movie", "afi_adj"}},
    {"wireless", {"wifi", "bluetooth", "nfc"}},
};

TEST(CommandTables, StandInTheOrderOfTheSearch)
{
    Words names;
    Words expected;
    for (const rova_cmd_named_table &table : rova_cmd_tables())
        names.push_back(table.name);
    for (const auto &[name, words] : reference)
        expected.push_back(name);
    EXPECT_EQ(names, expected);
}

TEST(CommandTables, HoldTheWordsOfTheReferenceInItsOrder)
{
    for (std::size_t i = 0; i < reference.size(); i++) {
        const Words &words = reference[i].second;
        auto position = words.begin();
        for (const rova_cmd_entry &row : rova_cmd_tables()[i].rows) {
            position = std::find(position, words.end(), row.name);
            ASSERT_NE(position, words.end()) << row.name << " in " << reference[i].first;
            ++position;
        }
    }
}

TEST(CommandTables, OfTheCameraHoldAllWordsOfTheReference)
{
    const std::size_t sizes[] = {34, 21, 12, 6};
    for (std::size_t i = 0; i < std::size(sizes); i++) {
        EXPECT_EQ(reference[i].second.size(), sizes[i]) << reference[i].first;
        Words words;
        for (const rova_cmd_entry &row : rova_cmd_tables()[i].rows)
            words.push_back(row.name);
        EXPECT_EQ(words, reference[i].second);
    }
}

TEST(CommandTables, HoldNoWordTwice)
{
    Words seen;
    for (const rova_cmd_named_table &table : rova_cmd_tables())
        for (const rova_cmd_entry &row : table.rows)
            seen.push_back(row.name);
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());
}

struct Family {
    const char *table;
    const char *word;
    rova_cmd_handler_fn handler;
};

class CommandFamily : public testing::TestWithParam<Family>
{
};

TEST_P(CommandFamily, IsFoundInItsTable)
{
    const Family &family = GetParam();
    for (const rova_cmd_named_table &table : rova_cmd_tables()) {
        const rova_cmd_entry *row = rova_cmd_find(table.rows, family.word);
        bool is_here = std::string(table.name) == family.table;
        EXPECT_EQ(row != nullptr ? row->handler : nullptr, is_here ? family.handler : nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(
    System, CommandFamily,
    testing::Values(
        Family{"system", "shell", rova_cmd_shell},
        Family{"system", "proximity", rova_cmd_proximity}, Family{"system", "key", rova_cmd_key},
        Family{"system", "ext_release", rova_cmd_ext_release},
        Family{"system", "usb", rova_cmd_usb}, Family{"system", "wheel", rova_cmd_wheel},
        Family{"system", "mode_dial", rova_cmd_mode_dial},
        Family{"system", "drive_dial", rova_cmd_drive_dial},
        Family{"system", "jog1", rova_cmd_jog1}, Family{"system", "jog2", rova_cmd_jog2},
        Family{"system", "rtc", rova_cmd_rtc}, Family{"system", "rtc2", rova_cmd_rtc2},
        Family{"system", "hdmi", rova_cmd_hdmi}, Family{"system", "earjack", rova_cmd_earjack},
        Family{"system", "ext_mic", rova_cmd_ext_mic},
        Family{"system", "rotation", rova_cmd_rotation},
        Family{"system", "thermistor", rova_cmd_thermistor}, Family{"system", "led", rova_cmd_led},
        Family{"system", "power", rova_cmd_power},
        Family{"system", "battery_level", rova_cmd_battery_level},
        Family{"system", "dr", rova_cmd_dr}, Family{"system", "adc", rova_cmd_adc},
        Family{"system", "accelometer", rova_cmd_accelometer},
        Family{"system", "gyroscope", rova_cmd_gyroscope},
        Family{"system", "cis_data", rova_cmd_cis_data},
        Family{"system", "cis_data2", rova_cmd_cis_data2},
        Family{"system", "cis_data_info", rova_cmd_cis_data_info},
        Family{"system", "cis_data_file", rova_cmd_cis_data_file},
        Family{"system", "sound", rova_cmd_sound}, Family{"system", "stlcd", rova_cmd_stlcd},
        Family{"system", "vgrip", rova_cmd_vgrip}, Family{"system", "sdcard", rova_cmd_sdcard},
        Family{"system", "free_fall", rova_cmd_free_fall}, Family{"system", "mr", rova_cmd_mr}),
    [](const auto &row) { return std::string(row.param.word); });

INSTANTIATE_TEST_SUITE_P(
    Factory, CommandFamily,
    testing::Values(
        Family{"factory", "proc_mark", rova_cmd_proc_mark},
        Family{"factory", "step_label", rova_cmd_step_label},
        Family{"factory", "sample", rova_cmd_sample},
        Family{"factory", "adj_data", rova_cmd_adj_data},
        Family{"factory", "touch", rova_cmd_touch},
        Family{"factory", "firmware", rova_cmd_firmware},
        Family{"factory", "snapshot", rova_cmd_snapshot}, Family{"factory", "osd", rova_cmd_osd},
        Family{"factory", "serial_number", rova_cmd_serial_number},
        Family{"factory", "shipment_country", rova_cmd_shipment_country},
        Family{"factory", "factory_reset", rova_cmd_factory_reset},
        Family{"factory", "create_file", rova_cmd_create_file},
        Family{"factory", "file", rova_cmd_file}, Family{"factory", "image", rova_cmd_image},
        Family{"factory", "sys_param", rova_cmd_sys_param},
        Family{"factory", "delay", rova_cmd_delay},
        Family{"factory", "exposure", rova_cmd_exposure}, Family{"factory", "lcd", rova_cmd_lcd},
        Family{"factory", "model_name", rova_cmd_model_name},
        Family{"factory", "control", rova_cmd_control}, Family{"factory", "gpio", rova_cmd_gpio}),
    [](const auto &row) { return std::string(row.param.word); });

INSTANTIATE_TEST_SUITE_P(Capture, CommandFamily,
                         testing::Values(Family{"capture", "lens_mount", rova_cmd_lens_mount},
                                         Family{"capture", "shutter_speed", rova_cmd_shutter_speed},
                                         Family{"capture", "shutter_speed2",
                                                rova_cmd_shutter_speed2},
                                         Family{"capture", "lens", rova_cmd_lens},
                                         Family{"capture", "capture", rova_cmd_capture},
                                         Family{"capture", "st", rova_cmd_capture},
                                         Family{"capture", "defect_pixel", rova_cmd_defect_pixel},
                                         Family{"capture", "efs", rova_cmd_efs},
                                         Family{"capture", "shutter", rova_cmd_shutter},
                                         Family{"capture", "xsw", rova_cmd_xsw},
                                         Family{"capture", "strobe", rova_cmd_strobe},
                                         Family{"capture", "hotshoe", rova_cmd_hotshoe}),
                         [](const auto &row) { return std::string(row.param.word); });

INSTANTIATE_TEST_SUITE_P(ImageQuality, CommandFamily,
                         testing::Values(Family{"image quality", "iso", rova_cmd_iso},
                                         Family{"image quality", "awb", rova_cmd_awb},
                                         Family{"image quality", "color_shading",
                                                rova_cmd_color_shading},
                                         Family{"image quality", "flangeback", rova_cmd_flangeback},
                                         Family{"image quality", "paf", rova_cmd_paf},
                                         Family{"image quality", "vfpn", rova_cmd_vfpn}),
                         [](const auto &row) { return std::string(row.param.word); });
INSTANTIATE_TEST_SUITE_P(Extra, CommandFamily,
                         testing::Values(Family{"extra", "mot", rova_cmd_app_exec},
                                         Family{"extra", "dust", rova_cmd_app_exec},
                                         Family{"extra", "noise", rova_cmd_app_exec},
                                         Family{"extra", "movie", rova_cmd_app_exec},
                                         Family{"extra", "afi_adj", rova_cmd_app_exec}),
                         [](const auto &row) { return std::string(row.param.word); });

INSTANTIATE_TEST_SUITE_P(Wireless, CommandFamily,
                         testing::Values(Family{"wireless", "wifi", rova_cmd_wifi},
                                         Family{"wireless", "bluetooth", rova_cmd_bluetooth},
                                         Family{"wireless", "nfc", rova_cmd_nfc}),
                         [](const auto &row) { return std::string(row.param.word); });

static int first(uint32_t, cmd_data *)
{
    return 1;
}

static int second(uint32_t, cmd_data *)
{
    return 2;
}

static int not_mine(uint32_t, cmd_data *)
{
    return 0;
}

static constexpr rova_cmd_entry three_rows[] = {{"a", first}, {"ab", second}, {"c", not_mine}};
static constexpr rova_cmd_entry twice[] = {{"Key", first}, {"kEY", second}};
static constexpr rova_cmd_entry nameless[] = {{"", first}};
static constexpr rova_cmd_entry without_name[] = {{nullptr, first}};
[[maybe_unused]] static constexpr rova_cmd_entry without_handler[] = {{"a", nullptr}};

static_assert(rova_cmd_table_is_sound({}));
static_assert(rova_cmd_table_is_sound(three_rows));
static_assert(!rova_cmd_table_is_sound(twice));
static_assert(!rova_cmd_table_is_sound(nameless));
static_assert(!rova_cmd_table_is_sound(without_name));
#ifndef ROVA_SANITIZED
static_assert(!rova_cmd_table_is_sound(without_handler));
#endif

TEST(CmdFind, ComparesWholeWordsWithoutRegardToCase)
{
    EXPECT_EQ(rova_cmd_find(three_rows, "AB"), &three_rows[1]);
    EXPECT_EQ(rova_cmd_find(three_rows, "abc"), nullptr);
    EXPECT_EQ(rova_cmd_find(three_rows, ""), nullptr);
    EXPECT_EQ(rova_cmd_find({}, "a"), nullptr);
}

TEST(CmdFind, TakesTheFirstOfTwoRows)
{
    EXPECT_EQ(rova_cmd_find(twice, "key"), &twice[0]);
}

TEST(CmdRunSub, ReturnsWhatTheRowsHandlerReturns)
{
    cmd_data record = {};
    for (const rova_cmd_entry &row : three_rows) {
        std::snprintf(record.p[0], sizeof(record.p[0]), "%s", row.name);
        EXPECT_EQ(rova_cmd_run_sub(three_rows, "x", ROVA_CMD_SCRIPT, &record),
                  row.handler(ROVA_CMD_SCRIPT, &record));
    }
}
