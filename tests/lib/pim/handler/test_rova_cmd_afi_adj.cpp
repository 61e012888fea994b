#include "common/rova_util.h"
#include "lib/pim/rova_pim.h"
#include "lib/rova_app_table.h"
#include "lib/rova_app_thread.h"
#include "platform/vconf.h"
#include "tests/lib/pim/handler/handler_test.h"
#include "tests/support/wrap.h"

#include <climits>
#include <cstdlib>
#include <rova/rova.h>
#include <thread>

using test::NG;
using test::OK;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

class AfiAdj : public test::HandlerTest
{
protected:
    AfiAdj()
    {
        for (const char *line : {"ADCMargin 50 x x", "waitTime 50 x x", "ledTime 50 x x",
                                 "ZoomPointToScan 3 7 x", "DesignedADC 7 1000 x"})
            EXPECT_EQ(run(std::string("afi_adj set ") + line), OK) << line;
        rova_afi_adj_set_sample(0);
        camera.remove("/virtual/dlog");
    }
    ~AfiAdj() override { vconf_set_int(ROVA_KEY_STOP_CMD, 0); }

    // The sample that the sensor sends for this value.
    static void set_value(int value)
    {
        rova_afi_adj_set_sample(static_cast<uint16_t>(value << 8 | value >> 8));
    }
    bool gauge_shows(const std::string &color) const
    {
        return camera.read("/virtual/screen.json").find(color) != std::string::npos;
    }
    // Runs the scan, and `act` on a thread of its own once the red gauge is there.
    int scan(const std::string &line, const std::function<void()> &act)
    {
        std::thread hand([&] {
            EXPECT_TRUE(test::wait_for([&] { return gauge_shows("red"); }));
            act();
        });
        const int result = run(line);
        hand.join();
        return result;
    }
};

int run_at_start(const std::string &line)
{
    rova_cmd_response answer = {};
    const cmd_data record = test::line_record("afi_adj set " + line);
    rova_app_cmd_exec(rova_app_cmds(), &record, &answer);
    return answer.result;
}

// Whether, in a process of its own, nothing has been set: the waiting time as the log tells it, and
// a margin of 50 about the value 0, for which the sample is 0 at first.
[[noreturn]] void look_at_defaults()
{
    bool good = false;
    {
        test::Camera camera;
        camera.speed(1000);
        good = run_at_start("row 3 x x") == OK && camera.logged("wait_time = 50 ") &&
               run_at_start("scan 5 x x") == OK && camera.logged("   1 :    0,    0,    0, 0x0000");
        rova_afi_adj_set_sample(51 << 8);
        std::thread hand([&] {
            test::wait_for([&] { return camera.logged("   2 : "); });
            rova_afi_adj_set_sample(50 << 8);
        });
        good = run_at_start("scan 5 x x") == OK && good;
        hand.join();
        good = good && camera.logged("0x0033,       51") && camera.logged("0x0032,       50");
    }
    std::exit(good ? EXIT_SUCCESS : EXIT_FAILURE);
}

} // namespace

TEST(AfiAdjAtStart, MarginAndWaitingTimeAreFifty)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(look_at_defaults(), testing::ExitedWithCode(EXIT_SUCCESS), "");
}

TEST_F(AfiAdj, EachKeySetsItsValuesAndLogsThem)
{
    const struct {
        const char *line;
        const char *text;
    } rows[] = {
        {"totalZoomPoint 9 4 x", "total_point = 9, afi_read_point = 4 "},
        {"ZoomPointToScan 0 5 x", "zoom_point_to_scan\\[0\\] = 5 "},
        {"ZMAngle 255 -30 45", "zoom_angle\\[255\\] = -30, 45 "},
        {"ADC_Set x x x", "ADC SET "},
        {"Spec 2 100 200", "spec\\[2\\] = 100 ~ 200 "},
        {"DesignedAFI 1 -7 x", "designed_afi\\[1\\] = -7 "},
        {"ADCMargin 30 x x", "adc_margin = 30 "},
        {"DesignedADC 255 0x400 x", "designed_adc\\[255\\] = 1024 "},
        {"ledTime 12 x x", "led_time = 12 "},
        {"waitTime 34 x x", "wait_time = 34 "},
    };
    for (const auto &row : rows) {
        camera.remove("/virtual/dlog");
        EXPECT_EQ(run(std::string("afi_adj set ") + row.line), OK) << row.line;
        EXPECT_THAT(camera.platform_log(),
                    ContainsRegex(std::string(" rova_cmd_afi_adj_set [0-9]+ ") + row.text));
    }
    EXPECT_TRUE(new_drawings().empty());
}

