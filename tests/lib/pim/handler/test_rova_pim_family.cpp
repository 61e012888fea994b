// What the tests of single stills have in common, with the noise and the dust test.
#include "common/rova_util.h"
#include "lib/pim/dust/rova_pim_dust.h"
#include "lib/pim/noise/rova_pim_noise.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result.h"
#include "lib/rova_app_table.h"
#include "platform/vconf.h"
#include "tests/lib/pim/handler/still_family.h"
#include "tests/lib/pim/held_records.h"
#include "tests/support/wrap.h"

#include <thread>

using test::NG;
using test::OK;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class StillFamily : public test::StillFamilyTest, public testing::WithParamInterface<const char *>
{
protected:
    StillFamily() : StillFamilyTest(GetParam()) {}
    ~StillFamily() override { vconf_set_int(ROVA_KEY_STOP_CMD, 0); }

    std::string word(const std::string &rest) const { return GetParam() + (" " + rest); }
    std::string handler(const std::string &subcommand) const
    {
        return std::string("rova_cmd_") + GetParam() + "_" + subcommand;
    }
};

std::string name_of(const testing::TestParamInfo<const char *> &info)
{
    return info.param;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Families, StillFamily, testing::Values("noise", "dust"), name_of);

TEST_P(StillFamily, AnotherSubcommandIsNotItsOwn)
{
    for (const char *other : {"", "avcs on", "set_chart wide", "set_range wide 0 0 0 0"})
        EXPECT_EQ(run(word(other)), OK) << "the answer is left as it was";
    EXPECT_EQ(logged("Not found on mot command table").size(), 4U) << "the families' one wording";
}

TEST_P(StillFamily, SetPimodeMakesItTheActiveTest)
{
    const int32_t mode = GetPIMode();
    SetPIMode(PI_MODE_MOT);
    for (const char *line : {"set", "set mode", "set PIMODE", "set pimode2"})
        EXPECT_EQ(run(word(line)), NG) << line;
    EXPECT_EQ(GetPIMode(), PI_MODE_MOT);
    EXPECT_EQ(run(word("SET pimode")), OK);
    EXPECT_EQ(GetPIMode(), mode);
}

TEST_P(StillFamily, ReadConfigRegistersForStillsOnce)
{
    load_config();
    EXPECT_EQ(logged(handler("read_config")).size(), 2U) << "the fixture's and this one";
    EXPECT_THAT(logged(handler("read_config")).back(), ContainsRegex(" [0-9]+ : read config"));
    EXPECT_EQ(callbackFlag, 1);
    const std::string client = std::to_string(regPim);
    EXPECT_THAT(capture_calls(), ElementsAre("RegCallbackClient(\"pimode\", 0)",
                                             "RegImageSetCallbackId(" + client + ", 67174401)"));
    EXPECT_EQ(run(word("read_config")), OK);
    EXPECT_THAT(capture_calls(), IsEmpty());
}

TEST_P(StillFamily, AConfigurationThatCannotBeReadIsNgAndForgotten)
{
    load_config();
    camera.remove(config_path());
    EXPECT_EQ(run(word("read_config")), NG);
    EXPECT_THAT(printed, ContainsRegex(handler("read_config") + ", [0-9]+, ROVA_RESULT_NG\n"));
    EXPECT_EQ(run(word("display_result on r.csv")), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("20 -99"));
}

TEST_P(StillFamily, TheConfigurationOfAnotherFamilyIsNotItsOwn)
{
    load_config();
    gCaptureDone = 1;
    const std::string other = GetParam() == std::string("dust") ? "noise" : "dust";
    EXPECT_EQ(run(other + " display_result on r.csv"), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("20 -99"));
}

// display_result.

TEST_P(StillFamily, DisplayResultWithOneParameterIsNgAndUnregisters)
{
    for (const bool loaded : {false, true}) {
        if (loaded)
            load_config();
        const int client = regPim;
        new_calls();
        gCaptureDone = 1;
        EXPECT_EQ(run(word("display_result")), NG);
        EXPECT_THAT(new_drawings(), IsEmpty());
        expect_end(client);
    }
}

TEST_P(StillFamily, DisplayResultOffClearsTheScreen)
{
    for (const bool loaded : {false, true}) {
        if (loaded)
            load_config();
        const int client = regPim;
        new_calls();
        EXPECT_EQ(run(word("display_result off")), OK);
        EXPECT_THAT(printed, ContainsRegex(handler("display_result") + " [0-9]+ : display result "
                                                                       "off\n"));
        EXPECT_TRUE(camera.logged(" : display result off"));
        EXPECT_THAT(new_drawings(), ElementsAre("60 0"));
        expect_end(client);
    }
}

