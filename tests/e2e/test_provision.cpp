// A camera's way from blank to provisioned, and what stays of it.
#include "tests/e2e/line.h"
#include "tests/support/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using e2e::Line;
using testing::Contains;
using testing::UnorderedElementsAre;

namespace
{

bool passes(const Line &line, const std::string &example)
{
    const auto run = line.vcam({"run", std::string(EXAMPLES) + "/" + example});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    return run.status == 0;
}

std::vector<std::string> members(const Line &line, const std::string &archive)
{
    return test::lines_of(test::run({"unzip", "-Z1", line.path(archive)}).out);
}

} // namespace

TEST(Provision, ABlankCameraIsProvisionedBackedUpResetAndRestored)
{
    Line line;
    ASSERT_TRUE(passes(line, "provision.adj"));
    ASSERT_TRUE(passes(line, "verify.adj")) << "also behind a power-off";
    EXPECT_THAT(members(line, "/sdcard/pref.zip"),
                UnorderedElementsAre("tmp/backup/", "tmp/backup/adj_sys.bin",
                                     "tmp/backup/adj_cap.bin", "tmp/backup/adj_iq.bin",
                                     "tmp/backup/adj_vfpn.bin", "tmp/backup/adj_cs.bin",
                                     "tmp/backup/adj_dpc.bin"));
}

TEST(Provision, ADiffShowsExactlyWhatTheScriptChanged)
{
    Line line;
    const std::string blank = line.path("/blank.zip");
    ASSERT_EQ(line.vcam({"adj", "export", blank}).status, 0);
    ASSERT_TRUE(passes(line, "provision.adj"));
    EXPECT_EQ(line.vcam({"adj", "diff", blank}).out,
              "line      STEP_LABEL                   0 (0x00) -> 12 (0x0c)\n"
              "line      KEY                          N (0x00) -> E (0x01)\n"
              "line      SHIPMENT_COUNTRY             N (0x00) -> P (0x02)\n"
              "line      CIS_DATA                     N (0x00) -> P (0x02)\n"
              "adj_sys   SHIPPING_COUNTRY             0 (0x0000) -> 55 (0x0037)\n"
              "adj_sys   LANG_DEFAULT                 0 (0x0000) -> 1 (0x0001)\n"
              "adj_sys   LANG_SUB                     0 (0x0000) -> 1 (0x0001)\n"
              "adj_sys   QWERTY_DEFAULT               0 (0x0000) -> 2 (0x0002)\n"
              "adj_sys   TILT_INFO1                   0 (0x00000000) -> -12 (0xfffffff4)\n"
              "adj_sys   PRODUCT_NUMBER               \"\" -> \"RV26B20K00042\"\n"
              "adj_sys   WIFI_SNS_GATEWAY             0 (0x0000) -> 3 (0x0003)\n"
              "adj_sys   WIFI_COUNTRY_CODE            0 (0x0000) -> 1 (0x0001)\n"
              "adj_sys   WIFI_COUNTRY_CODE_5G         0 (0x0000) -> 21067 (0x524b)\n"
              "adj_sys   WIFI_COUNTRY_CH              0 (0x0000) -> 13 (0x000d)\n"
              "adj_sys   TEMP_SENSOR_CIS_TH_WARNING   106 (0x0000006a) -> 98 (0x00000062)\n"
              "adj_cap   CIS_SN                       0 (0x00000000) -> 40017 (0x00009c51)\n"
              "adj_cap   LENS_MOUNT_PIN_STATUS        0 (0x0000) -> 1 (0x0001)\n"
              "adj_cap   SS_OFFSET                    0 (0x0000) -> -3 (0xfffd)\n"
              "adj_iq    LIVE_ISO_GAIN_X1             0 (0x00000000) -> 256 (0x00000100)\n"
              "adj_iq    AWB_LOW_GAIN_R               0 (0x0000) -> 512 (0x0200)\n"
              "adj_vfpn  VFPN_CAPT_TABLE_SIZE         0 (0x0000) -> 6700 (0x1a2c)\n"
              "adj_cs    CS_VERSION                   0 (0x00000000) -> 3 (0x00000003)\n"
              "adj_dpc   DPC_HEADER_NUM               0 (0x00000000) -> 41 (0x00000029)\n");
}

TEST(Provision, ACameraThatWasNotProvisionedFailsTheCheck)
{
    Line line;
    EXPECT_EQ(line.vcam({"run", std::string(EXAMPLES) + "/verify.adj"}).status, 1);
}

TEST(Provision, TheCardCarriesTheDataToAnotherCamera)
{
    Line first;
    ASSERT_TRUE(passes(first, "provision.adj"));
    Line second;
    second.write("/sdcard/pref.zip", first.read("/sdcard/pref.zip"));
    second.write("/restore.adj", "adj_data restore all\nadj_data check CIS_SN 4 40017 40017\n");
    EXPECT_EQ(second.vcam({"run", second.path("/restore.adj")}).status, 0);
    second.write("/restore.adj", "adj_data check DPC_HEADER_NUM 4 41 41\n");
    EXPECT_EQ(second.vcam({"run", second.path("/restore.adj")}).status, 0) << "it was saved";
}

// The tables that the stations leave, byte for byte but for the columns of time.
TEST(Provision, VerifyLeavesTablesOnTheCard)
{
    Line line;
    ASSERT_TRUE(passes(line, "provision.adj"));
    ASSERT_TRUE(passes(line, "verify.adj"));
    EXPECT_NE(line.read("/sdcard/adjdata.csv").find("TILT_INFO1,4,-12,0xfffffff4"),
              std::string::npos);
    EXPECT_NE(line.read("/sdcard/adjdata.csv").find("SS_OFFSET,2,-3,0xfffffffd"),
              std::string::npos);
    EXPECT_NE(line.read("/sdcard/shipment_country.csv").find("55,1,1,3,13,KR,1,0,2,1,0,0,0"),
              std::string::npos);
    EXPECT_NE(line.read("/sdcard/cis_num.csv").find("40017"), std::string::npos);
    EXPECT_THAT(line.call_texts(), Contains("factory_osd_text_set(2, \"RV26B20K00042\")"));
}
