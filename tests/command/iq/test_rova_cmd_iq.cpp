#include "tests/command/forward_test.h"

namespace test
{

INSTANTIATE_TEST_SUITE_P(
    ImageQuality, Forwarded,
    testing::Values(
        ForwardedFamily{"iso", {"adjust"}, {}},
        ForwardedFamily{"awb", {"low", "lens", "stillcapture"}, {}},
        ForwardedFamily{"color_shading", {"adjust"}, {}},
        ForwardedFamily{"flangeback", {"check"}, {}},
        ForwardedFamily{
            "paf", {"raw_dump", "calc", "jig_cal", "set_adj", "check", "debug_write"}, {}},
        ForwardedFamily{"vfpn", {"adjust", "wait_temp", "check_temp"}, {}}),
    family_word);

class ImageQualityFamilies : public ForwardTest
{
};

TEST_F(ImageQualityFamilies, Paf2IsAWordOfNoTable)
{
    EXPECT_EQ(run("paf2 check"), NO_ANSWER);
    EXPECT_TRUE(camera.logged("Not found on command table, so skip all next command! "));
    EXPECT_FALSE(camera.logged("Not found on paf"));
}

// The same words stand below other families, on the other channel.
TEST_F(ImageQualityFamilies, IsoAndEfsAreFamiliesAndSubcommands)
{
    by_ipcc(record_of("iso adjust"));
    by_app(record_of("exposure iso 200"));
    by_ipcc(record_of("efs adjust"));
    by_app(record_of("sys_param efs on"));
}

} // namespace test