TEST_F(AfiAdj, TheColoursOfTheLogAreThoseOfTheKeys)
{
    run("afi_adj set DesignedADC 1 2 x");
    run("afi_adj set DesignedAFI 1 2 x");
    EXPECT_THAT(camera.platform_log(), ContainsRegex("\033\\[44m rova_cmd_afi_adj_set [0-9]+ des"
                                                     "igned_adc\\[1\\] = 2 \033\\[0m"));
    EXPECT_THAT(camera.platform_log(), ContainsRegex("\033\\[42m rova_cmd_afi_adj_set [0-9]+ des"
                                                     "igned_afi\\[1\\] = 2 \033\\[0m"));
}

TEST_F(AfiAdj, RowLogsTheWaitTime)
{
    EXPECT_EQ(run("afi_adj set waitTime 77 x x"), OK);
    camera.remove("/virtual/dlog");
    EXPECT_EQ(run("afi_adj set row 3 x x"), OK);
    EXPECT_THAT(camera.platform_log(), HasSubstr("wait_time = 77 "));
    EXPECT_THAT(camera.platform_log(), Not(HasSubstr("= 3 ")));
}

TEST_F(AfiAdj, TheFamilyAndSetMayBeInCapitalsTheKeysNot)
{
    EXPECT_EQ(run("AFI_ADJ Set ledTime 1 x x"), OK);
    EXPECT_EQ(run("afi_adj set ledtime 1 x x"), NG);
    EXPECT_EQ(run("afi_adj set none 1 x x"), NG);
}

TEST_F(AfiAdj, WantsMoreThanFourParametersForEveryKey)
{
    for (const char *line : {"afi_adj set", "afi_adj set ADC_Set", "afi_adj set ADC_Set x x",
                             "afi_adj set ledTime 99 x", "afi_adj set scan 3 x"})
        EXPECT_EQ(run(line), NG) << line;
    EXPECT_EQ(camera.platform_log(), "");
    EXPECT_EQ(run("afi_adj set ADC_Set x x x"), OK);
}

TEST_F(AfiAdj, AnotherSubcommandIsNotItsOwn)
{
    EXPECT_EQ(run("afi_adj get a b c d"), OK) << "the answer is left as it was";
    EXPECT_EQ(logged("Not found on mot command table").size(), 1U);
    EXPECT_EQ(run("afi_adj"), OK);
    EXPECT_EQ(logged("Not found on mot command table").size(), 2U);
}

TEST_F(AfiAdj, AnIndexOutsideItsTableIsRefusedAndTold)
{
    for (const char *key : {"ZoomPointToScan", "ZMAngle", "Spec", "DesignedAFI", "DesignedADC"}) {
        for (const char *index : {"-1", "256", "2147483647", "-2147483648"}) {
            camera.remove("/virtual/dlog");
            EXPECT_EQ(run(std::string("afi_adj set ") + key + " " + index + " 1 2"), NG) << key;
            EXPECT_THAT(camera.platform_log(),
                        HasSubstr(std::string(index) + " is outside the table of 256"));
        }
    }
    EXPECT_EQ(run("afi_adj set scan 256 x x"), NG);
    EXPECT_TRUE(camera.logged("zoom point 256 is outside the table of 256"));
    EXPECT_EQ(stepValue, PIM_CHART_WIDE);
    EXPECT_TRUE(new_drawings().empty());
}

TEST_F(AfiAdj, AScanPointOutsideTheTableOfValuesIsRefusedAndTold)
{
    for (const char *point : {"-1", "256"}) {
        EXPECT_EQ(run(std::string("afi_adj set ZoomPointToScan 3 ") + point + " x"), OK);
        EXPECT_EQ(run("afi_adj set scan 3 x x"), NG);
        EXPECT_TRUE(camera.logged(std::string("scan point ") + point + " is outside the table"));
    }
    EXPECT_TRUE(new_drawings().empty());
}

