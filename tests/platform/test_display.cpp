#include "platform/display.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

namespace
{

TEST(Display, ThePictureMovesAndTheModeFollows)
{
    test::Camera camera;
    EXPECT_EQ(utilx_disp_get_tv_mode(), 0);
    EXPECT_EQ(utilx_set_hdmi_state(1), 0);
    EXPECT_EQ(utilx_disp_get_tv_mode(), 2);
    EXPECT_EQ(camera.read("/virtual/display/hdmi_state"), "1\n");
    EXPECT_EQ(utilx_set_hdmi_state(2), 0);
    EXPECT_EQ(utilx_disp_get_tv_mode(), 0);
    EXPECT_EQ(utilx_set_hdmi_state(3), -1);
    EXPECT_EQ(camera.call_texts()[0], "utilx_set_hdmi_state(1)");
}

TEST(Display, ADeviceIsConnectedWhenItsFileSaysSo)
{
    test::Camera camera;
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 0);
    camera.write("/virtual/display/hdmi_connect_state.play", "0\n1\n");
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 0);
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 1);
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 1);
}

TEST(Display, ModeOfThePanelTellsWhetherADeviceIsConnected)
{
    test::Camera camera;
    camera.write("/virtual/display/hdmi_connect_state", "1\n");
    camera.write("/virtual/display/hdmi_connect_state.play", "0\n");
    EXPECT_EQ(utilx_set_hdmi_state(2), 0);
    EXPECT_EQ(utilx_disp_get_tv_mode(), 1);
    EXPECT_EQ(utilx_get_hdmi_connect_state(), 0) << "the move has used up no value";
}

TEST(Display, EachCallCanFail)
{
    test::Camera camera;
    for (const char *call :
         {"utilx_set_hdmi_state", "utilx_get_hdmi_connect_state", "utilx_disp_get_tv_mode"})
        camera.fault(call, "-5");
    EXPECT_EQ(utilx_set_hdmi_state(1), -5);
    EXPECT_EQ(utilx_get_hdmi_connect_state(), -5);
    EXPECT_EQ(utilx_disp_get_tv_mode(), -5);
    EXPECT_FALSE(camera.exists("/virtual/display/hdmi_state"));
}

TEST(Display, IsNoneWithoutACamera)
{
    test::Camera camera;
    setenv("ROVA_SYSROOT", "", 1);
    EXPECT_EQ(utilx_set_hdmi_state(1), -1);
    EXPECT_EQ(utilx_get_hdmi_connect_state(), -1);
    EXPECT_EQ(utilx_disp_get_tv_mode(), -1);
    setenv("ROVA_SYSROOT", camera.root().c_str(), 1);
}

} // namespace
