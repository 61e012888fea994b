#include "platform/device.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

namespace
{

TEST(Device, AnUnsetPropertyReadsZero)
{
    test::Camera camera;
    int value = 9;
    EXPECT_EQ(device_get_property(4, 21, &value), 0);
    EXPECT_EQ(value, 0);
}

TEST(Device, WhatIsSetIsReadAndStandsInAFile)
{
    test::Camera camera;
    EXPECT_EQ(device_set_property(4, 21, -12), 0);
    EXPECT_EQ(camera.read("/virtual/property/4.21"), "-12\n");
    int value = 0;
    EXPECT_EQ(device_get_property(4, 21, &value), 0);
    EXPECT_EQ(value, -12);
}

TEST(Device, PropertiesCanBeScripted)
{
    test::Camera camera;
    camera.write("/virtual/property/8.1.play", "1\n2\n");
    int first = 0, second = 0;
    device_get_property(8, 1, &first);
    device_get_property(8, 1, &second);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
}

TEST(Device, FailsWhereTheFileCannotBeWritten)
{
    test::Camera camera;
    camera.write("/virtual/property/4.21/in the way", "");
    EXPECT_EQ(device_set_property(4, 21, 1), -1);
}

} // namespace
