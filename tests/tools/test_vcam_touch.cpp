// touch.
#include <gtest/gtest.h>

#include "tests/tools/tool.h"

#include "platform/factory_osd.h"

using tool::failed;
using tool::succeeded;
using tool::vcam;

TEST(VcamTouch, TouchesThePanelThatIsReady)
{
    const test::Camera camera;
    EXPECT_EQ(vcam({"touch"}).out, "not ready\n");
    factory_osd_touch_ready(1);
    EXPECT_EQ(vcam({"touch"}).out, "ready\n");
    EXPECT_TRUE(succeeded(vcam({"touch", "400", "240"})));
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_TOUCHED);
    EXPECT_TRUE(succeeded(vcam({"touch", "0", "479"})));
    EXPECT_EQ(vcam({"touch"}).out, "touched\n400 240\n0 479\n");
    EXPECT_TRUE(succeeded(vcam({"touch", "ghost"})));
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_GHOST);
    EXPECT_EQ(vcam({"touch"}).out, "ghost\n400 240\n0 479\n");
}

TEST(VcamTouch, OneThatIsNotReadyTakesNone)
{
    const test::Camera camera;
    EXPECT_TRUE(failed(vcam({"touch", "1", "2"}), "takes no touches before 'touch ready'"));
    EXPECT_TRUE(failed(vcam({"touch", "ghost"}), "takes no touches before"));
    EXPECT_EQ(vcam({"touch"}).out, "not ready\n");
}

TEST(VcamTouch, WhatIsNoPointIsRefused)
{
    const test::Camera camera;
    factory_osd_touch_ready(1);
    EXPECT_TRUE(failed(vcam({"touch", "800", "0"}), "'800' is no point of the panel, 0 to 799"));
    EXPECT_TRUE(failed(vcam({"touch", "0", "480"}), "'480' is no point of the panel, 0 to 479"));
    EXPECT_TRUE(failed(vcam({"touch", "--", "-1", "0"}), "'-1' is no point"));
    EXPECT_TRUE(failed(vcam({"touch", "0", "x"}), "'x' is no point"));
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"touch", "1"}, {"touch", "1", "2", "3"}, {"touch", "gost"}})
        EXPECT_TRUE(failed(vcam(words), "a touch is X and Y, or ghost")) << words.back();
    EXPECT_EQ(vcam({"touch"}).out, "ready\n");
}

TEST(VcamTouch, ShowsAStateThatAHandWrote)
{
    const test::Camera camera;
    for (const char *state : {"7\n", "-1\n"}) {
        camera.write("/virtual/touch/state", state);
        EXPECT_EQ(vcam({"touch"}).out, "unknown\n");
    }
}
