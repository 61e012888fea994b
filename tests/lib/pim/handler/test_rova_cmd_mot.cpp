#include "common/rova_osd.h"
#include "common/rova_util.h"
#include "lib/pim/mot/rova_pim_avcs.h"
#include "lib/pim/rova_pim.h"
#include "lib/pim/rova_pim_result.h"
#include "lib/rova_app_table.h"
#include "platform/capture.h"
#include "platform/device.h"
#include "platform/vconf.h"
#include "platform/virtual/capture.h"
#include "tests/lib/pim/handler/handler_test.h"
#include "tests/lib/pim/planes.h"
#include "tests/support/wrap.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>
#include <thread>

using test::NG;
using test::OK;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace
{

constexpr char CSV[] = "/sdcard/mot.csv";
constexpr char NOT_CONDUCTED[] = ", [0-9]+ : capture was not conducted!\n";

class Mot : public test::HandlerTest
{
protected:
    ~Mot() override { vconf_set_int(ROVA_KEY_STOP_CMD, 0); }

    // As a test leaves it.
    static void leave_result(const char *title, const char *data)
    {
        std::strcpy(pPtpTile, title);
        std::strcpy(pRstData, data);
        gCaptureDone = 1;
    }
    static void pass_all_charts()
    {
        cfgPm.finalResult = 1;
        for (int chart = 0; chart < PIM_CHARTS; chart++) {
            cfgPm.chart[chart].rangeSize = 5;
            cfgPm.chart[chart].okCntCondition = 1;
            cfgPm.result[chart].okCount = 1;
            cfgPm.result[chart].bestLevel = chart - 1;
        }
    }
    // The ending, with the client that was registered.
    void expect_end(int handle)
    {
        const std::string client = std::to_string(handle);
        EXPECT_THAT(capture_calls(),
                    ElementsAre("UnRegImageSetCallbackId(" + client + ", 67174401)",
                                "UnRegCallbackClient(" + client + ")"));
        EXPECT_EQ(regPim, 0);
        EXPECT_EQ(callbackFlag, 0);
        EXPECT_EQ(gCaptureDone, 0);
    }
    // Those since the last call.
    std::vector<std::string> capture_calls()
    {
        std::vector<std::string> calls;
        for (const std::string &call : new_calls())
            if (call.find("Reg") == 0 || call.find("UnReg") == 0)
                calls.push_back(call);
        return calls;
    }
};

// In a process of its own: the camera's folder is gone before that ends.
[[noreturn]] void set_chart_at_start()
{
    rova_cmd_response answer = {};
    {
        const test::Camera camera;
        const cmd_data record = test::line_record("mot set_chart wide");
        rova_app_cmd_exec(rova_app_cmds(), &record, &answer);
    }
    std::exit(answer.result);
}

} // namespace

TEST(MotAtStart, NoConfigurationIsLoaded)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(set_chart_at_start(), testing::ExitedWithCode(NG), "");
}

TEST_F(Mot, AnotherSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("mot foo"), OK) << "the answer is left as it was";
    EXPECT_EQ(logged("Not found on mot command table").size(), 1U);
    EXPECT_EQ(run("mot"), OK);
    EXPECT_EQ(logged("Not found on mot command table").size(), 2U);
}

