#include "platform/virtual/touch.h"

#include "platform/factory_osd.h"
#include "tests/support/camera.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <thread>

namespace
{

constexpr char STATE[] = "/virtual/touch/state";

} // namespace

TEST(TouchPanel, IsIdleUntilItIsMadeReady)
{
    test::Camera camera;
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_IDLE);
    EXPECT_FALSE(virt::touch_at(1, 2));
    EXPECT_FALSE(virt::touch_as_ghost());
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_IDLE);
    EXPECT_EQ(factory_osd_touch_ready(1), 0);
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_READY);
}

TEST(TouchPanel, KeepsItsTouchesUntilItIsMadeReadyAgain)
{
    test::Camera camera;
    factory_osd_touch_ready(0);
    EXPECT_TRUE(virt::touch_at(0, 0));
    EXPECT_TRUE(virt::touch_at(799, 479));
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_TOUCHED);
    EXPECT_EQ(virt::touch_points(), "0 0\n799 479\n");
    factory_osd_touch_ready(0);
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_READY);
    EXPECT_EQ(virt::touch_points(), "");
}

TEST(TouchPanel, GhostStays)
{
    test::Camera camera;
    factory_osd_touch_ready(0);
    EXPECT_TRUE(virt::touch_at(1, 2));
    EXPECT_TRUE(virt::touch_as_ghost());
    EXPECT_TRUE(virt::touch_at(3, 4));
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_GHOST);
}

TEST(TouchPanel, StatesCanBeScripted)
{
    test::Camera camera;
    camera.write(std::string(STATE) + ".play", "1\n3\n");
    EXPECT_EQ(virt::touch_state(), 0) << "looking uses up none";
    EXPECT_EQ(factory_osd_get_touch_state(), 1);
    EXPECT_EQ(factory_osd_get_touch_state(), 3);
    EXPECT_EQ(factory_osd_get_touch_state(), 3);
}

TEST(TouchPanel, TestIsPassedByATouch)
{
    test::Camera camera;
    int result = -7;
    std::thread tester([&] { result = factory_osd_touch_test(); });
    EXPECT_TRUE(test::wait_for([] { return virt::touch_at(10, 20); }));
    tester.join();
    EXPECT_EQ(result, 0);
}

TEST(TouchPanel, TestFailsByAGhost)
{
    test::Camera camera;
    camera.write(std::string(STATE) + ".play", "1\n3\n");
    EXPECT_EQ(factory_osd_touch_test(), -1);
    camera.write(std::string(STATE) + ".play", "0\n");
    EXPECT_EQ(factory_osd_touch_test(), -1) << "no longer ready";
}

TEST(TouchPanel, TestThatNobodyTouchesGivesUp)
{
    test::Camera camera;
    camera.speed(1000);
    EXPECT_EQ(factory_osd_touch_test(), -1);
    EXPECT_EQ(factory_osd_get_touch_state(), FACTORY_OSD_TOUCH_READY);
}

TEST(TouchPanel, WhatItIsToldIsRecorded)
{
    test::Camera camera;
    camera.speed(1000);
    factory_osd_touch_ready(1);
    factory_osd_touch_test();
    factory_osd_get_touch_state();
    EXPECT_EQ(camera.call_texts(),
              (std::vector<std::string>{"factory_osd_touch_ready(1)", "factory_osd_touch_test()"}));
}

TEST(TouchPanel, EachCallCanFail)
{
    test::Camera camera;
    for (const char *call :
         {"factory_osd_touch_ready", "factory_osd_touch_test", "factory_osd_get_touch_state"})
        camera.fault(call, "-5");
    EXPECT_EQ(factory_osd_touch_ready(1), -5);
    EXPECT_EQ(factory_osd_touch_test(), -5);
    EXPECT_EQ(factory_osd_get_touch_state(), -5);
    EXPECT_FALSE(camera.exists(STATE));
}

TEST(TouchPanel, IsNoneWithoutACamera)
{
    test::Camera camera;
    setenv("ROVA_SYSROOT", "", 1);
    EXPECT_EQ(factory_osd_touch_ready(1), -1);
    EXPECT_EQ(factory_osd_touch_test(), -1);
    EXPECT_EQ(factory_osd_get_touch_state(), -1);
}
