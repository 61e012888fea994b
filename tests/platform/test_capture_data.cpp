#include "platform/capture.h"

#include "tests/support/camera.h"

#include <gtest/gtest.h>

namespace
{

TEST(CaptureData, TheLensHasAVersionWithoutAFile)
{
    test::Camera camera;
    char text[32] = "";
    int size = sizeof(text);
    EXPECT_EQ(GetCaptureData(CAPTURE_DATA_LENS_FIRMWARE, text, &size), 0);
    EXPECT_STREQ(text, "1.00");
    EXPECT_EQ(size, 4);
}

TEST(CaptureData, TheLensVersionComesFromItsFile)
{
    test::Camera camera;
    camera.write("/virtual/firmware/lens_version", "01.17 b\n");
    char text[32] = "";
    int size = sizeof(text);
    EXPECT_EQ(GetCaptureData(16, text, &size), 0);
    EXPECT_STREQ(text, "01.17 b");
    EXPECT_EQ(size, 7);
}

TEST(CaptureData, ATextNeedsRoomForItsZeroByte)
{
    test::Camera camera;
    char text[8] = "old";
    for (int room : {4, 0, -1}) {
        int size = room;
        EXPECT_EQ(GetCaptureData(16, text, &size), -1);
        EXPECT_STREQ(text, "old");
        EXPECT_EQ(size, room);
    }
    int size = 5;
    EXPECT_EQ(GetCaptureData(16, text, &size), 0);
    EXPECT_STREQ(text, "1.00");
}

TEST(CaptureData, OtherItemsNullAndFaultsFail)
{
    test::Camera camera;
    char text[8] = "old";
    int size = sizeof(text);
    EXPECT_EQ(GetCaptureData(15, text, &size), -1);
    EXPECT_EQ(GetCaptureData(16, nullptr, &size), -1);
    EXPECT_EQ(GetCaptureData(16, text, nullptr), -1);
    camera.fault("GetCaptureData", "-7");
    EXPECT_EQ(GetCaptureData(16, text, &size), -7);
    EXPECT_STREQ(text, "old");
}

} // namespace
