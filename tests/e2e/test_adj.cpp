// vcam adj and the daemon: one tells the other what the camera has learned.
#include "tests/e2e/line.h"

#include <gtest/gtest.h>

using e2e::Line;

namespace
{

std::string value(const Line &line, const std::string &name)
{
    return line.vcam({"adj", "get", name}).out;
}

} // namespace

TEST(AdjustmentData, IsSharedWithTheDaemonAndKeptOverPowerOffWhenSaved)
{
    Line line;
    EXPECT_EQ(line.vcam({"adj", "set", "CIS_SN", "77"}).status, 0);
    line.start();
    EXPECT_EQ(line.vcam({"pc", "adj_data check CIS_SN 4 77 77"}).status, 0) << "set while off";
    EXPECT_EQ(line.vcam({"adj", "set", "CIS_SN", "78"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "adj_data check CIS_SN 4 78 78"}).status, 0) << "set while on";
    EXPECT_EQ(line.vcam({"pc", "adj_data write SHIPPING_COUNTRY 2 5"}).status, 0);
    EXPECT_EQ(value(line, "SHIPPING_COUNTRY"), "5\n") << "set by the daemon";
    EXPECT_EQ(line.vcam({"adj", "set", "--no-save", "CIS_CHIP_VERSION", "9"}).status, 0);
    EXPECT_EQ(line.vcam({"pc", "adj_data check CIS_CHIP_VERSION 2 9 9"}).status, 0);
    EXPECT_EQ(line.vcam({"adj", "diff"}).status, 1) << "not saved";
    line.stop();
    EXPECT_EQ(line.vcam({"adj", "get", "CIS_SN", "SHIPPING_COUNTRY", "CIS_CHIP_VERSION"}).out,
              "78\n5\n0\n");
    line.start();
    EXPECT_EQ(line.vcam({"pc", "adj_data check CIS_CHIP_VERSION 2 0 0"}).status, 0) << "lost";
    EXPECT_EQ(line.vcam({"pc", "adj_data check CIS_SN 4 78 78"}).status, 0);
}

TEST(AdjustmentData, ADiffTellsExactlyWhatAScriptChanged)
{
    Line line;
    const std::string before = line.path("/before.zip");
    EXPECT_EQ(line.vcam({"adj", "export", before}).status, 0);
    line.write("/line.adj", "adj_data write CIS_SN 4 -6\nadj_data write DPC_LV1_NUM 4 3\n");
    EXPECT_EQ(line.vcam({"run", line.path("/line.adj")}).status, 0);
    EXPECT_EQ(line.vcam({"adj", "diff", before}).out,
              "adj_cap   CIS_SN                       0 (0x00000000) -> -6 (0xfffffffa)\n"
              "adj_dpc   DPC_LV1_NUM                  0 (0x00000000) -> 3 (0x00000003)\n");
}