TEST_P(StillFamily, DisplayResultWithoutAConfigurationIsNg)
{
    gCaptureDone = 1;
    EXPECT_EQ(run(word("display_result on r.csv")), NG);
    EXPECT_THAT(printed, ContainsRegex(handler("display_result") +
                                       " [0-9]+ : display result : read config error\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("20 -99"));
    EXPECT_FALSE(camera.exists("/sdcard/r.csv"));
    expect_end(0);
}

TEST_P(StillFamily, DisplayResultOfAnotherWordIsNg)
{
    load_config();
    const int client = regPim;
    new_calls();
    EXPECT_EQ(run(word("display_result ON r.csv")), NG);
    EXPECT_THAT(new_drawings(), IsEmpty());
    expect_end(client);
}

TEST_P(StillFamily, DisplayResultTellsThatNoPictureCame)
{
    load_config();
    test::wrap_record_sleeps(true);
    camera.speed(1);
    EXPECT_EQ(run(word("display_result on r.csv")), NG);
    EXPECT_EQ(test::wrap_sleeps(), std::vector<unsigned int>(280, 100000));
    camera.speed(1000);
    EXPECT_THAT(printed, ContainsRegex(handler("display_result") +
                                       ", [0-9]+ : capture was not conducted!\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("2 Capture was not conducted!"));
    EXPECT_FALSE(camera.exists("/sdcard/r.csv"));
}

TEST_P(StillFamily, DisplayResultEndsItsWaitWhenTheDaemonIsAskedToStop)
{
    load_config();
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run(word("display_result on r.csv")), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("2 Capture was not conducted!"));
}

TEST_P(StillFamily, DisplayResultOfATestThatPassedShowsOkAndWritesTheFile)
{
    load_config();
    cfgNoise.iDotOk = cfgNoise.iTotal = 1;
    cfgDust.iTotal = 1;
    leave_result("T,U\n", "1,%s\n");
    const int client = regPim;
    new_calls();
    EXPECT_EQ(run(word("display_result on r.csv")), OK);
    EXPECT_EQ(camera.read("/sdcard/r.csv"), "Index,CIS S/N,T,U\r\n1,0,1,%s\r\n");
    EXPECT_STREQ(answer.stream.text, "/sdcard/r.csv");
    EXPECT_TRUE(camera.logged(" : display result on"));
    EXPECT_THAT(printed, testing::HasSubstr("pimCsvTitle T,U, pimCsvData 1,%s \n"));
    EXPECT_THAT(new_drawings(), ElementsAre("10 "));
    expect_end(client);
}

TEST_P(StillFamily, DisplayResultOfATestThatDidNotRunIsNgWithoutAName)
{
    load_config();
    leave_result("T\n", "D\n");
    EXPECT_EQ(run(word("display_result on r.csv")), NG);
    EXPECT_TRUE(camera.exists("/sdcard/r.csv"));
    EXPECT_THAT(new_drawings(), ElementsAre("20 -99"));
}

TEST_P(StillFamily, AFileWithoutANameIsNgBehindTheScreen)
{
    load_config();
    cfgNoise.iDotOk = cfgNoise.iTotal = 1;
    cfgDust.iTotal = 1;
    leave_result("T\n", "D\n");
    EXPECT_EQ(run(word("display_result on")), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("10 "));
}

TEST_P(StillFamily, ARowThatCannotBeWrittenIsNgBehindTheScreen)
{
    load_config();
    cfgNoise.iDotOk = cfgNoise.iTotal = 1;
    cfgDust.iTotal = 1;
    leave_result("T\n", "D\n");
    camera.fault("sys_write", "-1");
    EXPECT_EQ(run(word("display_result on r.csv")), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("10 "));
}

TEST_P(StillFamily, DisplayResultWaitsForWhoHasTheRecords)
{
    load_config();
    leave_result("T\n", "D\n");
    EXPECT_FALSE(test::changes_held_records([&] { run(word("display_result on r.csv")); },
                                            [&] { return camera.exists("/sdcard/r.csv"); }));
    EXPECT_TRUE(camera.exists("/sdcard/r.csv"));
}

TEST_P(StillFamily, WordsBehindTheLastAreNotLookedAt)
{
    load_config();
    leave_result("T\n", "D\n");
    cmd_data record = test::line_record(word("display_result on"));
    std::strcpy(record.p[2], "stale.csv");
    answer.response_type = 7;
    EXPECT_TRUE(rova_app_cmd_exec(rova_app_cmds(), &record, &answer));
    EXPECT_EQ(answer.response_type, ROVA_RESPONSE_PLAIN);
    EXPECT_EQ(answer.result, NG);
    EXPECT_FALSE(camera.exists("/sdcard/stale.csv"));
}