TEST_F(Mot, SetPimodeMakesItTheActiveTest)
{
    SetPIMode(PI_MODE_NOISE);
    for (const char *line : {"mot set", "mot set mode", "mot set PIMODE", "mot set pimode2"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(GetPIMode(), PI_MODE_NOISE);
    EXPECT_EQ(run("MOT SET pimode"), OK);
    EXPECT_EQ(GetPIMode(), PI_MODE_MOT);
    EXPECT_THAT(printed, HasSubstr("Mode : 1\n"));
}

// read_config.

TEST_F(Mot, ReadConfigRegistersForStills)
{
    load_mot_config();
    EXPECT_EQ(cfgPm.configLoaded, 1);
    EXPECT_EQ(callbackFlag, 1);
    const std::string client = std::to_string(regPim);
    EXPECT_THAT(capture_calls(), ElementsAre("RegCallbackClient(\"pimode\", 0)",
                                             "RegImageSetCallbackId(" + client + ", 67174401)"));
}

TEST_F(Mot, ReadConfigAgainReadsAgainAndRegistersOnce)
{
    load_mot_config();
    const int client = regPim;
    new_calls();
    cfgPm.configLoaded = 0;
    EXPECT_EQ(run("mot read_config"), OK);
    EXPECT_EQ(cfgPm.configLoaded, 1);
    EXPECT_EQ(regPim, client);
    EXPECT_THAT(capture_calls(), IsEmpty());
}

namespace
{

std::atomic<bool> g_in_test, g_load_begins, g_load_ended, g_overtaken;

// A test that goes on for long enough that a load would end meanwhile.
void watch_record(const rova_pim_still &)
{
    constexpr int LOOKS = 200000;
    const volatile rova_pim_pm_config &cfg = cfgPm;
    g_in_test = true;
    g_in_test.notify_all();
    g_load_begins.wait(false);
    for (int i = 0; i < LOOKS && !g_overtaken; i++) {
        g_overtaken = cfg.configLoaded != 1 || g_load_ended;
        std::this_thread::yield();
    }
}

} // namespace

TEST_F(Mot, ReadConfigWaitsForTheTestOfAStill)
{
    const test::Planes planes(64 * 64 * 2);
    capture_image_set set = {};
    set.mainGWidth = set.mainGHeight = set.mainWidth = set.mainHeight = 64;
    set.screenGWidth = set.screenGHeight = set.screenWidth = set.screenHeight = 64;
    set.mainYAddress = set.screenYAddress = planes.address();
    capture_still still = {};
    still.image_set = &set;
    g_in_test = g_load_begins = g_load_ended = g_overtaken = false;
    load_mot_config();
    rova_pim_set_test(PI_MODE_MOT, watch_record);
    std::thread service([&] { rova_pim_capture_data_receiver(CAPTURE_STILL_ID, &still); });
    g_in_test.wait(false);
    g_load_begins = true;
    g_load_begins.notify_all();
    EXPECT_EQ(run("mot read_config"), OK);
    g_load_ended = true;
    service.join();
    rova_pim_set_test(PI_MODE_MOT, nullptr);
    EXPECT_FALSE(g_overtaken);
}

TEST_F(Mot, AConfigurationThatCannotBeReadIsNgAndForgotten)
{
    load_mot_config();
    EXPECT_EQ(run("mot set_chart wide"), OK);
    camera.remove("/mnt/mmc/mot_lumen1.cfg");
    EXPECT_EQ(run("mot read_config"), NG);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_mot_read_config, [0-9]+, ROVA_RESULT_NG\n"));
    EXPECT_EQ(run("mot set_chart wide"), NG) << "nothing is loaded any more";
}

TEST_F(Mot, ReadConfigOfAnotherModeReadsThatModesFile)
{
    camera.write("/mnt/mmc/mot_lumen1.cfg", "LUMEN1\n");
    SetPIMode(PI_MODE_NONE);
    EXPECT_EQ(run("mot read_config"), NG);
    EXPECT_EQ(callbackFlag, 0);
}

TEST_F(Mot, ACaptureServiceThatRefusesIsNgAndLeavesNothingRegistered)
{
    load_mot_config();
    run("mot display_result off");
    new_calls();
    camera.fault("RegCallbackClient", "-1 at 1");
    EXPECT_EQ(run("mot read_config"), NG);
    EXPECT_EQ(callbackFlag, 0);
    EXPECT_TRUE(camera.logged("RegCallbackClient failed (-1)"));
    EXPECT_EQ(capture_calls().size(), 1U) << "nothing is asked for nobody";

    new_calls();
    camera.fault("RegImageSetCallbackId", "-1 at 1");
    EXPECT_EQ(run("mot read_config"), NG);
    EXPECT_EQ(callbackFlag, 0);
    EXPECT_EQ(capture_calls().back(), "UnRegCallbackClient(" + std::to_string(regPim) + ")");
    EXPECT_EQ(run("mot read_config"), OK);
}

// What wants a configuration.

TEST_F(Mot, NothingIsSetBeforeTheConfiguration)
{
    const rova_pim_pm_config before = cfgPm;
    for (const char *line :
         {"mot set_range wide -2 2 4 5", "mot set_chart tele", "mot avcs on", "mot avcs off"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(std::memcmp(&before, &cfgPm, sizeof(cfgPm)), 0);
    EXPECT_EQ(stepValue, PIM_CHART_WIDE);
    EXPECT_EQ(printed, "");
    EXPECT_THAT(new_calls(), IsEmpty());
}

TEST_F(Mot, FewerParametersThanItTakesIsNg)
{
    load_mot_config();
    for (const char *line : {"mot set", "mot set_chart", "mot avcs", "mot display_result",
                             "mot display_result on", "mot set_range wide -2 2 4"})
        EXPECT_EQ(run(line), NG) << line;
}

TEST_F(Mot, SetChartTellsWhatStandsBeforeTheCamera)
{
    load_mot_config();
    const struct {
        const char *word;
        int32_t chart;
        const char *told;
    } rows[] = {{"tele", 1, "Current Chart = 1, CHART_TELE\n"},
                {"mid", 2, "Current Chart = 2, CHART_MID\n"},
                {"wide", 0, "Current Chart = 0, CHART_WIDE\n"}};
    for (const auto &row : rows) {
        EXPECT_EQ(run(std::string("mot set_chart ") + row.word), OK);
        EXPECT_EQ(stepValue, row.chart);
        EXPECT_THAT(printed,
                    ContainsRegex(std::string("rova_cmd_mot_set_chart [0-9]+ : set_zoom ") +
                                  row.word + "\n"));
        EXPECT_THAT(printed, HasSubstr(row.told));
    }
    for (const char *word : {"Wide", "mid.", "x"})
        EXPECT_EQ(run(std::string("mot set_chart ") + word), NG) << word;
    EXPECT_EQ(stepValue, 0);
}

TEST_F(Mot, SetRangeSetsTheFourFieldsOfItsChart)
{
    load_mot_config();
    const char *const words[] = {"wide", "tele", "mid"};
    for (int32_t chart = 0; chart < PIM_CHARTS; chart++) {
        const rova_pim_pm_config before = cfgPm;
        const std::string line =
            std::string("mot set_range ") + words[chart] + " -1 1 " + std::to_string(chart) + " 3";
        EXPECT_EQ(run(line), OK);
        EXPECT_THAT(printed,
                    ContainsRegex(std::string("rova_cmd_mot_set_range [0-9]+ : set range ") +
                                  words[chart] + "\n"));
        rova_pim_pm_config after = before;
        after.chart[chart].afStart = -1;
        after.chart[chart].afEnd = 1;
        after.chart[chart].cz = chart;
        after.chart[chart].rangeSize = 3;
        EXPECT_EQ(std::memcmp(&after, &cfgPm, sizeof(cfgPm)), 0);
    }
    EXPECT_EQ(run("mot set_range near -1 1 2 3"), NG);
}

TEST_F(Mot, SetRangeInAnotherModeSetsNothing)
{
    load_mot_config();
    const rova_pim_pm_config before = cfgPm;
    SetPIMode(PI_MODE_DUST);
    EXPECT_EQ(run("mot set_range wide 1 2 3 4"), OK);
    EXPECT_THAT(printed, HasSubstr("Available on MOT mode."));
    EXPECT_EQ(std::memcmp(&before, &cfgPm, sizeof(cfgPm)), 0);
    EXPECT_EQ(run("mot set_chart tele"), OK);
    EXPECT_THAT(printed, HasSubstr("Available on MOT mode."));
}

// avcs.

TEST_F(Mot, AvcsOnWaitsForTheEndOfTheSearch)
{
    load_mot_config();
    cfgPm.avcsMode = 0;
    new_calls();
    gAvcsFinished = 1; // of an earlier one
    std::thread operator_([&] {
        EXPECT_TRUE(test::wait_for([&] { return gAvcsFinished == 0 && cfgPm.avcsMode == 1; }));
        EXPECT_TRUE(camera.calls("UnRegImageCallbackId").empty());
        gAvcsFinished = 1;
    });
    EXPECT_EQ(run("mot avcs on"), OK);
    operator_.join();
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_mot_avcs [0-9]+ : avcs on\n"));
    const std::string client = std::to_string(regPim);
    EXPECT_THAT(capture_calls(), ElementsAre("RegImageCallbackId(" + client + ", 50528257)",
                                             "UnRegImageCallbackId(" + client + ", 50528257)"));
}

TEST_F(Mot, AvcsOnIsEndedByTheShutterKey)
{
    load_mot_config();
    camera.write("/virtual/scene/live/a.pgm", "P5 32 32 255\n" + std::string(1024, 'x'));
    device_set_property(13, 1, 1);
    ASSERT_TRUE(virt::start_live_view());
    EXPECT_EQ(run("mot avcs on"), OK);
    virt::stop_live_view();
    EXPECT_EQ(gAvcsFinished, 1);
}

TEST_F(Mot, AvcsOnInAnotherModeSearchesWithoutItsMode)
{
    load_mot_config();
    cfgPm.avcsMode = 0;
    SetPIMode(PI_MODE_DUST);
    std::thread operator_([&] {
        EXPECT_TRUE(test::wait_for([&] { return !camera.calls("RegImageCallbackId").empty(); }));
        EXPECT_TRUE(test::wait_for([&] { return gAvcsFinished.exchange(1) == 0; }));
        EXPECT_TRUE(test::wait_for([&] {
            return gAvcsFinished.exchange(1) == 1 && !camera.calls("UnRegImageCallbackId").empty();
        }));
    });
    EXPECT_EQ(run("mot avcs on"), OK);
    operator_.join();
    EXPECT_THAT(printed, HasSubstr("Available on MOT mode."));
    EXPECT_EQ(cfgPm.avcsMode, 0);
}

TEST_F(Mot, AvcsOnWithoutAnEndLastsUntilTheDaemonIsAskedToStop)
{
    load_mot_config();
    camera.speed(100000); // many looks
    test::wrap_record_sleeps(false);
    std::thread other([&] {
        EXPECT_TRUE(test::wait_for([&] { return !camera.calls("RegImageCallbackId").empty(); }));
        vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    });
    EXPECT_EQ(run("mot avcs on"), NG);
    other.join();
    EXPECT_TRUE(camera.logged("the search for the markers was stopped"));
    EXPECT_EQ(camera.calls("UnRegImageCallbackId").size(), 1U);
    EXPECT_THAT(test::wrap_sleeps(), testing::Each(5U)) << "half a second of the camera's";
}

TEST_F(Mot, AvcsOnThatGetsNoFramesIsNgAtOnce)
{
    load_mot_config();
    camera.fault("RegImageCallbackId", "-1");
    EXPECT_EQ(run("mot avcs on"), NG);
    EXPECT_TRUE(camera.logged("RegImageCallbackId failed (-1)"));
}

TEST_F(Mot, AvcsOffEndsTheSearchAndClearsTheScreen)
{
    load_mot_config();
    new_calls();
    cfgPm.avcsMode = 1;
    gAvcsFinished = 1;
    EXPECT_EQ(run("mot avcs off"), OK);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_mot_avcs [0-9]+ : avcs off\n"));
    EXPECT_EQ(cfgPm.avcsMode, 0);
    EXPECT_EQ(gAvcsFinished, 0);
    EXPECT_THAT(new_drawings(), ElementsAre("60 0"));
    EXPECT_EQ(camera.calls("UnRegImageCallbackId").size(), 1U);
    for (const char *word : {"On", "OFF", "x"})
        EXPECT_EQ(run(std::string("mot avcs ") + word), NG) << word;
}

TEST_F(Mot, AvcsClearsItsPropertyOnlyWhenItReadsOne)
{
    load_mot_config();
    for (const int value : {1, 2}) {
        device_set_property(13, 4, value);
        EXPECT_EQ(run("mot avcs other"), NG);
        int now = -1;
        device_get_property(13, 4, &now);
        EXPECT_EQ(now, value == 1 ? 0 : 2);
    }
    camera.fault("device_get_property", "-1");
    EXPECT_EQ(run("mot avcs off"), NG);
    EXPECT_TRUE(camera.logged("device property (13, 4) cannot be cleared (-1)"));
    EXPECT_THAT(new_drawings(), ElementsAre("60 0")) << "it goes on";
}

// display_result.

TEST_F(Mot, DisplayResultWithTwoParametersIsNgAndUnregisters)
{
    for (const char *line : {"mot display_result on", "mot display_result off"}) {
        load_mot_config();
        const int client = regPim;
        new_calls();
        gCaptureDone = 1;
        EXPECT_EQ(run(line), NG);
        expect_end(client);
        EXPECT_THAT(new_drawings(), IsEmpty());
    }
}

TEST_F(Mot, DisplayResultOffClearsTheScreen)
{
    for (const bool loaded : {false, true}) {
        if (loaded)
            load_mot_config();
        const int client = regPim;
        new_calls();
        EXPECT_EQ(run("mot display_result off x"), OK);
        EXPECT_THAT(printed, ContainsRegex("rova_cmd_mot_display_result [0-9]+ : display result "
                                           "off\n"));
        EXPECT_THAT(camera.platform_log(), HasSubstr(" : display result off"));
        EXPECT_THAT(new_drawings(), ElementsAre("60 0"));
        expect_end(client);
    }
}

TEST_F(Mot, DisplayResultWithoutAConfigurationIsNg)
{
    gCaptureDone = 1;
    EXPECT_EQ(run("mot display_result on mot.csv"), NG);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_mot_display_result [0-9]+ : read config error\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("20 -99"));
    EXPECT_FALSE(camera.exists(CSV));
    expect_end(0);
}

TEST_F(Mot, DisplayResultOfAnotherWordIsNg)
{
    load_mot_config();
    const int client = regPim;
    new_calls();
    EXPECT_EQ(run("mot display_result ON mot.csv"), NG);
    EXPECT_THAT(new_drawings(), IsEmpty());
    expect_end(client);
}

TEST_F(Mot, DisplayResultTellsThatNoPictureCame)
{
    load_mot_config();
    ASSERT_EQ(rova_osd_init(), 0);
    camera.speed(1);
    const int client = regPim;
    new_calls();
    test::wrap_record_sleeps(true);
    EXPECT_EQ(run("mot display_result on mot.csv"), NG);
    EXPECT_EQ(test::wrap_sleeps(), std::vector<unsigned int>(280, 100000));
    camera.speed(1000);
    rova_osd_exit();
    EXPECT_THAT(printed, ContainsRegex(std::string("rova_cmd_mot_display_result") + NOT_CONDUCTED));
    EXPECT_TRUE(camera.logged(" : capture was not conducted!"));
    const std::vector<std::string> calls = new_calls();
    std::vector<std::string> drawn;
    std::ranges::copy_if(calls, std::back_inserter(drawn), [](const std::string &call) {
        return call.starts_with("factory_osd_text_") || call.starts_with("factory_osd_draw");
    });
    EXPECT_THAT(drawn, ElementsAre("factory_osd_text_size_set(20)", "factory_osd_text_color_set(4)",
                                   HasSubstr("2, \"Capture was not conducted!\"")));
    EXPECT_EQ(calls.end()[-2], "UnRegCallbackClient(" + std::to_string(client) + ")");
    EXPECT_FALSE(camera.exists(CSV));
    EXPECT_EQ(callbackFlag, 0);
}

TEST_F(Mot, DisplayResultWaitsForThePicture)
{
    load_mot_config();
    pass_all_charts();
    std::thread service([&] {
        EXPECT_TRUE(test::wait_for([&] { return camera.exists("/virtual/waiting"); }));
        leave_result("T\n", "D\n");
    });
    camera.speed(1);
    camera.write("/virtual/waiting", "");
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    service.join();
}

TEST_F(Mot, DisplayResultOfAPictureThatIsDoneIsShownAlsoInTheEnd)
{
    load_mot_config();
    pass_all_charts();
    leave_result("T\n", "D\n");
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    EXPECT_THAT(new_drawings(), ElementsAre("60 0", "40 -1,0,1,OK,OK,OK"));
}

TEST_F(Mot, DisplayResultEndsItsWaitWhenTheDaemonIsAskedToStop)
{
    load_mot_config();
    vconf_set_int(ROVA_KEY_STOP_CMD, 1);
    EXPECT_EQ(run("mot display_result on mot.csv"), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("2 Capture was not conducted!"));
}

TEST_F(Mot, DisplayResultShowsTheTableAndWritesTheFile)
{
    load_mot_config();
    pass_all_charts();
    leave_result(" TIME,WIDE,TOTAL \n", "10:00,1%d,OK\n");
    const int client = regPim;
    new_calls();
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    EXPECT_EQ(camera.read(CSV), "Index,CIS S/N, TIME,WIDE,TOTAL \r\n1,0,10:00,1%d,OK\r\n");
    EXPECT_EQ(answer.stream.stream_type, 1);
    EXPECT_STREQ(answer.stream.text, CSV);
    EXPECT_THAT(printed, ContainsRegex("rova_cmd_mot_display_result [0-9]+ : display result on\n"));
    EXPECT_TRUE(camera.logged(" : display result on"));
    EXPECT_THAT(printed, HasSubstr("pimCsvTitle  TIME,WIDE,TOTAL , pimCsvData 10:00,1%d,OK \n"));
    EXPECT_THAT(printed, HasSubstr("\033[43mFinal Result : 1 // WIDE : 1, TELE : 1, MID : 1\033[0m"
                                   "\n"));
    EXPECT_THAT(printed, HasSubstr("\033[43m  -1,    0,    1\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("60 0", "40 -1,0,1,OK,OK,OK"));
    expect_end(client);
}

TEST_F(Mot, DisplayResultOfAChartThatFailsIsStillOk)
{
    load_mot_config();
    pass_all_charts();
    cfgPm.finalResult = 0;
    cfgPm.result[PIM_CHART_TELE].okCount = 0;
    cfgPm.result[PIM_CHART_TELE].bestLevel = PIM_NO_RESULT;
    cfgPm.chart[PIM_CHART_MID].rangeSize = 0;
    cfgPm.result[PIM_CHART_MID].okCount = 0;
    cfgPm.result[PIM_CHART_MID].bestLevel = PIM_NO_RESULT;
    leave_result("T\n", "D\n");
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    EXPECT_THAT(printed, HasSubstr("Final Result : 0 // WIDE : 1, TELE : 0, MID : -99"));
    EXPECT_THAT(new_drawings(), ElementsAre("60 0", "40 -1,-,-,OK,NG,-"));
}

TEST_F(Mot, DisplayResultWithoutAFinalResultTellsOfThePictures)
{
    load_mot_config();
    const int client = regPim;
    new_calls();
    leave_result("T\n", "D\n");
    EXPECT_EQ(run("mot display_result on mot.csv"), NG);
    EXPECT_TRUE(camera.exists(CSV)) << "the file is written all the same";
    EXPECT_STREQ(answer.stream.text, CSV);
    EXPECT_THAT(printed, ContainsRegex("[0-9]+ : display result on Final Result -99\n"));
    EXPECT_THAT(new_drawings(), ElementsAre("20 Picture Count Wrong!!!"));
    expect_end(client);
}

TEST_F(Mot, DisplayResultOfAResultThatIsInAFileWritesAnEmptyRow)
{
    load_mot_config();
    pass_all_charts();
    leave_result("", "");
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    EXPECT_EQ(camera.read(CSV), "Index,CIS S/N,\r\n1,0,\r\n");
    EXPECT_THAT(printed, HasSubstr("pimCsvTitle , pimCsvData  \n"));
}

TEST_F(Mot, DisplayResultTakesOneLineFeedFromTheEndOnly)
{
    load_mot_config();
    pass_all_charts();
    leave_result("T", "a\nb\n\n");
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    EXPECT_EQ(camera.read(CSV), "Index,CIS S/N,T\r\n1,0,a\nb\n\r\n");
}

TEST_F(Mot, AFileThatCannotBeWrittenIsNgBehindTheScreen)
{
    load_mot_config();
    pass_all_charts();
    leave_result("T\n", "D\n");
    EXPECT_EQ(run("mot display_result on none/mot.csv"), NG);
    EXPECT_THAT(new_drawings(), ElementsAre("60 0", "40 -1,0,1,OK,OK,OK"));
    EXPECT_EQ(answer.stream.stream_type, 0);
}

TEST_F(Mot, BehindDisplayResultTheNextTestBeginsAtReadConfig)
{
    load_mot_config();
    pass_all_charts();
    leave_result("T\n", "D\n");
    EXPECT_EQ(run("mot display_result on mot.csv"), OK);
    EXPECT_EQ(run("mot avcs on"), NG) << "no client, so no frames";
    new_calls();
    EXPECT_EQ(run("mot read_config"), OK);
    EXPECT_EQ(capture_calls().size(), 2U);
}