TEST_F(AfiAdj, AScanOfAValueInTheMarginIsGreenAtOnce)
{
    for (const int value : {950, 1000, 1050}) {
        set_value(value);
        test::wrap_clear();
        test::wrap_record_sleeps(true);
        EXPECT_EQ(run("afi_adj set scan 3 x x"), OK) << value;
        EXPECT_THAT(test::wrap_sleeps(), ElementsAre(1000U)) << "a second of the camera's";
        EXPECT_THAT(new_drawings(),
                    ElementsAre("60 0", "70 " + std::to_string(value) + ",1000,green", "60 0"));
    }
    EXPECT_EQ(stepValue, 3);
}

TEST_F(AfiAdj, AScanGoesOnUntilTheValueIsInTheMargin)
{
    for (const int value : {949, 1051, 0, 65535}) {
        set_value(value);
        EXPECT_EQ(scan("afi_adj set scan 3 x x",
                       [&] {
                           EXPECT_EQ(rova_afi_adj_set_sample(0), 1) << "a scan waits";
                           set_value(1000);
                       }),
                  OK);
        const std::vector<std::string> drawn = new_drawings();
        const std::string red = "70 " + std::to_string(value) + ",1000,red";
        ASSERT_GE(drawn.size(), 5U);
        EXPECT_EQ(drawn[0], "60 0");
        EXPECT_EQ(drawn[1], red);
        EXPECT_THAT(std::vector<std::string>(drawn.end() - 3, drawn.end()),
                    ElementsAre("60 0", "70 1000,1000,green", "60 0"));
    }
    EXPECT_EQ(rova_afi_adj_set_sample(0), 0) << "no scan any more";
}

TEST_F(AfiAdj, AScanLogsEachSampleWithItsBytesExchanged)
{
    run("afi_adj set DesignedADC 7 4660 x");
    rova_afi_adj_set_sample(0x3412);
    EXPECT_EQ(run("afi_adj set scan 3 x x"), OK);
    EXPECT_TRUE(camera.logged("   1 : 3412,   12,   34, 0x1234,     4660"));
    rova_afi_adj_set_sample(0x0100);
    EXPECT_EQ(scan("afi_adj set scan 3 x x", [] { set_value(4660); }), OK);
    EXPECT_TRUE(camera.logged("   1 :  100,    0,    1, 0x0001,        1"));
    EXPECT_TRUE(camera.logged("   2 : "));
}

TEST_F(AfiAdj, ExtremesOfTargetAndMarginAreComparedAsTheyStand)
{
    run("afi_adj set DesignedADC 7 -2147483648 x");
    run("afi_adj set ADCMargin 2147483647 x x");
    set_value(1);
    EXPECT_EQ(scan("afi_adj set scan 3 x x", [] { vconf_set_int(ROVA_KEY_STOP_CMD, 1); }), NG);
    vconf_set_int(ROVA_KEY_STOP_CMD, 0);
    run("afi_adj set DesignedADC 7 2147483647 x");
    EXPECT_EQ(run("afi_adj set scan 3 x x"), OK);
}

TEST_F(AfiAdj, AScanEndsWithNgWhenTheDaemonIsAskedToStop)
{
    EXPECT_EQ(scan("afi_adj set scan 3 x x", [] { vconf_set_int(ROVA_KEY_STOP_CMD, 1); }), NG);
    EXPECT_TRUE(camera.logged("the scan for 1000 was stopped"));
    EXPECT_EQ(new_drawings().back(), "60 0");
    EXPECT_EQ(rova_afi_adj_set_sample(0), 0);
}

TEST_F(AfiAdj, AScanEndsWithNgWhenItsChannelIsStopped)
{
    ASSERT_EQ(rova_start_app(nullptr), 1);
    rova_cmd_response over_channel = {};
    std::thread sender([&] {
        const cmd_data record = test::line_record("afi_adj set scan 3 x x");
        EXPECT_EQ(rova_send_to_app(ROVA_CMD_SCRIPT, &record, &over_channel), 1);
    });
    EXPECT_TRUE(test::wait_for([&] { return gauge_shows("red"); }));
    EXPECT_EQ(rova_stop_app(), 1);
    sender.join();
    EXPECT_EQ(over_channel.result, NG);
    EXPECT_FALSE(rova_app_is_stopping());
}
