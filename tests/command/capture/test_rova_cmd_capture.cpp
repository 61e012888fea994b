#include "command/capture/rova_cmd_capture.h"

#include "command/rova_cmd_handler.h"
#include "tests/command/forward_test.h"

using namespace test;

namespace test
{

INSTANTIATE_TEST_SUITE_P(
    Capture, Forwarded,
    testing::Values(
        ForwardedFamily{"lens_mount", {"check", "dummy_attach"}, {}},
        ForwardedFamily{"shutter_speed", {"set", "check"}, {}},
        ForwardedFamily{"shutter_speed2", {"set", "check"}, {}},
        ForwardedFamily{"lens",
                        {"iris",
                         "focus",
                         "ois",
                         "power",
                         "pin_check",
                         "fwup",
                         "reset",
                         "adj_flag",
                         "cmd",
                         "long_cmd",
                         "disp_info",
                         "zoom",
                         "dump",
                         "model_name",
                         "adj_mark",
                         "adj",
                         "8step_drive",
                         "brush",
                         "check_power_zoom",
                         "3d_module_pulse",
                         "movie_low_ampare",
                         "pattern_pulse",
                         "temperature_sensor",
                         "result",
                         "wait",
                         "write_eeprom",
                         "back_lash",
                         "serial_number",
                         "af",
                         "get"},
                        {}},
        ForwardedFamily{"capture", {"debug", "cap"}, {"still", "conti", "movie", "ud", "ud4k"}},
        ForwardedFamily{
            "st", {"debug", "cap"}, {"still", "conti", "movie", "ud", "ud4k"}, "capture"},
        ForwardedFamily{"defect_pixel", {"wait_temp", "adjust", "check", "check_temp"}, {}},
        ForwardedFamily{"efs", {"adjust"}, {}},
        ForwardedFamily{"shutter",
                        {"mode", "time", "close", "open", "charge", "trigger", "openbulb",
                         "re-init", "light_leakage", "durability", "1st_curtain", "2nd_curtain",
                         "compensation", "type"},
                        {}},
        ForwardedFamily{"xsw", {"wait"}, {}},
        ForwardedFamily{"strobe",
                        {"int_adj_off", "int_adj_on", "ext_adj_off", "ext_adj_on", "write",
                         "charge_check", "popup", "firing_life_test"},
                        {}},
        ForwardedFamily{"hotshoe", {"adjust", "pin", "power"}, {}}),
    family_word);

} // namespace test

class CaptureFamilies : public ForwardTest
{
};

TEST_F(CaptureFamilies, LensGetArrivesWithWhateverFollowsIt)
{
    const std::string area = by_ipcc(record_of("lens get a b c")).command_area;
    EXPECT_EQ(area.substr(32, 4), std::string("\4\0\0\0", 4));
    EXPECT_STREQ(area.substr(36, 32).c_str(), "get");
    EXPECT_STREQ(area.substr(132, 32).c_str(), "c");
}

// A predefined command has its words from elsewhere, and a record from outside may claim anything.
TEST_F(CaptureFamilies, TheCountOfParametersIsNotLookedAt)
{
    for (uint32_t count : {0U, 11U, UINT32_MAX}) {
        cmd_data record = record_of("shutter_speed2 check 1/125");
        record.p_count = count;
        const std::string area = by_ipcc(record, ROVA_CMD_PTP2).command_area;
        EXPECT_EQ(area.substr(0, sizeof(record)), bytes_of(record));
    }
}

TEST_F(CaptureFamilies, StAndCaptureAreOneFamily)
{
    by_app(record_of("st still"));
    by_app(record_of("capture still"));
    by_ipcc(record_of("st debug"));
    by_ipcc(record_of("capture debug"));
}

TEST_F(CaptureFamilies, EfsAloneIsNotFound)
{
    expect_not_found("efs", "efs");
}

TEST_F(CaptureFamilies, StrobeFooIsNotFound)
{
    expect_not_found("strobe foo", "strobe");
}

TEST_F(CaptureFamilies, ThePredefinedNumberForShutterSpeedAloneIsNotFound)
{
    expect_not_found("shutter_speed2", "shutter_speed2");
}

class CaptureHalfServed : public CommandTest
{
};

TEST_F(CaptureHalfServed, TheCameraStacksChannelAloneServesDebugOnly)
{
    const ServingEnd end(camera, plain_ok);
    EXPECT_EQ(run("capture debug"), OK);
    EXPECT_EQ(run("capture still"), NG);
    EXPECT_TRUE(camera.logged("failed to create mqueue. (No such file or directory) "));
    EXPECT_TRUE(camera.logged("rova_send_to_app() failed (capture) "));
    EXPECT_FALSE(camera.logged("rova_ipcc_send() failed"));
    EXPECT_EQ(rova_cmd_get_result(), 1U);
}

TEST_F(CaptureHalfServed, TheApplicationsChannelAloneServesStillOnly)
{
    const ServingEnd end(camera, plain_ok, APP_CHANNEL);
    EXPECT_EQ(run("capture still"), OK);
    EXPECT_EQ(run("capture debug"), NG);
    EXPECT_TRUE(camera.logged("rova_ipcc_send() failed (capture) "));
    EXPECT_FALSE(camera.logged("rova_send_to_app() failed"));
}

TEST_F(CaptureHalfServed, WithoutACameraApplicationThePcIsAnsweredWithNg)
{
    EXPECT_EQ(run("shutter open", ROVA_CMD_PTP), PTP_NG);
    EXPECT_EQ(run("st movie", ROVA_CMD_PTP), PTP_NG);
}
