// The loader: which file and which reader a mode has.
#include "lib/pim/mot/rova_pim_buffers.h"
#include "lib/pim/mot/rova_pim_config_mot.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_config.h"
#include "lib/pim/rova_pim_debug.h"
#include "tests/lib/pim/config_files.h"
#include "tests/lib/pim/mot/mot_file.h"
#include "tests/support/camera.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

namespace
{

class Config : public testing::Test
{
protected:
    test::Camera camera;

    ~Config() override
    {
        gDbgPrintOnOff = 0;
        cfgPm = {};
        cfgDust = {};
        cfgNoise = {};
        cfgMovie = {};
        rova_pim_buffers_free();
        SetPIMode(PI_MODE_NONE);
    }
    static int load(int32_t mode, const char *project = "LUMEN1", const char *lower = "lumen1")
    {
        SetPIMode(mode);
        return rova_pim_read_config(project, lower);
    }
};

} // namespace

TEST_F(Config, TheMotFileIsChosenByTheProjectInSmallLetters)
{
    camera.write("/mnt/mmc/mot_lumen1.cfg", test::mot_file());
    EXPECT_EQ(load(PI_MODE_MOT), 0);
    EXPECT_EQ(cfgPm.configLoaded, 1);
    EXPECT_STREQ(cfgPm.strModelName, "LUMEN1");
}

TEST_F(Config, TheProjectGoesOnInItsOwnCase)
{
    camera.write("/mnt/mmc/mot_lumen1.cfg", test::mot_file({{"strModelName", "lumen1"}}));
    EXPECT_EQ(load(PI_MODE_MOT), -1);
    EXPECT_TRUE(camera.logged("MODEL NUMBER IS WRONG.....!!!!  LUMEN1 : lumen1"));
}

TEST_F(Config, AMissingFileIsReportedWithItsPath)
{
    EXPECT_EQ(load(PI_MODE_MOT), -1);
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/mot_lumen1.cfg"));
}

TEST_F(Config, APathTakes87Characters)
{
    EXPECT_EQ(load(PI_MODE_MOT, "LUMEN1", std::string(200, 'a').c_str()), -1);
    EXPECT_TRUE(camera.logged("FILE OPEN ERROR : /mnt/mmc/mot_" + std::string(74, 'a')));
    EXPECT_FALSE(camera.logged("/mnt/mmc/mot_" + std::string(75, 'a')));
}

TEST_F(Config, EveryTestHasItsFileAndItsRecord)
{
    camera.write("/mnt/mmc/dust_lumen1.cfg", test::dust_file());
    camera.write("/mnt/mmc/noise_lumen1.cfg", test::noise_file());
    camera.write("/mnt/mmc/movie_lumen1.cfg", test::movie_file());
    EXPECT_EQ(load(PI_MODE_DUST), 0);
    EXPECT_STREQ(cfgDust.strModelName, "LUMEN1");
    EXPECT_STREQ(cfgNoise.strModelName, "");
    EXPECT_EQ(load(PI_MODE_NOISE), 0);
    EXPECT_STREQ(cfgNoise.strModelName, "LUMEN1");
    EXPECT_STREQ(cfgMovie.strModelName, "");
    EXPECT_EQ(load(PI_MODE_MOVIE), 0);
    EXPECT_STREQ(cfgMovie.strModelName, "LUMEN1");
    EXPECT_STREQ(cfgPm.strModelName, "");
}

TEST_F(Config, EveryMissingFileIsReportedWithItsPath)
{
    const std::pair<int32_t, const char *> files[] = {{PI_MODE_DUST, "/mnt/mmc/dust_lumen1.cfg"},
                                                      {PI_MODE_NOISE, "/mnt/mmc/noise_lumen1.cfg"},
                                                      {PI_MODE_MOVIE, "/mnt/mmc/movie_lumen1.cfg"}};
    for (const auto &[mode, file] : files) {
        EXPECT_EQ(load(mode), -1) << mode;
        EXPECT_TRUE(camera.logged(std::string("FILE OPEN ERROR : ") + file));
    }
}

TEST_F(Config, OtherModesHaveNoFile)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    for (int32_t mode : {PI_MODE_NONE + 0, 5, -1}) {
        SetPIMode(mode);
        int result = 0;
        EXPECT_EQ(test::captured_output([&] { result = rova_pim_read_config("LUMEN1", "lumen1"); }),
                  "Can not read Config file!!!");
        EXPECT_EQ(result, -1);
    }
    EXPECT_TRUE(camera.logged("Can not read Config file!!!"));
}

TEST_F(Config, AMissingNameIsRefused)
{
    gDbgPrintOnOff = PIM_DEBUG_STDOUT;
    SetPIMode(PI_MODE_MOT);
    EXPECT_EQ(test::captured_output([] { EXPECT_EQ(rova_pim_read_config("LUMEN1", nullptr), -1); }),
              " Read Config Error ~~~ !!! \n inCfg        = NULL \n pCfgPm     = OK \n"
              " strModelName = LUMEN1 \n");
    EXPECT_EQ(test::captured_output([] { EXPECT_EQ(rova_pim_read_config(nullptr, "lumen1"), -1); }),
              " Read Config Error ~~~ !!! \n inCfg        = /mnt/mmc/mot_lumen1.cfg \n"
              " pCfgPm     = OK \n strModelName = NULL \n");
}

TEST_F(Config, EighteenCharactersOfANameAreMadeSmall)
{
    char lower[PIM_LOWER_NAME_SIZE];
    rova_pim_lower_name("LUMEN1-Pro", lower);
    EXPECT_STREQ(lower, "lumen1-pro");
    rova_pim_lower_name("ABCDEFGHIJKLMNOPQRSTUVWXYZ", lower);
    EXPECT_STREQ(lower, "abcdefghijklmnopqr");
    rova_pim_lower_name("", lower);
    EXPECT_STREQ(lower, "");
    rova_pim_lower_name("\xC4\xFF", lower);
    EXPECT_STREQ(lower, "\xC4\xFF");
}
