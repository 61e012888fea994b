#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/rova_app_table.h"
#include "tests/lib/pim/handler/still_family.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using test::NG;
using test::OK;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

class Noise : public test::StillFamilyTest
{
protected:
    Noise() : StillFamilyTest("noise") {}

    // The verdicts of a test that failed, and what the command leaves on the screen.
    std::vector<std::string> shown(int32_t dot, int32_t color, int32_t line)
    {
        load_config();
        cfgNoise.iDotOk = dot;
        cfgNoise.iColorOk = color;
        cfgNoise.iLineOk = line;
        cfgNoise.iTotal = 0;
        add_lines();
        leave_result("T\n", "D\n");
        EXPECT_EQ(run("noise display_result on r.csv"), NG);
        return new_drawings();
    }
    virtual void add_lines() {}
};

class NoiseLines : public Noise
{
protected:
    void add_lines() override
    {
        cfgNoise.iLnDeNum = static_cast<int32_t>(columns.size());
        std::copy(columns.begin(), columns.end(), cfgNoise.LnDef);
        cfgNoise.iDbgOption[3] = scale;
        cfgNoise.iImgX = 5472;
        cfgNoise.iLcdX = 720;
    }
    std::vector<int32_t> columns;
    int32_t scale = 0;
};

// In a process of its own: the camera's folder is gone before that ends.
[[noreturn]] void display_at_start()
{
    {
        const test::Camera camera;
        rova_cmd_response answer = {};
        const cmd_data record = test::line_record("noise display_result on r.csv");
        rova_app_cmd_exec(rova_app_cmds(), &record, &answer);
        std::fprintf(stderr, "answer %d\n", answer.result);
    }
    std::exit(0);
}

} // namespace

TEST(NoiseAtStart, NoConfigurationIsLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(display_at_start(), testing::ExitedWithCode(0), "answer 1");
}

// change_iso.

TEST_F(Noise, ChangeIsoChoosesTheSpecsOfItsIso)
{
    load_config();
    cfgNoise.iIsoLow = 100;
    cfgNoise.iIsoHigh = 3200;
    EXPECT_EQ(run("noise change_iso 3200"), OK);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_noise_change_iso [0-9]+ : noise change iso\n"));
    EXPECT_EQ(cfgNoise.iIso, 3200);
    EXPECT_EQ(cfgNoise.iIsoIdx, 1);
    EXPECT_EQ(run("noise change_iso 100"), OK);
    EXPECT_EQ(cfgNoise.iIso, 100);
    EXPECT_EQ(cfgNoise.iIsoIdx, 0);
}

TEST_F(Noise, ChangeIsoToAnotherIsoLeavesTheSpecs)
{
    load_config();
    cfgNoise.iIsoLow = 100;
    cfgNoise.iIsoHigh = 3200;
    cfgNoise.iIsoIdx = 1;
    EXPECT_EQ(run("noise change_iso 400"), OK);
    EXPECT_EQ(cfgNoise.iIso, 400);
    EXPECT_EQ(cfgNoise.iIsoIdx, 1);
}

TEST_F(Noise, ChangeIsoWantsAValueAndNoConfiguration)
{
    cfgNoise = {};
    cfgNoise.iIsoHigh = 1600;
    EXPECT_EQ(run("noise change_iso"), NG);
    EXPECT_EQ(printed, "");
    EXPECT_EQ(run("noise change_iso 1600"), OK);
    EXPECT_EQ(cfgNoise.iIsoIdx, 1);
}

TEST_F(Noise, ChangeIsoInAnotherModeChangesNothing)
{
    load_config();
    cfgNoise.iIsoHigh = 3200;
    const rova_pim_noise_config before = cfgNoise;
    for (const int32_t mode : {+PI_MODE_NONE, +PI_MODE_MOT, +PI_MODE_DUST, +PI_MODE_MOVIE}) {
        SetPIMode(mode);
        EXPECT_EQ(run("noise change_iso 3200"), OK);
        EXPECT_THAT(printed, HasSubstr("Available on Noise Test mode.")) << mode;
        EXPECT_EQ(std::memcmp(&before, &cfgNoise, sizeof(cfgNoise)), 0) << mode;
    }
}

// display_result.

TEST_F(Noise, TheFirstCheckThatFailedIsNamed)
{
    EXPECT_THAT(shown(0, 0, 0), ElementsAre("20 dot"));
    EXPECT_THAT(shown(1, 0, 0), ElementsAre("20 color"));
    EXPECT_THAT(shown(1, 1, 0), ElementsAre("20 line"));
    EXPECT_THAT(shown(PIM_NO_RESULT, 0, 1), ElementsAre("20 color")) << "dots are switched off";
}

TEST_F(Noise, ATotalThatFailedWithoutACheckHasNoName)
{
    EXPECT_THAT(shown(1, 1, 1), ElementsAre("20 -99"));
    EXPECT_THAT(shown(1, PIM_NO_RESULT, 1), ElementsAre("20 -99"));
}

TEST_F(NoiseLines, LinesAreDrawnBeforeTheMark)
{
    columns = {0, 8, 380, 5471};
    EXPECT_THAT(shown(1, 1, 0),
                ElementsAre("30 -2, 0, 4, 480, red", "30 -1, 0, 4, 480, red",
                            "30 48, 0, 4, 480, red", "30 717, 0, 4, 480, red", "20 line"));
}

TEST_F(NoiseLines, LinesOfAnotherFaultAreNotDrawn)
{
    columns = {380};
    EXPECT_THAT(shown(1, 0, 0), ElementsAre("20 color"));
}

TEST_F(NoiseLines, AtMostEighteenLinesAreDrawn)
{
    for (int32_t i = 0; i < PIM_NOISE_LINES; i++)
        columns.push_back(38 * i);
    const std::vector<std::string> drawn = shown(1, 1, 0);
    ASSERT_EQ(drawn.size(), 19U);
    EXPECT_EQ(drawn[17], "30 83, 0, 4, 480, red");
    EXPECT_EQ(drawn[18], "20 line");
}

// The option is meant for positions that are told as numbers.
TEST_F(NoiseLines, PositionsThatAreToldInPixelsOfTheLcdAreScaledOnceMore)
{
    columns = {2888}; // 380 of the LCD
    scale = 1;
    EXPECT_THAT(shown(1, 1, 0), ElementsAre("30 48, 0, 4, 480, red", "20 line"));
}
